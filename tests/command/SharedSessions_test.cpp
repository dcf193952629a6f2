// Two web processes of one site that share their sessions by a Redis server, and what becomes of their pages when
// that is in trouble.

#include <gmock/gmock.h>

#include <csignal>
#include <regex>
#include <thread>

#include "tests/application/TestSite.h"
#include "tests/command/Processes.h"
#include "tests/command/Program.h"
#include "tests/redis/RedisServer.h"
#include "tests/web/TestClient.h"

namespace {

using hosttest::Answer;
using hosttest::RedisServer;
using hosttest::ServingProgram;
using hosttest::TestClient;
using testing::ContainsRegex;
using testing::HasSubstr;
using testing::Not;

class SharedSessionsTest : public testing::Test {
 protected:
  void SetUp() override {
    if (!RedisServer::IsInstalled()) GTEST_SKIP() << "redis-server isn't installed";
    m_redis = std::make_unique<RedisServer>();
    m_site.WritePage(
        "count.asp",
        "<% Session.Lock(); Session.Contents['n'] = (Session('n') || 0) + 1; %><%= Session('n') %>");
    m_site.WritePage("read.asp", "<%= Session('n') %>");
    m_site.WritePage("plain.asp", "no session");
    m_site.WritePage("careful.asp", "<% try { Session('n'); } catch (e) { Response.Write('sorry'); } %>");
    m_site.WritePage("form.asp", "<%: FormToken() %>");
    m_site.WritePage("post.asp", "<% Session.Contents['posted'] = true; %>posted");
    WriteSite("");
  }

  void WriteSite(const std::string& more) const {
    m_site.Write("site.toml", "[site]\nroot = \"/shop\"\n[server]\nthreads = 2\n[sessions]\nstore = \"" +
                                  m_redis->Address() + "\"\ntimeout = \"500ms\"\n" + more +
                                  "[log]\nfile = \"site.log\"\n");
  }

  Answer Ask(const ServingProgram& program, const std::string& page) {
    Answer answer = TestClient(program.Port()).Get("/shop/" + page, "Connection: close\r\n" + CookieLine());
    const std::string* cookie = answer.headers.Find("Set-Cookie");
    if (cookie != nullptr) m_cookie = cookie->substr(0, cookie->find(';'));
    return answer;
  }

  std::string Count(const ServingProgram& program) { return Ask(program, "count.asp").body; }

  std::string CookieLine() const { return m_cookie.empty() ? "" : "Cookie: " + m_cookie + "\r\n"; }

  int Post(const ServingProgram& program, const std::string& token) {
    const std::string body = "FormToken=" + token;
    TestClient client(program.Port());
    client.Send("POST /shop/post.asp HTTP/1.1\r\nHost: localhost\r\nConnection: close\r\n" + CookieLine() +
                "Content-Type: application/x-www-form-urlencoded\r\nContent-Length: " +
                std::to_string(body.size()) + "\r\n\r\n" + body);
    return client.ReadAnswer().status;
  }

  bool AwaitPages(const ServingProgram& program) {
    for (int tries = 0; tries < 500; ++tries) {
      if (Ask(program, "read.asp").status == 200) return true;
      std::this_thread::sleep_for(std::chrono::milliseconds(20));
    }
    return false;
  }

  static void EndAtOnce(ServingProgram& program) {
    const pid_t worker = program.Worker();
    program.Signal(SIGKILL);
    ::kill(worker, SIGKILL);
    EXPECT_TRUE(hosttest::AwaitEndOf(worker));
    program.Wait();
  }

  std::unique_ptr<RedisServer> m_redis;
  hosttest::TestSite m_site;
  std::string m_cookie;
};

TEST_F(SharedSessionsTest, AVisitorGoesOnAtAnotherProcess) {
  ServingProgram one(m_site.Folder());
  const ServingProgram other(m_site.Folder());
  EXPECT_EQ(Count(one), "1");
  EXPECT_EQ(Count(other), "2");
  EXPECT_EQ(Count(one), "3");
  EndAtOnce(one);
  EXPECT_EQ(Count(other), "4");
  const ServingProgram third(m_site.Folder());
  EXPECT_EQ(Count(third), "5");
}

TEST_F(SharedSessionsTest, AFormOfOneProcessIsTakenByAnother) {
  WriteSite("[forms]\ntoken = true\n");
  const ServingProgram one(m_site.Folder());
  const ServingProgram other(m_site.Folder());
  const std::string token = Ask(one, "form.asp").body;
  EXPECT_EQ(token.size(), 32U);
  EXPECT_EQ(Post(other, token), 200);
  EXPECT_EQ(Post(other, "0123456789abcdef0123456789abcdef"), 403);
  m_redis->Kill();
  EXPECT_EQ(Post(other, token), 503);
}

TEST_F(SharedSessionsTest, LockedCountsOfTwoProcessesAreWhole) {
  const ServingProgram one(m_site.Folder());
  const ServingProgram other(m_site.Folder());
  EXPECT_EQ(Count(one), "1");
  std::vector<std::thread> threads;
  threads.reserve(4);
  for (int t = 0; t < 4; ++t) {
    threads.emplace_back([&, t] {
      const ServingProgram& program = t % 2 == 0 ? one : other;
      for (int i = 0; i < 20; ++i)
        EXPECT_EQ(
            TestClient(program.Port()).Get("/shop/count.asp", "Connection: close\r\n" + CookieLine()).status,
            200);
    });
  }
  for (std::thread& thread : threads) thread.join();
  EXPECT_EQ(Count(other), "82");
}

TEST_F(SharedSessionsTest, WithoutTheServerOnlyPagesThatNeedTheirSessionFail) {
  ServingProgram program(m_site.Folder());
  EXPECT_EQ(Count(program), "1");
  m_redis->Kill();
  for (int i = 0; i < 3; ++i) {
    const Answer failed = Ask(program, "count.asp");
    EXPECT_EQ(failed.status, 503);
    EXPECT_THAT(failed.body, Not(HasSubstr("Redis")));
    EXPECT_EQ(Ask(program, "plain.asp").body, "no session");
    EXPECT_EQ(Ask(program, "careful.asp").body, "sorry");
  }
  const Answer failed = Ask(program, "read.asp");
  std::smatch id;
  ASSERT_TRUE(std::regex_search(failed.body, id, std::regex("Request ([0-9a-f]+)")));
  m_redis->Start();
  EXPECT_TRUE(AwaitPages(program));
  EXPECT_EQ(Count(program), "1");
  EXPECT_EQ(Count(program), "2");
  program.Signal(SIGTERM);
  EXPECT_EQ(program.Wait(), 0);
  const std::string log = m_site.Read("site.log");
  // Once for the request, with its id and the page's line; once that it is gone; once that it is back.
  const std::string line = "error [" + id[1].str() + "] read.asp, line 1: ";
  ASSERT_THAT(log, HasSubstr(line));
  EXPECT_EQ(log.find(line), log.rfind(line));
  EXPECT_THAT(log.substr(log.find(line)),
              HasSubstr("The session can't be asked for: Redis at redis://127.0.0.1:"));
  for (const char* once : {"can't be asked: Connection refused\n", "answers again"}) {
    const std::regex sentence("warning .*Redis at redis://[^ ]+ " + std::string(once));
    EXPECT_EQ(std::distance(std::sregex_iterator(log.begin(), log.end(), sentence), std::sregex_iterator()),
              1)
        << once << log;
  }
}

TEST_F(SharedSessionsTest, TheSitesOwnPageTellsThatThereIsNoSession) {
  m_site.WritePage("errors/503.asp", "<%= Request.ServerVariables('ERROR_STATUS') %>: in a moment");
  const ServingProgram program(m_site.Folder());
  EXPECT_EQ(Count(program), "1");
  m_redis->Kill();
  const Answer failed = Ask(program, "count.asp");
  EXPECT_EQ(failed.status, 503);
  EXPECT_EQ(failed.body, "503: in a moment");
}

TEST_F(SharedSessionsTest, ServerThatIsMissingAtTheStartIsTakenWhenItComes) {
  m_redis->Kill();
  const ServingProgram program(m_site.Folder());
  EXPECT_EQ(Ask(program, "plain.asp").body, "no session");
  EXPECT_EQ(Ask(program, "count.asp").status, 503);
  EXPECT_THAT(m_site.LogWith("can't be asked"), HasSubstr("can't be asked: Connection refused"));
  m_redis->Start();
  for (int tries = 0; tries < 500 && m_cookie.empty(); ++tries) {
    Count(program);
    std::this_thread::sleep_for(std::chrono::milliseconds(20));
  }
  EXPECT_EQ(Count(program), "2");
}

TEST_F(SharedSessionsTest, FullServerIsToldByThePagesThatWrite) {
  const ServingProgram program(m_site.Folder());
  EXPECT_EQ(Count(program), "1");
  m_redis->Tell({"CONFIG", "SET", "maxmemory", "1"});
  EXPECT_EQ(Ask(program, "count.asp").status, 503);
  EXPECT_EQ(Ask(program, "read.asp").body, "1");
  EXPECT_EQ(Ask(program, "plain.asp").body, "no session");
  // Who has no session yet is given none that nobody would find.
  const Answer newcomer = TestClient(program.Port()).Get("/shop/post.asp", "Connection: close\r\n");
  EXPECT_EQ(newcomer.status, 503);
  EXPECT_EQ(newcomer.headers.Find("Set-Cookie"), nullptr);
  m_redis->Tell({"CONFIG", "SET", "maxmemory", "0"});
  EXPECT_EQ(Count(program), "2");
  EXPECT_THAT(m_site.LogWith("refuses it: OOM"), ContainsRegex("error \\[[0-9a-f]+\\] .*refuses it: OOM"));
}

TEST_F(SharedSessionsTest, ServerThatHangsHoldsUpNobodyElse) {
  const ServingProgram program(m_site.Folder());
  EXPECT_EQ(Count(program), "1");
  m_redis->Freeze();
  const auto start = std::chrono::steady_clock::now();
  for (int i = 0; i < 40; ++i) {
    EXPECT_EQ(Ask(program, "count.asp").status, 503);
    EXPECT_EQ(Ask(program, "plain.asp").body, "no session");
  }
  // 40 pages that waited each would take 20 s and more.
  EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(15));
  m_redis->Thaw();
  EXPECT_TRUE(AwaitPages(program));
  EXPECT_EQ(Count(program), "2");
}

TEST_F(SharedSessionsTest, ItIsLookedOverByCheck) {
  EXPECT_THAT(hosttest::RunVarnel({"check", m_site.Folder().string()}).out, Not(HasSubstr("store")));
  m_redis->Kill();
  EXPECT_THAT(
      hosttest::RunVarnel({"check", m_site.Folder().string()}).out,
      ContainsRegex("site.toml:6: Redis at redis://127.0.0.1:[0-9]+/0 can't be asked: Connection refused"));
}

TEST_F(SharedSessionsTest, FilesForTlsThatAreMissingAreTold) {
  m_site.Write("site.toml", "[sessions]\nstore = \"rediss://127.0.0.1:1\"\nca_file = \"missing.crt\"\n");
  ServingProgram program(m_site.Folder());
  EXPECT_EQ(program.Wait(), 1);
  EXPECT_THAT(program.Words(), HasSubstr("missing.crt can't be used for TLS"));
}

}  // namespace
