// What a recordset asks of a host that guards its lists.
#include "tests/recordset/RecordsetFixture.h"

namespace varnel {
namespace {

constexpr StringView kSecondPage = u"1x57x11x  00x0x  549+481x0x0x";  // behind id 10
constexpr StringView kByName = u"0x57x1x 14110+97+109+1010x1x0x0x";   // the first page by name

constexpr StringView kReadByName = u"SELECT TOP 10 id, name FROM t ORDER BY name ASC,id ASC";
constexpr StringView kFirstRead = u"SELECT TOP 10 id, name FROM t ORDER BY id ASC";

hostfake::FakeAnswer Failing(StringView sqlState) {
  hostfake::FakeAnswer answer;
  answer.error = hostfake::Failure(-1, u"refused");
  answer.providerErrors = {{-1, u"db", u"refused", 1, String(sqlState)}};
  return answer;
}

// Notes what it is asked, and seals by a mark.
class NotingGuard : public host::IStateGuard {
 public:
  String Leaving(const String& text, const String& recordset) override { return text + u"!" + recordset; }
  String LeavingFor(const String& text, const String& file, const String& recordset) override {
    return text + u"!" + file + u"!" + recordset;
  }
  void Admit(const host::StateInUse& use) override {
    admitted.push_back(String(use.text));
    sort = use.sort;
    columns = use.columns;
    branches = use.branches;
    declared = use.isDeclared;
    if (refusesAll) Refuse(u"all");
  }
  void AcceptStatesOf(const String& file) override { accepted.push_back(file); }
  void AllowSort(const String& text) override { allowed.push_back(text); }
  String Basis() const override { return {}; }
  [[noreturn]] void Refuse(const String& reason) override {
    refused.push_back(reason);
    throw PageEnded();
  }

  bool refusesAll = false;
  std::vector<String> admitted;
  String sort;
  std::vector<String> columns;
  std::vector<String> branches;
  bool declared = false;
  std::vector<String> accepted;
  std::vector<String> allowed;
  std::vector<String> refused;
};

class GuardedRecordset : public RecordsetTest {
 protected:
  GuardedRecordset() {
    FillTable(57);
    m_host.UseStateGuard(&m_guard);
  }
  ~GuardedRecordset() override { m_host.UseStateGuard(nullptr); }

  std::size_t StatementsRun() { return m_host.Database().Statements().size(); }

  void ExpectEnd(StringView state) {
    EXPECT_THROW(OpenAt(state), PageEnded) << ToUtf8(state);
    EXPECT_EQ(m_guard.refused.size(), 1U) << ToUtf8(state);
    m_guard.refused.clear();
  }

  NotingGuard m_guard;
};

TEST_F(GuardedRecordset, AFirstVisitAsksNothing) {
  EXPECT_EQ(Ids(*OpenAt(u"")), Range(1, 10));
  EXPECT_TRUE(m_guard.admitted.empty());
}

TEST_F(GuardedRecordset, AStateOfTheRequestIsJudgedBeforeAnySql) {
  m_guard.refusesAll = true;
  const std::size_t before = StatementsRun();
  EXPECT_THROW(OpenAt(kSecondPage, 10, true), PageEnded);
  EXPECT_EQ(m_guard.admitted, std::vector<String>{String(kSecondPage)});
  EXPECT_EQ(StatementsRun(), before);
}

TEST_F(GuardedRecordset, AStateOfTheScriptIsJudgedWhenItIsUsed) {
  auto recordset = New();
  recordset->SetState(String(kByName));
  EXPECT_TRUE(m_guard.admitted.empty());
  recordset->OpenRS(String(kListQuery), u"id");
  EXPECT_EQ(m_guard.admitted, std::vector<String>{String(kByName)});
  auto jumped = New();
  jumped->SetPageState(String(kSecondPage), 3);
  jumped->OpenRS(String(kListQuery), u"id");
  EXPECT_EQ(m_guard.admitted.back(), kSecondPage);
}

TEST_F(GuardedRecordset, ATextThatNamesNoReadIsJudgedBeforeTheRequestTakesItsPlace) {
  m_guard.refusesAll = true;
  auto recordset = New();
  recordset->SetState(u"z1x57x1x 14110+97+109+1010x1x0x0x");
  EXPECT_THROW(recordset->OpenRS(String(kListQuery), u"id"), PageEnded);
}

TEST_F(GuardedRecordset, AnEmptyTextTakesAForeignStateBack) {
  auto recordset = New();
  recordset->SetState(String(kByName));
  recordset->SetState(u"");
  recordset->OpenRS(String(kListQuery), u"id");
  EXPECT_TRUE(m_guard.admitted.empty());
}

TEST_F(GuardedRecordset, TheSortComesInItsEntriesAndTheQueryInItsBranches) {
  auto recordset = New();
  recordset->SetState(
      u"0x57x1x 73110+97+109+101+32+68+69+83+67+44+32+105+100+32+65+83+32+120+44+44+105+1000x1x0x0x");
  EXPECT_ANY_THROW(recordset->OpenRS(u"SELECT id, name FROM t UNION (SELECT id, name FROM u)", u"id"));
  EXPECT_EQ(m_guard.sort, u"name DESC, id AS x,,id");
  EXPECT_EQ(m_guard.columns, (std::vector<String>{u"name", u"id AS x", u"", u"id"}));
  EXPECT_EQ(m_guard.branches, (std::vector<String>{u"SELECT id, name FROM t", u"SELECT id, name FROM u"}));
}

TEST_F(GuardedRecordset, ASortThatThePageNamesIsDeclared) {
  auto recordset = New();
  recordset->SetState(String(kByName));
  recordset->OpenRS(String(kListQuery), u"id");
  EXPECT_FALSE(m_guard.declared);
  auto named = New();
  named->SetState(String(kByName));
  named->SetDefaultSortFields(u"name");
  named->OpenRS(String(kListQuery), u"id");
  EXPECT_TRUE(m_guard.declared);
}

TEST_F(GuardedRecordset, ATextWithoutASortTakesTheDefaultWhichIsDeclared) {
  auto recordset = New();
  recordset->SetDefaultSortFields(u"name");
  recordset->SetState(String(kSecondPage));
  EXPECT_THROW(recordset->OpenRS(String(kListQuery), u"id"), PageEnded);  // one key for two columns
  EXPECT_TRUE(m_guard.declared);
}

TEST_F(GuardedRecordset, DamageEndsThePage) {
  ExpectEnd(u"1x57x11x");                                   // cut short
  ExpectEnd(u"ax57x1x  00x1x0x0x");                         // letters
  ExpectEnd(u"40000x57x1x  00x1x0x0x");                     // out of range
  ExpectEnd(u"1x57x11x  00xz2x1x0x0x");                     // no key at all
  ExpectEnd(u"1x57x11x  00x0x  549+481x0x0x99999999999x");  // a page out of range
}

TEST_F(GuardedRecordset, AWrongNumberOfKeysEndsThePage) {
  ExpectEnd(u"1x57x11x  00x1x  549+48  549+481x0x0x");        // two for one column
  ExpectEnd(u"1x57x11x 14110+97+109+1010x0x  549+481x0x0x");  // one for two
}

TEST_F(GuardedRecordset, AKeyWithANulEndsThePage) {
  auto recordset = New();
  recordset->SetDefaultSortFields(u"id");  // declared: the text is no fault of the sort
  recordset->SetState(u"1x57x11x  00x0x  749+48+01x0x0x");
  EXPECT_THROW(recordset->OpenRS(String(kListQuery), u"id"), PageEnded);
}

// Its rows would be a negative number, which no TOP takes.
TEST_F(GuardedRecordset, ADistanceOfPagesThatOverflowsEndsThePage) {
  auto recordset = New();
  bool jump = true;
  Integer width = 5;
  recordset->SetPageJump(jump, width);
  recordset->SetDefaultSortFields(u"id");
  recordset->SetPageState(u"1x2000000000x3x  00x0x  549+48300000000x1x5x", 5);
  EXPECT_THROW(recordset->OpenRS(String(kListQuery), u"id"), PageEnded);
}

TEST_F(GuardedRecordset, AWindowThatNoReadHasMadeEndsThePage) {
  const auto openAt = [&](StringView ends) {
    return OpenAt(String(u"1x57x11x  00x0x  549+481x").append(ends), 10, true, 5);
  };
  EXPECT_EQ(openAt(u"1x7x")->m_rightPageNumber, 7);
  m_guard.refused.clear();
  EXPECT_THROW(openAt(u"1x8x"), PageEnded);
  EXPECT_THROW(openAt(u"z2000000000x2000000000x"), PageEnded);
  EXPECT_EQ(Ids(*OpenAt(u"1x57x11x  00x0x  549+481x1x2000000000x")), Range(11, 20)) << "without numbers";
}

TEST_F(GuardedRecordset, NumbersThatLieAreUsedAsTheyStand) {
  EXPECT_EQ(Ids(*OpenAt(u"1x2000000000xz5x  00x0x  549+481x0x0x")), Range(11, 20));
}

TEST_F(GuardedRecordset, ASortByAColumnThatTheResultLacksEndsThePageWithAndWithoutRows) {
  m_host.Database().Answer(kReadByName, {{{u"id", hostfake::kTypeLong}}, {}, {}, {}});
  ExpectEnd(kByName);
  m_host.Database().Answer(kReadByName, {{{u"id", hostfake::kTypeLong}}, {{Long{1}}}, {}, {}});
  ExpectEnd(kByName);
}

TEST_F(GuardedRecordset, WhatTheDatabaseSaysOfAForeignSortOrKeyEndsThePage) {
  for (const StringView sqlState : {u"22018", u"42S22", u"42000"}) {
    m_host.Database().Answer(kReadByName, Failing(sqlState));
    ExpectEnd(kByName);
    m_host.Database().Answer(kFirstRead, Failing(sqlState));
    EXPECT_THROW(OpenAt(u""), Error) << "a fault of the page's own query";
  }
}

TEST_F(GuardedRecordset, OtherFaultsOfTheDatabaseStayFailures) {
  m_host.Database().Answer(kReadByName, Failing(u"08S01"));
  EXPECT_THROW(OpenAt(kByName), Error);
}

TEST_F(GuardedRecordset, EveryStateThatLeavesIsSealedForItsRecordset) {
  const auto recordset = OpenAt(kSecondPage, 10, true, 5);
  for (const String& state :
       {recordset->GetState(), recordset->GetStateFirst(), recordset->GetStatePrev(),
        recordset->GetStateNext(), recordset->GetStateLast(), recordset->GetStatePrevPage(),
        recordset->GetStateNextPage(), recordset->GetCurrentState(), recordset->GetStateSorted(u"name")}) {
    EXPECT_TRUE(state.ends_with(u"x!R_1")) << ToUtf8(state);
  }
  Long page = 4;
  for (const String& url :
       {recordset->GetUrlFirst(), recordset->GetUrlPrev(), recordset->GetUrlNext(), recordset->GetUrlLast(),
        recordset->GetUrlSorted(u"name"), recordset->GetUrlForPage(page)}) {
    EXPECT_TRUE(url.ends_with(u"x%21R%5F1")) << ToUtf8(url);
  }
  // The page number stands within the sealed text.
  EXPECT_NE(recordset->GetUrlForPage(page).find(u"4x%21R"), String::npos);
}

TEST_F(GuardedRecordset, WhereNothingLeadsNothingIsSealed) {
  const auto recordset = OpenAt(u"");
  EXPECT_EQ(recordset->GetStateFirst(), u"");
  EXPECT_EQ(recordset->GetUrlPrev(), u"");
}

TEST_F(GuardedRecordset, ThePageSpeaksToTheGuard) {
  m_page->AllowSort(u"Upper(name) AS un");
  m_page->AcceptStatesOf(u"print.asp");
  EXPECT_EQ(m_guard.allowed, std::vector<String>{u"Upper(name) AS un"});
  EXPECT_EQ(m_guard.accepted, std::vector<String>{u"print.asp"});
  EXPECT_EQ(m_page->SealState(u"0x", u"print.asp", u"R_2"), u"0x!print.asp!R_2");
  EXPECT_EQ(m_page->SealState(u"", u"print.asp", u"R_2"), u"");
}

TEST_F(RecordsetTest, WithoutAGuardThePagesWordsChangeNothing) {
  m_page->AllowSort(u"name");
  m_page->AcceptStatesOf(u"print.asp");
  EXPECT_EQ(m_page->SealState(u"0x", u"print.asp", u"R_2"), u"0x");
}

}  // namespace
}  // namespace varnel
