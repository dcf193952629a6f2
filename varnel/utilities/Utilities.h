// Turns values into SQL and LDAP literals. Statements are made by plain concatenation, so the exact text that
// an operation gives is its contract.
#pragma once

#include "varnel/automation/Date.h"
#include "varnel/automation/Object.h"

namespace varnel {

// ProgID "Varnel.Utilities", and the predeclared `Utilities` of a page script. Keeps nothing between calls.
class Utilities : public Object {
 public:
  const ClassInfo& Class() const override;

  // A national-character literal, each quote doubled: O'Brien gives N'O''Brien'. The three differ in nothing;
  // each names the place in a statement that its literal is for.
  String SQLEncodeStr(const String& i_sValue);
  String SQLEncodeStrForWHERE(const String& i_sValue);
  String SQLEncodeStrForJOIN(const String& i_sValue);
  // A search pattern whose one wildcard is "*": 50%* gives N'50[%]%'.
  String SQLEncodeStrForLIKE(const String& i_sValue);

  // The decimal text, with a "-" when negative and nothing in front otherwise.
  String SQLEncodeLng(Long i_lValue);
  // With a blank or "-" in front, "." in every locale, an exponent where the number is large or small:
  // " 1.5". Raises 6 for what is no number.
  String SQLEncodeDbl(double i_fValue);
  String SQLEncodeByte(Byte i_btValue);
  // {d '2024-03-05'}, whatever the time of day. Raises 6 outside the years 100 to 9999, as the next.
  String SQLEncodeDate(Date i_dValue);

  // A value that stands for itself in an LDAP filter, without quotes around it: a* gives a\2a.
  String LDAPEncodeStr(const String& i_sValue);
  // The same with "*" as a wildcard; a run of stars becomes one.
  String LDAPEncodeStrForSearch(const String& i_sValue);

  // {ts '2024-03-05 07:08:09'}, in whole seconds.
  String SQLEncodeDateTime(Date i_dValue);
};

ObjectPtr MakeUtilities();

}  // namespace varnel
