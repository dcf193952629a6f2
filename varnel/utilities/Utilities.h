// Turns values into SQL and LDAP literals, sorts arrays and reads request strings. Statements are made by
// plain concatenation, so the exact text that an operation gives is its contract.
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

  // Sorts an array of values in place: numbers before texts, texts without regard to case; the order of equal
  // elements isn't kept. Raises 13 for anything but an array and 9 for one without elements. An array of more
  // than 32,768 is not for this sort: its bound wraps at 16 bits, to 9 where it is negative then and to a
  // sort of the beginning alone where it isn't. An element that can't be compared fails the sort (94 where
  // two Nulls meet, 13) and leaves the array as far as the sort got.
  void QuickSort(Variant& iData);
  // The same from position `lower` to `upper`, both included, from 0. A Null as the first of two or more
  // elements raises 94: nothing has an order beside it.
  void QuickSortPart(Variant& iData, Integer& lower, Integer& upper);

  // Looks in a raw form or query text for the first place where `i_sPattern` ("name=", in any case of
  // letters) stands, be it inside another name, and decodes what follows up to "&" into `o_sPatternValue`:
  // empty if there is none. True if that isn't blank. A bad escape raises 13, reported; the value is the text
  // not yet decoded then.
  bool RetrieveElementFromRequestFormCollection(const String& i_sRequestFormString, const String& i_sPattern,
                                                Variant& o_sPatternValue);
};

ObjectPtr MakeUtilities();

}  // namespace varnel
