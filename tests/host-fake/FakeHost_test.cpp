#include "host-fake/FakeHost.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "host-fake/ErrorOf.h"
#include "varnel/automation/Members.h"
#include "varnel/host/IObjectControl.h"
#include "varnel/page/Page.h"

namespace hostfake {
namespace {

using testing::ElementsAre;
using varnel::Error;
using varnel::Long;

class Controlled : public Object, public varnel::host::IObjectControl {
 public:
  const ClassInfo& Class() const override {
    static const ClassInfo info{u"Controlled", {}};
    return info;
  }
  void Activate() override { ++activated; }
  void Deactivate() override { ++deactivated; }
  int activated = 0;
  int deactivated = 0;
};

TEST(FakeHost, IsThePlatformForAsLongAsItLives) {
  {
    FakeHost host;
    EXPECT_EQ(&varnel::host::Platform(), &host);
  }
  EXPECT_EQ(ErrorOf([] { varnel::host::Platform(); }).Number, 91);
}

TEST(FakeHost, HandsOutTheFiveIntrinsicsInAnyCaseOfLetters) {
  FakeHost host;
  const auto context = host.GetObjectContext();
  EXPECT_EQ(context->Item(u"server").get(), &host.Server());
  EXPECT_EQ(context->Item(u"Session").get(), &host.Session());
  EXPECT_EQ(context->Item(u"APPLICATION").get(), &host.Application());
  EXPECT_EQ(context->Item(u"Response").get(), &host.Response());
  EXPECT_EQ(context->Item(u"Request").get(), &host.Request());
  EXPECT_EQ(ErrorOf([&] { context->Item(u"Printer"); }).Number, 5);
}

TEST(FakeHost, HasNoContextWhereTheSwitchSaysSo) {
  FakeHost host;
  host.SetHasContext(false);
  EXPECT_EQ(host.GetObjectContext(), nullptr);
}

TEST(FakeHost, MakesTheClassesOfTheLibraryAndItsOwn) {
  FakeHost host;
  EXPECT_NE(host.Create<varnel::Page>(u"varnel.PAGE"), nullptr);
  EXPECT_EQ(host.Create<FakeLog>(u"Ostrand.Log").get(), &host.Log());
  EXPECT_EQ(host.Create<FakeUser>(u"tolvane.user").get(), &host.User());
  EXPECT_EQ(ErrorOf([&] { host.CreateObject(u"No.Such"); }).Number, 429);
}

TEST(FakeHost, ActivatesWhatItMakesInAContextAndDeactivatesItAtTheEnd) {
  FakeHost host;
  host.Register(u"Test.Controlled", [] { return std::make_shared<Controlled>(); });
  const auto object = host.Create<Controlled>(u"Test.Controlled");
  EXPECT_EQ(object->activated, 1);
  EXPECT_EQ(object->deactivated, 0);
  host.EndRequest();
  host.EndRequest();
  EXPECT_EQ(object->deactivated, 1);
}

TEST(FakeHost, DoesNotActivateWhatIsMadeWithoutAContext) {
  FakeHost host;
  host.SetHasContext(false);
  host.Register(u"Test.Controlled", [] { return std::make_shared<Controlled>(); });
  EXPECT_EQ(host.Create<Controlled>(u"Test.Controlled")->activated, 0);
}

TEST(FakeHost, FailsToCreateAClassWhenToldTo) {
  FakeHost host;
  host.FailCreation(u"Ostrand.Log", Failure(-7, u"no log today"));
  const auto error = ErrorOf([&] { host.CreateObject(u"ostrand.log"); });
  EXPECT_EQ(error.Number, -7);
  EXPECT_EQ(error.Description, u"no log today");
}

TEST(FakeHost, LetsOnlyOneLogEntryBeMadeAtATime) {
  FakeHost host;
  EXPECT_TRUE(host.EnterLog());
  EXPECT_FALSE(host.EnterLog());
  host.LeaveLog();
  EXPECT_TRUE(host.EnterLog());
}

TEST(FakeRequest, KeepsKeysInOrderWithSeveralValuesEach) {
  FakeHost host;
  auto& query = host.Request().Query();
  query.Add(u"b", u"1");
  query.Add(u"a", u"2");
  query.Add(u"B", u"3");
  EXPECT_EQ(query.Count(), 2);
  EXPECT_EQ(query.Key(1), u"b");
  EXPECT_EQ(query.ValueAt(1), u"1, 3");
  EXPECT_EQ(query.Value(u"A"), Variant(u"2"));
  EXPECT_EQ(query.Value(u"c"), Variant());
  EXPECT_EQ(query.ValueCount(u"b"), 2);
  EXPECT_EQ(ErrorOf([&] { query.Key(0); }).Number, 9);
  EXPECT_EQ(ErrorOf([&] { query.ValueAt(3); }).Number, 9);
}

TEST(FakeRequest, LooksThroughQueryFormCookiesAndServerVariablesInThatOrder) {
  FakeHost host;
  auto& request = host.Request();
  request.Variables().Set(u"URL", u"/shop/a.asp");
  EXPECT_EQ(request.Item(u"url"), Variant(u"/shop/a.asp"));
  request.CookieValues().Set(u"URL", u"cookie");
  EXPECT_EQ(request.Item(u"URL"), Variant(u"cookie"));
  request.Fields().Set(u"URL", u"form");
  EXPECT_EQ(request.Item(u"URL"), Variant(u"form"));
  request.Query().Set(u"URL", u"query");
  EXPECT_EQ(request.Item(u"URL"), Variant(u"query"));
  EXPECT_EQ(request.ItemReads(u"Url"), 4);
  EXPECT_TRUE(request.Item(u"none").IsEmpty());
}

TEST(FakeRequest, GivesItsBodyInPiecesAndThenNoForm) {
  FakeHost host;
  auto& request = host.Request();
  request.SetBody({1, 2, 3, 4, 5});
  request.SetChunk(2);
  EXPECT_EQ(request.TotalBytes(), 5);
  EXPECT_EQ(request.BinaryRead(5), Bytes({1, 2}));
  EXPECT_EQ(request.BinaryRead(1), Bytes({3}));
  EXPECT_EQ(request.BinaryRead(9), Bytes({4, 5}));
  EXPECT_EQ(request.BinaryRead(9), Bytes());
  EXPECT_EQ(ErrorOf([&] { request.Form(); }).Number, 5);
}

TEST(FakeResponse, CollectsTextAndCountsItsWrites) {
  FakeHost host;
  host.Response().Write(u"<p>");
  host.Response().Write(u"</p>");
  EXPECT_EQ(host.Response().Text(), u"<p></p>");
  EXPECT_THAT(host.Response().Writes(), ElementsAre(u"<p>", u"</p>"));
  host.Response().Fail(Failure(-3, u"the client is gone"));
  EXPECT_EQ(ErrorOf([&] { host.Response().Write(u"x"); }).Number, -3);
  EXPECT_EQ(host.Response().Text(), u"<p></p>");
}

TEST(FakeResponse, LetsATestOverrideTheWrite) {
  FakeHost host;
  host.Response().onWrite = [](StringView text) {
    if (text == u"second") throw Error(Failure(-4, u"the second write fails"));
  };
  host.Response().Write(u"first");
  EXPECT_EQ(ErrorOf([&] { host.Response().Write(u"second"); }).Number, -4);
}

TEST(FakeValues, IgnoreTheCaseOfKeysAndCountReads) {
  FakeHost host;
  host.Application().Set(u"Key", u"value");
  EXPECT_EQ(host.Application().Value(u"KEY"), Variant(u"value"));
  EXPECT_TRUE(host.Session().Value(u"KEY").IsEmpty());
  EXPECT_EQ(host.Application().Reads(u"key"), 1);
  EXPECT_THAT(host.Trace().Lines(), ElementsAre("Application: Value KEY", "Session: Value KEY"));
}

TEST(FakeServer, EncodesForURLsAndForHTML) {
  FakeHost host;
  EXPECT_EQ(host.Server().URLEncode(u"a Z9-._~\u00e9"), u"a+Z9%2D%2E%5F%7E%C3%A9");
  EXPECT_EQ(host.Server().HTMLEncode(u"<a b=\"c\">&'"), u"&lt;a b=&quot;c&quot;&gt;&amp;'");
}

TEST(FakeObjects, AreReachedByNameToo) {
  FakeHost host;
  host.Request().Query().Set(u"a", u"1");
  host.Session().Set(u"s", u"2");
  host.Response().CallWith(u"write", u"text");
  EXPECT_EQ(host.Response().Text(), u"text");
  EXPECT_EQ(host.Request().CallWith(u"Item", u"A"), Variant(u"1"));
  EXPECT_EQ(host.Session().CallWith(u"Value", u"S"), Variant(u"2"));
  EXPECT_EQ(host.Session().Get(u"LCID"), Variant(Long{1033}));
  const auto query = varnel::ToObject(host.Request().Get(u"QueryString"));
  EXPECT_EQ(query->Get(u"Count"), Variant(Long{1}));
  EXPECT_EQ(query->CallWith(u"Item", Long{1}), Variant(u"1"));
}

TEST(FakeLog, KeepsEntriesUntilItFails) {
  FakeHost host;
  String source = u"S";
  String text = u"T";
  Long level = 1;
  Variant extra;
  host.Log().WriteEntry(source, text, level, extra);
  host.Log().Fail(Failure(-5, u"disk full"));
  EXPECT_EQ(ErrorOf([&] { host.Log().WriteEntry(source, text, level, extra); }).Number, -5);
  EXPECT_THAT(host.Log().Entries(), ElementsAre(LogEntry{u"S", u"T", 1, Variant()}));
}

TEST(FakeConfiguration, AnswersBySection) {
  FakeHost host;
  auto& configuration = host.Configuration();
  configuration.SetConnectionString(u"Quenby", u"text");
  const auto made = host.Create<FakeConfiguration>(u"ostrand.configuration");
  made->CallWith(u"PrepareConfiguration", Long{0});
  EXPECT_EQ(made->CallWith(u"GetConfigurationConnectionString", u"Quenby"), Variant(u"text"));
  EXPECT_EQ(made->CallWith(u"GetConfigurationConnectionString", u"Other"), Variant(u""));
  configuration.FailGet(Failure(-6, u"gone"));
  EXPECT_EQ(ErrorOf([&] { configuration.GetConfigurationConnectionString(u"Quenby"); }).Number, -6);
  configuration.FailPrepare(Failure(-5, u"gone"));
  EXPECT_EQ(ErrorOf([&] { made->CallWith(u"PrepareConfiguration", Long{0}); }).Number, -5);
}

TEST(FakeMessageManager, GivesTextsByKeyAndLanguage) {
  FakeHost host;
  auto& messages = host.MessageManager();
  messages.SetMessage(u"K", u"1033", u"Records");
  EXPECT_EQ(messages.CallWith(u"getMessage", u"K", u"1033"), Variant(u"Records"));
  EXPECT_EQ(ErrorOf([&] { messages.getMessage(u"K", u"1031"); }).Number, kGeneralFailure);
  messages.Fail(Failure(-6, u"gone"));
  EXPECT_EQ(ErrorOf([&] { messages.getMessage(u"K", u"1033"); }).Number, -6);
}

}  // namespace
}  // namespace hostfake
