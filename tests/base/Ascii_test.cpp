#include "host-linux/base/Ascii.h"

#include <gtest/gtest.h>

namespace hostlinux {
namespace {

TEST(Ascii, OnlyLettersOfAsciiHaveACase) {
  EXPECT_EQ(LowerAscii("AZaz09@[`{ \xC3\x84"), "azaz09@[`{ \xC3\x84");
  EXPECT_TRUE(EqualsIgnoreCase("Content-TYPE", "content-type"));
  EXPECT_TRUE(EqualsIgnoreCase("", ""));
  EXPECT_FALSE(EqualsIgnoreCase("a", "ab"));
  EXPECT_FALSE(EqualsIgnoreCase("@", "`"));
  EXPECT_FALSE(EqualsIgnoreCase("\xC3\x84", "\xC3\xA4"));
}

TEST(Ascii, LettersAndDigits) {
  for (const char c : {'0', '9', 'A', 'Z', 'a', 'z'}) EXPECT_TRUE(IsAlphanumeric(c)) << c;
  for (const char c : {'/', ':', '@', '[', '`', '{', '\0', '\xC4'}) EXPECT_FALSE(IsAlphanumeric(c)) << c;
}

}  // namespace
}  // namespace hostlinux
