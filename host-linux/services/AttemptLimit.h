// How often a visitor may try something in a minute.
#pragma once

#include <chrono>
#include <cstddef>
#include <functional>
#include <map>
#include <mutex>
#include <string>

namespace hostlinux {

// Counts attempts by the visitor's address. Safe from all threads; takes no more than a few megabytes,
// whatever comes.
class AttemptLimit {
 public:
  using Clock = std::chrono::steady_clock;

  struct Options {
    std::size_t attempts = 10;          // of one address in a minute
    std::size_t maxAddresses = 10'000;  // remembered; beyond, the one whose minute began first is forgotten
    std::function<Clock::time_point()> now = [] { return Clock::now(); };
  };

  explicit AttemptLimit(Options options) : m_options(std::move(options)) {}

  // 0: the visitor may try, and this counts; otherwise how long he has to wait, in seconds from 1 to 60.
  // Addresses of one IPv6 network (64 bits) count together: who has one of them has them all.
  std::chrono::seconds Take(const std::string& address);

 private:
  struct Minute {
    Clock::time_point begin;
    std::size_t attempts = 0;
  };

  void MakeRoom(Clock::time_point now);

  const Options m_options;
  std::mutex m_mutex;
  std::map<std::string, Minute> m_minutes;
};

}  // namespace hostlinux
