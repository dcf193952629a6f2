#include "host-linux/web/AddressLimit.h"

#include <arpa/inet.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <optional>

#include "host-linux/base/Random.h"

namespace hostlinux {

namespace {

constexpr std::uint64_t kMinute = 60'000;

struct Address {
  std::array<unsigned char, 16> bytes{};  // an IPv4 address has the first four
  bool isV6 = false;
};

std::optional<Address> ParseAddress(const std::string& text) {
  Address address;
  if (::inet_pton(AF_INET, text.c_str(), address.bytes.data()) == 1) return address;
  if (::inet_pton(AF_INET6, text.c_str(), address.bytes.data()) != 1) return std::nullopt;
  static constexpr std::array<unsigned char, 12> kMapped = {0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0xFF, 0xFF};
  address.isV6 = !std::equal(kMapped.begin(), kMapped.end(), address.bytes.begin());
  if (!address.isV6) std::copy_n(address.bytes.begin() + 12, 4, address.bytes.begin());
  return address;
}

std::uint64_t NetworkOf(const Address& address) {
  std::uint64_t network = 0;
  std::memcpy(&network, address.bytes.data(), address.isV6 ? 8 : 4);
  return network;
}

bool IsLoopback(const Address& address) {
  const auto& bytes = address.bytes;
  if (!address.isV6) return bytes[0] == 127;
  return bytes[15] == 1 &&
         std::all_of(bytes.begin(), bytes.end() - 1, [](unsigned char b) { return b == 0; });
}

// Nobody on the internet comes from one.
bool IsPrivate(const Address& address) {
  const auto& bytes = address.bytes;
  if (address.isV6) return (bytes[0] & 0xFE) == 0xFC || (bytes[0] == 0xFE && (bytes[1] & 0xC0) == 0x80);
  return bytes[0] == 10 || (bytes[0] == 172 && (bytes[1] & 0xF0) == 16) ||
         (bytes[0] == 192 && bytes[1] == 168) || (bytes[0] == 169 && bytes[1] == 254) ||
         (bytes[0] == 100 && (bytes[1] & 0xC0) == 64);
}

// A trusted proxy's word has become the address; another one's still differs from it.
bool IsProxied(const HttpRequest& request) {
  const std::string all = request.headers.Joined("X-Forwarded-For");
  const std::string last = all.substr(all.find_last_of(", ") + 1);
  return (!last.empty() && last != request.remoteAddress) || request.headers.Find("Forwarded") != nullptr;
}

}  // namespace

AddressLimit::AddressLimit(Options options)
    : m_options(std::move(options)),
      m_start(m_options.now()),
      m_secret(RandomNumber<std::uint64_t>()),
      m_sets(kSets) {}

std::size_t AddressLimit::SetOf(std::uint64_t network) const {
  std::uint64_t mixed = network + m_secret;
  for (const std::uint64_t factor : {0xBF58476D1CE4E5B9U, 0x94D049BB133111EBU}) {
    mixed = (mixed ^ (mixed >> 30)) * factor;
    mixed += m_secret;
  }
  return (mixed >> 20) % kSets;
}

float AddressLimit::LeftAt(const Entry& entry, std::uint64_t now) const {
  const auto most = static_cast<float>(m_options.perMinute);
  const auto time = static_cast<float>(std::min(now - std::min(now, entry.seen), kMinute));
  return std::min(most, entry.left + most * time / static_cast<float>(kMinute));
}

// Under the set's lock. Who has taken least is no different from somebody new.
AddressLimit::Entry& AddressLimit::Find(Set& set, std::uint64_t network, bool isV6, std::uint64_t now) const {
  Entry* freest = nullptr;
  float most = -1;
  for (Entry& entry : set) {
    if (entry.isUsed && entry.network == network && entry.isV6 == isV6) return entry;
    const float left = entry.isUsed ? LeftAt(entry, now) : INFINITY;
    if (left <= most) continue;
    most = left;
    freest = &entry;
  }
  *freest = Entry{network, now, 0, static_cast<float>(m_options.perMinute), true, isV6};
  return *freest;
}

std::chrono::seconds AddressLimit::Take(const std::string& address) {
  const auto parsed = ParseAddress(address);
  if (!parsed) return std::chrono::seconds(0);
  const std::uint64_t network = NetworkOf(*parsed);
  const std::size_t number = SetOf(network);
  const auto now = static_cast<std::uint64_t>(
      std::chrono::duration_cast<std::chrono::milliseconds>(m_options.now() - m_start).count());
  bool isTold = false;
  std::chrono::seconds wait(0);
  {
    const std::lock_guard lock(m_locks[number % kLocks]);
    Entry& entry = Find(m_sets[number], network, parsed->isV6, now);
    entry.left = LeftAt(entry, now);
    entry.seen = now;
    if (entry.left >= 1) {
      entry.left -= 1;
      return wait;
    }
    const float seconds = (1 - entry.left) * 60 / static_cast<float>(m_options.perMinute);
    wait = std::chrono::seconds(std::max(1L, std::lround(std::ceil(seconds))));
    isTold = now >= entry.silentUntil;
    if (isTold) entry.silentUntil = now + kMinute;
  }
  if (isTold && m_options.refused) m_options.refused(address);
  return wait;
}

bool HasOwnAddress(const HttpRequest& request) {
  const auto address = ParseAddress(request.remoteAddress);
  if (!address || IsLoopback(*address)) return false;
  return !(IsPrivate(*address) && IsProxied(request));
}

}  // namespace hostlinux
