#include "host-linux/database/dialect/LikePattern.h"

#include <gtest/gtest.h>

namespace hostlinux {
namespace {

TEST(LikePattern, SingleCharacterClassesBecomeEscapes) {
  EXPECT_EQ(u"50\\%%[a]\\_", PatternWithEscapes(u"50[%]%[[]a][_]"));
  EXPECT_EQ(u"a\\\\b", PatternWithEscapes(u"a\\b"));
  EXPECT_EQ(u"xyz", PatternWithEscapes(u"x[y]z"));
}

TEST(LikePattern, RealClassesHaveNoEscapedForm) {
  EXPECT_EQ(std::nullopt, PatternWithEscapes(u"[a-c]%"));
  EXPECT_EQ(std::nullopt, PatternWithEscapes(u"[^x]%"));
  EXPECT_EQ(std::nullopt, PatternWithEscapes(u"a["));
}

TEST(LikePattern, AnEscapeCharacterTurnsIntoClasses) {
  EXPECT_EQ(u"50[%]%", PatternWithoutEscape(u"50!%%", u'!'));
  EXPECT_EQ(u"a!b", PatternWithoutEscape(u"a!!b", u'!'));
}

TEST(LikePattern, MatchesClassesAndWildcards) {
  EXPECT_TRUE(MatchesPattern(u"Beta", u"[a-c]%"));
  EXPECT_FALSE(MatchesPattern(u"delta", u"[a-c]%"));
  EXPECT_TRUE(MatchesPattern(u"delta", u"[^a-c]%"));
  EXPECT_FALSE(MatchesPattern(u"", u"[^a-c]%"));
  EXPECT_TRUE(MatchesPattern(u"a%b", u"a[%]b"));
  EXPECT_FALSE(MatchesPattern(u"axb", u"a[%]b"));
  EXPECT_TRUE(MatchesPattern(u"x-y", u"x[ab-]y"));
}

TEST(LikePattern, AWildcardGivesBackWhatItTookTooMuch) {
  EXPECT_TRUE(MatchesPattern(u"aXbXc", u"%X[c]"));
  EXPECT_TRUE(MatchesPattern(u"aaab", u"%a%a[b]%"));
  EXPECT_FALSE(MatchesPattern(u"aaab", u"%a_[b]_"));
  EXPECT_TRUE(MatchesPattern(u"", u"%%"));
}

TEST(LikePattern, AnUnclosedClassMatchesNothing) { EXPECT_FALSE(MatchesPattern(u"[", u"[")); }

}  // namespace
}  // namespace hostlinux
