// The small parent process: it owns the listening socket and sees to it that a worker serves it.
#pragma once

#include <chrono>
#include <functional>
#include <optional>
#include <string>

#include "host-linux/base/UniqueFd.h"

namespace hostlinux {

// The worker's life, called in a process of its own, which it may turn into another program. `listenFd` is
// its copy of the listening socket, `linkFd` its end of the link to the supervisor: it calls TellReady once
// it serves. The result is the process's exit status. Stop signals are blocked in it: it waits for them by
// WaitForStop.
using WorkerMain = std::function<int(int listenFd, int linkFd)>;

// The same of a worker that is told by its supervisor what to run by.
using ConfiguredWorker = std::function<int(int listenFd, int linkFd, const std::string& configuration)>;

struct SupervisorOptions {
  using Duration = std::chrono::milliseconds;

  Duration readyLimit{60'000};  // a worker that isn't ready by then is killed
  Duration drainLimit{30'000};  // how long a worker that was asked to end may take before it is killed
  Duration firstBackOff{100};   // before a worker that died young is started again; doubled each time
  Duration longestBackOff{5'000};
  Duration youngAge{5'000};                     // a worker that lived longer has its successor at once
  std::function<void(const std::string&)> log;  // sentences about workers; may be left empty
  // What the first worker runs by, and what one does that SIGHUP brings: nothing where it can't be read, and
  // no worker is started then. Left empty: the first one's stays.
  std::string configuration{};
  std::function<std::optional<std::string>()> readAgain{};
};

// Runs workers until SIGTERM or SIGINT, which are handed on as SIGTERM (a second one kills). A worker that
// ends otherwise is started again. SIGHUP starts a fresh worker and, once that is ready, has the old one make
// way (SIGUSR1); a fresh one that fails leaves the old one in place. The result is 0 after a stop, or the
// exit status of a first worker that ended before it was ready: a site that can't start isn't tried again. To
// be called while the process has a single thread. `listener` is closed at the stop, so that the last
// worker's end is the socket's too, and nobody connects who won't be answered.
// A worker that takes the place of one that died, or that asked for it, runs by the configuration with which
// one has got ready last.
int Supervise(const SupervisorOptions& options, UniqueFd listener, const ConfiguredWorker& worker);
int Supervise(const SupervisorOptions& options, UniqueFd listener, const WorkerMain& worker);

// For a worker: it serves.
void TellReady(int linkFd);

// For a worker, from any thread: asks its supervisor for a replacement. The worker serves on until that is
// ready; where it can't start, it is tried again.
void AskForReplacement(int linkFd);

enum class Stop {
  End,     // nobody serves on: who has connected is still answered
  MakeWay  // another worker serves already
};

// Blocks the stop signals (SIGTERM, SIGINT, SIGUSR1) in this thread and those it will start, for WaitForStop.
void BlockStopSignals();

// Waits for SIGTERM or SIGINT (the end), or SIGUSR1. Other threads can end the wait by sending one to the
// process.
Stop WaitForStop();

}  // namespace hostlinux
