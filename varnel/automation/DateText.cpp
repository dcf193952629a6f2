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
  DateParts parts = SplitDate(value);
  parts.year += locale.yearOffset;
  const String text = FormatDatePattern(locale.shortDate, parts, locale.am, locale.pm);
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

// Without the marks of writing direction, and with every kind of blank as a plain one.
String Plain(StringView text) {
  String result;
  for (const char16_t unit : text) {
    if (unit == 0x200E || unit == 0x200F) continue;
    result += unit == 0x00A0 || unit == 0x202F ? u' ' : unit;
  }
  return Trim(result);
}

// The words that stand in a pattern beside its letters and separators, as in "d.MM.yyyy 'g'.".
std::vector<String> WordsOf(StringView pattern) {
  std::vector<String> words(1);
  bool quoted = false;
  for (const char16_t unit : pattern) {
    if (unit == u'\'') quoted = !quoted;
    const bool inWord = unit != u'\'' && (quoted || (unit > 0x7F && Plain(StringView(&unit, 1)).size() == 1));
    if (inWord) {
      words.back() += unit;
    } else if (!words.back().empty()) {
      words.emplace_back();
    }
  }
  std::erase(words, String());
  return words;
}

// The separator of hours and minutes, without the quotes that it has where it is a letter.
String TimeMark() { return Replace(UserLocale().timeSeparator, u"'", u""); }

// The text between two numbers, or behind the last one: the locale's own words drop out, and an "AM" or "PM",
// the locale's or the English one, is taken off its end.
class GapReader {
 public:
  GapReader() {
    const LocaleFacts& locale = UserLocale();
    for (const StringView pattern : {StringView(locale.shortDate), StringView(locale.timeFormat)}) {
      for (const String& word : WordsOf(pattern)) {
        if (word != TimeMark()) m_words.push_back(word);
      }
    }
    m_marks = {{{Plain(locale.am), false}, {Plain(locale.pm), true}, {u"AM", false}, {u"PM", true}}};
  }

  String Read(StringView gap, std::optional<bool>& afternoon) const {
    String rest = Plain(gap);
    for (const String& word : m_words) rest = Trim(Replace(rest, word, u""));
    for (const auto& [mark, isAfternoon] : m_marks) {
      if (mark.empty() || rest.size() < mark.size()) continue;
      if (!EqualsNoCase(StringView(rest).substr(rest.size() - mark.size()), mark)) continue;
      if (afternoon) Mismatch();
      afternoon = isAfternoon;
      return Trim(StringView(rest).substr(0, rest.size() - mark.size()));
    }
    return rest;
  }

 private:
  std::vector<String> m_words;
  std::array<std::pair<String, bool>, 4> m_marks;
};

DatePieces CutIntoNumbers(StringView text) {
  const GapReader gaps;
  DatePieces pieces;
  std::size_t i = 0;
  for (;;) {
    const std::size_t gap = i;
    while (i < text.size() && !IsDigit(text[i])) ++i;
    const String before = gaps.Read(text.substr(gap, i - gap), pieces.afternoon);
    if (i == text.size()) {
      if (!before.empty() && before != u".") Mismatch();  // "31. 12. 1999."
      break;
    }
    const std::size_t first = i;
    int value = 0;
    while (i < text.size() && IsDigit(text[i])) {
      if (i - first >= 4) Mismatch();
      value = value * 10 + (text[i++] - u'0');
    }
    pieces.numbers.push_back({value, i - first, before});
  }
  if (pieces.numbers.empty() || !pieces.numbers[0].before.empty()) Mismatch();
  return pieces;
}

bool IsTimeMark(const String& mark) { return mark == u":" || mark == TimeMark(); }

bool IsDateMark(const String& mark) {
  return mark == u"/" || mark == u"-" || mark == u"." || mark == Plain(UserLocale().dateSeparator);
}

// A year of two digits lies in 1930 to 2029.
int FullYear(const NumberPiece& piece) {
  if (piece.digits > 2) return piece.value - UserLocale().yearOffset;
  return piece.value < 30 ? 2000 + piece.value : 1900 + piece.value;
}

void SetDay(DateParts& parts, const NumberPiece& year, const NumberPiece& month, const NumberPiece& day) {
  parts.year = FullYear(year);
  parts.month = month.value;
  parts.day = day.value;
}

// True where the locale itself writes the day before the month behind the year.
bool WritesDayBehindYear() {
  const String& pattern = UserLocale().shortDate;
  return pattern.starts_with(u"y") && pattern.find(u'd') < pattern.find(u'M');
}

// A first number of three or four digits is a year; else the locale's order holds, and where it names no
// day the other order of day and month is tried.
DateParts ReadDay(std::span<const NumberPiece> numbers) {
  DateParts parts;
  if (numbers.size() != 3) Mismatch();
  const bool yearFirst =
      numbers[0].digits > 2 || UserLocale().dateOrder == LocaleFacts::DateOrder::YearMonthDay;
  if (yearFirst && numbers[2].digits <= 2) {
    const bool dayNext = WritesDayBehindYear();
    SetDay(parts, numbers[0], numbers[dayNext ? 2 : 1], numbers[dayNext ? 1 : 2]);
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
    const String& gap = time[0].before;  // "T", or the point behind a date such as "31. 12. 1999."
    if (dayCount > 0 && !gap.empty() && gap != u"T" && gap != u".") Mismatch();
    for (const NumberPiece& piece : time.subspan(1)) {
      if (!IsTimeMark(piece.before)) Mismatch();
    }
    ReadTime(parts, time, pieces.afternoon);
  }
  if (!IsValid(parts)) Mismatch();
  return MakeDate(parts);
}

}  // namespace varnel
