#include "host-linux/web/Supervisor.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <signal.h>
#include <sys/wait.h>

#include <atomic>
#include <filesystem>
#include <fstream>
#include <thread>
#include <vector>

#include "TestClient.h"
#include "host-linux/web/HttpServer.h"
#include "host-linux/web/ListenSocket.h"

namespace {

using namespace hostlinux;
using namespace std::chrono_literals;
using hosttest::TestClient;

// A supervisor in a process of its own, whose log the test reads line by line.
class SupervisorTest : public testing::Test {
 protected:
  SupervisorTest() : m_listener(ListenAt("127.0.0.1:0")), m_port(PortOf(m_listener.Get())) {
    m_options.firstBackOff = 1ms;
    m_options.longestBackOff = 10ms;
    int ends[2];
    if (::pipe2(ends, O_CLOEXEC) != 0) throw std::runtime_error("no pipe");
    m_log = UniqueFd(ends[0]);
    m_logEnd = UniqueFd(ends[1]);
  }

  ~SupervisorTest() override {
    if (m_pid > 0) {
      ::kill(m_pid, SIGTERM);
      ::waitpid(m_pid, nullptr, 0);
    }
  }

  void Start(const WorkerMain& worker) {
    std::fflush(nullptr);
    m_pid = ::fork();
    if (m_pid != 0) {
      m_logEnd = UniqueFd();
      m_listener = UniqueFd();
      return;
    }
    m_options.log = [this](const std::string& line) {
      const std::string text = line + "\n";
      (void)!::write(m_logEnd.Get(), text.data(), text.size());
    };
    ::_exit(Supervise(m_options, std::move(m_listener), worker));
  }

  // The next line of the log that ends so; empty when the supervisor is gone.
  std::string AwaitLog(const std::string& ending) {
    while (true) {
      const std::string line = NextLine();
      if (line.empty() || line.ends_with(ending)) return line;
    }
  }

  int AwaitEnd() {
    int status = 0;
    ::waitpid(m_pid, &status, 0);
    m_pid = 0;
    return WIFEXITED(status) ? WEXITSTATUS(status) : -WTERMSIG(status);
  }

  void Signal(int signal) const { ::kill(m_pid, signal); }

  ServerOptions m_serverOptions;
  SupervisorOptions m_options;
  UniqueFd m_listener;
  std::uint16_t m_port;

 private:
  std::string NextLine() {
    std::string line;
    pollfd watched{m_log.Get(), POLLIN, 0};
    for (char c = 0; ::poll(&watched, 1, 20'000) > 0 && ::read(m_log.Get(), &c, 1) == 1 && c != '\n';)
      line += c;
    return line;
  }

  pid_t m_pid = 0;
  UniqueFd m_log;
  UniqueFd m_logEnd;
};

// A worker that serves its own process id; "/die" ends it, "/hang" never answers, "/replace" asks for
// another.
int ServeHttp(int listenFd, int linkFd) {
  ServerHandlers handlers;
  handlers.page = [linkFd](const HttpRequest& request, ClientLink&) {
    if (request.path == "/die") ::_exit(3);
    if (request.path == "/replace") AskForReplacement(linkFd);
    if (request.path == "/hang") std::this_thread::sleep_for(1h);
    HttpResponse response;
    response.body = std::to_string(::getpid());
    return response;
  };
  HttpServer server({}, handlers, UniqueFd(::dup(listenFd)));
  TellReady(linkFd);
  const Stop stop = WaitForStop();
  ::close(listenFd);
  server.Drain(10s, stop == Stop::End ? HttpServer::Backlog::Take : HttpServer::Backlog::LeaveToOthers);
  ::_exit(0);
}

std::string WorkerOf(std::uint16_t port) { return TestClient(port).Get("/", "Connection: close\r\n").body; }

TEST_F(SupervisorTest, WorkerServesAndStopsGracefully) {
  Start(ServeHttp);
  AwaitLog("is ready.");
  EXPECT_NE(WorkerOf(m_port), "");
  Signal(SIGTERM);
  EXPECT_EQ(AwaitEnd(), 0);
  EXPECT_THROW(TestClient client(m_port), std::runtime_error);
}

TEST_F(SupervisorTest, InterruptStopsToo) {
  Start(ServeHttp);
  AwaitLog("is ready.");
  Signal(SIGINT);
  EXPECT_EQ(AwaitEnd(), 0);
}

TEST_F(SupervisorTest, DeadWorkerIsReplacedAndClientsOnlyWait) {
  Start(ServeHttp);
  AwaitLog("is ready.");
  const std::string first = WorkerOf(m_port);
  TestClient killer(m_port);
  killer.Send("GET /die HTTP/1.1\r\nHost: h\r\n\r\n");
  EXPECT_NE(AwaitLog("ended with status 3."), "");
  const std::string second = WorkerOf(m_port);
  EXPECT_NE(second, "");
  EXPECT_NE(second, first);
}

TEST_F(SupervisorTest, KilledWorkerIsReplaced) {
  Start(ServeHttp);
  AwaitLog("is ready.");
  const std::string first = WorkerOf(m_port);
  ::kill(std::stoi(first), SIGKILL);
  EXPECT_NE(AwaitLog("was ended by signal 9."), "");
  EXPECT_NE(WorkerOf(m_port), first);
}

TEST_F(SupervisorTest, HangUpBringsAFreshWorkerAndEndsTheOldOne) {
  Start(ServeHttp);
  AwaitLog("is ready.");
  const std::string first = WorkerOf(m_port);
  Signal(SIGHUP);
  EXPECT_NE(AwaitLog("is ready."), "");
  EXPECT_EQ(AwaitLog("Worker " + first + " ended with status 0."),
            "Worker " + first + " ended with status 0.");
  EXPECT_NE(WorkerOf(m_port), first);
}

TEST_F(SupervisorTest, FirstWorkerThatCannotStartEndsTheSupervisor) {
  Start([](int, int) { return 7; });
  EXPECT_EQ(AwaitEnd(), 7);
}

TEST_F(SupervisorTest, ThrowingWorkerEndsWithStatusOne) {
  Start([](int, int) -> int { throw std::runtime_error("The site is broken."); });
  EXPECT_EQ(AwaitEnd(), 1);
}

TEST_F(SupervisorTest, FreshWorkerThatCannotStartLeavesTheOldOne) {
  const auto broken = std::filesystem::temp_directory_path() / ("supervisor_" + std::to_string(::getpid()));
  Start([&](int listenFd, int linkFd) {
    return std::filesystem::exists(broken) ? 5 : ServeHttp(listenFd, linkFd);
  });
  AwaitLog("is ready.");
  const std::string first = WorkerOf(m_port);
  std::ofstream(broken) << "x";
  Signal(SIGHUP);
  EXPECT_NE(AwaitLog("ended with status 5. The other one goes on."), "");
  std::filesystem::remove(broken);
  EXPECT_EQ(WorkerOf(m_port), first);
}

TEST_F(SupervisorTest, WorkerThatAsksIsReplacedAndServesUntilThen) {
  const auto slow = std::filesystem::temp_directory_path() / ("supervisor_" + std::to_string(::getpid()));
  Start([&](int listenFd, int linkFd) {
    while (std::filesystem::exists(slow)) std::this_thread::sleep_for(1ms);
    return ServeHttp(listenFd, linkFd);
  });
  AwaitLog("is ready.");
  std::ofstream(slow) << "x";
  const std::string first = TestClient(m_port).Get("/replace", "Connection: close\r\n").body;
  EXPECT_NE(AwaitLog("is to be replaced."), "");
  EXPECT_NE(AwaitLog("started."), "");
  EXPECT_EQ(WorkerOf(m_port), first);
  std::filesystem::remove(slow);
  EXPECT_NE(AwaitLog("Worker " + first + " ended with status 0."), "");
  EXPECT_NE(WorkerOf(m_port), first);
}

TEST_F(SupervisorTest, ReplacementThatCannotStartIsTriedAgain) {
  const auto broken = std::filesystem::temp_directory_path() / ("supervisor_" + std::to_string(::getpid()));
  Start([&](int listenFd, int linkFd) {
    return std::filesystem::exists(broken) ? 5 : ServeHttp(listenFd, linkFd);
  });
  AwaitLog("is ready.");
  std::ofstream(broken) << "x";
  const std::string first = TestClient(m_port).Get("/replace", "Connection: close\r\n").body;
  for (int i = 0; i < 2; ++i) EXPECT_NE(AwaitLog("ended with status 5. The other one goes on for now."), "");
  EXPECT_EQ(WorkerOf(m_port), first);
  std::filesystem::remove(broken);
  EXPECT_NE(AwaitLog("Worker " + first + " ended with status 0."), "");
  EXPECT_NE(WorkerOf(m_port), first);
}

// Clients that ask without a pause, over connections that they keep as long as the server lets them.
class BusyClients {
 public:
  BusyClients(std::uint16_t port, int count) {
    for (int i = 0; i < count; ++i) m_threads.emplace_back([this, port] { Run(port); });
  }
  ~BusyClients() { End(); }

  void End() {
    m_ending = true;
    for (std::thread& thread : m_threads) thread.join();
    m_threads.clear();
  }

  int Answered() const { return m_answered; }
  int Lost() const { return m_lost; }        // requests on a connection that was said to stay
  int Refused() const { return m_refused; }  // connections that gave no answer at all

 private:
  void Run(std::uint16_t port) {
    while (!m_ending) {
      try {
        TestClient client(port);
        int answered = 0;
        while (!m_ending && AskOnce(client, answered)) {
        }
      } catch (const std::runtime_error&) {
        ++m_refused;
        return;
      }
    }
  }

  // False at the connection's end.
  bool AskOnce(TestClient& client, int& answered) {
    const hosttest::Answer answer = client.Get("/");
    if (answer.status != 200) {
      ++(answered > 0 ? m_lost : m_refused);
      return false;
    }
    ++answered;
    ++m_answered;
    return answer.headers.Joined("Connection") != "close";
  }

  std::atomic<bool> m_ending = false;
  std::atomic<int> m_answered = 0;
  std::atomic<int> m_lost = 0;
  std::atomic<int> m_refused = 0;
  std::vector<std::thread> m_threads;
};

TEST_F(SupervisorTest, ReloadingLosesNoRequestOfBusyClients) {
  Start(ServeHttp);
  AwaitLog("is ready.");
  BusyClients clients(m_port, 6);
  for (int i = 0; i < 3; ++i) {
    Signal(SIGHUP);
    EXPECT_NE(AwaitLog("is ready."), "");
    EXPECT_NE(AwaitLog("ended with status 0."), "");
  }
  clients.End();
  EXPECT_GT(clients.Answered(), 0);
  EXPECT_EQ(clients.Lost(), 0);
  EXPECT_EQ(clients.Refused(), 0);
}

TEST_F(SupervisorTest, StopLosesNoRequestOnAnOpenConnection) {
  Start(ServeHttp);
  AwaitLog("is ready.");
  BusyClients clients(m_port, 6);
  while (clients.Answered() < 50) std::this_thread::sleep_for(1ms);
  Signal(SIGTERM);
  EXPECT_EQ(AwaitEnd(), 0);
  clients.End();
  EXPECT_EQ(clients.Lost(), 0);
}

TEST_F(SupervisorTest, WorkerThatIgnoresTheStopIsKilled) {
  m_options.drainLimit = 20ms;
  Start([](int, int linkFd) {
    TellReady(linkFd);
    while (true) ::pause();
    return 0;
  });
  AwaitLog("is ready.");
  Signal(SIGTERM);
  EXPECT_NE(AwaitLog("took too long and is killed."), "");
  EXPECT_EQ(AwaitEnd(), 0);
}

TEST_F(SupervisorTest, SecondStopKills) {
  Start([](int, int linkFd) {
    TellReady(linkFd);
    while (true) ::pause();
    return 0;
  });
  AwaitLog("is ready.");
  Signal(SIGTERM);
  Signal(SIGINT);
  Signal(SIGTERM);
  EXPECT_NE(AwaitLog("was ended by signal 9."), "");
  EXPECT_EQ(AwaitEnd(), 0);
}

TEST_F(SupervisorTest, WorkerThatNeverGetsReadyIsKilled) {
  m_options.readyLimit = 20ms;
  Start([](int, int) {
    while (true) ::pause();
    return 0;
  });
  EXPECT_NE(AwaitLog("took too long and is killed."), "");
  EXPECT_EQ(AwaitEnd(), 128 + SIGKILL);
}

TEST_F(SupervisorTest, WorkersThatKeepDyingAreTriedAgain) {
  const auto dying = std::filesystem::temp_directory_path() / ("supervisor_" + std::to_string(::getpid()));
  Start([&](int listenFd, int linkFd) {
    if (!std::filesystem::exists(dying)) return ServeHttp(listenFd, linkFd);
    TellReady(linkFd);
    return 9;
  });
  AwaitLog("is ready.");
  const std::string first = WorkerOf(m_port);
  std::ofstream(dying) << "x";
  ::kill(std::stoi(first), SIGKILL);
  for (int i = 0; i < 4; ++i) EXPECT_NE(AwaitLog("ended with status 9."), "");
  std::filesystem::remove(dying);
  EXPECT_NE(WorkerOf(m_port), "");
}

}  // namespace
