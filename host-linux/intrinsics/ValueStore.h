// Values by key that outlive a request and are shared by requests on several threads.
#pragma once

#include <cstdint>
#include <functional>
#include <mutex>
#include <unordered_map>
#include <unordered_set>
#include <vector>

#include "varnel/automation/NoCase.h"
#include "varnel/automation/Variant.h"

namespace hostlinux {

// Tells whether an object that a script hands over may be kept beyond its request.
using MayKeep = std::function<bool(const varnel::Object&)>;

// A copy of `value` that may be kept: arrays are copied, at any depth, so that no two requests change the
// same one. Raises 13 for an object that `mayKeep` (left empty: no object) doesn't allow, or that is bound to
// its request, and 5 for arrays nested more than 32 deep. Nothing and a left-out value are kept as they are
// and as Empty.
varnel::Variant KeptValue(const varnel::Variant& value, const MayKeep& mayKeep);

// True where `value` is an object other than Nothing, or an array that holds one.
bool HoldsObject(const varnel::Variant& value);

// A value with its key as it was first spelled and its place in the order of the keys.
struct KeyedValue {
  varnel::String key;
  std::size_t order = 0;
  varnel::Variant value;
};

// Keys ignore case and keep the spelling and order of their first setting. Each operation is atomic.
class ValueStore {
 public:
  // What was set and removed since it was last asked for.
  struct Changes {
    std::vector<KeyedValue> set;
    std::vector<varnel::String> removed;
    bool IsEmpty() const { return set.empty() && removed.empty(); }
  };

  ValueStore() = default;
  // All values of the copy count as changed.
  ValueStore(const ValueStore& other);
  ValueStore& operator=(const ValueStore&) = delete;

  // Empty where the key isn't set. Arrays are copies.
  varnel::Variant Get(varnel::StringView key) const;
  // `value` has come through KeptValue, or is the host's own. Raises 7, with nothing changed, where all
  // values would take more than about `maxBytes`.
  void Set(varnel::StringView key, varnel::Variant value, std::size_t maxBytes = SIZE_MAX);
  void Remove(varnel::StringView key);
  void Clear();
  std::vector<varnel::String> Keys() const;

  // Remembers from here on which keys are removed; what is set is remembered always.
  void FollowRemovals();
  // The changes so far, which are then none.
  Changes TakeChanges();
  // Changes that were taken in vain: they count as made again, where nothing newer has come.
  void PutBack(const Changes& changes);
  // Takes `values` in place of all that didn't change here, but for objects: nobody else has these.
  void Replace(std::vector<KeyedValue> values);

 private:
  struct Entry {
    varnel::Variant value;
    std::size_t order = 0;
    std::size_t bytes = 0;
    bool isChanged = false;
  };
  using Entries = std::unordered_map<varnel::String, Entry, varnel::HashNoCase, varnel::EqualNoCase>;
  using KeySet = std::unordered_set<varnel::String, varnel::HashNoCase, varnel::EqualNoCase>;

  // Under the lock: takes over the entries of `from` that are to be kept and have no successor.
  template <class Predicate>
  void Keep(Entries& from, Predicate isKept);

  mutable std::mutex m_mutex;
  Entries m_entries;
  KeySet m_removed;
  bool m_followsRemovals = false;
  std::size_t m_nextOrder = 0;
  std::size_t m_bytes = 0;
};

}  // namespace hostlinux
