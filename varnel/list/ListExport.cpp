#include "varnel/list/ListExport.h"

#include <cmath>

#include "varnel/automation/Convert.h"
#include "varnel/list/ListFormat.h"

namespace varnel {

namespace {

constexpr StringView kHexDigits = u"0123456789abcdef";

void AppendDigits(String& out, int number, int width) {
  const String digits = DecimalText(number);
  for (auto length = static_cast<int>(digits.size()); length < width; ++length) out += u'0';
  out += digits;
}

// Without its time where that is midnight.
String IsoText(Date date) {
  const DateParts parts = SplitDate(date);
  String text;
  AppendDigits(text, parts.year, 4);
  text += u'-';
  AppendDigits(text, parts.month, 2);
  text += u'-';
  AppendDigits(text, parts.day, 2);
  if (parts.hour == 0 && parts.minute == 0 && parts.second == 0) return text;
  text += u'T';
  AppendDigits(text, parts.hour, 2);
  text += u':';
  AppendDigits(text, parts.minute, 2);
  text += u':';
  AppendDigits(text, parts.second, 2);
  return text;
}

String FileText(const Variant& value) {
  if (const Date* date = value.As<Date>()) return IsoText(*date);
  return PlainText(value);
}

// Spreadsheets take these for the beginning of a formula, and their wide forms too.
bool BeginsFormula(StringView text) {
  return !text.empty() && StringView(u"=+-@\t\r\n\uff1d\uff0b\uff0d\uff20").find(text[0]) != StringView::npos;
}

bool NeedsQuotes(StringView text) {
  return text.find_first_of(u",;\"\r\n\t") != StringView::npos || text.starts_with(u' ') ||
         text.ends_with(u' ');
}

const Variant& ValueAt(const ListPage& page, int column, std::size_t row) {
  static const Variant kNull{Null()};
  return column < 0 ? kNull : page.At(static_cast<std::size_t>(column), row);
}

bool IsOfFileName(char16_t c) {
  return (c >= u'0' && c <= u'9') || (c >= u'A' && c <= u'Z') || (c >= u'a' && c <= u'z') || c == u'-';
}

}  // namespace

ListFileType TypeOf(ListFileKind kind) {
  switch (kind) {
    case ListFileKind::Json:
      return {u"json", u"application/json"};
    case ListFileKind::JsonLines:
      return {u"jsonl", u"application/x-ndjson; charset=utf-8"};
    default:
      return {u"csv", u"text/csv; charset=utf-8"};
  }
}

std::optional<ListFileKind> FileKindNamed(StringView name) {
  for (const ListFileKind kind : {ListFileKind::Csv, ListFileKind::Json, ListFileKind::JsonLines}) {
    if (EqualsNoCase(TypeOf(kind).name, name)) return kind;
  }
  return std::nullopt;
}

ListFile::ListFile(ListFileKind kind, const ListDeclared& declared, const ListPage& page)
    : m_kind(kind), m_declared(declared) {
  for (const auto& column : declared.columns) m_positions.push_back(page.ColumnNamed(column->m_sField));
}

String ListFile::Begin() const {
  if (m_kind == ListFileKind::Json) return u"[\n";
  String line;
  if (m_kind == ListFileKind::JsonLines) return line;
  for (const auto& column : m_declared.columns) {
    if (!line.empty()) line += u',';
    AppendCsvCell(line, Variant(column->m_sTitle));
  }
  return line.append(kCrLf);
}

void ListFile::AppendRow(String& out, const ListPage& page, std::size_t row) const {
  m_kind == ListFileKind::Csv ? AppendCsvRow(out, page, row) : AppendJsonRow(out, page, row);
}

void ListFile::AppendCsvRow(String& out, const ListPage& page, std::size_t row) const {
  for (std::size_t i = 0; i < m_positions.size(); ++i) {
    if (i > 0) out += u',';
    AppendCsvCell(out, ValueAt(page, m_positions[i], row));
  }
  out.append(kCrLf);
}

void ListFile::AppendJsonRow(String& out, const ListPage& page, std::size_t row) const {
  for (std::size_t i = 0; i < m_positions.size(); ++i) {
    out += i == 0 ? u'{' : u',';
    AppendJsonText(out, m_declared.columns[i]->m_sField);
    out += u':';
    AppendJsonValue(out, ValueAt(page, m_positions[i], row));
  }
  out += u'}';
  if (m_kind == ListFileKind::JsonLines) out += u'\n';
}

void AppendCsvCell(String& out, const Variant& value) {
  String text = FileText(value);
  if (value.IsText() && BeginsFormula(text)) text.insert(text.begin(), u'\'');
  if (!NeedsQuotes(text)) {
    out += text;
    return;
  }
  out += u'"';
  for (const char16_t c : text) {
    if (c == u'"') out += u'"';
    out += c;
  }
  out += u'"';
}

void AppendJsonText(String& out, StringView text) {
  out += u'"';
  for (const char16_t c : text) {
    if (c == u'"' || c == u'\\') {
      out.append({u'\\', c});
    } else if (c < 0x20 || c == 0x2028 || c == 0x2029) {
      out += u"\\u";
      for (int shift = 12; shift >= 0; shift -= 4) out += kHexDigits[(c >> shift) & 15];
    } else {
      out += c;
    }
  }
  out += u'"';
}

void AppendJsonValue(String& out, const Variant& value) {
  if (const bool* boolean = value.As<bool>()) {
    out += *boolean ? u"true" : u"false";
  } else if (value.Is<Long>() || value.Is<Integer>() || value.Is<Byte>()) {
    AppendDecimal(out, ToLong(value));
  } else if (const double* number = value.As<double>()) {
    out += std::isfinite(*number) ? NumberText(*number) : String(u"null");
  } else if (value.IsText() || value.Is<Date>()) {
    AppendJsonText(out, FileText(value));
  } else {
    out += u"null";
  }
}

String DispositionOf(StringView title, ListFileKind kind) {
  String name;
  for (const char16_t c : title) name += IsOfFileName(c) ? c : u'_';
  if (name.empty()) name = u"list";
  const String end = u"." + String(TypeOf(kind).name);
  return u"attachment; filename=\"" + name + end + u"\"; filename*=UTF-8''" +
         Replace(UrlText(title.empty() ? StringView(u"list") : title), u"+", u"%20") + end;
}

}  // namespace varnel
