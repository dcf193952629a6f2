// Nothing of one request reaches the next.
#include "tests/script/ScriptFixture.h"

namespace hostlinux {
namespace {

class RealmTest : public ScriptFixture {
 protected:
  // "threw" and the error's name, or "passed".
  std::string Attempt(const std::string& statement) {
    return Output("<% try { " + statement + "; %>passed<% } catch (e) { %>threw <%= e.name %><% } %>");
  }
};

TEST_F(RealmTest, TopLevelNamesAreTheRequestsOwn) {
  Output("<% var mine = 1; function ours() {} %>");
  EXPECT_EQ(Output("<%= typeof mine + ' ' + typeof ours + ' ' + typeof globalThis.mine %>"),
            "undefined undefined undefined");
}

TEST_F(RealmTest, AssigningAnUndeclaredNameIsAnError) {
  EXPECT_EQ(Attempt("undeclared = 1"), "threw ReferenceError");
}

TEST_F(RealmTest, TheGlobalObjectIsSealed) {
  EXPECT_EQ(Attempt("globalThis.leak = 1"), "threw TypeError");
  EXPECT_EQ(Attempt("globalThis.Object = 1"), "threw TypeError");
  EXPECT_EQ(Attempt("delete globalThis.Object"), "threw TypeError");
  EXPECT_EQ(Attempt("Object.setPrototypeOf(globalThis, {})"), "threw TypeError");
  EXPECT_EQ(Attempt("new Function('leak = 1')()"), "passed");  // code that isn't strict; it has no effect
  EXPECT_EQ(Attempt("(0, eval)('var leak = 1')"), "threw TypeError");
  EXPECT_EQ(Attempt("(0, eval)('function leak() {}')"), "threw TypeError");
  EXPECT_EQ(Value("typeof globalThis.leak"), "undefined");
}

TEST_F(RealmTest, EveryIntrinsicIsFrozen) {
  // Walks the whole realm again, from the page, and counts what could hold something.
  EXPECT_EQ(Output(R"(<%
    var seen = new Set(), open = [];
    var waiting = [globalThis, (function* () {}).constructor, (async () => {}).constructor,
                   (async function* () {}).constructor, Object.getPrototypeOf([][Symbol.iterator]()),
                   Object.getPrototypeOf(new Map().keys()), Object.getPrototypeOf('a'.matchAll(/a/g)),
                   CInt(1).constructor, ByRef, Enumerator];
    while (waiting.length) {
      var thing = waiting.pop();
      if (thing === null || (typeof thing !== 'object' && typeof thing !== 'function') || seen.has(thing)) continue;
      seen.add(thing);
      if (!Object.isFrozen(thing)) open.push(String(thing));
      waiting.push(Object.getPrototypeOf(thing));
      for (var key of Reflect.ownKeys(thing)) {
        var d = Object.getOwnPropertyDescriptor(thing, key);
        waiting.push(d.value, d.get, d.set);
      }
    }
  %><%= open.join() + (seen.size > 500) %>)"),
            "true");
}

TEST_F(RealmTest, PrototypeNamesStayAssignableOnAScriptsOwnObjects) {
  EXPECT_EQ(Output("<% var o = {}; o.toString = () => 'own'; o.constructor = 1; o.valueOf = () => 7; %>"
                   "<%= String(o) + o.constructor + (o - 0) %>"),
            "own17");
  EXPECT_EQ(Output("<% var e = new TypeError('a'); e.name = 'Mine'; e.message = 'b'; %><%= String(e) %>"),
            "Mine: b");
  EXPECT_EQ(Output("<% function A() {} A.prototype = Object.create(Error.prototype);"
                   "A.prototype.constructor = A; A.prototype.name = 'A'; var a = new A(); a.message = 'm'; %>"
                   "<%= String(a) + (a.constructor === A) %>"),
            "A: mtrue");
  EXPECT_EQ(Output("<% class B extends Error { get name() { return 'B'; } } %><%= String(new B('x')) %>"),
            "B: x");
  EXPECT_EQ(Output("<% var f = () => 1; f.toString = () => 'f'; var a = [1]; a.toString = () => 'a';"
                   "var d = new Date(0); d.toJSON = () => 'd'; %><%= String(f) + a + JSON.stringify(d) %>"),
            "fa\"d\"");
}

TEST_F(RealmTest, ClassesOfArraysAreMadeByExtends) {
  EXPECT_EQ(Output("<% class L extends Array { last() { return this[this.length - 1]; } }"
                   "var l = L.from([1, 2]).map(x => x + 1); %><%= l.last() + (l.constructor === L) %>"),
            "4");
  EXPECT_EQ(Attempt("[].constructor = 1"), "threw TypeError");
}

TEST_F(RealmTest, AnAssignedNameIsAnOrdinaryProperty) {
  EXPECT_EQ(Output("<% var o = {}; o.toString = 5; %><%= Object.keys(o) + JSON.stringify(o) %>"),
            "toString{\"toString\":5}");
}

TEST_F(RealmTest, ThePrototypesThemselvesStayAsTheyAre) {
  EXPECT_EQ(Attempt("Object.prototype.toString = 1"), "threw TypeError");
  EXPECT_EQ(Attempt("Array.prototype.leak = 1"), "threw TypeError");
  EXPECT_EQ(Attempt("String.prototype.trim = 1"), "threw TypeError");
  EXPECT_EQ(Attempt("Error.prototype.message = 'x'"), "threw TypeError");
  EXPECT_EQ(Value("Object.prototype.toString.call([])"), "[object Array]");
}

TEST_F(RealmTest, AMatchLeavesNothingBehind) {
  Output("<% /(secret)/.test('secret'); %>");
  EXPECT_EQ(Output("<%= [RegExp.$1, RegExp.lastMatch, RegExp['$&'], RegExp.input].join('') %>"), "");
}

TEST_F(RealmTest, WhatKeepsStateOrStopsTheThreadIsGone) {
  EXPECT_EQ(Output("<%= typeof WeakRef + typeof FinalizationRegistry + typeof console + typeof Atomics + "
                   "typeof SharedArrayBuffer + typeof WebAssembly %>"),
            "undefinedundefinedundefinedundefinedundefinedundefined");
}

TEST_F(RealmTest, ThePagesOwnFunctionsCantHoldAnything) {
  EXPECT_EQ(Attempt("__varnelText.leak = 1"), "threw TypeError");
  EXPECT_EQ(Attempt("__varnelValue.leak = 1"), "threw TypeError");
  EXPECT_EQ(Attempt("__varnelText('x')"), "threw Error");
}

TEST_F(RealmTest, ConstantsAreNumbersOfTheGlobalObject) {
  options.constants = {{"AlignLeft", -1}, {"TableTypeTitle", 3}};
  EXPECT_EQ(Value("AlignLeft + ' ' + TableTypeTitle"), "-1 3");
  EXPECT_EQ(Attempt("AlignLeft = 2"), "threw TypeError");
}

}  // namespace
}  // namespace hostlinux
