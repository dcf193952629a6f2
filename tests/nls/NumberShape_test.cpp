#include "host-linux/nls/NumberShape.h"

#include <gtest/gtest.h>

namespace hostlinux {
namespace {

using varnel::Long;
using varnel::String;
using varnel::StringView;

NumberShape English(int digits = 2) {
  NumberShape shape;
  shape.digits = digits;
  shape.decimal = u".";
  shape.thousand = u",";
  SetGroupsByText(shape, u"3;0");
  return shape;
}

std::string Shaped(StringView number, const NumberShape& shape) {
  const auto text = ShapeNumber(number, shape);
  return text ? varnel::ToUtf8(*text) : "none";
}

std::string GroupedByText(StringView grouping, StringView number = u"123456789") {
  NumberShape shape = English(0);
  SetGroupsByText(shape, grouping);
  return Shaped(number, shape);
}

std::string GroupedByNumber(Long grouping, StringView number = u"123456789") {
  NumberShape shape = English(0);
  SetGroupsByNumber(shape, grouping);
  return Shaped(number, shape);
}

TEST(NumberShape, RoundsDecimalTextHalfAwayFromZero) {
  EXPECT_EQ(Shaped(u"0.005", English()), "0.01");
  EXPECT_EQ(Shaped(u"-0.005", English()), "-0.01");
  EXPECT_EQ(Shaped(u"1.00499999999999999999", English()), "1.00");
  EXPECT_EQ(Shaped(u"2.5", English(0)), "3");
  EXPECT_EQ(Shaped(u"-2.5", English(0)), "-3");
}

TEST(NumberShape, GroupsAfterTheRounding) {
  EXPECT_EQ(Shaped(u"999.995", English()), "1,000.00");
  EXPECT_EQ(Shaped(u"999999.5", English(0)), "1,000,000");
}

TEST(NumberShape, GroupsOfALocalesText) {
  EXPECT_EQ(GroupedByText(u"3;0"), "123,456,789");
  EXPECT_EQ(GroupedByText(u"3;2;0"), "12,34,56,789");
  EXPECT_EQ(GroupedByText(u"3"), "123456,789");
  EXPECT_EQ(GroupedByText(u"0"), "123456789");
  EXPECT_EQ(GroupedByText(u""), "123456789");
}

TEST(NumberShape, GroupsOfAFormatsNumber) {
  EXPECT_EQ(GroupedByNumber(3), "123,456,789");
  EXPECT_EQ(GroupedByNumber(32), "12,34,56,789");
  EXPECT_EQ(GroupedByNumber(30), "123456,789");
  EXPECT_EQ(GroupedByNumber(0), "123456789");
  EXPECT_EQ(GroupedByNumber(3, u"123"), "123");
}

TEST(NumberShape, FiveOrdersOfANegativeNumber) {
  const char* expected[] = {"(1.00)", "-1.00", "- 1.00", "1.00-", "1.00 -"};
  for (int order = 0; order < 5; ++order) {
    NumberShape shape = English();
    shape.negativeOrder = order;
    EXPECT_EQ(Shaped(u"-1", shape), expected[order]);
    EXPECT_EQ(Shaped(u"1", shape), "1.00");
  }
}

TEST(NumberShape, TheZeroInFrontOfThePointMayBeLeftOut) {
  NumberShape shape = English();
  shape.leadingZero = false;
  EXPECT_EQ(Shaped(u".5", shape), ".50");
  EXPECT_EQ(Shaped(u"000.5", shape), ".50");
  EXPECT_EQ(Shaped(u".5", English()), "0.50");
  shape.digits = 0;
  EXPECT_EQ(Shaped(u".4", shape), "0");
}

TEST(NumberShape, TakesASignDigitsAPointAndDigits) {
  EXPECT_EQ(Shaped(u"1.", English()), "1.00");
  EXPECT_EQ(Shaped(u"00012", English()), "12.00");
  for (const StringView bad : {u"1E+20", u"+1", u" 1", u"1 ", u"1,5", u"1.2.3", u"--1", u"abc", u"\xD800"}) {
    EXPECT_EQ(Shaped(bad, English()), "none") << varnel::ToUtf8(bad);
  }
}

}  // namespace
}  // namespace hostlinux
