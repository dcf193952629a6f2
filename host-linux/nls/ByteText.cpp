#include "host-linux/nls/ByteText.h"

#include <algorithm>
#include <map>
#include <optional>

#include "host-linux/nls/SiteCodePages.h"

namespace hostlinux {

using varnel::String;
using varnel::StringView;

namespace {

constexpr char16_t kReplacement = 0xFFFD;
constexpr char16_t kNoBreakSpace = 0x00A0;

bool IsAscii(char16_t unit) { return unit < 0x80; }
unsigned char CodeOf(char byte) { return static_cast<unsigned char>(byte); }

// Making a table asks iconv for each byte, so a thread keeps it. There are few: those of the locales and the
// site's.
const ByteTable* TableOf(int codePage) {
  thread_local std::map<int, std::optional<ByteTable>> tables;
  auto found = tables.find(codePage);
  if (found == tables.end()) found = tables.emplace(codePage, MakeByteTable(codePage)).first;
  return found->second ? &*found->second : nullptr;
}

// The byte of a character; empty where the page has none.
std::optional<char> ByteOf(const ByteTable* table, char16_t unit) {
  if (table == nullptr) return std::nullopt;
  const auto found = std::find(table->begin() + 0x80, table->end(), unit);
  return found == table->end() ? std::nullopt : std::optional(static_cast<char>(found - table->begin()));
}

bool IsWideBlank(char16_t unit) {
  return unit == kNoBreakSpace || unit == 0x202F || (unit >= 0x2000 && unit <= 0x200A);
}

char Written(const ByteTable* table, char16_t unit) {
  if (IsAscii(unit)) return static_cast<char>(unit);
  if (const auto byte = ByteOf(table, unit)) return *byte;
  return IsWideBlank(unit) ? ByteOf(table, kNoBreakSpace).value_or(' ') : '?';
}

bool IsSecondHalf(StringView text, std::size_t i) {
  const auto isHigh = [](char16_t unit) { return unit >= 0xD800 && unit <= 0xDBFF; };
  return i > 0 && text[i] >= 0xDC00 && text[i] <= 0xDFFF && isHigh(text[i - 1]);
}

}  // namespace

std::string ToCodePage(StringView text, int codePage) {
  if (std::all_of(text.begin(), text.end(), IsAscii)) return {text.begin(), text.end()};
  const ByteTable* table = TableOf(codePage);
  std::string bytes;
  for (std::size_t i = 0; i < text.size(); ++i) {
    if (!IsSecondHalf(text, i)) bytes += Written(table, text[i]);  // a pair is one character
  }
  return bytes;
}

String FromCodePage(std::string_view bytes, int codePage) {
  const auto isAscii = [](char byte) { return CodeOf(byte) < 0x80; };
  if (std::all_of(bytes.begin(), bytes.end(), isAscii)) return {bytes.begin(), bytes.end()};
  const ByteTable* table = TableOf(codePage);
  String text;
  for (const char byte : bytes) {
    const char16_t otherwise = isAscii(byte) ? char16_t{CodeOf(byte)} : kReplacement;
    text += table == nullptr ? otherwise : (*table)[CodeOf(byte)];
  }
  return text;
}

}  // namespace hostlinux
