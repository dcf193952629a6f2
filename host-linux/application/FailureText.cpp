#include "host-linux/application/FailureText.h"

#include <string_view>

namespace hostlinux {

namespace {

constexpr std::size_t kMessageEnd = 1000;  // bytes kept on each side of a text that a page threw

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

}  // namespace

std::string PlaceOf(const ScriptFailure& failure) {
  if (failure.file.empty()) return {};
  return failure.file + (failure.line > 0 ? ", line " + std::to_string(failure.line) : std::string()) + ": ";
}

std::string Describe(const ScriptFailure& failure) {
  return PlaceOf(failure) + CutInside(failure.message) + " (number " + std::to_string(failure.number) +
         (failure.source.empty() ? "" : ", source " + failure.source) + ")" +
         (failure.hint.empty() ? "" : " " + Cut(failure.hint, kMessageEnd));
}

}  // namespace hostlinux
