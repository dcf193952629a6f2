// Values that outlive a request: those of a visitor, and those of the site.

#include <gmock/gmock.h>

#include <chrono>
#include <thread>
#include <vector>

#include "tests/application/ServedSite.h"

namespace {

using hosttest::Answer;
using hosttest::CookieLine;
using testing::HasSubstr;

class SessionTest : public hosttest::PageTest {
 protected:
  // A session that holds "a", as a header line.
  std::string Begun() { return CookieLine(Ask("<% Session.Contents['a'] = 'kept'; %>")); }
};

TEST_F(SessionTest, ValuesAreReadInTheNextRequestOfTheVisitorOnly) {
  const std::string cookie = Begun();
  EXPECT_EQ(Ask("<%= Session('A') %>", "", cookie).body, "kept");
  EXPECT_EQ(Ask("<%= Session.Contents('a') %>", "", cookie).body, "kept");
  EXPECT_EQ(Ask("<%= Session('a') %>").body, "");
}

TEST_F(SessionTest, BeginsWithItsFirstWriteOrTheFirstLookAtItsId) {
  EXPECT_EQ(CookieLine(Ask("<%= Session('a') %><%= Session.LCID %><%= Session.Timeout %>")), "");
  EXPECT_THAT(CookieLine(Ask("<% Session.SessionID; %>")), HasSubstr("Cookie: "));
  EXPECT_THAT(Begun(), HasSubstr("Cookie: "));
}

TEST_F(SessionTest, CookieIsHiddenFromScriptsAndOtherSites) {
  const Answer answer = Ask("<% Session.Contents['a'] = 1; %>");
  const std::string cookie = *answer.headers.Find("Set-Cookie");
  EXPECT_THAT(cookie, HasSubstr("HttpOnly"));
  EXPECT_THAT(cookie, HasSubstr("SameSite=Lax"));
  EXPECT_THAT(cookie, HasSubstr("Path=/shop"));
}

TEST_F(SessionTest, NewOnesStartWithTheSitesValues) { EXPECT_EQ(Value("Session('REMOTE_USER')"), "demo"); }

TEST_F(SessionTest, ContentsIsACollection) {
  EXPECT_EQ(Output("<% var c = Session.Contents; c['x'] = 1; c['y'] = 2; c.Remove('REMOTE_USER'); %>"
                   "<%= c.Count %> <%= c.Key(1) %> <%= c.Item('y') %> <% for (var k of c) { %><%= k %><% }"
                   " c.RemoveAll(); %> <%= c.Count %>"),
            "2 x 2 xy 0");
}

TEST_F(SessionTest, NameOfAMemberIsRefused) {
  for (const std::string name : {"Count", "Item", "Key", "Remove", "RemoveAll"}) {
    EXPECT_EQ(
        Output("<% try { Session.Contents['" + name + "'] = 1; %>stored<% } catch (e) { %>refused<% } %>"),
        "refused")
        << name;
  }
}

TEST_F(SessionTest, KeepsPlainValuesWithTheirTypes) {
  const std::string cookie = CookieLine(Ask(
      "<% var c = Session.Contents; c['d'] = new Date(2001, 1, 3); c['n'] = null; c['l'] = [1, 'b', [2.5]];"
      " c['b'] = new Uint8Array([7]); c['i'] = CInt(3); %>"));
  EXPECT_EQ(
      Ask("<%= Session('d').getFullYear() %> <%= Session('n') === null %> <%= Session('l')[2][0] %>"
          " <%= Session('b')[0] %> <% Server.CreateObject('Varnel.Page').Add(Session.Contents('i')); %>",
          "", cookie)
          .body.substr(0, 15),
      "2001 True 2.5 7");
}

TEST_F(SessionTest, InvalidDatesAreRefused) {
  EXPECT_EQ(
      Ask("<% try { Session.Contents['d'] = [new Date(NaN)]; } catch (e) { Response.Write(e.number); } %>")
          .body,
      "13");
}

TEST_F(SessionTest, ObjectsOfThePageAndFunctionsAreRefused) {
  for (const std::string value :
       {"{}", "function () {}", "Server.CreateObject('Varnel.Page')", "Request", "[{}]"}) {
    EXPECT_EQ(
        Output("<% try { Session.Contents['o'] = " + value + "; %>stored<% } catch (e) { %>refused<% } %>"),
        "refused")
        << value;
  }
}

TEST_F(SessionTest, HostsOwnComponentIsKept) {
  EXPECT_EQ(Output("<% Session.Contents['m'] = Application('I18NMessageManager'); %>"
                   "<%= Session('m').getMessage('SLBGE0015', '1033') %>"),
            "Records");
}

TEST_F(SessionTest, AbandonEndsIt) {
  const std::string cookie = Begun();
  EXPECT_EQ(Ask("<% Session.Abandon(); %>", "", cookie).status, 200);
  EXPECT_EQ(Ask("<%= Session('a') %>", "", cookie).body, "");
}

TEST_F(SessionTest, LocaleTimeoutAndCodePage) {
  const std::string cookie =
      CookieLine(Ask("<% Session.LCID = 1031; Session.Timeout = 5; Session.CodePage = 65001; %>"));
  EXPECT_EQ(Ask("<%= Session.LCID %> <%= Session.Timeout %> <%= Session.CodePage %>", "", cookie).body,
            "1031 5 65001");
  EXPECT_EQ(Value("Session.LCID"), "1033");
}

TEST_F(SessionTest, LongestIdleIsDroppedFirst) {
  site.Write("site.toml", "[site]\nroot = \"/shop\"\n[server]\nthreads = 1\nmax_sessions = 2\n");
  const std::string first = Begun();
  const std::string second = Begun();
  EXPECT_EQ(Ask("<%= Session('a') %>", "", first).body, "kept");
  const std::string third = Begun();
  EXPECT_EQ(Ask("<%= Session('a') %>", "", second).body, "");
  EXPECT_EQ(Ask("<%= Session('a') %>", "", first).body, "kept");
  EXPECT_EQ(Ask("<%= Session('a') %>", "", third).body, "kept");
}

TEST_F(SessionTest, ParallelRequestsOfOneSessionRunInParallel) {
  site.Write("site.toml", "[site]\nroot = \"/shop\"\n[server]\nthreads = 2\n");
  const std::string cookie = Begun();
  site.WritePage("wait.asp", "<% while (Session('go') !== 1) {} %>went on with <%= Session('a') %>");
  hosttest::TestClient waiting(Served().Port());
  waiting.Send("GET /shop/wait.asp HTTP/1.1\r\nHost: localhost\r\n" + cookie + "\r\n");
  EXPECT_EQ(Ask("<% Session.Contents['go'] = 1; %>set", "", cookie).body, "set");
  EXPECT_EQ(waiting.ReadAnswer().body, "went on with kept");
}

TEST_F(SessionTest, LanguageThatTheSessionChoseGoesFirst) {
  site.Write("messages/1031.toml", "SLBGE0015 = \"Datens\xC3\xA4tze\"\n");
  EXPECT_EQ(Output("<%= Server.CreateObject('Varnel.Page').I18N('SLBGE0015') %>"
                   "<% Session.Contents['LanguageID'] = 1031; %>"
                   " <%= Server.CreateObject('Varnel.Page').I18N('SLBGE0015') %>"),
            "Records Datens\xC3\xA4tze");
}

class ApplicationTest : public hosttest::PageTest {};

TEST_F(ApplicationTest, ValuesAreThoseOfTheSiteAndSharedByAll) {
  EXPECT_EQ(Value("Application('TableCellSpacing')"), "1");
  EXPECT_EQ(Ask("<% Application.Lock(); Application.Contents['n'] = 41; Application.Unlock(); %>").status,
            200);
  EXPECT_EQ(Value("Application('N') + 1"), "42");
}

TEST_F(ApplicationTest, ContentsIsACollectionAndMembersNamesAreRefused) {
  EXPECT_EQ(Output("<% var c = Application.Contents; c.RemoveAll(); c['x'] = 1; %>"
                   "<%= c.Count %><%= c.Key(1) %><%= c.Item('x') %>"
                   "<% try { c['count'] = 1; } catch (e) { %> refused<% } %>"),
            "1x1 refused");
}

TEST_F(ApplicationTest, ObjectsOfThePageAreRefused) {
  EXPECT_EQ(
      Output(
          "<% for (var o of [{}, Server.CreateObject('Varnel.Page')]) try { Application.Contents['o'] = o; }"
          " catch (e) { %>refused <% } %>"),
      "refused refused ");
}

TEST_F(ApplicationTest, LockOfAnEndedRequestIsFree) {
  site.Write("site.toml", "[site]\nroot = \"/shop\"\n[server]\nthreads = 2\n");
  EXPECT_EQ(Ask("<% Application.Lock(); nothing(); %>").status, 500);
  EXPECT_EQ(Output("<% Application.Contents['a'] = 1; %>written"), "written");
}

TEST_F(ApplicationTest, CountingUnderTheLockLosesNothing) {
  site.Write("site.toml", "[site]\nroot = \"/shop\"\n[server]\nthreads = 4\n");
  site.WritePage(
      "count.asp",
      "<% Application.Lock(); var n = (Application('n') || 0) + 1; for (var i = 0; i < 20000; ++i) {}"
      " Application.Contents['n'] = n; %>");
  std::vector<std::thread> visitors;
  visitors.reserve(4);
  for (int visitor = 0; visitor < 4; ++visitor) {
    visitors.emplace_back([port = Served().Port()] {
      hosttest::TestClient client(port);
      for (int i = 0; i < 50; ++i) EXPECT_EQ(client.Get("/shop/count.asp").status, 200);
    });
  }
  for (std::thread& visitor : visitors) visitor.join();
  EXPECT_EQ(Value("Application('n')"), "200");
}

TEST_F(ApplicationTest, WaitForTheLockEndsWithThePagesTime) {
  site.Write("site.toml",
             "[site]\nroot = \"/shop\"\nmode = \"development\"\n[server]\nthreads = 2\nscript_timeout = "
             "\"300ms\"\n");
  const std::string cookie = CookieLine(Ask("<% Session.Contents['go'] = 0; %>"));
  site.WritePage(
      "hold.asp",
      "<% Server.ScriptTimeout = 60; Application.Lock(); Response.Write('locked'); Response.Flush();"
      " while (Session('go') !== 1) {} %>freed");
  hosttest::TestClient holding(Served().Port());
  holding.Send("GET /shop/hold.asp HTTP/1.1\r\nHost: localhost\r\n" + cookie + "\r\n");
  std::string all = holding.ReadThrough("locked");
  const auto start = std::chrono::steady_clock::now();
  for (const char* page : {"<% Application.Lock(); %>", "<% Application.Contents['a'] = 1; %>"})
    EXPECT_THAT(Failure(page), testing::AnyOf(HasSubstr("longer than"), HasSubstr("keeps the application")))
        << page;
  EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(20));
  Ask("<% Session.Contents['go'] = 1; %>", "", cookie);
  all += holding.ReadThrough("freed");
  EXPECT_EQ(Ask("<% Application.Lock(); %>free").body, "free");
}

TEST_F(ApplicationTest, SiteWithoutMessagesHasNoMessageManager) {
  std::filesystem::remove_all(site.Folder() / "messages");
  EXPECT_EQ(Output("<%= Application('I18NMessageManager') === undefined %> <% try {"
                   " Server.CreateObject('Varnel.Page').I18N('A'); } catch (e) { %><%= e.number %>"
                   " <%= e.description %><% } %>"),
            "True 13 Varnel.Page: Unable to get the Commerce.MessageManager object from Application("
            " \"I18NMessageManager\"). Type mismatch");
}

}  // namespace
