#include "varnel/page/Page.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <thread>

#include "host-fake/ErrorOf.h"
#include "tests/page/FakeComponents.h"
#include "varnel/automation/Members.h"
#include "varnel/page/Style.h"

namespace varnel::test {
namespace {

using hostfake::ErrorOf;
using hostfake::Failure;
using testing::ElementsAre;

const char* const kIsolation = "Connection 1: Execute set TRANSACTION ISOLATION LEVEL READ COMMITTED (-1)";

TEST(Page, BindsTheFiveIntrinsicsInTheirOrder) {
  PageHost host;
  const auto page = std::make_shared<Page>();
  EXPECT_THAT(host.Trace().Lines(),
              ElementsAre("Context: Item Server", "Context: Item Session", "Context: Item Application",
                          "Context: Item Response", "Context: Item Request"));
}

TEST(Page, ActivatedAgainByTheHostReplacesTheIntrinsics) {
  PageHost host;
  const auto page = host.NewPage();
  EXPECT_EQ(host.Asked("Context: Item Response"), 2);
  const auto other = std::make_shared<hostfake::FakeResponse>(std::make_shared<hostfake::Trace>());
  host.ReplaceItem(u"Response", other);
  page->Activate();
  page->Add(u"x");
  EXPECT_EQ(host.Response().Writes().size(), 0U);
  EXPECT_EQ(other->Writes().size(), 1U);
}

TEST(Page, DeactivateReleasesNothing) {
  PageHost host;
  const auto page = host.NewPage();
  page->OpenDatabaseConnection(u"A");
  page->Deactivate();
  page->Add(u"x");
  EXPECT_EQ(host.Response().Writes().size(), 1U);
  EXPECT_EQ(host.Database().LiveConnections(), 1);
}

TEST(Page, CannotBeMadeWithoutAnObjectContext) {
  PageHost host;
  host.SetHasContext(false);
  EXPECT_EQ(ErrorOf([] { std::make_shared<Page>(); }).Number, 91);
}

TEST(Page, AFailureOfTheHostWhileBindingPassesUnchanged) {
  PageHost host;
  host.ReplaceItem(u"Session", nullptr);
  EXPECT_EQ(ErrorOf([] { std::make_shared<Page>(); }).Number, 13);
  EXPECT_EQ(host.Log().Entries().size(), 0U);
}

TEST(PageConnection, IsSetUpInOrderAndOpenedWithTheApplicationsText) {
  PageHost host;
  host.Application().Set(u"A_ConnectionString", u"Provider=Fake");
  const auto page = host.NewPage();
  host.Trace().Clear();
  page->OpenDatabaseConnection(u"A");
  EXPECT_THAT(host.Trace().Lines(),
              ElementsAre("Application: Value A_ConnectionString", "Connection 1: ConnectionTimeout 15",
                          "Connection 1: CommandTimeout 30", "Connection 1: CursorLocation 2",
                          "Connection 1: IsolationLevel 4096",
                          "Connection 1: Open \"Provider=Fake\", \"\", \"\", -1", kIsolation));
}

TEST(PageConnection, TheSameNameTwiceOpensOneConnection) {
  PageHost host;
  const auto page = host.NewPage();
  page->OpenDatabaseConnection(u"A");
  page->OpenDatabaseConnection(u"A");
  EXPECT_EQ(host.Asked(kIsolation), 1);
  EXPECT_EQ(host.Database().Statements().size(), 1U);
  EXPECT_EQ(host.Application().Reads(u"A_ConnectionString"), 1);
}

TEST(PageConnection, AnotherNameOpensASecondOneAndDropsTheFirstWithoutClosingIt) {
  PageHost host;
  const auto page = host.NewPage();
  page->OpenDatabaseConnection(u"A");
  page->OpenDatabaseConnection(u"B");
  EXPECT_EQ(host.Database().LiveConnections(), 1);
  page->OpenDatabaseConnection(u"A");
  EXPECT_EQ(host.Database().Statements().size(), 3U);
  EXPECT_EQ(host.Trace().LinesOf("Connection 3: Execute").size(), 1U);
  for (const std::string& line : host.Database().Lines()) EXPECT_FALSE(line.ends_with("Close")) << line;
}

TEST(PageConnection, NamesCompareCaseSensitive) {
  PageHost host;
  const auto page = host.NewPage();
  page->OpenDatabaseConnection(u"A");
  page->OpenDatabaseConnection(u"a");
  EXPECT_EQ(host.Database().Statements().size(), 2U);
}

TEST(PageConnection, AnEmptyNameOnAFreshPageOpensNothing) {
  PageHost host;
  const auto page = host.NewPage();
  page->OpenDatabaseConnection(u"");
  EXPECT_THAT(host.Database().Lines(), ElementsAre());
}

TEST(PageConnection, AMissingKeyGivesAnEmptyText) {
  PageHost host;
  const auto page = host.NewPage();
  page->OpenDatabaseConnection(u"None");
  EXPECT_EQ(host.Asked("Connection 1: Open \"\", \"\", \"\", -1"), 1);
}

TEST(PageConnection, AConnectionThatCannotBeOpenedLeavesTheEarlierOne) {
  PageHost host;
  const auto page = host.NewPage();
  page->OpenDatabaseConnection(u"A");
  host.Database().FailOpen(Failure(-20, u"no server", u"Provider"));
  EXPECT_EQ(ErrorOf([&] { page->OpenDatabaseConnection(u"B"); }), Failure(-20, u"no server", u"Provider"));
  host.Database().ClearFaults();
  const auto recordset = CastObject<RecordsetStandIn>(page->DRecordset());
  EXPECT_EQ(CastObject<hostfake::FakeConnection>(
                ObjectPtr(std::dynamic_pointer_cast<Object>(recordset->connection)))
                ->Name(),
            u"Connection 1");
  page->OpenDatabaseConnection(u"A");
  EXPECT_EQ(host.Database().Statements().size(), 1U);
  EXPECT_EQ(host.Log().Entries().size(), 0U);
}

TEST(PageConnection, IsTakenOnlyAfterTheIsolationStatementSucceeded) {
  PageHost host;
  const auto page = host.NewPage();
  host.Database().FailExecute(Failure(-21, u"refused"));
  EXPECT_EQ(ErrorOf([&] { page->OpenDatabaseConnection(u"A"); }).Number, -21);
  EXPECT_EQ(ErrorOf([&] { page->DRecordset(); }).Number, -1);
  host.Database().ClearFaults();
  page->OpenDatabaseConnection(u"A");
  EXPECT_EQ(host.Database().Statements().size(), 2U);
}

TEST(PageConnection, IsReleasedWithThePageAndNeverClosed) {
  PageHost host;
  auto page = host.NewPage();
  page->OpenDatabaseConnection(u"A");
  page = nullptr;
  EXPECT_EQ(host.Database().LiveConnections(), 0);
  EXPECT_EQ(host.Asked("Connection 1: Close"), 0);
}

TEST(PageRecordset, WithoutAConnectionRaisesAndTheCounterStays) {
  PageHost host;
  const auto page = host.NewPage();
  const auto error = ErrorOf([&] { page->DRecordset(); });
  EXPECT_EQ(error.Number, -1);
  EXPECT_EQ(error.Source, u"Varnel.Page");
  EXPECT_EQ(error.Description,
            u"Parameter error: Page.OpenDatabaseConnection() should be called before creating a DRecordset");
  EXPECT_EQ(error.HelpFile, u"");
  EXPECT_EQ(error.HelpContext, 0);
  EXPECT_EQ(host.Log().Entries().size(), 0U);
  page->OpenDatabaseConnection(u"A");
  EXPECT_EQ(CastObject<RecordsetStandIn>(page->DRecordset())->id, 1);
}

TEST(PageRecordset, RecordsetsAreNumberedInOrderAndGetPageAndConnection) {
  PageHost host;
  const auto page = host.NewPage();
  page->OpenDatabaseConnection(u"A");
  const auto first = CastObject<RecordsetStandIn>(page->DRecordset());
  const auto second = CastObject<RecordsetStandIn>(page->DRecordset());
  EXPECT_EQ(first->id, 1);
  EXPECT_EQ(second->id, 2);
  EXPECT_EQ(first->page, page);
  EXPECT_NE(first->connection, nullptr);
  EXPECT_EQ(first->connection, second->connection);
}

TEST(PageTable, IsMadeInTheContextAndBoundToThePage) {
  PageHost host;
  const auto page = host.NewPage();
  const auto table = CastObject<TableStandIn>(page->Table());
  EXPECT_EQ(table->page, page);
  EXPECT_EQ(host.Asked("Context: CreateInstance Varnel.Table"), 1);
}

TEST(PageGrid, WithoutATableMakesItsOwn) {
  PageHost host;
  const auto page = host.NewPage();
  page->OpenDatabaseConnection(u"A");
  const ObjectPtr recordset = page->DRecordset();
  const auto grid = CastObject<GridStandIn>(page->CallWith(u"DGrid", recordset, u"Title"));
  EXPECT_EQ(grid->page, page);
  EXPECT_EQ(grid->recordset, recordset);
  EXPECT_EQ(grid->title, u"Title");
  EXPECT_FALSE(grid->formBased);
  EXPECT_EQ(grid->table, nullptr);
}

TEST(PageGrid, WhatIsNoRecordsetFailsBeforeAnythingIsMade) {
  PageHost host;
  const auto page = host.NewPage();
  const ObjectPtr table = page->Table();
  int made = 0;
  host.Register(u"Varnel.DGrid", [&made] {
    ++made;
    return std::make_shared<GridStandIn>();
  });
  EXPECT_EQ(ErrorOf([&] { page->CallWith(u"DGrid", table, u"Title"); }).Number, 13);
  EXPECT_EQ(ErrorOf([&] { page->CallWith(u"DGrid", table, Null()); }).Number, 13);
  EXPECT_EQ(ErrorOf([&] { page->CallWith(u"DGrid", Long{5}, u"Title"); }).Number, 13);
  EXPECT_EQ(made, 0);
}

TEST(PageGrid, TakesATableAndNothingElseForItsTable) {
  PageHost host;
  const auto page = host.NewPage();
  const ObjectPtr table = page->Table();
  const auto tableOf = [&](const Variant& given) {
    return CastObject<GridStandIn>(page->DGrid(nullptr, u"", true, given))->table;
  };
  EXPECT_EQ(tableOf(table), table);
  EXPECT_EQ(tableOf(u"text"), nullptr);
  EXPECT_EQ(tableOf(Variant()), nullptr);
  EXPECT_EQ(tableOf(page->DGrid(nullptr, u"", true, Missing())), nullptr);
}

TEST(PageAdd, WritesATableOrAGridWithOneWrite) {
  PageHost host;
  const auto page = host.NewPage();
  page->Add(page->Table());
  EXPECT_THAT(host.Response().Writes(), ElementsAre(u"<table 1>"));
  page->Add(page->DGrid(nullptr, u"", false, Missing()));
  EXPECT_THAT(host.Response().Writes(), ElementsAre(u"<table 1>", u"<grid>"));
}

TEST(PageAdd, OfTheSameComponentAgainMakesItsHTMLAgain) {
  PageHost host;
  const auto page = host.NewPage();
  const ObjectPtr table = page->Table();
  page->Add(table);
  page->Add(table);
  EXPECT_EQ(host.Response().Text(), u"<table 1><table 2>");
}

TEST(PageAdd, OfAnythingElseWritesItsTypeIntoThePage) {
  PageHost host;
  const auto page = host.NewPage();
  page->Add(u"text");
  page->Add(Variant());
  EXPECT_THAT(host.Response().Writes(),
              ElementsAre(u"<h1>Parameter error: invalid component added to Page object. String</h1>",
                          u"<h1>Parameter error: invalid component added to Page object. Empty</h1>"));
}

TEST(PageAdd, NamesTheTypeOfEveryOtherValue) {
  PageHost host;
  const auto page = host.NewPage();
  const auto typeOf = [&](const Variant& value) {
    host.Response().Clear();
    page->Add(value);
    const String text = host.Response().Text();
    const String head = u"<h1>Parameter error: invalid component added to Page object. ";
    EXPECT_TRUE(text.starts_with(head));
    return text.substr(head.size());
  };
  EXPECT_EQ(typeOf(Null()), u"Null</h1>");
  EXPECT_EQ(typeOf(nullptr), u"Nothing</h1>");
  EXPECT_EQ(typeOf(Integer{1}), u"Integer</h1>");
  EXPECT_EQ(typeOf(page), u"Page</h1>");
  EXPECT_EQ(typeOf(std::make_shared<Array>()), u"Variant()</h1>");
}

TEST(PageAdd, AFailingWriteReachesTheScriptAsItStands) {
  PageHost host;
  const auto page = host.NewPage();
  const ObjectPtr table = page->Table();
  host.Response().Fail(Failure(-22, u"the client is gone", u"Response"));
  EXPECT_EQ(ErrorOf([&] { page->Add(table); }), Failure(-22, u"the client is gone", u"Response"));
  EXPECT_EQ(host.Log().Entries().size(), 0U);
}

TEST(PagePost, IsOffUntilItIsSetAndThenStaysOn) {
  PageHost host;
  const auto page = host.NewPage();
  EXPECT_FALSE(page->GetDGridViaPost());
  page->SetDGridViaPost();
  page->Activate();
  EXPECT_TRUE(page->GetDGridViaPost());
}

struct Jump {
  Integer pages;
  bool required;
  bool operator==(const Jump&) const = default;
};

Jump JumpOf(Page& page) {
  Jump jump{-5, false};
  EXPECT_TRUE(page.GetPageJump(jump.pages, jump.required).IsEmpty());
  return jump;
}

TEST(PageJump, IsOffWithNoPagesAtFirst) {
  PageHost host;
  EXPECT_EQ(JumpOf(*host.NewPage()), (Jump{0, false}));
}

TEST(PageJump, OffersAtMostFifteenPages) {
  PageHost host;
  const auto page = host.NewPage();
  EXPECT_TRUE(page->ShowPageJump(20).IsEmpty());
  EXPECT_EQ(JumpOf(*page), (Jump{15, true}));
  page->ShowPageJump(15);
  EXPECT_EQ(JumpOf(*page), (Jump{15, true}));
  page->ShowPageJump(1);
  EXPECT_EQ(JumpOf(*page), (Jump{1, true}));
}

TEST(PageJump, ZeroAndBelowTurnItOffAndLeaveTheCount) {
  PageHost host;
  const auto page = host.NewPage();
  page->ShowPageJump(7);
  page->ShowPageJump(0);
  EXPECT_EQ(JumpOf(*page), (Jump{7, false}));
  page->ShowPageJump(9);
  page->ShowPageJump(-1);
  EXPECT_EQ(JumpOf(*page), (Jump{9, false}));
}

TEST(PageJump, StoresIntoTheArgumentsOfALateBoundCaller) {
  PageHost host;
  const auto page = host.NewPage();
  page->CallWith(u"showpagejump", Long{3});
  Variant arguments[] = {Variant(), Variant()};
  EXPECT_TRUE(page->Call(u"GetPageJump", arguments).IsEmpty());
  EXPECT_EQ(arguments[0], Variant(Integer{3}));
  EXPECT_EQ(arguments[1], Variant(true));
}

TEST(PageStyle, TheEndUserStyleIsUndoneByTheNextPageOnTheThread) {
  PageHost host;
  const auto page = host.NewPage();
  EXPECT_FALSE(IsEndUserMode());
  page->SetEndUserStyle();
  EXPECT_TRUE(IsEndUserMode());
  const auto next = host.NewPage();
  EXPECT_FALSE(IsEndUserMode());
}

TEST(PageStyle, TheModeBelongsToItsThread) {
  PageHost host;
  host.NewPage()->SetEndUserStyle();
  bool elsewhere = true;
  std::thread([&] { elsewhere = IsEndUserMode(); }).join();
  EXPECT_FALSE(elsewhere);
  EXPECT_TRUE(IsEndUserMode());
  ClearEndUserMode();
}

TEST(PageMembers, AreFoundInAnyCaseOfLettersWithTheirOptionalArguments) {
  PageHost host;
  const auto page = host.NewPage();
  EXPECT_EQ(page->CallWith(u"urlencode", u"a b"), Variant(u"a+b"));
  EXPECT_EQ(ErrorOf([&] { page->CallWith(u"Close"); }).Number, 438);
  EXPECT_EQ(ErrorOf([&] { page->CallWith(u"Add"); }).Number, 450);
  EXPECT_EQ(ErrorOf([&] { page->CallWith(u"OpenDatabaseConnection", Null()); }).Number, 94);
}

TEST(PageMembers, StandInTheOrderOfTheInterface) {
  PageHost host;
  const ClassInfo& info = host.NewPage()->Class();
  std::vector<String> names;
  names.reserve(info.members.size());
  for (const Member& member : info.members) names.push_back(member.name);
  EXPECT_THAT(names, ElementsAre(u"OpenDatabaseConnection", u"SetEndUserStyle", u"DRecordset", u"Table",
                                 u"DGrid", u"Add", u"URLEncode", u"URL", u"I18N", u"SetDGridViaPost",
                                 u"GetDGridViaPost", u"ShowPageJump", u"GetPageJump", u"AllowSort",
                                 u"SealState", u"AcceptStatesOf", u"List"));
  EXPECT_EQ(info.name, u"Page");
  EXPECT_EQ(info.Default(), nullptr);
  EXPECT_EQ(info.Find(u"DGrid")->Required(), 2);
  EXPECT_EQ(info.Find(u"URL")->Required(), 1);
  EXPECT_EQ(info.Find(u"URL")->parameters, 13);
}

TEST(PageFactories, AComponentThatCannotBeMadeIsLoggedAndRaised) {
  PageHost host;
  const auto page = host.NewPage();
  host.FailCreation(u"Varnel.Table", Failure(429, u"no", u"Platform"));
  const auto error = ErrorOf([&] { page->Table(); });
  EXPECT_EQ(error.Number, 429);
  EXPECT_EQ(error.Source, u"Platform");
  EXPECT_EQ(host.Log().Entries().size(), 1U);
}

}  // namespace
}  // namespace varnel::test
