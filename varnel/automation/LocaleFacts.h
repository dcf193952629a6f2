// What text conversions need to know of the user's locale.
#pragma once

#include "varnel/automation/String.h"

namespace varnel {

// The values are those of the platform's locale data; the defaults are locale 1033, English (United States).
struct LocaleFacts {
  enum class DateOrder { MonthDayYear = 0, DayMonthYear = 1, YearMonthDay = 2 };

  Long lcid = 1033;
  String name = u"en-US";
  String decimal = u".";
  String thousand = u",";
  String grouping = u"3;0";
  int digits = 2;         // digits behind the point
  int leadingZero = 1;    // 1: a digit before the point
  int negativeOrder = 1;  // 0 "(1)", 1 "-1", 2 "- 1", 3 "1-", 4 "1 -"
  String negativeSign = u"-";
  String currency = u"$";
  String dateSeparator = u"/";
  String timeSeparator = u":";
  String shortDate = u"M/d/yyyy";     // pattern of d, M, y and literal text
  String timeFormat = u"h:mm:ss tt";  // pattern of h, H, m, s, t and literal text
  DateOrder dateOrder = DateOrder::MonthDayYear;
  String am = u"AM";
  String pm = u"PM";
  int ansiCodePage = 1252;  // 0: the locale has none
  int yearOffset = 0;       // added to a year's text: 543 where years are counted by the Buddhist calendar

  bool operator==(const LocaleFacts&) const = default;
};

// The user's locale: set once by the host, before the first request; locale 1033 until then.
void SetUserLocale(LocaleFacts facts);
const LocaleFacts& UserLocale();

}  // namespace varnel
