// Calls by name, through the one member table of a class.
#include <gtest/gtest.h>

#include <new>
#include <stdexcept>

#include "tests/automation/Raises.h"
#include "varnel/automation/Members.h"

namespace varnel::test {
namespace {

class Counter : public Object {
 public:
  const ClassInfo& Class() const override {
    static const ClassInfo info{u"Counter",
                                {
                                    Method<&Counter::Add>(u"Add", {Long{1}}),
                                    ReadOnly<&Counter::Count>(u"Count").AsDefault(),
                                    Property<&Counter::Step, &Counter::SetStep>(u"Step"),
                                    DataMember<&Counter::m_lTotal>(u"m_lTotal"),
                                    Method<&Counter::Describe>(u"Describe", {Missing()}),
                                    Method<&Counter::Swap>(u"Swap"),
                                    Method<&Counter::Fill>(u"Fill"),
                                    Method<&Counter::Join>(u"Join", {u"x", u"y"}),
                                    Method<&Counter::Take>(u"Take"),
                                    Method<&Counter::Fail>(u"Fail"),
                                    Method<&Counter::List>(u"List"),
                                    Method<&Counter::Look>(u"Look", {Long{5}}),
                                    Method<&Counter::FillAndFail>(u"FillAndFail", {Missing()}),
                                }};
    return info;
  }

  void Add(Long value) { m_count += value; }
  Long Count() const { return m_count; }
  Integer Step() const { return m_step; }
  void SetStep(Integer step) { m_step = step; }
  String Describe(const Variant& what) const { return what.IsMissing() ? u"left out" : TypeName(what); }
  void Swap(Integer& left, String& right) {
    const Integer kept = left;
    left = ToInteger(right);
    right = DecimalText(kept);
  }
  bool Fill(Variant& result) {
    result = u"filled";
    return true;
  }
  String Join(const String& first, const String& second, const String& third) const {
    return first + second + third;
  }
  bool Take(const std::shared_ptr<Counter>& other) const { return other != nullptr; }
  String List(const String& first, Arguments others) const {
    String list = first;
    for (Variant& other : others) list += u"," + TypeName(other) + u" " + ToText(other);
    if (!others.empty()) others[0] = u"seen";
    return list;
  }
  Long Look(String& text, Long& number) { return ToLong(text) + number; }
  void FillAndFail(Variant& result, Variant& other) {
    result = u"filled";
    if (other.IsMissing()) other = u"filled too";
    RaiseRuntimeError(runtime_error::kInvalidArgument);
  }
  void Fail(Long& value) {
    value = 99;
    RaiseRuntimeError(runtime_error::kInvalidArgument);
  }

  Long m_lTotal = 0;

 private:
  Long m_count = 0;
  Integer m_step = 1;
};

class Unrelated : public Object {
 public:
  const ClassInfo& Class() const override {
    static const ClassInfo info{u"Unrelated", {}};
    return info;
  }
};

TEST(Object, FindsMembersInAnyCaseOfLetters) {
  const auto counter = std::make_shared<Counter>();
  counter->CallWith(u"ADD", Long{5});
  counter->CallWith(u"add", Long{2});
  EXPECT_EQ(counter->Get(u"cOUNT"), Variant(Long{7}));
}

TEST(Object, HasNoMemberBeyondItsTable) {
  const auto counter = std::make_shared<Counter>();
  EXPECT_EQ(NumberOf([&] { counter->CallWith(u"Subtract"); }), 438);
  EXPECT_EQ(NumberOf([&] { counter->Get(u"Subtract"); }), 438);
  EXPECT_EQ(NumberOf([&] { counter->Put(u"Subtract", Long{1}); }), 438);
}

TEST(Object, ChecksTheNumberOfArguments) {
  const auto counter = std::make_shared<Counter>();
  EXPECT_EQ(NumberOf([&] { counter->CallWith(u"Add", Long{1}, Long{2}); }), 450);
  EXPECT_EQ(NumberOf([&] { counter->CallWith(u"Swap", Long{1}); }), 450);
  EXPECT_EQ(NumberOf([&] { counter->CallWith(u"Count", Long{1}); }), 450);
}

TEST(Object, TakesAnyNumberOfFurtherArgumentsWhereTheMemberDoes) {
  const auto counter = std::make_shared<Counter>();
  EXPECT_EQ(NumberOf([&] { counter->CallWith(u"List"); }), 450);
  EXPECT_EQ(counter->CallWith(u"List", u"a"), Variant(u"a"));
  EXPECT_EQ(counter->CallWith(u"List", Long{1}, Long{2}, u"b", true),
            Variant(u"1,Long 2,String b,Boolean True"));
  EXPECT_EQ(counter->CallWith(u"List", u"a", Missing(), u"b"), Variant(u"a,Empty ,String b"));
}

TEST(Object, FurtherArgumentsGoByReference) {
  const auto counter = std::make_shared<Counter>();
  Variant arguments[] = {u"a", u"b", u"c"};
  counter->Call(u"List", arguments);
  EXPECT_EQ(arguments[0], Variant(u"a"));
  EXPECT_EQ(arguments[1], Variant(u"seen"));
  EXPECT_EQ(arguments[2], Variant(u"c"));
}

TEST(Object, FillsLeftOutArgumentsWithTheirDefaults) {
  const auto counter = std::make_shared<Counter>();
  counter->CallWith(u"Add");
  EXPECT_EQ(counter->Count(), 1);
  EXPECT_EQ(counter->CallWith(u"Join", u"a"), Variant(u"axy"));
  EXPECT_EQ(counter->CallWith(u"Join", u"a", Missing(), u"c"), Variant(u"axc"));
  EXPECT_EQ(counter->CallWith(u"Join", Missing(), u"b"), Variant(u"by"));
}

TEST(Object, TellsALeftOutArgumentFromAnyValue) {
  const auto counter = std::make_shared<Counter>();
  EXPECT_EQ(counter->CallWith(u"Describe"), Variant(u"left out"));
  EXPECT_EQ(counter->CallWith(u"Describe", Variant()), Variant(u"Empty"));
  EXPECT_EQ(counter->CallWith(u"Describe", Null()), Variant(u"Null"));
}

TEST(Object, ConvertsArgumentsBeforeTheOperationRuns) {
  const auto counter = std::make_shared<Counter>();
  counter->CallWith(u"Add", u"2.5");
  EXPECT_EQ(counter->Count(), 2);
  EXPECT_EQ(NumberOf([&] { counter->CallWith(u"Add", u"two"); }), 13);
  EXPECT_EQ(NumberOf([&] { counter->CallWith(u"Add", Null()); }), 94);
  EXPECT_EQ(NumberOf([&] { counter->CallWith(u"Add", 3e9); }), 6);
  EXPECT_EQ(counter->Count(), 2);
}

TEST(Object, StoresArgumentsByReferenceBack) {
  const auto counter = std::make_shared<Counter>();
  Variant arguments[] = {Long{3}, u"4"};
  counter->Call(u"Swap", arguments);
  EXPECT_EQ(arguments[0], Variant(Integer{4}));
  EXPECT_EQ(arguments[1], Variant(u"3"));
  Variant result[] = {Variant()};
  EXPECT_EQ(counter->Call(u"Fill", result), Variant(true));
  EXPECT_EQ(result[0], Variant(u"filled"));
}

TEST(Object, LeavesArgumentsAloneWhereTheOperationFails) {
  const auto counter = std::make_shared<Counter>();
  Variant arguments[] = {Long{3}};
  EXPECT_EQ(NumberOf([&] { counter->Call(u"Fail", arguments); }), 5);
  EXPECT_EQ(arguments[0], Variant(Long{3}));
}

TEST(Object, LeavesArgumentsAloneThatAreOnlyRead) {
  const auto counter = std::make_shared<Counter>();
  Variant arguments[] = {Long{7}, u"4"};
  EXPECT_EQ(counter->Call(u"Look", arguments), Variant(Long{11}));
  EXPECT_EQ(arguments[0], Variant(Long{7}));
  EXPECT_EQ(arguments[1], Variant(u"4"));
  Variant leftOut[] = {u"7", Missing()};
  EXPECT_EQ(counter->Call(u"Look", leftOut), Variant(Long{12}));
  EXPECT_TRUE(leftOut[1].IsMissing());
}

TEST(Object, HandsBackWhatAFailingOperationHasSet) {
  const auto counter = std::make_shared<Counter>();
  Variant arguments[] = {Missing(), Missing()};
  EXPECT_EQ(NumberOf([&] { counter->Call(u"FillAndFail", arguments); }), 5);
  EXPECT_EQ(arguments[0], Variant(u"filled"));
  EXPECT_EQ(arguments[1], Variant(u"filled too"));
}

TEST(Object, PutsPropertiesAndDataMembersWithConversion) {
  const auto counter = std::make_shared<Counter>();
  counter->Put(u"step", u"12");
  EXPECT_EQ(counter->Step(), 12);
  counter->Put(u"M_LTOTAL", 2.5);
  EXPECT_EQ(counter->m_lTotal, 2);
  EXPECT_EQ(counter->Get(u"m_lTotal"), Variant(Long{2}));
  EXPECT_EQ(NumberOf([&] { counter->Put(u"Step", Long{40000}); }), 6);
  EXPECT_EQ(counter->Step(), 12);
}

TEST(Object, RefusesToPutWhatCanOnlyBeRead) {
  const auto counter = std::make_shared<Counter>();
  EXPECT_EQ(NumberOf([&] { counter->Put(u"Count", Long{1}); }), 438);
  EXPECT_EQ(NumberOf([&] { counter->Put(u"Add", Long{1}); }), 438);
}

TEST(Object, CallsItsDefaultMember) {
  const auto counter = std::make_shared<Counter>();
  counter->Add(3);
  EXPECT_EQ(counter->CallDefault({}), Variant(Long{3}));
  EXPECT_EQ(NumberOf([] { std::make_shared<Unrelated>()->CallDefault({}); }), 438);
}

TEST(Object, TakesObjectsOfTheRightClassOnly) {
  const auto counter = std::make_shared<Counter>();
  EXPECT_EQ(counter->CallWith(u"Take", counter), Variant(true));
  EXPECT_EQ(counter->CallWith(u"Take", nullptr), Variant(false));
  EXPECT_EQ(counter->CallWith(u"Take", Null()), Variant(false));
  EXPECT_EQ(NumberOf([&] { counter->CallWith(u"Take", std::make_shared<Unrelated>()); }), 13);
  EXPECT_EQ(NumberOf([&] { counter->CallWith(u"Take", u"text"); }), 13);
  EXPECT_EQ(NumberOf([&] { counter->CallWith(u"Take", Variant()); }), 13);
}

TEST(Object, IsCastToItsOwnClassesAlone) {
  const auto counter = std::make_shared<Counter>();
  EXPECT_EQ(CastObject<Counter>(Variant(counter)), counter);
  EXPECT_EQ(CastObject<Unrelated>(Variant(counter)), nullptr);
  EXPECT_EQ(CastObject<Counter>(Variant(u"text")), nullptr);
  EXPECT_EQ(SharedFrom(*counter), counter);
}

TEST(Variant, IsComparedByTypeAndValue) {
  EXPECT_EQ(Variant(Long{1}), Variant(Long{1}));
  EXPECT_FALSE(Variant(Long{1}) == Variant(Integer{1}));
  EXPECT_FALSE(Variant() == Variant(Null()));
  EXPECT_FALSE(Variant(u"a") == Variant(u"A"));
}

TEST(Variant, CopiesShareOneArray) {
  const auto array = std::make_shared<Array>();
  Variant second;
  {
    const Variant first(array);
    second = first;
  }
  array->items.push_back(Long{1});
  EXPECT_EQ((*second.As<ArrayPtr>())->items.size(), 1U);
}

TEST(Error, CarriesItsRecordAndItsDescription) {
  const ErrInfo info{-1, u"S", u"d\u00E9tail", u"H", 4};
  const Error error(info);
  EXPECT_EQ(error.Info(), info);
  EXPECT_STREQ(error.what(), "d\xC3\xA9tail");
}

TEST(Error, OfTheRunTimeHasItsOwnText) {
  const auto textOf = [](Long number, StringView detail) {
    try {
      RaiseRuntimeError(number, detail);
    } catch (const Error& error) {
      return error.Info().Description;
    }
  };
  EXPECT_EQ(textOf(11, u""), u"Division by zero");
  EXPECT_EQ(textOf(438, u"Page.Close"), u"The object has no such member: Page.Close");
}

// The current error while `failure` is in flight.
template <typename T>
ErrInfo Current(const T& failure) {
  try {
    throw failure;
  } catch (...) {
    return CurrentError();
  }
}

TEST(Error, TheCurrentOneIsTheExceptionInFlight) {
  EXPECT_EQ(CurrentError().Number, 0);
  const ErrInfo info{-1, u"S", u"D", u"H", 4};
  EXPECT_EQ(Current(Error(info)), info);
  EXPECT_EQ(Current(std::bad_alloc()).Number, 7);
  EXPECT_EQ(Current(std::runtime_error("broken")).Number, 5);
  EXPECT_EQ(Current(std::runtime_error("broken")).Description, u"broken");
}

}  // namespace
}  // namespace varnel::test
