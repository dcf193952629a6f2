#include "host-linux/script/ScriptEngine.h"

#include <gmock/gmock.h>

#include <atomic>
#include <new>
#include <stdexcept>
#include <thread>

#include "tests/script/ScriptFixture.h"

namespace hostlinux {
namespace {

using Outcome = PageResult::Outcome;
using testing::HasSubstr;

class ScriptEngineTest : public ScriptFixture {};

TEST_F(ScriptEngineTest, RunsAPage) {
  EXPECT_EQ(Output("<ul><% for (var i = 1; i <= 3; i++) { %><li><%= i %></li><% } %></ul>"),
            "<ul><li>1</li><li>2</li><li>3</li></ul>");
}

TEST_F(ScriptEngineTest, StatementsMaySpanBlocksWithoutBraces) {
  EXPECT_EQ(Output("<% if (1 > 2) %>yes<% else %>no<% ; %>"), "no");
}

TEST_F(ScriptEngineTest, ACommentOrAMissingSemicolonEndsWithItsBlock) {
  EXPECT_EQ(Output("<% var a = 5 // five %>x<%= a // again %><% a++ %>y"), "x5y");
}

TEST_F(ScriptEngineTest, TextIsUtf8BothWays) {
  EXPECT_EQ(Output("\xC3\xA9<%= '\xE2\x82\xAC'.length + '\xE2\x82\xAC' %>"),
            "\xC3\xA9"
            "1\xE2\x82\xAC");
}

TEST_F(ScriptEngineTest, FunctionsOfAnIncludeAreThePagesOwn) {
  files.Set("lib.inc", "<% function twice(x) { return 2 * x; } %>");
  EXPECT_EQ(Output("<!--#include file='lib.inc'--><%= twice(21) %>"), "42");
}

TEST_F(ScriptEngineTest, ReturnEndsThePage) { EXPECT_EQ(Output("a<% return; %>b"), "a"); }

// --- Errors

TEST_F(ScriptEngineTest, ASyntaxErrorNamesFileAndLine) {
  const PageResult result = Run("a\n<% var x = ; %>\n");
  EXPECT_EQ(result.outcome, Outcome::Failed);
  EXPECT_EQ(result.failure.file, "page.asp");
  EXPECT_EQ(result.failure.line, 2);
  EXPECT_EQ(result.failure.number, kSyntaxNumber);
  EXPECT_THAT(result.failure.message, HasSubstr("SyntaxError"));
  EXPECT_EQ(output.text, "");
}

TEST_F(ScriptEngineTest, ASyntaxErrorInAnIncludeNamesTheInclude) {
  files.Set("inc/a.inc", "\n\n<% function ( %>");
  const PageResult result = Run("\n<!--#include file='inc/a.inc'-->\n");
  EXPECT_EQ(result.failure.file, "inc/a.inc");
  EXPECT_EQ(result.failure.line, 3);
}

TEST_F(ScriptEngineTest, ABraceTooManyCantLeaveThePagesFunction) {
  const PageResult result = Run("<% } (function () { %>");
  EXPECT_EQ(result.outcome, Outcome::Failed);
  EXPECT_EQ(result.failure.line, 1);
}

TEST_F(ScriptEngineTest, ABlockThatIsNeverClosedIsFoundAtTheEnd) {
  const PageResult result = Run("<% if (true) { %>\nhtml\n");
  EXPECT_EQ(result.outcome, Outcome::Failed);
  EXPECT_EQ(result.failure.file, "page.asp");
  EXPECT_EQ(result.failure.line, 3);
}

TEST_F(ScriptEngineTest, AnUncaughtErrorNamesFileAndLine) {
  files.Set("a.inc", "\n<% function fail() {\n  undefinedName();\n} %>");
  const PageResult result = Run("x\n<!--#include file='a.inc'-->\n<%\nfail(); %>");
  EXPECT_EQ(result.outcome, Outcome::Failed);
  EXPECT_EQ(result.failure.file, "a.inc");
  EXPECT_EQ(result.failure.line, 3);
  EXPECT_EQ(result.failure.message, "ReferenceError: undefinedName is not defined");
  EXPECT_EQ(result.failure.number, kUncaughtNumber);
  EXPECT_EQ(result.failure.source, "Script");
  EXPECT_EQ(result.failure.stack,
            "ReferenceError: undefinedName is not defined\n    at fail (a.inc:3)\n    at page.asp:4");
}

TEST_F(ScriptEngineTest, AnErrorInAnExpressionHasItsLine) {
  const PageResult result = Run("\n\n<%= null.x %>");
  EXPECT_EQ(result.failure.line, 3);
}

TEST_F(ScriptEngineTest, StacksThatAScriptReadsNameThePages) {
  EXPECT_EQ(Output("\n<% function f() { return new Error('e').stack; }\n\n%><%= f() %>"),
            "\nError: e\n    at f (page.asp:2)\n    at page.asp:4");
}

TEST_F(ScriptEngineTest, AnErrorsOwnFactsReachTheHost) {
  const PageResult result = Run(
      "<% var e = new Error('what'); e.number = -7; e.source = 'where'; e.description = 'why'; throw e; %>");
  EXPECT_EQ(result.failure.number, -7);
  EXPECT_EQ(result.failure.source, "where");
  EXPECT_EQ(result.failure.description, "why");
  EXPECT_EQ(result.failure.message, "why");
}

TEST_F(ScriptEngineTest, AnythingMayBeThrown) {
  EXPECT_EQ(Run("<% throw 'text'; %>").failure.description, "text");
  EXPECT_EQ(Run("<% throw null; %>").failure.description, "null");
  EXPECT_EQ(Run("<% throw {toString() { throw 1; }}; %>").outcome, Outcome::Failed);
}

TEST_F(ScriptEngineTest, AParsersErrorIsAFailure) {
  const PageResult result = Run("\n<!--#include file='none'-->");
  EXPECT_EQ(result.outcome, Outcome::Failed);
  EXPECT_EQ(result.failure.line, 2);
  EXPECT_EQ(result.failure.message, "The include 'none' was not found.");
}

TEST_F(ScriptEngineTest, DeepRecursionIsAnErrorThatScriptsCanCatch) {
  EXPECT_EQ(Output("<% function f() { return 1 + f(); } try { f(); } catch (e) { %><%= e.name %><% } %>"),
            "RangeError");
}

// --- Compiling once

TEST_F(ScriptEngineTest, AChangedPageIsCompiledAgain) {
  EXPECT_EQ(Output("one"), "one");
  EXPECT_EQ(Output("two"), "two");
}

TEST_F(ScriptEngineTest, AChangedIncludeIsSeen) {
  files.Set("a.inc", "one");
  EXPECT_EQ(Output("<!--#include file='a.inc'-->"), "one");
  files.Set("a.inc", "two");
  RunFile("page.asp");
  EXPECT_EQ(output.text, "two");
}

TEST_F(ScriptEngineTest, PrepareTellsDirectivesAndFailures) {
  files.Set("good.asp", "<%@ LCID=1031 EnableSessionState=False %>");
  files.Set("bad.asp", "\n<% ) %>");
  PageDirectives directives;
  EXPECT_EQ(Engine().Prepare("good.asp", directives), std::nullopt);
  EXPECT_EQ(directives.lcid, 1031);
  EXPECT_FALSE(directives.sessionState);
  const auto failure = Engine().Prepare("bad.asp", directives);
  ASSERT_TRUE(failure);
  EXPECT_EQ(failure->line, 2);
}

// --- Ending

TEST_F(ScriptEngineTest, AnEndedPageCantCatchIt) {
  output.onText = [this] {
    if (output.text.ends_with("END")) Engine().EndPage();
  };
  const PageResult result = Run("a<% try { %>END<% } catch (e) { %>caught<% } finally { %>finally<% } %>b");
  EXPECT_EQ(result.outcome, Outcome::Ended);
  EXPECT_EQ(output.text, "aEND");
}

TEST_F(ScriptEngineTest, NothingRunsBehindTheCallThatEndsThePage) {
  output.onText = [this] { Engine().EndPage(); };
  EXPECT_EQ(Run("a<% __varnelText(0); __varnelText(0); %>").outcome, Outcome::Ended);
  EXPECT_EQ(output.text, "a");
  output.onText = nullptr;
  EXPECT_EQ(Output("next"), "next");
}

TEST_F(ScriptEngineTest, AnInnerPageRunsInTheOuterOne) {
  files.Set("inner.asp", "[inner]");
  output.onText = [this] {
    if (output.text.ends_with("RUN")) Engine().RunInner("inner.asp");
  };
  EXPECT_EQ(Output("aRUN<% %>b"), "aRUN[inner]b");
}

TEST_F(ScriptEngineTest, AnInnerPagesFailureIsGivenBack) {
  files.Set("inner.asp", "\n<% throw new Error('inside'); %>");
  PageResult inner;
  output.onText = [&] {
    if (output.text.ends_with("RUN")) inner = Engine().RunInner("inner.asp");
  };
  EXPECT_EQ(Output("RUN<% %>b"), "RUN\nb");
  EXPECT_EQ(inner.outcome, Outcome::Failed);
  EXPECT_EQ(inner.failure.file, "inner.asp");
  EXPECT_EQ(inner.failure.line, 2);
}

TEST_F(ScriptEngineTest, AnInnerPagesEndEndsTheOuterOne) {
  files.Set("inner.asp", "END<% %>never");
  output.onText = [this] {
    if (output.text.ends_with("RUN")) Engine().RunInner("inner.asp");
    if (output.text.ends_with("END")) Engine().EndPage();
  };
  EXPECT_EQ(Run("RUN<% %>b").outcome, Outcome::Ended);
  EXPECT_EQ(output.text, "RUNEND");
}

TEST_F(ScriptEngineTest, APageThatRunsItselfWithoutEndFails) {
  files.Set("inner.asp", "RUN<% %>");
  PageResult inner;
  int depth = 0;
  output.onText = [&] {
    ++depth;
    const PageResult result = Engine().RunInner("inner.asp");
    if (result.outcome == Outcome::Failed) inner = result;
  };
  EXPECT_EQ(RunFile("inner.asp").outcome, Outcome::Finished);
  EXPECT_THAT(inner.failure.description, testing::EndsWith("Maximum call stack size exceeded"));
  EXPECT_GT(depth, 10);
}

// --- Microtasks

TEST_F(ScriptEngineTest, MicrotasksRunBeforeThePageEnds) {
  EXPECT_EQ(Output("<% Promise.resolve(1).then(() => { %>later<% }); %>now"), "nowlater");
}

TEST_F(ScriptEngineTest, APromiseThatFailsUnheardFailsThePage) {
  const PageResult result = Run("\n<% (async () => { throw new Error('lost'); })(); %>");
  EXPECT_EQ(result.outcome, Outcome::Failed);
  EXPECT_EQ(result.failure.description, "lost");
  EXPECT_EQ(result.failure.file, "page.asp");
  EXPECT_EQ(result.failure.line, 2);
  EXPECT_EQ(Output("<% Promise.reject(1).catch(() => {}); %>fine"), "fine");
}

TEST_F(ScriptEngineTest, MicrotasksOfAFailedPageNeverRun) {
  Run("<% Promise.resolve().then(() => { %>leaked<% }); throw 1; %>");
  EXPECT_EQ(Output("clean"), "clean");
}

TEST_F(ScriptEngineTest, MicrotasksWithoutEndStopAtTheTimeLimit) {
  timeLimit = std::chrono::milliseconds(100);
  const PageResult result = Run("<% function again() { Promise.resolve().then(again); } again(); %>");
  EXPECT_EQ(result.outcome, Outcome::TimedOut);
  timeLimit = std::chrono::seconds(60);
  EXPECT_EQ(Output("next"), "next");
}

// --- Limits

TEST_F(ScriptEngineTest, ARunawayLoopIsStoppedAndTheNextRequestRuns) {
  timeLimit = std::chrono::milliseconds(100);
  for (const char* loop : {"<% for (;;); %>", "<% for (;;) try { for (;;); } finally { continue; } %>",
                           "<% /(a+)+b/.test('a'.repeat(40)); for (;;); %>"}) {
    const PageResult result = Run(loop);
    EXPECT_EQ(result.outcome, Outcome::TimedOut) << loop;
    EXPECT_EQ(result.failure.file, "page.asp");
  }
  timeLimit = std::chrono::seconds(60);
  EXPECT_EQ(Output("next"), "next");
}

TEST_F(ScriptEngineTest, TheTimeLimitCanBeChangedWhileAPageRuns) {
  output.onText = [this] { Engine().SetTimeLimit(std::chrono::milliseconds(50)); };
  EXPECT_EQ(Run("a<% for (;;); %>").outcome, Outcome::TimedOut);
}

TEST_F(ScriptEngineTest, AMemoryEaterIsStoppedAndTheNextRequestRuns) {
  options.heapBytes = 32 * 1024 * 1024;
  for (int i = 0; i < 3; ++i) {
    const PageResult result = Run(
        "<% var all = []; try { for (;;) all.push(new Array(1000).fill(1.5)); } catch (e) { %>caught<% } %>");
    EXPECT_EQ(result.outcome, Outcome::OutOfMemory);
    EXPECT_EQ(output.text, "");
    EXPECT_EQ(Output("<%= 'x'.repeat(100000).length %>"), "100000");
  }
}

TEST_F(ScriptEngineTest, BuffersHaveALimitOfTheirOwn) {
  options.bufferBytes = 1024 * 1024;
  EXPECT_EQ(Output("<% try { new Uint8Array(2000000); } catch (e) { %><%= e.name %><% } %>"), "RangeError");
  EXPECT_EQ(Value("new Uint8Array(1000).length"), "1000");
}

TEST_F(ScriptEngineTest, APageThatCantBeStoppedIsReported) {
  files.Set("stuck.asp", "in one long call");
  stuckPage.Forget();
  output.onText = [this] {
    Engine().SetTimeLimit(std::chrono::milliseconds(1));
    while (stuckPage.Name().empty()) std::this_thread::yield();
  };
  EXPECT_EQ(RunFile("stuck.asp").outcome, Outcome::TimedOut);
  EXPECT_EQ(stuckPage.Name(), "stuck.asp, behind line 1");
}

// Fails as it does where there is no memory left, while the page is looked for.
class FailingPageFiles final : public PageFiles {
 public:
  std::optional<std::string> Read(const std::string&) const override { return "text"; }
  std::optional<FileStamp> Stamp(const std::string&) const override {
    if (--goodStamps < 0) throw std::length_error("no room");
    if (goodStamps == 0) throw std::bad_alloc();
    return FileStamp{1, 0, 0, 0};
  }
  mutable int goodStamps = 1;
};

TEST(ScriptEngineFailureTest, ARequestThatLeavesByAnExceptionIsOver) {
  const FailingPageFiles pages;
  ScriptEngine engine(SharedRuntime(), pages, {});
  TextOutput output;
  int ended = 0;
  struct EndedOutput final : PageOutput {
    explicit EndedOutput(int& count) : ends(count) {}
    void WriteText(std::string_view) override {}
    void WriteValue(const varnel::Variant&) override {}
    void WriteEncoded(const varnel::Variant&) override {}
    void OnPageEnd() override { ++ends; }
    int& ends;
  };
  const auto run = [&] {
    EndedOutput own(ended);
    const Intrinsics intrinsics;
    return engine.RunPage("page.asp", intrinsics, own, std::chrono::seconds(60)).outcome;
  };
  EXPECT_EQ(run(), Outcome::OutOfMemory);
  EXPECT_THROW(run(), std::length_error);
  // Between two requests these find none.
  engine.SetTimeLimit(std::chrono::milliseconds(1));
  engine.EndPage();
  pages.goodStamps = 1000;
  EXPECT_EQ(run(), Outcome::Finished);
  EXPECT_EQ(ended, 3);
}

TEST_F(ScriptEngineTest, CallsOnMoreThanTheHeapCanHoldAreRefused) {
  const char* const calls[] = {"new Array(3e8).fill(1)",
                               "'x'.repeat(4e8).split('')",
                               "'x'.repeat(4e8).match(/x/g)",
                               "'x'.repeat(4e8).replace(/x/g, 'yy')",
                               "Array.from({length: 3e8})",
                               "Array.from('x'.repeat(4e8))",
                               "Array.prototype.fill.call({length: 3e8}, 1)",
                               "new Array(3e8).sort()",
                               "Object.keys('x'.repeat(4e8))",
                               "Math.max.apply(null, {length: 3e8})"};
  for (const char* call : calls) {
    EXPECT_EQ(Output("<% try { " + std::string(call) +
                     "; %>no error<% } catch (e) { %><%= e.name + ': ' + e.message %><% } %>"),
              "RangeError: Invalid array length")
        << call;
  }
}

TEST_F(ScriptEngineTest, BoundedCallsAreInAllElseWhatTheyWere) {
  EXPECT_EQ(Value("[1, 2, 3].fill(0, 1).join() + 'a,b'.split(',', 1) + Array.from('ab', c => c + c)"),
            "1,0,0aaa,bb");
  EXPECT_EQ(Value("[[].fill, ''.split, Array.from, Object.keys].map(f => f.name + f.length + f).join()"),
            "fill1function () { [native code] },split2function () { [native code] },from1function () { "
            "[native code] "
            "},keys1function () { [native code] }");
  EXPECT_EQ(
      Output("<% for (const f of [[].fill, ''.split]) { try { new f(); } catch (e) { %><%= e.name %><% }"
             " try { f.call(null); } catch (e) { %><%= e.name %><% } try { f.x = 1; } catch (e) { %>"
             "<%= e.name %><% } } %>"),
      "TypeErrorTypeErrorTypeErrorTypeErrorTypeErrorTypeError");
  EXPECT_EQ(Value("class extends Array {}.from([1, 2]).length + Array.from.call(Object, [7])[0]"), "9");
}

TEST(WatchdogTest, ADisarmedActionNeverRuns) {
  Watchdog dog;
  std::atomic<int> runs = 0;
  const auto late = dog.Arm(Watchdog::Clock::now() + std::chrono::hours(1), [&] { runs += 100; });
  dog.Arm(Watchdog::Clock::now(), [&] { ++runs; });
  while (runs == 0) std::this_thread::yield();
  dog.Disarm(late);
  EXPECT_EQ(runs, 1);
}

TEST(WatchdogTest, ActionsRunInTheOrderOfTheirTimes) {
  Watchdog dog;
  std::string order;
  std::atomic<bool> done = false;
  const auto now = Watchdog::Clock::now();
  dog.Arm(now + std::chrono::milliseconds(20), [&] {
    order += "b";
    done = true;
  });
  dog.Arm(now + std::chrono::milliseconds(10), [&] { order += "a"; });
  while (!done) std::this_thread::yield();
  EXPECT_EQ(order, "ab");
}

TEST_F(ScriptEngineTest, EnginesOfTwoThreadsDontMeet) {
  files.Set("page.asp", "<% var s = 0; for (var i = 0; i < 1000; i++) s += i; %><%= s %>");
  const auto work = [this](std::string* text) {
    ScriptEngine engine(SharedRuntime(), files, {});
    TextOutput own;
    for (int i = 0; i < 10; ++i) engine.RunPage("page.asp", {}, own, std::chrono::seconds(60));
    *text = own.text;
  };
  std::string first;
  std::string second;
  std::thread a(work, &first);
  std::thread b(work, &second);
  a.join();
  b.join();
  EXPECT_EQ(first.size(), 60u);
  EXPECT_EQ(first, second);
}

}  // namespace
}  // namespace hostlinux
