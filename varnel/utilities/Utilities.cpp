#include "varnel/utilities/Utilities.h"

#include "varnel/automation/Members.h"

namespace varnel {

const ClassInfo& Utilities::Class() const {
  static const ClassInfo info{u"Utilities",
                              {
                                  Method<&Utilities::SQLEncodeStr>(u"SQLEncodeStr"),
                                  Method<&Utilities::SQLEncodeStrForWHERE>(u"SQLEncodeStrForWHERE"),
                                  Method<&Utilities::SQLEncodeStrForJOIN>(u"SQLEncodeStrForJOIN"),
                                  Method<&Utilities::SQLEncodeStrForLIKE>(u"SQLEncodeStrForLIKE"),
                                  Method<&Utilities::SQLEncodeLng>(u"SQLEncodeLng"),
                                  Method<&Utilities::SQLEncodeDbl>(u"SQLEncodeDbl"),
                                  Method<&Utilities::SQLEncodeByte>(u"SQLEncodeByte"),
                                  Method<&Utilities::SQLEncodeDate>(u"SQLEncodeDate"),
                                  Method<&Utilities::LDAPEncodeStr>(u"LDAPEncodeStr"),
                                  Method<&Utilities::LDAPEncodeStrForSearch>(u"LDAPEncodeStrForSearch"),
                                  Method<&Utilities::SQLEncodeDateTime>(u"SQLEncodeDateTime"),
                                  Method<&Utilities::QuickSort>(u"QuickSort"),
                                  Method<&Utilities::QuickSortPart>(u"QuickSortPart"),
                                  Method<&Utilities::RetrieveElementFromRequestFormCollection>(
                                      u"RetrieveElementFromRequestFormCollection"),
                              }};
  return info;
}

ObjectPtr MakeUtilities() { return std::make_shared<Utilities>(); }

}  // namespace varnel
