// The line that site.toml needs of a password.

#include <gmock/gmock.h>

#include <fstream>

#include "host-linux/services/PasswordHash.h"
#include "tests/command/Program.h"

namespace {

using hosttest::Ran;

// Runs `varnel password` with `input` as what is typed.
Ran PasswordOf(const std::string& input) { return hosttest::RunVarnel({"password"}, input); }

TEST(PasswordCommandTest, AHashOfTheFirstLineIsPrinted) {
  const Ran ran = PasswordOf("open \"sesame\"\nmore\n");
  EXPECT_EQ(ran.status, 0) << ran.err;
  ASSERT_EQ(ran.out.substr(0, 12), "password = \"");
  ASSERT_EQ(ran.out.substr(ran.out.size() - 2), "\"\n");
  EXPECT_TRUE(hostlinux::PasswordMatches("open \"sesame\"", ran.out.substr(12, ran.out.size() - 14)));
}

TEST(PasswordCommandTest, ALineWithoutItsEndCounts) {
  const Ran ran = PasswordOf("öffne dich");
  EXPECT_EQ(ran.status, 0);
  EXPECT_TRUE(hostlinux::PasswordMatches("öffne dich", ran.out.substr(12, ran.out.size() - 14)));
}

TEST(PasswordCommandTest, WhatIsNoPasswordIsRefused) {
  const auto refusal = [](const std::string& input) {
    const Ran ran = PasswordOf(input);
    EXPECT_EQ(ran.status, 1);
    EXPECT_EQ(ran.out, "");
    return ran.err;
  };
  EXPECT_EQ(refusal(""), "varnel: no password was given\n");
  EXPECT_EQ(refusal("öäüöäü7\n"), "varnel: a password has 8 characters or more\n");
  EXPECT_EQ(refusal("eight\teen\n"), "varnel: a password holds no control characters\n");
  EXPECT_EQ(refusal(std::string("nul\0inside", 10) + "\n"),
            "varnel: a password holds no control characters\n");
  EXPECT_EQ(refusal(std::string(257, 'a') + "\n"), "varnel: a password has 256 bytes at most\n");
}

}  // namespace
