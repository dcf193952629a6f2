#include "host-linux/intrinsics/RequestCollection.h"

#include "host-linux/base/ListWalk.h"
#include "varnel/automation/Members.h"

namespace hostlinux {

using varnel::ClassInfo;
using varnel::Long;
using varnel::Missing;
using varnel::RaiseRuntimeError;
using varnel::String;
using varnel::StringView;
using varnel::Variant;

namespace {

String Joined(const std::vector<String>& values) {
  String joined;
  for (std::size_t i = 0; i < values.size(); ++i) {
    if (i > 0) joined += u", ";
    joined += values[i];
  }
  return joined;
}

// Turns a position from 1 into an index; raises 9 outside.
std::size_t IndexOf(Long position, std::size_t count) {
  if (position < 1 || static_cast<std::size_t>(position) > count) {
    RaiseRuntimeError(varnel::runtime_error::kSubscript);
  }
  return static_cast<std::size_t>(position) - 1;
}

}  // namespace

const ClassInfo& RequestValue::Class() const {
  static const ClassInfo info{u"RequestValue",
                              {
                                  varnel::Method<&RequestValue::Item>(u"Item", {Missing()}).AsDefault(),
                                  varnel::ReadOnly<&RequestValue::Count>(u"Count"),
                              }};
  return info;
}

std::unique_ptr<varnel::Enumeration> RequestValue::Enumerate() {
  return std::make_unique<ListWalk<String>>(m_values);
}

Variant RequestValue::Item(const Variant& position) const {
  if (!position.IsMissing()) return m_values[IndexOf(varnel::ToLong(position), m_values.size())];
  if (m_values.empty()) return Variant();
  return Joined(m_values);
}

RequestCollection::RequestCollection(const std::vector<FormField>& fields, String raw)
    : m_raw(std::move(raw)) {
  for (const FormField& field : fields) {
    String key = varnel::FromUtf8(field.name);
    const auto [found, isNew] = m_positions.emplace(varnel::ToLower(key), m_entries.size());
    if (isNew) m_entries.push_back({std::move(key), {}});
    m_entries[found->second].values.push_back(varnel::FromUtf8(field.value));
  }
}

const ClassInfo& RequestCollection::Class() const {
  static const ClassInfo info{u"RequestCollection",
                              {
                                  varnel::Method<&RequestCollection::Item>(u"Item", {Missing()}).AsDefault(),
                                  varnel::ReadOnly<&RequestCollection::Count>(u"Count"),
                                  varnel::Method<&RequestCollection::Key>(u"Key"),
                              }};
  return info;
}

std::unique_ptr<varnel::Enumeration> RequestCollection::Enumerate() {
  std::vector<String> keys;
  keys.reserve(m_entries.size());
  for (const Entry& entry : m_entries) keys.push_back(entry.key);
  return std::make_unique<ListWalk<String>>(std::move(keys));
}

const RequestCollection::Entry* RequestCollection::Find(StringView key) const {
  const auto found = m_positions.find(varnel::ToLower(key));
  return found == m_positions.end() ? nullptr : &m_entries[found->second];
}

const RequestCollection::Entry& RequestCollection::At(Long position) const {
  return m_entries[IndexOf(position, m_entries.size())];
}

Long RequestCollection::Count() const { return static_cast<Long>(m_entries.size()); }

String RequestCollection::Key(Long position) const { return At(position).key; }

String RequestCollection::ValueAt(Long position) const { return Joined(At(position).values); }

Variant RequestCollection::Value(StringView key) const {
  const Entry* entry = Find(key);
  return entry ? Variant(Joined(entry->values)) : Variant();
}

Long RequestCollection::ValueCount(StringView key) const {
  const Entry* entry = Find(key);
  return entry ? static_cast<Long>(entry->values.size()) : 0;
}

Variant RequestCollection::Item(const Variant& keyOrPosition) const {
  if (keyOrPosition.IsMissing()) return m_raw;
  // A value of another collection may be the key: it counts as its text.
  if (!keyOrPosition.IsText() && !keyOrPosition.IsObject()) {
    return std::make_shared<RequestValue>(At(varnel::ToLong(keyOrPosition)).values);
  }
  const Entry* entry = Find(varnel::ToText(keyOrPosition));
  return std::make_shared<RequestValue>(entry ? entry->values : std::vector<String>());
}

}  // namespace hostlinux
