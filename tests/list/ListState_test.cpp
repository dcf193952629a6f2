#include "varnel/list/ListState.h"

#include <gtest/gtest.h>

#include <random>

namespace varnel {
namespace {

using Move = ListPosition::Move;

ListPosition Sample() {
  return {Move::Next, 2,          31,
          {53591},    0x9a3f00c2, {Variant(u"Foo & b\u00e4r_-"), Variant(Null()), Variant(u"")}};
}

TEST(ListState, IsWrittenInFieldsThatNeedNoEncoding) {
  EXPECT_EQ(WriteListPosition(Sample()), u"n.2.31.53591.9a3f00c2.tFoo~20~26~20b~c3~a4r_-.n.t.");
  EXPECT_EQ(WriteListPosition({Move::Last, 0, 0, {}, 1, {}}), u"l.0.0.-.00000001.");
  EXPECT_EQ(WriteListPosition({Move::First, 0, 1, {10000, true}, 1, {}}), u"f.0.1.10000m.00000001.");
  EXPECT_EQ(WriteListPosition({Move::First, 0, 1, {10000, false, true}, 1, {}}), u"f.0.1.10000e.00000001.");
}

TEST(ListState, ComesBackAsItWas) {
  EXPECT_EQ(ReadListPosition(WriteListPosition(Sample())), Sample());
  for (const ListTotal& total : {ListTotal{}, ListTotal{0}, ListTotal{7, true}, ListTotal{7, false, true}}) {
    ListPosition position = Sample();
    position.total = total;
    EXPECT_EQ(ReadListPosition(WriteListPosition(position)), position);
  }
}

TEST(ListState, ComesBackWithKeysOfAnyLengthAndContent) {
  std::mt19937 random(7);
  for (int round = 0; round < 300; ++round) {
    ListPosition position = Sample();
    position.keys.clear();
    for (std::size_t keys = 1 + random() % 4; keys > 0; --keys) {
      String text(random() % (round % 50 == 0 ? 6000U : 40U), u' ');
      for (char16_t& c : text) c = static_cast<char16_t>(1 + random() % 0xD7FF);
      position.keys.push_back(random() % 5 == 0 ? Variant(Null()) : Variant(text));
    }
    ASSERT_EQ(ReadListPosition(WriteListPosition(position)), position) << round;
  }
}

TEST(ListState, MayBearASealWhichMeansNothingHere) {
  EXPECT_EQ(ReadListPosition(WriteListPosition(Sample()) + u"s0123456789abcdef0123456789abcdef"), Sample());
  EXPECT_EQ(ReadListPosition(WriteListPosition(Sample()) + u"s0123456789abcdef0123456789abcdeg"),
            std::nullopt);
  EXPECT_EQ(ReadListPosition(WriteListPosition(Sample()) + u"s0123"), std::nullopt);
}

TEST(ListState, TakesNothingElse) {
  for (StringView text : {u"",
                          u"n",
                          u".....",
                          u"n.0.1.5.00000001.",
                          u"f.0.1.5.00000001.tkey.",
                          u"x.0.1.5.00000001.",
                          u"f.0.1.5.0000001.",
                          u"f.0.1.5.0000000g.",
                          u"f.-1.1.5.00000001.",
                          u"f.0.99999999999.5.00000001.",
                          u"f.0.2147483648.5.00000001.",
                          u"f.0..5.00000001.",
                          u"f.0.1..00000001.",
                          u"f.0.1.m.00000001.",
                          u"f.0.1.5me.00000001.",
                          u"n.0.1.5.00000001.key.",
                          u"n.0.1.5.00000001.t~2.",
                          u"n.0.1.5.00000001.t~2x.",
                          u"n.0.1.5.00000001.t~00.",
                          u"n.0.1.5.00000001.ta b.",
                          u"n.0.1.5.00000001.t\u00e4.",
                          u"n.0.1.5.00000001.nn.",
                          u"n.0.1.5.00000001.tkey",
                          u"f.0.1.5.00000001.rest",
                          u"f.0.1.5.00000001.\u0131"}) {
    EXPECT_EQ(ReadListPosition(text), std::nullopt) << ToUtf8(text);
  }
}

TEST(ListState, IsReadOrRefusedWhateverIsDoneToIt) {
  std::mt19937 random(11);
  const String text = WriteListPosition(Sample()) + u"s0123456789abcdef0123456789abcdef";
  for (int round = 0; round < 5000; ++round) {
    String changed = text;
    for (std::size_t changes = 1 + random() % 3; changes > 0; --changes) {
      const std::size_t at = random() % changed.size();
      if (random() % 3 == 0) {
        changed.erase(at, 1 + random() % 4);
        if (changed.empty()) break;
      } else {
        changed[at] = static_cast<char16_t>(random() % 130);
      }
    }
    const auto position = ReadListPosition(changed);
    if (position) {
      EXPECT_EQ(ReadListPosition(WriteListPosition(*position)), position);
    }
  }
}

TEST(ListState, ContextsTellTextsApart) {
  EXPECT_EQ(ContextOf(u"a\nb"), ContextOf(u"a\nb"));
  EXPECT_NE(ContextOf(u"a\nb"), ContextOf(u"b\na"));
  EXPECT_NE(ContextOf(u""), ContextOf(u"a"));
  EXPECT_NE(ContextOf(u"\u0101"), ContextOf(u"\u0001"));
}

}  // namespace
}  // namespace varnel
