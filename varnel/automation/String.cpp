#include "varnel/automation/String.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <type_traits>

namespace varnel {

namespace {

StringView WithoutBlanksAtLeft(StringView text) {
  return text.substr(std::min(text.find_first_not_of(u' '), text.size()));
}

// Behind the last position counts as no position, and 0 is what adding 1 to that gives.
StringView WithoutBlanksAtRight(StringView text) { return text.substr(0, text.find_last_not_of(u' ') + 1); }

}  // namespace

String TrimLeft(StringView text) { return String(WithoutBlanksAtLeft(text)); }
String TrimRight(StringView text) { return String(WithoutBlanksAtRight(text)); }
String Trim(StringView text) { return String(WithoutBlanksAtLeft(WithoutBlanksAtRight(text))); }

std::vector<String> Split(StringView text, StringView separator) {
  std::vector<String> pieces;
  if (text.empty()) return pieces;
  std::size_t start = 0;
  for (;;) {
    const auto end = text.find(separator, start);
    if (end == StringView::npos) break;
    pieces.emplace_back(text.substr(start, end - start));
    start = end + separator.size();
  }
  pieces.emplace_back(text.substr(start));
  return pieces;
}

String Replace(StringView text, StringView what, StringView with) {
  if (what.empty()) return String(text);
  String result;
  std::size_t start = 0;
  for (;;) {
    const auto found = text.find(what, start);
    if (found == StringView::npos) break;
    result.append(text.substr(start, found - start)).append(with);
    start = found + what.size();
  }
  return result.append(text.substr(start));
}

namespace {

bool InRange(char16_t unit, char16_t first, char16_t last) { return unit >= first && unit <= last; }

// Latin Extended-A runs in pairs of capital and small letter; in some runs the capital is even, in others
// odd.
bool IsPairedCapital(char16_t unit) {
  const bool even = unit % 2 == 0;
  if (InRange(unit, 0x0100, 0x0136)) return even && unit != 0x0130;
  if (InRange(unit, 0x0139, 0x0147)) return !even;
  if (InRange(unit, 0x014A, 0x0176)) return even;
  if (InRange(unit, 0x0179, 0x017D)) return !even;
  if (InRange(unit, 0x0460, 0x0480) || InRange(unit, 0x048A, 0x04BE)) return even;
  if (InRange(unit, 0x04D0, 0x052E) || InRange(unit, 0x1E00, 0x1E94) || InRange(unit, 0x1EA0, 0x1EFE))
    return even;
  return false;
}

char16_t Shifted(char16_t unit, int by) { return static_cast<char16_t>(unit + by); }

}  // namespace

char16_t FoldCaseBeyondAscii(char16_t unit) {
  if (unit < 0x00C0) return unit;
  if (InRange(unit, 0x00C0, 0x00DE) && unit != 0x00D7) return Shifted(unit, 32);
  if (unit == 0x0178) return 0x00FF;
  if (IsPairedCapital(unit)) return Shifted(unit, 1);
  if (unit == 0x0386) return 0x03AC;
  if (InRange(unit, 0x0388, 0x038A)) return Shifted(unit, 37);
  if (unit == 0x038C) return 0x03CC;
  if (unit == 0x038E || unit == 0x038F) return Shifted(unit, 63);
  if (InRange(unit, 0x0391, 0x03AB) && unit != 0x03A2) return Shifted(unit, 32);
  if (InRange(unit, 0x0400, 0x040F)) return Shifted(unit, 80);
  if (InRange(unit, 0x0410, 0x042F)) return Shifted(unit, 32);
  return unit;
}

String ToLower(StringView text) {
  String result(text);
  std::transform(result.begin(), result.end(), result.begin(), FoldCase);
  return result;
}

namespace {

// The capital whose folding gives this unit, or the unit itself.
char16_t RaiseCase(char16_t unit) {
  if (InRange(unit, u'a', u'z')) return Shifted(unit, -32);
  if (unit < 0x00E0) return unit;
  for (const int distance : {-32, -1, 121, -38, -37, -64, -63, -80}) {
    const char16_t capital = Shifted(unit, distance);
    if (capital != unit && FoldCase(capital) == unit) return capital;
  }
  return unit;
}

}  // namespace

String ToUpper(StringView text) {
  String result(text);
  std::transform(result.begin(), result.end(), result.begin(), RaiseCase);
  return result;
}

bool EqualsNoCase(StringView left, StringView right) {
  if (left.size() != right.size()) return false;
  if (left.empty()) return true;
  // Most names are spelled alike.
  if (std::memcmp(left.data(), right.data(), left.size() * sizeof(char16_t)) == 0) return true;
  return std::equal(left.begin(), left.end(), right.begin(),
                    [](char16_t a, char16_t b) { return a == b || FoldCase(a) == FoldCase(b); });
}

std::size_t FindNoCase(StringView text, StringView what, std::size_t from) {
  for (std::size_t at = from; at + what.size() <= text.size(); ++at) {
    if (EqualsNoCase(text.substr(at, what.size()), what)) return at;
  }
  return String::npos;
}

namespace {

constexpr std::size_t kMostDigits = 20;  // -9223372036854775808

void AppendAscii(String& target, std::string_view ascii) {
  const std::size_t before = target.size();
  target.resize(before + ascii.size());
  std::copy(ascii.begin(), ascii.end(), target.begin() + static_cast<std::ptrdiff_t>(before));
}

}  // namespace

std::size_t WriteDecimal(char16_t* target, std::int64_t value) {
  char16_t* const start = target;
  // Most are codes of characters.
  if (value >= 0 && value < 1000) {
    const auto small = static_cast<unsigned>(value);
    if (small >= 100) *target++ = static_cast<char16_t>(u'0' + small / 100);
    if (small >= 10) *target++ = static_cast<char16_t>(u'0' + small / 10 % 10);
    *target++ = static_cast<char16_t>(u'0' + small % 10);
    return static_cast<std::size_t>(target - start);
  }
  std::array<char16_t, kMostDigits> units;
  auto first = units.end();
  auto rest = value < 0 ? 0 - static_cast<std::uint64_t>(value) : static_cast<std::uint64_t>(value);
  do {
    *--first = static_cast<char16_t>(u'0' + rest % 10);
    rest /= 10;
  } while (rest != 0);
  if (value < 0) *--first = u'-';
  return static_cast<std::size_t>(std::copy(first, units.end(), target) - start);
}

void AppendDecimal(String& target, std::int64_t value) {
  std::array<char16_t, kMostDigits> units;
  target.append(units.data(), WriteDecimal(units.data(), value));
}

String DecimalText(std::int64_t value) {
  String text;
  AppendDecimal(text, value);
  return text;
}

String HexText(Long value) {
  String result;
  auto rest = static_cast<std::uint32_t>(value);
  do {
    result.insert(result.begin(), u"0123456789ABCDEF"[rest % 16]);
    rest /= 16;
  } while (rest != 0);
  return result;
}

namespace {

constexpr char16_t kReplacement = 0xFFFD;

struct Decoded {
  char32_t code;
  std::size_t length;  // 0 if the bytes are no UTF-8
};

bool IsContinuation(unsigned char byte) { return (byte & 0xC0) == 0x80; }

Decoded DecodeOne(std::string_view bytes) {
  const auto at = [&](std::size_t i) { return static_cast<unsigned char>(bytes[i]); };
  const unsigned char lead = at(0);
  const std::size_t length = lead >= 0xF0 && lead <= 0xF4   ? 4
                             : lead >= 0xE0 && lead <= 0xEF ? 3
                             : lead >= 0xC2 && lead <= 0xDF ? 2
                                                            : 0;
  if (length == 0 || bytes.size() < length) return {0, 0};
  char32_t code = lead & (0xFFU >> (length + 1));
  for (std::size_t i = 1; i < length; ++i) {
    if (!IsContinuation(at(i))) return {0, 0};
    code = (code << 6) | (at(i) & 0x3FU);
  }
  const bool overlong = (length == 3 && code < 0x800) || (length == 4 && code < 0x10000);
  const bool surrogate = code >= 0xD800 && code <= 0xDFFF;
  if (overlong || surrogate || code > 0x10FFFF) return {0, 0};
  return {code, length};
}

void AppendUnits(String& target, char32_t code) {
  if (code < 0x10000) {
    target.push_back(static_cast<char16_t>(code));
    return;
  }
  code -= 0x10000;
  target.push_back(static_cast<char16_t>(0xD800 + (code >> 10)));
  target.push_back(static_cast<char16_t>(0xDC00 + (code & 0x3FF)));
}

void AppendBytes(std::string& target, char32_t code) {
  const auto push = [&](char32_t byte) {
    target.push_back(static_cast<char>(static_cast<unsigned char>(byte)));
  };
  if (code < 0x80) {
    push(code);
  } else if (code < 0x800) {
    push(0xC0 | (code >> 6));
    push(0x80 | (code & 0x3F));
  } else if (code < 0x10000) {
    push(0xE0 | (code >> 12));
    push(0x80 | ((code >> 6) & 0x3F));
    push(0x80 | (code & 0x3F));
  } else {
    push(0xF0 | (code >> 18));
    push(0x80 | ((code >> 12) & 0x3F));
    push(0x80 | ((code >> 6) & 0x3F));
    push(0x80 | (code & 0x3F));
  }
}

// How many characters from `from` on are ASCII: the most of nearly all texts, copied in one go. They are
// looked at in blocks, whose units are judged together, as whole words of the machine.
constexpr std::size_t kAsciiBlock = 16;

template <typename Text>
std::size_t AsciiLength(const Text& text, std::size_t from) {
  using Unit = std::make_unsigned_t<typename Text::value_type>;
  constexpr std::size_t kWords = kAsciiBlock * sizeof(Unit) / sizeof(std::uint64_t);
  constexpr std::uint64_t kBeyond = sizeof(Unit) == 1 ? 0x8080808080808080 : 0xFF80FF80FF80FF80;
  std::size_t end = from;
  for (; end + kAsciiBlock <= text.size(); end += kAsciiBlock) {
    std::array<std::uint64_t, kWords> words;
    std::memcpy(words.data(), text.data() + end, sizeof(words));
    std::uint64_t bits = words[0] | words[1];
    if constexpr (kWords == 4) bits |= words[2] | words[3];
    if ((bits & kBeyond) != 0) break;
  }
  while (end < text.size() && static_cast<Unit>(text[end]) < 0x80) ++end;
  return end - from;
}

}  // namespace

String FromUtf8(std::string_view bytes) {
  String result;
  result.reserve(bytes.size());
  for (std::size_t i = 0; i < bytes.size();) {
    if (const std::size_t plain = AsciiLength(bytes, i); plain > 0) {
      AppendAscii(result, bytes.substr(i, plain));
      i += plain;
      continue;
    }
    const Decoded decoded = DecodeOne(bytes.substr(i));
    if (decoded.length == 0) {
      result.push_back(kReplacement);
      ++i;
      continue;
    }
    AppendUnits(result, decoded.code);
    i += decoded.length;
  }
  return result;
}

namespace {

// Appends the ASCII characters from `from` on, and gives how many there are.
std::size_t AppendPlain(std::string& target, StringView text, std::size_t from) {
  const std::size_t count = AsciiLength(text, from);
  const std::size_t before = target.size();
  target.resize(before + count);
  char* to = target.data() + before;
  std::size_t done = 0;
  for (; done + kAsciiBlock <= count; done += kAsciiBlock) {
    // Taken as a whole, then written: what is written can't be what is still to be read.
    std::array<char, kAsciiBlock> block;
    for (std::size_t i = 0; i < kAsciiBlock; ++i) block[i] = static_cast<char>(text[from + done + i]);
    std::copy(block.begin(), block.end(), to + done);
  }
  for (; done < count; ++done) to[done] = static_cast<char>(text[from + done]);
  return count;
}

}  // namespace

void AppendUtf8(std::string& target, StringView text) {
  for (std::size_t i = 0; i < text.size(); ++i) {
    i += AppendPlain(target, text, i);
    if (i == text.size()) return;
    const char16_t unit = text[i];
    const bool high = InRange(unit, 0xD800, 0xDBFF);
    const bool paired = high && i + 1 < text.size() && InRange(text[i + 1], 0xDC00, 0xDFFF);
    if (paired) {
      const char32_t code =
          0x10000 + ((static_cast<char32_t>(unit) - 0xD800) << 10) + (text[i + 1] - 0xDC00U);
      AppendBytes(target, code);
      ++i;
    } else {
      AppendBytes(target, InRange(unit, 0xD800, 0xDFFF) ? kReplacement : unit);
    }
  }
}

std::string ToUtf8(StringView text) {
  std::string result;
  AppendUtf8(result, text);
  return result;
}

}  // namespace varnel
