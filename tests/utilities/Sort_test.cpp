#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <numeric>
#include <random>

#include "host-fake/ErrorOf.h"
#include "tests/automation/Holder.h"
#include "varnel/automation/Convert.h"
#include "varnel/utilities/Utilities.h"

namespace varnel {
namespace {

using hostfake::NumberOf;
using testing::ElementsAre;
using Items = std::vector<Variant>;

Variant ArrayOf(Items items) {
  auto array = std::make_shared<Array>();
  array->items = std::move(items);
  return array;
}

Items ItemsOf(const Variant& array) { return (*array.As<ArrayPtr>())->items; }

Items Sorted(Items items) {
  Variant data = ArrayOf(std::move(items));
  Utilities().QuickSort(data);
  return ItemsOf(data);
}

Items SortedPart(Items items, Integer lower, Integer upper) {
  Variant data = ArrayOf(std::move(items));
  Utilities().QuickSortPart(data, lower, upper);
  return ItemsOf(data);
}

Long FailureOfSort(Variant data) {
  return NumberOf([&] { Utilities().QuickSort(data); });
}

// The steps as they are told, with their recursion, on numbers that carry a mark.
struct Marked {
  int key;
  int mark;
};

void SortByTheSteps(std::vector<Marked>& data, int lower, int upper) {
  int i = lower;
  int j = upper;
  const int pivot = data[static_cast<std::size_t>(lower)].key;
  const auto at = [&](int position) -> Marked& { return data[static_cast<std::size_t>(position)]; };
  while (true) {
    while (i < upper && at(i).key <= pivot) ++i;
    while (j > lower && at(j).key >= pivot) --j;
    if (i >= j) break;
    std::swap(at(i), at(j));
  }
  std::swap(at(j), at(lower));
  if (lower < j - 1) SortByTheSteps(data, lower, j - 1);
  if (j + 1 < upper) SortByTheSteps(data, j + 1, upper);
}

TEST(QuickSort, SortsNumbers) {
  EXPECT_THAT(Sorted({Long{3}, 1.5, Long{-2}, Integer{7}, Byte{0}}),
              ElementsAre(Long{-2}, Byte{0}, 1.5, Long{3}, Integer{7}));
}

TEST(QuickSort, SortsTextsWithoutRegardToCase) {
  EXPECT_THAT(Sorted({u"banana", u"Cherry", u"APPLE", u"apples", u""}),
              ElementsAre(u"", u"APPLE", u"apples", u"banana", u"Cherry"));
}

TEST(QuickSort, TextsThatDifferInCaseOnlyAreEqual) {
  EXPECT_THAT(Sorted({u"b", u"a", u"B"}), ElementsAre(u"a", u"b", u"B"));
  EXPECT_THAT(Sorted({u"a", u"A", u"a"}), ElementsAre(u"a", u"A", u"a"));
}

TEST(QuickSort, LeavesOneElementAsItIs) {
  EXPECT_THAT(Sorted({u"x"}), ElementsAre(u"x"));
  EXPECT_THAT(Sorted({Null()}), ElementsAre(Null()));
}

TEST(QuickSort, LeavesEqualElementsAsTheyAre) {
  EXPECT_THAT(Sorted({Long{5}, Long{5}, Long{5}, Long{5}}), ElementsAre(Long{5}, Long{5}, Long{5}, Long{5}));
}

TEST(QuickSort, PutsNumbersBeforeTexts) {
  EXPECT_THAT(Sorted({u"1", Long{20}, u"", Long{3}, u"a"}), ElementsAre(Long{3}, Long{20}, u"", u"1", u"a"));
}

TEST(QuickSort, ComparesBooleansAndDatesAsNumbers) {
  EXPECT_THAT(Sorted({Long{0}, true, Date{1.0}, 0.5}), ElementsAre(true, Long{0}, 0.5, Date{1.0}));
}

TEST(QuickSort, EmptyIsZeroBesideNumbersAndNoTextBesideTexts) {
  EXPECT_THAT(Sorted({Long{1}, Variant(), Long{-1}}), ElementsAre(Long{-1}, Variant(), Long{1}));
  EXPECT_THAT(Sorted({u"a", Variant()}), ElementsAre(Variant(), u"a"));
}

TEST(QuickSort, ComparesObjectsByTheirValues) {
  const auto two = std::make_shared<test::Holder>(Long{2});
  EXPECT_THAT(Sorted({Long{3}, two, Long{1}}), ElementsAre(Long{1}, Variant(two), Long{3}));
}

Variant BytesOf(Bytes bytes) { return std::make_shared<const Bytes>(std::move(bytes)); }

Bytes BytesIn(const Variant& data) { return **data.As<BytesPtr>(); }

TEST(QuickSort, SortsAByteArray) {
  Variant data = BytesOf({200, 3, 0, 255, 3, 128});
  Utilities().QuickSort(data);
  EXPECT_EQ(BytesIn(data), Bytes({0, 3, 3, 128, 200, 255}));
  Variant one = BytesOf({7});
  Utilities().QuickSort(one);
  EXPECT_EQ(BytesIn(one), Bytes({7}));
  EXPECT_EQ(FailureOfSort(BytesOf({})), 9);
}

TEST(QuickSort, SortsAPartOfAByteArray) {
  Variant data = BytesOf({9, 8, 7, 6, 5});
  Integer lower = 1;
  Integer upper = 3;
  Utilities().QuickSortPart(data, lower, upper);
  EXPECT_EQ(BytesIn(data), Bytes({9, 6, 7, 8, 5}));
  upper = 5;
  EXPECT_EQ(NumberOf([&] { Utilities().QuickSortPart(data, lower, upper); }), 9);
  EXPECT_EQ(BytesIn(data), Bytes({9, 6, 7, 8, 5}));
}

TEST(QuickSort, NeedsAnArray) {
  EXPECT_EQ(FailureOfSort(u"text"), 13);
  EXPECT_EQ(FailureOfSort(Variant()), 13);
  EXPECT_EQ(FailureOfSort(BytesPtr()), 13);
}

TEST(QuickSort, ArrayWithoutElementsFails) { EXPECT_EQ(FailureOfSort(ArrayOf({})), 9); }

TEST(QuickSort, SortsAnArrayInPlace) {
  const Variant array = ArrayOf({Long{2}, Long{1}});
  Variant data = array;
  Utilities().QuickSort(data);
  EXPECT_THAT(ItemsOf(array), ElementsAre(Long{1}, Long{2}));
}

TEST(QuickSort, WhatHasNoOrderFailsAndLeavesTheArrayAsFarAsItGot) {
  Variant data = ArrayOf({Long{2}, Long{9}, Long{1}, ArrayOf({}), Long{5}});
  EXPECT_EQ(NumberOf([&] { Utilities().QuickSort(data); }), 13);
  EXPECT_EQ(ItemsOf(data)[0], Variant(Long{2}));
}

// A comparison with Null is no order: the scan ends there.
TEST(QuickSort, NullEndsAScan) { EXPECT_THAT(Sorted({Long{5}, Null()}), ElementsAre(Null(), Long{5})); }

TEST(QuickSort, NullAsThePivotOfMoreThanOneFails) {
  EXPECT_EQ(FailureOfSort(ArrayOf({Null(), Long{1}})), 94);
  EXPECT_EQ(FailureOfSort(ArrayOf({Null(), Null()})), 94);
  // The first pass leaves Null and 3 at the left.
  EXPECT_EQ(FailureOfSort(ArrayOf({Long{5}, Null(), Long{7}, Long{3}})), 94);
}

TEST(QuickSort, TwoNullsThatMeetFail) {
  EXPECT_EQ(FailureOfSort(ArrayOf({Long{5}, Null(), Null(), Long{3}})), 94);
}

TEST(QuickSort, TakesTheStepsAsTheyAre) {
  std::mt19937 random(7);
  for (int round = 0; round < 200; ++round) {
    std::vector<Marked> expected(1 + random() % 40);
    Items items;
    for (std::size_t i = 0; i < expected.size(); ++i) {
      expected[i] = {static_cast<int>(random() % 8), static_cast<int>(i)};
      const auto letter = static_cast<char16_t>(u'a' + expected[i].key);
      // Equal texts that can be told apart by the case of their letters.
      items.emplace_back(expected[i].mark % 2 == 0 ? String(1, letter) : ToUpper(String(1, letter)));
    }
    SortByTheSteps(expected, 0, static_cast<int>(expected.size()) - 1);
    const Items sorted = Sorted(items);
    for (std::size_t i = 0; i < expected.size(); ++i)
      ASSERT_EQ(sorted[i], items[static_cast<std::size_t>(expected[i].mark)]);
  }
}

// As deep as it is long; a page's own test has 30,000.
TEST(QuickSort, SortedInputIsNoDanger) {
  Items items(8000);
  for (std::size_t i = 0; i < items.size(); ++i) items[i] = static_cast<Long>(i);
  EXPECT_EQ(Sorted(items), items);
}

TEST(QuickSort, BoundsAbove32767Wrap) {
  EXPECT_EQ(FailureOfSort(ArrayOf(Items(40000, Variant(Long{1})))), 9);
}

TEST(QuickSortPart, SortsARangeOnly) {
  EXPECT_THAT(SortedPart({Long{5}, Long{4}, Long{3}, Long{2}, Long{1}}, 1, 3),
              ElementsAre(Long{5}, Long{2}, Long{3}, Long{4}, Long{1}));
}

TEST(QuickSortPart, LeavesARangeOfOneAsItIs) {
  EXPECT_THAT(SortedPart({Long{2}, Long{1}}, 1, 1), ElementsAre(Long{2}, Long{1}));
}

TEST(QuickSortPart, FailsOutsideTheArray) {
  EXPECT_EQ(NumberOf([] { SortedPart({Long{1}}, 1, 2); }), 9);
  EXPECT_EQ(NumberOf([] { SortedPart({Long{1}}, -1, 0); }), 9);
  EXPECT_EQ(NumberOf([] { SortedPart({Long{1}, Long{2}}, 0, 2); }), 9);
}

// The steps swap the two ends even where the range is turned round.
TEST(QuickSortPart, RangeThatIsTurnedRoundSwapsItsEnds) {
  EXPECT_THAT(SortedPart({Long{1}, Long{2}, Long{3}}, 2, 0), ElementsAre(Long{3}, Long{2}, Long{1}));
}

}  // namespace
}  // namespace varnel
