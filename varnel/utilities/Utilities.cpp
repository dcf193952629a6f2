#include "varnel/utilities/Utilities.h"

#include "varnel/automation/Members.h"

namespace varnel {

const ClassInfo& Utilities::Class() const {
  static const ClassInfo info{
      u"Utilities",
      {
          Method<&Utilities::SQLEncodeStr>(u"SQLEncodeStr").Taking(u"i_sValue"),
          Method<&Utilities::SQLEncodeStrForWHERE>(u"SQLEncodeStrForWHERE").Taking(u"i_sValue"),
          Method<&Utilities::SQLEncodeStrForJOIN>(u"SQLEncodeStrForJOIN").Taking(u"i_sValue"),
          Method<&Utilities::SQLEncodeStrForLIKE>(u"SQLEncodeStrForLIKE").Taking(u"i_sValue"),
          Method<&Utilities::SQLEncodeLng>(u"SQLEncodeLng").Taking(u"i_lValue"),
          Method<&Utilities::SQLEncodeDbl>(u"SQLEncodeDbl").Taking(u"i_fValue"),
          Method<&Utilities::SQLEncodeByte>(u"SQLEncodeByte").Taking(u"i_btValue"),
          Method<&Utilities::SQLEncodeDate>(u"SQLEncodeDate").Taking(u"i_dValue"),
          Method<&Utilities::LDAPEncodeStr>(u"LDAPEncodeStr").Taking(u"i_sValue"),
          Method<&Utilities::LDAPEncodeStrForSearch>(u"LDAPEncodeStrForSearch").Taking(u"i_sValue"),
          Method<&Utilities::SQLEncodeDateTime>(u"SQLEncodeDateTime").Taking(u"i_dValue"),
          Method<&Utilities::QuickSort>(u"QuickSort").Taking(u"iData"),
          Method<&Utilities::QuickSortPart>(u"QuickSortPart").Taking(u"iData, lower, upper"),
          Method<&Utilities::RetrieveElementFromRequestFormCollection>(
              u"RetrieveElementFromRequestFormCollection")
              .Taking(u"i_sRequestFormString, i_sPattern, o_sPatternValue"),
      }};
  return info;
}

ObjectPtr MakeUtilities() { return std::make_shared<Utilities>(); }

}  // namespace varnel
