// Finds what belongs to an object by the object's address.
#pragma once

#include <algorithm>
#include <cstdint>
#include <vector>

namespace hostlinux {

// A flat table that keeps its memory when it is cleared; entries are not taken out one by one.
template <typename Value>
class AddressMap {
 public:
  // Null if there is none.
  Value* Find(const void* address) const { return m_entries[PlaceOf(address)].value; }

  // `address` isn't there yet.
  void Add(const void* address, Value* value) {
    if (2 * (m_used + 1) > m_entries.size()) Grow();
    ++m_used;
    m_entries[PlaceOf(address)] = {address, value};
  }

  void Clear() {
    m_used = 0;
    if (m_entries.size() > kMostKept) m_entries = std::vector<Entry>(kLeast);
    std::fill(m_entries.begin(), m_entries.end(), Entry());
  }

 private:
  struct Entry {
    const void* address = nullptr;
    Value* value = nullptr;
  };

  static constexpr std::size_t kLeast = 64;  // sizes are powers of two
  static constexpr std::size_t kMostKept = 1024;

  // Where the address stands, or the free place where it would. Objects that were made one after the other
  // stand at regular distances: the product scatters them.
  std::size_t PlaceOf(const void* address) const {
    const std::size_t last = m_entries.size() - 1;
    std::size_t place = (reinterpret_cast<std::uintptr_t>(address) * 0x9E3779B97F4A7C15U >> 32) & last;
    while (m_entries[place].address != nullptr && m_entries[place].address != address)
      place = (place + 1) & last;
    return place;
  }

  void Grow() {
    std::vector<Entry> before(2 * m_entries.size());
    before.swap(m_entries);
    for (const Entry& entry : before) {
      if (entry.address != nullptr) m_entries[PlaceOf(entry.address)] = entry;
    }
  }

  std::vector<Entry> m_entries = std::vector<Entry>(kLeast);
  std::size_t m_used = 0;
};

}  // namespace hostlinux
