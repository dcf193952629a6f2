#include <gmock/gmock.h>

#include <cmath>
#include <limits>

#include "tests/locale/LocaleHost.h"
#include "varnel/automation/Error.h"
#include "varnel/locale/FormatFunctions.h"

namespace localetest {
namespace {

using testing::ElementsAre;

class Formatting : public LocaleTest {};

const Date kMarch = MakeDate({2024, 3, 5, 7, 8, 9});

TEST_F(Formatting, CurrencyIsTheEuroWhereItWasIntroducedFirst) {
  for (const Long lcid : {1027, 1031, 1032, 1034, 1035, 1036, 1040, 1043, 1069, 2060, 2067, 2070, 2077, 3079,
                          3082, 4103, 5132, 6153}) {
    EXPECT_EQ(functions.GetCurrencySymbol(lcid), u"\u20AC") << lcid;
  }
  EXPECT_EQ(functions.GetCurrencySymbol(2052), u"\uFFE5");
  EXPECT_EQ(functions.GetCurrencySymbol(1033), u"$");
  EXPECT_EQ(functions.GetCurrencySymbol(1045), u"zł");
  EXPECT_EQ(functions.GetCurrencySymbol(99999), u"");
  EXPECT_EQ(functions.GetEuroSymbol(), u"\u20AC");
}

// The platform's data may still say otherwise.
TEST_F(Formatting, TheEuroGoesBeforeThePlatformsData) {
  LocaleFacts facts = hostlinux::FindLocale(1031).value();
  facts.currency = u"DM";
  SetUser(facts);
  EXPECT_EQ(functions.GetCurrencySymbol(1031), u"\u20AC");
}

TEST_F(Formatting, AnIdOfADefaultIsTheUsersLocale) {
  SetUser(1031);
  for (const Long lcid : {0, 1024, 2048, 3072, 4096}) {
    SCOPED_TRACE(lcid);
    EXPECT_EQ(functions.GetDecimalSeparator(lcid), u",");
    EXPECT_EQ(functions.GetThousandSeparator(lcid), u".");
    EXPECT_EQ(functions.GetDateSeparator(lcid), u".");
    EXPECT_EQ(functions.GetShortDateFormatOrdering(lcid), 1);
    EXPECT_EQ(functions.GetCurrencySymbol(lcid), u"\u20AC");
    EXPECT_EQ(Float(-1234.5, lcid), "-1.234,50");
    EXPECT_EQ(FloatEx(-1234.5, lcid), "-1.234,50");
    EXPECT_EQ(Number(-1234, lcid), "-1.234");
    EXPECT_EQ(Shown(functions.DateTime(kMarch, lcid, true)), "05.03.2024 07:08:09");
  }
}

TEST_F(Formatting, TheFactsOfALocale) {
  EXPECT_EQ(functions.GetDecimalSeparator(1031), u",");
  EXPECT_EQ(functions.GetThousandSeparator(1031), u".");
  EXPECT_EQ(functions.GetDateSeparator(1031), u".");
  EXPECT_EQ(functions.GetShortDateFormatOrdering(1031), 1);
  EXPECT_EQ(functions.GetShortDateFormatOrdering(1033), 0);
  EXPECT_EQ(functions.GetShortDateFormatOrdering(1041), 2);
  EXPECT_EQ(functions.GetDateSeparator(1038), u". ");
}

TEST_F(Formatting, AnUnknownLocaleHasEmptySeparatorsAndNoOrder) {
  EXPECT_EQ(functions.GetDecimalSeparator(99999), u"");
  EXPECT_EQ(functions.GetThousandSeparator(99999), u"");
  EXPECT_EQ(functions.GetDateSeparator(99999), u"");
  try {
    functions.GetShortDateFormatOrdering(99999);
    FAIL() << "nothing was raised";
  } catch (const varnel::Error& error) {
    EXPECT_EQ(error.Info().Number, 13);
  }
  EXPECT_TRUE(host.Log().Entries().empty());
}

TEST_F(Formatting, TextInFrontOfTheFirstNul) {
  EXPECT_EQ(varnel::CutAtNull(StringView(u"ab\0cd\0", 6)), u"ab");
  EXPECT_EQ(varnel::CutAtNull(u"ab"), u"ab");
  EXPECT_EQ(varnel::CutAtNull(StringView(u"\0", 1)), u"");
}

TEST_F(Formatting, ADateIsShortAndWithoutBlanks) {
  EXPECT_EQ(Shown(functions.DateTime(kMarch, Long{1033})), "3/5/2024");
  EXPECT_EQ(Shown(functions.DateTime(kMarch, Long{1031})), "05.03.2024");
  EXPECT_EQ(Shown(functions.DateTime(kMarch, Long{1038})), "2024.03.05.");
  EXPECT_EQ(Shown(functions.DateTime(kMarch, Long{1051})), "5.3.2024");
}

TEST_F(Formatting, ATimeKeepsItsBlanks) {
  EXPECT_EQ(Shown(functions.DateTime(kMarch, Long{1033}, true)), "3/5/2024 7:08:09 AM");
  EXPECT_EQ(Shown(functions.DateTime(kMarch, Long{1031}, true)), "05.03.2024 07:08:09");
  EXPECT_EQ(Shown(functions.DateTime(kMarch, Long{1038}, true)), "2024.03.05. 7:08:09");
  // The blank of the date goes, that of the time stays.
  LocaleFacts facts;
  facts.shortDate = u"d. M. yyyy";
  SetUser(facts);
  EXPECT_EQ(Shown(functions.DateTime(kMarch, Long{1033}, true)), "5.3.2024 7:08:09 AM");
}

TEST_F(Formatting, TheDateHonoursTheUsersSettingsTheTimeDoesNot) {
  LocaleFacts facts;
  facts.shortDate = u"yyyy-MM-dd";
  facts.timeFormat = u"HH:mm:ss";
  SetUser(facts);
  EXPECT_EQ(Shown(functions.DateTime(kMarch, Long{1033}, true)), "2024-03-05 7:08:09 AM");
}

TEST_F(Formatting, ADateInAnUnknownLocaleIsEmptyOrOneBlank) {
  EXPECT_EQ(functions.DateTime(kMarch, Long{99999}), Variant(u""));
  EXPECT_EQ(functions.DateTime(kMarch, Long{99999}, true), Variant(u" "));
}

TEST_F(Formatting, AYearBefore1601HasATimeButNoDate) {
  const Date early = MakeDate({1600, 12, 31, 12, 0, 0});
  EXPECT_EQ(functions.DateTime(early, Long{1033}), Variant(u""));
  EXPECT_EQ(functions.DateTime(early, Long{1033}, true), Variant(u" 12:00:00 PM"));
}

TEST_F(Formatting, ADecimalNumberFollowsTheLocale) {
  EXPECT_EQ(Float(1234567.891, 1033), "1,234,567.89");
  EXPECT_EQ(Float(-1234567.891, 1031), "-1.234.567,89");
  EXPECT_EQ(Float(0.5, 1033), "0.50");
  EXPECT_EQ(Float(0, 1033), "0.00");
  EXPECT_EQ(Float(-0.5, 1033), "-0.50");
}

TEST_F(Formatting, IndianGroupsAreOfThreesOnlyWhereTheCallerChoosesTheDecimals) {
  EXPECT_EQ(Float(123456789.5, 1081), "12,34,56,789.50");
  EXPECT_EQ(Number(123456789, 1081), "12,34,56,789");
  EXPECT_EQ(FloatEx(123456789.5, 1081), "123,456,789.50");
}

TEST_F(Formatting, ANumberInExponentFormGivesNull) {
  EXPECT_EQ(Float(1E+20, 1033), "Null");
  EXPECT_EQ(FloatEx(1E+20, 1033), "Null");
  EXPECT_EQ(Float(1E+15, 1033), "Null");
  EXPECT_EQ(Float(1E-16, 1033), "Null");
  EXPECT_EQ(Float(1.0 / 30, 1033), "Null");
  EXPECT_EQ(Float(999999999999999, 1033), "999,999,999,999,999.00");
  EXPECT_EQ(FloatEx(1E-15, 1033), "0.00");
}

TEST_F(Formatting, TheCallerChoosesTheDecimals) {
  EXPECT_EQ(FloatEx(1234.5678, 1031, Long{0}), "1.235");
  EXPECT_EQ(FloatEx(1234.5678, 1031), "1.234,57");
  EXPECT_EQ(FloatEx(1234.5678, 1031, Long{3}), "1.234,568");
  EXPECT_EQ(FloatEx(1234.5678, 1031, u"3"), "1.234,568");
  EXPECT_EQ(FloatEx(0.5, 1033, Long{9}), "0.500000000");
  EXPECT_EQ(FloatEx(0.5, 1033, Long{10}), "Null");
  EXPECT_EQ(FloatEx(0.5, 1033, Long{-1}), "Null");
}

TEST_F(Formatting, LeftOutDecimalsAreTheLocales) {
  LocaleFacts facts;
  facts.digits = 3;
  SetUser(facts);
  EXPECT_EQ(FloatEx(1.5, 1033), "1.500");
}

TEST_F(Formatting, ANegativeNumberStandsInBracketsWhereThereIsNoLeadingZero) {
  LocaleFacts facts;
  facts.leadingZero = 0;
  SetUser(facts);
  EXPECT_EQ(FloatEx(-1.5, 1033), "(1.50)");
  EXPECT_EQ(FloatEx(-0.5, 1033), "(.50)");
  // The locale's own order counts where the locale formats.
  EXPECT_EQ(Float(-1.5, 1033), "-1.50");
}

TEST_F(Formatting, TheNegativeOrderOfALocaleIsNotReadWhereTheCallerChoosesTheDecimals) {
  LocaleFacts facts;
  facts.negativeOrder = 3;
  SetUser(facts);
  EXPECT_EQ(Float(-1.5, 1033), "1.50-");
  EXPECT_EQ(FloatEx(-1.5, 1033), "-1.50");
}

TEST_F(Formatting, AWholeNumberLosesItsDecimals) {
  EXPECT_EQ(Number(1234567, 1033), "1,234,567");
  EXPECT_EQ(Number(-1234567, 1031), "-1.234.567");
  EXPECT_EQ(Number(0, 1033), "0");
  EXPECT_EQ(Number(std::numeric_limits<Long>::min(), 1033), "-2,147,483,648");
}

TEST_F(Formatting, AWholeNumberWithThreeDecimalsKeepsTheSeparator) {
  LocaleFacts facts;
  facts.digits = 3;
  SetUser(facts);
  EXPECT_EQ(Number(1234, 1033), "1,234.");
}

TEST_F(Formatting, AWholeNumberWithoutDecimalsLosesThreeOfItsOwnCharacters) {
  LocaleFacts facts;
  facts.digits = 0;
  SetUser(facts);
  EXPECT_EQ(Number(12345, 1033), "12,");
  EXPECT_EQ(functions.Number(Long{123}, Long{1033}), Variant(u""));
  EXPECT_EQ(functions.Number(Long{12}, Long{1033}), Variant(Null()));
}

TEST_F(Formatting, ANegativeWholeNumberInBracketsLosesTheClosingOne) {
  LocaleFacts facts;
  facts.negativeOrder = 0;
  SetUser(facts);
  EXPECT_EQ(Number(-12, 1033), "(12.");
}

TEST_F(Formatting, AnUnknownLocaleGivesNull) {
  EXPECT_EQ(Float(1, 99999), "Null");
  EXPECT_EQ(FloatEx(1, 99999), "Null");
  EXPECT_EQ(Number(1, 99999), "Null");
}

TEST_F(Formatting, ALocaleThatIsNoNumberGivesNull) {
  for (const Variant& locale :
       {Variant(Null()), Variant(u"de"), Variant(u""), Variant(nullptr), Variant(1E+10)}) {
    EXPECT_EQ(functions.DateTime(kMarch, locale), Variant(Null()));
    EXPECT_EQ(functions.Float(1.5, locale), Variant(Null()));
    EXPECT_EQ(functions.FloatEx(1.5, locale), Variant(Null()));
    EXPECT_EQ(functions.Number(Long{1}, locale), Variant(Null()));
    EXPECT_EQ(functions.DateFromJava(Long{2024}, Long{0}, Long{1}, locale), Variant(Null()));
  }
  EXPECT_EQ(Shown(functions.Float(1.5, u"1031")), "1,50");
  EXPECT_EQ(Shown(functions.Float(1.5, 1031.4)), "1,50");
  EXPECT_TRUE(host.Log().Entries().empty());
}

TEST_F(Formatting, AValueThatDoesNotConvertGivesNull) {
  const double nan = std::numeric_limits<double>::quiet_NaN();
  const double infinite = std::numeric_limits<double>::infinity();
  for (const Variant& value : {Variant(Null()), Variant(u"x"), Variant(nullptr), Variant(nan),
                               Variant(infinite), Variant(-infinite), Variant(String(1, char16_t{0xD800}))}) {
    EXPECT_EQ(functions.Float(value, Long{1033}), Variant(Null()));
    EXPECT_EQ(functions.FloatEx(value, Long{1033}), Variant(Null()));
    EXPECT_EQ(functions.FloatEx(1.5, Long{1033}, value), Variant(Null()));
    EXPECT_EQ(functions.Number(value, Long{1033}), Variant(Null()));
    EXPECT_EQ(functions.DateTime(value, Long{1033}), Variant(Null()));
    EXPECT_EQ(functions.DateFromJava(value, Long{1}, Long{1}, Long{1033}), Variant(Null()));
  }
  EXPECT_EQ(functions.Number(1E+10, Long{1033}), Variant(Null()));
  EXPECT_EQ(functions.DateTime(1E+10, Long{1033}), Variant(Null()));
  EXPECT_EQ(functions.DateTime(-1E+10, Long{1033}), Variant(Null()));
  EXPECT_EQ(functions.DateTime(kMarch, Long{1033}, u"x"), Variant(Null()));
}

TEST_F(Formatting, EveryLocaleWrites) {
  std::vector<Long> ids = hostlinux::LocaleIDs();
  for (const Long odd : {0, 127, 1024, 2048, 3072, 4096, 1, 5, 7, 9, 12, 66567}) ids.push_back(odd);
  for (const Long lcid : ids) {
    EXPECT_NE(functions.GetDecimalSeparator(lcid), u"") << lcid;
    EXPECT_NE(functions.GetThousandSeparator(lcid), u"") << lcid;
    EXPECT_NE(functions.GetDateSeparator(lcid), u"") << lcid;
    EXPECT_NE(functions.GetCurrencySymbol(lcid), u"") << lcid;
    EXPECT_LE(functions.GetShortDateFormatOrdering(lcid), 2) << lcid;
    EXPECT_NE(Float(-1234.5, lcid), "Null") << lcid;
    EXPECT_NE(FloatEx(-1234.5, lcid), "Null") << lcid;
    EXPECT_NE(Number(-1234, lcid), "Null") << lcid;
    EXPECT_NE(Shown(functions.DateTime(kMarch, lcid, true)), "Null") << lcid;
  }
}

// A default is the user's locale (English of the United States here), a language alone its first country, a
// sort order its language.
TEST_F(Formatting, OddLocalesWriteAsTheOnesTheyStandFor) {
  const std::pair<Long, Long> answers[] = {{0, 1033},    {1024, 1033}, {2048, 1033}, {3072, 1033},
                                           {4096, 1033}, {1, 1025},    {4, 2052},    {7, 1031},
                                           {9, 1033},    {12, 1036},   {57, 1081}};
  for (const auto& [lcid, as] : answers) {
    EXPECT_EQ(functions.GetDecimalSeparator(lcid), functions.GetDecimalSeparator(as)) << lcid;
    EXPECT_EQ(functions.GetThousandSeparator(lcid), functions.GetThousandSeparator(as)) << lcid;
    EXPECT_EQ(functions.GetDateSeparator(lcid), functions.GetDateSeparator(as)) << lcid;
    EXPECT_EQ(functions.GetShortDateFormatOrdering(lcid), functions.GetShortDateFormatOrdering(as)) << lcid;
    EXPECT_EQ(Float(-1234567.5, lcid), Float(-1234567.5, as)) << lcid;
    EXPECT_EQ(FloatEx(-1234567.5, lcid), FloatEx(-1234567.5, as)) << lcid;
    EXPECT_EQ(Number(-1234567, lcid), Number(-1234567, as)) << lcid;
    EXPECT_EQ(functions.DateTime(kMarch, lcid, true), functions.DateTime(kMarch, as, true)) << lcid;
  }
  // The exceptions among the tables of symbols go by the id itself, and not by what it stands for.
  EXPECT_EQ(functions.GetCurrencySymbol(4), u"¥");
  // Two write their days otherwise.
  EXPECT_EQ(Shown(functions.DateTime(kMarch, Long{5})), "5.3.2024");
  EXPECT_EQ(Shown(functions.DateTime(kMarch, Long{66567})), "5.3.2024");
}

class Asking : public ::testing::Test {
 protected:
  std::vector<std::string> Calls() { return host.Trace().LinesOf("Locale: Get"); }

  hostfake::FakeHost host;
  varnel::DataFunctions functions;
};

TEST_F(Asking, ADecimalNumberIsLeftToTheLocale) {
  host.LocaleAnswers().AnswerNumber(u"-0,50");
  EXPECT_EQ(Shown(functions.Float(-0.5, Long{1031})), "-0,50");
  EXPECT_THAT(Calls(), ElementsAre("Locale: GetNumberFormatA 1031 0 -.5 50"));
}

TEST_F(Asking, TheCallersDecimalsGoIntoAFormatForLocale0) {
  host.LocaleAnswers().AnswerNumber(u"1.500");
  EXPECT_EQ(Shown(functions.FloatEx(1.5, Long{1033}, Long{3})), "1.500");
  EXPECT_EQ(Calls().back(),
            "Locale: GetNumberFormatA 0 0 1.5 (digits 3, zero 1, group 3, \".\", \",\", order 1) 50");
}

TEST_F(Asking, TheGroupIsTheFirstCharacterOfTheLocalesText) {
  host.LocaleAnswers().SetInfo(1033, varnel::host::locale_code::kGrouping, u"2;3;0");
  functions.FloatEx(1.5, Long{1033});
  EXPECT_EQ(Calls().back(),
            "Locale: GetNumberFormatA 0 0 1.5 (digits 2, zero 1, group 2, \".\", \",\", order 1) 50");
}

TEST_F(Asking, ADayHasNoTimeUntilTheTimeIsAsked) {
  host.LocaleAnswers().AnswerDate(u"5. 3. 2024");
  host.LocaleAnswers().AnswerTime(u"7 : 08");
  EXPECT_EQ(Shown(functions.DateTime(kMarch, Long{1060}, true)), "5.3.2024 7 : 08");
  EXPECT_THAT(Calls(), ElementsAre("Locale: GetDateFormatW 1060 1 2024-3-5 0:0:0 50",
                                   "Locale: GetTimeFormatW 1060 2147483648 2024-3-5 7:8:9 50"));
}

// The buffers stay empty then; only the number's length would tell.
TEST_F(Asking, CallsThatFail) {
  EXPECT_EQ(functions.DateTime(kMarch, Long{1033}, true), Variant(u" "));
  EXPECT_EQ(functions.Float(1.5, Long{1033}), Variant(Null()));
  EXPECT_EQ(functions.FloatEx(1.5, Long{1033}), Variant(Null()));
  EXPECT_EQ(functions.Number(Long{1}, Long{1033}), Variant(Null()));
}

TEST(WithoutAPlatform, FactsAreEmptyAndValuesNull) {
  varnel::DataFunctions functions;
  EXPECT_EQ(functions.GetThousandSeparator(1033), u"");
  EXPECT_EQ(functions.Float(1.5, Long{1033}), Variant(Null()));
}

}  // namespace
}  // namespace localetest
