#include "host-linux/base/Percent.h"

#include <gtest/gtest.h>

namespace hostlinux {
namespace {

TEST(Percent, DecodingTellsPlusFromBlank) {
  std::string decoded;
  EXPECT_TRUE(PercentDecode("a+b%2Bc%20", true, decoded));
  EXPECT_EQ(decoded, "a b+c ");
  EXPECT_TRUE(PercentDecode("a+b", false, decoded));
  EXPECT_EQ(decoded, "a+b");
}

TEST(Percent, ABadEscapeEndsTheDecoding) {
  std::string decoded;
  for (const char* text : {"ab%", "ab%2", "ab%2g", "ab%g2", "ab%%20"}) {
    EXPECT_FALSE(PercentDecode(text, true, decoded)) << text;
    EXPECT_EQ(decoded, "ab");
  }
}

TEST(Percent, WhatDoesNotStayIsEscapedInCapitals) {
  const auto isLetter = [](char c) { return c >= 'a' && c <= 'z'; };
  EXPECT_EQ(PercentEncode("a /\xC3\xBF\nb", isLetter), "a%20%2F%C3%BF%0Ab");
  EXPECT_EQ(PercentEncode("", isLetter), "");
  std::u16string wide = u"x";
  AppendEscaped(wide, '\xFF');
  EXPECT_EQ(wide, u"x%FF");
}

}  // namespace
}  // namespace hostlinux
