#include "host-linux/nls/TypedText.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <string>

#include "host-linux/nls/NumberShape.h"

namespace hostlinux {

using varnel::DateParts;
using varnel::LocaleFacts;
using varnel::String;
using varnel::StringView;

namespace {

// Nobody types more; a form's field may hold megabytes.
constexpr std::size_t kMostUnits = 400;

constexpr char16_t kMinus = u'\u2212';

bool IsBlank(char16_t unit) {
  return unit == u' ' || unit == u'\t' || unit == u'\u00A0' || unit == u'\u202F';
}
bool IsApostrophe(char16_t unit) { return unit == u'\'' || unit == u'\u2019'; }
bool IsDigit(char16_t unit) { return unit >= u'0' && unit <= u'9'; }
bool IsSign(char16_t unit) { return unit == u'-' || unit == u'+' || unit == kMinus; }

StringView WithoutBlanks(StringView text) {
  while (!text.empty() && IsBlank(text.front())) text.remove_prefix(1);
  while (!text.empty() && IsBlank(text.back())) text.remove_suffix(1);
  return text;
}

bool AreDigits(StringView text) { return !text.empty() && std::all_of(text.begin(), text.end(), IsDigit); }

void AppendDigits(std::string& target, StringView digits) {
  for (const char16_t digit : digits) target += static_cast<char>(digit);
}

// --- Numbers

// Whether `unit` stands for the separator of thousands: keyboards lack some of them.
bool IsSeparator(char16_t unit, const LocaleFacts& locale) {
  if (locale.thousand.size() != 1 || locale.thousand == locale.decimal) return false;
  const char16_t own = locale.thousand.front();
  return unit == own || (IsBlank(own) && IsBlank(unit)) || (IsApostrophe(own) && IsApostrophe(unit));
}

// The groups of digits, from the right.
std::vector<StringView> GroupsOf(StringView text, const LocaleFacts& locale) {
  std::vector<StringView> groups;
  std::size_t end = text.size();
  for (std::size_t at = text.size(); at-- > 0;) {
    if (!IsSeparator(text[at], locale)) continue;
    groups.push_back(text.substr(at + 1, end - at - 1));
    end = at;
  }
  groups.push_back(text.substr(0, end));
  return groups;
}

// The most digits of group `place` from the right; 0: as many as there are.
std::size_t SizeOfGroup(const NumberShape& shape, std::size_t place) {
  if (place < shape.groups.size()) return static_cast<std::size_t>(shape.groups[place]);
  return shape.repeats && !shape.groups.empty() ? static_cast<std::size_t>(shape.groups.back()) : 0;
}

// The digits in front of the decimal separator; nothing where a separator of thousands stands elsewhere than
// it belongs.
std::optional<std::string> WholeDigits(StringView text, const LocaleFacts& locale) {
  const std::vector<StringView> groups = GroupsOf(text, locale);
  NumberShape shape;
  SetGroupsByText(shape, locale.grouping);
  std::string digits;
  for (std::size_t i = groups.size(); i-- > 0;) {
    const StringView group = groups[i];
    if (!AreDigits(group)) return std::nullopt;
    const std::size_t size = SizeOfGroup(shape, i);
    const bool isFirst = i + 1 == groups.size();
    const bool fits = isFirst ? size == 0 || group.size() <= size : group.size() == size;
    if (groups.size() > 1 && !fits) return std::nullopt;
    AppendDigits(digits, group);
  }
  return digits;
}

// Takes a sign off `text`; true for a minus.
bool TakeSign(StringView& text, const LocaleFacts& locale) {
  const bool isBehind = locale.negativeOrder >= 3 && !text.empty() && IsSign(text.back());
  if (!isBehind && (text.empty() || !IsSign(text.front()))) return false;
  const char16_t sign = isBehind ? text.back() : text.front();
  isBehind ? text.remove_suffix(1) : text.remove_prefix(1);
  text = WithoutBlanks(text);
  return sign != u'+';
}

// --- Days

// Takes digits off `text`, at least `least` and at most `most`.
std::optional<int> TakeNumber(StringView& text, std::size_t least, std::size_t most) {
  std::size_t count = 0;
  int number = 0;
  while (count < text.size() && count < most && IsDigit(text[count]))
    number = 10 * number + (text[count++] - u'0');
  if (count < least || (count < text.size() && IsDigit(text[count]))) return std::nullopt;
  text.remove_prefix(count);
  return number;
}

bool Take(StringView& text, StringView what) {
  if (!text.starts_with(what)) return false;
  text.remove_prefix(what.size());
  return true;
}

std::optional<varnel::Date> DayOf(const DateParts& parts) {
  if (parts.year < 100 || !varnel::IsValid(parts)) return std::nullopt;
  return varnel::MakeDate(parts);
}

// T17:30 or T17:30:15; true without a time.
bool TakeTime(StringView& text, DateParts& parts) {
  if (!Take(text, u"T")) return true;
  const auto hour = TakeNumber(text, 2, 2);
  const bool hasMinute = hour && Take(text, u":");
  const auto minute = hasMinute ? TakeNumber(text, 2, 2) : std::nullopt;
  if (!minute) return false;
  const auto second = Take(text, u":") ? TakeNumber(text, 2, 2) : 0;
  if (!second) return false;
  parts.hour = *hour;
  parts.minute = *minute;
  parts.second = *second;
  return true;
}

// As browsers write a day, whatever the locale.
std::optional<varnel::Date> ReadStandardDate(StringView text) {
  const auto year = TakeNumber(text, 4, 4);
  if (!year || !Take(text, u"-")) return std::nullopt;
  const auto month = TakeNumber(text, 2, 2);
  if (!month || !Take(text, u"-")) return std::nullopt;
  const auto day = TakeNumber(text, 2, 2);
  DateParts parts;
  if (!day || !TakeTime(text, parts) || !text.empty()) return std::nullopt;
  parts.year = *year;
  parts.month = *month;
  parts.day = *day;
  return DayOf(parts);
}

// "dMy" in the order of the locale's short date.
String OrderOf(const LocaleFacts& locale) {
  String order;
  for (const char16_t unit : locale.shortDate) {
    const bool isPart = unit == u'd' || unit == u'M' || unit == u'y';
    if (isPart && order.find(unit) == String::npos) order += unit;
  }
  return order;
}

// One part of the day and what stands behind it.
bool TakePart(StringView& text, char16_t part, StringView separator, const LocaleFacts& locale,
              DateParts& parts) {
  text = WithoutBlanks(text);
  const std::size_t digits = part == u'y' ? 4 : 1;
  const auto number = TakeNumber(text, digits, std::max<std::size_t>(digits, 2));
  if (!number) return false;
  (part == u'd' ? parts.day : part == u'M' ? parts.month : parts.year) = *number;
  if (part == u'y') parts.year -= locale.yearOffset;
  text = WithoutBlanks(text);
  return Take(text, separator) || text.empty();
}

std::optional<varnel::Date> ReadLocaleDate(StringView text, const LocaleFacts& locale) {
  const StringView separator = WithoutBlanks(locale.dateSeparator);
  const String order = OrderOf(locale);
  if (separator.empty() || order.size() != 3) return std::nullopt;
  DateParts parts;
  for (const char16_t part : order)
    if (!TakePart(text, part, separator, locale, parts)) return std::nullopt;
  if (!text.empty()) return std::nullopt;
  return DayOf(parts);
}

}  // namespace

std::optional<double> ReadTypedNumber(StringView text, const LocaleFacts& locale) {
  text = WithoutBlanks(text);
  if (text.size() > kMostUnits) return std::nullopt;
  const bool isNegative = TakeSign(text, locale);
  const std::size_t point = locale.decimal.empty() ? StringView::npos : text.find(locale.decimal);
  const StringView whole = text.substr(0, point);
  auto digits = whole.empty() ? std::string("0") : WholeDigits(whole, locale);
  if (!digits) return std::nullopt;
  if (point != StringView::npos) {
    const StringView fraction = text.substr(point + locale.decimal.size());
    if (!AreDigits(fraction)) return std::nullopt;
    *digits += '.';
    AppendDigits(*digits, fraction);
  } else if (whole.empty()) {
    return std::nullopt;
  }
  double number = 0;
  const auto result = std::from_chars(digits->data(), digits->data() + digits->size(), number);
  if (result.ec != std::errc() || !std::isfinite(number)) return std::nullopt;
  return isNegative ? -number : number;
}

std::optional<varnel::Date> ReadTypedDate(StringView text, const LocaleFacts& locale) {
  text = WithoutBlanks(text);
  if (text.size() > kMostUnits) return std::nullopt;
  if (const auto day = ReadStandardDate(text)) return day;
  return ReadLocaleDate(text, locale);
}

}  // namespace hostlinux
