#include "tests/model/ModelValues.h"

#include <charconv>
#include <cmath>
#include <cstdio>

#include "varnel/automation/Convert.h"

namespace model {

using varnel::Date;
using varnel::Long;
using varnel::String;
using varnel::StringView;
using varnel::Variant;

namespace {

constexpr varnel::Integer kInteger = 3;
constexpr varnel::Integer kDouble = 5;
constexpr varnel::Integer kBoolean = 11;
constexpr varnel::Integer kBigInt = 20;
constexpr varnel::Integer kTimeStamp = 135;
constexpr varnel::Integer kBytes = 205;

double NumberOf(const String& text) {
  const std::string bytes = varnel::ToUtf8(varnel::Trim(text));
  double number = 0;
  const auto [end, error] = std::from_chars(bytes.data(), bytes.data() + bytes.size(), number);
  if (error != std::errc() || end != bytes.data() + bytes.size()) throw Failure::Unreadable(text);
  return number;
}

// "2001-03-05" or "20010305", with or without a time.
Date DateOf(const String& text) {
  const std::string bytes = varnel::ToUtf8(text);
  varnel::DateParts at{0, 0, 0, 0, 0, 0};
  int length = 0;
  const bool isDashed = bytes.find('-') != std::string::npos;
  const int day = std::sscanf(bytes.c_str(), isDashed ? "%4d-%2d-%2d%n" : "%4d%2d%2d%n", &at.year, &at.month,
                              &at.day, &length);
  const std::string time = bytes.substr(day == 3 ? static_cast<std::size_t>(length) : 0);
  const bool isTime = std::sscanf(time.c_str(), " %2d:%2d:%2d", &at.hour, &at.minute, &at.second) == 3;
  if (day != 3 || (!time.empty() && !isTime) || !varnel::IsValid(at)) throw Failure::Unreadable(text);
  return varnel::MakeDate(at);
}

bool TruthOf(const Variant& value) {
  if (const bool* truth = value.As<bool>()) return *truth;
  if (!value.IsText()) return varnel::ToDouble(value) != 0;
  const String& text = *value.As<String>();
  if (varnel::EqualsNoCase(text, u"True") || text == u"1") return true;
  if (varnel::EqualsNoCase(text, u"False") || text == u"0") return false;
  throw Failure::Unreadable(text);
}

// A number is as good as its print, whose last digits are rounded: keys are made of prints.
double PrintedNumber(const Variant& value) {
  return value.IsText() ? NumberOf(*value.As<String>()) : NumberOf(varnel::ToText(value));
}

double Seconds(const Variant& value) {
  const Date date = value.Is<Date>() ? *value.As<Date>() : DateOf(varnel::ToText(value));
  return std::round(date.days * 86'400);
}

template <typename T>
int Order(const T& left, const T& right) {
  return left < right ? -1 : (right < left ? 1 : 0);
}

String Folded(const String& text, bool ignoresCase) {
  String folded = text;
  if (!ignoresCase) return folded;
  for (char16_t& c : folded) {
    if (c >= u'A' && c <= u'Z') c = static_cast<char16_t>(c + 32);
  }
  return folded;
}

// The end of the class that `pattern` begins with, behind its bracket.
std::size_t EndOfClass(StringView pattern) {
  const std::size_t first = pattern.starts_with(u"[^") ? 2 : 1;
  const auto end = pattern.find(u']', first);
  return end == StringView::npos ? end : end + 1;
}

bool IsInClass(char16_t c, StringView members) {
  const bool isNegated = members.starts_with(u'^');
  if (isNegated) members.remove_prefix(1);
  for (std::size_t i = 0; i < members.size(); ++i) {
    const bool isRange = i + 2 < members.size() && members[i + 1] == u'-';
    if (isRange ? c >= members[i] && c <= members[i + 2] : c == members[i]) return !isNegated;
    if (isRange) i += 2;
  }
  return isNegated;
}

bool Matches(StringView text, StringView pattern, char16_t escape) {
  while (!pattern.empty()) {
    char16_t sign = pattern[0];
    if (sign == u'%') {
      pattern.remove_prefix(1);
      for (std::size_t i = 0; i <= text.size(); ++i) {
        if (Matches(text.substr(i), pattern, escape)) return true;
      }
      return false;
    }
    if (text.empty()) return false;
    std::size_t length = 1;
    bool isTaken = sign == u'_';
    if (sign == u'[' && (length = EndOfClass(pattern)) != StringView::npos) {
      isTaken = IsInClass(text[0], pattern.substr(1, length - 2));
    } else if (!isTaken) {
      length = escape != 0 && sign == escape && pattern.size() > 1 ? 2 : 1;
      sign = pattern[length - 1];
      isTaken = text[0] == sign;
    }
    if (!isTaken) return false;
    text.remove_prefix(1);
    pattern.remove_prefix(length);
  }
  return text.empty();
}

}  // namespace

Failure::Failure(std::uint32_t hexNumber, StringView state, String text)
    : number(static_cast<Long>(hexNumber)),
      sqlState(state),
      description(std::move(text)),
      m_what(varnel::ToUtf8(description)) {}

Failure Failure::Syntax(const String& what) { return {0x80040E14, u"42000", u"Bad statement: " + what}; }
Failure Failure::NoTable(const String& name) { return {0x80040E37, u"42S02", u"There is no table " + name}; }
Failure Failure::NoColumn(const String& name) {
  return {0x80040E14, u"42S22", u"There is no column " + name + u", or more than one"};
}
Failure Failure::NoParameter(const String& name) {
  return {0x80040E10, u"07002", u"No value for the parameter " + name};
}
Failure Failure::Integrity(const String& what) { return {0x80040E2F, u"23000", what}; }
Failure Failure::ReadsOnly() { return {0x80040E09, u"25006", u"The connection only reads"}; }
Failure Failure::Unreadable(const String& text) {
  return {0x80040E07, u"22018", u"'" + text + u"' isn't what its column holds"};
}

Variant Stored(const Column& column, const Variant& value) {
  if (value.IsNull()) {
    if (column.isNotNull) throw Failure::Integrity(column.name + u" may not be NULL");
    return value;
  }
  switch (column.type) {
    case kInteger:
      return Long{varnel::RoundToLong(PrintedNumber(value))};
    case kBigInt: {
      const double number = PrintedNumber(value);
      return std::abs(number) <= 2'147'483'647 ? Variant(varnel::RoundToLong(number)) : Variant(number);
    }
    case kDouble:
      return value.Is<double>() ? value : Variant(PrintedNumber(value));
    case kBoolean:
      return TruthOf(value);
    case kTimeStamp:
      return value.Is<Date>() ? value : Variant(DateOf(varnel::ToText(value)));
    case kBytes:
      throw Failure::Syntax(u"bytes have no literal here");
    default:
      return varnel::ToText(value);
  }
}

std::optional<int> Compare(const Variant& left, const Variant& right, bool ignoresCase) {
  if (left.IsNull() || right.IsNull()) return std::nullopt;
  if (left.IsText() && right.IsText()) {
    return Order(Folded(*left.As<String>(), ignoresCase), Folded(*right.As<String>(), ignoresCase));
  }
  if (left.Is<Date>() || right.Is<Date>()) return Order(Seconds(left), Seconds(right));
  if (left.Is<bool>() || right.Is<bool>()) return Order(TruthOf(left), TruthOf(right));
  if (left.IsText() || right.IsText()) return Order(PrintedNumber(left), PrintedNumber(right));
  return Order(varnel::ToDouble(left), varnel::ToDouble(right));
}

int SortOrder(const Variant& left, const Variant& right, bool ignoresCase) {
  if (left.IsNull() || right.IsNull())
    return static_cast<int>(right.IsNull()) - static_cast<int>(left.IsNull());
  return *Compare(left, right, ignoresCase);
}

bool IsLike(StringView text, StringView pattern, char16_t escape, bool ignoresCase) {
  return Matches(Folded(String(text), ignoresCase), Folded(String(pattern), ignoresCase), escape);
}

}  // namespace model
