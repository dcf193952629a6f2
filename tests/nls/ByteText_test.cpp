#include "host-linux/nls/ByteText.h"

#include <gtest/gtest.h>

namespace hostlinux {
namespace {

using varnel::String;
using varnel::StringView;

TEST(ByteText, AsciiIsTheSameEverywhere) {
  for (const int codePage : {1252, 932, 65001, 4711}) {
    EXPECT_EQ(ToCodePage(u"-1,234.50", codePage), "-1,234.50");
    EXPECT_EQ(FromCodePage("-1,234.50", codePage), u"-1,234.50");
  }
}

TEST(ByteText, WriteTheSeparatorsOfNumbers) {
  for (const int codePage : {1250, 1251, 1252, 1253, 1254, 1257}) {
    EXPECT_EQ(ToCodePage(u"1\u00A0234", codePage),
              "1\xA0"
              "234")
        << codePage;
    EXPECT_EQ(ToCodePage(u"1\u2019234", codePage),
              "1\x92"
              "234")
        << codePage;
    EXPECT_EQ(FromCodePage("1\x92"
                           "2\xA0",
                           codePage),
              u"1\u20192\u00A0")
        << codePage;
  }
}

TEST(ByteText, WhatACodePageHasNotIsAQuestionMarkOrABlank) {
  EXPECT_EQ(ToCodePage(u"a\u4E00b", 1252), "a?b");
  EXPECT_EQ(ToCodePage(u"a\xD83D\xDE00"
                       u"b",
                       1252),
            "a?b");
  EXPECT_EQ(ToCodePage(u"1\u202F234", 1252),
            "1\xA0"
            "234");
  EXPECT_EQ(ToCodePage(u"1\u2003"
                       u"4\u20AC",
                       4711),
            "1 4?");
}

TEST(ByteText, LoneSurrogatesAndBytesWithoutMeaning) {
  EXPECT_EQ(ToCodePage(u"a\xD800"
                       u"b",
                       1252),
            "a?b");
  EXPECT_EQ(ToCodePage(u"\xDC00", 1252), "?");
  EXPECT_EQ(FromCodePage("a\xA5"
                         "b",
                         1253),
            u"a\u00A5b");
  EXPECT_EQ(FromCodePage("a\xFF"
                         "b",
                         1253),
            u"a\uFFFDb");
}

TEST(ByteText, OfLongerCharactersOnlyAsciiIsKnown) {
  EXPECT_EQ(ToCodePage(u"1,5\u5348", 932), "1,5?");
  EXPECT_EQ(FromCodePage("1,5\x8C", 932), u"1,5\uFFFD");
}

TEST(ByteText, LongTexts) {
  EXPECT_EQ(ToCodePage(String(5000, u'\u00E9'), 1252), std::string(5000, '\xE9'));
  EXPECT_EQ(FromCodePage(std::string(5000, '\xE9'), 1252), String(5000, u'\u00E9'));
}

}  // namespace
}  // namespace hostlinux
