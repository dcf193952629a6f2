// Numbers to text and back.
#include <gtest/gtest.h>

#include <cmath>
#include <limits>

#include "tests/automation/Raises.h"
#include "varnel/automation/Convert.h"

namespace varnel::test {
namespace {

TEST(NumberText, IsPlainDecimalWithAPointWhateverTheLocale) {
  const UserLocaleIs locale(German());
  EXPECT_EQ(NumberText(1234.5), u"1234.5");
  EXPECT_EQ(NumberText(-0.5), u"-0.5");
  EXPECT_EQ(NumberText(100), u"100");
}

TEST(NumberText, HasUpToFifteenSignificantDigits) {
  EXPECT_EQ(NumberText(0.1 + 0.2), u"0.3");
  EXPECT_EQ(NumberText(1.0 / 3), u"0.333333333333333");
  EXPECT_EQ(NumberText(2.0 / 3), u"0.666666666666667");
  EXPECT_EQ(NumberText(123456789012345678.0), u"123456789012346000");
  EXPECT_EQ(NumberText(999999999999999.9), u"1000000000000000");
  EXPECT_EQ(NumberText(123456789.012345), u"123456789.012345");
}

TEST(NumberText, NeverHasAnExponent) {
  EXPECT_EQ(NumberText(1e20), u"100000000000000000000");
  EXPECT_EQ(NumberText(1e-10), u"0.0000000001");
  EXPECT_EQ(NumberText(-1.5e-7), u"-0.00000015");
  EXPECT_EQ(NumberText(std::numeric_limits<double>::max()).size(), 309U);
  EXPECT_EQ(NumberText(std::numeric_limits<double>::denorm_min()).substr(0, 4), u"0.00");
}

TEST(NumberText, HasNoNegativeZero) { EXPECT_EQ(NumberText(-0.0), u"0"); }

TEST(NumberText, OfWhatIsNoNumberOverflows) {
  EXPECT_EQ(NumberOf([] { NumberText(std::nan("")); }), 6);
  EXPECT_EQ(NumberOf([] { NumberText(-std::numeric_limits<double>::infinity()); }), 6);
}

TEST(SignedNumberText, HasAPlaceForTheSign) {
  EXPECT_EQ(SignedNumberText(1.5), u" 1.5");
  EXPECT_EQ(SignedNumberText(-1.5), u"-1.5");
  EXPECT_EQ(SignedNumberText(255), u" 255");
  EXPECT_EQ(SignedNumberText(0), u" 0");
  EXPECT_EQ(SignedNumberText(-0.0), u" 0");
}

TEST(SignedNumberText, HasAPointAndNoDigitBeforeItBelowOne) {
  const UserLocaleIs locale(German());
  EXPECT_EQ(SignedNumberText(0.5), u" .5");
  EXPECT_EQ(SignedNumberText(-0.5), u"-.5");
  EXPECT_EQ(SignedNumberText(1.0 / 3), u" .333333333333333");
  EXPECT_EQ(SignedNumberText(0.1 + 0.2), u" .3");
  EXPECT_EQ(SignedNumberText(12345.678), u" 12345.678");
}

TEST(SignedNumberText, HasAnExponentFromTheSixteenthDigitOn) {
  EXPECT_EQ(SignedNumberText(999999999999999), u" 999999999999999");
  EXPECT_EQ(SignedNumberText(1e14), u" 100000000000000");
  EXPECT_EQ(SignedNumberText(1e15), u" 1E+15");
  EXPECT_EQ(SignedNumberText(1234567890123456), u" 1.23456789012346E+15");
  EXPECT_EQ(SignedNumberText(9999999999999996), u" 1E+16");
  EXPECT_EQ(SignedNumberText(-1e20), u"-1E+20");
  EXPECT_EQ(SignedNumberText(std::numeric_limits<double>::max()), u" 1.79769313486232E+308");
}

TEST(SignedNumberText, HasAnExponentWhereFifteenDecimalsDontDo) {
  EXPECT_EQ(SignedNumberText(1e-5), u" .00001");
  EXPECT_EQ(SignedNumberText(1.5e-5), u" .000015");
  EXPECT_EQ(SignedNumberText(1e-15), u" .000000000000001");
  EXPECT_EQ(SignedNumberText(1e-16), u" 1E-16");
  EXPECT_EQ(SignedNumberText(0.1 / 3), u" 3.33333333333333E-02");
  EXPECT_EQ(SignedNumberText(0.000123456789012345), u" 1.23456789012345E-04");
  EXPECT_EQ(SignedNumberText(std::numeric_limits<double>::denorm_min()), u" 4.94065645841247E-324");
}

TEST(SignedNumberText, OfWhatIsNoNumberOverflows) {
  EXPECT_EQ(NumberOf([] { SignedNumberText(std::nan("")); }), 6);
}

TEST(ParseNumber, ReadsSignsBlanksAndExponents) {
  EXPECT_EQ(ParseNumber(u"12"), 12);
  EXPECT_EQ(ParseNumber(u"  -12.5  "), -12.5);
  EXPECT_EQ(ParseNumber(u"+3"), 3);
  EXPECT_EQ(ParseNumber(u"- 3"), -3);
  EXPECT_EQ(ParseNumber(u"3-"), -3);
  EXPECT_EQ(ParseNumber(u".5"), 0.5);
  EXPECT_EQ(ParseNumber(u"5."), 5);
  EXPECT_EQ(ParseNumber(u"1e3"), 1000);
  EXPECT_EQ(ParseNumber(u"1.5D-2"), 0.015);
  EXPECT_EQ(ParseNumber(u"1E+2"), 100);
}

TEST(ParseNumber, ReadsThousandsOfTheLocale) {
  EXPECT_EQ(ParseNumber(u"1,234,567.5"), 1234567.5);
  EXPECT_EQ(ParseNumber(u"1,2"), 12);
  EXPECT_EQ(NumberOf([] { ParseNumber(u"1,"); }), 13);
  EXPECT_EQ(NumberOf([] { ParseNumber(u",1"); }), 13);
  EXPECT_EQ(NumberOf([] { ParseNumber(u"1,,2"); }), 13);
  EXPECT_EQ(NumberOf([] { ParseNumber(u"1.2,3"); }), 13);
}

TEST(ParseNumber, ReadsADecimalCommaWhereTheLocaleHasOne) {
  const UserLocaleIs locale(German());
  EXPECT_EQ(ParseNumber(u"1,5"), 1.5);
  EXPECT_EQ(ParseNumber(u"1.234,5"), 1234.5);
  EXPECT_EQ(ParseNumber(u"1.5"), 15);
  EXPECT_EQ(NumberOf([] { ParseNumber(u"1,5,5"); }), 13);
}

TEST(ParseNumber, ReadsAnUnbreakableBlankAsSeparatorOfThousandsWhereTheLocaleHasIt) {
  LocaleFacts french;
  french.decimal = u",";
  french.thousand = u"\u00A0";
  const UserLocaleIs locale(french);
  EXPECT_EQ(ParseNumber(u"1\u00A0234\u00A0567,5"), 1234567.5);
}

TEST(ParseNumber, TakesTheCurrencySymbolOnce) {
  EXPECT_EQ(ParseNumber(u"$5"), 5);
  EXPECT_EQ(ParseNumber(u"-$5"), -5);
  EXPECT_EQ(ParseNumber(u"$-5"), -5);
  EXPECT_EQ(ParseNumber(u"$ 1,000.25"), 1000.25);
  EXPECT_EQ(ParseNumber(u"5 $"), 5);
  EXPECT_EQ(NumberOf([] { ParseNumber(u"$$5"); }), 13);
  EXPECT_EQ(NumberOf([] { ParseNumber(u"$5$"); }), 13);
  EXPECT_EQ(NumberOf([] { ParseNumber(u"$"); }), 13);
  EXPECT_EQ(NumberOf([] { ParseNumber(u"\u20AC5"); }), 13);
}

TEST(ParseNumber, TakesACurrencyThatBeginsLikeAnExponent) {
  LocaleFacts dinar;
  dinar.currency = u"den";
  const UserLocaleIs locale(dinar);
  EXPECT_EQ(ParseNumber(u"5den"), 5);
  EXPECT_EQ(ParseNumber(u"5d2den"), 500);
}

TEST(ParseNumber, ReadsBracketsAsAMinus) {
  EXPECT_EQ(ParseNumber(u"(5)"), -5);
  EXPECT_EQ(ParseNumber(u"($1,000.5)"), -1000.5);
  EXPECT_EQ(ParseNumber(u"( 5 )"), -5);
  EXPECT_EQ(NumberOf([] { ParseNumber(u"(5"); }), 13);
  EXPECT_EQ(NumberOf([] { ParseNumber(u"5)"); }), 13);
  EXPECT_EQ(NumberOf([] { ParseNumber(u"(-5)"); }), 13);
  EXPECT_EQ(NumberOf([] { ParseNumber(u"(5-)"); }), 13);
}

TEST(ParseNumber, ReadsHexadecimalAndOctalPatterns) {
  EXPECT_EQ(ParseNumber(u"&H1F"), 31);
  EXPECT_EQ(ParseNumber(u"&hffff"), -1);
  EXPECT_EQ(ParseNumber(u"&H10000"), 65536);
  EXPECT_EQ(ParseNumber(u"&HFFFFFFFF"), -1);
  EXPECT_EQ(ParseNumber(u"&O17"), 15);
  EXPECT_EQ(NumberOf([] { ParseNumber(u"&H1FFFFFFFF"); }), 6);
  EXPECT_EQ(NumberOf([] { ParseNumber(u"&H"); }), 13);
  EXPECT_EQ(NumberOf([] { ParseNumber(u"&HG"); }), 13);
  EXPECT_EQ(NumberOf([] { ParseNumber(u"&O8"); }), 13);
  EXPECT_EQ(NumberOf([] { ParseNumber(u"&X1"); }), 13);
}

TEST(ParseNumber, RefusesWhatIsNoNumber) {
  for (const StringView text :
       {u"",      u"   ", u"abc", u"-",     u"+",    u".",        u"1 2", u"1e", u"1e+", u"--5",   u"-5-",
        u"1.2.3", u"5x",  u"\t5", u"5\r\n", u"True", u"1/2/2000", u"(",   u"()", u"&",   u"\u0661"}) {
    EXPECT_EQ(NumberOf([&] { ParseNumber(text); }), 13) << ToUtf8(text);
  }
}

TEST(ParseNumber, OverflowsAtTheTopAndIsZeroAtTheBottom) {
  EXPECT_EQ(NumberOf([] { ParseNumber(u"1e400"); }), 6);
  EXPECT_EQ(NumberOf([] { ParseNumber(u"-1e400"); }), 6);
  EXPECT_EQ(ParseNumber(u"1e-400"), 0);
  EXPECT_EQ(ParseNumber(u"1.7976931348623157e308"), std::numeric_limits<double>::max());
}

TEST(ParseNumber, ReadsBackWhatNumberTextWrites) {
  for (const double value : {0.0, 1.0, -1.5, 0.1, 123456.789, 1e15, 1e-15, 99999999999999.0}) {
    EXPECT_EQ(ParseNumber(NumberText(value)), value);
  }
}

}  // namespace
}  // namespace varnel::test
