#include "site/loader/Keywords.h"

#include <gtest/gtest.h>

#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

namespace shop {
namespace {

const std::optional<std::size_t> kNone;

Keywords Table() {
  return Keywords::Parse(
      "# a comment\n"
      "sound\taudio|sound*\n"
      "\n"
      "wireless\twireless|802.11*\n"
      "network\tethernet|token ring|nic\n");
}

TEST(Keywords, WordsAreRunsOfLettersAndDigits) {
  EXPECT_EQ(WordsOf("Wi-Fi 802.11n (B/G)"), (std::vector<std::string>{"wi", "fi", "802", "11n", "b", "g"}));
  EXPECT_EQ(WordsOf("Caf\xC3\xA9"), (std::vector<std::string>{"caf\xC3\xA9"}));
  EXPECT_TRUE(WordsOf(" -- ").empty());
}

TEST(Keywords, TheKindsStandInTheOrderOfTheTable) {
  EXPECT_EQ(Table().Kinds(), (std::vector<std::string>{"sound", "wireless", "network"}));
}

TEST(Keywords, AKeywordMatchesWholeWordsInAnyCase) {
  EXPECT_EQ(Table().KindOf("Gigabit ETHERNET Controller"), 2U);
  EXPECT_EQ(Table().KindOf("Audiophile"), kNone);
  EXPECT_EQ(Table().KindOf("Panic"), kNone);
  EXPECT_EQ(Table().KindOf(""), kNone);
}

TEST(Keywords, AnOpenEndMatchesAnyEndOfItsLastWord) {
  EXPECT_EQ(Table().KindOf("SoundBlaster"), 0U);
  EXPECT_EQ(Table().KindOf("802.11abgn stick"), 1U);
  EXPECT_EQ(Table().KindOf("802.3 stick"), kNone);
}

TEST(Keywords, TheWordsOfAKeywordStandNextToEachOther) {
  EXPECT_EQ(Table().KindOf("16/4 Token-Ring card"), 2U);
  EXPECT_EQ(Table().KindOf("token of a ring"), kNone);
  EXPECT_EQ(Table().KindOf("token"), kNone);
}

TEST(Keywords, TheFirstKindOfTheTableWins) {
  EXPECT_EQ(Table().KindOf("Wireless Ethernet"), 1U);
  EXPECT_EQ(Table().KindOf("Ethernet and Audio"), 0U);
}

std::string FailureOf(const char* text) {
  try {
    Keywords::Parse(text);
  } catch (const std::runtime_error& error) {
    return error.what();
  }
  return "no failure";
}

TEST(Keywords, ABadLineIsNamed) {
  EXPECT_EQ(FailureOf("a\tb\nno tab\n"), "keywords, line 2: no tab between the kind and its keywords");
  EXPECT_EQ(FailureOf("\tb\n"), "keywords, line 1: no kind");
  EXPECT_EQ(FailureOf("a\tb|\n"), "keywords, line 1: a keyword without a word");
}

}  // namespace
}  // namespace shop
