#include "host-linux/database/odbc/OdbcTimeLimit.h"

#include <sqlext.h>

namespace hostlinux {

OdbcTimeLimit::~OdbcTimeLimit() {
  {
    const std::lock_guard lock(m_mutex);
    m_ends = true;
  }
  m_changed.notify_one();
  if (m_thread.joinable()) m_thread.join();
}

void OdbcTimeLimit::SetDeadline(Deadline deadline) {
  const std::lock_guard lock(m_mutex);
  m_deadline = deadline;
}

void OdbcTimeLimit::Watch(SQLHSTMT statement) {
  const std::lock_guard lock(m_mutex);
  m_isCancelled = false;
  if (!m_deadline) return;
  m_watched = statement;
  if (!m_thread.joinable()) m_thread = std::thread([this] { Work(); });
  if (*m_deadline < m_wakesAt) m_changed.notify_one();
}

bool OdbcTimeLimit::Unwatch() {
  const std::lock_guard lock(m_mutex);
  m_watched = SQL_NULL_HSTMT;
  return m_isCancelled;
}

// Wakes for a deadline that has passed by meanwhile too, so that an ordinary call wakes nobody. The statement lives while the
// lock is held.
void OdbcTimeLimit::Work() {
  std::unique_lock lock(m_mutex);
  while (!m_ends) {
    if (m_watched == SQL_NULL_HSTMT || m_isCancelled) {
      m_wakesAt = Clock::time_point::max();
      m_changed.wait(lock);
    } else if (Clock::now() >= *m_deadline) {
      m_isCancelled = true;
      SQLCancel(m_watched);
    } else {
      m_wakesAt = *m_deadline;
      m_changed.wait_until(lock, m_wakesAt);
    }
  }
}

}  // namespace hostlinux
