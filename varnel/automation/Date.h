// Dates as a count of days since 30 December 1899, with the time of day as the fraction.
#pragma once

#include <compare>

#include "varnel/automation/String.h"

namespace varnel {

// Before day 0 the fraction still counts forward: -1.25 is 29 December 1899, 06:00.
struct Date {
  double days = 0;  // not a number: an invalid date, as scripts have them; no conversion takes it
  auto operator<=>(const Date&) const = default;
};

struct DateParts {
  int year = 1899;
  int month = 12;  // from 1
  int day = 30;    // from 1
  int hour = 0;
  int minute = 0;
  int second = 0;
  bool operator==(const DateParts&) const = default;
};

// The parts of a date. The time is rounded to the whole second before it is split, so that a fraction just
// below a second doesn't lose it. Raises 6 outside the years 100 to 9999.
DateParts SplitDate(Date date);

// The date of these parts; months and days out of their range carry over. Raises 6 as above.
Date MakeDate(const DateParts& parts);

// True if the parts name a day that exists and a time of day.
bool IsValid(const DateParts& parts);

}  // namespace varnel
