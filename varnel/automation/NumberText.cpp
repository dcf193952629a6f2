// Numbers to text and back.
#include <charconv>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <string>

#include "varnel/automation/Convert.h"
#include "varnel/automation/Error.h"
#include "varnel/automation/LocaleFacts.h"

namespace varnel {

namespace {

// Up to 15 significant digits without trailing zeros, and the power of ten of the first one.
struct Significand {
  std::string digits;
  int exponent;
};

Significand SignificandOf(double value) {
  char buffer[32];
  std::snprintf(buffer, sizeof buffer, "%.14e", value);
  const std::string text(buffer);
  const auto mark = text.find('e');
  std::string digits = text.substr(0, 1) + text.substr(2, mark - 2);
  digits.erase(digits.find_last_not_of('0') + 1);
  return {digits, std::atoi(text.c_str() + mark + 1)};
}

// Sets the point among the digits: plain decimal, whatever the size of the number.
std::string PlainDecimal(const Significand& number) {
  const auto& digits = number.digits;
  const int count = static_cast<int>(digits.size());
  const int pointAt = number.exponent + 1;
  if (pointAt <= 0) return "0." + std::string(static_cast<std::size_t>(-pointAt), '0') + digits;
  if (pointAt >= count) return digits + std::string(static_cast<std::size_t>(pointAt - count), '0');
  const auto at = static_cast<std::size_t>(pointAt);
  return digits.substr(0, at) + "." + digits.substr(at);
}

bool IsDigit(char16_t unit) { return unit >= u'0' && unit <= u'9'; }

// Reads a number from the left; every step takes what it knows and leaves the rest.
class NumberReader {
 public:
  explicit NumberReader(StringView text) : m_rest(Trim(text)) {}

  double Read() {
    if (m_rest.size() > 1 && m_rest[0] == u'&') return ReadRadix();
    const bool bracketed = Take(u"(");
    const bool negative = TakeSigns();
    std::string plain = TakeDigits(true);
    if (Take(UserLocale().decimal)) plain += "." + TakeDigits(false);
    if (plain.find_first_of("0123456789") == std::string::npos) Mismatch();
    plain += TakeExponent();
    SkipBlanks();
    Take(UserLocale().currency);
    SkipBlanks();
    const bool trailingMinus = !negative && !bracketed && Take(u"-");
    if (bracketed && !Take(u")")) Mismatch();
    if (!m_rest.empty()) Mismatch();
    const double value = Value(plain);
    return negative || bracketed || trailingMinus ? -value : value;
  }

 private:
  [[noreturn]] static void Mismatch() { RaiseRuntimeError(runtime_error::kTypeMismatch); }

  bool Take(StringView piece) {
    if (piece.empty() || !m_rest.starts_with(piece)) return false;
    m_rest.erase(0, piece.size());
    return true;
  }

  void SkipBlanks() { m_rest = TrimLeft(m_rest); }

  // A sign and the currency symbol stand in either order, each at most once.
  bool TakeSigns() {
    Take(UserLocale().currency);
    SkipBlanks();
    const bool negative = Take(u"-");
    if (!negative) Take(u"+");
    SkipBlanks();
    Take(UserLocale().currency);
    SkipBlanks();
    return negative;
  }

  std::string TakeDigits(bool grouped) {
    std::string digits;
    while (!m_rest.empty()) {
      if (IsDigit(m_rest[0])) {
        digits.push_back(static_cast<char>(m_rest[0]));
        m_rest.erase(0, 1);
      } else if (!grouped || digits.empty() || !TakeGroupMark()) {
        break;
      }
    }
    return digits;
  }

  // A separator of thousands counts only in front of a digit.
  bool TakeGroupMark() {
    const String& mark = UserLocale().thousand;
    const bool found = !mark.empty() && m_rest.starts_with(mark) && m_rest.size() > mark.size() &&
                       IsDigit(m_rest[mark.size()]);
    return found && Take(mark);
  }

  std::string TakeExponent() {
    const bool marked =
        !m_rest.empty() && (m_rest[0] == u'e' || m_rest[0] == u'E' || m_rest[0] == u'd' || m_rest[0] == u'D');
    if (!marked) return {};
    m_rest.erase(0, 1);
    std::string exponent = "e";
    if (Take(u"-")) exponent += "-";
    Take(u"+");
    const std::string digits = TakeDigits(false);
    if (digits.empty()) Mismatch();
    return exponent + digits;
  }

  static double Value(const std::string& plain) {
    double value = 0;
    const char* first = plain.data();
    const auto result = std::from_chars(first, first + plain.size(), value);
    if (result.ec == std::errc::result_out_of_range) {
      value = std::strtod(plain.c_str(), nullptr);  // tells too large from too small
      if (std::isinf(value)) RaiseRuntimeError(runtime_error::kOverflow);
    }
    return value;
  }

  // &H1F and &O17: the 16-bit or 32-bit pattern of the digits.
  double ReadRadix() {
    const bool hexadecimal = m_rest[1] == u'H' || m_rest[1] == u'h';
    if (!hexadecimal && m_rest[1] != u'O' && m_rest[1] != u'o') Mismatch();
    const std::string digits = ToUtf8(StringView(m_rest).substr(2));
    std::uint32_t pattern = 0;
    const auto result =
        std::from_chars(digits.data(), digits.data() + digits.size(), pattern, hexadecimal ? 16 : 8);
    if (result.ec == std::errc::result_out_of_range) RaiseRuntimeError(runtime_error::kOverflow);
    if (result.ec != std::errc() || result.ptr != digits.data() + digits.size()) Mismatch();
    return pattern <= 0xFFFF ? static_cast<Integer>(pattern) : static_cast<Long>(pattern);
  }

  String m_rest;
};

}  // namespace

String NumberText(double value) {
  if (std::isnan(value) || std::isinf(value)) RaiseRuntimeError(runtime_error::kOverflow);
  if (value == 0) return u"0";
  const std::string plain = (value < 0 ? "-" : "") + PlainDecimal(SignificandOf(std::fabs(value)));
  return String(plain.begin(), plain.end());
}

double ParseNumber(StringView text) { return NumberReader(text).Read(); }

}  // namespace varnel
