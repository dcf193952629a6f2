#include "site/loader/IdsFile.h"

#include <gtest/gtest.h>

namespace shop {
namespace {

// A list with everything that occurs in one: a head, comments, boards, a USB interface, class sections.
constexpr char kList[] =
    "#\tList of ids\n"
    "#\tDate:    2023-04-10 20:08:02\n"
    "\n"
    "8086  Intel Corporation\n"
    "\t1533  I210 Gigabit Network Connection\n"
    "\t\t15d9 0003  X10SLM board\n"
    "# between\n"
    "\t\t103C 0004   Port Adapter \n"
    "\tA001  Bridge\n"
    "abcd  Maker without devices\n"
    "C 00  Unclassified device\n"
    "\t00  Not a device\n"
    "\t0001  Not a device either\n"
    "\t\t15d9 0003  Not a board\n"
    "046d  Behind the classes\n"
    "\tc077  Mouse\n"
    "\t\t01  Interface\n";

TEST(IdsFile, ReadsVendorsDevicesAndBoardsInTheirOrder) {
  const std::vector<IdsVendor> expected = {
      {"8086",
       "Intel Corporation",
       {{"1533",
         "I210 Gigabit Network Connection",
         {{"15d9", "0003", "X10SLM board"}, {"103c", "0004", "Port Adapter"}}},
        {"a001", "Bridge", {}}}},
      {"abcd", "Maker without devices", {}},
      {"046d", "Behind the classes", {{"c077", "Mouse", {}}}}};
  EXPECT_EQ(ParseIds(kList).vendors, expected);
}

TEST(IdsFile, TakesTheDateFromTheHead) {
  EXPECT_EQ(ParseIds(kList).date, "2023-04-10 20:08:02");
  EXPECT_EQ(ParseIds("# Date: yesterday\n").date, "");
  EXPECT_EQ(ParseIds("# Date: 2001-02-03 04:05:06\n# Date: 2009-02-03 04:05:06\n").date,
            "2001-02-03 04:05:06");
}

TEST(IdsFile, EveryLineOfAClassSectionIsPassedOver) {
  const IdsFile file = ParseIds("0001  A\nHID 21  HID\n\t0002  x\nAT 0300  y\n\t0003  z\n\t\t0001 0002  w\n");
  ASSERT_EQ(file.vendors.size(), 1U);
  EXPECT_TRUE(file.vendors[0].devices.empty());
}

TEST(IdsFile, ABoardNeedsADeviceAndADeviceAVendor) {
  EXPECT_TRUE(ParseIds("\t0001  device\n\t\t0001 0002  board\n").vendors.empty());
  const IdsFile file = ParseIds("0001  A\n\t\t0001 0002  board\n\tzzzz  none\n\t\t0001 0003  board\n");
  ASSERT_EQ(file.vendors.size(), 1U);
  EXPECT_TRUE(file.vendors[0].devices.empty());
}

TEST(IdsFile, AnIdIsSetOffByABlank) {
  EXPECT_TRUE(ParseIds("00012  long\nabc  short\nfacet\n").vendors.empty());
}

TEST(IdsFile, NamesAreTrimmedAndFreeOfControlCharacters) {
  const IdsFile file = ParseIds(
      "0001 \t A\tB\x01"
      "C \r\n0002\n");
  ASSERT_EQ(file.vendors.size(), 2U);
  EXPECT_EQ(file.vendors[0].name, "A B C");
  EXPECT_EQ(file.vendors[1].name, "");
}

TEST(IdsFile, TheLastLineNeedsNoLineEnd) {
  EXPECT_EQ(ParseIds("0001  A\n\t0002  B").vendors.at(0).devices.at(0).name, "B");
  EXPECT_TRUE(ParseIds("").vendors.empty());
  EXPECT_TRUE(ParseIds("\n\n\t\n\t\t\n").vendors.empty());
}

TEST(IdsFile, StrayBytesAreReadAsTheOldCodePage) {
  EXPECT_EQ(ParseIds("0001  Caf\xE9\n").vendors.at(0).name, "Caf\xC3\xA9");
}

TEST(IdsFile, CutAnywhereTheTextIsReadWithoutAFailure) {
  const std::string_view whole = kList;
  const std::size_t all = ParseIds(whole).vendors.size();
  for (std::size_t length = 0; length <= whole.size(); ++length) {
    EXPECT_LE(ParseIds(whole.substr(0, length)).vendors.size(), all);
  }
}

}  // namespace
}  // namespace shop
