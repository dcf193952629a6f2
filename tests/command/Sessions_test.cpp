// Sessions outlive the worker: its kill, its replacement and, where site.toml says so, the server.

#include <gmock/gmock.h>
#include <stdlib.h>
#include <unistd.h>

#include <atomic>
#include <csignal>
#include <thread>

#include "tests/application/TestSite.h"
#include "tests/command/Processes.h"
#include "tests/command/Program.h"
#include "tests/web/TestClient.h"

namespace {

using hosttest::Answer;
using hosttest::ServingProgram;
using hosttest::TestClient;
using testing::HasSubstr;

// A variable of the environment that has another value while it lives.
class Setting {
 public:
  Setting(const char* name, const std::string& value) : m_name(name) {
    const char* before = ::getenv(name);
    m_before = before == nullptr ? "" : before;
    ::setenv(name, value.c_str(), 1);
  }
  ~Setting() { m_before.empty() ? ::unsetenv(m_name) : ::setenv(m_name, m_before.c_str(), 1); }
  Setting(const Setting&) = delete;
  Setting& operator=(const Setting&) = delete;

 private:
  const char* m_name;
  std::string m_before;
};

std::string CookieLine(const Answer& answer) {
  const std::string* cookie = answer.headers.Find("Set-Cookie");
  return cookie == nullptr ? "" : "Cookie: " + cookie->substr(0, cookie->find(';')) + "\r\n";
}

class SessionsTest : public testing::Test {
 protected:
  SessionsTest() : m_temporary(m_site.Folder() / "tmp") {
    std::filesystem::create_directories(m_temporary);
    m_site.WritePage("count.asp",
                     "<% Session.Contents['n'] = (Session('n') || 0) + 1; %><%= Session('n') %>");
  }

  void WriteSite(const std::string& more) const {
    m_site.Write("site.toml",
                 "[site]\nroot = \"/shop\"\n[server]\nthreads = 2\n" + more + "[log]\nfile = \"site.log\"\n");
  }

  // The next number of the visitor's session, on a connection of its own.
  std::string Count(const ServingProgram& program, const std::string& more = "") {
    const Answer answer =
        TestClient(program.Port()).Get("/shop/count.asp", "Connection: close\r\n" + m_cookie + more);
    if (m_cookie.empty()) m_cookie = CookieLine(answer);
    return answer.body;
  }

  std::vector<std::string> TemporaryFolders() const {
    std::vector<std::string> names;
    for (const auto& entry : std::filesystem::directory_iterator(m_temporary))
      names.push_back(entry.path().filename());
    return names;
  }

  hosttest::TestSite m_site;
  std::filesystem::path m_temporary;
  std::string m_cookie;
};

TEST_F(SessionsTest, OutliveTheKillOfTheirWorkerAndReloads) {
  const Setting temporary("TMPDIR", m_temporary.string());
  ServingProgram program(m_site.Folder());
  EXPECT_EQ(Count(program), "1");
  ::kill(program.Worker(), SIGKILL);
  EXPECT_EQ(Count(program), "2");
  const pid_t second = program.Worker();
  program.Signal(SIGHUP);
  EXPECT_TRUE(program.AwaitWords("Worker " + std::to_string(second) + " ended with status 0."));
  EXPECT_EQ(Count(program), "3");
}

TEST_F(SessionsTest, TheirFolderIsPrivateAndGoesWithTheServer) {
  const Setting temporary("TMPDIR", m_temporary.string());
  ServingProgram program(m_site.Folder());
  EXPECT_EQ(Count(program), "1");
  const auto folders = TemporaryFolders();
  ASSERT_EQ(folders.size(), 1U);
  EXPECT_THAT(folders[0], testing::StartsWith("varnel-sessions-"));
  const auto permissions = std::filesystem::status(m_temporary / folders[0]).permissions();
  EXPECT_EQ(permissions, std::filesystem::perms(0700));
  program.Signal(SIGTERM);
  EXPECT_EQ(program.Wait(), 0);
  EXPECT_TRUE(TemporaryFolders().empty());
}

TEST_F(SessionsTest, TheirFolderGoesToWhereItsServerWasKilled) {
  const Setting temporary("TMPDIR", m_temporary.string());
  ServingProgram program(m_site.Folder());
  EXPECT_EQ(Count(program), "1");
  const pid_t worker = program.Worker();
  program.Signal(SIGKILL);
  EXPECT_TRUE(hosttest::AwaitEndOf(worker));
  EXPECT_TRUE(TemporaryFolders().empty());
}

TEST_F(SessionsTest, TheServicesOwnFolderGoesBeforeThatOfTemporaryFiles) {
  const Setting temporary("TMPDIR", m_temporary.string());
  const auto running = m_site.Folder() / "run";
  std::filesystem::create_directories(running);
  const Setting runtime("RUNTIME_DIRECTORY", running.string() + ":/other");
  ServingProgram program(m_site.Folder());
  EXPECT_EQ(Count(program), "1");
  EXPECT_TRUE(TemporaryFolders().empty());
  EXPECT_FALSE(std::filesystem::is_empty(running));
}

TEST_F(SessionsTest, WithoutAFolderTheyEndWithTheirWorker) {
  const Setting temporary("TMPDIR", (m_temporary / "missing").string());
  ServingProgram program(m_site.Folder());
  EXPECT_THAT(program.Words(),
              HasSubstr("varnel: sessions end with their worker: no folder for them can be made in"));
  EXPECT_EQ(Count(program), "1");
  EXPECT_EQ(Count(program), "2");
  ::kill(program.Worker(), SIGKILL);
  EXPECT_EQ(Count(program), "1");
}

TEST_F(SessionsTest, OutliveTheServerWhereTheSiteSaysSo) {
  WriteSite("[sessions]\nfolder = \"data\"\n");
  for (const char* number : {"1", "2", "3"}) {
    ServingProgram program(m_site.Folder());
    EXPECT_EQ(Count(program), number);
    program.Signal(SIGTERM);
    EXPECT_EQ(program.Wait(), 0);
  }
  EXPECT_EQ(std::filesystem::status(m_site.Folder() / "data").permissions(), std::filesystem::perms(0700));
}

TEST_F(SessionsTest, FolderThatOthersCanReadIsNotTaken) {
  WriteSite("[sessions]\nfolder = \"data\"\n");
  std::filesystem::create_directories(m_site.Folder() / "data");
  std::filesystem::permissions(m_site.Folder() / "data", std::filesystem::perms(0755));
  ServingProgram program(m_site.Folder());
  EXPECT_EQ(Count(program), "1");
  EXPECT_EQ(Count(program), "2");
  program.Signal(SIGTERM);
  program.Wait();
  EXPECT_THAT(m_site.Read("site.log"),
              HasSubstr("readable by nobody else (chmod 700): they end with the worker"));
}

TEST_F(SessionsTest, AnAddressThatBeginsTooManyWaits) {
  WriteSite("trusted_proxies = [\"127.0.0.1\"]\n[limits]\nnew_sessions = 3\n");
  m_site.WritePage("plain.asp", "no session");
  ServingProgram program(m_site.Folder());
  const std::string from = "Connection: close\r\nX-Forwarded-For: 203.0.113.9\r\n";
  std::string cookie;
  for (int i = 0; i < 3; ++i) {
    const Answer answer = TestClient(program.Port()).Get("/shop/count.asp", from);
    EXPECT_EQ(answer.body, "1");
    cookie = CookieLine(answer);
  }
  for (int i = 0; i < 3; ++i) {
    const Answer refused = TestClient(program.Port()).Get("/shop/count.asp", from);
    EXPECT_EQ(refused.status, 429);
    EXPECT_THAT(*refused.headers.Find("Retry-After"), testing::AnyOf("20", "19", "18", "17", "16", "15"));
    EXPECT_EQ(refused.headers.Find("Set-Cookie"), nullptr);
  }
  // Who has a session goes on, as does who needs none, and everybody else.
  EXPECT_EQ(TestClient(program.Port()).Get("/shop/count.asp", from + cookie).body, "2");
  EXPECT_EQ(TestClient(program.Port()).Get("/shop/plain.asp", from).body, "no session");
  EXPECT_EQ(Count(program, "X-Forwarded-For: 203.0.113.10\r\n"), "1");
  m_cookie.clear();
  for (int i = 0; i < 10; ++i) {
    EXPECT_EQ(Count(program), "1");
    m_cookie.clear();
  }
  program.Signal(SIGTERM);
  program.Wait();
  const std::string log = m_site.Read("site.log");
  const std::string line = "203.0.113.9 begins more sessions than new_sessions allows";
  ASSERT_THAT(log, HasSubstr(line));
  EXPECT_EQ(log.find(line), log.rfind(line));
}

TEST_F(SessionsTest, AnAddressThatAsksTooMuchWaits) {
  WriteSite("trusted_proxies = [\"127.0.0.1\"]\n[limits]\nrequests = 5\n");
  ServingProgram program(m_site.Folder());
  TestClient client(program.Port());
  int refused = 0;
  for (int i = 0; i < 20; ++i) {
    const Answer answer = client.Get("/shop/none.txt", "X-Forwarded-For: 203.0.113.9\r\n");
    if (answer.status == 429) ++refused;
    EXPECT_EQ(answer.status == 429, answer.headers.Find("Retry-After") != nullptr);
  }
  EXPECT_GE(refused, 10);
  EXPECT_EQ(client.Get("/shop/none.txt", "X-Forwarded-For: 203.0.113.10\r\n").status, 404);
  for (int i = 0; i < 20; ++i) EXPECT_EQ(client.Get("/shop/none.txt").status, 404);
  program.Signal(SIGTERM);
  program.Wait();
  const std::string log = m_site.Read("site.log");
  const std::string line = "203.0.113.9 sends more requests than [limits] requests allows";
  ASSERT_THAT(log, HasSubstr(line));
  EXPECT_EQ(log.find(line), log.rfind(line));
}

// Visitors who count in their sessions without a pause.
class CountingVisitors {
 public:
  explicit CountingVisitors(int count) : m_port(0) {
    for (int i = 0; i < count; ++i) m_threads.emplace_back([this] { Run(); });
  }
  ~CountingVisitors() { End(); }

  void ServeAt(std::uint16_t port) { m_port = port; }
  void End() {
    m_ending = true;
    for (std::thread& thread : m_threads) thread.join();
    m_threads.clear();
  }

  int Answered() const { return m_answered; }
  int Cut() const { return m_cut; }      // requests without an answer on a connection that there was
  int Wrong() const { return m_wrong; }  // numbers that are none of a session that counts on

 private:
  void Run() {
    std::string cookie;
    int last = 0;
    int unsure = 0;  // requests without an answer, which may have counted
    while (!m_ending) {
      try {
        TestClient client(m_port);
        while (!m_ending && AskOnce(client, cookie, last, unsure)) {
        }
      } catch (const std::runtime_error&) {  // nobody listens
        ::usleep(5000);
      }
    }
  }

  bool AskOnce(TestClient& client, std::string& cookie, int& last, int& unsure) {
    const Answer answer = client.Get("/shop/count.asp", cookie);
    if (answer.status != 200 || answer.body.empty()) {
      if (answer.status != 0) ++m_wrong;
      ++m_cut;
      ++unsure;
      return false;
    }
    const int number = std::stoi(answer.body);
    const bool isNext = number > last && number <= last + 1 + unsure;
    if (!isNext) ++m_wrong;
    if (cookie.empty()) cookie = CookieLine(answer);
    last = number;
    unsure = 0;
    ++m_answered;
    return answer.headers.Joined("Connection") != "close";
  }

  std::atomic<std::uint16_t> m_port;
  std::atomic<bool> m_ending = false;
  std::atomic<int> m_answered = 0;
  std::atomic<int> m_cut = 0;
  std::atomic<int> m_wrong = 0;
  std::vector<std::thread> m_threads;
};

// How often each; the variable makes a test of endurance of it.
int Rounds() {
  const char* rounds = ::getenv("VARNEL_REPLACEMENTS");
  return rounds == nullptr ? 2 : std::atoi(rounds);
}

TEST_F(SessionsTest, UnderLoadOnlyRequestsOfAKilledWorkerAreLost) {
  WriteSite("[sessions]\nfolder = \"data\"\n");
  constexpr int kVisitors = 4;
  CountingVisitors visitors(kVisitors);
  const auto awaitAnswers = [&](int more) {
    for (const int goal = visitors.Answered() + more; visitors.Answered() < goal;) ::usleep(5000);
  };
  for (int round = 0; round < Rounds(); ++round) {
    ServingProgram program(m_site.Folder());
    visitors.ServeAt(program.Port());
    awaitAnswers(20);
    int cut = visitors.Cut();
    const pid_t killed = program.Worker();
    ::kill(killed, SIGKILL);
    EXPECT_TRUE(program.AwaitNextWords("is ready."));
    awaitAnswers(20);
    EXPECT_LE(visitors.Cut(), cut + kVisitors);
    cut = visitors.Cut();
    program.Signal(SIGHUP);
    EXPECT_TRUE(program.AwaitNextWords("Reading the site again."));
    EXPECT_TRUE(program.AwaitNextWords("ended with status 0."));
    awaitAnswers(20);
    EXPECT_EQ(visitors.Cut(), cut);
    program.Signal(SIGTERM);
    EXPECT_EQ(program.Wait(), 0);
  }
  visitors.End();
  EXPECT_EQ(visitors.Wrong(), 0);
  EXPECT_GT(visitors.Answered(), 0);
  RecordProperty("answered", visitors.Answered());
  RecordProperty("cut", visitors.Cut());
  std::printf("%d answered, %d cut off\n", visitors.Answered(), visitors.Cut());
}

}  // namespace
