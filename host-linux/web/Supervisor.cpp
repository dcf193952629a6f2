#include "host-linux/web/Supervisor.h"

#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <sys/prctl.h>
#include <sys/signalfd.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <list>
#include <optional>
#include <stdexcept>
#include <vector>

#include "host-linux/base/UniqueFd.h"

namespace hostlinux {

namespace {

using Clock = std::chrono::steady_clock;

// What a worker says over its link. A signal wouldn't do: a worker may run as another user, who can't send
// one.
constexpr char kReady = 'r';
constexpr char kReplace = 'x';

sigset_t SignalSet(std::initializer_list<int> signals) {
  sigset_t set;
  sigemptyset(&set);
  for (const int signal : signals) sigaddset(&set, signal);
  return set;
}

std::string EndText(int status) {
  if (WIFSIGNALED(status)) return "was ended by signal " + std::to_string(WTERMSIG(status));
  return "ended with status " + std::to_string(WEXITSTATUS(status));
}

// As a shell reports it.
int ExitStatusOf(int status) { return WIFSIGNALED(status) ? 128 + WTERMSIG(status) : WEXITSTATUS(status); }

struct Worker {
  pid_t pid = 0;
  UniqueFd link;  // open until the worker is asked to end
  std::string configuration;
  bool isReady = false;
  bool isEnding = false;
  bool wantsReplacement = false;
  Clock::time_point started;
  std::optional<Clock::time_point> killAt;
};

class Supervision {
 public:
  Supervision(const SupervisorOptions& options, UniqueFd listener, const ConfiguredWorker& worker)
      : m_options(options),
        m_listener(std::move(listener)),
        m_worker(worker),
        m_configuration(options.configuration),
        m_backOff(options.firstBackOff) {
    // SIGUSR1 is for workers: here it does nothing, and ends nothing either.
    const sigset_t watched = SignalSet({SIGTERM, SIGINT, SIGHUP, SIGUSR1, SIGCHLD});
    ::sigprocmask(SIG_BLOCK, &watched, &m_oldMask);
    m_signals = UniqueFd(::signalfd(-1, &watched, SFD_CLOEXEC | SFD_NONBLOCK));
    if (!m_signals) throw std::runtime_error("The supervisor can't watch signals.");
  }

  ~Supervision() { ::sigprocmask(SIG_SETMASK, &m_oldMask, nullptr); }

  int Run() {
    StartWorker(m_configuration);
    while (!(m_stopping && m_workers.empty())) {
      WaitForEvent();
      ReadSignals();
      ReadLinks();
      ReapWorkers();
      if (m_result) m_stopping = true;
      KillLateWorkers();
      if (m_restartAt && Clock::now() >= *m_restartAt) StartWorker(m_configuration);
    }
    return m_result.value_or(0);
  }

 private:
  void Log(const std::string& sentence) const {
    if (m_options.log) m_options.log(sentence);
  }

  void StartWorker(const std::string& configuration) {
    m_restartAt.reset();
    int ends[2];
    if (::socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends) != 0)
      return ScheduleRestart("The supervisor has no descriptors left.");
    UniqueFd ours(ends[0]);
    const UniqueFd theirs(ends[1]);
    std::fflush(nullptr);
    const pid_t supervisor = ::getpid();
    const pid_t pid = ::fork();
    if (pid < 0) return ScheduleRestart("The supervisor can't start a process.");
    if (pid == 0) RunChild(supervisor, theirs.Get(), configuration);
    Worker worker;
    worker.pid = pid;
    worker.link = std::move(ours);
    worker.configuration = configuration;
    worker.started = Clock::now();
    worker.killAt = worker.started + m_options.readyLimit;
    m_workers.push_back(std::move(worker));
    Log("Worker " + std::to_string(pid) + " started.");
  }

  [[noreturn]] void RunChild(pid_t supervisor, int linkFd, const std::string& configuration) {
    // A worker without its parent would serve on with nobody to end it.
    ::prctl(PR_SET_PDEATHSIG, SIGTERM);
    if (::getppid() != supervisor) ::_exit(1);
    ::signal(SIGHUP,
             SIG_IGN);  // a terminal sends it to the whole group; only the supervisor reads the site again
    sigset_t mask = m_oldMask;
    sigaddset(&mask, SIGTERM);
    sigaddset(&mask, SIGINT);
    sigaddset(&mask, SIGUSR1);
    ::sigprocmask(SIG_SETMASK, &mask, nullptr);
    int result = 1;
    try {
      result = m_worker(m_listener.Get(), linkFd, configuration);
    } catch (const std::exception& error) {
      std::fprintf(stderr, "%s\n", error.what());
    }
    std::fflush(nullptr);
    ::_exit(result);
  }

  void ScheduleRestart(const std::string& sentence) {
    Log(sentence);
    m_restartAt = Clock::now() + m_backOff;
    m_backOff = std::min(m_backOff * 2, m_options.longestBackOff);
  }

  void WaitForEvent() {
    std::vector<pollfd> watched = {{m_signals.Get(), POLLIN, 0}};
    for (const Worker& worker : m_workers) {
      if (worker.link) watched.push_back({worker.link.Get(), POLLIN, 0});
    }
    ::poll(watched.data(), watched.size(), TimeToNextTask());
  }

  // Milliseconds, rounded up; -1 where nothing is due.
  int TimeToNextTask() const {
    std::optional<Clock::time_point> next = m_restartAt;
    for (const Worker& worker : m_workers) {
      if (worker.killAt && (!next || *worker.killAt < *next)) next = worker.killAt;
    }
    if (!next) return -1;
    const auto left = std::chrono::ceil<std::chrono::milliseconds>(*next - Clock::now()).count();
    return static_cast<int>(std::clamp<long long>(left, 0, 3'600'000));
  }

  void ReadSignals() {
    signalfd_siginfo info{};
    while (::read(m_signals.Get(), &info, sizeof info) == sizeof info) {
      if (info.ssi_signo == SIGTERM || info.ssi_signo == SIGINT) OnStop();
      if (info.ssi_signo == SIGHUP && !m_stopping) OnReload();
    }
  }

  void OnStop() {
    const bool again = m_stopping;
    m_stopping = true;
    m_restartAt.reset();
    m_listener = UniqueFd();
    for (Worker& worker : m_workers) {
      if (again) {
        ::kill(worker.pid, SIGKILL);
      } else {
        End(worker, SIGTERM);
      }
    }
  }

  // A worker that is still starting reads the site as it is now or a moment ago, so it makes way for a new
  // one too.
  void OnReload() {
    Log("Reading the site again.");
    const auto read = m_options.readAgain ? m_options.readAgain() : std::optional(m_options.configuration);
    if (!read) return;
    for (Worker& worker : m_workers) {
      if (!worker.isReady) End(worker, SIGUSR1);
    }
    StartWorker(*read);
  }

  // A worker asks for its replacement and serves on until that is ready.
  void OnAsked(Worker& asking) {
    if (asking.wantsReplacement) return;
    asking.wantsReplacement = true;
    Log("Worker " + std::to_string(asking.pid) + " is to be replaced.");
    const bool freshOne = std::any_of(m_workers.begin(), m_workers.end(), [](const Worker& worker) {
      return !worker.isReady && !worker.isEnding;
    });
    if (!freshOne) StartWorker(m_configuration);
  }

  void End(Worker& worker, int signal) {
    if (worker.isEnding) return;
    worker.isEnding = true;
    worker.link = UniqueFd();
    worker.killAt = Clock::now() + m_options.drainLimit;
    ::kill(worker.pid, signal);
  }

  void ReadLinks() {
    for (Worker& worker : m_workers) ReadLink(worker);
  }

  // A word may end the worker, and with it the link.
  void ReadLink(Worker& worker) {
    while (worker.link) {
      char word = 0;
      const ssize_t count = ::recv(worker.link.Get(), &word, 1, MSG_DONTWAIT);
      if (count < 0) return;
      if (count == 0) worker.link = UniqueFd();
      if (word == kReady && !worker.isReady) OnReady(worker);
      if (word == kReplace) OnAsked(worker);
    }
  }

  void OnReady(Worker& fresh) {
    fresh.isReady = true;
    fresh.killAt.reset();
    m_wasReady = true;
    m_configuration = fresh.configuration;
    m_restartAt.reset();
    Log("Worker " + std::to_string(fresh.pid) + " is ready.");
    for (Worker& other : m_workers) {
      if (other.pid != fresh.pid) End(other, SIGUSR1);
    }
  }

  // Asks for each child by its number: others of this process are not ours to reap.
  void ReapWorkers() {
    for (auto at = m_workers.begin(); at != m_workers.end();) {
      int status = 0;
      const auto candidate = at++;
      if (::waitpid(candidate->pid, &status, WNOHANG) != candidate->pid) continue;
      const Worker ended = std::move(*candidate);
      m_workers.erase(candidate);
      OnEnded(ended, status);
    }
  }

  void OnEnded(const Worker& ended, int status) {
    const std::string sentence = "Worker " + std::to_string(ended.pid) + " " + EndText(status) + ".";
    if (m_stopping || ended.isEnding) return Log(sentence);
    if (!m_wasReady) {
      Log(sentence);
      m_result = ExitStatusOf(status);
      return;
    }
    const auto other = std::find_if(m_workers.begin(), m_workers.end(),
                                    [](const Worker& worker) { return !worker.isEnding; });
    if (other != m_workers.end()) {
      if (other->wantsReplacement) return ScheduleRestart(sentence + " The other one goes on for now.");
      return Log(sentence + " The other one goes on.");
    }
    if (Clock::now() - ended.started >= m_options.youngAge) {
      m_backOff = m_options.firstBackOff;
      Log(sentence);
      return StartWorker(m_configuration);
    }
    ScheduleRestart(sentence);
  }

  void KillLateWorkers() {
    for (Worker& worker : m_workers) {
      if (!worker.killAt || Clock::now() < *worker.killAt) continue;
      worker.killAt.reset();
      Log("Worker " + std::to_string(worker.pid) + " took too long and is killed.");
      ::kill(worker.pid, SIGKILL);
    }
  }

  const SupervisorOptions& m_options;
  UniqueFd m_listener;
  const ConfiguredWorker& m_worker;
  std::string m_configuration;  // what the last worker that got ready runs by
  sigset_t m_oldMask{};
  UniqueFd m_signals;
  std::list<Worker> m_workers;  // one that is looked at may start another
  std::chrono::milliseconds m_backOff;
  std::optional<Clock::time_point> m_restartAt;
  std::optional<int> m_result;
  bool m_wasReady = false;
  bool m_stopping = false;
};

}  // namespace

int Supervise(const SupervisorOptions& options, UniqueFd listener, const ConfiguredWorker& worker) {
  return Supervision(options, std::move(listener), worker).Run();
}

int Supervise(const SupervisorOptions& options, UniqueFd listener, const WorkerMain& worker) {
  const ConfiguredWorker any = [&worker](int listenFd, int linkFd, const std::string&) {
    return worker(listenFd, linkFd);
  };
  return Supervise(options, std::move(listener), any);
}

namespace {

// Without a supervisor there is nobody to tell.
void Say(int linkFd, char word) { (void)!::send(linkFd, &word, 1, MSG_NOSIGNAL); }

}  // namespace

void TellReady(int linkFd) { Say(linkFd, kReady); }

void AskForReplacement(int linkFd) { Say(linkFd, kReplace); }

void BlockStopSignals() {
  const sigset_t stops = SignalSet({SIGTERM, SIGINT, SIGUSR1});
  ::pthread_sigmask(SIG_BLOCK, &stops, nullptr);
}

Stop WaitForStop() {
  const sigset_t stops = SignalSet({SIGTERM, SIGINT, SIGUSR1});
  int signal = 0;
  ::sigwait(&stops, &signal);
  return signal == SIGUSR1 ? Stop::MakeWay : Stop::End;
}

}  // namespace hostlinux
