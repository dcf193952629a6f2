// The small parent process: it owns the listening socket and sees to it that a worker serves it.
#pragma once

#include <chrono>
#include <functional>
#include <string>

namespace hostlinux {

// The worker's life, called in a process of its own. `listenFd` is its copy of the listening socket. It calls
// `ready` once it serves; the result is the process's exit status. Stop signals are blocked in it: it waits
// for them by WaitForStop.
using WorkerMain = std::function<int(int listenFd, const std::function<void()>& ready)>;

struct SupervisorOptions {
  using Duration = std::chrono::milliseconds;

  Duration readyLimit{60'000};  // a worker that isn't ready by then is killed
  Duration drainLimit{30'000};  // how long a worker that was asked to end may take before it is killed
  Duration firstBackOff{100};   // before a worker that died young is started again; doubled each time
  Duration longestBackOff{5'000};
  Duration youngAge{5'000};                     // a worker that lived longer has its successor at once
  std::function<void(const std::string&)> log;  // sentences about workers; may be left empty
};

// Runs workers until SIGTERM or SIGINT, which are handed on as SIGTERM (a second one kills). A worker that
// ends otherwise is started again. SIGHUP starts a fresh worker and, once that is ready, ends the old one; a
// fresh one that fails leaves the old one in place. The result is 0 after a stop, or the exit status of a
// first worker that ended before it was ready: a site that can't start isn't tried again. To be called while
// the process has a single thread.
int Supervise(const SupervisorOptions& options, int listenFd, const WorkerMain& worker);

// Blocks the stop signals (SIGTERM, SIGINT) in this thread and those it will start, for WaitForStop.
void BlockStopSignals();

// Waits for SIGTERM or SIGINT; gives its number. Other threads can end the wait by sending one to the
// process.
int WaitForStop();

}  // namespace hostlinux
