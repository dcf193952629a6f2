#include "host-linux/database/dialect/KeyLiteral.h"

#include <gtest/gtest.h>

namespace hostlinux {
namespace {

std::u16string Compare(ColumnKind kind, const std::u16string& op, std::u16string_view value) {
  const auto comparison = CompareWithText(kind, u"e", op, value);
  return comparison ? comparison->text : u"as it stands";
}

TEST(KeyLiteral, ANumeralStandsForAllDoublesThatPrintAlike) {
  const auto bounds = BoundsOfNumeral(u"0.3");
  ASSERT_TRUE(bounds);
  EXPECT_EQ(u"2999999999999995e-16", bounds->low);
  EXPECT_EQ(u"3000000000000005e-16", bounds->high);
}

TEST(KeyLiteral, BoundsOfANegativeNumeralChangePlaces) {
  const auto bounds = BoundsOfNumeral(u"-12.5");
  ASSERT_TRUE(bounds);
  EXPECT_EQ(u"-1250000000000005e-14", bounds->low);
  EXPECT_EQ(u"-1249999999999995e-14", bounds->high);
}

TEST(KeyLiteral, BelowAPowerOfTenTheDigitsAreDenser) {
  const auto bounds = BoundsOfNumeral(u"1");
  ASSERT_TRUE(bounds);
  EXPECT_EQ(u"9999999999999995e-16", bounds->low);
  EXPECT_EQ(u"1000000000000005e-15", bounds->high);
}

TEST(KeyLiteral, ZeroAndLongNumeralsHaveNoSpread) {
  EXPECT_EQ(u"0.0", BoundsOfNumeral(u"0.0")->low);
  EXPECT_EQ(u"0.0", BoundsOfNumeral(u"0.0")->high);
  EXPECT_EQ(u"1234567890123456", BoundsOfNumeral(u"1234567890123456")->high);
}

TEST(KeyLiteral, WhatIsNoNumeral) {
  for (const char16_t* text : {u"", u"-", u"1.2.3", u"1e", u"12a", u".", u"0x1F", u"1,5"}) {
    EXPECT_FALSE(BoundsOfNumeral(text)) << std::string(text, text + std::char_traits<char16_t>::length(text));
  }
}

TEST(KeyLiteral, DatesAreStoredAsIsoText) {
  EXPECT_EQ(u"2001-03-05 14:07:09", StoredDate(u"20010305 14:07:09"));
  EXPECT_EQ(u"2001-03-05 00:00:00", StoredDate(u"20010305"));
  EXPECT_EQ(u"2024-03-05 00:00:00", StoredDate(u"2024-3-5"));
  EXPECT_EQ(u"2024-03-05 07:08:09", StoredDate(u"2024-03-05 7:8:9.125"));
  EXPECT_EQ(std::nullopt, StoredDate(u"2024-03"));
  EXPECT_EQ(std::nullopt, StoredDate(u"Smith"));
  EXPECT_EQ(std::nullopt, StoredDate(u"20010305 14:07:09 x"));
}

TEST(KeyLiteral, ANumericColumnGetsTheNumber) {
  EXPECT_EQ(u"42", Compare(ColumnKind::Integer, u">", u"42"));
  EXPECT_EQ(u"-7", Compare(ColumnKind::Numeric, u"=", u"-7"));
  EXPECT_EQ(u"as it stands", Compare(ColumnKind::Integer, u"=", u"abc"));
}

TEST(KeyLiteral, ARealColumnGetsTheBoundThatFitsTheOperator) {
  EXPECT_EQ(u"3000000000000005e-16", Compare(ColumnKind::Real, u">", u"0.3"));
  EXPECT_EQ(u"2999999999999995e-16", Compare(ColumnKind::Real, u"<", u"0.3"));
  EXPECT_EQ(u"(e BETWEEN 2999999999999995e-16 AND 3000000000000005e-16)",
            Compare(ColumnKind::Real, u"=", u"0.3"));
  EXPECT_EQ(u"(e NOT BETWEEN 2999999999999995e-16 AND 3000000000000005e-16)",
            Compare(ColumnKind::Real, u"<>", u"0.3"));
}

TEST(KeyLiteral, ATextColumnKeepsItsLiteral) {
  EXPECT_EQ(u"as it stands", Compare(ColumnKind::Text, u">", u"42"));
  EXPECT_EQ(u"as it stands", Compare(ColumnKind::Text, u">", u"20010305 14:07:09"));
}

TEST(KeyLiteral, ADateColumnGetsTheStoredForm) {
  EXPECT_EQ(u"'2001-03-05 14:07:09'", Compare(ColumnKind::Date, u">", u"20010305 14:07:09"));
  EXPECT_EQ(u"as it stands", Compare(ColumnKind::Date, u">", u"2001-03-05 14:07:09"));
}

TEST(KeyLiteral, ADayWithoutTimeCountsAsMidnight) {
  EXPECT_EQ(u"'2001-03-05 00:00:00'", Compare(ColumnKind::DateOnly, u">", u"20010305 00:00:00"));
  EXPECT_EQ(u"'2001-03-05'", Compare(ColumnKind::DateOnly, u"<", u"20010305 00:00:00"));
  EXPECT_EQ(u"e IN ('2001-03-05', '2001-03-05 00:00:00')",
            Compare(ColumnKind::DateOnly, u"=", u"20010305 00:00:00"));
}

TEST(KeyLiteral, ATruthValueIsOneOrZero) {
  EXPECT_EQ(u"1", Compare(ColumnKind::Boolean, u"=", u"True"));
  EXPECT_EQ(u"0", Compare(ColumnKind::Boolean, u"<", u"False"));
}

TEST(KeyLiteral, AnExpressionIsComparedAsWhatItTurnsOutToBe) {
  EXPECT_EQ(u"(CASE typeof(e) WHEN 'text' THEN e > '42' ELSE e > 4200000000000005e-14 END)",
            Compare(ColumnKind::Unknown, u">", u"42"));
  EXPECT_EQ(u"as it stands", Compare(ColumnKind::Unknown, u">", u"Smith"));
}

}  // namespace
}  // namespace hostlinux
