#include "site/loader/Utf8Text.h"

#include <gtest/gtest.h>

#include <string>

namespace shop {
namespace {

TEST(Utf8Text, ValidTextStaysAsItIs) {
  const std::string text = "a\xC3\xA9\xE2\x82\xAC\xF0\x9F\x98\x80z";
  EXPECT_EQ(MakeValidUtf8(text), text);
}

TEST(Utf8Text, AStrayByteIsLatinOrAReplacementCharacter) {
  EXPECT_EQ(MakeValidUtf8("M\xFCller"), "M\xC3\xBCller");
  EXPECT_EQ(MakeValidUtf8("a\x93z"), "a\xEF\xBF\xBDz");
}

TEST(Utf8Text, OverlongFormsSurrogatesAndCodesBeyondTheLastAreNoSequences) {
  EXPECT_EQ(MakeValidUtf8("\xC0\xAF"), "\xC3\x80\xC2\xAF");
  EXPECT_EQ(MakeValidUtf8("\xED\xA0\x80"), "\xC3\xAD\xC2\xA0\xEF\xBF\xBD");
  EXPECT_EQ(MakeValidUtf8("\xF4\x90\x80\x80"), "\xC3\xB4\xEF\xBF\xBD\xEF\xBF\xBD\xEF\xBF\xBD");
}

TEST(Utf8Text, ASequenceThatTheEndCutsIsStray) {
  EXPECT_EQ(MakeValidUtf8("a\xE2\x82"), "a\xC3\xA2\xEF\xBF\xBD");
}

TEST(Utf8Text, CutsAtCharactersNotAtBytes) {
  EXPECT_EQ(CutToCharacters("a\xC3\xA9z", 2), "a\xC3\xA9");
  EXPECT_EQ(CutToCharacters("abc", 3), "abc");
  EXPECT_EQ(CutToCharacters("abc", 0), "");
}

TEST(Utf8Text, FoldsTheLettersThatTheDatabaseFolds) { EXPECT_EQ(FoldCase("AZ[\xC3\x89"), "az[\xC3\x89"); }

}  // namespace
}  // namespace shop
