// The encoders of Utilities.
#include "varnel/automation/Convert.h"
#include "varnel/utilities/Utilities.h"

namespace varnel {

namespace {

String SQLEscapeQuotes(StringView value) { return Replace(value, u"'", u"''"); }

String NationalLiteral(StringView escaped) { return u"N'" + String(escaped) + u"'"; }

// A part of a date or time with at least two digits.
String TwoDigits(int part) {
  const String text = DecimalText(part);
  return text.size() == 1 ? u"0" + text : text;
}

String DayText(const DateParts& parts) {
  return TwoDigits(parts.year) + u"-" + TwoDigits(parts.month) + u"-" + TwoDigits(parts.day);
}

String TimeText(const DateParts& parts) {
  return TwoDigits(parts.hour) + u":" + TwoDigits(parts.minute) + u":" + TwoDigits(parts.second);
}

// All but the star. The backslash goes first, so that those that come in later stay single.
String LDAPEscape(StringView value) {
  const String backslashes = Replace(value, u"\\", u"\\5c");
  return Replace(Replace(Replace(backslashes, u"(", u"\\28"), u")", u"\\29"), u"'", u"\\27");
}

String CollapseStars(String value) {
  while (value.find(u"**") != String::npos) value = Replace(value, u"**", u"*");
  return value;
}

}  // namespace

// A value that can't be escaped becomes the empty one.
String Utilities::SQLEncodeStr(const String& i_sValue) {
  String value;
  try {
    value = SQLEscapeQuotes(i_sValue);
  } catch (const std::exception&) {
    value.clear();
  }
  return NationalLiteral(value);
}

String Utilities::SQLEncodeStrForWHERE(const String& i_sValue) { return SQLEncodeStr(i_sValue); }

String Utilities::SQLEncodeStrForJOIN(const String& i_sValue) { return SQLEncodeStr(i_sValue); }

// The brackets that come in must not be escaped again, so "[" goes first; "*" goes last, so that its "%"
// stays a wildcard.
String Utilities::SQLEncodeStrForLIKE(const String& i_sValue) {
  String pattern = Replace(SQLEscapeQuotes(i_sValue), u"[", u"[[]");
  pattern = Replace(pattern, u"%", u"[%]");
  pattern = Replace(pattern, u"_", u"[_]");
  return NationalLiteral(Replace(pattern, u"*", u"%"));
}

String Utilities::SQLEncodeLng(Long i_lValue) { return DecimalText(i_lValue); }

String Utilities::SQLEncodeDbl(double i_fValue) { return SignedNumberText(i_fValue); }

String Utilities::SQLEncodeByte(Byte i_btValue) { return SQLEncodeLng(i_btValue); }

String Utilities::SQLEncodeDate(Date i_dValue) { return u"{d '" + DayText(SplitDate(i_dValue)) + u"'}"; }

String Utilities::LDAPEncodeStr(const String& i_sValue) {
  return Replace(LDAPEscape(i_sValue), u"*", u"\\2a");
}

String Utilities::LDAPEncodeStrForSearch(const String& i_sValue) {
  return LDAPEscape(CollapseStars(i_sValue));
}

String Utilities::SQLEncodeDateTime(Date i_dValue) {
  const DateParts parts = SplitDate(i_dValue);
  return u"{ts '" + DayText(parts) + u" " + TimeText(parts) + u"'}";
}

}  // namespace varnel
