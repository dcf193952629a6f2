// The reads of one page: what the database is asked, how a read is mended, what the page then says of itself.
#include "tests/recordset/RecordsetFixture.h"

namespace varnel {
namespace {

using hostfake::ErrorOf;
using hostfake::FakeAnswer;
using hostfake::kTypeLong;
using Lines = std::vector<std::string>;

class Opening : public RecordsetTest {};

TEST_F(Opening, AsksTheDatabaseOnceAndLeavesTheConnectionFree) {
  FillTable(25);
  OpenAt(u"");
  EXPECT_EQ(m_host.Database().Lines(),
            (Lines{"Recordset 1: CursorType 0", "Recordset 1: CursorLocation 2", "Recordset 1: LockType 1",
                   "Recordset 1: MaxRecords 10", "Recordset 1: CacheSize 10", "Recordset 1: CursorLocation 3",
                   "Recordset 1: Open SELECT TOP 10 id, name FROM t ORDER BY id ASC (-1, -1, -1)",
                   "Recordset 1: ActiveConnection Nothing", "Recordset 1: GetRows", "Recordset 1: Close"}));
}

TEST_F(Opening, CountsFirstWhenAskedTo) {
  FillTable(25);
  const auto recordset = OpenAt(u"", 10, true);
  EXPECT_EQ(
      m_host.Database().Statements(),
      (std::vector<String>{u"SELECT COUNT(*) FROM t", u"SELECT TOP 10 id, name FROM t ORDER BY id ASC"}));
  EXPECT_EQ(recordset->GetTotalNumberOfRecords(), 25);
  EXPECT_EQ(recordset->GetRecordNumberForFirstRecordOnPage(), 1);
  EXPECT_EQ(recordset->GetRecordNumberForLastRecordOnPage(), 10);
}

TEST_F(Opening, WithoutCountingTheTotalIsALowerBound) {
  FillTable(25);
  const auto first = OpenAt(u"");
  EXPECT_EQ(first->GetTotalNumberOfRecords(), 10);
  EXPECT_EQ(OpenAt(first->GetStateNext())->GetTotalNumberOfRecords(), 20);
}

TEST_F(Opening, ACountTravelsWithTheState) {
  FillTable(25);
  const auto first = OpenAt(u"", 10, true);
  OpenAt(first->GetStateNext(), 10, true);
  EXPECT_EQ(m_host.Database().Statements().size(), 3u);  // one count, two reads
}

TEST_F(Opening, NextAndPreviousGoOnFromTheAnchor) {
  FillTable(25);
  const auto first = OpenAt(u"", 10, true);
  const auto second = OpenAt(first->GetStateNext(), 10, true);
  EXPECT_EQ(LastSql(), u"SELECT TOP 10 id, name FROM t WHERE id > '10' ORDER BY id ASC");
  EXPECT_EQ(second->GetRecordNumberForFirstRecordOnPage(), 11);
  EXPECT_EQ(Ids(*second), Range(11, 20));
  const auto back = OpenAt(second->GetStatePrev(), 10, true);
  EXPECT_EQ(LastSql(), u"SELECT TOP 10 id, name FROM t WHERE (id < '11' or id is null) ORDER BY id DESC");
  EXPECT_EQ(Ids(*back), Range(1, 10));
  EXPECT_EQ(back->GetRecordNumberForFirstRecordOnPage(), 1);
}

TEST_F(Opening, TheLastPageHoldsTheRestOfTheDivision) {
  FillTable(25);
  const auto last = OpenAt(OpenAt(u"", 10, true)->GetStateLast(), 10, true);
  EXPECT_EQ(LastSql(), u"SELECT TOP 10 id, name FROM t ORDER BY id DESC");
  EXPECT_EQ(Ids(*last), Range(21, 25));
  EXPECT_EQ(last->GetRecordNumberForFirstRecordOnPage(), 21);
  EXPECT_EQ(last->GetRecordNumberForLastRecordOnPage(), 25);
  EXPECT_EQ(m_host.Trace().LinesOf("Recordset 2: MaxRecords"),
            (Lines{"Recordset 2: MaxRecords 10", "Recordset 2: MaxRecords 5"}));
  EXPECT_EQ(m_host.Trace().LinesOf("Recordset 2: CacheSize"),
            (Lines{"Recordset 2: CacheSize 10", "Recordset 2: CacheSize 5"}));
}

TEST_F(Opening, AFullLastPageIsLimitedAsAnyOther) {
  FillTable(30);
  const auto last = OpenAt(u"3x30x1x  00x1x0x0x");
  EXPECT_EQ(Ids(*last), Range(21, 30));
  EXPECT_EQ(m_host.Trace().LinesOf("Recordset 1: MaxRecords"), (Lines{"Recordset 1: MaxRecords 10"}));
}

TEST_F(Opening, ALastPageWithAnUnknownTotalIsFullAndCountsFromBelowZero) {
  FillTable(25);
  const auto last = OpenAt(u"3xz1x1x  00x1x0x0x");
  EXPECT_EQ(Ids(*last), Range(16, 25));
  EXPECT_EQ(last->GetRecordNumberForFirstRecordOnPage(), -10);
}

TEST_F(Opening, AnEmptyResultHasNoFieldsAndOneRecordNumber) {
  const auto recordset = OpenAt(u"");
  EXPECT_TRUE(recordset->IsEOF());
  EXPECT_EQ(recordset->Fields(), nullptr);
  EXPECT_EQ(recordset->GetRecordNumberForFirstRecordOnPage(), 1);
  EXPECT_EQ(recordset->GetRecordNumberForLastRecordOnPage(), 1);
  EXPECT_EQ(recordset->GetTotalNumberOfRecords(), 0);
  Variant key = u"id";
  const ErrInfo error = ErrorOf([&] { recordset->GetDefault(key); });
  EXPECT_EQ(error, (ErrInfo{-1, u"Varnel.DRecordset", u"No data available.", u"", 0}));
}

TEST_F(Opening, NothingBehindTheAnchorShowsTheLastPage) {
  FillTable(30);
  const auto third =
      OpenAt(OpenAt(OpenAt(u"", 10, true)->GetStateNext(), 10, true)->GetStateNext(), 10, true);
  const auto again = OpenAt(third->GetStateNext(), 10, true);
  EXPECT_EQ(again->GetState(), u"3x30x21x  00x1x0x0x");
  EXPECT_EQ(Ids(*again), Range(21, 30));
  EXPECT_EQ(again->m_lDisplayPage, 2);  // of the state's page 1, not the number of the last page
}

TEST_F(Opening, RowsDeletedBehindTheAnchorCutTheTotal) {
  FillTable(30);
  const auto second = OpenAt(OpenAt(u"", 10, true)->GetStateNext(), 10, true);
  m_table.DeleteWhere([](const ModelTable::Row& row) { return ToLong(row[0]) > 20; });
  const auto last = OpenAt(second->GetStateNext(), 10, true);
  EXPECT_EQ(Ids(*last), Range(11, 20));
  EXPECT_EQ(last->GetTotalNumberOfRecords(), 20);
  EXPECT_EQ(last->GetRecordNumberForFirstRecordOnPage(), 11);
}

TEST_F(Opening, TooFewRowsInFrontOfTheAnchorShowTheFirstPage) {
  FillTable(30);
  const auto second = OpenAt(OpenAt(u"", 10, true)->GetStateNext(), 10, true);
  m_table.DeleteWhere([](const ModelTable::Row& row) { return ToLong(row[0]) <= 6; });
  const auto first = OpenAt(second->GetStatePrev(), 10, true);
  EXPECT_EQ(Ids(*first), Range(7, 16));
  // The total of the mended read stays: 30 - 10 - 1 + 3 + 2.
  EXPECT_EQ(first->GetState(), u"0x24x1x  00x1x0x0x");
  EXPECT_EQ(first->m_lDisplayPage, 1);
}

TEST_F(Opening, ExactlyOnePageLeadsBackToItself) {
  FillTable(10);
  const auto first = OpenAt(u"", 10, true);
  EXPECT_NE(first->GetStateNext(), u"");
  const auto next = OpenAt(first->GetStateNext(), 10, true);
  EXPECT_EQ(Ids(*next), Range(1, 10));
  EXPECT_EQ(next->GetState(), u"3x10x1x  00x1x0x0x");
}

TEST_F(Opening, AWrappedTotalIsPutRightOnForwardReads) {
  FillTable(3);
  const auto recordset = OpenAt(u"1x40000x39999x  00x0x  2481x0x0x", 10);  // behind id 0
  EXPECT_EQ(recordset->GetTotalNumberOfRecords(), 39999 + 2);
}

TEST_F(Opening, APageSizeOfZeroFailsWhereItDivides) {
  FillTable(3);
  EXPECT_EQ(ErrorOf([&] { OpenAt(u"3x5x1x  00x1x0x0x", 0); }).Number, 11);
  EXPECT_EQ(ErrorOf([&] { OpenAt(u"", 0, false, 5); }).Number, 11);
  EXPECT_TRUE(OpenAt(u"", 0)->IsEOF());
}

TEST_F(Opening, AFailedCountLeavesTheRecordsetClosed) {
  m_host.Database().Answer(u"SELECT COUNT(*) FROM t", {{{u"a"}, {u"b"}}, {{Long{1}, Long{2}}}, {}, {}});
  auto recordset = New();
  recordset->SetRecCountON();
  const ErrInfo error = ErrorOf([&] { recordset->OpenRS(String(kListQuery), u"id"); });
  EXPECT_EQ(error,
            (ErrInfo{-1, u"Varnel.DRecordset",
                     u"Parameter error: Incorect number of fields and/or records from executing the SQL "
                     u"query: SELECT COUNT(*) FROM t.",
                     u"", 0}));
  EXPECT_FALSE(recordset->IsOpen());
}

TEST_F(Opening, ACountMustBeOneNumber) {
  const auto countError = [&](std::vector<std::vector<Variant>> rows) {
    m_host.Database().Answer(u"SELECT COUNT(*) FROM t", {{{u"n", kTypeLong}}, std::move(rows), {}, {}});
    return ErrorOf([&] { OpenAt(u"", 10, true); }).Number;
  };
  EXPECT_EQ(countError({}), -1);
  EXPECT_EQ(countError({{Null()}}), -1);
  EXPECT_EQ(countError({{u"many"}}), -1);
  EXPECT_EQ(countError({{Long{1}}, {Long{2}}}), -1);
  EXPECT_EQ(countError({{u"7"}}), 0);
}

TEST_F(Opening, ADistinctQueryIsCountedByReadingIt) {
  const FakeAnswer five{{{u"a", kTypeLong}}, {{Long{1}}, {Long{2}}, {Long{3}}, {Long{4}}, {Long{5}}}, {}, {}};
  m_host.Database().Answer(u"SELECT DISTINCT\ta FROM t", five);  // the tab stays in the text that is counted
  m_host.Database().Answer(u"SELECT DISTINCT TOP 2 a FROM t ORDER BY a ASC", five);
  auto recordset = New(2);
  recordset->SetRecCountON();
  recordset->OpenRS(u"SELECT DISTINCT\ta FROM t", u"a");
  EXPECT_EQ(recordset->GetTotalNumberOfRecords(), 5);
  EXPECT_EQ(m_host.Database().Lines(),
            (Lines{"Recordset 1: CursorType 0", "Recordset 1: CursorLocation 2", "Recordset 1: LockType 1",
                   "Recordset 1: MaxRecords 2", "Recordset 1: CacheSize 2", "Recordset 1: CursorType 3",
                   "Recordset 1: MaxRecords 0", "Recordset 1: CursorLocation 3",
                   "Recordset 1: Open SELECT DISTINCT\ta FROM t (-1, -1, -1)",
                   "Recordset 1: ActiveConnection Nothing", "Recordset 1: Close", "Recordset 1: CursorType 0",
                   "Recordset 1: MaxRecords 2", "Recordset 1: CursorLocation 3",
                   "Recordset 1: Open SELECT DISTINCT TOP 2 a FROM t ORDER BY a ASC (-1, -1, -1)",
                   "Recordset 1: ActiveConnection Nothing", "Recordset 1: GetRows", "Recordset 1: Close"}));
}

TEST_F(Opening, AGroupedQueryIsCountedByReadingIt) {
  const FakeAnswer three{{{u"a", kTypeLong}}, {{Long{1}}, {Long{2}}, {Long{3}}}, {}, {}};
  m_host.Database().Answer(u"SELECT a FROM t GROUP BY a ORDER BY a", three);
  m_host.Database().Answer(u"SELECT TOP 2 a FROM t GROUP BY a ORDER BY a ASC", three);
  auto recordset = New(2);
  recordset->SetRecCountON();
  recordset->OpenRS(u"SELECT a FROM t GROUP BY a ORDER BY a", u"a");
  EXPECT_EQ(recordset->GetTotalNumberOfRecords(), 3);
  EXPECT_EQ(recordset->GetRecordNumberForLastRecordOnPage(), 2);
}

TEST_F(Opening, AUnionIsCountedBranchByBranchAndReadAtOnce) {
  const std::vector<hostfake::FakeColumn> column{{u"a", kTypeLong}};
  m_host.Database().Answer(u"SELECT COUNT(*) FROM t", {column, {{Long{3}}}, {}, {}});
  m_host.Database().Answer(u"SELECT COUNT(*) FROM u", {column, {{Long{4}}}, {}, {}});
  m_host.Database().Answer(u"(SELECT TOP 2 a FROM t) UNION (SELECT TOP 2 a FROM u) ORDER BY a ASC",
                           {column, {{Long{1}}, {Long{2}}, {Long{3}}}, {}, {}});
  m_host.Database().Answer(
      u"(SELECT TOP 2 a FROM t WHERE (a < '9' or a is null)) UNION (SELECT TOP 2 a FROM u WHERE (a < '9' or "
      u"a is "
      u"null)) ORDER BY a DESC",
      {column, {{Long{8}}, {Long{7}}}, {}, {}});
  const String query = u"SELECT a FROM t UNION (SELECT a FROM u)";
  auto first = New(2);
  first->SetRecCountON();
  first->OpenRS(query, u"a");
  EXPECT_EQ(first->GetTotalNumberOfRecords(), 7);
  EXPECT_EQ(first->GetRecordNumberForLastRecordOnPage(), 2);  // MaxRecords cuts the union as a whole
  auto previous = New(2);
  previous->SetState(u"2x7x3x  00x0x  2571x0x0x");
  previous->OpenRS(query, u"a");
  Variant key = Integer{0};
  EXPECT_EQ(previous->GetDefault(key)->Value, Variant(Long{7}));
}

// The outer ORDER BY of a union undoes what each nested branch has turned around.
TEST_F(Opening, ANestedUnionIsTurnedAroundOnlyWhenItIsReadBackward) {
  const auto firstValue = [&](StringView state, StringView condition, StringView inner, StringView outer,
                              std::vector<std::vector<Variant>> rows) {
    String sql;
    for (const StringView table : {u"t", u"u"}) {
      sql += sql.empty() ? u"" : u" UNION ";
      sql.append(u"(SELECT TOP  2 * FROM (SELECT TOP 4 a FROM ")
          .append(table)
          .append(u" WHERE ")
          .append(condition);
      sql.append(u" ORDER BY a ")
          .append(inner)
          .append(u") as OUTPUT  ORDER BY a ")
          .append(outer)
          .append(u")");
    }
    sql.append(u" ORDER BY a ").append(inner);
    m_host.Database().Answer(sql, {{{u"a", kTypeLong}}, std::move(rows), {}, {}});
    auto recordset = New(2);
    bool jump = true;
    Integer width = 5;
    recordset->SetPageJump(jump, width);
    recordset->SetPageState(String(state), 3);
    recordset->OpenRS(u"SELECT a FROM t UNION SELECT a FROM u", u"a");
    Variant key = u"a";
    return recordset->GetDefault(key)->Value;
  };
  EXPECT_EQ(firstValue(u"1x20x3x  00x0x  2491x1x5x", u"a > '1'", u"ASC", u"DESC", {{Long{4}}, {Long{5}}}),
            Variant(Long{4}));
  EXPECT_EQ(firstValue(u"2x20x7x  00x0x  2575x1x5x", u"(a < '9' or a is null)", u"DESC", u"ASC",
                       {{Long{6}}, {Long{5}}}),
            Variant(Long{5}));
}

TEST_F(Opening, AFailedQueryTellsTheTextAndTheProvidersErrors) {
  m_host.Database().FailExecute(hostfake::Failure(-2147217900, u"Bad", u"Provider"),
                                {{-2147217900, u"P1", u"D1", 102, u"42000"}, {5, u"P2", u"D2", -7, u""}});
  const ErrInfo error = ErrorOf([&] { OpenAt(u""); });
  EXPECT_EQ(error.Number, -2147217900);
  EXPECT_EQ(error.Source, u"Provider");
  EXPECT_EQ(
      error.Description,
      u"Varnel.DRecordset: Parameter error: Unable to execute the SQL query: \"SELECT TOP 10 id, name FROM t "
      u"ORDER BY id ASC\". ADO Error: 80040E14: Bad Provider error 1: NativeError: 102. SQLState: 42000. "
      u"Number: 80040E14. Source: P1. Description: D1 Provider error 2: NativeError: -7. SQLState: . Number: "
      u"5. Source: P2. Description: D2");
}

TEST_F(Opening, FailedRowsAreToldToo) {
  FillTable(1);
  ErrInfo failure = hostfake::Failure(3021, u"Gone");
  failure.HelpFile = u"help.chm";
  failure.HelpContext = 7;
  m_host.Database().FailGetRows(failure);
  const ErrInfo error = ErrorOf([&] { OpenAt(u""); });
  EXPECT_EQ(error.HelpFile, u"help.chm");
  EXPECT_EQ(error.HelpContext, 7);
  EXPECT_EQ(error.Number, 3021);
  EXPECT_EQ(
      error.Description,
      u"Varnel.DRecordset: Parameter error: Unable to call GetRows() on the ADO recordset. ADO Error: BCD: "
      u"Gone");
}

TEST_F(Opening, AKeyColumnMustBeInTheSelectList) {
  FillTable(1);
  auto recordset = New();
  recordset->SetDefaultSortFields(u"id");
  m_host.Database().Answer(u"SELECT TOP 10 id FROM t ORDER BY id ASC,k ASC",
                           {{{u"id", kTypeLong}}, {{Long{1}}}, {}, {}});
  const ErrInfo error = ErrorOf([&] { recordset->OpenRS(u"SELECT id FROM t", u"k"); });
  EXPECT_EQ(error.Number, 5);
  EXPECT_TRUE(error.Description.starts_with(u"Database field with index or name 'k' not found."));
  EXPECT_FALSE(recordset->IsOpen());
}

TEST_F(Opening, KeysTravelAsTextInTheDateForm) {
  m_host.Database().Answer(u"SELECT TOP 1 t.d FROM t ORDER BY t.d ASC",
                           {{{u"d", 135}}, {{MakeDate({2001, 3, 5, 14, 7, 9})}}, {}, {}});
  auto recordset = New(1);
  recordset->OpenRS(u"SELECT t.d FROM t", u"t.d");
  m_host.Database().Answer(u"SELECT TOP 1 t.d FROM t WHERE t.d > '20010305 14:07:09' ORDER BY t.d ASC",
                           {{{u"d", 135}}, {{Null()}}, {}, {}});
  m_host.Request().Query().Set(u"R_1", recordset->GetStateNext());
  auto next = New(1);
  next->OpenRS(u"SELECT t.d FROM t", u"t.d");
  EXPECT_EQ(next->GetStateNext().substr(0, 14), u"1x2x3x  00x0x ");
}

TEST_F(Opening, NeedsAKeyField) {
  const ErrInfo error = ErrorOf([&] { New()->OpenRS(String(kListQuery), u"  "); });
  EXPECT_EQ(error, (ErrInfo{-2, u"Varnel.DRecordset", u"OpenRS: No key field(s) specified.", u"", 0}));
}

TEST_F(Opening, AnEmptyQueryIsOutOfBounds) {
  EXPECT_EQ(ErrorOf([&] { New()->OpenRS(u"", u"id"); }).Number, 9);
  EXPECT_EQ(ErrorOf([&] { New()->OpenRS(u"  ", u"id"); }).Number, 9);
}

TEST_F(Opening, WorksOnce) {
  FillTable(1);
  const auto recordset = OpenAt(u"");
  const ErrInfo error = ErrorOf([&] { recordset->OpenRS(String(kListQuery), u"id"); });
  EXPECT_EQ(error, (ErrInfo{-1, u"Varnel.DRecordset",
                            u"OpenRS: Operation not allowed when the DRecordset is open.", u"", 0}));
}

// A list of more than 32,767 rows: the total wraps, and the rest of the division with it.
TEST_F(Opening, AWrappedTotalLimitsTheLastPageByANegativeNumber) {
  FillTable(20);
  // Nothing lies behind id 20: 40000 - 1 wraps to -25537, whose rest is -7.
  const auto last = OpenAt(u"1x40000x40000x  00x0x  550+481x0x0x");
  EXPECT_EQ(m_host.Trace().LinesOf("Recordset 1: MaxRecords").back(), "Recordset 1: MaxRecords -7");
  EXPECT_EQ(Ids(*last), Range(14, 20));
  EXPECT_EQ(last->GetTotalNumberOfRecords(), -25537);
}

}  // namespace
}  // namespace varnel
