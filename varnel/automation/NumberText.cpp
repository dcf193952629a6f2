// Numbers to text and back.
#include <array>
#include <charconv>
#include <cmath>
#include <cstdlib>
#include <string>
#include <string_view>

#include "varnel/automation/Convert.h"
#include "varnel/automation/Error.h"
#include "varnel/automation/LocaleFacts.h"

namespace varnel {

namespace {

constexpr int kMostDigits = 15;

// Up to 15 significant digits of a number above 0, without trailing zeros, and the power of ten of the first one.
class Significand {
 public:
  explicit Significand(double value) {
    // "1.23400000000000e+05"
    const char* const end = std::to_chars(m_text.data(), m_text.data() + m_text.size(), value,
                                          std::chars_format::scientific, kMostDigits - 1)
                                .ptr;
    m_text[1] = m_text[0];
    const char* power = m_text.data() + kMostDigits + 2;
    const bool negative = *power++ == '-';
    std::from_chars(power, end, m_exponent);
    if (negative) m_exponent = -m_exponent;
    while (m_text[m_count] == '0') --m_count;
  }

  std::string_view Digits() const { return {m_text.data() + 1, m_count}; }
  int Exponent() const { return m_exponent; }

 private:
  std::array<char, 32> m_text{};
  std::size_t m_count = kMostDigits;
  int m_exponent = 0;
};

// Sets the point among the digits: plain decimal, whatever the size of the number.
std::string PlainDecimal(const Significand& number) {
  std::string plain(number.Digits());
  const int count = static_cast<int>(plain.size());
  const int pointAt = number.Exponent() + 1;
  if (pointAt <= 0) return "0." + std::string(static_cast<std::size_t>(-pointAt), '0') + plain;
  if (pointAt < count) {
    plain.insert(static_cast<std::size_t>(pointAt), 1, '.');
  } else {
    plain.append(static_cast<std::size_t>(pointAt - count), '0');
  }
  return plain;
}

// The same without a digit in front of a leading point.
std::string WithoutLeadingZero(const std::string& plain) {
  return plain.starts_with("0.") ? plain.substr(1) : plain;
}

// One digit, the others behind the point, and a power of ten of at least two digits.
std::string WithExponent(const Significand& number) {
  std::string digits(number.Digits());
  if (digits.size() > 1) digits.insert(1, 1, '.');
  const std::string power = std::to_string(std::abs(number.Exponent()));
  return digits + (number.Exponent() < 0 ? "E-" : "E+") + (power.size() < 2 ? "0" : "") + power;
}

// Plain decimal while 15 digits before the point and 15 behind it are enough.
std::string ShortDecimal(const Significand& number) {
  const int decimals = static_cast<int>(number.Digits().size()) - 1 - number.Exponent();
  const bool plain = number.Exponent() < kMostDigits && decimals <= kMostDigits;
  return plain ? WithoutLeadingZero(PlainDecimal(number)) : WithExponent(number);
}

void RequireNumber(double value) {
  if (std::isnan(value) || std::isinf(value)) RaiseRuntimeError(runtime_error::kOverflow);
}

bool IsDigit(char16_t unit) { return unit >= u'0' && unit <= u'9'; }

// Reads a number from the left; every step takes what it knows and leaves the rest.
class NumberReader {
 public:
  explicit NumberReader(StringView text) : m_text(Trim(text)), m_rest(m_text) {}

  double Read() {
    if (m_rest.size() > 1 && m_rest[0] == u'&') return ReadRadix();
    const bool bracketed = Take(u"(");
    const bool negative = TakeSigns();
    if (bracketed && m_signed) Mismatch();
    std::string plain = TakeDigits(true);
    if (Take(UserLocale().decimal)) plain += "." + TakeDigits(false);
    if (plain.find_first_of("0123456789") == std::string::npos) Mismatch();
    plain += TakeExponent();
    SkipBlanks();
    TakeCurrency();
    const bool trailingMinus = !m_signed && !bracketed && Take(u"-");
    if (bracketed && !Take(u")")) Mismatch();
    if (!m_rest.empty()) Mismatch();
    const double value = Value(plain);
    return negative || bracketed || trailingMinus ? -value : value;
  }

 private:
  [[noreturn]] static void Mismatch() { RaiseRuntimeError(runtime_error::kTypeMismatch); }

  bool Take(StringView piece) {
    if (piece.empty() || !m_rest.starts_with(piece)) return false;
    m_rest.remove_prefix(piece.size());
    return true;
  }

  void SkipBlanks() {
    while (m_rest.starts_with(u' ')) m_rest.remove_prefix(1);
  }

  // The currency symbol stands in front of the number, behind its sign or at the end, but only once.
  void TakeCurrency() {
    if (!m_priced) m_priced = Take(UserLocale().currency);
    SkipBlanks();
  }

  // True if the number has a minus in front.
  bool TakeSigns() {
    SkipBlanks();
    TakeCurrency();
    const bool negative = Take(u"-");
    m_signed = negative || Take(u"+");
    SkipBlanks();
    TakeCurrency();
    return negative;
  }

  std::string TakeDigits(bool grouped) {
    std::string digits;
    while (!m_rest.empty()) {
      if (IsDigit(m_rest[0])) {
        digits.push_back(static_cast<char>(m_rest[0]));
        m_rest.remove_prefix(1);
      } else if (!grouped || digits.empty() || !TakeGroupMark()) {
        break;
      }
    }
    return digits;
  }

  // A separator of thousands counts only in front of a digit, and not where it is the decimal point too.
  bool TakeGroupMark() {
    const String& mark = UserLocale().thousand;
    const bool found = !mark.empty() && mark != UserLocale().decimal && m_rest.starts_with(mark) &&
                       m_rest.size() > mark.size() && IsDigit(m_rest[mark.size()]);
    return found && Take(mark);
  }

  // An exponent has digits: a currency may begin with its letter ("5den").
  std::string TakeExponent() {
    if (m_rest.empty() || StringView(u"eEdD").find(m_rest[0]) == StringView::npos) return {};
    const std::size_t signs = m_rest.size() > 1 && (m_rest[1] == u'-' || m_rest[1] == u'+') ? 1 : 0;
    if (m_rest.size() <= 1 + signs || !IsDigit(m_rest[1 + signs])) return {};
    const bool negative = m_rest[1] == u'-';
    m_rest.remove_prefix(1 + signs);
    return (negative ? "e-" : "e") + TakeDigits(false);
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
    const std::string digits = ToUtf8(m_rest.substr(2));
    std::uint32_t pattern = 0;
    const auto result =
        std::from_chars(digits.data(), digits.data() + digits.size(), pattern, hexadecimal ? 16 : 8);
    if (result.ec == std::errc::result_out_of_range) RaiseRuntimeError(runtime_error::kOverflow);
    if (result.ec != std::errc() || result.ptr != digits.data() + digits.size()) Mismatch();
    return pattern <= 0xFFFF ? static_cast<Integer>(pattern) : static_cast<Long>(pattern);
  }

  String m_text;
  StringView m_rest;      // of m_text: what isn't read yet
  bool m_signed = false;  // a sign was taken in front
  bool m_priced = false;  // the currency symbol was taken
};

}  // namespace

String NumberText(double value) {
  RequireNumber(value);
  if (value == 0) return u"0";
  const std::string plain = PlainDecimal(Significand(std::fabs(value)));
  String text;
  text.reserve(plain.size() + 1);
  if (value < 0) text += u'-';
  for (const char c : plain) text += static_cast<char16_t>(c);
  return text;
}

String SignedNumberText(double value) {
  RequireNumber(value);
  if (value == 0) return u" 0";
  const std::string text = (value < 0 ? "-" : " ") + ShortDecimal(Significand(std::fabs(value)));
  return String(text.begin(), text.end());
}

double ParseNumber(StringView text) { return NumberReader(text).Read(); }

}  // namespace varnel
