#include "varnel/list/ListRow.h"

#include "varnel/automation/Members.h"

namespace varnel {

const ClassInfo& ListRow::Class() const {
  static const ClassInfo info{u"ListRow", {ReadOnly<&ListRow::Item>(u"Item").Taking(u"name").AsDefault()}};
  return info;
}

Variant ListRow::Item(const String& name) {
  if (m_page == nullptr) RaiseRuntimeError(runtime_error::kObjectNotSet);
  const int column = m_page->ColumnNamed(name);
  if (column < 0)
    RaiseRuntimeError(runtime_error::kInvalidArgument, u"the list's query has no column '" + name + u"'");
  return m_page->At(static_cast<std::size_t>(column), m_row);
}

}  // namespace varnel
