// Giving a state, and picking it up from the request.
#include "tests/recordset/RecordsetFixture.h"

namespace varnel {
namespace {

using hostfake::ErrorOf;

constexpr StringView kSecondPage = u"1x57x11x  00x0x  549+481x0x0x";  // behind id 10

class RequestState : public RecordsetTest {
 protected:
  RequestState() { FillTable(57); }

  // Opens a form-based page's recordset and gives the state of its read.
  String OpenByForm(StringView defaultSort = u"") {
    m_page->SetDGridViaPost();
    auto recordset = New();
    recordset->SetDefaultSortFields(String(defaultSort));
    recordset->SetRecCountON();
    recordset->OpenRS(String(kListQuery), u"id");
    return recordset->GetState();
  }
};

TEST_F(RequestState, WithoutAParameterTheFirstPageInTheDefaultSortIsRead) {
  auto recordset = New();
  recordset->SetDefaultSortFields(u"name");
  recordset->SetDefaultSortReversed(true);
  recordset->OpenRS(String(kListQuery), u"id");
  EXPECT_EQ(LastSql(), u"SELECT TOP 10 id, name FROM t ORDER BY name DESC,id DESC");
  EXPECT_EQ(recordset->GetState(), u"0x10x1x 14110+97+109+101z1x1x0x0x");
}

TEST_F(RequestState, TheQueryStringBringsTheState) {
  EXPECT_EQ(Ids(*OpenAt(kSecondPage)), Range(11, 20));
  EXPECT_EQ(OpenAt(kSecondPage)->m_lDisplayPage, 2);
}

TEST_F(RequestState, AnEmptySortTextGetsTheDefault) {
  auto recordset = New();
  recordset->SetDefaultSortFields(u"name DESC");
  recordset->SetState(u"0xz1x1x  00x1x0x0x");
  recordset->OpenRS(String(kListQuery), u"id");
  EXPECT_EQ(LastSql(), u"SELECT TOP 10 id, name FROM t ORDER BY name DESC,id ASC");
}

TEST_F(RequestState, AStateOfTheScriptGoesBeforeTheRequests) {
  m_host.Request().Query().Set(u"R_1", kSecondPage);
  auto recordset = New();
  recordset->SetState(u"");
  recordset->OpenRS(String(kListQuery), u"id");
  EXPECT_EQ(Ids(*recordset), Range(1, 10));
}

TEST_F(RequestState, AnEmptyTextTakesAnEarlierStateBack) {
  auto recordset = New();
  recordset->SetState(u"1x57x11x  7105+100z1x0x  549+484x1x9x");  // by id, reversed
  recordset->SetDefaultSortFields(u"name");
  recordset->SetState(u"");
  EXPECT_EQ(recordset->m_lDisplayPage, 1);
  recordset->OpenRS(String(kListQuery), u"id");
  EXPECT_EQ(LastSql(), u"SELECT TOP 10 id, name FROM t ORDER BY name ASC,id ASC");
  EXPECT_EQ(recordset->GetState(), u"0x10x1x 14110+97+109+1010x1x0x0x");
}

TEST_F(RequestState, ADamagedTextLeavesTheRecordsetClosedAndItsStateAsItWas) {
  auto recordset = New();
  recordset->SetState(String(kSecondPage));
  EXPECT_EQ(ErrorOf([&] { recordset->SetState(u"0xz1x1x  00x1"); }).Number, 5);
  EXPECT_FALSE(recordset->IsOpen());
  recordset->OpenRS(String(kListQuery), u"id");
  EXPECT_EQ(Ids(*recordset), Range(11, 20));
  EXPECT_EQ(ErrorOf([&] { OpenAt(u"0xz1x1x  00x1"); }).Number, 5);
}

TEST_F(RequestState, TheScriptsTextHasNoJumpPage) {
  auto recordset = New();
  recordset->SetState(u"0x57x1x  00x1x0x0x7x");
  EXPECT_EQ(recordset->m_lDisplayPage, 1);
  EXPECT_EQ(recordset->m_rightPageNumber, 0);
}

TEST_F(RequestState, TheShownPageFollowsTheKindOfRead) {
  const auto shown = [&](StringView text) {
    auto recordset = New();
    recordset->SetState(String(text));
    return recordset->m_lDisplayPage;
  };
  EXPECT_EQ(shown(u"0x57x1x  00x9x0x0x"), 1);
  EXPECT_EQ(shown(u"1x57x1x  00x0x  09x0x0x"), 10);
  EXPECT_EQ(shown(u"2x57x1x  00x0x  09x0x0x"), 8);
  EXPECT_EQ(shown(u"3x57x1x  00x9x0x0x"), 6);
}

TEST_F(RequestState, AFormsButtonBringsItsHiddenField) {
  m_host.Request().Fields().Set(u"R_11d", u"0x57x1x  00x1x0x0x");  // its button wasn't clicked
  m_host.Request().Fields().Set(u"R_12.x", u"3");
  m_host.Request().Fields().Set(u"R_12d", kSecondPage);
  EXPECT_EQ(OpenByForm().substr(0, 5), u"1x57x");
}

TEST_F(RequestState, AClickWithAnEmptyFieldLooksOn) {
  m_host.Request().Fields().Set(u"R_10.x", u"3");
  m_host.Request().Fields().Set(u"R_10d", u"");
  m_host.Request().Fields().Set(u"R_13.x", u"3");
  m_host.Request().Fields().Set(u"R_13d", u"3x57x1x  00x1x0x0x");
  EXPECT_EQ(OpenByForm().substr(0, 5), u"3x57x");
}

TEST_F(RequestState, ASubmittedStateNeedsItsMark) {
  m_host.Request().Variables().Set(u"REQUEST_METHOD", u"POST");
  m_host.Request().Fields().Set(u"CTATEC", kSecondPage);
  m_host.Request().Fields().Set(u"CHOWC", u" 1 ");
  EXPECT_EQ(OpenByForm().substr(0, 5), u"1x57x");
  m_host.Request().Fields().Set(u"CHOWC", u"2");
  EXPECT_EQ(OpenByForm().substr(0, 3), u"z1x");
}

TEST_F(RequestState, WithoutAPostTheMarkMayBeAnything) {
  m_host.Request().Variables().Set(u"REQUEST_METHOD", u"post");
  m_host.Request().Query().Set(u"CTATEC", kSecondPage);
  EXPECT_EQ(OpenByForm().substr(0, 3), u"z1x");
  m_host.Request().Query().Set(u"CHOWC", u" ");
  EXPECT_EQ(OpenByForm().substr(0, 5), u"1x57x");
}

TEST_F(RequestState, AFormWithoutAStateReadsByTheKeysAlone) {
  FillTable(5);
  // The total begins at 0 and the first record at 0, so that the last row has the number 4.
  EXPECT_EQ(OpenByForm(u"name"), u"z1x4x0x  00x0x0x0x");
  EXPECT_EQ(m_host.Database().Statements(),
            (std::vector<String>{u"SELECT TOP 10 id, name FROM t ORDER BY id ASC"}));
}

TEST_F(RequestState, TheNameIsMadeOfTheNumber) {
  const auto name = [&](Integer id) {
    DRecordset recordset;
    recordset.Initialize(m_page, id, m_connection);
    return recordset.GetRecordsetName();
  };
  EXPECT_EQ(name(1), Variant(u"R_1"));
  EXPECT_EQ(name(9), Variant(u"R_9"));
  EXPECT_EQ(name(10), Variant(u"R_:"));
}

TEST_F(RequestState, WithoutAContextThereIsNoRequest) {
  m_host.SetHasContext(false);
  EXPECT_EQ(ErrorOf([&] { New(); }).Number, 91);
}

// A recordset that nobody initialised, as queries without a page use it.
TEST_F(RequestState, WithoutInitializeAllFieldsAreZero) {
  const auto recordset = CastObject<DRecordset>(MakeDRecordset());
  EXPECT_EQ(recordset->GetPageSize(), 0);
  EXPECT_EQ(recordset->GetRecordsetName(), Variant(u""));
  EXPECT_EQ(ErrorOf([&] { recordset->OpenRS(String(kListQuery), u"id"); }).Number, 91);  // no connection
  EXPECT_EQ(ErrorOf([&] { recordset->SetState(u"3x57x1x  00x1x0x0x"); }).Number, 11);
}

TEST_F(RequestState, WithoutAPageARecordsetReadsOnItsOwnConnection) {
  const auto recordset = CastObject<DRecordset>(MakeDRecordset());
  recordset->SetConnection(u"own");
  EXPECT_EQ(m_host.Database().Lines(),
            (std::vector<std::string>{
                "Connection 2: ConnectionTimeout 15", "Connection 2: CommandTimeout 30",
                "Connection 2: CursorLocation 2", "Connection 2: IsolationLevel 4096",
                "Connection 2: Open \"own\", \"\", \"\", -1",
                "Connection 2: Execute set TRANSACTION ISOLATION LEVEL READ COMMITTED (-1)"}));
  recordset->SetState(u"1x57x51x  00x0x  553+481x0x0x");  // behind id 50
  recordset->SetPageSize(10);
  recordset->OpenRS(String(kListQuery), u"id");
  EXPECT_EQ(Ids(*recordset), Range(51, 57));
  EXPECT_EQ(recordset->GetStateNext(), u"");  // short, and nobody is there to look further
  EXPECT_EQ(recordset->GetStateLast(), u"");
  EXPECT_NE(recordset->GetStatePrev(), u"");
  EXPECT_EQ(ErrorOf([&] { recordset->GetUrlPrev(); }).Number, 91);
}

TEST_F(RequestState, WithoutAPageAnEmptyReadIsNotRepeated) {
  const auto recordset = CastObject<DRecordset>(MakeDRecordset());
  recordset->SetConnection(u"own");
  recordset->SetState(u"1x57x61x  00x0x  553+551x0x0x");  // behind id 57
  recordset->SetPageSize(10);
  recordset->OpenRS(String(kListQuery), u"id");
  EXPECT_TRUE(recordset->IsEOF());
  EXPECT_EQ(recordset->GetTotalNumberOfRecords(), 60);
}

}  // namespace
}  // namespace varnel
