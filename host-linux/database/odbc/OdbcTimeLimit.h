// Ends the calls of a connection that take too long: a driver's calls wait, so another thread has to.
#pragma once

#include <sql.h>

#include <chrono>
#include <condition_variable>
#include <future>
#include <memory>
#include <mutex>
#include <optional>
#include <thread>

namespace hostlinux {

class OdbcTimeLimit {
 public:
  using Clock = std::chrono::steady_clock;
  using Deadline = std::optional<Clock::time_point>;

  OdbcTimeLimit() = default;
  OdbcTimeLimit(const OdbcTimeLimit&) = delete;
  OdbcTimeLimit& operator=(const OdbcTimeLimit&) = delete;
  ~OdbcTimeLimit();

  // For the calls from now on.
  void SetDeadline(Deadline deadline);
  bool IsOver() const { return m_deadline && Clock::now() >= *m_deadline; }

  // `statement` is busy from here on: it is cancelled at the deadline. `owner` keeps it, also while a server that hangs keeps who
  // cancels.
  void Watch(SQLHSTMT statement, std::shared_ptr<const void> owner);
  // It isn't any more. True if it was cancelled; the server has been told then, unless it hangs.
  bool Unwatch();

 private:
  void Work();

  std::mutex m_mutex;
  std::condition_variable m_changed;
  Deadline m_deadline;
  SQLHSTMT m_watched = SQL_NULL_HSTMT;
  std::shared_ptr<const void> m_owner;
  std::future<void> m_cancel;  // that is on its way to the server
  Clock::time_point m_wakesAt = Clock::time_point::max();
  bool m_isCancelled = false;
  bool m_ends = false;
  std::thread m_thread;  // begins with the first call that has a deadline
};

}  // namespace hostlinux
