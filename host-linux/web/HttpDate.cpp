#include "host-linux/web/HttpDate.h"

#include <array>
#include <cstdio>

namespace hostlinux {

namespace {

constexpr std::array<std::string_view, 7> kDayNames = {"Sun", "Mon", "Tue", "Wed", "Thu", "Fri", "Sat"};
constexpr std::array<std::string_view, 12> kMonthNames = {"Jan", "Feb", "Mar", "Apr", "May", "Jun",
                                                          "Jul", "Aug", "Sep", "Oct", "Nov", "Dec"};

// The digits of `text` as a number; -1 where one isn't a digit.
int Number(std::string_view text) {
  int value = 0;
  for (const char c : text) {
    if (c < '0' || c > '9') return -1;
    value = value * 10 + (c - '0');
  }
  return value;
}

int MonthNumber(std::string_view name) {
  for (std::size_t i = 0; i < kMonthNames.size(); ++i) {
    if (kMonthNames[i] == name) return static_cast<int>(i);
  }
  return -1;
}

}  // namespace

std::string FormatHttpDate(std::time_t when) {
  std::tm parts{};
  gmtime_r(&when, &parts);
  std::array<char, 64> text{};
  std::snprintf(text.data(), text.size(), "%s, %02d %s %04d %02d:%02d:%02d GMT",
                kDayNames[static_cast<std::size_t>(parts.tm_wday)].data(), parts.tm_mday,
                kMonthNames[static_cast<std::size_t>(parts.tm_mon)].data(), parts.tm_year + 1900,
                parts.tm_hour, parts.tm_min, parts.tm_sec);
  return text.data();
}

std::optional<std::time_t> ParseHttpDate(std::string_view text) {
  if (text.size() != 29) return std::nullopt;
  std::tm parts{};
  parts.tm_mday = Number(text.substr(5, 2));
  parts.tm_mon = MonthNumber(text.substr(8, 3));
  parts.tm_year = Number(text.substr(12, 4)) - 1900;
  parts.tm_hour = Number(text.substr(17, 2));
  parts.tm_min = Number(text.substr(20, 2));
  parts.tm_sec = Number(text.substr(23, 2));
  if (parts.tm_mon < 0) return std::nullopt;
  const std::time_t when = timegm(&parts);
  // Writing it again finds every ill-formed piece: separators, the day's name, a 31st of February.
  return FormatHttpDate(when) == text ? std::optional(when) : std::nullopt;
}

}  // namespace hostlinux
