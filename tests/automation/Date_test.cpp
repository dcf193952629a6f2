// Dates: their parts, their texts and back.
#include "varnel/automation/Date.h"

#include <gtest/gtest.h>

#include <limits>

#include "tests/automation/Raises.h"
#include "varnel/automation/Convert.h"

namespace varnel::test {
namespace {

TEST(Date, CountsDaysFromThe30thOfDecember1899) {
  EXPECT_EQ(SplitDate({0}), (DateParts{1899, 12, 30, 0, 0, 0}));
  EXPECT_EQ(SplitDate({1}), (DateParts{1899, 12, 31, 0, 0, 0}));
  EXPECT_EQ(SplitDate({2}), (DateParts{1900, 1, 1, 0, 0, 0}));
  EXPECT_EQ(SplitDate({36526}), (DateParts{2000, 1, 1, 0, 0, 0}));
  EXPECT_EQ(SplitDate({36585.5}), (DateParts{2000, 2, 29, 12, 0, 0}));
}

TEST(Date, CountsTheTimeForwardBeforeDayZeroToo) {
  EXPECT_EQ(SplitDate({-1.25}), (DateParts{1899, 12, 29, 6, 0, 0}));
  EXPECT_EQ(SplitDate({-0.75}), (DateParts{1899, 12, 30, 18, 0, 0}));
  EXPECT_EQ(MakeDate({1899, 12, 29, 6, 0, 0}), Date{-1.25});
  EXPECT_EQ(MakeDate({1899, 12, 30, 18, 0, 0}), Date{0.75});
}

TEST(Date, RoundsTheTimeToTheWholeSecondBeforeItIsSplit) {
  const double second = 1.0 / 86400;
  EXPECT_EQ(SplitDate({1 + 0.4 * second}), (DateParts{1899, 12, 31, 0, 0, 0}));
  EXPECT_EQ(SplitDate({1 + 0.6 * second}), (DateParts{1899, 12, 31, 0, 0, 1}));
  EXPECT_EQ(SplitDate({1 + 59.9999 * second}), (DateParts{1899, 12, 31, 0, 1, 0}));
  EXPECT_EQ(SplitDate({2 - 0.4 * second}), (DateParts{1900, 1, 1, 0, 0, 0}));
  EXPECT_EQ(SplitDate({-2 + 0.4 * second}), (DateParts{1899, 12, 30, 0, 0, 0}));
}

TEST(Date, LiesInTheYears100To9999) {
  EXPECT_EQ(SplitDate({-657434}), (DateParts{100, 1, 1, 0, 0, 0}));
  EXPECT_EQ(SplitDate({2958465.5}), (DateParts{9999, 12, 31, 12, 0, 0}));
  EXPECT_EQ(NumberOf([] { SplitDate({-657435}); }), 6);
  EXPECT_EQ(NumberOf([] { SplitDate({2958466}); }), 6);
  EXPECT_EQ(NumberOf([] { SplitDate({2958465.999999}); }), 6);
  EXPECT_EQ(NumberOf([] { SplitDate({std::numeric_limits<double>::quiet_NaN()}); }), 6);
  EXPECT_EQ(NumberOf([] { MakeDate({10000, 1, 1, 0, 0, 0}); }), 6);
  EXPECT_EQ(NumberOf([] { MakeDate({99, 12, 31, 0, 0, 0}); }), 6);
}

TEST(Date, CarriesMonthsAndDaysOver) {
  EXPECT_EQ(MakeDate({1999, 13, 1, 0, 0, 0}), Date{36526});
  EXPECT_EQ(MakeDate({2000, 0, 32, 0, 0, 0}), Date{36526});
  EXPECT_EQ(MakeDate({2000, 1, 0, 0, 0, 0}), Date{36525});
}

TEST(Date, KnowsWhichDaysExist) {
  EXPECT_TRUE(IsValid({2000, 2, 29, 23, 59, 59}));
  EXPECT_FALSE(IsValid({1900, 2, 29, 0, 0, 0}));
  EXPECT_FALSE(IsValid({2000, 13, 1, 0, 0, 0}));
  EXPECT_FALSE(IsValid({2000, 1, 1, 24, 0, 0}));
  EXPECT_FALSE(IsValid({2000, 1, 1, 0, 60, 0}));
  EXPECT_FALSE(IsValid({99, 1, 1, 0, 0, 0}));
}

TEST(Date, EverySecondOfADayComesBack) {
  for (int second = 0; second < 86400; ++second) {
    const DateParts parts{2024, 3, 5, second / 3600, second / 60 % 60, second % 60};
    ASSERT_EQ(SplitDate(MakeDate(parts)), parts);
  }
}

TEST(DateText, IsTheShortDateWithTheTimeUnlessItIsMidnight) {
  EXPECT_EQ(DateText({36526}), u"1/1/2000");
  EXPECT_EQ(DateText({36526.5}), u"1/1/2000 12:00:00 PM");
  EXPECT_EQ(DateText({36526.25}), u"1/1/2000 6:00:00 AM");
  EXPECT_EQ(DateText({36526 + 1 / 86400.0}), u"1/1/2000 12:00:01 AM");
  EXPECT_EQ(DateText({36526.9999999}), u"1/2/2000");
  EXPECT_EQ(DateText({-1.25}), u"12/29/1899 6:00:00 AM");
}

TEST(DateText, FollowsTheLocalesPatterns) {
  const UserLocaleIs locale(German());
  EXPECT_EQ(DateText({36526}), u"01.01.2000");
  EXPECT_EQ(DateText({36526.75}), u"01.01.2000 18:00:00");
}

TEST(FormatDatePattern, FillsEachPiece) {
  const DateParts parts{2005, 3, 7, 0, 4, 9};
  const auto filled = [&](StringView pattern) { return FormatDatePattern(pattern, parts, u"vm", u"nm"); };
  EXPECT_EQ(filled(u"d M yy"), u"7 3 05");
  EXPECT_EQ(filled(u"dd/MM/yyyy"), u"07/03/2005");
  EXPECT_EQ(filled(u"h:m:s t"), u"12:4:9 v");
  EXPECT_EQ(filled(u"HH.mm.ss tt"), u"00.04.09 vm");
  EXPECT_EQ(filled(u"H'h'mm"), u"0h04");
  EXPECT_EQ(filled(u"d. M. yyyy."), u"7. 3. 2005.");
  EXPECT_EQ(FormatDatePattern(u"h tt", {2005, 3, 7, 13, 0, 0}, u"vm", u"nm"), u"1 nm");
}

TEST(ParseDate, ReadsInTheOrderOfTheLocale) {
  EXPECT_EQ(ParseDate(u"3/5/2024"), MakeDate({2024, 3, 5, 0, 0, 0}));
  EXPECT_EQ(ParseDate(u"3-5-2024"), MakeDate({2024, 3, 5, 0, 0, 0}));
  const UserLocaleIs locale(German());
  EXPECT_EQ(ParseDate(u"5.3.2024"), MakeDate({2024, 3, 5, 0, 0, 0}));
  EXPECT_EQ(ParseDate(u"05/03/2024"), MakeDate({2024, 3, 5, 0, 0, 0}));
}

TEST(ParseDate, ReadsTheYearFirstInEveryLocale) {
  EXPECT_EQ(ParseDate(u"2024-03-05"), MakeDate({2024, 3, 5, 0, 0, 0}));
  EXPECT_EQ(ParseDate(u"2024-03-05 07:08:09"), MakeDate({2024, 3, 5, 7, 8, 9}));
  EXPECT_EQ(ParseDate(u"2024-03-05T07:08:09"), MakeDate({2024, 3, 5, 7, 8, 9}));
  const UserLocaleIs locale(German());
  EXPECT_EQ(ParseDate(u"2024/3/5"), MakeDate({2024, 3, 5, 0, 0, 0}));
}

TEST(ParseDate, TriesTheOtherOrderWhereTheLocalesNamesNoDay) {
  EXPECT_EQ(ParseDate(u"25/12/2024"), MakeDate({2024, 12, 25, 0, 0, 0}));
  const UserLocaleIs locale(German());
  EXPECT_EQ(ParseDate(u"12.25.2024"), MakeDate({2024, 12, 25, 0, 0, 0}));
}

TEST(ParseDate, PutsAYearOfTwoDigitsInto1930To2029) {
  EXPECT_EQ(ParseDate(u"1/1/29"), MakeDate({2029, 1, 1, 0, 0, 0}));
  EXPECT_EQ(ParseDate(u"1/1/30"), MakeDate({1930, 1, 1, 0, 0, 0}));
}

TEST(ParseDate, ReadsTimesWithAndWithoutADay) {
  EXPECT_EQ(ParseDate(u"6:00"), Date{0.25});
  EXPECT_EQ(ParseDate(u"6 PM"), Date{0.75});
  EXPECT_EQ(ParseDate(u"12:00:00 am"), Date{0});
  EXPECT_EQ(ParseDate(u"12:30 PM"), MakeDate({1899, 12, 30, 12, 30, 0}));
  EXPECT_EQ(ParseDate(u" 1/1/2000 23:59:59 "), MakeDate({2000, 1, 1, 23, 59, 59}));
  EXPECT_EQ(ParseDate(u"1/1/2000 6PM"), MakeDate({2000, 1, 1, 18, 0, 0}));
}

TEST(ParseDate, ReadsAHalfOfTheDayInFrontOfTheTime) {
  LocaleFacts facts;
  facts.am = u"\u4E0A\u5348";
  facts.pm = u"\u4E0B\u5348";
  facts.timeFormat = u"tt h:mm:ss";
  const UserLocaleIs locale(facts);
  EXPECT_EQ(ParseDate(u"3/5/2024 \u4E0B\u5348 7:08:09"), MakeDate({2024, 3, 5, 19, 8, 9}));
  EXPECT_EQ(ParseDate(u"\u4E0A\u53487:08"), MakeDate({1899, 12, 30, 7, 8, 0}));
}

TEST(ParseDate, RefusesWhatIsNoDate) {
  for (const StringView text :
       {u"", u" ", u"abc", u"5", u"1/2", u"2/30/2024", u"13/13/2024", u"1/1/2000 24:00", u"1/1/2000 13 PM",
        u"1/1/2000 AM", u"1:60", u"1/1/20000", u"1//1/2000", u"/1/1/2000", u"1/1/2000x", u"1/1/2000 1:2:3:4",
        u"1/1/2000 AM 6:00 PM", u"0/1/2000", u"1 2 3"}) {
    EXPECT_EQ(NumberOf([&] { ParseDate(text); }), 13) << ToUtf8(text);
  }
}

}  // namespace
}  // namespace varnel::test
