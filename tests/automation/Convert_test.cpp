#include "varnel/automation/Convert.h"

#include <gtest/gtest.h>

#include "tests/automation/Holder.h"
#include "tests/automation/Raises.h"
#include "varnel/automation/Collection.h"

namespace varnel::test {
namespace {

// An object without a default value.
class Plain : public Object {
 public:
  const ClassInfo& Class() const override {
    static const ClassInfo info{u"Plain", {}};
    return info;
  }
};

Variant Holding(Variant value) { return std::make_shared<Holder>(std::move(value)); }

const Variant kNothing = nullptr;

TEST(Convert, RoundsAHalfToTheEvenNeighbour) {
  EXPECT_EQ(ToLong(0.5), 0);
  EXPECT_EQ(ToLong(1.5), 2);
  EXPECT_EQ(ToLong(2.5), 2);
  EXPECT_EQ(ToLong(-0.5), 0);
  EXPECT_EQ(ToLong(-1.5), -2);
  EXPECT_EQ(ToLong(-2.5), -2);
  EXPECT_EQ(ToLong(2.4999), 2);
  EXPECT_EQ(ToLong(2.5001), 3);
  EXPECT_EQ(ToInteger(u"3.5"), 4);
  EXPECT_EQ(ToByte(254.5), 254);
}

TEST(Convert, OverflowsOutsideTheRangeOfTheWholeNumber) {
  EXPECT_EQ(ToInteger(32767.4), 32767);
  EXPECT_EQ(NumberOf([] { ToInteger(32767.5); }), 6);
  EXPECT_EQ(ToInteger(-32768.5), -32768);
  EXPECT_EQ(NumberOf([] { ToInteger(-32769.0); }), 6);
  EXPECT_EQ(NumberOf([] { ToInteger(Long{40000}); }), 6);
  EXPECT_EQ(ToLong(2147483647.4), 2147483647);
  EXPECT_EQ(NumberOf([] { ToLong(2147483647.5); }), 6);
  EXPECT_EQ(ToLong(-2147483648.0), -2147483647 - 1);
  EXPECT_EQ(NumberOf([] { ToLong(u"-2147483649"); }), 6);
  EXPECT_EQ(NumberOf([] { ToByte(255.5); }), 6);
  EXPECT_EQ(NumberOf([] { ToByte(Integer{-1}); }), 6);
  EXPECT_EQ(NumberOf([] { RoundToLong(1e300); }), 6);
}

TEST(Convert, EmptyIsZeroFalseTheEmptyTextAndDayZero) {
  for (const Variant& value : {Variant(), Variant(Missing())}) {
    EXPECT_EQ(ToInteger(value), 0);
    EXPECT_EQ(ToLong(value), 0);
    EXPECT_EQ(ToByte(value), 0);
    EXPECT_EQ(ToDouble(value), 0);
    EXPECT_FALSE(ToBoolean(value));
    EXPECT_EQ(ToText(value), u"");
    EXPECT_EQ(ToDate(value), Date{0});
  }
}

TEST(Convert, NullIsAnInvalidUseEverywhere) {
  const Variant null = Null();
  EXPECT_EQ(NumberOf([&] { ToInteger(null); }), 94);
  EXPECT_EQ(NumberOf([&] { ToLong(null); }), 94);
  EXPECT_EQ(NumberOf([&] { ToByte(null); }), 94);
  EXPECT_EQ(NumberOf([&] { ToDouble(null); }), 94);
  EXPECT_EQ(NumberOf([&] { ToBoolean(null); }), 94);
  EXPECT_EQ(NumberOf([&] { ToText(null); }), 94);
  EXPECT_EQ(NumberOf([&] { ToDate(null); }), 94);
}

TEST(Convert, NothingIsAnObjectThatIsNotSet) {
  EXPECT_EQ(NumberOf([] { ToInteger(kNothing); }), 91);
  EXPECT_EQ(NumberOf([] { ToDouble(kNothing); }), 91);
  EXPECT_EQ(NumberOf([] { ToBoolean(kNothing); }), 91);
  EXPECT_EQ(NumberOf([] { ToText(kNothing); }), 91);
  EXPECT_EQ(NumberOf([] { ToDate(kNothing); }), 91);
}

TEST(Convert, AnObjectGivesItsDefaultValueFirst) {
  EXPECT_EQ(ToLong(Holding(u"12")), 12);
  EXPECT_EQ(ToText(Holding(Long{12})), u"12");
  EXPECT_TRUE(ToBoolean(Holding(u"True")));
  EXPECT_EQ(ToDate(Holding(Date{1.5})), Date{1.5});
  EXPECT_EQ(ToText(Holding(Holding(u"deep"))), u"deep");
  EXPECT_EQ(NumberOf([] { ToText(Holding(Null())); }), 94);
}

TEST(Convert, APlainValueIsItselfAndAnObjectTheValueBehindIt) {
  EXPECT_EQ(ToPlain(Long{12}), Variant(Long{12}));
  EXPECT_EQ(ToPlain(Missing()), Variant(Missing()));
  EXPECT_EQ(ToPlain(Holding(Holding(u"deep"))), Variant(u"deep"));
  EXPECT_EQ(ToPlain(Holding(Null())), Variant(Null()));
  EXPECT_EQ(NumberOf([] { ToPlain(kNothing); }), 91);
  EXPECT_EQ(NumberOf([] { ToPlain(std::make_shared<Plain>()); }), 13);
}

TEST(Convert, AnObjectWithoutADefaultValueOrAnArrayIsAMismatch) {
  const Variant plain = std::make_shared<Plain>();
  const Variant array = std::make_shared<Array>();
  const Variant bytes = std::make_shared<const Bytes>();
  for (const Variant& value : {plain, array, bytes}) {
    EXPECT_EQ(NumberOf([&] { ToLong(value); }), 13);
    EXPECT_EQ(NumberOf([&] { ToText(value); }), 13);
    EXPECT_EQ(NumberOf([&] { ToBoolean(value); }), 13);
    EXPECT_EQ(NumberOf([&] { ToDate(value); }), 13);
  }
}

TEST(Convert, TrueIsMinusOneAsANumber) {
  EXPECT_EQ(ToInteger(true), -1);
  EXPECT_EQ(ToDouble(true), -1);
  EXPECT_EQ(ToLong(false), 0);
}

TEST(Convert, ANumberButZeroIsTrueAndTheTwoWordsAreReadInAnyCase) {
  EXPECT_TRUE(ToBoolean(Long{7}));
  EXPECT_TRUE(ToBoolean(-0.1));
  EXPECT_FALSE(ToBoolean(0.0));
  EXPECT_TRUE(ToBoolean(u"TRUE"));
  EXPECT_FALSE(ToBoolean(u" false "));
  EXPECT_TRUE(ToBoolean(u"-1"));
  EXPECT_FALSE(ToBoolean(u"0"));
  EXPECT_EQ(NumberOf([] { ToBoolean(u"yes"); }), 13);
  EXPECT_EQ(NumberOf([] { ToBoolean(u""); }), 13);
}

TEST(Convert, ANumberOrABooleanBecomesText) {
  EXPECT_EQ(ToText(Integer{-32768}), u"-32768");
  EXPECT_EQ(ToText(Long{2147483647}), u"2147483647");
  EXPECT_EQ(ToText(Byte{200}), u"200");
  EXPECT_EQ(ToText(2.50), u"2.5");
  EXPECT_EQ(ToText(true), u"True");
  EXPECT_EQ(ToText(false), u"False");
}

TEST(Convert, ADateIsItsDaysAsANumber) {
  EXPECT_EQ(ToDouble(Date{36526.25}), 36526.25);
  EXPECT_EQ(ToLong(Date{36526.75}), 36527);
  EXPECT_EQ(ToDate(36526.25), Date{36526.25});
  EXPECT_EQ(ToDate(Long{1}), Date{1});
  EXPECT_EQ(NumberOf([] { ToDate(3e6); }), 6);
  EXPECT_EQ(NumberOf([] { ToDate(Long{-657435}); }), 6);
}

TEST(Convert, NullAndNothingAreNoObjectAndAPlainValueIsAMismatch) {
  const auto object = std::make_shared<Plain>();
  EXPECT_EQ(ToObject(object), object);
  EXPECT_EQ(ToObject(kNothing), nullptr);
  EXPECT_EQ(ToObject(Null()), nullptr);
  EXPECT_EQ(NumberOf([] { ToObject(Variant()); }), 13);
  EXPECT_EQ(NumberOf([] { ToObject(u"text"); }), 13);
}

// Its default value is another object, as it is set.
class Link : public Object {
 public:
  const ClassInfo& Class() const override {
    static const ClassInfo info{u"Link", {DataMember<&Link::next>(u"Next").AsDefault()}};
    return info;
  }
  void LetGo() noexcept override { next = Variant(); }
  Variant next;
};

TEST(Convert, DefaultValuesThatLeadToEachOtherAreAMismatch) {
  const auto first = std::make_shared<Link>();
  const auto second = std::make_shared<Link>();
  first->next = second;
  second->next = first;
  EXPECT_EQ(NumberOf([&] { ToText(first); }), 13);
  EXPECT_EQ(NumberOf([&] { ToLong(first); }), 13);
  EXPECT_EQ(NumberOf([&] { ToDouble(first); }), 13);
  EXPECT_EQ(NumberOf([&] { ToBoolean(first); }), 13);
  EXPECT_EQ(NumberOf([&] { ToDate(first); }), 13);
  EXPECT_EQ(NumberOf([&] { ToPlain(first); }), 13);
  first->LetGo();
}

TEST(Convert, SixteenObjectsMayLeadToAValue) {
  Variant value = u"end";
  for (int i = 0; i < kMostDefaultSteps; ++i) {
    const auto link = std::make_shared<Link>();
    link->next = value;
    value = link;
  }
  EXPECT_EQ(ToText(value), u"end");
  const auto oneMore = std::make_shared<Link>();
  oneMore->next = value;
  EXPECT_EQ(NumberOf([&] { ToText(oneMore); }), 13);
}

TEST(Convert, NamesTheTypeOfEveryValue) {
  EXPECT_EQ(TypeName(Variant()), u"Empty");
  EXPECT_EQ(TypeName(Missing()), u"Empty");
  EXPECT_EQ(TypeName(Null()), u"Null");
  EXPECT_EQ(TypeName(Integer{1}), u"Integer");
  EXPECT_EQ(TypeName(Long{1}), u"Long");
  EXPECT_EQ(TypeName(1.0), u"Double");
  EXPECT_EQ(TypeName(Date{1}), u"Date");
  EXPECT_EQ(TypeName(true), u"Boolean");
  EXPECT_EQ(TypeName(u""), u"String");
  EXPECT_EQ(TypeName(Byte{1}), u"Byte");
  EXPECT_EQ(TypeName(kNothing), u"Nothing");
  EXPECT_EQ(TypeName(std::make_shared<Collection>()), u"Collection");
  EXPECT_EQ(TypeName(std::make_shared<Array>()), u"Variant()");
  EXPECT_EQ(TypeName(std::make_shared<const Bytes>()), u"Byte()");
}

}  // namespace
}  // namespace varnel::test
