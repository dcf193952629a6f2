#include "host-linux/database/dialect/KeyLiteral.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cstdint>
#include <limits>

#include "host-linux/database/dialect/LikePattern.h"
#include "host-linux/database/dialect/SqlLexer.h"
#include "varnel/automation/String.h"

namespace hostlinux {
namespace {

constexpr size_t kDigits = 15;  // of a number as text

bool IsDigit(char16_t c) { return c >= u'0' && c <= u'9'; }

std::u16string ToText(int64_t number) {
  const std::string digits = std::to_string(number);
  return std::u16string(digits.begin(), digits.end());
}

std::u16string_view Trim(std::u16string_view text) {
  while (!text.empty() && text.front() == u' ') text.remove_prefix(1);
  while (!text.empty() && text.back() == u' ') text.remove_suffix(1);
  return text;
}

// A numeral: 0.digits times ten to the `exponent`; no leading or trailing zeros, empty for zero.
struct Numeral {
  bool negative = false;
  bool plain = true;  // neither point nor exponent
  std::u16string digits;
  int exponent = 0;
};

class NumeralReader {
 public:
  explicit NumeralReader(std::u16string_view text) : m_text(text) {}

  std::optional<Numeral> Read() {
    if (Take(u'-'))
      m_result.negative = true;
    else
      Take(u'+');
    bool any = false;
    for (; IsDigit(Peek()); any = true) Digit(false);
    if (Take(u'.')) {
      m_result.plain = false;
      for (; IsDigit(Peek()); any = true) Digit(true);
    }
    if (!any || !Exponent() || m_pos != m_text.size()) return std::nullopt;
    while (!m_result.digits.empty() && m_result.digits.back() == u'0') m_result.digits.pop_back();
    return m_result;
  }

 private:
  char16_t Peek() const { return m_pos < m_text.size() ? m_text[m_pos] : u'\0'; }
  bool Take(char16_t c) { return Peek() == c && ++m_pos; }

  void Digit(bool behindPoint) {
    const char16_t c = m_text[m_pos++];
    const bool leadingZero = m_result.digits.empty() && c == u'0';
    if (!leadingZero) m_result.digits += c;
    if (behindPoint && leadingZero) --m_result.exponent;
    if (!behindPoint && !leadingZero) ++m_result.exponent;
  }

  // False for an "e" without a number of at most 4 digits behind it.
  bool Exponent() {
    if (!Take(u'e') && !Take(u'E')) return true;
    m_result.plain = false;
    const bool negative = Take(u'-');
    if (!negative) Take(u'+');
    int value = 0;
    const size_t start = m_pos;
    for (; IsDigit(Peek()) && m_pos - start < 4; ++m_pos) value = value * 10 + (Peek() - u'0');
    m_result.exponent += negative ? -value : value;
    return m_pos > start;
  }

  std::u16string_view m_text;
  size_t m_pos = 0;
  Numeral m_result;
};

std::u16string Scaled(bool negative, int64_t number, int exponent) {
  return (negative ? u"-" : u"") + ToText(number) + u"e" + ToText(exponent);
}

// Half a unit of the fifteenth digit to both sides. Below a power of ten the digits are ten times as
// dense, so the lower side is nearer there.
NumeralBounds SpreadOf(const Numeral& numeral) {
  int64_t scaled = 0;
  for (size_t i = 0; i < kDigits; ++i) {
    scaled = scaled * 10 + (i < numeral.digits.size() ? numeral.digits[i] - u'0' : 0);
  }
  const int exponent = numeral.exponent - static_cast<int>(kDigits) - 1;
  const bool power = numeral.digits == u"1";
  const std::u16string inner = power ? Scaled(numeral.negative, scaled * 100 - 5, exponent - 1)
                                     : Scaled(numeral.negative, scaled * 10 - 5, exponent);
  const std::u16string outer = Scaled(numeral.negative, scaled * 10 + 5, exponent);
  return numeral.negative ? NumeralBounds{outer, inner} : NumeralBounds{inner, outer};
}

std::u16string Padded(std::u16string_view digits, size_t width) {
  return std::u16string(width - std::min(width, digits.size()), u'0') + std::u16string(digits);
}

// Numbers of up to `widths[i]` digits with `signs[i]` behind each but the last; the rest stays in `text`.
template <size_t N>
std::optional<std::u16string> Numbers(std::u16string_view& text, const std::array<size_t, N>& widths,
                                      char16_t sign, bool exact) {
  std::u16string result;
  for (size_t i = 0; i < N; ++i) {
    size_t length = 0;
    while (length < text.size() && length < widths[i] && IsDigit(text[length])) ++length;
    if (length == 0 || (exact && length != widths[i])) return std::nullopt;
    if (i > 0) result += sign;
    result += Padded(text.substr(0, length), widths[i]);
    text.remove_prefix(length);
    if (exact || i + 1 == N) continue;
    if (text.empty() || text.front() != sign) return std::nullopt;
    text.remove_prefix(1);
  }
  return result;
}

bool IsMidnight(const std::u16string& stored) { return stored.ends_with(u" 00:00:00"); }

// A comparison under way: what is compared, and how its literal is put down.
struct Comparing {
  const std::u16string& operand;
  const std::u16string& op;
  const LiteralTraits& traits;
  const std::function<std::u16string(LiteralForm)>& write;

  bool IsEqual() const { return op == u"=" || op == u"=="; }
  // The bound of an order comparison; nothing for an equality.
  std::optional<KeyComparison> Bound(LiteralForm low, LiteralForm high) const {
    if (op == u">" || op == u"<=") return KeyComparison{false, write(high)};
    if (op == u"<" || op == u">=") return KeyComparison{false, write(low)};
    return std::nullopt;
  }
};

// A numeric column: the numeral without its quotes, with the spread where values may have one.
KeyComparison CompareNumber(const Comparing& c) {
  if (!c.traits.hasSpread) return {false, c.write(LiteralForm::Number)};
  if (auto bound = c.Bound(LiteralForm::Low, LiteralForm::High)) return *bound;
  const std::u16string between = c.IsEqual() ? u" BETWEEN " : u" NOT BETWEEN ";
  const std::u16string low = c.write(LiteralForm::Low);
  return {true, u"(" + c.operand + between + low + u" AND " + c.write(LiteralForm::High) + u")"};
}

// A DATE column holds midnight with or without the time, so both texts count as the same day.
KeyComparison CompareDay(const Comparing& c) {
  if (auto bound = c.Bound(LiteralForm::Day, LiteralForm::Stored)) return *bound;
  const std::u16string in = c.IsEqual() ? u" IN (" : u" NOT IN (";
  const std::u16string day = c.write(LiteralForm::Day);
  return {true, c.operand + in + day + u", " + c.write(LiteralForm::Stored) + u")"};
}

std::optional<KeyComparison> CompareDate(ColumnKind kind, const Comparing& c) {
  if (!c.traits.isDate) return std::nullopt;
  if (kind == ColumnKind::DateOnly && c.traits.isMidnight) return CompareDay(c);
  if (c.traits.isStored) return std::nullopt;
  return KeyComparison{false, c.write(LiteralForm::Stored)};
}

// An expression or untyped column: what the value turns out to be decides.
KeyComparison CompareUnknown(const Comparing& c) {
  const std::u16string head = c.operand + u" " + c.op + u" ";
  const std::u16string text = head + c.write(LiteralForm::Text);
  const KeyComparison number = CompareNumber(c);
  return {true, u"(CASE typeof(" + c.operand + u") WHEN 'text' THEN " + text + u" ELSE " +
                    (number.whole ? number.text : head + number.text) + u" END)"};
}

// SQL's number as a value: an integer where it is one that fits.
BoundValue NumberValue(std::u16string_view text) {
  std::string digits;
  for (const char16_t c : text) digits += static_cast<char>(c);
  std::string_view rest(digits);
  if (rest.starts_with('+')) rest.remove_prefix(1);
  const char* end = rest.data() + rest.size();
  std::int64_t integer = 0;
  const auto whole = std::from_chars(rest.data(), end, integer);
  if (whole.ec == std::errc() && whole.ptr == end) return integer;
  double number = 0;
  if (std::from_chars(rest.data(), end, number).ec == std::errc::result_out_of_range) {
    const bool huge = digits.find("e-") == std::string::npos && digits.find("E-") == std::string::npos;
    const double limit = huge ? std::numeric_limits<double>::infinity() : 0;
    return rest.starts_with('-') ? -limit : limit;
  }
  return number;
}

}  // namespace

std::optional<NumeralBounds> BoundsOfNumeral(std::u16string_view text) {
  const std::u16string_view trimmed = Trim(text);
  const std::optional<Numeral> numeral = NumeralReader(trimmed).Read();
  if (!numeral) return std::nullopt;
  const std::u16string itself(trimmed);
  const bool spread = !numeral->digits.empty() && numeral->digits.size() <= kDigits;
  NumeralBounds bounds = spread ? SpreadOf(*numeral) : NumeralBounds{itself, itself};
  bounds.isInteger = numeral->plain && numeral->exponent <= static_cast<int>(kDigits);
  return bounds;
}

std::optional<std::u16string> StoredDate(std::u16string_view text) {
  std::u16string_view rest = Trim(text);
  const bool compact = rest.size() >= 8 && rest.find(u'-') == std::u16string_view::npos;
  std::optional<std::u16string> day = Numbers<3>(rest, {4, 2, 2}, u'-', compact);
  if (!day) return std::nullopt;
  if (rest.empty()) return *day + u" 00:00:00";
  if (rest.front() != u' ' && rest.front() != u'T') return std::nullopt;
  rest.remove_prefix(1);
  const std::optional<std::u16string> time = Numbers<3>(rest, {2, 2, 2}, u':', false);
  if (!time) return std::nullopt;
  if (!rest.empty() && rest.front() == u'.') {
    rest.remove_prefix(1);
    while (!rest.empty() && IsDigit(rest.front())) rest.remove_prefix(1);
  }
  if (!rest.empty()) return std::nullopt;
  return *day + u" " + *time;
}

LiteralTraits TraitsOf(std::u16string_view value) {
  LiteralTraits traits;
  const std::u16string_view trimmed = Trim(value);
  if (trimmed.empty()) return traits;
  const char16_t first = trimmed.front();
  if (first == u't' || first == u'T') traits.isTrue = UpperAscii(value) == u"TRUE";
  if (first == u'f' || first == u'F') traits.isFalse = UpperAscii(value) == u"FALSE";
  if (!IsDigit(first) && first != u'-' && first != u'+' && first != u'.') return traits;
  if (const std::optional<NumeralBounds> bounds = BoundsOfNumeral(value)) {
    traits.isNumeral = true;
    traits.isInteger = bounds->isInteger;
    traits.hasSpread = bounds->low != bounds->high;
  }
  if (const std::optional<std::u16string> stored = StoredDate(value)) {
    traits.isDate = true;
    traits.isMidnight = IsMidnight(*stored);
    traits.isStored = *stored == value;
  }
  return traits;
}

std::u16string LiteralSql(std::u16string_view value, LiteralForm form) {
  switch (form) {
    case LiteralForm::Text:
      return TextLiteral(value);
    case LiteralForm::Number:
      return std::u16string(Trim(value));
    case LiteralForm::Low:
      return BoundsOfNumeral(value)->low;
    case LiteralForm::High:
      return BoundsOfNumeral(value)->high;
    case LiteralForm::Stored:
      return TextLiteral(*StoredDate(value));
    case LiteralForm::Regex:
      return TextLiteral(PatternAsRegex(value));
    case LiteralForm::Day:
      break;
  }
  return TextLiteral(StoredDate(value)->substr(0, 10));
}

BoundValue LiteralValue(std::u16string_view value, LiteralForm form) {
  switch (form) {
    case LiteralForm::Text:
      return varnel::ToUtf8(value);
    case LiteralForm::Stored:
      return varnel::ToUtf8(*StoredDate(value));
    case LiteralForm::Day:
      return varnel::ToUtf8(StoredDate(value)->substr(0, 10));
    case LiteralForm::Regex:
      return varnel::ToUtf8(PatternAsRegex(value));
    default:
      return NumberValue(LiteralSql(value, form));
  }
}

std::optional<KeyComparison> CompareWithText(ColumnKind kind, const std::u16string& operand,
                                             const std::u16string& op, std::u16string_view value) {
  return CompareWithText(kind, operand, op, TraitsOf(value),
                         [&](LiteralForm form) { return LiteralSql(value, form); });
}

std::optional<KeyComparison> CompareWithText(ColumnKind kind, const std::u16string& operand,
                                             const std::u16string& op, const LiteralTraits& traits,
                                             const std::function<std::u16string(LiteralForm)>& write) {
  const Comparing comparing{operand, op, traits, write};
  if (kind == ColumnKind::Text) return std::nullopt;
  if (kind == ColumnKind::Date || kind == ColumnKind::DateOnly) return CompareDate(kind, comparing);
  if (kind == ColumnKind::Boolean && traits.isTrue) return KeyComparison{false, u"1"};
  if (kind == ColumnKind::Boolean && traits.isFalse) return KeyComparison{false, u"0"};
  if (!traits.isNumeral) return std::nullopt;
  if (kind == ColumnKind::Unknown || kind == ColumnKind::Blob) return CompareUnknown(comparing);
  if (kind != ColumnKind::Real && traits.isInteger) return KeyComparison{false, write(LiteralForm::Number)};
  return CompareNumber(comparing);
}

}  // namespace hostlinux
