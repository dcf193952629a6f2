// A bounded map that drops what was not used for the longest time.
#pragma once

#include <cstddef>
#include <list>
#include <unordered_map>
#include <utility>

namespace hostlinux {

template <typename Key, typename Value>
class LeastRecentlyUsed {
 public:
  // `limit`: the most entries that it keeps, 1 at least.
  explicit LeastRecentlyUsed(std::size_t limit) : m_limit(limit) {}
  LeastRecentlyUsed(const LeastRecentlyUsed&) = delete;
  LeastRecentlyUsed& operator=(const LeastRecentlyUsed&) = delete;

  // The value of `key`, which counts as used now; null if there is none. It stays where it is until it is
  // dropped.
  Value* Find(const Key& key) {
    const auto found = m_places.find(key);
    if (found == m_places.end()) return nullptr;
    m_entries.splice(m_entries.begin(), m_entries, found->second);
    return &found->second->second;
  }

  // Keeps the value of a key that isn't there yet.
  Value& Add(const Key& key, Value value) {
    if (m_entries.size() >= m_limit) {
      m_places.erase(m_entries.back().first);
      m_entries.pop_back();
    }
    m_entries.emplace_front(key, std::move(value));
    m_places.emplace(key, m_entries.begin());
    return m_entries.front().second;
  }

  void Clear() {
    m_places.clear();
    m_entries.clear();
  }
  std::size_t Size() const { return m_entries.size(); }

 private:
  using Entries = std::list<std::pair<Key, Value>>;  // the last used one first

  std::size_t m_limit;
  Entries m_entries;
  std::unordered_map<Key, typename Entries::iterator> m_places;
};

}  // namespace hostlinux
