#include "host-linux/script/Watchdog.h"

namespace hostlinux {

Watchdog::Watchdog() : m_thread([this] { Watch(); }) {}

Watchdog::~Watchdog() {
  {
    const std::lock_guard lock(m_mutex);
    m_ending = true;
  }
  m_changed.notify_one();
  m_thread.join();
}

Watchdog::Ticket Watchdog::Arm(Clock::time_point when, std::function<void()> action) {
  const std::lock_guard lock(m_mutex);
  const Ticket ticket{when, ++m_lastNumber};
  m_armed.emplace(ticket, std::move(action));
  // Most pages end long before their limit, and the next one's lies later: nobody needs to wake for it.
  if (when < m_wakesAt) m_changed.notify_one();
  return ticket;
}

void Watchdog::Disarm(const Ticket& ticket) {
  const std::lock_guard lock(m_mutex);
  m_armed.erase(ticket);
}

// The lock is held while an action runs: that is what Disarm's promise rests on.
void Watchdog::Watch() {
  std::unique_lock lock(m_mutex);
  while (!m_ending) {
    if (m_armed.empty()) {
      m_wakesAt = Clock::time_point::max();
      m_changed.wait(lock);
      continue;
    }
    const Clock::time_point next = m_armed.begin()->first.first;
    if (Clock::now() < next) {
      m_wakesAt = next;
      m_changed.wait_until(lock, next);
      continue;
    }
    const auto action = std::move(m_armed.begin()->second);
    m_armed.erase(m_armed.begin());
    action();
  }
}

}  // namespace hostlinux
