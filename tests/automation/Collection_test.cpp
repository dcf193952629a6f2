#include "varnel/automation/Collection.h"

#include <gtest/gtest.h>

#include "tests/automation/Raises.h"
#include "varnel/automation/Convert.h"
#include "varnel/automation/Members.h"

namespace varnel::test {
namespace {

std::shared_ptr<Collection> ThreeColours() {
  auto collection = std::make_shared<Collection>();
  collection->Add(u"red", u"R");
  collection->Add(u"green", Missing());
  collection->Add(u"blue", u"B");
  return collection;
}

// Adds to the collection while it is asked for a position.
class AddingPosition : public Object {
 public:
  explicit AddingPosition(Collection& collection) : m_collection(collection) {}
  const ClassInfo& Class() const override {
    static const ClassInfo info{u"AddingPosition", {ReadOnly<&AddingPosition::Value>(u"Value").AsDefault()}};
    return info;
  }
  Long Value() {
    for (int i = 0; i < 1000; ++i) m_collection.Add(Long{i}, Missing());
    return 1;
  }

 private:
  Collection& m_collection;
};

// Wherever a letter stands among others.
TEST(NoCase, WhatIsEqualHashesAlike) {
  for (const std::size_t length : {1U, 3U, 4U, 5U, 8U, 11U}) {
    for (std::uint32_t unit = 1; unit < 0x10000; ++unit) {
      String one(length, u'x');
      String other(length, u'X');
      one[length / 2] = static_cast<char16_t>(unit);
      other[length / 2] = FoldCase(static_cast<char16_t>(unit));
      ASSERT_TRUE(EqualNoCase()(one, other));
      ASSERT_EQ(HashNoCase()(one), HashNoCase()(other)) << length << " " << unit;
    }
  }
}

TEST(Collection, MayGrowWhileAPositionIsConverted) {
  const auto colours = ThreeColours();
  const Variant position = std::make_shared<AddingPosition>(*colours);
  colours->Remove(position);
  EXPECT_EQ(colours->Count(), 1002);
  EXPECT_EQ(colours->Item(position), Variant(u"green"));
}

TEST(Collection, LetsGoOfItsItems) {
  const auto colours = ThreeColours();
  colours->Add(colours, u"itself");
  colours->LetGo();
  EXPECT_EQ(colours->Count(), 0);
  EXPECT_EQ(NumberOf([&] { colours->Item(u"itself"); }), 5);
}

TEST(Collection, CountsPositionsFromOne) {
  const auto colours = ThreeColours();
  EXPECT_EQ(colours->Count(), 3);
  EXPECT_EQ(colours->Item(Long{1}), Variant(u"red"));
  EXPECT_EQ(colours->Item(Integer{3}), Variant(u"blue"));
  EXPECT_EQ(colours->Item(1.5), Variant(u"green"));
}

TEST(Collection, FindsKeysInAnyCaseOfLetters) {
  const auto colours = ThreeColours();
  EXPECT_EQ(colours->Item(u"r"), Variant(u"red"));
  EXPECT_EQ(colours->Item(u"B"), Variant(u"blue"));
}

TEST(Collection, RefusesAKeyThatIsTakenAndStaysAsItWas) {
  const auto colours = ThreeColours();
  EXPECT_EQ(NumberOf([&] { colours->Add(u"rose", u"r"); }), 457);
  EXPECT_EQ(colours->Count(), 3);
  EXPECT_EQ(colours->Item(u"R"), Variant(u"red"));
}

TEST(Collection, AMissingKeyIsFiveAndAPositionOutsideNine) {
  const auto colours = ThreeColours();
  EXPECT_EQ(NumberOf([&] { colours->Item(u"X"); }), 5);
  EXPECT_EQ(NumberOf([&] { colours->Item(u"1"); }), 5);
  EXPECT_EQ(NumberOf([&] { colours->Item(Long{0}); }), 9);
  EXPECT_EQ(NumberOf([&] { colours->Item(Long{4}); }), 9);
  EXPECT_EQ(NumberOf([&] { colours->Item(Long{-1}); }), 9);
  EXPECT_EQ(NumberOf([&] { colours->Item(Null()); }), 94);
}

TEST(Collection, RemovesByKeyOrPosition) {
  const auto colours = ThreeColours();
  colours->Remove(u"r");
  EXPECT_EQ(colours->Count(), 2);
  EXPECT_EQ(colours->Item(u"b"), Variant(u"blue"));
  EXPECT_EQ(colours->Item(Long{1}), Variant(u"green"));
  colours->Add(u"rose", u"R");
  EXPECT_EQ(colours->Item(Long{3}), Variant(u"rose"));
  colours->Remove(Long{1});
  EXPECT_EQ(colours->Item(u"r"), Variant(u"rose"));
  EXPECT_EQ(NumberOf([&] { colours->Remove(u"green"); }), 5);
  EXPECT_EQ(NumberOf([&] { colours->Remove(Long{9}); }), 9);
}

TEST(Collection, HoldsEveryKindOfValue) {
  const auto collection = std::make_shared<Collection>();
  collection->Add(Null(), Missing());
  collection->Add(collection, Missing());
  EXPECT_TRUE(collection->Item(Long{1}).IsNull());
  EXPECT_EQ(ToObject(collection->Item(Long{2})), collection);
  collection->Remove(Long{2});
}

TEST(Collection, IsWalkedInItsOrder) {
  const auto walk = ThreeColours()->Enumerate();
  Variant item;
  String all;
  while (walk->Next(item)) all += ToText(item) + u" ";
  EXPECT_EQ(all, u"red green blue ");
  EXPECT_EQ(item, Variant(u"blue"));
}

TEST(Collection, KeysThatDifferInCaseOnlyHaveOneHash) {
  EXPECT_EQ(HashNoCase()(u"\u00C4pfel_X"), HashNoCase()(u"\u00E4PFEL_x"));
  EXPECT_NE(HashNoCase()(u"a"), HashNoCase()(u"b"));
  EXPECT_NE(HashNoCase()(u"ab"), HashNoCase()(u"ba"));
  // Signs that differ from others as capitals do from small letters: names made of them would all stand in one place.
  EXPECT_NE(HashNoCase()(u"@[\\]"), HashNoCase()(u"`{|}"));
  EXPECT_NE(HashNoCase()(u"abcdefgh"), HashNoCase()(u"efghabcd"));
}

TEST(Collection, IsUsedByNameWithItemAsItsDefault) {
  const auto colours = ThreeColours();
  EXPECT_EQ(colours->Get(u"count"), Variant(Long{3}));
  Variant key[] = {Variant(u"R")};
  EXPECT_EQ(colours->CallDefault(key), Variant(u"red"));
  colours->CallWith(u"ADD", u"white");
  colours->CallWith(u"Add", u"black", u"K");
  EXPECT_EQ(colours->CallWith(u"Item", u"k"), Variant(u"black"));
  EXPECT_EQ(NumberOf([&] { colours->CallWith(u"Add"); }), 450);
}

}  // namespace
}  // namespace varnel::test
