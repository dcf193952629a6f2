// How much visitors may ask for in a time, counted by their addresses.
#pragma once

#include <array>
#include <chrono>
#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "host-linux/web/HttpMessage.h"

namespace hostlinux {

// An address may take `perMinute` at once, and gets as many again in a minute, evenly. Addresses of one IPv6
// network (64 bits) count together: who has one of them has them all. Safe from all threads. It takes 2 MB,
// whatever comes: where more addresses ask than it can remember, the one that has taken least is forgotten,
// and no look takes longer than a few dozen steps.
class AddressLimit {
 public:
  using Clock = std::chrono::steady_clock;

  struct Options {
    std::uint32_t perMinute = 1000;
    std::function<Clock::time_point()> now = [] { return Clock::now(); };
    // Called for an address that is refused, once a minute at most; may be left empty.
    std::function<void(const std::string& address)> refused{};
  };

  explicit AddressLimit(Options options);

  // 0: the address may, and it counts; otherwise after how many seconds it may again, from 1. A text that is
  // no address may always.
  std::chrono::seconds Take(const std::string& address);

 private:
  // Times are milliseconds since the limit was made.
  struct Entry {
    std::uint64_t network = 0;  // the first 64 bits of an IPv6 address, or an IPv4 address
    std::uint64_t seen = 0;     // until when `left` is counted
    std::uint64_t silentUntil = 0;
    float left = 0;
    bool isUsed = false;
    bool isV6 = false;
  };
  static constexpr std::size_t kWays = 16;
  static constexpr std::size_t kSets = 4096;
  static constexpr std::size_t kLocks = 64;
  using Set = std::array<Entry, kWays>;

  std::size_t SetOf(std::uint64_t network) const;
  Entry& Find(Set& set, std::uint64_t network, bool isV6, std::uint64_t now) const;
  float LeftAt(const Entry& entry, std::uint64_t now) const;

  const Options m_options;
  const Clock::time_point m_start;
  const std::uint64_t m_secret;  // so that nobody can choose addresses that share a place
  std::vector<Set> m_sets;
  std::array<std::mutex, kLocks> m_locks;
};

// True where the visitor's address tells who asks. It doesn't at a local socket, on the loopback interface,
// and behind a proxy of a private network that isn't trusted: there it is the proxy's, and all visitors'.
bool HasOwnAddress(const HttpRequest& request);

}  // namespace hostlinux
