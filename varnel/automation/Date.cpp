#include "varnel/automation/Date.h"

#include <chrono>
#include <cmath>
#include <cstdint>

#include "varnel/automation/Error.h"

namespace varnel {

namespace {

constexpr std::int64_t kSecondsPerDay = 86400;
constexpr double kFirstDay = -657434;  // 1 January 100
constexpr double kLastDay = 2958465;   // 31 December 9999

std::chrono::sys_days DayZero() {
  using namespace std::chrono;
  return sys_days(year_month_day(year(1899), December, day(30)));
}

}  // namespace

DateParts SplitDate(Date date) {
  using namespace std::chrono;
  if (!(date.days > kFirstDay - 1 && date.days < kLastDay + 1)) RaiseRuntimeError(runtime_error::kOverflow);
  const double whole = std::trunc(date.days);
  auto dayNumber = static_cast<std::int64_t>(whole);
  auto seconds = static_cast<std::int64_t>(std::llround(std::fabs(date.days - whole) * kSecondsPerDay));
  if (seconds == kSecondsPerDay) {
    seconds = 0;
    ++dayNumber;
  }
  if (static_cast<double>(dayNumber) > kLastDay) RaiseRuntimeError(runtime_error::kOverflow);
  const year_month_day ymd(DayZero() + days(dayNumber));
  DateParts parts;
  parts.year = static_cast<int>(ymd.year());
  parts.month = static_cast<int>(static_cast<unsigned>(ymd.month()));
  parts.day = static_cast<int>(static_cast<unsigned>(ymd.day()));
  parts.hour = static_cast<int>(seconds / 3600);
  parts.minute = static_cast<int>(seconds / 60 % 60);
  parts.second = static_cast<int>(seconds % 60);
  return parts;
}

Date MakeDate(const DateParts& parts) {
  using namespace std::chrono;
  const auto monthStart = year_month(year(parts.year), January) + months(parts.month - 1);
  const auto dayNumber = (sys_days(monthStart / 1) - DayZero()).count() + parts.day - 1;
  const auto seconds = parts.hour * 3600 + parts.minute * 60 + parts.second;
  const auto whole = static_cast<double>(dayNumber);
  if (whole < kFirstDay || whole > kLastDay) RaiseRuntimeError(runtime_error::kOverflow);
  const double fraction = seconds / static_cast<double>(kSecondsPerDay);
  return Date{whole < 0 ? whole - fraction : whole + fraction};
}

bool IsValid(const DateParts& parts) {
  using namespace std::chrono;
  const bool timeOk = parts.hour >= 0 && parts.hour < 24 && parts.minute >= 0 && parts.minute < 60 &&
                      parts.second >= 0 && parts.second < 60;
  if (!timeOk || parts.year < 100 || parts.year > 9999 || parts.month < 1 || parts.day < 1) return false;
  return year_month_day(year(parts.year), month(static_cast<unsigned>(parts.month)),
                        day(static_cast<unsigned>(parts.day)))
      .ok();
}

}  // namespace varnel
