// Pages that go wrong in every way: each is answered with a clean 500, leaves one entry in the log, and the
// same process answers the next request.

#include <gmock/gmock.h>

#include "tests/application/ServedSite.h"

namespace {

using hosttest::Answer;
using testing::AllOf;
using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;

int CountOf(const std::string& text, const std::string& part) {
  int count = 0;
  for (std::size_t at = 0; (at = text.find(part, at)) != std::string::npos; at += part.size()) ++count;
  return count;
}

class PageFaultsTest : public hosttest::PageTest {
 protected:
  PageFaultsTest() { Configure(""); }

  // What a test adds to the section [server].
  void Configure(const std::string& server, const std::string& mode = "development") {
    site.Write("site.toml", "[site]\nroot = \"/shop\"\nmode = \"" + mode + "\"\n[server]\nthreads = 1\n" +
                                server + "[log]\nfile = \"site.log\"\n");
  }

  // What the failed page tells in development mode. The script thread must answer the next request.
  std::string Fault(const std::string& page) {
    ++m_faults;
    const std::string told = Failure(page);
    EXPECT_EQ(Value("6 * 7"), "42") << page;
    return told;
  }

  // The failed page as a whole.
  std::string FaultPage(const std::string& page) {
    ++m_faults;
    const Answer answer = Ask(page);
    EXPECT_EQ(answer.status, 500);
    return answer.body;
  }

  void TearDown() override {
    const std::string log = EndedLog();
    EXPECT_EQ(CountOf(log, " error ["), m_faults) << log;
  }

 private:
  int m_faults = 0;
};

// --- What is thrown

TEST_F(PageFaultsTest, ThrownErrorIsToldWithItsPlaceNumberAndSource) {
  EXPECT_EQ(Fault("a\n<% throw new Error('no stock'); %>"),
            "page1.asp, line 2: no stock (number -2146823266, source Script)");
}

TEST_F(PageFaultsTest, ValuesThatAreNoErrorsAreToldAsText) {
  EXPECT_THAT(Fault("<% throw 'text'; %>"), StartsWith("page1.asp, line 1: text (number "));
  EXPECT_THAT(Fault("<% throw null; %>"), HasSubstr(": null (number "));
  EXPECT_THAT(Fault("<% throw undefined; %>"), HasSubstr(": undefined (number "));
  EXPECT_THAT(Fault("<% throw {a: 1}; %>"), HasSubstr(": [object Object] (number "));
  EXPECT_THAT(Fault("<% throw Symbol('s'); %>"), HasSubstr(": Symbol(s) (number "));
}

TEST_F(PageFaultsTest, ValuesThatResistBeingReadKeepTheirLine) {
  for (const char* thrown :
       {"{toString() { throw 1; }}", "{get message() { throw 1; }, get name() { throw 2; }}",
        "new Proxy({}, {get() { throw 1; }})", "Object.create(null)", "Response", "() => { throw 1; }"}) {
    EXPECT_THAT(Fault("\n<% throw " + std::string(thrown) + "; %>"), HasSubstr(", line 2: ")) << thrown;
  }
}

TEST_F(PageFaultsTest, ThrownGiantIsCutToASentence) {
  EXPECT_LT(Fault("<% throw 'x'.repeat(10000000); %>").size(), 10000U);
}

TEST_F(PageFaultsTest, ProductionShowsTheIdOnly) {
  Configure("", "production");
  EXPECT_THAT(FaultPage("\n<% throw new Error('the secret'); %>"),
              AllOf(HasSubstr("Request "), Not(HasSubstr("secret")), Not(HasSubstr("page1")),
                    Not(HasSubstr("<pre>")), Not(HasSubstr("line "))));
}

// --- What doesn't end

TEST_F(PageFaultsTest, EndlessRecursionIsAnError) {
  EXPECT_THAT(Fault("\n<% function f() { return 1 + f(); } f(); %>"),
              HasSubstr("line 2: RangeError: Maximum call stack size exceeded"));
  EXPECT_THAT(Fault("<% var o = {toString() { return '' + this; }}; Response.Write('' + o); %>"),
              HasSubstr("RangeError: Maximum call stack size exceeded"));
}

TEST_F(PageFaultsTest, EndlessRecursionThroughTheHostIsAnError) {
  site.WritePage("again.asp", "<% Server.Execute('again.asp'); %>");
  EXPECT_THAT(Fault("<% Server.Execute('again.asp'); %>"), HasSubstr("Maximum call stack size exceeded"));
  EXPECT_THAT(
      Fault("<% var a = []; for (var i = 0; i < 100000; i++) a = [a]; Application.Contents['a'] = a; %>"),
      HasSubstr("line 1: "));
}

TEST_F(PageFaultsTest, EndlessLoopsStopAtTheTimeLimit) {
  Configure("script_timeout = \"150ms\"\n");
  for (const char* loop :
       {"for (;;);", "while (true) try { for (;;); } catch (e) {}",
        "(function f() { try { for (;;); } finally { f(); } })();",
        "for (;;) try { for (;;); } finally { continue; }", "/(a+)+b/.test('a'.repeat(60));",
        "'a'.repeat(60).replace(/(a+)+b/, '');", "Response.Write({toString() { for (;;); }});",
        "Server.URLEncode({toString() { for (;;); }});", "Promise.resolve().then(() => { for (;;); });",
        "(async () => { for (;;) await null; })();",
        "(function again() { Promise.resolve().then(again); })();", "[3, 1, 2].sort(() => { for (;;); });",
        "JSON.stringify({toJSON() { for (;;); }});", "new Proxy({}, {get() { for (;;); }}).x;"}) {
    EXPECT_THAT(Fault("<% " + std::string(loop) + " %>"), HasSubstr("The page ran longer than it may."))
        << loop;
  }
}

TEST_F(PageFaultsTest, StoppedPageCannotGoOnInItsHandlers) {
  Configure("script_timeout = \"150ms\"\n");
  Fault("<% try { for (;;); } finally { Application.Contents['late'] = 'yes'; } %>");
  EXPECT_EQ(Value("typeof Application('late')"), "undefined");
}

// --- What eats

TEST_F(PageFaultsTest, MemoryEatersAreStopped) {
  Configure("max_heap = 33554432\n");
  for (const char* eater :
       {"var a = []; for (;;) a.push(new Array(1000).fill(1.5));", "var s = 'x'; for (;;) s = [s + 'y', s];",
        "var m = new Map(); for (var i = 0;; i++) m.set(i, {i});",
        "var a = []; for (var i = 0;; i++) a.push('text number ' + i);",
        "var a = []; try { for (;;) a.push(new Array(1000).fill(1.5)); } catch (e) { Response.Write('x'); "
        "}"}) {
    EXPECT_THAT(Fault("<% " + std::string(eater) + " %>"),
                HasSubstr("The page needed more memory than it may use."))
        << eater;
  }
}

TEST_F(PageFaultsTest, GiantTextsAndBuffersAreErrorsOfTheScript) {
  EXPECT_THAT(Fault("<% var s = 'x'; for (;;) s += s; %>"), HasSubstr("RangeError: Invalid string length"));
  EXPECT_THAT(Fault("<% var a = []; for (;;) a.push(new Uint8Array(1000000)); %>"),
              HasSubstr("RangeError: Array buffer allocation failed"));
  EXPECT_THAT(Fault("<% new Uint8Array(4e9); %>"), HasSubstr("RangeError: "));
  EXPECT_THAT(Fault("<% new Array(-1); %>"), HasSubstr("RangeError: Invalid array length"));
}

TEST_F(PageFaultsTest, BuffersOfAnEndedPageAreFreeForTheNext) {
  for (int i = 0; i < 5; ++i)
    EXPECT_EQ(Output("<% var a = []; for (var i = 0; i < 50; i++) a.push(new Uint8Array(1000000)); %>ok"),
              "ok");
}

TEST_F(PageFaultsTest, PageThatWritesAGigabyteFails) {
  Configure("max_response_buffer = 4194304\n");
  EXPECT_THAT(Fault("<% var s = 'x'.repeat(1048576); for (var i = 0; i < 1024; i++) Response.Write(s); %>"),
              HasSubstr("page1.asp, line 1: The page is longer than the server allows. (number "));
  EXPECT_THAT(Fault("<% var s = 'x'.repeat(1048576); for (var i = 0; i < 1024; i++) { %><%= s %><% } %>"),
              HasSubstr("The page is longer than the server allows."));
  EXPECT_THAT(Fault("<% for (;;) { %>html<% } %>"), HasSubstr("The page is longer than the server allows."));
}

// --- What would change another page

TEST_F(PageFaultsTest, WhatAPageDefinesIsUnknownToTheNext) {
  const char* const changes[] = {
      "globalThis.leak = 1;",
      "leak = 1;",
      "Object.defineProperty(globalThis, 'leak', {value: 1});",
      "Array.prototype.leak = 1;",
      "Object.prototype.leak = 1;",
      "Object.setPrototypeOf(Array.prototype, {leak: 1});",
      "Object.setPrototypeOf(globalThis, {leak: 1});",
      "Function.prototype.leak = 1;",
      "Math.leak = 1;",
      "JSON.parse = null;",
      "Date.now = () => 0;",
      "String.prototype.split = null;",
      "Response.leak = 1;",
      "Object.getPrototypeOf(Response).leak = 1;",
      "Response.Write = null;",
      "CLng.leak = 1;",
      "CLng = null;",
      "AlignRight = 7;",
      "(function* () {}).constructor.prototype.leak = 1;",
      "Object.getPrototypeOf([].values()).next = null;",
      "Object.defineProperty(Promise.prototype, 'then', {value: null});",
      "Symbol.leak = 1;",
      "Error.prepareStackTrace = () => 'leak';",
      "Error.stackTraceLimit = 0; throw 1;",
  };
  for (const char* change : changes) {
    EXPECT_NE(Fault("<% " + std::string(change) + " %>"), "") << change;
  }
  EXPECT_EQ(
      Output("<%= typeof leak %> <%= [].leak %> <%= ({}).leak %> <%= Math.leak %> <%= CLng.leak %> "
             "<%= typeof JSON.parse %> <%= Date.now() > 0 %> <%= 'a,b'.split(',').length %> "
             "<%= [...[1, 2]].length %> <%= AlignRight === 7 %> <%= /f \\(/.test((() => { try { (function "
             "f() { null.x; })(); } catch (e) { return e.stack; } })()) %>"),
      "undefined     function True 2 2 False True");
}

TEST_F(PageFaultsTest, LastMatchOfAPageIsUnknownToTheNext) {
  EXPECT_EQ(Output("<%= /(s)ecret/.exec('a secret')[1] %>"), "s");
  EXPECT_EQ(Value("[RegExp.$1, RegExp.lastMatch, RegExp.input, RegExp['$&'], RegExp.leftContext].join('')"),
            "");
}

// --- Includes

TEST_F(PageFaultsTest, IncludeOfItselfIsNamed) {
  site.WritePage("self.asp", "\n<!--#include file=\"self.asp\"-->");
  EXPECT_THAT(Fault("<!--#include file=\"self.asp\"-->"),
              StartsWith("self.asp, line 2: The include 'self.asp' includes itself. (number "));
  site.WritePage("a.inc", "<!--#include file=\"b.inc\"-->");
  site.WritePage("b.inc", "\n\n<!--#include file=\"a.inc\"-->");
  EXPECT_THAT(Fault("<!--#include file=\"a.inc\"-->"),
              StartsWith("b.inc, line 3: The include 'a.inc' includes itself."));
}

TEST_F(PageFaultsTest, MissingIncludeIsNamed) {
  EXPECT_THAT(Fault("\n<!--#include file=\"none.inc\"-->"),
              StartsWith("page1.asp, line 2: The include 'none.inc' was not found."));
}

TEST_F(PageFaultsTest, IncludesOutsideTheSiteAreRefused) {
  site.Write("secret.txt", "the secret");
  site.Write("pages-of-another/secret.txt", "the secret");
  std::filesystem::create_symlink("../secret.txt", site.Folder() / "pages" / "link.inc");
  std::filesystem::create_directory_symlink("../pages-of-another", site.Folder() / "pages" / "folder");
  const auto include = [](const std::string& target) { return "<!--#include " + target + "-->"; };
  const std::string outside = "lies outside the pages folder.";
  for (const char* target :
       {"file=\"../secret.txt\"", "file=\"a/../../secret.txt\"", "file=\"..\\secret.txt\"",
        "virtual=\"/../secret.txt\"", "virtual=\"/shop/../../secret.txt\""}) {
    EXPECT_THAT(Fault(include(target)), HasSubstr(outside)) << target;
  }
  EXPECT_THAT(Fault(include("file=\"" + (site.Folder() / "secret.txt").string() + "\"")),
              HasSubstr("must be relative"));
  for (const char* target : {"file=\"link.inc\"", "file=\"folder/secret.txt\"", "file=\".\"",
                             "virtual=\"/etc/passwd\"", "file=\"%2e%2e/secret.txt\""}) {
    EXPECT_THAT(Fault(include(target)), HasSubstr(" was not found.")) << target;
  }
}

TEST_F(PageFaultsTest, PagesOutsideTheSiteAreNotExecuted) {
  site.Write("secret.asp", "the secret");
  std::filesystem::create_symlink("../secret.asp", site.Folder() / "pages" / "link.asp");
  for (const char* target :
       {"../secret.asp", "/../secret.asp", "/shop/../secret.asp", "link.asp", "none.asp"}) {
    EXPECT_THAT(Fault("<% Server.Execute('" + std::string(target) + "'); %>"), Not(HasSubstr("the secret")))
        << target;
  }
}

}  // namespace
