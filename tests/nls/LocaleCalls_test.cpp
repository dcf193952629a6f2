#include "host-linux/nls/LocaleCalls.h"

#include <gtest/gtest.h>

#include <array>

#include "host-linux/nls/LocaleTable.h"

namespace hostlinux {
namespace {

using varnel::LocaleFacts;
using varnel::Long;
using varnel::String;
using varnel::StringView;
using varnel::host::NumberFormat;
using varnel::host::SystemTime;
namespace locale_code = varnel::host::locale_code;

constexpr std::uint32_t kUsersOwn = varnel::host::kDateShortDate;
constexpr std::uint32_t kNoOverride = varnel::host::kLocaleNoUserOverride;

class LocaleCallsTest : public ::testing::Test {
 protected:
  ~LocaleCallsTest() override { varnel::SetUserLocale({}); }

  std::string Written() const { return varnel::ToUtf8(String(m_buffer.data())); }

  std::string Info(Long lcid, Long code) {
    m_buffer.fill(0);
    return m_calls.GetLocaleInfoW(lcid, code, m_buffer) == 0 ? "none" : Written();
  }
  std::string Number(Long lcid, StringView value, const NumberFormat* format = nullptr) {
    m_buffer.fill(0);
    return m_calls.GetNumberFormatA(lcid, 0, value, format, m_buffer) == 0 ? "none" : Written();
  }
  std::string Date(Long lcid, const SystemTime& time, std::uint32_t flags = kUsersOwn) {
    m_buffer.fill(0);
    return m_calls.GetDateFormatW(lcid, flags, time, m_buffer) == 0 ? "none" : Written();
  }
  std::string Time(Long lcid, const SystemTime& time, std::uint32_t flags = kNoOverride) {
    m_buffer.fill(0);
    return m_calls.GetTimeFormatW(lcid, flags, time, m_buffer) == 0 ? "none" : Written();
  }

  LocaleCalls m_calls{1252};
  std::array<char16_t, 50> m_buffer{};
};

constexpr Long kCodes[] = {locale_code::kDecimal, locale_code::kThousand,    locale_code::kGrouping,
                           locale_code::kDigits,  locale_code::kLeadingZero, locale_code::kCurrency,
                           locale_code::kDate,    locale_code::kDateOrder};

TEST_F(LocaleCallsTest, EveryLocaleAnswersEveryCode) {
  std::vector<Long> ids = LocaleIDs();
  EXPECT_EQ(ids.size(), 255U);
  for (const Long odd : {0, 127, 1024, 2048, 3072, 4096, 1, 5, 7, 9, 12, 66567}) ids.push_back(odd);
  for (const Long lcid : ids) {
    for (const Long code : kCodes) EXPECT_NE(Info(lcid, code), "none") << lcid << " " << code;
    EXPECT_NE(Number(lcid, u"-1234.5"), "none") << lcid;
    EXPECT_NE(Date(lcid, {2024, 3, 0, 5, 0, 0, 0}), "none") << lcid;
    EXPECT_NE(Time(lcid, {0, 0, 0, 0, 7, 8, 9}), "none") << lcid;
  }
}

TEST_F(LocaleCallsTest, AnUnknownLocaleOrCodeFailsAndLeavesTheBuffer) {
  for (const Long lcid : {99999, -1, 2074, 66569}) {
    for (const Long code : kCodes) EXPECT_EQ(Info(lcid, code), "none");
    EXPECT_EQ(Number(lcid, u"1"), "none");
    EXPECT_EQ(Date(lcid, {2024, 3, 0, 5, 0, 0, 0}), "none");
    EXPECT_EQ(Time(lcid, {2024, 3, 0, 5, 0, 0, 0}), "none");
    EXPECT_EQ(Written(), "");
  }
  EXPECT_EQ(Info(1033, 4711), "none");
}

TEST_F(LocaleCallsTest, TheResultCountsTheNul) {
  EXPECT_EQ(m_calls.GetLocaleInfoW(1031, locale_code::kGrouping, m_buffer), 4);
  EXPECT_EQ(m_calls.GetNumberFormatA(1031, 0, u"1234.5", nullptr, m_buffer), 9);
  EXPECT_EQ(m_calls.GetDateFormatW(1031, kUsersOwn, {2024, 3, 0, 5, 0, 0, 0}, m_buffer), 11);
}

TEST_F(LocaleCallsTest, ATextThatDoesNotFitFails) {
  EXPECT_EQ(Number(1033, String(34, u'1')), "1,111,111,111,111,111,111,111,111,111,111,111.00");
  EXPECT_EQ(Number(1033, u"1" + String(34, u'1')), "11,111,111,111,111,111,111,111,111,111,111,111.00");
  EXPECT_EQ(Number(1033, u"11" + String(34, u'1')), "none");
  std::array<char16_t, 3> small{};
  EXPECT_EQ(m_calls.GetLocaleInfoW(1033, locale_code::kGrouping, small), 0);
  EXPECT_EQ(m_calls.GetLocaleInfoW(1033, locale_code::kDecimal, {}), 0);
}

TEST_F(LocaleCallsTest, NumbersFollowTheLocale) {
  EXPECT_EQ(Number(1031, u"-1234567.891"), "-1.234.567,89");
  EXPECT_EQ(Number(1081, u"1234567.891"), "12,34,567.89");
  EXPECT_EQ(Number(2055, u"1234567.891"), "1’234’567.89");
  EXPECT_EQ(Number(1036, u"1234.5"), "1\u00A0234,50");
}

TEST_F(LocaleCallsTest, TheNumbersTextComesThroughTheSitesCodePage) {
  LocaleCalls calls(1251);
  ASSERT_GT(calls.GetNumberFormatA(2055, 0, u"1234", nullptr, m_buffer), 0);
  EXPECT_EQ(Written(), "1’234.00");
  // Read as Cyrillic, the byte of the locale's own code page would be another character.
  EXPECT_EQ(calls.NumberFormatBytes(2055, 0, u"1234", nullptr),
            "1\x92"
            "234.00");
}

TEST_F(LocaleCallsTest, AFormatsFieldsHaveRanges) {
  const NumberFormat good{9, 1, 3, u".", u",", 4};
  EXPECT_EQ(Number(0, u"-1234.5", &good), "1,234.500000000 -");
  for (const NumberFormat& bad :
       {NumberFormat{10, 1, 3, u".", u",", 1}, NumberFormat{-1, 1, 3, u".", u",", 1},
        NumberFormat{2, 2, 3, u".", u",", 1}, NumberFormat{2, -1, 3, u".", u",", 1},
        NumberFormat{2, 1, 3, u".", u",", 5}, NumberFormat{2, 1, 3, u".", u",", -1},
        NumberFormat{2, 1, -3, u".", u",", 1}, NumberFormat{2, 1, 3, u"abcd", u",", 1},
        NumberFormat{2, 1, 3, u".", u"abcd", 1}, NumberFormat{2, 1, 3, std::nullopt, u",", 1},
        NumberFormat{2, 1, 3, u".", std::nullopt, 1}}) {
    EXPECT_EQ(Number(0, u"1", &bad), "none");
  }
}

TEST_F(LocaleCallsTest, DatesBeginWithTheYear1601AndTimesDoNotLook) {
  EXPECT_EQ(Date(1033, {1601, 1, 0, 1, 0, 0, 0}), "1/1/1601");
  EXPECT_EQ(Date(1033, {1600, 12, 0, 31, 0, 0, 0}), "none");
  EXPECT_EQ(Time(1033, {1600, 12, 0, 31, 23, 0, 0}), "11:00:00 PM");
}

TEST_F(LocaleCallsTest, DaysAndTimesThatDoNotExistFail) {
  EXPECT_EQ(Date(1033, {2023, 2, 0, 29, 0, 0, 0}), "none");
  EXPECT_EQ(Date(1033, {2024, 2, 0, 29, 0, 0, 0}), "2/29/2024");
  EXPECT_EQ(Date(1033, {2024, 13, 0, 1, 0, 0, 0}), "none");
  EXPECT_EQ(Date(1033, {2024, 0, 0, 1, 0, 0, 0}), "none");
  EXPECT_EQ(Time(1033, {2024, 1, 0, 1, 24, 0, 0}), "none");
  EXPECT_EQ(Time(1033, {2024, 1, 0, 1, 0, 60, 0}), "none");
  EXPECT_EQ(Time(1033, {2024, 1, 0, 1, 0, 0, -1}), "none");
}

TEST_F(LocaleCallsTest, ThaiDatesCountYearsByTheBuddhistCalendar) {
  EXPECT_EQ(Date(1054, {2024, 3, 0, 5, 0, 0, 0}), "5/3/2567");
}

TEST_F(LocaleCallsTest, TheUsersOwnSettingsCountUnlessTheFlagsSayOtherwise) {
  LocaleFacts user = FindLocale(1031).value();
  user.shortDate = u"yyyy-MM-dd";
  user.timeFormat = u"h:mm:ss tt";
  user.am = u"frueh";
  user.decimal = u";";
  varnel::SetUserLocale(user);
  const SystemTime time{2024, 3, 0, 5, 7, 8, 9};
  EXPECT_EQ(Date(1031, time), "2024-03-05");
  EXPECT_EQ(Date(1031, time, kNoOverride), "05.03.2024");
  EXPECT_EQ(Time(1031, time, 0), "7:08:09 frueh");
  EXPECT_EQ(Time(1031, time), "07:08:09");
  EXPECT_EQ(Number(1031, u"1.5"), "1;50");
  EXPECT_EQ(Info(1031, locale_code::kDecimal), ";");
  // Another locale's dates are its own.
  EXPECT_EQ(Date(3079, time), "05.03.2024");
}

TEST_F(LocaleCallsTest, AnIdOfADefaultIsTheUsersLocaleInEveryCall) {
  LocaleFacts user = FindLocale(1031).value();
  user.timeFormat = u"h:mm:ss tt";
  user.decimal = u";";
  varnel::SetUserLocale(user);
  const SystemTime time{2024, 3, 0, 5, 7, 8, 9};
  for (const Long lcid : {0, 1024, 2048, 3072, 4096}) {
    SCOPED_TRACE(lcid);
    EXPECT_EQ(Info(lcid, locale_code::kDecimal), ";");
    EXPECT_EQ(Info(lcid, locale_code::kThousand), ".");
    EXPECT_EQ(Number(lcid, u"1234.5"), "1.234;50");
    EXPECT_EQ(Date(lcid, time), "05.03.2024");
    // The locale's own format, without the user's settings.
    EXPECT_EQ(Time(lcid, time), "07:08:09");
  }
}

TEST_F(LocaleCallsTest, TheUsersLocaleIsTheSites) {
  EXPECT_EQ(m_calls.GetUserDefaultLCID(), 1033);
  varnel::SetUserLocale(FindLocale(1045).value());
  EXPECT_EQ(m_calls.GetUserDefaultLCID(), 1045);
}

}  // namespace
}  // namespace hostlinux
