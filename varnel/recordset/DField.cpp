#include "varnel/recordset/DField.h"

#include "varnel/automation/Members.h"

namespace varnel {

const ClassInfo& DField::Class() const {
  static const ClassInfo info{u"DField",
                              {
                                  DataMember<&DField::Hidden_Data_Index_>(u"Hidden_Data_Index_"),
                                  DataMember<&DField::Type_>(u"Type_"),
                                  DataMember<&DField::Name>(u"Name"),
                                  DataMember<&DField::Value>(u"Value"),
                                  Method<&DField::GetDefault>(u"GetDefault").AsDefault(),
                              }};
  return info;
}

Variant DField::GetDefault() { return Value; }

}  // namespace varnel
