#include "host-linux/nls/CodePages.h"

#include <gtest/gtest.h>

namespace hostlinux {
namespace {

using varnel::String;
using varnel::StringView;

TEST(CodePages, AsciiIsTheSameEverywhere) {
  for (const int codePage : {1252, 932, 65001, 4711}) {
    EXPECT_EQ(ToCodePage(u"-1,234.50", codePage), "-1,234.50");
    EXPECT_EQ(FromCodePage("-1,234.50", codePage), u"-1,234.50");
  }
}

TEST(CodePages, WriteTheSeparatorsOfNumbers) {
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

TEST(CodePages, EveryCodePageOfALocaleIsKnown) {
  for (const int codePage : {874, 932, 936, 949, 950, 1250, 1251, 1252, 1253, 1254, 1255, 1256, 1257, 1258}) {
    EXPECT_TRUE(HasCodePage(codePage)) << codePage;
  }
  EXPECT_TRUE(HasCodePage(65001));
  EXPECT_FALSE(HasCodePage(4711));
}

TEST(CodePages, TwoByteCharactersThereAndBack) {
  EXPECT_EQ(ToCodePage(u"\u5348\u524D", 932), "\x8C\xDF\x91\x4F");
  EXPECT_EQ(FromCodePage("\x8C\xDF\x91\x4F", 932), u"\u5348\u524D");
}

TEST(CodePages, WhatACodePageHasNotIsAQuestionMarkOrABlank) {
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

TEST(CodePages, LoneSurrogatesAndBytesWithoutMeaning) {
  EXPECT_EQ(ToCodePage(u"a\xD800"
                       u"b",
                       1252),
            "a?b");
  EXPECT_EQ(ToCodePage(u"\xDC00", 1252), "?");
  EXPECT_EQ(FromCodePage("a\x81"
                         "b",
                         1252),
            u"a\uFFFDb");
  EXPECT_EQ(FromCodePage("a\x8C", 932), u"a\uFFFD");
}

TEST(CodePages, LongTexts) {
  EXPECT_EQ(ToCodePage(String(5000, u'\u00E9'), 1252), std::string(5000, '\xE9'));
  EXPECT_EQ(FromCodePage(std::string(5000, '\xE9'), 1252), String(5000, u'\u00E9'));
}

}  // namespace
}  // namespace hostlinux
