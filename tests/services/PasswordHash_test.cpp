#include "host-linux/services/PasswordHash.h"

#include <gtest/gtest.h>

#include <stdexcept>

namespace hostlinux {
namespace {

TEST(PasswordHash, MatchesThePasswordThatItWasMadeOfAndNoOther) {
  const std::string hash = MakePasswordHash("correct horse");
  EXPECT_TRUE(IsPasswordHash(hash)) << hash;
  EXPECT_TRUE(PasswordMatches("correct horse", hash));
  for (const char* other : {"correct hors", "correct horse ", "Correct horse", "x", ""})
    EXPECT_FALSE(PasswordMatches(other, hash)) << other;
}

TEST(PasswordHash, HasASaltOfItsOwn) {
  EXPECT_NE(MakePasswordHash("the same"), MakePasswordHash("the same"));
}

TEST(PasswordHash, TakesEveryCharacterOfUtf8) {
  const std::string hash = MakePasswordHash("Schlüssel \xF0\x9F\x94\x91");
  EXPECT_TRUE(PasswordMatches("Schlüssel \xF0\x9F\x94\x91", hash));
  EXPECT_FALSE(PasswordMatches("Schlussel \xF0\x9F\x94\x91", hash));
}

TEST(PasswordHash, AllCharactersCount) {
  const std::string longest(kLongestPassword, 'a');
  const std::string hash = MakePasswordHash(longest);
  EXPECT_TRUE(PasswordMatches(longest, hash));
  EXPECT_FALSE(PasswordMatches(longest.substr(1) + "b", hash));
  EXPECT_FALSE(PasswordMatches(longest + "a", hash));
}

// The library reads a password to its first NUL.
TEST(PasswordHash, WhatStandsBehindANulIsNotIgnored) {
  const std::string hash = MakePasswordHash("short");
  EXPECT_FALSE(PasswordMatches(std::string("short\0more", 10), hash));
  EXPECT_THROW(MakePasswordHash(std::string("short\0more", 10)), std::invalid_argument);
}

TEST(PasswordHash, IsNotMadeOfWhatCannotBeChecked) {
  EXPECT_THROW(MakePasswordHash(""), std::invalid_argument);
  EXPECT_THROW(MakePasswordHash(std::string(kLongestPassword + 1, 'a')), std::invalid_argument);
}

TEST(PasswordHash, NothingMatchesWhatIsNoHash) {
  for (const char* text : {"", "*", "*0", "password", "$y$j9T$"})
    EXPECT_FALSE(PasswordMatches("password", text)) << text;
  EXPECT_FALSE(PasswordMatches("", ""));
  EXPECT_FALSE(PasswordMatches("nobody", ""));
}

TEST(PasswordHash, OnlyOneMethodAndCostIsAHash) {
  const std::string digest(43, 'a');
  EXPECT_TRUE(IsPasswordHash("$y$j9T$abcdefgh$" + digest));
  for (const std::string& text :
       {"$y$j75$abcdefgh$" + digest, "$y$jFT$abcdefgh$" + digest, "$6$abcdefgh$" + digest,
        "$y$j9T$$" + digest, "$y$j9T$abc:efgh$" + digest, "$y$j9T$abcdefgh$" + digest + "a",
        "$y$j9T$abcdefgh" + digest, "$y$j9T$" + std::string(87, 'a') + "$" + digest,
        "$y$j9T$abcdefgh$" + digest.substr(1) + "\n", std::string("plain")}) {
    EXPECT_FALSE(IsPasswordHash(text)) << text;
  }
}

}  // namespace
}  // namespace hostlinux
