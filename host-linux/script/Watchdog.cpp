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
  const auto place = m_armed.emplace(ticket, std::move(action)).first;
  if (place == m_armed.begin()) m_changed.notify_one();
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
      m_changed.wait(lock);
      continue;
    }
    const Clock::time_point next = m_armed.begin()->first.first;
    if (Clock::now() < next) {
      m_changed.wait_until(lock, next);
      continue;
    }
    const auto action = std::move(m_armed.begin()->second);
    m_armed.erase(m_armed.begin());
    action();
  }
}

}  // namespace hostlinux
