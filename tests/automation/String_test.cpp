#include "varnel/automation/String.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <iconv.h>

#include <algorithm>

namespace varnel::test {
namespace {

using testing::ElementsAre;

TEST(Trim, TakesBlanksAndNothingElse) {
  EXPECT_EQ(Trim(u"  a b  "), u"a b");
  EXPECT_EQ(TrimLeft(u"  a "), u"a ");
  EXPECT_EQ(TrimRight(u"  a "), u"  a");
  EXPECT_EQ(Trim(u"\t a \r\n"), u"\t a \r\n");
  EXPECT_EQ(Trim(u"\u00A0a\u00A0"), u"\u00A0a\u00A0");
  EXPECT_EQ(Trim(u"   "), u"");
  EXPECT_EQ(Trim(u""), u"");
}

TEST(Split, GivesThePiecesBetweenTheSeparators) {
  EXPECT_THAT(Split(u"a/b/c", u"/"), ElementsAre(u"a", u"b", u"c"));
  EXPECT_THAT(Split(u"/a//", u"/"), ElementsAre(u"", u"a", u"", u""));
  EXPECT_THAT(Split(u"a", u"/"), ElementsAre(u"a"));
  EXPECT_THAT(Split(u"a, b,c", u", "), ElementsAre(u"a", u"b,c"));
  EXPECT_THAT(Split(u"", u"/"), ElementsAre());
}

TEST(Replace, GoesFromLeftToRight) {
  EXPECT_EQ(Replace(u"aaa", u"aa", u"b"), u"ba");
  EXPECT_EQ(Replace(u"a'b'", u"'", u"''"), u"a''b''");
  EXPECT_EQ(Replace(u"abc", u"", u"x"), u"abc");
}

TEST(FoldCase, FoldsLatinGreekAndCyrillic) {
  EXPECT_EQ(ToLower(u"AZ\u00C4\u00D6\u0178\u0100\u0141\u017D\u1E9C"),
            u"az\u00E4\u00F6\u00FF\u0101\u0142\u017E\u1E9C");
  EXPECT_EQ(ToLower(u"\u0391\u03A9\u0386\u038C\u038F"), u"\u03B1\u03C9\u03AC\u03CC\u03CE");
  EXPECT_EQ(ToLower(u"\u0410\u042F\u0401\u0490"), u"\u0430\u044F\u0451\u0491");
}

TEST(FoldCase, LeavesAloneWhatHasNoSmallLetter) {
  EXPECT_EQ(ToLower(u"19@[`{\u00D7\u00DF\u00F7\u0130\u0131\u03A2\u4E0A\U0001F600"),
            u"19@[`{\u00D7\u00DF\u00F7\u0130\u0131\u03A2\u4E0A\U0001F600");
}

TEST(FoldCase, IsUndoneByUpperCase) {
  for (char32_t code = 0; code < 0x10000; ++code) {
    const auto unit = static_cast<char16_t>(code);
    const char16_t folded = FoldCase(unit);
    ASSERT_EQ(FoldCase(folded), folded) << static_cast<unsigned>(code);
    if (folded != unit) {
      ASSERT_EQ(ToUpper(String(1, folded)), String(1, unit)) << static_cast<unsigned>(code);
    }
  }
}

TEST(EqualsNoCase, ComparesUnitByUnit) {
  EXPECT_TRUE(EqualsNoCase(u"Varnel.PAGE", u"varnel.page"));
  EXPECT_TRUE(EqualsNoCase(u"", u""));
  EXPECT_FALSE(EqualsNoCase(u"a", u"ab"));
  EXPECT_FALSE(EqualsNoCase(u"a[", u"a{"));
}

TEST(FindNoCase, GivesTheFirstPositionAtOrBehindTheStart) {
  EXPECT_EQ(FindNoCase(u"a ORDER b order", u"order"), 2U);
  EXPECT_EQ(FindNoCase(u"a ORDER b order", u"Order", 3), 10U);
  EXPECT_EQ(FindNoCase(u"abc", u"d"), String::npos);
  EXPECT_EQ(FindNoCase(u"abc", u"abcd"), String::npos);
  EXPECT_EQ(FindNoCase(u"abc", u"", 3), 3U);
}

TEST(NumberTexts, AreDecimalOrUpperCaseHexadecimal) {
  EXPECT_EQ(DecimalText(-2147483648LL), u"-2147483648");
  for (const auto& [value, text] : std::initializer_list<std::pair<int, StringView>>{{0, u"0"},
                                                                                     {9, u"9"},
                                                                                     {10, u"10"},
                                                                                     {99, u"99"},
                                                                                     {100, u"100"},
                                                                                     {109, u"109"},
                                                                                     {999, u"999"},
                                                                                     {1000, u"1000"},
                                                                                     {-1, u"-1"},
                                                                                     {-999, u"-999"}})
    EXPECT_EQ(DecimalText(value), text);
  EXPECT_EQ(DecimalText(std::numeric_limits<std::int64_t>::max()), u"9223372036854775807");
  EXPECT_EQ(DecimalText(std::numeric_limits<std::int64_t>::min()), u"-9223372036854775808");
  EXPECT_EQ(HexText(0), u"0");
  EXPECT_EQ(HexText(0xABC), u"ABC");
  EXPECT_EQ(HexText(-1), u"FFFFFFFF");
  EXPECT_EQ(HexText(static_cast<Long>(0x80040E14)), u"80040E14");
}

String Units(char32_t code) {
  if (code < 0x10000) return String(1, static_cast<char16_t>(code));
  const char32_t rest = code - 0x10000;
  return {static_cast<char16_t>(0xD800 + (rest >> 10)), static_cast<char16_t>(0xDC00 + (rest & 0x3FF))};
}

TEST(Utf8, EveryCodePointComesBack) {
  for (char32_t code = 0; code <= 0x10FFFF; ++code) {
    if (code >= 0xD800 && code <= 0xDFFF) continue;
    const String text = Units(code);
    const std::string bytes = ToUtf8(text);
    ASSERT_EQ(bytes.size(), code < 0x80      ? 1U
                            : code < 0x800   ? 2U
                            : code < 0x10000 ? 3U
                                             : 4U)
        << static_cast<unsigned>(code);
    ASSERT_EQ(FromUtf8(bytes), text) << static_cast<unsigned>(code);
  }
}

TEST(Utf8, BytesThatAreNoneBecomeOneReplacementEach) {
  EXPECT_EQ(FromUtf8("a\x80z"), u"a\uFFFDz");
  EXPECT_EQ(FromUtf8("\xC0\xAF"), u"\uFFFD\uFFFD");                      // overlong
  EXPECT_EQ(FromUtf8("\xE0\x80\x80"), u"\uFFFD\uFFFD\uFFFD");            // overlong
  EXPECT_EQ(FromUtf8("\xED\xA0\x80"), u"\uFFFD\uFFFD\uFFFD");            // a surrogate
  EXPECT_EQ(FromUtf8("\xF4\x90\x80\x80"), u"\uFFFD\uFFFD\uFFFD\uFFFD");  // behind the last code point
  EXPECT_EQ(FromUtf8("\xE2\x82"), u"\uFFFD\uFFFD");                      // cut off
  EXPECT_EQ(FromUtf8("\xE2\x28\xA1"), u"\uFFFD(\uFFFD");
  EXPECT_EQ(FromUtf8("\xFF\xFE"), u"\uFFFD\uFFFD");
}

TEST(Utf8, ALoneSurrogateBecomesAReplacement) {
  EXPECT_EQ(ToUtf8(u"a\xD83D"), "a\xEF\xBF\xBD");
  EXPECT_EQ(ToUtf8(String({0xDE00, u'b'})),
            "\xEF\xBF\xBD"
            "b");
  EXPECT_EQ(ToUtf8(String({0xD83D, 0xD83D, 0xDE00})), "\xEF\xBF\xBD\xF0\x9F\x98\x80");
}

TEST(Utf8, IsAppendedBehindWhatIsThere) {
  std::string target = "a";
  AppendUtf8(target, u"\u00E9");
  EXPECT_EQ(target, "a\xC3\xA9");
}

// Plain text is narrowed in blocks: whatever is left of one, and what ends it, is told from it.
TEST(Utf8, PlainTextOfAnyLengthEndsAtTheFirstLetterBeyond) {
  for (std::size_t before = 0; before < 40; ++before) {
    for (std::size_t behind = 0; behind < 20; ++behind) {
      const String text = String(before, u'x') + u"\u00E9" + String(behind, u'y');
      EXPECT_EQ(ToUtf8(text), std::string(before, 'x') + "\xC3\xA9" + std::string(behind, 'y'));
    }
    EXPECT_EQ(ToUtf8(String(before, u'x')), std::string(before, 'x'));
  }
}

TEST(Utf8, KeepsTheCharacterZero) {
  EXPECT_EQ(FromUtf8(std::string_view("a\0b", 3)), String(u"a\0b", 3));
  EXPECT_EQ(ToUtf8(StringView(u"a\0b", 3)), std::string("a\0b", 3));
}

// The C library's reading of one sequence: empty where it isn't valid.
String IconvReading(std::string bytes) {
  const iconv_t converter = iconv_open("UTF-16LE", "UTF-8");
  char16_t units[8];
  char* in = bytes.data();
  std::size_t inLeft = bytes.size();
  char* out = reinterpret_cast<char*>(units);
  std::size_t outLeft = sizeof units;
  const bool valid = iconv(converter, &in, &inLeft, &out, &outLeft) != static_cast<std::size_t>(-1);
  iconv_close(converter);
  return valid ? String(units, (sizeof units - outLeft) / 2) : String();
}

TEST(Utf8, AgreesWithTheCLibraryOnEveryThreeBytes) {
  const unsigned char edges[] = {0x00, 0x41, 0x7F, 0x80, 0x8F, 0x90, 0x9F, 0xA0, 0xBF, 0xC0, 0xC1, 0xC2,
                                 0xDF, 0xE0, 0xE1, 0xEC, 0xED, 0xEE, 0xEF, 0xF0, 0xF4, 0xF5, 0xFF};
  for (const unsigned char first : edges) {
    for (const unsigned char second : edges) {
      for (const unsigned char third : edges) {
        const std::string bytes{static_cast<char>(first), static_cast<char>(second),
                                static_cast<char>(third)};
        const String expected = IconvReading(bytes);
        const String text = FromUtf8(bytes);
        if (expected.empty()) {
          ASSERT_NE(std::count(text.begin(), text.end(), u'\uFFFD'), 0);
        } else {
          ASSERT_EQ(text, expected);
        }
      }
    }
  }
}

}  // namespace
}  // namespace varnel::test
