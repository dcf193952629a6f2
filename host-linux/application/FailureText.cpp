#include "host-linux/application/FailureText.h"

#include <algorithm>
#include <string_view>
#include <vector>

namespace hostlinux {

namespace {

constexpr int kLinesAround = 3;
constexpr std::size_t kLongestLine = 200;  // bytes
constexpr std::size_t kMessageEnd = 1000;  // bytes kept on each side of a text that a page threw

// The lines of `text`, which end as the page parser counts them: LF, CR LF, or a CR that stands alone.
std::vector<std::string_view> LinesOf(std::string_view text) {
  std::vector<std::string_view> lines;
  for (std::size_t at = 0; at <= text.size();) {
    const std::size_t end = std::min(text.find_first_of("\r\n", at), text.size());
    lines.push_back(text.substr(at, end - at));
    at = end + (text.substr(end).starts_with("\r\n") ? 2 : 1);
  }
  return lines;
}

// The further bytes of a character begin with the bits 10.
bool IsInsideCharacter(char c) { return (c & '\xC0') == '\x80'; }

std::string Cut(std::string_view text, std::size_t longest) {
  if (text.size() <= longest) return std::string(text);
  std::size_t end = longest;
  while (end > 0 && IsInsideCharacter(text[end])) --end;
  return std::string(text.substr(0, end)) + "...";
}

// Where pages execute each other, the description begins with all their places and ends with the reason.
std::string CutInside(std::string_view text) {
  if (text.size() <= 2 * kMessageEnd) return std::string(text);
  std::size_t rest = text.size() - kMessageEnd;
  while (rest < text.size() && IsInsideCharacter(text[rest])) ++rest;
  return Cut(text, kMessageEnd) + std::string(text.substr(rest));
}

std::string Numbered(int number, std::string_view line, bool marked) {
  const std::string digits = std::to_string(number);
  const std::string indent(digits.size() < 5 ? 5 - digits.size() : 0, ' ');
  return (marked ? ">" : " ") + indent + digits + "  " + Cut(line, kLongestLine) + "\n";
}

}  // namespace

std::string PlaceOf(const ScriptFailure& failure) {
  if (failure.file.empty()) return {};
  return failure.file + (failure.line > 0 ? ", line " + std::to_string(failure.line) : std::string()) + ": ";
}

std::string Describe(const ScriptFailure& failure) {
  return PlaceOf(failure) + CutInside(failure.message) + " (number " + std::to_string(failure.number) +
         (failure.source.empty() ? "" : ", source " + failure.source) + ")";
}

std::string LinesAround(const ScriptFailure& failure, const PageFiles& files) {
  if (failure.file.empty() || failure.line < 1) return {};
  const auto text = files.Read(failure.file);
  if (!text) return {};
  const std::vector<std::string_view> lines = LinesOf(*text);
  const int last = static_cast<int>(lines.size());
  if (failure.line > last) return {};
  std::string around;
  for (int number = std::max(1, failure.line - kLinesAround);
       number <= std::min(last, failure.line + kLinesAround); ++number) {
    around += Numbered(number, lines[static_cast<std::size_t>(number) - 1], number == failure.line);
  }
  return around;
}

}  // namespace hostlinux
