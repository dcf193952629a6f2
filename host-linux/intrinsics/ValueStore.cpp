#include "host-linux/intrinsics/ValueStore.h"

#include <algorithm>

#include "host-linux/intrinsics/RequestBound.h"
#include "varnel/automation/Convert.h"
#include "varnel/automation/Error.h"
#include "varnel/automation/Object.h"

namespace hostlinux {

using varnel::ArrayPtr;
using varnel::ObjectPtr;
using varnel::RaiseRuntimeError;
using varnel::String;
using varnel::StringView;
using varnel::Variant;

namespace {

constexpr int kMaxDepth = 32;

void CheckObject(const varnel::Object& object, const MayKeep& mayKeep) {
  const bool bound = dynamic_cast<const RequestBound*>(&object) != nullptr;
  if (!bound && mayKeep && mayKeep(object)) return;
  RaiseRuntimeError(varnel::runtime_error::kTypeMismatch,
                    u"an object of the page can't be kept beyond its request");
}

Variant Kept(const Variant& value, const MayKeep& mayKeep, int depth) {
  if (value.IsMissing()) return Variant();
  if (value.Is<varnel::Date>()) varnel::ToDate(value);  // raises 13 for an invalid one
  if (const ObjectPtr* object = value.As<ObjectPtr>(); object && *object) CheckObject(**object, mayKeep);
  const ArrayPtr* array = value.As<ArrayPtr>();
  if (!array || !*array) return value;
  // Also the end of an array that contains itself.
  if (depth == kMaxDepth)
    RaiseRuntimeError(varnel::runtime_error::kInvalidArgument, u"an array is nested too deep");
  auto copy = std::make_shared<varnel::Array>();
  copy->items.reserve((*array)->items.size());
  for (const Variant& item : (*array)->items) copy->items.push_back(Kept(item, mayKeep, depth + 1));
  return copy;
}

// About the memory that a value takes.
std::size_t BytesOf(const Variant& value) {
  std::size_t bytes = sizeof(Variant);
  if (const String* text = value.As<String>()) bytes += text->size() * sizeof(char16_t);
  if (const varnel::BytesPtr* data = value.As<varnel::BytesPtr>(); data && *data) bytes += (*data)->size();
  if (const ArrayPtr* array = value.As<ArrayPtr>(); array && *array) {
    for (const Variant& item : (*array)->items) bytes += BytesOf(item);
  }
  return bytes;
}

// The key is counted twice, and as much beside the value as its place in the store takes.
std::size_t BytesWithKey(StringView key, const Variant& value) {
  constexpr std::size_t kPlace = sizeof(Variant) + 3 * sizeof(std::size_t);
  return BytesOf(value) + kPlace + 2 * key.size() * sizeof(char16_t);
}

bool AnyObject(const varnel::Object&) { return true; }

}  // namespace

Variant KeptValue(const Variant& value, const MayKeep& mayKeep) { return Kept(value, mayKeep, 0); }

bool HoldsObject(const Variant& value) {
  if (const ObjectPtr* object = value.As<ObjectPtr>()) return *object != nullptr;
  const ArrayPtr* array = value.As<ArrayPtr>();
  if (!array || !*array) return false;
  const auto& items = (*array)->items;
  return std::any_of(items.begin(), items.end(), [](const Variant& item) { return HoldsObject(item); });
}

ValueStore::ValueStore(const ValueStore& other) {
  const std::lock_guard lock(other.m_mutex);
  m_entries = other.m_entries;
  for (auto& [key, entry] : m_entries) entry.isChanged = true;
  m_nextOrder = other.m_nextOrder;
  m_bytes = other.m_bytes;
}

Variant ValueStore::Get(StringView key) const {
  Variant value;
  {
    const std::lock_guard lock(m_mutex);
    const auto found = m_entries.find(key);
    if (found == m_entries.end()) return Variant();
    value = found->second.value;
  }
  // A stored array is replaced, never changed, so it can be copied outside the lock.
  return value.Is<ArrayPtr>() ? KeptValue(value, AnyObject) : value;
}

void ValueStore::Set(StringView key, Variant value, std::size_t maxBytes) {
  const std::size_t bytes = BytesWithKey(key, value);
  const std::lock_guard lock(m_mutex);
  auto found = m_entries.find(key);
  const std::size_t others = m_bytes - (found == m_entries.end() ? 0 : found->second.bytes);
  if (bytes > maxBytes || others > maxBytes - bytes) {
    RaiseRuntimeError(varnel::runtime_error::kOutOfMemory, u"the values take more than may be kept");
  }
  if (found == m_entries.end()) {
    found = m_entries.try_emplace(String(key)).first;
    found->second.order = m_nextOrder++;
  }
  found->second.bytes = bytes;
  found->second.isChanged = true;
  m_removed.erase(found->first);
  m_bytes = others + bytes;
  // The old value goes with the argument, after the lock: its end may run code of its own.
  std::swap(found->second.value, value);
}

void ValueStore::Remove(StringView key) {
  decltype(m_entries)::node_type gone;
  const std::lock_guard lock(m_mutex);
  const auto found = m_entries.find(key);
  if (found == m_entries.end()) return;
  m_bytes -= found->second.bytes;
  if (m_followsRemovals) m_removed.insert(found->first);
  gone = m_entries.extract(found);
}

void ValueStore::Clear() {
  Entries gone;
  const std::lock_guard lock(m_mutex);
  gone.swap(m_entries);
  m_bytes = 0;
  if (!m_followsRemovals) return;
  for (const auto& [key, entry] : gone) m_removed.insert(key);
}

std::vector<String> ValueStore::Keys() const {
  std::vector<std::pair<std::size_t, String>> ordered;
  {
    const std::lock_guard lock(m_mutex);
    for (const auto& [key, entry] : m_entries) ordered.emplace_back(entry.order, key);
  }
  std::sort(ordered.begin(), ordered.end());
  std::vector<String> keys;
  keys.reserve(ordered.size());
  for (auto& [order, key] : ordered) keys.push_back(std::move(key));
  return keys;
}

void ValueStore::FollowRemovals() {
  const std::lock_guard lock(m_mutex);
  m_followsRemovals = true;
}

ValueStore::Changes ValueStore::TakeChanges() {
  Changes changes;
  const std::lock_guard lock(m_mutex);
  for (auto& [key, entry] : m_entries) {
    if (!entry.isChanged) continue;
    entry.isChanged = false;
    changes.set.push_back({key, entry.order, entry.value});
  }
  changes.removed.assign(m_removed.begin(), m_removed.end());
  m_removed.clear();
  return changes;
}

void ValueStore::PutBack(const Changes& changes) {
  const std::lock_guard lock(m_mutex);
  for (const KeyedValue& set : changes.set) {
    const auto found = m_entries.find(set.key);
    if (found != m_entries.end()) found->second.isChanged = true;
  }
  for (const String& key : changes.removed) {
    if (m_entries.find(key) == m_entries.end()) m_removed.insert(key);
  }
}

template <class Predicate>
void ValueStore::Keep(Entries& from, Predicate isKept) {
  for (auto at = from.begin(); at != from.end();) {
    const auto entry = at++;
    if (!isKept(entry->second) || m_entries.contains(entry->first)) continue;
    m_bytes += entry->second.bytes;
    m_entries.insert(from.extract(entry));
  }
}

void ValueStore::Replace(std::vector<KeyedValue> values) {
  Entries old;  // ends after the lock
  const std::lock_guard lock(m_mutex);
  old.swap(m_entries);
  m_bytes = 0;
  Keep(old, [](const Entry& entry) { return entry.isChanged; });
  for (KeyedValue& value : values) {
    m_nextOrder = std::max(m_nextOrder, value.order + 1);
    if (m_removed.contains(value.key)) continue;
    const std::size_t bytes = BytesWithKey(value.key, value.value);
    const auto [place, isNew] =
        m_entries.try_emplace(std::move(value.key), Entry{std::move(value.value), value.order, bytes});
    if (isNew) m_bytes += place->second.bytes;
  }
  Keep(old, [](const Entry& entry) { return HoldsObject(entry.value); });
}

}  // namespace hostlinux
