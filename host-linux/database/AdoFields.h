// ADODB.Field and the collection of a recordset's fields.
#pragma once

#include <memory>

#include "host-linux/database/Rowset.h"
#include "varnel/automation/Object.h"

namespace hostlinux {

// One column; its value is that of the recordset's current row.
class AdoField : public varnel::Object {
 public:
  AdoField(std::shared_ptr<Rowset> rowset, std::size_t column)
      : m_rowset(std::move(rowset)), m_column(column) {}
  const varnel::ClassInfo& Class() const override;
  void LetGo() noexcept override { m_rowset->LetGo(); }

  varnel::String Name() { return Facts().name; }
  varnel::Long Type() { return Facts().type; }
  varnel::Long DefinedSize() { return Facts().size; }
  // Raises 3021 without a current row; 3251 when set in the result of a statement.
  varnel::Variant Value();
  void SetValue(const varnel::Variant& value);

 private:
  const ResultColumn& Facts() const { return m_rowset->Columns()[m_column]; }

  std::shared_ptr<Rowset> m_rowset;
  std::size_t m_column;
};

// Positions from 0; names in any case of letters, the first of equal ones counts.
class AdoFields : public varnel::Object {
 public:
  explicit AdoFields(std::shared_ptr<Rowset> rowset) : m_rowset(std::move(rowset)) {}
  const varnel::ClassInfo& Class() const override;
  std::unique_ptr<varnel::Enumeration> Enumerate() override;
  void LetGo() noexcept override {
    m_rowset->LetGo();
    m_fields.clear();
  }

  varnel::Long Count() { return static_cast<varnel::Long>(m_rowset->Columns().size()); }
  // A number is a position, any other value a name. Raises 3265 for what isn't there.
  std::shared_ptr<AdoField> Item(const varnel::Variant& key);
  // A column for a recordset made by hand. Raises 3219 when it is open, 3367 for a name that is taken.
  void Append(const varnel::String& name, varnel::Long type, varnel::Long size, varnel::Long attributes);

 private:
  std::size_t Find(const varnel::Variant& key) const;
  std::shared_ptr<AdoField> FieldAt(std::size_t column);

  std::shared_ptr<Rowset> m_rowset;
  std::vector<std::shared_ptr<AdoField>> m_fields;  // made when first asked for
};

}  // namespace hostlinux
