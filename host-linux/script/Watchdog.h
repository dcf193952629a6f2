// Calls things off: one thread that acts when a time has come.
#pragma once

#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <functional>
#include <map>
#include <mutex>
#include <thread>
#include <utility>

namespace hostlinux {

class Watchdog {
 public:
  using Clock = std::chrono::steady_clock;
  using Ticket = std::pair<Clock::time_point, std::uint64_t>;

  Watchdog();
  ~Watchdog();  // actions that are still armed are dropped
  Watchdog(const Watchdog&) = delete;
  Watchdog& operator=(const Watchdog&) = delete;

  // Calls `action` once, on the watchdog's thread, as soon as `when` is reached. The action must be short
  // and must not call the watchdog.
  Ticket Arm(Clock::time_point when, std::function<void()> action);

  // When this returns, the action neither runs nor will run. A ticket that was used up does no harm.
  void Disarm(const Ticket& ticket);

 private:
  void Watch();

  std::mutex m_mutex;
  std::condition_variable m_changed;
  std::map<Ticket, std::function<void()>> m_armed;
  Clock::time_point m_wakesAt = Clock::time_point::max();  // when the thread looks next by itself
  std::uint64_t m_lastNumber = 0;
  bool m_ending = false;
  std::thread m_thread;
};

}  // namespace hostlinux
