// Text as the library keeps it: UTF-16, one unit per character, and the small text tools that its rules
// are written with. A blank is character 32 and nothing else.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace varnel {

using String = std::u16string;
using StringView = std::u16string_view;

using Byte = std::uint8_t;     // 8 bit, unsigned
using Integer = std::int16_t;  // 16 bit
using Long = std::int32_t;     // 32 bit

// Carriage return and line feed.
inline constexpr StringView kCrLf = u"\r\n";

// Without the blanks at both ends, at the left, at the right.
String Trim(StringView text);
String TrimLeft(StringView text);
String TrimRight(StringView text);

// The pieces between the separators; the empty text has no piece at all.
std::vector<String> Split(StringView text, StringView separator);

// Every occurrence of `what` becomes `with`, from left to right.
String Replace(StringView text, StringView what, StringView with);

char16_t FoldCaseBeyondAscii(char16_t unit);
// One unit in lower case: the simple, one-to-one foldings of Latin, Greek and Cyrillic.
inline char16_t FoldCase(char16_t unit) {
  if (unit < 0x80) return unit >= u'A' && unit <= u'Z' ? static_cast<char16_t>(unit + 32) : unit;
  return FoldCaseBeyondAscii(unit);
}
String ToLower(StringView text);
String ToUpper(StringView text);

// True if the texts are the same but for the case of letters.
bool EqualsNoCase(StringView left, StringView right);

// The first position (from 0) of `what` at or behind `from`, ignoring case; String::npos if there is none.
std::size_t FindNoCase(StringView text, StringView what, std::size_t from = 0);

// A whole number as decimal text, and as upper-case hexadecimal text of its 32-bit pattern.
String DecimalText(std::int64_t value);
void AppendDecimal(String& target, std::int64_t value);
// Writes it to `target`, which has room for the 20 characters of the longest, and gives how many they are.
std::size_t WriteDecimal(char16_t* target, std::int64_t value);
String HexText(Long value);

// UTF-8 to text and back. Bytes that are no UTF-8 become U+FFFD, one for each bad byte; a lone surrogate
// becomes U+FFFD on the way out.
String FromUtf8(std::string_view bytes);
std::string ToUtf8(StringView text);
void AppendUtf8(std::string& target, StringView text);

}  // namespace varnel
