#include <limits>

#include "tests/locale/LocaleHost.h"

namespace localetest {
namespace {

class Reading : public LocaleTest {
 protected:
  Variant ReadDate(StringView text, Long lcid = 1031) { return functions.ConvertDateString(text, lcid); }
  Variant ReadFloat(StringView text, Long lcid = 1031) { return functions.ConvertFloatString(text, lcid); }
  Variant ReadNumber(StringView text, Long lcid = 1031) { return functions.ConvertNumberString(text, lcid); }
};

TEST_F(Reading, ADateInTheLocalesOrderAndWithItsSeparator) {
  EXPECT_EQ(ReadDate(u"30.04.2001"), Variant(Day(2001, 4, 30)));
  EXPECT_EQ(ReadDate(u"31.04.2001"), Variant(Null()));
  EXPECT_EQ(ReadDate(u"30/04/2001"), Variant(Null()));
  EXPECT_EQ(ReadDate(u"4/30/2001", 1033), Variant(Day(2001, 4, 30)));
  EXPECT_EQ(ReadDate(u"30/4/2001", 1033), Variant(Null()));
  EXPECT_EQ(ReadDate(u"2001/4/30", 1041), Variant(Day(2001, 4, 30)));
  EXPECT_EQ(ReadDate(u"30/4/2001", 2057), Variant(Day(2001, 4, 30)));
}

TEST_F(Reading, AnIdOfADefaultIsTheUsersLocale) {
  SetUser(1031);
  for (const Long lcid : {0, 1024, 2048, 3072, 4096}) {
    SCOPED_TRACE(lcid);
    EXPECT_EQ(ReadFloat(u"2,5", lcid), Variant(2.5));
    EXPECT_EQ(ReadFloat(u"1.234,5", lcid), Variant(1234.5));
    EXPECT_EQ(ReadNumber(u"3,5", lcid), Variant(Long{4}));
    EXPECT_EQ(ReadDate(u"30.04.2001", lcid), Variant(Day(2001, 4, 30)));
  }
}

TEST_F(Reading, LeapYears) {
  EXPECT_EQ(ReadDate(u"29.02.1900"), Variant(Null()));
  EXPECT_EQ(ReadDate(u"29.02.2000"), Variant(Day(2000, 2, 29)));
  EXPECT_EQ(ReadDate(u"29.02.00"), Variant(Day(2000, 2, 29)));
  EXPECT_EQ(ReadDate(u"29.02.01"), Variant(Null()));
  EXPECT_EQ(ReadDate(u"29.02.2004"), Variant(Day(2004, 2, 29)));
  EXPECT_EQ(ReadDate(u"29.02.2003"), Variant(Null()));
}

TEST_F(Reading, TheLastDayOfEachMonth) {
  const int days[] = {31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
  for (int month = 1; month <= 12; ++month) {
    const int last = days[month - 1];
    const String rest = u"." + varnel::DecimalText(month) + u".2001";
    EXPECT_EQ(ReadDate(varnel::DecimalText(last) + rest), Variant(Day(2001, month, last)));
    EXPECT_EQ(ReadDate(varnel::DecimalText(last + 1) + rest), Variant(Null())) << month;
  }
}

TEST_F(Reading, OnlyTheUpperBoundOfADayIsTested) {
  EXPECT_EQ(ReadDate(u"0.02.2001"), Variant(Day(2001, 1, 31)));
  EXPECT_EQ(ReadDate(u"-1.02.2001"), Variant(Day(2001, 1, 30)));
  EXPECT_EQ(ReadDate(u"32.01.2001"), Variant(Null()));
  EXPECT_EQ(ReadDate(u"1.0.2001"), Variant(Null()));
  EXPECT_EQ(ReadDate(u"1.13.2001"), Variant(Null()));
}

TEST_F(Reading, PartsBehindTheThirdAreNotLookedAt) {
  EXPECT_EQ(ReadDate(u"1.2.2001.7"), Variant(Day(2001, 2, 1)));
  EXPECT_EQ(ReadDate(u"1.2.2001."), Variant(Day(2001, 2, 1)));
}

TEST_F(Reading, ATimeBehindADateIsNoNumber) {
  EXPECT_EQ(ReadDate(u"1.2.2001 12:30"), Variant(Null()));
  EXPECT_EQ(ReadDate(u"1.2.2001.12:30"), Variant(Day(2001, 2, 1)));
}

TEST_F(Reading, TooFewPartsOrOnesThatAreNoNumbers) {
  for (const StringView text : {u"", u"1", u"1.2", u"1.2.", u"..", u"a.b.c", u"1.x.2001"}) {
    EXPECT_EQ(ReadDate(text), Variant(Null())) << varnel::ToUtf8(text);
  }
}

TEST_F(Reading, YearsOfTwoDigitsLieIn1930To2029) {
  EXPECT_EQ(ReadDate(u"1.2.0"), Variant(Day(2000, 2, 1)));
  EXPECT_EQ(ReadDate(u"1.2.29"), Variant(Day(2029, 2, 1)));
  EXPECT_EQ(ReadDate(u"1.2.30"), Variant(Day(1930, 2, 1)));
  EXPECT_EQ(ReadDate(u"1.2.99"), Variant(Day(1999, 2, 1)));
  EXPECT_EQ(ReadDate(u"1.2.100"), Variant(Day(100, 2, 1)));
  EXPECT_EQ(ReadDate(u"31.12.9999"), Variant(Day(9999, 12, 31)));
  EXPECT_EQ(ReadDate(u"1.2.10000"), Variant(Null()));
  EXPECT_EQ(ReadDate(u"1.2.-1"), Variant(Null()));
}

// The numbers are used in 16 bits: 67537 is 2001 and 65536 more.
TEST_F(Reading, NumbersOfADateWrap) {
  EXPECT_EQ(ReadDate(u"1.2.67537"), Variant(Day(2001, 2, 1)));
  EXPECT_EQ(ReadDate(u"-65531.2.2001"), Variant(Day(2001, 2, 5)));
  EXPECT_EQ(ReadDate(u"1.2.9999999999"), Variant(Null()));
}

TEST_F(Reading, ADateBelowTheFirstYearFails) { EXPECT_EQ(ReadDate(u"0.1.100"), Variant(Null())); }

TEST_F(Reading, ANumberWithTheLocalesSeparators) {
  EXPECT_EQ(ReadFloat(u"1.234,5"), Variant(1234.5));
  EXPECT_EQ(ReadFloat(u"-1.234,5"), Variant(-1234.5));
  EXPECT_EQ(ReadFloat(u"1,234.5", 1033), Variant(1234.5));
  EXPECT_EQ(ReadFloat(u"1\u00A0234,5", 1036), Variant(1234.5));
  EXPECT_EQ(ReadFloat(u"1’234.5", 2055), Variant(1234.5));
}

TEST_F(Reading, GroupsAreNotChecked) {
  EXPECT_EQ(ReadFloat(u"1.2.3.4,5"), Variant(1234.5));
  EXPECT_EQ(ReadFloat(u"1234,5.6"), Variant(1234.56));
}

TEST_F(Reading, BlanksAtBothEndsDoNotCount) { EXPECT_EQ(ReadFloat(u"  1.234,5   "), Variant(1234.5)); }

TEST_F(Reading, TheUsersLocaleMakesNoDifference) {
  for (const Long user : {1033, 1031, 1036, 2055, 1081}) {
    SetUser(user);
    EXPECT_EQ(ReadFloat(u"1.234,5"), Variant(1234.5)) << user;
    EXPECT_EQ(ReadFloat(u"1,234.5", 1033), Variant(1234.5)) << user;
    EXPECT_EQ(ReadDate(u"30.04.2001"), Variant(Day(2001, 4, 30))) << user;
  }
}

TEST_F(Reading, AnUnknownLocaleLeavesTheTextToTheUsers) {
  EXPECT_EQ(ReadFloat(u"1,234.5", 99999), Variant(1234.5));
  SetUser(1031);
  EXPECT_EQ(ReadFloat(u"1.234,5", 99999), Variant(1234.5));
  EXPECT_EQ(ReadDate(u"1.2.2001", 99999), Variant(Null()));
}

TEST_F(Reading, TextThatIsNoNumber) {
  for (const StringView text : {u"", u"   ", u"abc", u"1,2,3", u"--1", u"1x", u"\xD800"}) {
    EXPECT_EQ(ReadFloat(text), Variant(Null())) << varnel::ToUtf8(text);
    EXPECT_EQ(ReadNumber(text), Variant(Null())) << varnel::ToUtf8(text);
  }
  EXPECT_EQ(ReadFloat(u"1e999"), Variant(Null()));
}

TEST_F(Reading, AWholeNumberIsRounded) {
  EXPECT_EQ(ReadNumber(u"1234,7"), Variant(Long{1235}));
  EXPECT_EQ(ReadNumber(u"2,5"), Variant(Long{2}));
  EXPECT_EQ(ReadNumber(u"3,5"), Variant(Long{4}));
  EXPECT_EQ(ReadNumber(u"-2,5"), Variant(Long{-2}));
  EXPECT_EQ(ReadNumber(u"2.147.483.647"), Variant(Long{2147483647}));
  EXPECT_EQ(ReadNumber(u"2.147.483.648"), Variant(Null()));
}

TEST_F(Reading, OtherValuesAreTakenAsTheirText) {
  EXPECT_EQ(functions.ConvertFloatString(1.5, Long{1033}), Variant(1.5));
  // A number becomes text with ".", which separates thousands there.
  EXPECT_EQ(functions.ConvertFloatString(1.5, Long{1031}), Variant(15.0));
  EXPECT_EQ(functions.ConvertDateString(Day(2001, 4, 30), Long{1033}), Variant(Day(2001, 4, 30)));
  EXPECT_EQ(functions.ConvertFloatString(varnel::Empty(), Long{1033}), Variant(Null()));
}

TEST_F(Reading, NullObjectsAndLocalesThatAreNoNumbers) {
  const Variant object(std::make_shared<varnel::DataFunctions>());
  for (const Variant& bad : {Variant(Null()), Variant(nullptr), object}) {
    EXPECT_EQ(functions.ConvertDateString(bad, Long{1031}), Variant(Null()));
    EXPECT_EQ(functions.ConvertFloatString(bad, Long{1031}), Variant(Null()));
    EXPECT_EQ(functions.ConvertNumberString(bad, Long{1031}), Variant(Null()));
    EXPECT_EQ(functions.ConvertDateString(u"1.2.2001", bad), Variant(Null()));
    EXPECT_EQ(functions.ConvertFloatString(u"1", bad), Variant(Null()));
    EXPECT_EQ(functions.ConvertNumberString(u"1", bad), Variant(Null()));
  }
  EXPECT_EQ(functions.ConvertFloatString(u"1", u"german"), Variant(Null()));
  EXPECT_TRUE(host.Log().Entries().empty());
}

class FromJava : public LocaleTest {
 protected:
  std::string Java(Long year, Long month, Long day, Long lcid = 1033) {
    return Shown(functions.DateFromJava(year, month, day, lcid));
  }
};

TEST_F(FromJava, TheMonthCountsFrom0) {
  EXPECT_EQ(Java(2001, 0, 15), "1/15/2001");
  EXPECT_EQ(Java(2001, 11, 15), "12/15/2001");
  EXPECT_EQ(Java(2001, 12, 15), "1/15/2002");
  EXPECT_EQ(Java(2001, -1, 15), "12/15/2000");
  EXPECT_EQ(Java(2001, 1, 15, 1031), "15.02.2001");
}

TEST_F(FromJava, DaysCarryOver) {
  EXPECT_EQ(Java(2001, 1, 29), "3/1/2001");
  EXPECT_EQ(Java(2001, 0, 0), "12/31/2000");
  EXPECT_EQ(Java(2001, 0, 366), "1/1/2002");
}

TEST_F(FromJava, YearsOfTwoDigitsAndOutOfRange) {
  EXPECT_EQ(Java(29, 0, 1), "1/1/2029");
  EXPECT_EQ(Java(30, 0, 1), "1/1/1930");
  EXPECT_EQ(Java(10000, 0, 1), "Null");
  EXPECT_EQ(Java(-1, 0, 1), "Null");
  EXPECT_EQ(Java(9999, 11, 32), "Null");
  EXPECT_EQ(Java(100, 0, 0), "Null");
  // A year before 1601 is a date, but has no text.
  EXPECT_EQ(Java(100, 0, 1), "");
}

TEST_F(FromJava, TheValuesWrapIn16Bits) {
  EXPECT_EQ(Java(2001 + 65536, 0, 15), "1/15/2001");
  EXPECT_EQ(Java(2001, std::numeric_limits<Long>::max(), 15), "12/15/2000");
}

class Validating : public LocaleTest {};

const Variant kTrue(true);
const Variant kFalse(false);

TEST_F(Validating, TextIsNoNumber) {
  EXPECT_EQ(functions.ValidateFloat(u"12"), kFalse);
  EXPECT_EQ(functions.ValidateFloat(12.0), kTrue);
  EXPECT_EQ(functions.ValidateFloat(Long{12}), kTrue);
  EXPECT_EQ(functions.ValidateFloat(varnel::Integer{12}), kTrue);
  EXPECT_EQ(functions.ValidateFloat(varnel::Byte{12}), kTrue);
  EXPECT_EQ(functions.ValidateNumber(12.0), kFalse);
  EXPECT_EQ(functions.ValidateNumber(Long{12}), kTrue);
  EXPECT_EQ(functions.ValidateNumber(varnel::Integer{12}), kTrue);
  EXPECT_EQ(functions.ValidateNumber(varnel::Byte{12}), kTrue);
  EXPECT_EQ(functions.ValidateNumber(u"12"), kFalse);
  for (const Variant& none :
       {Variant(), Variant(Null()), Variant(Missing()), kTrue, Variant(Day(2001, 1, 1)), Variant(nullptr)}) {
    EXPECT_EQ(functions.ValidateFloat(none), kFalse);
    EXPECT_EQ(functions.ValidateNumber(none), kFalse);
  }
}

TEST_F(Validating, ABoundIsANumberOrLeftOut) {
  EXPECT_EQ(functions.ValidateFloat(12.0, u"1"), kFalse);
  EXPECT_EQ(functions.ValidateFloat(12.0, Missing(), u"100"), kFalse);
  EXPECT_EQ(functions.ValidateFloat(12.0, Null()), kFalse);
  EXPECT_EQ(functions.ValidateNumber(Long{12}, u"1"), kFalse);
  EXPECT_EQ(functions.ValidateNumber(Long{12}, Missing(), 100.0), kFalse);
  EXPECT_EQ(functions.ValidateNumber(Long{12}, Missing(), Long{100}), kTrue);
}

TEST_F(Validating, BothBoundsBelongToTheRange) {
  EXPECT_EQ(functions.ValidateFloat(1.5, 1.5, 1.5), kTrue);
  EXPECT_EQ(functions.ValidateFloat(1.4, 1.5, 2.0), kFalse);
  EXPECT_EQ(functions.ValidateFloat(2.1, 1.5, 2.0), kFalse);
  EXPECT_EQ(functions.ValidateNumber(Long{5}, Long{5}, Long{5}), kTrue);
  EXPECT_EQ(functions.ValidateNumber(Long{4}, Long{5}), kFalse);
  EXPECT_EQ(functions.ValidateNumber(Long{6}, Missing(), Long{5}), kFalse);
  const Date day = Day(2001, 4, 30);
  EXPECT_EQ(functions.ValidateDateTime(day, day, day), kTrue);
  EXPECT_EQ(functions.ValidateDateTime(day, Day(2001, 5, 1)), kFalse);
  EXPECT_EQ(functions.ValidateDateTime(day, Missing(), Day(2001, 4, 29)), kFalse);
}

TEST_F(Validating, ADateIsWhateverConvertsToOne) {
  EXPECT_EQ(functions.ValidateDateTime(Day(2001, 4, 30)), kTrue);
  EXPECT_EQ(functions.ValidateDateTime(u"4/30/2001"), kTrue);
  EXPECT_EQ(functions.ValidateDateTime(36000.5), kTrue);
  EXPECT_EQ(functions.ValidateDateTime(varnel::Empty()), kTrue);
  EXPECT_EQ(functions.ValidateDateTime(u"4/30/2001", u"4/1/2001", u"5/1/2001"), kTrue);
  for (const Variant& bad :
       {Variant(Null()), Variant(u"x"), Variant(u""), Variant(nullptr), Variant(1E+10),
        Variant(std::numeric_limits<double>::quiet_NaN()), Variant(String(10 << 20, u'1'))}) {
    EXPECT_EQ(functions.ValidateDateTime(bad), kFalse);
    EXPECT_EQ(functions.ValidateDateTime(Day(2001, 4, 30), bad), kFalse);
    EXPECT_EQ(functions.ValidateDateTime(Day(2001, 4, 30), Missing(), bad), kFalse);
  }
}

// The upper bound isn't looked at where the lower one has failed already.
TEST_F(Validating, TextIsReadByTheUsersLocale) {
  SetUser(1031);
  EXPECT_EQ(functions.ValidateDateTime(u"30.04.2001", u"01.04.2001", u"01.05.2001"), kTrue);
  EXPECT_EQ(functions.ValidateDateTime(u"30.04.2001", u"01.05.2001", Null()), kFalse);
}

}  // namespace
}  // namespace localetest
