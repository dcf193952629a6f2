#include "host-linux/intrinsics/Contents.h"

#include "host-linux/base/ListWalk.h"
#include "varnel/automation/Members.h"

namespace hostlinux {

using varnel::ClassInfo;
using varnel::Long;
using varnel::String;
using varnel::StringView;
using varnel::Variant;

const ClassInfo& Contents::Class() const {
  static const ClassInfo info{u"Contents",
                              {
                                  varnel::Method<&Contents::Item>(u"Item").AsDefault(),
                                  varnel::ReadOnly<&Contents::Count>(u"Count"),
                                  varnel::Method<&Contents::Key>(u"Key"),
                                  varnel::Method<&Contents::Remove>(u"Remove"),
                                  varnel::Method<&Contents::RemoveAll>(u"RemoveAll"),
                              }};
  return info;
}

Variant Contents::Get(StringView name) {
  return Class().Find(name) ? Object::Get(name) : m_values->Read(name);
}

void Contents::Put(StringView name, const Variant& value) {
  if (Class().Find(name)) return Object::Put(name, value);
  m_values->Store(name, value);
}

std::unique_ptr<varnel::Enumeration> Contents::Enumerate() {
  return std::make_unique<ListWalk<String>>(m_values->Keys());
}

String Contents::KeyOf(const Variant& keyOrPosition) {
  if (keyOrPosition.IsText() || keyOrPosition.IsObject()) return varnel::ToText(keyOrPosition);
  return Key(varnel::ToLong(keyOrPosition));
}

Variant Contents::Item(const Variant& keyOrPosition) { return m_values->Read(KeyOf(keyOrPosition)); }

Long Contents::Count() { return static_cast<Long>(m_values->Keys().size()); }

String Contents::Key(Long position) {
  const std::vector<String> keys = m_values->Keys();
  if (position < 1 || static_cast<std::size_t>(position) > keys.size()) {
    varnel::RaiseRuntimeError(varnel::runtime_error::kSubscript);
  }
  return keys[static_cast<std::size_t>(position) - 1];
}

void Contents::Remove(const Variant& keyOrPosition) { m_values->Remove(KeyOf(keyOrPosition)); }

void Contents::RemoveAll() { m_values->RemoveAll(); }

}  // namespace hostlinux
