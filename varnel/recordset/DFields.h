// The columns of a recordset, by position, by name, and one after another.
#pragma once

#include "varnel/automation/Collection.h"
#include "varnel/recordset/DField.h"

namespace varnel {

class DFields : public Object {
 public:
  const ClassInfo& Class() const override;
  // The fields in column order.
  std::unique_ptr<Enumeration> Enumerate() override;
  void LetGo() noexcept override { m_Fields = nullptr; }

  // Shares `iFieldsCollection`, whose items are DField objects.
  void Initialize(std::shared_ptr<Collection>& iFieldsCollection);
  Long Count();
  // The field of that name, or at that position from 0. A name may be qualified or bracketed as in a query's
  // text: [Price], p.Price and price are one; brackets count only around the whole. Raises the number of the
  // failure underneath with the source "ADODB.Fields" where there is no such field.
  std::shared_ptr<DField> Item(const Variant& iIndexOrKey);
  const ObjectPtr* KeptItem(StringView iName) const override;
  // The enumerator of the fields in column order.
  ObjectPtr NewEnum();

 private:
  std::shared_ptr<Collection> m_Fields;
};

// What a field of the name `iName` is found by: its last dotted piece, without brackets around the whole.
// Raises 9 for an empty name.
StringView FieldKey(StringView iName);

// Adds `ioField` under `iKey`, or under the key with as many "_X" behind it as make it a free one.
void AddFieldToCollection(Collection& ioCollection, const std::shared_ptr<DField>& ioField, String iKey);

}  // namespace varnel
