// Dates to text and back, by the user's locale.
#include <array>
#include <cstdio>
#include <optional>

#include "varnel/automation/Convert.h"
#include "varnel/automation/Error.h"
#include "varnel/automation/LocaleFacts.h"

namespace varnel {

namespace {

String Padded(int number, std::size_t width) {
  String digits = DecimalText(number);
  return digits.size() < width ? String(width - digits.size(), u'0') + digits : digits;
}

String PatternPiece(char16_t letter, std::size_t count, const DateParts& parts, StringView am,
                    StringView pm) {
  const std::size_t width = count < 2 ? 1 : 2;
  switch (letter) {
    case u'd':
      return Padded(parts.day, width);
    case u'M':
      return Padded(parts.month, width);
    case u'y':
      return count > 2 ? Padded(parts.year, 4) : Padded(parts.year % 100, width);
    case u'H':
      return Padded(parts.hour, width);
    case u'h':
      return Padded((parts.hour + 11) % 12 + 1, width);
    case u'm':
      return Padded(parts.minute, width);
    case u's':
      return Padded(parts.second, width);
    case u't': {
      const StringView mark = parts.hour < 12 ? am : pm;
      return String(count < 2 ? mark.substr(0, 1) : mark);
    }
    default:
      return String(count, letter);
  }
}

bool IsPatternLetter(char16_t unit) { return StringView(u"dMyHhmst").find(unit) != StringView::npos; }

}  // namespace

String FormatDatePattern(StringView pattern, const DateParts& parts, StringView am, StringView pm) {
  String result;
  for (std::size_t i = 0; i < pattern.size();) {
    if (pattern[i] == u'\'') {  // quoted text stands as it is
      const auto end = pattern.find(u'\'', i + 1);
      const auto stop = end == StringView::npos ? pattern.size() : end;
      result.append(pattern.substr(i + 1, stop - i - 1));
      i = stop + 1;
      continue;
    }
    std::size_t end = i;
    while (end < pattern.size() && pattern[end] == pattern[i] && (IsPatternLetter(pattern[i]) || end == i))
      ++end;
    result.append(PatternPiece(pattern[i], end - i, parts, am, pm));
    i = end;
  }
  return result;
}

String DateText(Date value) {
  const LocaleFacts& locale = UserLocale();
  const DateParts parts = SplitDate(value);
  String text = FormatDatePattern(locale.shortDate, parts, locale.am, locale.pm);
  const bool midnight = parts.hour == 0 && parts.minute == 0 && parts.second == 0;
  if (midnight) return text;
  return text + u" " + FormatDatePattern(locale.timeFormat, parts, locale.am, locale.pm);
}

namespace {

// A date text falls into numbers and the separators between them.
struct NumberPiece {
  int value;
  std::size_t digits;
  String before;  // what stood in front of it
};

struct DatePieces {
  std::vector<NumberPiece> numbers;
  std::optional<bool> afternoon;
};

bool IsDigit(char16_t unit) { return unit >= u'0' && unit <= u'9'; }

[[noreturn]] void Mismatch() { RaiseRuntimeError(runtime_error::kTypeMismatch); }

// Takes an "AM" or "PM", the locale's own or the English one, off the end.
std::optional<bool> TakeHalfOfDay(String& text) {
  const LocaleFacts& locale = UserLocale();
  const std::array<std::pair<StringView, bool>, 4> marks{
      {{locale.am, false}, {locale.pm, true}, {u"AM", false}, {u"PM", true}}};
  for (const auto& [mark, afternoon] : marks) {
    if (mark.empty() || text.size() < mark.size()) continue;
    if (!EqualsNoCase(StringView(text).substr(text.size() - mark.size()), mark)) continue;
    text = TrimRight(StringView(text).substr(0, text.size() - mark.size()));
    return afternoon;
  }
  return std::nullopt;
}

DatePieces CutIntoNumbers(StringView given) {
  String text = Trim(given);
  DatePieces pieces;
  pieces.afternoon = TakeHalfOfDay(text);
  std::size_t i = 0;
  while (i < text.size()) {
    const std::size_t gap = i;
    while (i < text.size() && !IsDigit(text[i])) ++i;
    if (i == text.size()) {
      if (Trim(StringView(text).substr(gap)) == u"." && !pieces.numbers.empty()) break;  // "31. 12. 1999."
      Mismatch();
    }
    const std::size_t first = i;
    int value = 0;
    while (i < text.size() && IsDigit(text[i])) {
      if (i - first >= 4) Mismatch();
      value = value * 10 + (text[i++] - u'0');
    }
    pieces.numbers.push_back({value, i - first, Trim(StringView(text).substr(gap, first - gap))});
  }
  if (pieces.numbers.empty() || !pieces.numbers[0].before.empty()) Mismatch();
  return pieces;
}

bool IsTimeMark(const String& mark) {
  return mark == u":" || (mark == UserLocale().timeSeparator && mark != u".");
}

bool IsDateMark(const String& mark) {
  return mark == u"/" || mark == u"-" || mark == u"." || mark == UserLocale().dateSeparator ||
         mark == Trim(UserLocale().dateSeparator);
}

// A year of two digits lies in 1930 to 2029.
int FullYear(const NumberPiece& piece) {
  if (piece.digits > 2) return piece.value;
  return piece.value < 30 ? 2000 + piece.value : 1900 + piece.value;
}

void SetDay(DateParts& parts, const NumberPiece& year, const NumberPiece& month, const NumberPiece& day) {
  parts.year = FullYear(year);
  parts.month = month.value;
  parts.day = day.value;
}

// A first number of three or four digits is a year; else the locale's order holds, and where it names no
// day the other order of day and month is tried.
DateParts ReadDay(std::span<const NumberPiece> numbers) {
  DateParts parts;
  if (numbers.size() != 3) Mismatch();
  const bool yearFirst =
      numbers[0].digits > 2 || UserLocale().dateOrder == LocaleFacts::DateOrder::YearMonthDay;
  if (yearFirst && numbers[2].digits <= 2) {
    SetDay(parts, numbers[0], numbers[1], numbers[2]);
  } else if (UserLocale().dateOrder == LocaleFacts::DateOrder::DayMonthYear) {
    SetDay(parts, numbers[2], numbers[1], numbers[0]);
    if (!IsValid(parts)) SetDay(parts, numbers[2], numbers[0], numbers[1]);
  } else {
    SetDay(parts, numbers[2], numbers[0], numbers[1]);
    if (!IsValid(parts)) SetDay(parts, numbers[2], numbers[1], numbers[0]);
  }
  return parts;
}

void ReadTime(DateParts& parts, std::span<const NumberPiece> numbers, std::optional<bool> afternoon) {
  if (numbers.size() > 3) Mismatch();
  parts.hour = numbers[0].value;
  parts.minute = numbers.size() > 1 ? numbers[1].value : 0;
  parts.second = numbers.size() > 2 ? numbers[2].value : 0;
  if (!afternoon) return;
  if (parts.hour < 1 || parts.hour > 12) Mismatch();
  parts.hour = parts.hour % 12 + (*afternoon ? 12 : 0);
}

// How many of the numbers, from the left, belong to the day.
std::size_t DayCount(const DatePieces& pieces) {
  const auto& numbers = pieces.numbers;
  std::size_t count = 1;
  while (count < numbers.size() && IsDateMark(numbers[count].before) && count < 3) ++count;
  return count == 1 ? 0 : count;
}

}  // namespace

Date ParseDate(StringView text) {
  const DatePieces pieces = CutIntoNumbers(text);
  const std::span<const NumberPiece> numbers(pieces.numbers);
  const std::size_t dayCount = DayCount(pieces);
  DateParts parts;
  if (dayCount > 0) parts = ReadDay(numbers.first(dayCount));
  const auto time = numbers.subspan(dayCount);
  if (time.empty() && pieces.afternoon) Mismatch();
  if (dayCount == 0 && time.size() == 1 && !pieces.afternoon) Mismatch();
  if (!time.empty()) {
    if (dayCount > 0 && !time[0].before.empty() && time[0].before != u"T") Mismatch();
    for (const NumberPiece& piece : time.subspan(1)) {
      if (!IsTimeMark(piece.before)) Mismatch();
    }
    ReadTime(parts, time, pieces.afternoon);
  }
  if (!IsValid(parts)) Mismatch();
  return MakeDate(parts);
}

}  // namespace varnel
