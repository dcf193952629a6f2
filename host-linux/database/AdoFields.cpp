#include "host-linux/database/AdoFields.h"

#include "host-linux/base/ListWalk.h"
#include "host-linux/database/AdoFailure.h"
#include "varnel/automation/Members.h"

namespace hostlinux {

using varnel::ClassInfo;
using varnel::Long;
using varnel::Variant;

namespace {

constexpr std::size_t kNone = static_cast<std::size_t>(-1);

bool IsNumber(const Variant& key) {
  return key.Is<Long>() || key.Is<varnel::Integer>() || key.Is<double>() || key.Is<varnel::Byte>();
}

}  // namespace

const ClassInfo& AdoField::Class() const {
  static const ClassInfo info{
      u"Field",
      {
          varnel::ReadOnly<&AdoField::Name>(u"Name"),
          varnel::ReadOnly<&AdoField::Type>(u"Type"),
          varnel::ReadOnly<&AdoField::DefinedSize>(u"DefinedSize"),
          varnel::Property<&AdoField::Value, &AdoField::SetValue>(u"Value").AsDefault(),
      }};
  return info;
}

Variant AdoField::Value() {
  if (!m_rowset->IsOpen()) RaiseAdo(AdoFailure::IsClosed, u"Field");
  if (!m_rowset->HasCurrent()) RaiseAdo(AdoFailure::NoCurrentRecord, u"Field");
  return m_rowset->Value(m_column);
}

void AdoField::SetValue(const Variant& value) {
  if (!m_rowset->IsMade()) RaiseAdo(AdoFailure::ReadOnly, u"Field");
  if (!m_rowset->HasCurrent()) RaiseAdo(AdoFailure::NoCurrentRecord, u"Field");
  const Variant converted = m_rowset->ConvertFor(m_column, value);
  // A script that ran for the value may have moved on.
  if (!m_rowset->HasCurrent()) RaiseAdo(AdoFailure::NoCurrentRecord, u"Field");
  m_rowset->SetValue(m_column, converted);
}

const ClassInfo& AdoFields::Class() const {
  static const ClassInfo info{u"Fields",
                              {
                                  varnel::ReadOnly<&AdoFields::Count>(u"Count"),
                                  varnel::ReadOnly<&AdoFields::Item>(u"Item").AsDefault(),
                                  varnel::Method<&AdoFields::Append>(u"Append", {Long{0}, Long{-1}}),
                              }};
  return info;
}

std::unique_ptr<varnel::Enumeration> AdoFields::Enumerate() {
  std::vector<varnel::ObjectPtr> fields;
  for (std::size_t i = 0; i < m_rowset->Columns().size(); ++i) fields.push_back(FieldAt(i));
  return std::make_unique<ListWalk<varnel::ObjectPtr>>(std::move(fields));
}

std::shared_ptr<AdoField> AdoFields::Item(const Variant& key) {
  const std::size_t column = Find(key);
  if (column == kNone) RaiseAdo(AdoFailure::NoSuchItem, u"Fields");
  return FieldAt(column);
}

std::size_t AdoFields::Find(const Variant& key) const {
  // The key becomes a number or a text first: a script that runs for it may read other columns into the
  // rowset.
  const bool byPosition = IsNumber(key);
  const Long position = byPosition ? varnel::ToLong(key) : 0;
  const varnel::String name = byPosition ? varnel::String() : varnel::ToText(key);
  const std::vector<ResultColumn>& columns = m_rowset->Columns();
  if (byPosition) {
    return position >= 0 && static_cast<std::size_t>(position) < columns.size()
               ? static_cast<std::size_t>(position)
               : kNone;
  }
  for (std::size_t i = 0; i < columns.size(); ++i) {
    if (varnel::EqualsNoCase(columns[i].name, name)) return i;
  }
  return kNone;
}

std::shared_ptr<AdoField> AdoFields::FieldAt(std::size_t column) {
  if (m_fields.size() <= column) m_fields.resize(m_rowset->Columns().size());
  if (m_fields[column] == nullptr) m_fields[column] = std::make_shared<AdoField>(m_rowset, column);
  return m_fields[column];
}

void AdoFields::Append(const varnel::String& name, Long type, Long size, Long) {
  if (m_rowset->IsOpen()) RaiseAdo(AdoFailure::NotAllowed, u"Fields");
  if (Find(Variant(name)) != kNone) RaiseAdo(AdoFailure::AlreadyPresent, u"Fields");
  m_rowset->AppendColumn(ResultColumn{name, static_cast<varnel::Integer>(type), size});
}

}  // namespace hostlinux
