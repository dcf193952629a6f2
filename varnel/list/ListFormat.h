// Values as a list writes them: encoded for HTML, numbers and dates in the visitor's locale.
#pragma once

#include <map>

#include "varnel/host/Locale.h"
#include "varnel/list/ListColumn.h"

namespace varnel {

// Appends `text` so that it is only text inside elements and inside attributes in double or single quotes.
void AppendHtml(String& out, StringView text);

// For one visitor; what a locale was asked for once is kept.
class ListFormat {
 public:
  explicit ListFormat(Long lcid) : m_lcid(lcid) {}

  // Appends `value` as HTML, formatted as `column` wants it. What can't be formatted is written plainly; Null, and what
  // is no text, writes nothing.
  void AppendCell(String& out, const Variant& value, const ListColumnFields& column);
  // The same without HTML's escapes.
  String Text(const Variant& value, ListFormatKind kind, Long decimals);
  // A whole number, grouped: "53,591".
  String Count(std::int64_t number);

 private:
  String Number(double value, Long decimals);
  const host::NumberFormat& NumberFormatFor(Long decimals);

  const Long m_lcid;
  std::map<Long, host::NumberFormat> m_formats;  // by the number of decimals
};

// `value` as plain text; empty for Null and for bytes.
String PlainText(const Variant& value);

}  // namespace varnel
