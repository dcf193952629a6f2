#include "host-linux/nls/CodePages.h"

#include <iconv.h>

#include <algorithm>
#include <cerrno>
#include <cstdint>
#include <map>

namespace hostlinux {

using varnel::String;
using varnel::StringView;

namespace {

constexpr char16_t kReplacement = 0xFFFD;
constexpr char16_t kNoBreakSpace = 0x00A0;

std::string NameOf(int codePage) { return codePage == 65001 ? "UTF-8" : "CP" + std::to_string(codePage); }

// One direction of one code page. Opening takes long, so a thread keeps what it has opened.
class Converter {
 public:
  Converter(const std::string& to, const std::string& from)
      : m_handle(iconv_open(to.c_str(), from.c_str())) {}
  ~Converter() {
    if (IsOpen()) iconv_close(m_handle);
  }
  Converter(const Converter&) = delete;
  Converter& operator=(const Converter&) = delete;

  // iconv_open tells a failure by a pointer of -1.
  bool IsOpen() const { return reinterpret_cast<std::intptr_t>(m_handle) != -1; }

  // Converts from the start of `input` as far as it goes, and takes that off.
  std::string Convert(std::string_view& input) {
    std::string output;
    char* from = const_cast<char*>(input.data());  // only read
    std::size_t left = input.size();
    for (bool full = IsOpen(); full;) {
      char piece[256];
      char* to = piece;
      std::size_t room = sizeof piece;
      full = iconv(m_handle, &from, &left, &to, &room) == static_cast<std::size_t>(-1) && errno == E2BIG;
      output.append(piece, to);
    }
    if (IsOpen()) iconv(m_handle, nullptr, nullptr, nullptr, nullptr);
    input.remove_prefix(input.size() - left);
    return output;
  }

 private:
  iconv_t m_handle;
};

Converter& ToBytes(int codePage) {
  thread_local std::map<int, Converter> opened;
  return opened.try_emplace(codePage, NameOf(codePage), "UTF-16LE").first->second;
}

Converter& ToUnits(int codePage) {
  thread_local std::map<int, Converter> opened;
  return opened.try_emplace(codePage, "UTF-16LE", NameOf(codePage)).first->second;
}

std::string_view BytesOf(StringView text) {
  return {reinterpret_cast<const char*>(text.data()), text.size() * sizeof(char16_t)};
}

bool IsHighSurrogate(char16_t unit) { return unit >= 0xD800 && unit <= 0xDBFF; }
bool IsLowSurrogate(char16_t unit) { return unit >= 0xDC00 && unit <= 0xDFFF; }
bool IsWideBlank(char16_t unit) {
  return unit == kNoBreakSpace || unit == 0x202F || (unit >= 0x2000 && unit <= 0x200A);
}

// What stands for the first character of `text`, which `converter` can't write.
std::string InsteadOf(char16_t unit, Converter& converter) {
  if (!IsWideBlank(unit)) return "?";
  std::string_view blank = BytesOf({&kNoBreakSpace, 1});
  const std::string bytes = converter.Convert(blank);
  return blank.empty() ? bytes : " ";
}

}  // namespace

bool IsAscii(StringView text) {
  return std::all_of(text.begin(), text.end(), [](char16_t unit) { return unit < 0x80; });
}

bool HasCodePage(int codePage) {
  return Converter("UTF-16LE", NameOf(codePage)).IsOpen() && Converter(NameOf(codePage), "UTF-16LE").IsOpen();
}

std::string ToCodePage(StringView text, int codePage) {
  if (IsAscii(text)) return {text.begin(), text.end()};
  Converter& converter = ToBytes(codePage);
  std::string result;
  while (!text.empty()) {
    std::string_view rest = BytesOf(text);
    result += converter.Convert(rest);
    text.remove_prefix(text.size() - rest.size() / sizeof(char16_t));
    if (text.empty()) break;
    result += text[0] < 0x80 ? std::string(1, static_cast<char>(text[0])) : InsteadOf(text[0], converter);
    const bool pair = text.size() > 1 && IsHighSurrogate(text[0]) && IsLowSurrogate(text[1]);
    text.remove_prefix(pair ? 2 : 1);
  }
  return result;
}

String FromCodePage(std::string_view bytes, int codePage) {
  const auto ascii = [](char byte) { return static_cast<unsigned char>(byte) < 0x80; };
  if (std::all_of(bytes.begin(), bytes.end(), ascii)) return {bytes.begin(), bytes.end()};
  Converter& converter = ToUnits(codePage);
  String result;
  while (!bytes.empty()) {
    const std::string units = converter.Convert(bytes);
    for (std::size_t i = 0; i + 1 < units.size(); i += 2) {
      const auto low = static_cast<unsigned char>(units[i]);
      const auto high = static_cast<unsigned char>(units[i + 1]);
      result += static_cast<char16_t>(low | high << 8);
    }
    if (bytes.empty()) break;
    result += ascii(bytes[0]) ? static_cast<char16_t>(bytes[0]) : kReplacement;
    bytes.remove_prefix(1);
  }
  return result;
}

}  // namespace hostlinux
