#include "host-linux/nls/LocaleTable.h"

#include <gtest/gtest.h>

#include <thread>

#include "varnel/automation/Convert.h"
#include "varnel/automation/Error.h"

namespace hostlinux {
namespace {

using varnel::Date;
using varnel::DateText;
using varnel::LocaleFacts;
using varnel::Long;
using varnel::MakeDate;
using varnel::NumberText;
using varnel::ParseDate;
using varnel::ParseNumber;
using varnel::StringView;
using varnel::ToUtf8;

// The user's locale for one scope; 1033 again behind it.
class UserLocaleIs {
 public:
  explicit UserLocaleIs(Long lcid) { varnel::SetUserLocale(FindLocale(lcid).value()); }
  ~UserLocaleIs() { varnel::SetUserLocale({}); }
  UserLocaleIs(const UserLocaleIs&) = delete;
  UserLocaleIs& operator=(const UserLocaleIs&) = delete;
};

std::string DateTextIn(Long lcid, const varnel::DateParts& parts) {
  const UserLocaleIs locale(lcid);
  return ToUtf8(DateText(MakeDate(parts)));
}

double NumberIn(Long lcid, StringView text) {
  const UserLocaleIs locale(lcid);
  return ParseNumber(text);
}

varnel::DateParts DateIn(Long lcid, StringView text) {
  const UserLocaleIs locale(lcid);
  return varnel::SplitDate(ParseDate(text));
}

TEST(LocaleTable, Has255IdsAscending) {
  const std::vector<Long> ids = LocaleIDs();
  ASSERT_EQ(ids.size(), 255U);
  for (std::size_t i = 1; i < ids.size(); ++i) EXPECT_LT(ids[i - 1], ids[i]);
  EXPECT_EQ(ids.front(), 1025);
  EXPECT_EQ(ids.back(), 23562);
  for (const Long lcid : ids) EXPECT_EQ(FindLocale(lcid).value().lcid, lcid);
}

TEST(LocaleTable, EveryLocaleHasWhatConversionsNeed) {
  for (const Long lcid : LocaleIDs()) {
    const LocaleFacts facts = FindLocale(lcid).value();
    EXPECT_FALSE(facts.name.empty()) << lcid;
    EXPECT_EQ(facts.decimal.size(), 1U) << lcid;
    EXPECT_EQ(facts.thousand.size(), 1U) << lcid;
    EXPECT_FALSE(facts.currency.empty()) << lcid;
    for (const char16_t letter : {u'd', u'M', u'y'}) {
      EXPECT_NE(facts.shortDate.find(letter), varnel::String::npos) << lcid;
    }
    for (const char16_t letter : {u'm', u's'}) {
      EXPECT_NE(facts.timeFormat.find(letter), varnel::String::npos) << lcid;
    }
  }
}

TEST(LocaleTable, EnglishOfTheUnitedStatesIsTheLibrarysDefault) {
  EXPECT_EQ(FindLocale(1033), LocaleFacts());
}

TEST(LocaleTable, German) {
  const LocaleFacts facts = FindLocale(1031).value();
  EXPECT_EQ(facts.name, u"de-DE");
  EXPECT_EQ(facts.decimal, u",");
  EXPECT_EQ(facts.thousand, u".");
  EXPECT_EQ(facts.shortDate, u"dd.MM.yyyy");
  EXPECT_EQ(facts.timeFormat, u"HH:mm:ss");
  EXPECT_EQ(facts.dateSeparator, u".");
  EXPECT_EQ(facts.dateOrder, LocaleFacts::DateOrder::DayMonthYear);
  EXPECT_EQ(facts.currency, u"€");
  EXPECT_EQ(facts.ansiCodePage, 1252);
}

TEST(LocaleTable, Japanese) {
  const LocaleFacts facts = FindLocale(1041).value();
  EXPECT_EQ(facts.name, u"ja-JP");
  EXPECT_EQ(facts.shortDate, u"yyyy/MM/dd");
  EXPECT_EQ(facts.timeFormat, u"H:mm:ss");
  EXPECT_EQ(facts.dateOrder, LocaleFacts::DateOrder::YearMonthDay);
  EXPECT_EQ(facts.am, u"午前");
  EXPECT_EQ(facts.ansiCodePage, 932);
}

TEST(LocaleTable, GroupsOfTwoInIndia) {
  EXPECT_EQ(FindLocale(1081).value().grouping, u"3;2;0");
  EXPECT_EQ(FindLocale(2055).value().thousand, u"’");
}

TEST(LocaleTable, TheInvariantLocaleHasNoName) {
  const LocaleFacts facts = FindLocale(127).value();
  EXPECT_EQ(facts.lcid, 127);
  EXPECT_EQ(facts.name, u"");
  EXPECT_EQ(facts.shortDate, u"MM/dd/yyyy");
  EXPECT_EQ(facts.currency, u"¤");
}

TEST(LocaleTable, DefaultsLanguagesAndSortOrdersAreAnsweredAsAnotherId) {
  const std::pair<Long, Long> answers[] = {{0, 1033},    {1024, 1033}, {2048, 1033}, {3072, 1033},
                                           {4096, 1033}, {1, 1025},    {5, 1029},    {7, 1031},
                                           {9, 1033},    {12, 1036},   {66567, 1031}};
  for (const auto& [lcid, answersAs] : answers) EXPECT_EQ(FindLocale(lcid).value().lcid, answersAs) << lcid;
}

TEST(LocaleTable, AnIdThatThePlatformDoesNotKnowHasNoFacts) {
  for (const Long lcid : {99999, -1, 2074, 66569, 1023, 5120, 65536}) EXPECT_FALSE(FindLocale(lcid)) << lcid;
}

TEST(LocaleTable, AThreadMakesTheFactsOfALocaleOnce) {
  const LocaleFacts* german = CachedLocale(1031);
  const LocaleFacts* hindi = CachedLocale(1081);
  ASSERT_NE(german, nullptr);
  ASSERT_NE(hindi, nullptr);
  EXPECT_EQ(*german, FindLocale(1031));
  EXPECT_EQ(*hindi, FindLocale(1081));
  EXPECT_EQ(CachedLocale(1031), german);
  EXPECT_EQ(CachedLocale(1081), hindi);
  EXPECT_EQ(CachedLocale(99999), nullptr);
  std::thread([&] { EXPECT_NE(CachedLocale(1031), german); }).join();
}

TEST(LocaleConversions, NumbersAreReadWithTheLocalesSeparators) {
  EXPECT_EQ(NumberIn(1031, u"1.234,5"), 1234.5);
  EXPECT_EQ(NumberIn(1031, u"1.5"), 15);
  EXPECT_EQ(NumberIn(1033, u"1,234.5"), 1234.5);
  EXPECT_EQ(NumberIn(2055, u"1’234.5"), 1234.5);
  EXPECT_EQ(NumberIn(1036, u"1\u00A0234,5 €"), 1234.5);
  EXPECT_EQ(NumberIn(1057, u"Rp -1.000"), -1000);
}

// Locale 3152 writes both separators alike.
TEST(LocaleConversions, ASeparatorThatIsAlsoTheDecimalPointIsThePoint) {
  EXPECT_EQ(NumberIn(3152, u"1,5"), 1.5);
  EXPECT_EQ(NumberIn(3152, u"1,234"), 1.234);
}

TEST(LocaleConversions, ANumberBecomesTheSameTextEverywhere) {
  for (const Long lcid : LocaleIDs()) {
    const UserLocaleIs locale(lcid);
    EXPECT_EQ(NumberText(-1234.5), u"-1234.5") << lcid;
  }
}

TEST(LocaleConversions, DatesAreWrittenAsTheLocaleDoes) {
  const varnel::DateParts march{2024, 3, 5, 7, 8, 9};
  EXPECT_EQ(DateTextIn(1033, march), "3/5/2024 7:08:09 AM");
  EXPECT_EQ(DateTextIn(1031, march), "05.03.2024 07:08:09");
  EXPECT_EQ(DateTextIn(1041, march), "2024/03/05 7:08:09");
  EXPECT_EQ(DateTextIn(1035, march), "5.3.2024 7.08.09");
  EXPECT_EQ(DateTextIn(1026, march), "5.03.2024\u202Fг. 7:08:09 ч.");
  EXPECT_EQ(DateTextIn(1154, march), "05/03/2024 7h08:09");
  EXPECT_EQ(DateTextIn(1088, march), "2024-05-03 07:08:09");
}

TEST(LocaleConversions, ThaiYearsAreCountedByTheBuddhistCalendar) {
  EXPECT_EQ(DateTextIn(1054, {2024, 3, 5, 0, 0, 0}), "5/3/2567");
  EXPECT_EQ(DateIn(1054, u"5/3/2567"), (varnel::DateParts{2024, 3, 5, 0, 0, 0}));
}

TEST(LocaleConversions, DatesAreReadInTheLocalesOrder) {
  const varnel::DateParts march{2024, 3, 5, 0, 0, 0};
  EXPECT_EQ(DateIn(1033, u"3/5/2024"), march);
  EXPECT_EQ(DateIn(1031, u"5.3.2024"), march);
  EXPECT_EQ(DateIn(1031, u"05/03/24"), march);
  EXPECT_EQ(DateIn(1041, u"24/3/5"), march);
  EXPECT_EQ(DateIn(1050, u"5. 3. 2024."), march);
  EXPECT_EQ(DateIn(1088, u"2024-05-03"), march);
}

// What a date becomes can be read back; of a year in two digits only the century is a guess.
TEST(LocaleConversions, EveryDateTextCanBeReadBackInItsLocale) {
  const varnel::DateParts dates[] = {
      {2024, 3, 5, 0, 0, 0}, {2024, 3, 5, 7, 8, 9}, {1999, 12, 31, 23, 59, 59}, {2000, 2, 29, 12, 0, 1}};
  for (const Long lcid : LocaleIDs()) {
    const UserLocaleIs locale(lcid);
    for (const auto& parts : dates) {
      const Date date = MakeDate(parts);
      const varnel::String text = DateText(date);
      EXPECT_NO_THROW(EXPECT_EQ(ParseDate(text), date) << lcid << " " << ToUtf8(text))
          << lcid << " " << ToUtf8(text);
    }
  }
}

}  // namespace
}  // namespace hostlinux
