#include "host-linux/script/SourceMap.h"

#include <cstdint>

#include "host-linux/base/Ascii.h"
#include "host-linux/base/Percent.h"
#include "host-linux/script/JsonText.h"

namespace hostlinux {
namespace {

constexpr char kBase64[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";

std::string ToBase64(std::string_view bytes) {
  std::string text;
  for (std::size_t i = 0; i < bytes.size(); i += 3) {
    std::uint32_t group = 0;
    for (std::size_t j = i; j < i + 3; ++j)
      group = group << 8 | (j < bytes.size() ? static_cast<unsigned char>(bytes[j]) : 0);
    for (int shift = 18; shift >= 0; shift -= 6) text += kBase64[group >> shift & 63];
  }
  const std::size_t open = bytes.size() % 3;
  if (open > 0) text.replace(text.size() - (3 - open), 3 - open, 3 - open, '=');
  return text;
}

// A number of a map: its sign in the lowest bit, then five bits a digit, the low ones first.
std::string MapNumber(int value) {
  std::string digits;
  auto rest = static_cast<std::uint32_t>(value < 0 ? (-value << 1) | 1 : value << 1);
  do {
    const std::uint32_t digit = rest & 31;
    rest >>= 5;
    digits += kBase64[rest > 0 ? digit | 32 : digit];
  } while (rest > 0);
  return digits;
}

// One place for each line: its first column comes from the first column of that line of that file. Numbers
// count from the place before.
std::string Mappings(const PageScript& script) {
  std::string mappings;
  SourceLine last{0, 1};
  for (const SourceLine& line : script.lines) {
    if (!mappings.empty()) mappings += ';';
    mappings +=
        MapNumber(0) + MapNumber(line.file - last.file) + MapNumber(line.line - last.line) + MapNumber(0);
    last = line;
  }
  return mappings;
}

}  // namespace

bool KeepsItsLines(const PageScript& script) {
  // Behind the last line end stands nothing of the page.
  for (std::size_t i = 0; i + 1 < script.lines.size(); ++i)
    if (script.lines[i] != SourceLine{0, static_cast<int>(i) + 1}) return false;
  return true;
}

std::string SourceMapUrl(const PageScript& script, const PageFiles& files, const std::string& pagesUrl) {
  std::string names;
  std::string texts;
  for (const std::string& file : script.files) {
    const char* comma = names.empty() ? "" : ",";
    names += comma + JsonText(varnel::FromUtf8(pagesUrl + UrlOfPath(file)));
    texts += comma + JsonText(varnel::FromUtf8(files.Read(file).value_or("")));
  }
  return "data:application/json;charset=utf-8;base64," +
         ToBase64("{\"version\":3,\"sources\":[" + names + "],\"sourcesContent\":[" + texts +
                  "],\"names\":[],\"mappings\":\"" + Mappings(script) + "\"}");
}

std::string UrlOfPath(const std::string& path) {
  static constexpr std::string_view kMarks = "/-._~!$&'()*+,;=:@";
  return PercentEncode(path,
                       [](char c) { return IsAlphanumeric(c) || kMarks.find(c) != std::string_view::npos; });
}

}  // namespace hostlinux
