#include "host-linux/services/AttemptLimit.h"

#include <arpa/inet.h>

#include <algorithm>
#include <array>

namespace hostlinux {

namespace {

constexpr std::chrono::seconds kMinute(60);

// IPv4 addresses as they are, IPv6 addresses by their network.
std::string NetworkOf(const std::string& address) {
  std::array<char, 16> bytes{};
  if (::inet_pton(AF_INET6, address.c_str(), bytes.data()) != 1) return address;
  static constexpr char kMapped[12] = {0, 0, 0, 0, 0, 0, 0, 0, 0, 0, '\xFF', '\xFF'};
  if (std::equal(std::begin(kMapped), std::end(kMapped), bytes.begin())) return {bytes.begin(), bytes.end()};
  return {bytes.begin(), bytes.begin() + 8};
}

}  // namespace

void AttemptLimit::MakeRoom(Clock::time_point now) {
  std::erase_if(m_minutes, [&](const auto& entry) { return now - entry.second.begin >= kMinute; });
  if (m_minutes.size() < m_options.maxAddresses) return;
  m_minutes.erase(std::min_element(
      m_minutes.begin(), m_minutes.end(),
      [](const auto& left, const auto& right) { return left.second.begin < right.second.begin; }));
}

std::chrono::seconds AttemptLimit::Take(const std::string& address) {
  const std::string network = NetworkOf(address);
  const std::lock_guard lock(m_mutex);
  const auto now = m_options.now();
  auto found = m_minutes.find(network);
  if (found == m_minutes.end()) {
    if (m_minutes.size() >= m_options.maxAddresses) MakeRoom(now);
    found = m_minutes.emplace(network, Minute{now}).first;
  }
  Minute& minute = found->second;
  if (now - minute.begin >= kMinute) minute = {now};
  if (minute.attempts >= m_options.attempts)
    return std::chrono::ceil<std::chrono::seconds>(minute.begin + kMinute - now);
  ++minute.attempts;
  return std::chrono::seconds(0);
}

}  // namespace hostlinux
