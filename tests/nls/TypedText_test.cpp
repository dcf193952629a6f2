// What visitors type, read by their locale, and what is refused because it could mean something else.
#include "host-linux/nls/TypedText.h"

#include <gtest/gtest.h>

#include "host-linux/nls/LocaleTable.h"

namespace hostlinux {
namespace {

using varnel::Long;
using varnel::StringView;

constexpr Long kEnglish = 1033;
constexpr Long kGerman = 1031;
constexpr Long kFrench = 1036;
constexpr Long kSwiss = 2055;
constexpr Long kHindi = 1081;
constexpr Long kHungarian = 1038;
constexpr Long kThai = 1054;

std::optional<double> Number(StringView text, Long lcid) { return ReadTypedNumber(text, *FindLocale(lcid)); }

// "2024-3-5 17:08:09"; "none" for what is no day.
std::string Day(StringView text, Long lcid) {
  const auto date = ReadTypedDate(text, *FindLocale(lcid));
  if (!date) return "none";
  const varnel::DateParts parts = varnel::SplitDate(*date);
  std::string day =
      std::to_string(parts.year) + "-" + std::to_string(parts.month) + "-" + std::to_string(parts.day);
  if (parts.hour + parts.minute + parts.second == 0) return day;
  return day + " " + std::to_string(parts.hour) + ":" + std::to_string(parts.minute) + ":" +
         std::to_string(parts.second);
}

TEST(TypedNumber, IsReadByTheSeparatorsOfTheLocale) {
  EXPECT_EQ(Number(u"1.234,5", kGerman), 1234.5);
  EXPECT_EQ(Number(u"1234,5", kGerman), 1234.5);
  EXPECT_EQ(Number(u" 12,34 ", kGerman), 12.34);
  EXPECT_EQ(Number(u"1,234.5", kEnglish), 1234.5);
  EXPECT_EQ(Number(u"12,34,567.5", kHindi), 1234567.5);
  EXPECT_EQ(Number(u"7", kGerman), 7);
}

TEST(TypedNumber, OfAnotherCountryIsNoneRatherThanAWrongOne) {
  EXPECT_EQ(Number(u"12.34", kGerman), std::nullopt);
  EXPECT_EQ(Number(u"1.23", kGerman), std::nullopt);
  EXPECT_EQ(Number(u"1,23", kEnglish), std::nullopt);
  EXPECT_EQ(Number(u"1.2345,5", kGerman), std::nullopt);
  EXPECT_EQ(Number(u"1234.567,5", kGerman), std::nullopt);
  EXPECT_EQ(Number(u"1.234567", kGerman), std::nullopt);
  EXPECT_EQ(Number(u"1,234,567", kHindi), std::nullopt);
  EXPECT_EQ(Number(u"1,2,3", kGerman), std::nullopt);
}

TEST(TypedNumber, TakesWhatAKeyboardHasForTheLocalesSeparator) {
  EXPECT_EQ(Number(u"1\u00A0234,5", kFrench), 1234.5);
  EXPECT_EQ(Number(u"1 234,5", kFrench), 1234.5);
  EXPECT_EQ(Number(u"1\u202F234,5", kFrench), 1234.5);
  EXPECT_EQ(Number(u"1'234.5", kSwiss), 1234.5);
  EXPECT_EQ(Number(u"1\u2019234.5", kSwiss), 1234.5);
}

TEST(TypedNumber, MayHaveASign) {
  EXPECT_EQ(Number(u"-1,5", kGerman), -1.5);
  EXPECT_EQ(Number(u"- 1,5", kGerman), -1.5);
  EXPECT_EQ(Number(u"\u22121,5", kGerman), -1.5);
  EXPECT_EQ(Number(u"+3", kGerman), 3);
  EXPECT_EQ(Number(u"--3", kGerman), std::nullopt);
  EXPECT_EQ(Number(u"3-", kGerman), std::nullopt);
}

TEST(TypedNumber, IsNothingElse) {
  for (const StringView text : {u"", u" ", u"-", u",", u"1,", u"twelve", u"1e5", u"0x10", u"1,5 EUR", u"NaN",
                                u"1..5", u"\u0661", u".", u".5.5", u"1,5,5"})
    EXPECT_EQ(Number(text, kGerman), std::nullopt) << varnel::ToUtf8(text);
  EXPECT_EQ(Number(u",5", kGerman), 0.5);
}

TEST(TypedNumber, OutOfRangeIsNone) {
  EXPECT_EQ(Number(varnel::String(399, u'9'), kGerman), std::nullopt);
  EXPECT_EQ(Number(varnel::String(1'000'000, u'9'), kGerman), std::nullopt);
  EXPECT_EQ(Number(varnel::String(20, u'9'), kGerman), 1e20);
}

TEST(TypedDate, IsReadInTheOrderOfTheLocale) {
  EXPECT_EQ(Day(u"5.3.2024", kGerman), "2024-3-5");
  EXPECT_EQ(Day(u"05.03.2024", kGerman), "2024-3-5");
  EXPECT_EQ(Day(u"3/5/2024", kEnglish), "2024-3-5");
  EXPECT_EQ(Day(u"05/03/2024", kFrench), "2024-3-5");
  EXPECT_EQ(Day(u"2024. 03. 05.", kHungarian), "2024-3-5");
  EXPECT_EQ(Day(u"5/3/2567", kThai), "2024-3-5");
}

TEST(TypedDate, MayBeWhatABrowsersOwnFieldSends) {
  EXPECT_EQ(Day(u"2024-03-05", kGerman), "2024-3-5");
  EXPECT_EQ(Day(u"2024-03-05T17:08", kEnglish), "2024-3-5 17:8:0");
  EXPECT_EQ(Day(u"2024-03-05T17:08:09", kEnglish), "2024-3-5 17:8:9");
  EXPECT_EQ(Day(u"2024-03-05T17", kEnglish), "none");
  EXPECT_EQ(Day(u"2024-03-05T17:61", kEnglish), "none");
  EXPECT_EQ(Day(u"2024-03-05 17:08", kEnglish), "none");
}

TEST(TypedDate, ThatIsNoDayIsNone) {
  for (const StringView text :
       {u"", u"31.4.2024", u"29.2.2023", u"0.1.2024", u"1.13.2024", u"5.3.24", u"5.3", u"5/3/2024",
        u"5.3.2024.1", u"5.3.20245", u"5.3.0024", u"a.b.cccc", u"5.3.2024 12:00", u"2024-02-30"})
    EXPECT_EQ(Day(text, kGerman), "none") << varnel::ToUtf8(text);
  EXPECT_EQ(Day(u"29.2.2024", kGerman), "2024-2-29");
}

TEST(TypedDate, AndNumberAreReadOfAnyLocale) {
  for (const Long lcid : LocaleIDs()) {
    const auto locale = FindLocale(lcid);
    EXPECT_EQ(ReadTypedNumber(u"1" + locale->decimal + u"5", *locale), 1.5) << lcid;
    EXPECT_EQ(ReadTypedNumber(u"1234567", *locale), 1234567) << lcid;
    EXPECT_EQ(Day(u"2024-03-05", lcid), "2024-3-5") << lcid;
  }
}

}  // namespace
}  // namespace hostlinux
