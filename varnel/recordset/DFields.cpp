#include "varnel/recordset/DFields.h"

#include <typeinfo>

#include "varnel/automation/Enumerator.h"
#include "varnel/automation/Members.h"
#include "varnel/page/Utillities.h"
#include "varnel/recordset/Required.h"

namespace varnel {

namespace {

// The field that an item is; null where it is none. Nothing is made from a field's class, so that its type alone tells it.
const ObjectPtr* HeldField(const Variant& item) {
  const ObjectPtr* held = item.As<ObjectPtr>();
  if (held == nullptr || *held == nullptr) return nullptr;
  const Object& object = **held;
  return typeid(object) == typeid(DField) ? held : nullptr;
}

std::shared_ptr<DField> AsField(const Variant& item) {
  const ObjectPtr* held = HeldField(item);
  return held == nullptr ? nullptr : std::static_pointer_cast<DField>(*held);
}

StringView WithoutBrackets(StringView name) {
  return name.starts_with(u'[') && name.ends_with(u']') ? name.substr(1, name.size() - 2) : name;
}

StringView LastPiece(StringView name) { return name.substr(name.rfind(u'.') + 1); }

// Positions count from 0 here and from 1 in the collection.
std::shared_ptr<DField> FieldOf(const Collection& fields, const Variant& indexOrKey) {
  if (const String* name = indexOrKey.As<String>()) return AsField(fields.ItemOf(FieldKey(*name)));
  return AsField(fields.Item(ToDouble(indexOrKey) + 1));
}

String UnderlyingText(const ErrInfo& error) {
  return u" Underlying error: " + DecimalText(error.Number) + u": " + error.Source + u": " +
         error.Description;
}

}  // namespace

// The empty text has no piece.
StringView FieldKey(StringView iName) {
  iName = WithoutBrackets(iName);
  if (iName.empty()) RaiseRuntimeError(runtime_error::kSubscript);
  return LastPiece(iName);
}

const ClassInfo& DFields::Class() const {
  static const ClassInfo info{u"DFields",
                              {
                                  Method<&DFields::Initialize>(u"Initialize").Taking(u"iFieldsCollection"),
                                  ReadOnly<&DFields::Count>(u"Count"),
                                  ReadOnly<&DFields::Item>(u"Item").Taking(u"iIndexOrKey").AsDefault(),
                                  ReadOnly<&DFields::NewEnum>(u"NewEnum"),
                              }};
  return info;
}

std::unique_ptr<Enumeration> DFields::Enumerate() { return Required(m_Fields).Enumerate(); }

void DFields::Initialize(std::shared_ptr<Collection>& iFieldsCollection) { m_Fields = iFieldsCollection; }

Long DFields::Count() { return Required(m_Fields).Count(); }

std::shared_ptr<DField> DFields::Item(const Variant& iIndexOrKey) {
  ErrInfo error;
  try {
    // A script that runs for the key may bind this object anew.
    const std::shared_ptr<Collection> fields = m_Fields;
    Required(fields);
    if (iIndexOrKey.IsText()) return FieldOf(*fields, iIndexOrKey);
    return FieldOf(*fields, ToPlain(iIndexOrKey));
  } catch (const std::exception&) {
    error = Util_SaveErr();
  }
  Util_Raise(
      error.Number, u"ADODB.Fields",
      u"Database field with index or name '" + ToText(iIndexOrKey) + u"' not found." + UnderlyingText(error),
      error.HelpFile, error.HelpContext);
}

const ObjectPtr* DFields::KeptItem(StringView iName) const {
  iName = WithoutBrackets(iName);
  if (m_Fields == nullptr || iName.empty()) return nullptr;
  const Variant* item = m_Fields->FindItem(LastPiece(iName));
  return item == nullptr ? nullptr : HeldField(*item);
}

ObjectPtr DFields::NewEnum() {
  Required(m_Fields);
  return std::make_shared<Enumerator>(m_Fields);
}

void AddFieldToCollection(Collection& ioCollection, const std::shared_ptr<DField>& ioField, String iKey) {
  for (;; iKey += u"_X") {
    try {
      return ioCollection.Add(ioField, iKey);
    } catch (const std::exception&) {
      const ErrInfo error = Util_SaveErr();
      if (error.Number == runtime_error::kKeyTaken) continue;
      Util_Raise(error.Number, error.Source,
                 u"Varnel.DRecordset: Database field '" + ioField->Name +
                     u"' could not be added to the collection." + UnderlyingText(error),
                 error.HelpFile, error.HelpContext);
    }
  }
}

}  // namespace varnel
