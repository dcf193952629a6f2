#include "host-linux/database/sqlite/SqliteTimeLimit.h"

#include <algorithm>
#include <thread>

#include "host-linux/database/sqlite/SqliteUse.h"

namespace hostlinux {
namespace {

using std::chrono::milliseconds;

// Between two looks at the clock, while a statement runs. One step may make a value of the greatest length,
// which takes milliseconds.
constexpr int kStepsBetweenLooks = 100;
constexpr milliseconds kLongestWait{5000};
// The pauses between two tries for a lock grow, so that a short one is hardly noticed and a long one costs
// little.
constexpr milliseconds kFirstPause{1};
constexpr milliseconds kLongestPause{50};

}  // namespace

void SqliteTimeLimit::Watch(sqlite3* database) {
  sqlite3_progress_handler(database, kStepsBetweenLooks, &SqliteTimeLimit::Look, this);
  sqlite3_busy_handler(database, &SqliteTimeLimit::Wait, this);
}

void SqliteTimeLimit::Start(milliseconds timeout) {
  const Clock::time_point now = Clock::now();
  m_end = timeout.count() > 0 ? now + timeout : Clock::time_point::max();
  if (const auto left = m_timeLeft ? m_timeLeft() : std::nullopt) m_end = std::min(m_end, now + *left);
  SqliteUse::OfThread().sleepEnd = std::min(m_end, now + kLongestWait);
}

void SqliteTimeLimit::Stop() {
  m_end = Clock::time_point::max();
  SqliteUse::OfThread().sleepEnd = Clock::time_point::max();
}

bool SqliteTimeLimit::IsOver() const { return m_end != Clock::time_point::max() && Clock::now() >= m_end; }

void SqliteTimeLimit::SetSteps(long steps) {
  m_looks = steps / kStepsBetweenLooks;
  m_isSpent = false;
}

int SqliteTimeLimit::Look(void* self) { return static_cast<SqliteTimeLimit*>(self)->MustStop() ? 1 : 0; }

bool SqliteTimeLimit::MustStop() {
  if (IsOver()) return true;
  if (m_looks > 0 && --m_looks == 0) m_isSpent = true;
  return m_isSpent;
}

int SqliteTimeLimit::Wait(void* self, int calls) {
  return static_cast<SqliteTimeLimit*>(self)->WaitOnce(calls == 0) ? 1 : 0;
}

bool SqliteTimeLimit::WaitOnce(bool isFirst) {
  const Clock::time_point now = Clock::now();
  if (isFirst) {
    m_waitEnd = std::min(m_end, now + kLongestWait);
    m_pause = kFirstPause;
  }
  if (now >= m_waitEnd) return false;
  std::this_thread::sleep_for(std::min<Clock::duration>(m_pause, m_waitEnd - now));
  m_pause = std::min(m_pause * 2, kLongestPause);
  return true;
}

}  // namespace hostlinux
