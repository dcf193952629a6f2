#include "host-linux/nls/SiteCodePages.h"

#include <gtest/gtest.h>

#include <stdexcept>

#include "host-fake/ErrorOf.h"
#include "host-linux/nls/LocaleTable.h"

namespace hostlinux {
namespace {

using varnel::Byte;
using varnel::Bytes;
using varnel::Long;
using varnel::String;
using varnel::StringView;

constexpr Long kGerman = 1031;
constexpr Long kRussian = 1049;
constexpr Long kJapanese = 1041;
constexpr Long kThai = 1054;
constexpr Long kVietnamese = 1066;
constexpr Long kHebrew = 1037;
constexpr Long kHindi = 1081;  // has no code page of its own

String Decoded(std::string_view bytes, Long lcid, int systemPage = 1252) {
  const Bytes copy(bytes.begin(), bytes.end());
  return CodePages(systemPage).Decode(copy, lcid);
}

TEST(CodePages, DecodeByTheLocale) {
  EXPECT_EQ(Decoded("a\xE4\x80", kGerman), u"aä€");
  EXPECT_EQ(Decoded("\xE4\x80", kRussian), u"дЂ");
  EXPECT_EQ(Decoded("\xA1", kThai), u"ก");
}

TEST(CodePages, DecodeCharactersOfTwoBytes) {
  EXPECT_EQ(Decoded("a\x93\xFA\x96{\\", kJapanese), u"a日本\\");
  EXPECT_EQ(Decoded("\x81\x60", kJapanese), u"～");
}

TEST(CodePages, CutCharacterIsReplaced) {
  EXPECT_EQ(Decoded("\x93\xFA\x93", kJapanese), u"日\uFFFD");
  EXPECT_EQ(Decoded("\xFF"
                    "a",
                    kJapanese)
                .back(),
            u'a');
}

TEST(CodePages, LongTextsOfTwoBytesKeepTheirLength) {
  std::string bytes;
  String text;
  for (int i = 0; i < 50'000; ++i) {
    bytes += "\x93\xFA";
    text += u'日';
  }
  EXPECT_EQ(Decoded(bytes, kJapanese), text);
}

TEST(CodePages, ManyBadBytesAreReplacedOneByOne) {
  EXPECT_EQ(Decoded(std::string(300'000, '\xFF'), kJapanese).size(), 300'000U);
}

TEST(CodePages, LocaleZeroIsTheSystemsPage) {
  EXPECT_EQ(Decoded("\xE4", 0, 1252), u"ä");
  EXPECT_EQ(Decoded("\xE4", 0, 1251), u"д");
}

TEST(CodePages, AnIdOfAnotherDefaultIsTheUsersLocale) {
  varnel::SetUserLocale(FindLocale(kRussian).value());
  EXPECT_EQ(Decoded("\xE4", 1024), u"д");
  varnel::SetUserLocale({});
  EXPECT_EQ(Decoded("\xE4", 1024), u"ä");
}

TEST(CodePages, LocaleWithoutAPageHasTheSystems) { EXPECT_EQ(Decoded("\xE4", kHindi, 1251), u"д"); }

TEST(CodePages, UnknownLocaleFails) {
  EXPECT_EQ(hostfake::NumberOf([] { Decoded("a", 99999); }), 5);
}

TEST(CodePages, ByteWithoutACharacterIsAControlOrReplaced) {
  EXPECT_EQ(Decoded("\x81\x8D", kGerman), u"\u0081\u008D");
  EXPECT_EQ(Decoded("\xD9", kHebrew), u"\uFFFD");
}

// These pages have marks that stand on the character before them; each byte stays a character.
TEST(CodePages, MarksAreNotComposed) {
  EXPECT_EQ(Decoded("a\xEC", kVietnamese), u"a\u0301");
  EXPECT_EQ(Decoded("\xE1\xCC", kHebrew), u"\u05D1\u05BC");
}

TEST(CodePages, EncodeInTheSystemsPage) {
  EXPECT_EQ(CodePages(1252).Encode(u"name=ä€д"), (Bytes{'n', 'a', 'm', 'e', '=', 0xE4, 0x80, '?'}));
  EXPECT_EQ(CodePages(1251).Encode(u"д"), (Bytes{0xE4}));
}

TEST(CodePages, SystemsPageIsOneOfSingleBytes) {
  EXPECT_THROW(CodePages(932), std::invalid_argument);
  EXPECT_THROW(CodePages(65001), std::invalid_argument);
  EXPECT_THROW(CodePages(1), std::invalid_argument);
  EXPECT_FALSE(MakeByteTable(949));
  EXPECT_TRUE(MakeByteTable(437));
}

TEST(CodePages, EveryLocaleHasAPageThatDecodesPlainText) {
  CodePages pages(1252);
  const Bytes text{'a', 'Z', '0', '\r', '\n'};
  for (const Long lcid : LocaleIDs()) EXPECT_EQ(pages.Decode(text, lcid), u"aZ0\r\n") << lcid;
}

}  // namespace
}  // namespace hostlinux
