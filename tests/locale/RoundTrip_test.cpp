// What a locale writes it reads back, in every locale and for users of several. Where it doesn't, the reason
// is in the locale's own forms, and the locale stands in a list here.
#include <cmath>
#include <random>
#include <set>

#include "tests/locale/LocaleHost.h"

namespace localetest {
namespace {

// One character separates both thousands and decimals.
const std::set<Long> kNumbersNotRead{3152};

// The blanks of the short date are gone from its text, and stand in the separator.
const std::set<Long> kSeparatorsWithBlanks{1038, 1051, 1060, 4122, 6170, 7194, 9242, 10266, 11290, 12314};
// A word stands behind the year.
const std::set<Long> kWordsBehindTheYear{1026};
// The day stands before the month, but the order says year, month, day.
const std::set<Long> kDayBehindTheYear{1088, 1152};
// Years are counted by another calendar.
const std::set<Long> kOtherYears{1054};

class RoundTrip : public LocaleTest {
 protected:
  std::mt19937 m_random{20240305};

  // A number of up to 12 digits in front of the point and two behind it.
  double RandomAmount() {
    const auto digits = std::uniform_int_distribution<int>(0, 12)(m_random);
    const double limit = std::pow(10.0, digits) * 100;
    return std::round(std::uniform_real_distribution<double>(-limit, limit)(m_random)) / 100;
  }
  // Of a year from 1930 to 2029, which two digits name as well.
  Date RandomDay() {
    const double first = Day(1930, 1, 1).days;
    return Date{std::floor(std::uniform_real_distribution<double>(first, Day(2029, 12, 31).days)(m_random))};
  }
  bool ReadsBack(double amount, Long lcid) {
    const Variant text = functions.FloatEx(amount, lcid, Long{2});
    return !text.IsNull() && functions.ConvertFloatString(text, lcid) == Variant(amount);
  }
  bool ReadsBack(Date day, Long lcid) {
    return functions.ConvertDateString(functions.DateTime(day, lcid), lcid) == Variant(day);
  }
};

TEST_F(RoundTrip, Numbers) {
  for (const Long user : {1033, 1031, 1036, 2055}) {
    SetUser(user);
    std::set<Long> notRead;
    for (const Long lcid : hostlinux::LocaleIDs()) {
      for (int i = 0; i < 20; ++i) {
        const double amount = RandomAmount();
        if (!ReadsBack(amount, lcid)) notRead.insert(lcid);
      }
    }
    EXPECT_EQ(notRead, kNumbersNotRead) << user;
  }
}

TEST_F(RoundTrip, Dates) {
  std::set<Long> exceptions = kSeparatorsWithBlanks;
  exceptions.insert(kWordsBehindTheYear.begin(), kWordsBehindTheYear.end());
  exceptions.insert(kDayBehindTheYear.begin(), kDayBehindTheYear.end());
  exceptions.insert(kOtherYears.begin(), kOtherYears.end());
  for (const Long user : {1033, 1031, 1036, 2055}) {
    SetUser(user);
    std::set<Long> notRead;
    for (const Long lcid : hostlinux::LocaleIDs()) {
      for (int i = 0; i < 20; ++i) {
        if (!ReadsBack(RandomDay(), lcid)) notRead.insert(lcid);
      }
    }
    EXPECT_EQ(notRead, exceptions) << user;
  }
}

}  // namespace
}  // namespace localetest
