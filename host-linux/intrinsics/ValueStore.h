// Values by key that outlive a request and are shared by requests on several threads.
#pragma once

#include <cstdint>
#include <functional>
#include <mutex>
#include <unordered_map>
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

// Keys ignore case and keep the spelling and order of their first setting. Each operation is atomic.
class ValueStore {
 public:
  ValueStore() = default;
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

 private:
  struct Entry {
    varnel::Variant value;
    std::size_t order = 0;
    std::size_t bytes = 0;
  };

  mutable std::mutex m_mutex;
  std::unordered_map<varnel::String, Entry, varnel::HashNoCase, varnel::EqualNoCase> m_entries;
  std::size_t m_nextOrder = 0;
  std::size_t m_bytes = 0;
};

}  // namespace hostlinux
