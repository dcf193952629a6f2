// An ordered list of values with optional text keys.
#pragma once

#include <optional>
#include <unordered_map>

#include "varnel/automation/NoCase.h"
#include "varnel/automation/Object.h"

namespace varnel {

// Positions count from 1; keys compare without regard to case.
class Collection : public Object {
 public:
  const ClassInfo& Class() const override;
  std::unique_ptr<Enumeration> Enumerate() override;
  void LetGo() noexcept override;

  // Appends `item`. A `key` that isn't left out is taken as text; raises 457 if it is taken, and nothing is
  // added then.
  void Add(const Variant& item, const Variant& key);
  // The item with that key (text) or at that position (anything else). Raises 5 for a missing key, 9 for a
  // position outside.
  Variant Item(const Variant& indexOrKey) const;
  // The item with that key; raises 5 as `Item`. It stays where it is until the collection changes.
  const Variant& ItemOf(StringView key) const;
  // The same; null for a missing key.
  const Variant* FindItem(StringView key) const;
  Long Count() const;
  // Takes the item out. Raises as `Item`.
  void Remove(const Variant& indexOrKey);

 private:
  struct Entry {
    Variant item;
    std::optional<String> key;
  };
  std::size_t PositionOf(const Variant& indexOrKey) const;
  std::size_t PositionOfKey(StringView key) const;

  std::vector<Entry> m_entries;
  std::unordered_map<String, std::size_t, HashNoCase, EqualNoCase> m_positions;
};

}  // namespace varnel
