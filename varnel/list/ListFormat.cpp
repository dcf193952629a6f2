#include "varnel/list/ListFormat.h"

#include <cstdint>

#include "varnel/automation/Convert.h"
#include "varnel/automation/Error.h"
#include "varnel/host/Platform.h"
#include "varnel/locale/DataFunctions.h"
#include "varnel/locale/FormatFunctions.h"

namespace varnel {

namespace {

namespace locale_code = host::locale_code;

StringView EscapeOf(char16_t unit) {
  switch (unit) {
    case u'&':
      return u"&amp;";
    case u'<':
      return u"&lt;";
    case u'>':
      return u"&gt;";
    case u'"':
      return u"&quot;";
    case u'\'':
      return u"&#39;";
    default:
      return {};
  }
}

// The units that need an escape, as bits: all are below 64.
constexpr std::uint64_t Bit(char16_t unit) { return std::uint64_t{1} << unit; }
constexpr std::uint64_t kEscaped = Bit(u'&') | Bit(u'<') | Bit(u'>') | Bit(u'"') | Bit(u'\'');

bool IsEscaped(char16_t unit) { return unit < 64 && (kEscaped >> unit & 1) != 0; }

Long DigitIn(const String& text, Long otherwise) {
  return text.empty() || text[0] < u'0' || text[0] > u'9' ? otherwise : text[0] - u'0';
}

// "3;2;0" as 32: the sizes as decimal digits, as the platform takes them.
Long GroupingIn(StringView text) {
  Long sizes = 0;
  for (const char16_t c : text) {
    if (c >= u'1' && c <= u'9' && sizes < 100) sizes = sizes * 10 + (c - u'0');
  }
  return sizes;
}

}  // namespace

void AppendHtml(String& out, StringView text) {
  std::size_t begin = 0;
  for (std::size_t i = 0; i < text.size(); ++i) {
    if (!IsEscaped(text[i])) continue;
    out.append(text.substr(begin, i - begin)).append(EscapeOf(text[i]));
    begin = i + 1;
  }
  out.append(text.substr(begin));
}

String PlainText(const Variant& value) {
  if (const String* text = value.As<String>()) return *text;
  if (value.IsNull() || value.IsMissing() || value.Is<BytesPtr>() || value.Is<ArrayPtr>()) return {};
  return ToText(value);
}

void ListFormat::AppendCell(String& out, const Variant& value, const ListColumnFields& column) {
  if (column.m_eFormat == ListFormatKind::Plain) {
    if (const String* text = value.As<String>()) return AppendHtml(out, *text);
    if (const Long* number = value.As<Long>()) return AppendDecimal(out, *number);
  }
  AppendHtml(out, Text(value, column.m_eFormat, column.m_lDecimals));
}

String ListFormat::Text(const Variant& value, ListFormatKind kind, Long decimals) {
  if (value.IsNull()) return {};
  try {
    if (kind == ListFormatKind::Number) return Number(ToDouble(value), decimals);
    if (kind == ListFormatKind::Date || kind == ListFormatKind::DateAndTime) {
      const Date date = ToDate(value);
      String text = PlainText(DataFunctions().DateTime(date, m_lcid, kind == ListFormatKind::DateAndTime));
      if (!Trim(text).empty()) return text;
    }
  } catch (const Error&) {
    // A text among the numbers is shown as it is.
  }
  return PlainText(value);
}

String ListFormat::Count(std::int64_t number) { return Number(static_cast<double>(number), 0); }

const host::NumberFormat& ListFormat::NumberFormatFor(Long decimals) {
  const auto [found, isNew] = m_formats.try_emplace(decimals);
  host::NumberFormat& format = found->second;
  if (!isNew) return format;
  const auto value = [&](Long code) { return GetLocaleValue(m_lcid, code); };
  format.NumDigits = decimals >= 0 ? decimals : DigitIn(value(locale_code::kDigits), 2);
  format.LeadingZero = 1;
  format.Grouping = GroupingIn(value(locale_code::kGrouping));
  const String decimal = value(locale_code::kDecimal);
  format.lpDecimalSep = decimal.empty() ? String(u".") : decimal;
  format.lpThousandSep = value(locale_code::kThousand);
  format.NegativeOrder = 1;
  return format;
}

String ListFormat::Number(double value, Long decimals) {
  const String plain = NumberText(value);
  FormatBuffer buffer{};
  const int length =
      host::Platform().Locale().GetNumberFormatA(m_lcid, 0, plain, &NumberFormatFor(decimals), buffer);
  return length > 1 ? CutAtNull({buffer.data(), buffer.size()}) : plain;
}

}  // namespace varnel
