// The library's objects as callers of every language use them.
#include <gmock/gmock.h>

#include <thread>

#include "host-fake/FakeHost.h"
#include "tests/component/DispatchClient.h"
#include "varnel/automation/Collection.h"
#include "varnel/automation/Members.h"
#include "varnel/component/ClassFactory.h"
#include "varnel/component/ClassIds.h"
#include "varnel/component/ObjectWrappers.h"
#include "varnel/recordset/DFields.h"
#include "varnel/utilities/Utilities.h"

namespace componenttest {
namespace {

using testing::ElementsAre;
using varnel::Long;

// An object with a member of each kind.
class Thing : public varnel::Object {
 public:
  const varnel::ClassInfo& Class() const override {
    using varnel::Method;
    static const varnel::ClassInfo info{
        u"Thing",
        {
            Method<&Thing::Join>(u"Join", {Variant(u"b"), Variant(u"c")}).Taking(u"iOne, iTwo, iThree"),
            varnel::DataMember<&Thing::m_count>(u"Count"),
            varnel::ReadOnly<&Thing::Item>(u"Item").Taking(u"iKey").AsDefault(),
            varnel::ReadOnly<&Thing::Self>(u"Self"),
            Method<&Thing::Double>(u"Double").Taking(u"ioNumber"),
            Method<&Thing::Fail>(u"Fail").Taking(u"iNumber, oResult"),
            Method<&Thing::Any>(u"Any").Taking(u"iFirst"),
        }};
    return info;
  }
  String Join(const String& one, const String& two, const String& three) { return one + two + three; }
  String Item(const String& key) { return u"<" + key + u">"; }
  varnel::ObjectPtr Self() { return shared_from_this(); }
  void Double(Long& number) { number *= 2; }
  void Fail(Long number, Variant& result) {
    result = u"stored";
    throw varnel::Error({number, u"Thing.Fail", u"It failed", u"help.txt", 12});
  }
  Variant Any(Long first, varnel::Arguments rest) { return first + static_cast<Long>(rest.size()); }

  Long m_count = 3;
};

Client Wrapped(const varnel::ObjectPtr& object) { return Client(WrapObject(object)); }

TEST(Dispatch, FindsMembersInAnyCaseOfLetters) {
  const Client thing = Wrapped(std::make_shared<Thing>());
  EXPECT_EQ(thing.Id(u"join"), 1);
  EXPECT_EQ(thing.Id(u"COUNT"), 2);
  EXPECT_EQ(thing.Id(u"Item"), 0);
  std::vector<DISPID> ids;
  EXPECT_EQ(thing.Ids({u"Nothing"}, ids), DISP_E_UNKNOWNNAME);
  EXPECT_THAT(ids, ElementsAre(DISPID_UNKNOWN));
}

TEST(Dispatch, FindsArgumentsByTheirNames) {
  const Client thing = Wrapped(std::make_shared<Thing>());
  std::vector<DISPID> ids;
  EXPECT_EQ(thing.Ids({u"Join", u"ithree", u"IONE"}, ids), S_OK);
  EXPECT_THAT(ids, ElementsAre(1, 2, 0));
  EXPECT_EQ(thing.Ids({u"Join", u"iFour", u"iOne"}, ids), DISP_E_UNKNOWNNAME);
  EXPECT_THAT(ids, ElementsAre(1, DISPID_UNKNOWN, 0));
}

TEST(Dispatch, FillsUpWhatIsLeftOut) {
  const Client thing = Wrapped(std::make_shared<Thing>());
  EXPECT_EQ(thing.Call(u"Join", {OfText(u"a")}).value, Variant(u"abc"));
  EXPECT_EQ(thing.Call(u"Join", {OfText(u"a"), LeftOut(), OfText(u"z")}).value, Variant(u"abz"));
}

TEST(Dispatch, TakesArgumentsByName) {
  const Client thing = Wrapped(std::make_shared<Thing>());
  const WORD call = DISPATCH_METHOD;
  // Named arguments stand behind the others here, and in front of them in memory, the last name first.
  EXPECT_EQ(thing.InvokeId(1, call, {OfText(u"a"), OfText(u"z")}, {2}).value, Variant(u"abz"));
  EXPECT_EQ(thing.InvokeId(1, call, {OfText(u"x"), OfText(u"y")}, {1, 0}).value, Variant(u"xyc"));
  // A required one is missing, one comes twice, one isn't there.
  EXPECT_EQ(thing.InvokeId(1, call, {OfText(u"x")}, {1}).result, DISP_E_PARAMNOTOPTIONAL);
  EXPECT_EQ(thing.InvokeId(1, call, {OfText(u"x"), OfText(u"y")}, {0}).result, DISP_E_PARAMNOTFOUND);
  EXPECT_EQ(thing.InvokeId(1, call, {OfText(u"x"), OfText(u"y")}, {3}).result, DISP_E_PARAMNOTFOUND);
  EXPECT_EQ(thing.InvokeId(1, call, {OfText(u"x"), OfText(u"y")}, {-9}).result, DISP_E_PARAMNOTFOUND);
}

TEST(Dispatch, RefusesWrongCounts) {
  const Client thing = Wrapped(std::make_shared<Thing>());
  EXPECT_EQ(thing.Call(u"Join").result, DISP_E_BADPARAMCOUNT);
  EXPECT_EQ(thing.Call(u"Join", {Of(1), Of(2), Of(3), Of(4)}).result, DISP_E_BADPARAMCOUNT);
  EXPECT_EQ(thing.Call(u"Any", {Of(1), Of(2), Of(3), Of(4)}).value, Variant(Long{4}));
}

TEST(Dispatch, ReadsAndWritesProperties) {
  const Client thing = Wrapped(std::make_shared<Thing>());
  EXPECT_EQ(thing.Call(u"Count").value, Variant(Long{3}));
  EXPECT_EQ(thing.Put(u"Count", OfText(u"17")).result, S_OK);
  EXPECT_EQ(thing.Call(u"Count").value, Variant(Long{17}));
  EXPECT_EQ(thing.Put(u"Self", Of(1)).result, DISP_E_MEMBERNOTFOUND);
  EXPECT_EQ(thing.Put(u"Count", OfText(u"many")).code, static_cast<std::int32_t>(0x800A000D));
}

TEST(Dispatch, PassesArgumentsOnToWhatAPropertyHolds) {
  const Client thing = Wrapped(std::make_shared<Thing>());
  EXPECT_EQ(thing.Call(u"Self", {OfText(u"k")}).value, Variant(u"<k>"));
  EXPECT_EQ(thing.Call(u"Count", {OfText(u"k")}).result, DISP_E_BADPARAMCOUNT);
}

TEST(Dispatch, StoresResultsByReference) {
  const Client thing = Wrapped(std::make_shared<Thing>());
  std::int32_t number = 21;
  EXPECT_EQ(thing.Call(u"Double", {Reference(VT_I4, &number)}).result, S_OK);
  EXPECT_EQ(number, 42);
  VARIANT value = OfText(u"5");
  EXPECT_EQ(thing.Call(u"Double", {Reference(VT_VARIANT, &value)}).result, S_OK);
  EXPECT_EQ(FromAutomation(value), Variant(Long{10}));
  std::int16_t small = 20000;
  EXPECT_EQ(thing.Call(u"Double", {Reference(VT_I2, &small)}).result, DISP_E_OVERFLOW);
  EXPECT_EQ(small, 20000);
  BSTR text = MakeText(u"8");
  EXPECT_EQ(thing.Call(u"Double", {Reference(VT_BSTR, &text)}).result, S_OK);
  EXPECT_EQ(TextOf(text), u"16");
  SysFreeString(text);
  // By value there is no place for a result.
  EXPECT_EQ(thing.Call(u"Double", {Of(3)}).result, S_OK);
}

TEST(Dispatch, TellsErrorsWhole) {
  const Client thing = Wrapped(std::make_shared<Thing>());
  VARIANT result{};
  Answer answer = thing.Call(u"Fail", {Of(457), Reference(VT_VARIANT, &result)});
  EXPECT_EQ(answer.result, DISP_E_EXCEPTION);
  EXPECT_EQ(answer.code, static_cast<std::int32_t>(0x800A01C9));
  EXPECT_EQ(answer.source, u"Thing.Fail");
  EXPECT_EQ(answer.description, u"It failed");
  EXPECT_EQ(FromAutomation(result), Variant(u"stored"));
  VariantClear(&result);
  answer = thing.Call(u"Fail", {Of(-1), LeftOut()});
  EXPECT_EQ(answer.code, -1);
  answer = thing.Call(u"Fail", {Of(static_cast<std::int32_t>(0x80040E14)), LeftOut()});
  EXPECT_EQ(answer.code, static_cast<std::int32_t>(0x80040E14));
}

TEST(Dispatch, TellsHelpFileAndContext) {
  const ComPointer<IDispatch> thing = WrapObject(std::make_shared<Thing>());
  VARIANT arguments[] = {LeftOut(), Of(5)};
  DISPPARAMS parameters{arguments, nullptr, 2, 0};
  EXCEPINFO error{};
  const DISPID fail = Client(thing).Id(u"Fail");
  EXPECT_EQ(thing->Invoke(fail, kNoId, 0, DISPATCH_METHOD, &parameters, nullptr, &error, nullptr),
            DISP_E_EXCEPTION);
  EXPECT_EQ(TextOf(error.bstrHelpFile), u"help.txt");
  EXPECT_EQ(error.dwHelpContext, 12U);
  EXPECT_EQ(error.wCode, 0);
  SysFreeString(error.bstrSource);
  SysFreeString(error.bstrDescription);
  SysFreeString(error.bstrHelpFile);
  // Who doesn't want to know needn't.
  EXPECT_EQ(thing->Invoke(fail, kNoId, 0, DISPATCH_METHOD, &parameters, nullptr, nullptr, nullptr),
            DISP_E_EXCEPTION);
}

TEST(Dispatch, SaysWhichArgumentIsBad) {
  const Client thing = Wrapped(std::make_shared<Thing>());
  VARIANT bad{};
  bad.vt = VT_ERROR;
  bad.scode = 5;
  const Answer answer = thing.Call(u"Join", {OfText(u"a"), bad, OfText(u"c")});
  EXPECT_EQ(answer.result, DISP_E_TYPEMISMATCH);
  EXPECT_EQ(answer.badArgument, 1U);
}

TEST(Dispatch, RefusesCallsThatAreNone) {
  const ComPointer<IDispatch> thing = WrapObject(std::make_shared<Thing>());
  DISPPARAMS none{};
  EXPECT_EQ(thing->Invoke(1, kDispatchId, 0, 1, &none, nullptr, nullptr, nullptr), DISP_E_UNKNOWNINTERFACE);
  EXPECT_EQ(thing->Invoke(1, kNoId, 0, 1, nullptr, nullptr, nullptr, nullptr), E_INVALIDARG);
  EXPECT_EQ(thing->Invoke(1, kNoId, 0, 0, &none, nullptr, nullptr, nullptr), E_INVALIDARG);
  EXPECT_EQ(thing->Invoke(99, kNoId, 0, 1, &none, nullptr, nullptr, nullptr), DISP_E_MEMBERNOTFOUND);
  EXPECT_EQ(thing->Invoke(-5, kNoId, 0, 1, &none, nullptr, nullptr, nullptr), DISP_E_MEMBERNOTFOUND);
  DISPPARAMS withoutMemory{nullptr, nullptr, 2, 0};
  EXPECT_EQ(thing->Invoke(1, kNoId, 0, 1, &withoutMemory, nullptr, nullptr, nullptr), E_INVALIDARG);
  VARIANT argument = Of(1);
  DISPPARAMS moreNames{&argument, nullptr, 1, 2};
  EXPECT_EQ(thing->Invoke(1, kNoId, 0, 1, &moreNames, nullptr, nullptr, nullptr), E_INVALIDARG);
  DISPID id = 0;
  EXPECT_EQ(thing->GetIDsOfNames(kNoId, nullptr, 1, 0, &id), E_INVALIDARG);
  OLECHAR* noName = nullptr;
  EXPECT_EQ(thing->GetIDsOfNames(kNoId, &noName, 1, 0, &id), E_INVALIDARG);
}

TEST(Dispatch, WalksThroughCollections) {
  const auto items = std::make_shared<varnel::Collection>();
  items->Add(u"one", varnel::Missing());
  items->Add(Long{2}, varnel::Missing());
  items->Add(std::make_shared<Thing>(), varnel::Missing());
  const auto fields = std::make_shared<varnel::DFields>();
  std::shared_ptr<varnel::Collection> bound = items;
  fields->Initialize(bound);
  const ComPointer<IDispatch> wrapped = WrapObject(fields);
  EXPECT_EQ(Client(wrapped).Id(u"newenum"), DISPID_NEWENUM);
  EXPECT_EQ(Client(wrapped).Id(u"_NewEnum"), DISPID_NEWENUM);

  DISPPARAMS none{};
  OwnedVariant result;
  ASSERT_EQ(
      wrapped->Invoke(DISPID_NEWENUM, kNoId, 0, DISPATCH_PROPERTYGET, &none, &result.Get(), nullptr, nullptr),
      S_OK);
  ASSERT_EQ(result.Get().vt, VT_UNKNOWN);
  const auto elements = QueryFor<IEnumVARIANT>(result.Get().punkVal, kEnumVariantId);
  ASSERT_TRUE(elements);
  VARIANT two[2];
  ULONG fetched = 9;
  EXPECT_EQ(elements->Next(2, two, &fetched), S_OK);
  EXPECT_EQ(fetched, 2U);
  EXPECT_EQ(FromAutomation(two[0]), Variant(u"one"));
  VariantClear(&two[0]);
  IEnumVARIANT* other = nullptr;
  ASSERT_EQ(elements->Clone(&other), S_OK);
  EXPECT_EQ(elements->Next(2, two, &fetched), S_FALSE);
  EXPECT_EQ(fetched, 1U);
  EXPECT_EQ(two[0].vt, VT_DISPATCH);
  VariantClear(&two[0]);
  EXPECT_EQ(other->Next(1, two, nullptr), S_OK);
  EXPECT_EQ(two[0].vt, VT_DISPATCH);
  VariantClear(&two[0]);
  EXPECT_EQ(other->Next(1, two, nullptr), S_FALSE);
  EXPECT_EQ(other->Reset(), S_OK);
  EXPECT_EQ(other->Skip(2), S_OK);
  EXPECT_EQ(other->Skip(2), S_FALSE);
  EXPECT_EQ(other->Release(), 0U);
  EXPECT_EQ(Wrapped(std::make_shared<Thing>()).InvokeId(DISPID_NEWENUM, DISPATCH_PROPERTYGET, {}).result,
            DISP_E_MEMBERNOTFOUND);
}

TEST(Dispatch, GivesTheFieldsOfARecordsetNotYetOpenAsAnError) {
  const Client fields = Wrapped(std::make_shared<varnel::DFields>());
  EXPECT_EQ(fields.InvokeId(DISPID_NEWENUM, DISPATCH_PROPERTYGET, {}).code,
            static_cast<std::int32_t>(0x800A005B));
}

TEST(Dispatch, IsOneObjectForOneObject) {
  const auto thing = std::make_shared<Thing>();
  const ComPointer<IDispatch> one = WrapObject(thing);
  const ComPointer<IDispatch> two = WrapObject(thing);
  EXPECT_EQ(one.Get(), two.Get());
  EXPECT_EQ(UnwrapObject(one.Get()), thing);
  const Answer self = Client(one).Call(u"Self");
  EXPECT_EQ(self.value, Variant(thing));
}

TEST(Dispatch, AnswersToTheIdsOfItsInterfacesOnly) {
  const hostfake::FakeHost host;
  const ComPointer<IDispatch> utilities = WrapObject(varnel::MakeUtilities());
  const auto has = [&](const GUID& id) { return static_cast<bool>(QueryFor<IUnknown>(utilities.Get(), id)); };
  EXPECT_TRUE(has(kUnknownId));
  EXPECT_TRUE(has(kDispatchId));
  EXPECT_TRUE(has(IdsOfClass(u"Utilities")->interfaceID));
  EXPECT_FALSE(has(IdsOfClass(u"Page")->interfaceID));
  EXPECT_FALSE(has(kObjectControlId));
  EXPECT_FALSE(has(kEnumVariantId));
  EXPECT_EQ(utilities->QueryInterface(kUnknownId, nullptr), E_POINTER);
}

TEST(Dispatch, RefusesCallsOnWhatWasReleased) {
  IDispatch* thing = WrapObject(std::make_shared<Thing>()).Detach();
  EXPECT_EQ(thing->Release(), 0U);
  DISPPARAMS none{};
  void* found = nullptr;
  DISPID id = 0;
  String name = u"Count";
  auto* units = reinterpret_cast<OLECHAR*>(name.data());
  EXPECT_EQ(thing->Invoke(2, kNoId, 0, 2, &none, nullptr, nullptr, nullptr), RPC_E_DISCONNECTED);
  EXPECT_EQ(thing->GetIDsOfNames(kNoId, &units, 1, 0, &id), RPC_E_DISCONNECTED);
  EXPECT_EQ(thing->QueryInterface(kUnknownId, &found), RPC_E_DISCONNECTED);
  EXPECT_EQ(thing->AddRef(), 0U);
  EXPECT_EQ(thing->Release(), 0U);
  EXPECT_EQ(thing->Release(), 0U);
}

TEST(Dispatch, LivesThroughTheCallThatReleasesIt) {
  struct Suicide : Thing {
    const varnel::ClassInfo& Class() const override {
      static const varnel::ClassInfo info{u"Suicide", {varnel::Method<&Suicide::Go>(u"Go")}};
      return info;
    }
    String Go() {
      holder->Release();
      return u"still here";
    }
    IDispatch* holder = nullptr;
  };
  const auto object = std::make_shared<Suicide>();
  IDispatch* wrapped = WrapObject(object).Detach();
  object->holder = wrapped;
  std::weak_ptr<Suicide> alive = object;
  const_cast<std::shared_ptr<Suicide>&>(object).reset();
  DISPPARAMS none{};
  OwnedVariant result;
  EXPECT_EQ(wrapped->Invoke(1, kNoId, 0, DISPATCH_METHOD, &none, &result.Get(), nullptr, nullptr), S_OK);
  EXPECT_EQ(FromAutomation(result.Get()), Variant(u"still here"));
  EXPECT_TRUE(alive.expired());
}

TEST(Dispatch, ServesThreadsWithObjectsOfTheirOwn) {
  const auto work = [] {
    for (int i = 0; i < 200; ++i) {
      const Client thing = Wrapped(std::make_shared<Thing>());
      EXPECT_EQ(thing.Call(u"Join", {OfText(u"a")}).value, Variant(u"abc"));
      std::int32_t number = i;
      thing.Call(u"Double", {Reference(VT_I4, &number)});
      EXPECT_EQ(number, 2 * i);
    }
  };
  std::thread one(work);
  std::thread two(work);
  one.join();
  two.join();
}

// The names of parameters are those of the published interfaces; each has one.
TEST(MemberTables, NameEachParameter) {
  const hostfake::FakeHost host;
  std::vector<varnel::ObjectPtr> objects{std::make_shared<varnel::DField>(),
                                         std::make_shared<varnel::DFields>(),
                                         std::make_shared<varnel::Collection>()};
  for (const ClassIds& ids : AllClassIds()) {
    if (ids.IsCreatable()) objects.push_back(varnel::CreateComponent(u"Varnel." + String(ids.name)));
  }
  ASSERT_EQ(objects.size(), 12U);
  for (const varnel::ObjectPtr& object : objects) {
    for (const varnel::Member& member : object->Class().members) {
      const auto names = varnel::Split(member.argumentNames, u", ");
      EXPECT_EQ(static_cast<int>(names.size()), member.parameters)
          << varnel::ToUtf8(object->Class().name + u"." + member.name);
      for (std::size_t i = 0; i < names.size(); ++i)
        EXPECT_EQ(member.ParameterNamed(varnel::ToUpper(names[i])), static_cast<int>(i));
    }
  }
}

TEST(MemberTables, FindNoParameterByAnEmptyName) {
  const varnel::ClassInfo& info = std::make_shared<Thing>()->Class();
  EXPECT_EQ(info.Find(u"Join")->ParameterNamed(u""), -1);
  EXPECT_EQ(info.Find(u"Join")->ParameterNamed(u"iOne, iTwo"), -1);
  EXPECT_EQ(info.Find(u"Self")->ParameterNamed(u""), -1);
}

}  // namespace
}  // namespace componenttest
