// Two web processes behind nginx, by the example of its configuration: one of them is killed under load.

#include <gmock/gmock.h>
#include <signal.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <atomic>
#include <fstream>
#include <sstream>
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

constexpr const char* kProgram = "/usr/sbin/nginx";
constexpr int kVisitors = 8;

void Replace(std::string& text, const std::string& from, const std::string& to) {
  const std::size_t at = text.find(from);
  ASSERT_NE(at, std::string::npos) << from;
  text.replace(at, from.size(), to);
}

// nginx by examples/nginx/varnel.conf, with ports and sockets of the test's own.
class Balancer {
 public:
  Balancer(const std::filesystem::path& folder, const std::string& one, const std::string& other)
      : m_folder(folder / "nginx"), m_port(hosttest::FreePort()) {
    std::filesystem::create_directories(m_folder);
    std::string site = hosttest::FileText(VARNEL_SOURCE_DIR "/examples/nginx/varnel.conf");
    Replace(site, "unix:/run/varnel-1/varnel.sock", one);
    Replace(site, "unix:/run/varnel-2/varnel.sock", other);
    Replace(site, "listen 80;", "listen 127.0.0.1:" + std::to_string(m_port) + ";");
    std::ofstream(m_folder / "site.conf") << site;
    std::ofstream file(m_folder / "nginx.conf");
    // Root's nginx would become a user who can't open the sockets.
    if (::geteuid() == 0) file << "user root root;\n";
    file << "daemon off; pid nginx.pid; error_log error.log; worker_processes 2;\n"
            "events { worker_connections 256; }\nhttp { access_log off;\n";
    for (const char* kind : {"client_body", "proxy", "fastcgi", "uwsgi", "scgi"})
      file << kind << "_temp_path " << kind << ";\n";
    file << "include site.conf;\n}\n";
    file.close();
    m_process = ::fork();
    if (m_process == 0) {
      ::prctl(PR_SET_PDEATHSIG, SIGTERM);
      const std::string prefix = m_folder.string() + "/";
      ::execl(kProgram, "nginx", "-p", prefix.c_str(), "-c", "nginx.conf", "-e", "error.log", nullptr);
      ::_exit(127);
    }
  }
  ~Balancer() {
    ::kill(m_process, SIGTERM);
    ::waitpid(m_process, nullptr, 0);
  }
  Balancer(const Balancer&) = delete;
  Balancer& operator=(const Balancer&) = delete;

  static bool IsInstalled() { return ::access(kProgram, X_OK) == 0; }

  std::uint16_t Port() const { return m_port; }
  std::string Errors() const { return hosttest::FileText((m_folder / "error.log").string()); }

  bool AwaitPage(const std::string& target) const {
    for (int tries = 0; tries < 500; ++tries) {
      try {
        if (TestClient(m_port).Get(target, "Connection: close\r\n").status == 200) return true;
      } catch (const std::runtime_error&) {  // it doesn't listen yet
      }
      std::this_thread::sleep_for(std::chrono::milliseconds(20));
    }
    return false;
  }

 private:
  const std::filesystem::path m_folder;
  const std::uint16_t m_port;
  pid_t m_process = 0;
};

// What a page of the list says: the session's number, the rows' keys, the link to the next page.
struct Page {
  int number = 0;
  int first = 0;
  int last = 0;
  std::string next;
};

Page PageOf(const std::string& body) {
  Page page;
  char bar = 0;
  char comma = 0;
  std::istringstream stream(body);
  stream >> page.number >> bar >> page.first >> comma >> page.last >> bar >> page.next;
  return page;
}

// One visitor who walks through the list by its links, over and over, and counts in his session. By posts or by
// links: a link that failed on its way may have been asked for twice, a post never.
class Visitor {
 public:
  Visitor(std::uint16_t port, bool posts) : m_port(port), m_posts(posts), m_thread([this] { Run(); }) {}
  void End() {
    m_ending = true;
    m_thread.join();
  }

  int Answered() const { return m_answered; }
  int Failed() const { return m_failed; }
  std::string Wrong() const { return m_wrong; }

 private:
  void Run() {
    while (!m_ending) {
      try {
        TestClient client(m_port);
        client.SetPatience(60'000);
        while (!m_ending && Click(client)) {
        }
      } catch (const std::runtime_error& error) {
        m_wrong = error.what();
        return;
      }
    }
  }

  bool Click(TestClient& client) {
    const bool isFirst = m_next.empty();
    const std::string target = isFirst ? "/shop/list.asp" : m_next;
    client.Send((m_posts ? "POST " : "GET ") + target + " HTTP/1.1\r\nHost: localhost\r\n" + m_cookie +
                (m_posts ? "Content-Length: 0\r\n\r\n" : "\r\n"));
    const Answer answer = client.ReadAnswer();
    if (answer.status != 200) {
      ++m_failed;
      ++m_unsure;
      return false;
    }
    const Page page = PageOf(answer.body);
    const int expected = isFirst ? 1 : m_last + 1;
    if (page.first != expected || page.last != expected + 1)
      m_wrong = "rows of " + target + ": " + answer.body;
    // A link may have been asked for at both.
    const int most = m_number + 1 + (m_posts ? m_unsure : 2);
    if (page.number <= m_number || page.number > most)
      m_wrong = std::to_string(m_number) + ", then " + answer.body;
    if (const std::string* cookie = answer.headers.Find("Set-Cookie")) {
      if (!m_cookie.empty()) m_wrong = "a second session";
      m_cookie = "Cookie: " + cookie->substr(0, cookie->find(';')) + "\r\n";
    }
    m_number = page.number;
    m_last = page.last;
    m_next = page.last == 100 ? "" : page.next;
    m_unsure = 0;
    ++m_answered;
    return true;
  }

  const std::uint16_t m_port;
  const bool m_posts;
  std::string m_cookie, m_next, m_wrong;
  int m_number = 0;
  int m_last = 0;
  int m_unsure = 0;
  std::atomic<bool> m_ending = false;
  std::atomic<int> m_answered = 0;
  std::atomic<int> m_failed = 0;
  std::thread m_thread;
};

class BalancerTest : public testing::Test {
 protected:
  void SetUp() override {
    if (!RedisServer::IsInstalled()) GTEST_SKIP() << "redis-server isn't installed";
    if (!Balancer::IsInstalled()) GTEST_SKIP() << "nginx isn't installed";
    m_redis = std::make_unique<RedisServer>();
    m_site.MakeCustomers(100);
    m_site.WritePage(
        "list.asp",
        "<% Session.Lock(); Session.Contents['n'] = (Session('n') || 0) + 1; Session.Unlock();"
        " var page = Server.CreateObject('Varnel.Page'); page.OpenDatabaseConnection('Demo');"
        " var rs = page.DRecordset(); rs.SetPageSize(2); rs.OpenRS('SELECT id, name FROM customer', 'id');"
        " var ids = []; for (; !rs.EOF; rs.MoveNext()) ids.push(rs('id').Value); %>"
        "<%= Session('n') %> | <%= ids.join(' , ') %> | <%= rs.GetUrlNext() %>");
    m_site.WritePage("who.asp",
                     "<%= Request.ServerVariables('REMOTE_ADDR') %> "
                     "<%= Request.ServerVariables('HTTPS') %> "
                     "<%= Request.ServerVariables('HTTP_HOST') %>");
    m_site.Write(
        "site.toml",
        "[site]\nroot = \"/shop\"\n[server]\nthreads = 2\ntrusted_proxies = [\"unix\"]\n"
        "[sessions]\nstore = \"" +
            m_redis->Address() +
            "\"\n"
            "[lists]\nlinks = \"sealed\"\n"
            "[application]\nDemo_ConnectionString = \"Provider=SQLite;Data Source=demo.db;Mode=Read\"\n"
            "[log]\nfile = \"site.log\"\n");
  }

  std::string SocketOf(int number) const {
    return "unix:" + (m_site.Folder() / ("web" + std::to_string(number))).string();
  }

  std::unique_ptr<ServingProgram> StartProcess(int number) const {
    return std::make_unique<ServingProgram>(m_site.Folder(),
                                            std::vector<std::string>{"--listen", SocketOf(number)});
  }

  std::unique_ptr<RedisServer> m_redis;
  hosttest::TestSite m_site;
};

TEST_F(BalancerTest, TheVisitorsAddressComesThroughAndCantBeMadeUp) {
  const auto one = StartProcess(1);
  const auto other = StartProcess(2);
  const Balancer balancer(m_site.Folder(), SocketOf(1), SocketOf(2));
  ASSERT_TRUE(balancer.AwaitPage("/shop/who.asp")) << balancer.Errors();
  const Answer answer =
      TestClient(balancer.Port())
          .Get("/shop/who.asp", "X-Forwarded-For: 203.0.113.9\r\nX-Forwarded-Proto: https\r\n");
  EXPECT_EQ(answer.body, "127.0.0.1 off localhost");
}

TEST_F(BalancerTest, UnderLoadOnlyRequestsOfAKilledProcessFail) {
  auto one = StartProcess(1);
  const auto other = StartProcess(2);
  const Balancer balancer(m_site.Folder(), SocketOf(1), SocketOf(2));
  ASSERT_TRUE(balancer.AwaitPage("/shop/list.asp")) << balancer.Errors();
  std::vector<std::unique_ptr<Visitor>> visitors;
  visitors.reserve(kVisitors);
  for (int i = 0; i < kVisitors; ++i)
    visitors.push_back(std::make_unique<Visitor>(balancer.Port(), i % 2 == 0));
  const auto answered = [&] {
    int sum = 0;
    for (const auto& visitor : visitors) sum += visitor->Answered();
    return sum;
  };
  const auto awaitAnswers = [&](int more) {
    const int goal = answered() + more;
    for (int tries = 0; answered() < goal && tries < 6000; ++tries)
      std::this_thread::sleep_for(std::chrono::milliseconds(10));
    return answered() >= goal;
  };
  constexpr int kRounds = 3;
  for (int round = 0; round < kRounds; ++round) {
    EXPECT_TRUE(awaitAnswers(200)) << balancer.Errors();
    const pid_t worker = one->Worker();
    one->Signal(SIGKILL);
    ::kill(worker, SIGKILL);
    EXPECT_TRUE(hosttest::AwaitEndOf(worker));
    one.reset();
    EXPECT_TRUE(awaitAnswers(200)) << balancer.Errors();
    one = StartProcess(1);  // at the socket that the dead one left
  }
  EXPECT_TRUE(awaitAnswers(200)) << balancer.Errors();
  for (const auto& visitor : visitors) visitor->End();
  int failed = 0;
  for (const auto& visitor : visitors) {
    EXPECT_EQ(visitor->Wrong(), "");
    failed += visitor->Failed();
  }
  // Those in flight at the kill: one of each visitor at most.
  EXPECT_LE(failed, kRounds * kVisitors) << balancer.Errors();
  std::printf("%d answered, %d failed\n", answered(), failed);
}

}  // namespace
