// Scripts and the library's objects.
#include <gmock/gmock.h>

#include "host-linux/script/ScriptValue.h"
#include "tests/script/ScriptFixture.h"
#include "tests/script/TestObjects.h"

namespace hostlinux {
namespace {

using Outcome = PageResult::Outcome;

class BridgeTest : public ScriptFixture {
 protected:
  void SetUp() override {
    options.intrinsics = {"T"};
    intrinsics = {{"T", object}};
    object->m_fields->m_fields = {std::make_shared<TestField>(u"id", varnel::Long{7}),
                                  std::make_shared<TestField>(u"name", u"pump"),
                                  std::make_shared<TestField>(u"note", varnel::Null())};
  }

  // The error that `statement` throws: "number|source|description".
  std::string ErrorOf(const std::string& statement) {
    return Output(
        "<% try { " + statement +
        "; %>passed<% } catch (e) { %><%= e.number + '|' + e.source + '|' + e.description %><% } %>");
  }

  std::shared_ptr<TestObject> object = std::make_shared<TestObject>();
};

// --- Members

TEST_F(BridgeTest, CallsMethodsWithConvertedArguments) {
  EXPECT_EQ(Value("T.Add(1, 2)"), "3");
  EXPECT_EQ(Value("T.Add('40', 2)"), "42");
}

TEST_F(BridgeTest, LeftOutArgumentsGetTheirDefaults) {
  EXPECT_EQ(Value("T.Add(1)"), "11");
  EXPECT_EQ(Value("T.Add(1, undefined)"), "11");
  EXPECT_EQ(Value("T.Add(undefined, 5)"), "5");
  EXPECT_EQ(Value("T.Optional() + T.Optional(undefined) + T.Optional(1)"), "left outleft outLong");
}

TEST_F(BridgeTest, AWrongNumberOfArgumentsIs450) {
  EXPECT_THAT(ErrorOf("T.Add()"), testing::StartsWith("450|"));
  EXPECT_THAT(ErrorOf("T.Add(1, 2, 3)"), testing::StartsWith("450|"));
}

TEST_F(BridgeTest, ReadsAndWritesProperties) {
  EXPECT_EQ(Output("<% T.Width = 12; %><%= T.Width %>"), "12");
  EXPECT_EQ(object->m_width, 12);
}

TEST_F(BridgeTest, MembersAreFoundInAnyCaseOfLetters) {
  EXPECT_EQ(Value("T.add(1, 2) + T.ADD(1, 2) + T.aDd(1, 2) + T.add(1, 2)"), "12");
  EXPECT_EQ(Output("<% T.width = 9; T.WIDTH = T.width + 1; %><%= T.Width %>"), "10");
  EXPECT_EQ(object->m_width, 10);
  EXPECT_EQ(Value("'width' in T && 'Width' in T && !('other' in T)"), "True");
}

TEST_F(BridgeTest, AnySpellingWorksOnEachObjectOfTheClass) {
  EXPECT_EQ(Value("T.fields('id').value + T.fields('name').value"), "7pump");
}

TEST_F(BridgeTest, AnUnknownMemberIs438) {
  EXPECT_EQ(ErrorOf("T.Other"), "438|Varnel|The object has no such member: TestObject.Other");
  EXPECT_THAT(ErrorOf("T.Other = 1"), testing::StartsWith("438|"));
  EXPECT_THAT(ErrorOf("T.Other()"), testing::StartsWith("438|"));
}

TEST_F(BridgeTest, WhatTheLanguageItselfAsksForIsNoError) {
  EXPECT_EQ(Output("<% (async () => { var t = await T; %><%= t === T %><% })(); %>"), "True");
}

TEST_F(BridgeTest, APropertyThatCanOnlyBeReadIs438) {
  EXPECT_THAT(ErrorOf("T.Fields = 1"), testing::StartsWith("438|"));
  EXPECT_THAT(ErrorOf("T.fields = 1"), testing::StartsWith("438|"));
}

TEST_F(BridgeTest, MethodsCantBeReplaced) {
  EXPECT_EQ(Output("<% try { T.Add = 1; } catch (e) { %><%= e.name %><% } %><%= T.Add(1, 1) %>"),
            "TypeError2");
  EXPECT_THAT(ErrorOf("T.add = 1"),
              testing::AnyOf(testing::StartsWith("438|"), testing::StartsWith("undefined|")));
}

TEST_F(BridgeTest, AMethodOnAnotherObjectIsATypeError) {
  EXPECT_EQ(Output("<% try { T.Add.call({}, 1, 2); } catch (e) { %><%= e.name %><% } %>"), "TypeError");
  EXPECT_EQ(Output("<% try { T.Add.call(T.Fields, 1, 2); } catch (e) { %><%= e.name %><% } %>"), "TypeError");
}

TEST_F(BridgeTest, AClassCantBeConstructed) {
  EXPECT_EQ(Output("<% try { new T.constructor(); } catch (e) { %><%= e.name %><% } %>"), "TypeError");
}

TEST_F(BridgeTest, TheSameObjectIsTheSameWrapper) {
  EXPECT_EQ(Value("T.Self() === T && T.Fields === T.Fields"), "True");
}

TEST_F(BridgeTest, AnObjectMayTakeNamesThatItsTableLacks) {
  EXPECT_EQ(
      Output("<% T.Bag['a b'] = 5; T.Bag.other = 'x'; %><%= T.Bag['A B'] + T.Bag.Other + T.Bag.Count %>"),
      "5x2");
  EXPECT_THAT(ErrorOf("T.Bag['count'] = 1"), testing::StartsWith("438|"));
}

TEST_F(BridgeTest, ANumberInBracketsIsAName) {
  EXPECT_EQ(Output("<% T.Bag[1] = 'one'; %><%= T.Bag['1'] + T.Bag[1] + T.Bag.Count %>"), "oneone1");
  EXPECT_THAT(ErrorOf("T.Fields[0]"), testing::StartsWith("438|"));
  EXPECT_THAT(ErrorOf("T.Fields[0] = 1"), testing::StartsWith("438|"));
}

// --- Default members and collections

TEST_F(BridgeTest, AnObjectIsCalledByItsDefaultMember) {
  EXPECT_EQ(Value("T.Fields('name').Value"), "pump");
  EXPECT_EQ(Value("T.Fields('NAME').Name"), "name");
}

// A name that stands in the page is read once; one that a script makes up is another each time.
TEST_F(BridgeTest, NamesThatAScriptMakesUpAreToldApart) {
  object->m_fields->m_fields.clear();
  for (const char16_t* name : {u"n7", u"n77", u"n777", u"\u00e4"})
    object->m_fields->m_fields.push_back(std::make_shared<TestField>(name, Variant(name)));
  EXPECT_EQ(Value("(() => { let found = ''; for (let i = 0; i < 1000; ++i) { try { found += T.Fields('n' + "
                  "i) + ' '; } "
                  "catch (e) { if (e.number !== 5) throw e; } } return found; })()"),
            "n7 n77 n777 ");
  EXPECT_EQ(Value("T.Fields('\\u00e4') + T.Fields('n7') + T.Fields('n'.repeat(1) + 7)"), "\xC3\xA4n7n7");
}

TEST_F(BridgeTest, AnObjectUsedAsAValueGivesItsDefaultValue) {
  EXPECT_EQ(Value("T.Fields('name') + ''"), "pump");
  EXPECT_EQ(Value("T.Fields('id') + 1"), "8");
  EXPECT_EQ(Value("T.Fields('id') * 2"), "14");
  EXPECT_EQ(Value("`${T.Fields('id')}`"), "7");
  EXPECT_EQ(Value("T.Fields('id') == 7"), "True");
  EXPECT_EQ(Value("T.Fields('name').toString() + T.Fields('name').valueOf()"), "pumppump");
  EXPECT_EQ(Value("T.Fields('note').valueOf() === null"), "True");
  EXPECT_EQ(Value("JSON.stringify([T.Fields('id'), T.Fields('name')])"), "[7,\"pump\"]");
  EXPECT_EQ(Value("T.Fields('name')"), "pump");
  EXPECT_EQ(Value("T.TextOf(T.Fields('name'))"), "pump");
}

TEST_F(BridgeTest, ADateAsDefaultValueBecomesText) {
  object->m_fields->m_fields.push_back(std::make_shared<TestField>(u"day", varnel::Date{36526}));
  EXPECT_EQ(Value("T.Fields('day') + ''"), Value("new Date(2000, 0, 1) + ''"));
  EXPECT_EQ(Value("T.Fields('day') - new Date(2000, 0, 1)"), "0");
}

TEST_F(BridgeTest, WithoutADefaultMemberAnObjectIsNoFunction) {
  EXPECT_EQ(Value("typeof T + typeof T.Fields"), "objectfunction");
}

TEST_F(BridgeTest, CollectionsAreWalked) {
  EXPECT_EQ(Output("<% for (var f of T.Fields) { %><%= f.Name %>;<% } %>"), "id;name;note;");
  EXPECT_EQ(Value("[...T.Fields].length + T.Fields.Count"), "6");
}

TEST_F(BridgeTest, AnEnumeratorWalksACollection) {
  EXPECT_EQ(Output("<% var e = new Enumerator(T.Fields); for (; !e.atEnd(); e.moveNext()) { %><%= "
                   "e.item().Name %>;<% } "
                   "%><%= typeof e.item() %><% e.moveFirst(); %><%= e.item().Name %>"),
            "id;name;note;undefinedid");
  EXPECT_EQ(
      Output("<% for (var e = new Enumerator([1, 2]); !e.atEnd(); e.moveNext()) { %><%= e.item() %><% } %>"),
      "12");
}

TEST_F(BridgeTest, AnObjectThatIsNoCollectionCantBeWalked) {
  EXPECT_THAT(ErrorOf("for (var x of T) ;"), testing::StartsWith("438|"));
}

// --- Values into the library

TEST_F(BridgeTest, ScriptValuesBecomeVariants) {
  const std::pair<const char*, const char*> cases[] = {{"null", "Null"},
                                                       {"1", "Long"},
                                                       {"-2147483648", "Long"},
                                                       {"2147483647", "Long"},
                                                       {"2147483648", "Double"},
                                                       {"1.5", "Double"},
                                                       {"1e300", "Double"},
                                                       {"-0", "Long"},
                                                       {"NaN", "Double"},
                                                       {"'x'", "String"},
                                                       {"true", "Boolean"},
                                                       {"new Date()", "Date"},
                                                       {"new Uint8Array(3)", "Byte()"},
                                                       {"[1, 2]", "Variant()"},
                                                       {"[]", "Variant()"},
                                                       {"T", "TestObject"},
                                                       {"T.Nothing()", "Null"},
                                                       {"{}", "Object"},
                                                       {"() => 1", "Object"},
                                                       {"new String('x')", "String"},
                                                       {"new Number(1)", "Long"},
                                                       {"new Boolean(false)", "Boolean"}};
  for (const auto& [expression, name] : cases)
    EXPECT_EQ(Value(std::string("T.TypeName((") + expression + "))"), name) << expression;
}

TEST_F(BridgeTest, UndefinedWhereAValueIsNeededIsEmpty) {
  EXPECT_EQ(Value("T.TypeName(undefined)"), "Empty");
}

TEST_F(BridgeTest, NullWhereAnObjectIsExpectedIsNothing) {
  EXPECT_EQ(Value("T.TakesObject(null)"), "True");
  EXPECT_THAT(ErrorOf("T.TakesObject(5)"), testing::StartsWith("13|"));
}

TEST_F(BridgeTest, WhatHasNoVariantIsATypeMismatch) {
  EXPECT_THAT(ErrorOf("T.TypeName(Symbol())"), testing::StartsWith("13|"));
  EXPECT_THAT(ErrorOf("T.TypeName(1n)"), testing::StartsWith("13|"));
}

TEST_F(BridgeTest, AnInvalidDateIsAValueThatNoConversionTakes) {
  EXPECT_EQ(Value("T.TypeName(new Date(NaN))"), "Date");
  EXPECT_EQ(Value("(d => d instanceof Date && isNaN(d))(T.Same(new Date(NaN)))"), "True");
  EXPECT_THAT(ErrorOf("T.Add(new Date(NaN))"), testing::StartsWith("13|"));
  EXPECT_THAT(ErrorOf("T.TextOf(new Date(NaN))"), testing::StartsWith("13|"));
  EXPECT_THAT(ErrorOf("CDate(new Date(NaN))"), testing::StartsWith("13|"));
}

TEST_F(BridgeTest, AnArrayInACircleIsRefused) {
  EXPECT_THAT(ErrorOf("var a = []; a.push(a); T.TypeName(a)"), testing::StartsWith("5|"));
  EXPECT_THAT(ErrorOf("T.TypeName(new Array(4000000000))"), testing::StartsWith("7|"));
}

TEST_F(BridgeTest, AnErrorInAGetterIsTheScriptsOwn) {
  EXPECT_EQ(Output("<% var a = [0]; Object.defineProperty(a, 0, {get() { throw new Error('mine'); }});"
                   "try { T.TypeName(a); } catch (e) { %><%= e.message %><% } %>"),
            "mine");
}

TEST_F(BridgeTest, TypedValuesHaveTheirExactType) {
  EXPECT_EQ(Value("T.TypeName(CInt(5))"), "Integer");
  EXPECT_EQ(Value("T.TypeName(CLng(5))"), "Long");
  EXPECT_EQ(Value("T.TypeName(CDbl(5))"), "Double");
  EXPECT_EQ(Value("T.TypeName(CByte(5))"), "Byte");
  EXPECT_EQ(Value("T.TypeName(CDate(5))"), "Date");
  EXPECT_EQ(Value("T.TypeName(CStr(5))"), "String");
  EXPECT_EQ(Value("T.TypeName(CBool(5))"), "Boolean");
}

TEST_F(BridgeTest, TypedValuesAreUsableAsPlainOnes) {
  EXPECT_EQ(Value("CInt('2') + CByte(3) + CDbl(0.5)"), "5.5");
  EXPECT_EQ(Value("CInt(2.5) + '' + CInt(3.5)"), "24");  // a half goes to the even neighbour
  EXPECT_EQ(Value("`${CInt(7)}` + CInt(7).toString()"), "77");
  EXPECT_EQ(Value("JSON.stringify([CInt(1), CDbl(2)])"), "[1,2]");
  EXPECT_EQ(Value("CStr(true) + CLng('12') + CBool(0)"), "True12false");
  EXPECT_EQ(Value("CDate(2).getDate()"), "1");
  EXPECT_EQ(Value("CInt(T.Fields('id'))"), "7");
}

TEST_F(BridgeTest, TypedValuesFailAsConversionsDo) {
  EXPECT_THAT(ErrorOf("CInt(32768)"), testing::StartsWith("6|"));
  EXPECT_THAT(ErrorOf("CByte(-1)"), testing::StartsWith("6|"));
  EXPECT_THAT(ErrorOf("CLng('x')"), testing::StartsWith("13|"));
  EXPECT_THAT(ErrorOf("CStr(null)"), testing::StartsWith("94|"));
}

// --- Values back

TEST_F(BridgeTest, VariantsBecomeScriptValues) {
  EXPECT_EQ(Value("T.Kind('Empty') === undefined"), "True");
  EXPECT_EQ(Value("T.Kind('Null') === null && T.Kind('Nothing') === null"), "True");
  EXPECT_EQ(Value("T.Kind('Integer') === -3 && T.Kind('Long') === 100000 && T.Kind('Byte') === 200"), "True");
  EXPECT_EQ(Value("T.Kind('Double') === 2.5 && T.Kind('Boolean') === true"), "True");
  EXPECT_EQ(Value("T.Kind('String')"), "caf\xC3\xA9 \xE2\x82\xAC");
  EXPECT_EQ(Value("(b => b instanceof Uint8Array && b.join())(T.Kind('Bytes'))"), "1,2,255");
  EXPECT_EQ(Value("(a => Array.isArray(a) && a.length + ':' + a[0] + a[1] + a[2])(T.Kind('Array'))"),
            "3:1nullx");
}

TEST_F(BridgeTest, DatesKeepTheirLocalTime) {
  EXPECT_EQ(Value("(d => [d.getFullYear(), d.getMonth(), d.getDate(), d.getHours(), "
                  "d.getMinutes()].join())(T.Kind('Date'))"),
            "1900,0,1,6,0");
  EXPECT_EQ(Value("(d => [d.getFullYear(), d.getMonth(), d.getDate(), d.getHours(), "
                  "d.getMinutes()].join())(T.Kind('Early'))"),
            "1899,11,29,6,0");
  for (const char* day :
       {"2026, 10, 21, 13, 14, 15", "1899, 11, 29, 6, 0, 0", "1970, 0, 1, 0, 0, 0", "200, 1, 28, 23, 59, 59"})
    EXPECT_EQ(Value(std::string("(d => T.Same(d).getTime() === d.getTime())(new Date(") + day + "))"), "True")
        << day;
}

TEST_F(BridgeTest, ADateIsTheDayCountOfItsLocalTime) {
  EXPECT_EQ(Value("CDbl(new Date(1900, 0, 1, 6))"), "2.25");
  EXPECT_EQ(Value("CDbl(new Date(1899, 11, 29, 6))"), "-1.25");
}

TEST_F(BridgeTest, BytesGoThereAndBack) {
  EXPECT_EQ(Value("T.Same(new Uint8Array([0, 128, 255])).join()"), "0,128,255");
  EXPECT_EQ(Value("T.Same(new Uint8Array([1, 2, 3, 4]).subarray(1, 3)).join()"), "2,3");
  EXPECT_EQ(Value("T.Same(new Uint8Array(0)).length"), "0");
}

TEST_F(BridgeTest, TextGoesThereAndBackWhole) {
  EXPECT_EQ(Value("['', 'a', '\\u0000x', '\\ud800', '\\u{1F600}', '\\u20ac'.repeat(5000)].every(s => "
                  "T.Same(s) === s)"),
            "True");
}

// --- Arguments by reference

TEST_F(BridgeTest, AByRefHoldsTheResult) {
  EXPECT_EQ(Output("<% var r = new ByRef(21); T.Double(r); %><%= r.value %>"), "42");
  EXPECT_EQ(Output("<% var r = new ByRef(1); T.Replace(r, 'text'); %><%= r.value %>"), "text");
  EXPECT_EQ(Output("<% var r = new ByRef(); T.Replace(r, T); %><%= r.value === T %>"), "True");
}

TEST_F(BridgeTest, AByRefThatIsOnlyReadKeepsItsValue) {
  EXPECT_EQ(Output("<% var r = new ByRef('21'), f = new ByRef(1), sum = T.Look(r, f); %>"
                   "<%= sum + ' ' + typeof r.value + ' ' + r.value + ' ' + typeof f.value %>"),
            "21 string 21 number");
  EXPECT_EQ(Output("<% var r = new ByRef('21'), f = new ByRef(), sum = T.Look(r, f); %>"
                   "<%= sum + ' ' + typeof r.value + ' ' + typeof f.value %>"),
            "-21 string undefined");
}

TEST_F(BridgeTest, AByRefHoldsWhatAFailingCallHasSet) {
  for (const char* start : {"", "1"}) {
    EXPECT_EQ(Output("<% var r = new ByRef(" + std::string(start) +
                     "); try { T.SetAndFail(r); } catch (e) { %><%= e.number + ' ' + r.value %><% } %>"),
              "5 set")
        << start;
  }
}

TEST_F(BridgeTest, APlainValueMayStandForAByRef) {
  EXPECT_EQ(Output("<% var n = 21; T.Double(n); %><%= n %>"), "21");
}

TEST_F(BridgeTest, AnArrayIsChangedInPlace) {
  EXPECT_EQ(Output("<% var a = [3, 1, 2]; T.Sort(a); %><%= a.join() %>"), "1,2,3");
  EXPECT_EQ(Output("<% var a = [3, 1, 2], r = new ByRef(a); T.Sort(r); %><%= a.join() + (r.value === a) %>"),
            "1,2,3true");
}

TEST_F(BridgeTest, AByRefIsMadeByNew) {
  EXPECT_EQ(Output("<% try { ByRef(1); } catch (e) { %><%= e.name %><% } %>"), "TypeError");
}

// --- Script objects inside the library

TEST_F(BridgeTest, TheLibraryCallsAScriptsObject) {
  EXPECT_EQ(Value("T.CallBack({twice(x) { return 2 * x; }}, 'twice', 4)"), "8");
  EXPECT_EQ(Value("T.CallBack({getMessage(x) { return this.text + x; }, text: 'm'}, 'GETMESSAGE', 4)"), "m4");
  EXPECT_EQ(Value("T.CallBack({text: 'prop'}, 'Text', null)"), "prop");
  EXPECT_EQ(Value("T.CallFunction(x => x + 1, 4)"), "5");
}

TEST_F(BridgeTest, AScriptsObjectComesBackAsItself) {
  EXPECT_EQ(Value("(o => T.Same(o) === o)({})"), "True");
  EXPECT_EQ(Value("(f => T.Same(f) === f)(() => 1)"), "True");
}

TEST_F(BridgeTest, TheLibraryWalksAScriptsCollection) {
  EXPECT_EQ(Value("T.Sum(new Set([1, 2, 3]))"), "6");
  EXPECT_EQ(Value("T.Sum({})"), "0");
}

TEST_F(BridgeTest, AScriptsObjectWithoutTheMemberIs438) {
  EXPECT_THAT(ErrorOf("T.CallBack({}, 'none', 1)"), testing::StartsWith("438|"));
}

TEST_F(BridgeTest, AnErrorFromAScriptsObjectKeepsItsFacts) {
  EXPECT_EQ(Value("T.Describe({fail() { var e = new Error('m'); e.number = 77; e.source = 'S'; e.description "
                  "= 'D'; throw e; }})"),
            "77|S|D");
  EXPECT_EQ(Value("T.Describe({fail() { T.Fail(-5); }})"), "-5|Test.Source|It failed");
  EXPECT_EQ(Value("T.Describe({fail() { throw new TypeError('odd'); }})"),
            "-2146823266|Script|TypeError: odd");
}

TEST_F(BridgeTest, AnErrorGoesThroughTheLibraryAndBack) {
  EXPECT_EQ(ErrorOf("T.CallBack({f() { T.Fail(-5); }}, 'f', 1)"), "-5|Test.Source|It failed");
}

// --- Errors

TEST_F(BridgeTest, ARaisedErrorIsAScriptError) {
  EXPECT_EQ(
      Output("<% try { T.Fail(-2147467259); } catch (e) { %><%= [e instanceof Error, e.number, e.source, "
             "e.description, e.message, e.helpFile, e.helpContext].join('|') %><% } %>"),
      "true|-2147467259|Test.Source|It failed|It failed|help.hlp|12");
}

TEST_F(BridgeTest, AnUncaughtRaisedErrorHasThePagesLine) {
  const PageResult result = Run("\n\n<% T.Fail(9); %>");
  EXPECT_EQ(result.outcome, Outcome::Failed);
  EXPECT_EQ(result.failure.number, 9);
  EXPECT_EQ(result.failure.source, "Test.Source");
  EXPECT_EQ(result.failure.description, "It failed");
  EXPECT_EQ(result.failure.file, "page.asp");
  EXPECT_EQ(result.failure.line, 3);
}

TEST_F(BridgeTest, AnErrorInsideAToolHasThePagesLine) {
  const PageResult result = Run("\n<% new Enumerator(T); %>");
  EXPECT_EQ(result.failure.number, 438);
  EXPECT_EQ(result.failure.file, "page.asp");
  EXPECT_EQ(result.failure.line, 2);
}

TEST_F(BridgeTest, AnExceptionThatIsNotTheLibrarysIsAnErrorToo) {
  EXPECT_EQ(ErrorOf("T.FailHard()"), "5|Varnel|hard");
}

// --- Requests

TEST_F(BridgeTest, ObjectsAreReleasedWithTheRequest) {
  auto watched = std::make_shared<TestObject>();
  const std::weak_ptr<TestObject> weak = watched;
  object->kept = watched;
  watched.reset();
  files.Set("page.asp", "<% var o = T.Same(T.Self()); T.Keep(null); %>");
  Output("<% var fields = T.Fields; %>");
  EXPECT_EQ(object->m_fields.use_count(), 1);
  RunFile("page.asp");
  EXPECT_FALSE(weak.expired());
  intrinsics.clear();
  object->kept.reset();
  EXPECT_TRUE(weak.expired());
}

TEST_F(BridgeTest, AnObjectWhoseRequestIsOverRaises91) {
  // The only way to keep a script's object is inside the library; its closure holds the wrapper.
  Output("<% var mine = T.Self(); T.Keep({touch() { return mine.Add(1, 1); }}); %>");
  ASSERT_TRUE(object->kept);
  EXPECT_NE(dynamic_cast<const IScriptValue*>(object->kept.get()), nullptr);
  try {
    object->kept->Call(u"touch", {});
    FAIL() << "no error";
  } catch (const varnel::Error& error) {
    EXPECT_EQ(error.Info().Number, 91);
  }
}

TEST_F(BridgeTest, ASharedPrototypeHoldsNothing) {
  EXPECT_EQ(Output(R"(<%
    var failed = 0, tries = [
      () => { Object.getPrototypeOf(T).leak = 1; },
      () => { Object.getPrototypeOf(T)[Symbol.for('leak')] = 1; },
      () => { Object.defineProperty(Object.getPrototypeOf(T), 'leak', {value: 1}); },
      () => { Object.defineProperty(T, 'leak', {value: 1}); },
      () => { Object.setPrototypeOf(T, {}); },
      () => { Object.setPrototypeOf(Object.getPrototypeOf(T), {leak: 1}); },
      () => { T.Add.leak = 1; },
      () => { T.constructor.leak = 1; },
      () => { T[Symbol.iterator].leak = 1; },
      () => { Object.getOwnPropertyDescriptor(Object.getPrototypeOf(T), 'Width').get.leak = 1; },
      () => { delete Object.getPrototypeOf(T).Width; }
    ];
    for (var i = 0; i < tries.length; i++) try { tries[i](); failed += ' ' + i; } catch (e) { }
  %><%= failed %>)"),
            "0");
}

TEST_F(BridgeTest, AnObjectThatEndsThePageCantBeCaught) {
  static ScriptEngine* engine;
  engine = &Engine();
  object->onStop = [] { engine->EndPage(); };
  EXPECT_EQ(Run("a<% try { T.Stop(); %>b<% } finally { %>c<% } %>").outcome, Outcome::Ended);
  EXPECT_EQ(output.text, "a");
  EXPECT_EQ(Run("a<% T.CallBack({stop() { T.Stop(); }}, 'stop', 1); %>b").outcome, Outcome::Ended);
  EXPECT_EQ(output.text, "a");
  EXPECT_EQ(Output("<%= T.Add(1, 1) %>"), "2");
}

TEST_F(BridgeTest, AnIntrinsicThatIsNotGivenIsUndefined) {
  intrinsics.clear();
  EXPECT_EQ(Value("typeof T"), "undefined");
}

TEST_F(BridgeTest, ManyRequestsLeaveTheObjectsAsTheyWere) {
  for (int i = 0; i < 200; ++i)
    ASSERT_EQ(Value("T.Fields('id') + [...T.Fields].length + T.CallFunction(x => x, 1)"), "11");
  EXPECT_EQ(object->m_fields.use_count(), 1);
}

}  // namespace
}  // namespace hostlinux
