// The limits and headers that a site's configuration sets, in the server as a program.

#include <gmock/gmock.h>

#include <csignal>

#include "tests/application/TestSite.h"
#include "tests/command/Program.h"
#include "tests/web/TestClient.h"

namespace {

using hosttest::Answer;
using hosttest::ServingProgram;
using hosttest::TestClient;
using testing::HasSubstr;
using testing::Not;

class ServeGuardsTest : public testing::Test {
 protected:
  // Starts the server of a site with these lines in its [server] section, and these sections behind.
  void Start(const std::string& server, const std::string& sections = "") {
    m_site.Write("site.toml", "[site]\nroot = \"/shop\"\n[server]\nthreads = 1\n" + server +
                                  "\n[log]\nfile = \"site.log\"\n" + sections);
    m_site.WritePage("index.asp", "hello");
    m_program = std::make_unique<ServingProgram>(m_site.Folder());
    ASSERT_NE(m_program->Port(), 0) << m_program->Words();
  }

  TestClient Connect() { return TestClient(m_program->Port()); }

  Answer Get(const std::string& target, const std::string& headers = "") {
    return Connect().Get(target, headers + "Connection: close\r\n");
  }

  hosttest::TestSite m_site;
  std::unique_ptr<ServingProgram> m_program;
};

TEST_F(ServeGuardsTest, LimitsAreThoseOfTheSite) {
  Start(
      "max_url = 100\nmax_header = 1000\nmax_body = 2000\nmax_bodies = 1000\nheader_timeout = "
      "\"100ms\"\nbody_timeout = \"100ms\"");
  EXPECT_EQ(Get("/shop/?" + std::string(100, 'a')).status, 414);
  EXPECT_EQ(Get("/shop/", "X-A: " + std::string(1000, 'a') + "\r\n").status, 431);
  auto body = Connect();
  body.Send("POST /shop/ HTTP/1.1\r\nHost: a\r\nContent-Length: 2001\r\n\r\n");
  EXPECT_EQ(body.ReadAnswer().status, 413);
  auto bodies = Connect();
  bodies.Send("POST /shop/ HTTP/1.1\r\nHost: a\r\nContent-Length: 1001\r\n\r\n" + std::string(1001, 'a'));
  const Answer busy = bodies.ReadAnswer();
  EXPECT_EQ(busy.status, 503);
  EXPECT_NE(busy.headers.Find("Retry-After"), nullptr);
  auto head = Connect();
  head.Send("GET /shop/ HTTP/1.1\r\n");
  EXPECT_EQ(head.ReadAnswer().status, 408);
  auto late = Connect();
  late.Send("POST /shop/ HTTP/1.1\r\nHost: a\r\nContent-Length: 5\r\n\r\nabc");
  EXPECT_EQ(late.ReadAnswer().status, 408);
  EXPECT_EQ(Get("/shop/").body, "hello");
}

TEST_F(ServeGuardsTest, MoreRequestsThanMayWaitAreToldToComeBack) {
  Start("max_waiting = 1");
  m_site.WritePage("slow.asp",
                   "<% var start = Date.now(); Response.Write('.'); Response.Flush(); while (Date.now() - "
                   "start < 700) {} %>");
  auto running = Connect();
  running.Send("GET /shop/slow.asp HTTP/1.1\r\nHost: a\r\n\r\n");
  running.ReadThrough(".");
  auto waiting = Connect();
  waiting.Send("GET /shop/ HTTP/1.1\r\nHost: a\r\n\r\n");
  Answer answer;
  // The one that waits may not have been read yet.
  while (answer.status != 503) answer = Get("/shop/");
  EXPECT_NE(answer.headers.Find("Retry-After"), nullptr);
  EXPECT_EQ(waiting.ReadAnswer().body, "hello");
}

TEST_F(ServeGuardsTest, HeadersOfTheSiteStandOnAllResponsesUnlessAPageHasItsOwn) {
  Start("", "[headers]\nX-Frame-Options = \"DENY\"\nReferrer-Policy = \"no-referrer\"\n");
  m_site.WritePage("own.asp", "<% Response.AddHeader('referrer-policy', 'origin'); %>own");
  m_site.WritePage("a.css", "p {}");
  m_site.WritePage("bad.asp", "<% nothing(); %>");
  for (const char* target : {"/shop/", "/shop/a.css", "/shop/none", "/shop/bad.asp"}) {
    const Answer answer = Get(target);
    EXPECT_EQ(answer.headers.Joined("X-Frame-Options"), "DENY") << target;
    EXPECT_EQ(answer.headers.Joined("Referrer-Policy"), "no-referrer") << target;
  }
  auto rubbish = Connect();
  rubbish.Send("rubbish\r\n\r\n");
  EXPECT_EQ(rubbish.ReadAnswer().headers.Joined("X-Frame-Options"), "DENY");
  EXPECT_EQ(Get("/shop/own.asp").headers.Joined("Referrer-Policy"), "origin");
}

TEST_F(ServeGuardsTest, IllFormedHeaderOfTheSiteIsNamed) {
  m_site.Write("site.toml", "[headers]\n\"X Y\" = \"1\"\n");
  ServingProgram program(m_site.Folder());
  EXPECT_EQ(program.Wait(), 1);
  EXPECT_EQ(program.Words(), "varnel: site.toml, line 2: X Y can't be a header\n");
}

TEST_F(ServeGuardsTest, CookieIsSecureBehindATrustedProxyWithTls) {
  const std::string page =
      "<% Session.Contents['a'] = 1; %><%= Request.ServerVariables('HTTPS') %> <%= "
      "Request.ServerVariables('REMOTE_ADDR') %>";
  const std::string proxied = "X-Forwarded-Proto: https\r\nX-Forwarded-For: 10.0.0.1, 192.0.2.7\r\n";
  m_site.WritePage("who.asp", page);
  Start("trusted_proxies = [\"127.0.0.1\"]");
  const Answer answer = Get("/shop/who.asp", proxied);
  EXPECT_EQ(answer.body, "on 192.0.2.7");
  EXPECT_THAT(answer.headers.Joined("Set-Cookie"), HasSubstr("; Secure"));
  EXPECT_THAT(answer.headers.Joined("Set-Cookie"), HasSubstr("; HttpOnly"));
  EXPECT_THAT(answer.headers.Joined("Set-Cookie"), HasSubstr("; SameSite=Lax"));
  EXPECT_EQ(Get("/shop/who.asp", "X-Forwarded-For: <b>\r\n").body, "off 127.0.0.1");
}

TEST_F(ServeGuardsTest, OthersCannotClaimToBeAProxy) {
  m_site.WritePage("who.asp",
                   "<% Session.Contents['a'] = 1; %><%= Request.ServerVariables('HTTPS') %> <%= "
                   "Request.ServerVariables('REMOTE_ADDR') %>");
  Start("");
  const Answer answer = Get("/shop/who.asp", "X-Forwarded-Proto: https\r\nX-Forwarded-For: 192.0.2.7\r\n");
  EXPECT_EQ(answer.body, "off 127.0.0.1");
  EXPECT_THAT(answer.headers.Joined("Set-Cookie"), Not(HasSubstr("Secure")));
}

TEST_F(ServeGuardsTest, LineOfALogNamesItsRequest) {
  Start("");
  m_site.WritePage("bad.asp", "<% nothing(); %>");
  const Answer failed = Get("/shop/bad.asp");
  const std::string mark = "Request ";
  const std::string id = failed.body.substr(failed.body.find(mark) + mark.size(), 16);
  m_program->Signal(SIGTERM);
  EXPECT_EQ(m_program->Wait(), 0);
  const std::string log = m_site.Read("site.log");
  EXPECT_THAT(log, HasSubstr(" error [" + id + "] bad.asp, line 1: "));
  EXPECT_THAT(log, HasSubstr(" info [" + id + "] 127.0.0.1 GET /shop/bad.asp 500 "));
}

}  // namespace
