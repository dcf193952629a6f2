#include "host-linux/database/odbc/OdbcTimeLimit.h"

#include <sqlext.h>

#include <atomic>
#include <system_error>

namespace hostlinux {
namespace {

// For the server's word that it has stopped.
constexpr std::chrono::seconds kForCancel{2};
// Threads that wait for servers which hang. With so many of them a statement's end isn't asked for any more.
constexpr int kMostCancels = 8;
std::atomic<int> g_cancels = 0;

// A driver asks by a connection of its own, and waits for it as long as the server lets it.
std::future<void> Cancel(SQLHSTMT statement, std::shared_ptr<const void> owner) {
  const bool hasPlace = ++g_cancels <= kMostCancels;
  std::shared_ptr<void> place(nullptr, [](void*) { --g_cancels; });
  if (!hasPlace) return {};
  std::packaged_task<void()> task([statement, owner = std::move(owner), place] { SQLCancel(statement); });
  std::future<void> isDone = task.get_future();
  try {
    std::thread(std::move(task)).detach();
  } catch (const std::system_error&) {  // the call ends with the driver's own time
    return {};
  }
  return isDone;
}

}  // namespace

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

void OdbcTimeLimit::Watch(SQLHSTMT statement, std::shared_ptr<const void> owner) {
  const std::lock_guard lock(m_mutex);
  m_isCancelled = false;
  if (!m_deadline) return;
  m_watched = statement;
  m_owner = std::move(owner);
  if (!m_thread.joinable()) m_thread = std::thread([this] { Work(); });
  if (*m_deadline < m_wakesAt) m_changed.notify_one();
}

bool OdbcTimeLimit::Unwatch() {
  std::future<void> cancel;
  {
    const std::lock_guard lock(m_mutex);
    m_watched = SQL_NULL_HSTMT;
    m_owner = nullptr;
    if (!m_isCancelled) return false;
    cancel = std::move(m_cancel);
  }
  if (cancel.valid()) cancel.wait_until(*m_deadline + kForCancel);
  return true;
}

// Wakes for a deadline that has passed by meanwhile too, so that an ordinary call wakes nobody.
void OdbcTimeLimit::Work() {
  std::unique_lock lock(m_mutex);
  while (!m_ends) {
    if (m_watched == SQL_NULL_HSTMT || m_isCancelled) {
      m_wakesAt = Clock::time_point::max();
      m_changed.wait(lock);
    } else if (Clock::now() >= *m_deadline) {
      m_isCancelled = true;
      m_cancel = Cancel(m_watched, m_owner);
    } else {
      m_wakesAt = *m_deadline;
      m_changed.wait_until(lock, m_wakesAt);
    }
  }
}

}  // namespace hostlinux
