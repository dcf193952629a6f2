// How long the statements of a connection may run and wait.
#pragma once

#include <sqlite3.h>

#include <chrono>

#include "host-linux/database/provider/Provider.h"

namespace hostlinux {

// Stops a running statement past the end of its time, and bounds the waiting for a lock that somebody else
// holds. Stays where it is as long as its connection lives.
class SqliteTimeLimit {
 public:
  using Clock = std::chrono::steady_clock;

  // `timeLeft`, which may be empty, bounds every time that is started.
  explicit SqliteTimeLimit(TimeLeft timeLeft) : m_timeLeft(std::move(timeLeft)) {}
  SqliteTimeLimit(const SqliteTimeLimit&) = delete;
  SqliteTimeLimit& operator=(const SqliteTimeLimit&) = delete;

  void Watch(sqlite3* database);
  // From now on; 0 is no limit but what is left. A lock is waited for until then, but 5 seconds at most.
  void Start(std::chrono::milliseconds timeout);
  void Stop();
  bool IsOver() const;

  // Stops what runs after so many steps of the engine too; 0 takes that back.
  void SetSteps(long steps);
  // True if the steps stopped it, and not the time.
  bool IsSpent() const { return m_isSpent; }

 private:
  static int Look(void* self);
  bool MustStop();
  static int Wait(void* self, int calls);
  bool WaitOnce(bool isFirst);

  const TimeLeft m_timeLeft;
  Clock::time_point m_end = Clock::time_point::max();
  Clock::time_point m_waitEnd;
  std::chrono::milliseconds m_pause{0};
  long m_looks = 0;  // that are left; 0: as many as it takes
  bool m_isSpent = false;
};

}  // namespace hostlinux
