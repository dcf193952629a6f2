#include "host-linux/base/Utf8.h"

#include <gtest/gtest.h>

namespace hostlinux {
namespace {

TEST(Utf8, IsReadStrictly) {
  EXPECT_TRUE(IsUtf8("a\xC3\xA4\xE2\x82\xAC\xF0\x9F\x98\x80"));
  EXPECT_TRUE(IsUtf8(""));
  for (const char* bytes : {"\x80", "\xC3", "\xC0\xAF", "\xE0\x9F\xBF", "\xED\xA0\x80", "\xF4\x90\x80\x80",
                            "\xF5\x80\x80\x80", "\xE2\x82", "\xE2\x28\xA1", "\xF0\x9F\x98"}) {
    EXPECT_FALSE(IsUtf8(bytes)) << bytes;
  }
}

TEST(Utf8, ABadSequenceIsFoundAtItsFirstByte) {
  EXPECT_EQ(FindBadUtf8("a\xC3\xA4"), std::string_view::npos);
  EXPECT_EQ(FindBadUtf8("a\xC3\xA4\xFF"), 3U);
  EXPECT_EQ(FindBadUtf8("ab\xE2\x82"), 2U);
  EXPECT_EQ(FindBadUtf8("\xED\xA0\x80"), 0U);
}

}  // namespace
}  // namespace hostlinux
