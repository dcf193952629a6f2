// Connections, recordsets, fields and errors as scripts and the library use them.
#include <fstream>
#include <future>
#include <thread>

#include "host-fake/ErrorOf.h"
#include "host-linux/database/provider/ConnectionString.h"
#include "tests/database/TestDatabase.h"

namespace {

using hostfake::NumberOf;
using varnel::Arguments;
using varnel::Long;
using varnel::String;
using varnel::Variant;
namespace provider_error = hostlinux::provider_error;

constexpr Long AdoNumber(unsigned number) { return static_cast<Long>(0x800A0000u + number); }

TEST(ConnectionString, ReadsKeysInAnyCaseAndQuotedValues) {
  const hostlinux::ConnectionString text(
      u" provider = SQLite ; DATA SOURCE='a;''b'' .db';Driver={x;y};Mode=Read");
  EXPECT_EQ(u"SQLite", text.Get(u"Provider"));
  EXPECT_EQ(u"a;'b' .db", text.Get(u"Data Source"));
  EXPECT_EQ(u"x;y", text.Get(u"driver"));
  EXPECT_EQ(u"Read", text.Get(u"MODE"));
  EXPECT_EQ(u"", text.Get(u"UID"));
}

class Ado : public TestDatabase {};

// --- Connection

TEST_F(Ado, AnEmptyConnectionTextFails) {
  EXPECT_EQ(provider_error::kFail, NumberOf([&] { Connect(u""); }));
  EXPECT_EQ(provider_error::kFail, NumberOf([&] { Connect(u"Provider=Other;Data Source=x"); }));
  EXPECT_EQ(provider_error::kFail, NumberOf([&] { Connect(u"test.db"); }));
}

TEST_F(Ado, ReadModeNeitherWritesNorCreates) {
  Run(u"CREATE TABLE t (a INT)");
  EXPECT_EQ(provider_error::kFail,
            NumberOf([&] { Connect(u"Provider=SQLite;Data Source=none.db;Mode=Read"); }));
  EXPECT_FALSE(std::filesystem::exists(m_folder / "none.db"));
  const auto reader = Connect(u"Provider=SQLite;Data Source=test.db;Mode=Read");
  EXPECT_EQ(provider_error::kPermission, NumberOf([&] { reader->Execute(u"INSERT INTO t VALUES (1)", -1); }));
}

TEST_F(Ado, AMissingFileIsNamed) {
  try {
    Connect(u"Provider=SQLite;Data Source=none.db;Mode=ReadWrite");
    FAIL();
  } catch (const varnel::Error& error) {
    EXPECT_NE(String::npos, error.Info().Description.find(u"none.db' does not exist."));
  }
}

TEST_F(Ado, AFileThatIsNoDatabaseFailsAtOpen) {
  std::ofstream(m_folder / "text.db") << std::string(4096, 'x');
  EXPECT_EQ(provider_error::kFail,
            NumberOf([&] { Connect(u"Provider=SQLite;Data Source=text.db;Mode=Read"); }));
}

TEST_F(Ado, OneStatementACall) {
  Run(u"CREATE TABLE t (a INT); -- made");
  EXPECT_EQ(provider_error::kSyntax,
            NumberOf([&] { Run(u"INSERT INTO t VALUES (1); INSERT INTO t VALUES (2)"); }));
  EXPECT_EQ("0", Rows(u"SELECT COUNT(*) FROM t"));
  EXPECT_EQ(provider_error::kNoCommand, NumberOf([&] { Run(u"  "); }));
}

TEST_F(Ado, AReaderSeesTheLastCommitWhileAnotherWrites) {
  Run(u"CREATE TABLE t (a INT)");
  const auto reader = Connect(u"Provider=SQLite;Data Source=test.db;Mode=Read");
  m_connection->BeginTrans();
  Run(u"INSERT INTO t VALUES (1)");
  const auto count = [&] { return reader->Execute(u"SELECT COUNT(*) FROM t", -1)->FieldValue(0); };
  EXPECT_EQ(Variant(Long{0}), count());
  m_connection->CommitTrans();
  EXPECT_EQ(Variant(Long{1}), count());
}

TEST_F(Ado, AWriterWaitsForAnotherOne) {
  Run(u"CREATE TABLE t (a INT)");
  m_connection->BeginTrans();
  Run(u"INSERT INTO t VALUES (1)");
  std::promise<void> begun;
  std::thread second([&] {
    const auto writer = Connect(u"Provider=SQLite;Data Source=test.db");
    begun.set_value();
    writer->Execute(u"INSERT INTO t VALUES (2)", -1);
  });
  begun.get_future().wait();
  std::this_thread::sleep_for(std::chrono::milliseconds(50));
  m_connection->CommitTrans();
  second.join();
  EXPECT_EQ("2", Rows(u"SELECT COUNT(*) FROM t"));
}

TEST_F(Ado, TheIsolationStatementIsTaken) {
  const auto recordset = m_connection->Execute(u"set TRANSACTION ISOLATION LEVEL READ COMMITTED", -1);
  EXPECT_EQ(0, recordset->FieldCount());
}

TEST_F(Ado, ExecuteTellsTheNumberOfRows) {
  Run(u"CREATE TABLE t (a INT)");
  Variant affected;
  m_connection->ExecuteText(u"INSERT INTO t VALUES (1), (2), (3)", affected, -1);
  EXPECT_EQ(Variant(Long{3}), affected);
  m_connection->ExecuteText(u"DELETE FROM t WHERE a > 5", affected, -1);
  EXPECT_EQ(Variant(Long{0}), affected);
  m_connection->ExecuteText(u"SELECT a FROM t", affected, -1);
  EXPECT_EQ(Variant(Long{-1}), affected);
}

TEST_F(Ado, TransactionsCommitAndRollBack) {
  Run(u"CREATE TABLE t (a INT)");
  EXPECT_EQ(1, m_connection->BeginTrans());
  Run(u"INSERT INTO t VALUES (1)");
  m_connection->RollbackTrans();
  EXPECT_EQ("0", Rows(u"SELECT COUNT(*) FROM t"));
  m_connection->BeginTrans();
  Run(u"INSERT INTO t VALUES (1)");
  m_connection->CommitTrans();
  EXPECT_EQ("1", Rows(u"SELECT COUNT(*) FROM t"));
}

TEST_F(Ado, AClosedConnectionRefuses) {
  m_connection->Close();
  EXPECT_EQ(0, m_connection->State());
  EXPECT_EQ(AdoNumber(3704), NumberOf([&] { m_connection->Close(); }));
  EXPECT_EQ(AdoNumber(3704), NumberOf([&] { Run(u"SELECT 1"); }));
  EXPECT_EQ(AdoNumber(3709), NumberOf([&] { Query(u"SELECT 1"); }));
}

TEST_F(Ado, OpeningAnOpenConnectionFails) {
  EXPECT_EQ(AdoNumber(3705), NumberOf([&] { m_connection->Open(u"x", u"", u"", -1); }));
}

TEST_F(Ado, AReleasedConnectionWaitsForTheNextUserWithoutItsTransaction) {
  Run(u"CREATE TABLE t (a INT)");
  m_connection->BeginTrans();
  Run(u"INSERT INTO t VALUES (1)");
  EXPECT_EQ(0u, m_database->WaitingSessions());
  m_connection = nullptr;
  EXPECT_EQ(1u, m_database->WaitingSessions());
  m_connection = Connect(u"Provider=SQLite;Data Source=test.db");
  EXPECT_EQ(0u, m_database->WaitingSessions());
  EXPECT_EQ("0", Rows(u"SELECT COUNT(*) FROM t"));
}

TEST_F(Ado, ASessionWithLastingSettingsIsNotGivenOn) {
  Run(u"PRAGMA case_sensitive_like = 1");
  m_connection->Close();
  EXPECT_EQ(0u, m_database->WaitingSessions());
}

TEST_F(Ado, AReplacedFileIsOpenedAnew) {
  Run(u"CREATE TABLE t (a INT)");
  m_connection = nullptr;
  std::filesystem::remove(m_folder / "test.db");
  m_connection = Connect(u"Provider=SQLite;Data Source=test.db");
  EXPECT_EQ(provider_error::kNoTable, NumberOf([&] { Run(u"SELECT a FROM t"); }));
}

TEST_F(Ado, ARunawayStatementTimesOut) {
  hostlinux::AdoOptions options;
  options.statementTimeout = std::chrono::milliseconds(30);
  MakeDatabase(options);
  const String endless =
      u"WITH RECURSIVE n(i) AS (SELECT 1 UNION ALL SELECT i + 1 FROM n) SELECT MAX(i) FROM n";
  EXPECT_EQ(provider_error::kTimeout, NumberOf([&] { Run(endless); }));
  EXPECT_EQ("1", Rows(u"SELECT 1"));
}

// --- Errors

TEST_F(Ado, AFailureStandsAmongTheErrors) {
  EXPECT_EQ(provider_error::kNoTable, NumberOf([&] { Run(u"SELECT a FROM nowhere"); }));
  const auto errors = m_connection->Errors();
  ASSERT_EQ(1u, errors.size());
  EXPECT_EQ(provider_error::kNoTable, errors[0].Number);
  EXPECT_EQ(u"Varnel SQLite", errors[0].Source);
  EXPECT_EQ(u"no such table: nowhere", errors[0].Description);
  EXPECT_EQ(1, errors[0].NativeError);
  EXPECT_EQ(u"42S02", errors[0].SQLState);
}

TEST_F(Ado, ErrorsHaveNumbersByKind) {
  Run(u"CREATE TABLE t (a INT PRIMARY KEY)");
  Run(u"INSERT INTO t VALUES (1)");
  EXPECT_EQ(provider_error::kSyntax, NumberOf([&] { Run(u"SELEC 1"); }));
  EXPECT_EQ(u"42000", m_connection->Errors()[0].SQLState);
  EXPECT_EQ(provider_error::kIntegrity, NumberOf([&] { Run(u"INSERT INTO t VALUES (1)"); }));
  EXPECT_EQ(u"23000", m_connection->Errors()[0].SQLState);
  EXPECT_EQ(1555, m_connection->Errors()[0].NativeError);
}

TEST_F(Ado, ScriptsWalkTheErrors) {
  NumberOf([&] { Run(u"SELECT a FROM nowhere"); });
  const auto errors = m_connection->ErrorCollection();
  EXPECT_EQ(Variant(Long{1}), errors->Get(u"count"));
  EXPECT_EQ(u"42S02", errors->Item(0)->SQLState());
  const auto walk = errors->Enumerate();
  Variant error;
  EXPECT_TRUE(walk->Next(error));
  EXPECT_FALSE(walk->Next(error));
  EXPECT_EQ(AdoNumber(3265), NumberOf([&] { errors->Item(1); }));
}

// --- Recordset

class AdoRows : public TestDatabase {
 protected:
  AdoRows() {
    Run(u"CREATE TABLE t (id INTEGER PRIMARY KEY, name VARCHAR(50), note TEXT, price REAL, made DATETIME, "
        u"flag BIT, data "
        u"BLOB, big BIGINT)");
    Run(u"INSERT INTO t VALUES (1, 'ant', 'n', 1.5, '2001-03-05 14:07:09', 1, x'0102', 5000000000)");
    Run(u"INSERT INTO t VALUES (2, NULL, NULL, NULL, NULL, NULL, NULL, NULL)");
    Run(u"INSERT INTO t VALUES (3, 'cat', '', 2, '2001-03-05', 0, x'', -7)");
  }

  std::shared_ptr<hostlinux::AdoRecordset> Closed() {
    return std::make_shared<hostlinux::AdoRecordset>(m_database);
  }
};

TEST_F(AdoRows, ValuesHaveTheTypesOfTheirColumns) {
  const auto rs = Query(u"SELECT * FROM t ORDER BY id");
  EXPECT_EQ(Variant(Long{1}), rs->FieldValue(0));
  EXPECT_EQ(Variant(u"ant"), rs->FieldValue(1));
  EXPECT_EQ(Variant(1.5), rs->FieldValue(3));
  EXPECT_EQ(Variant(varnel::MakeDate({2001, 3, 5, 14, 7, 9})), rs->FieldValue(4));
  EXPECT_EQ(Variant(true), rs->FieldValue(5));
  EXPECT_EQ((varnel::Bytes{1, 2}), **rs->FieldValue(6).As<varnel::BytesPtr>());
  EXPECT_EQ(Variant(5e9), rs->FieldValue(7));
  rs->MoveNext();
  for (Long i = 1; i < 8; ++i) EXPECT_TRUE(rs->FieldValue(i).IsNull());
  rs->MoveNext();
  EXPECT_EQ(Variant(2.0), rs->FieldValue(3));
  EXPECT_EQ(Variant(varnel::MakeDate({2001, 3, 5, 0, 0, 0})), rs->FieldValue(4));
}

TEST_F(AdoRows, TypeCodesFollowTheDeclaration) {
  const auto rs = Query(u"SELECT * FROM t");
  const std::vector<varnel::Integer> expected = {3, 202, 203, 5, 135, 11, 205, 20};
  for (std::size_t i = 0; i < expected.size(); ++i)
    EXPECT_EQ(expected[i], rs->FieldType(static_cast<Long>(i))) << i;
  EXPECT_EQ(50, rs->Item(u"NAME")->DefinedSize());
}

TEST_F(AdoRows, TimestampsAreKnownThroughAliasesSubqueriesAndUnions) {
  EXPECT_EQ(135, Query(u"SELECT made AS m FROM t")->FieldType(0));
  EXPECT_EQ(135, Query(u"SELECT * FROM (SELECT x.made AS m FROM (SELECT made FROM t) x)")->FieldType(0));
  EXPECT_EQ(
      135,
      Query(
          u"SELECT TOP  2 * FROM (SELECT TOP 3 made FROM t ORDER BY made ASC) as OUTPUT  ORDER BY made DESC")
          ->FieldType(0));
  EXPECT_EQ(
      135,
      Query(u"(SELECT TOP 2 made FROM t) UNION (SELECT TOP 2 made FROM t) ORDER BY made ASC")->FieldType(0));
}

TEST_F(AdoRows, ExpressionsTakeTheTypeOfTheFirstRow) {
  const auto rs = Query(u"SELECT COUNT(*) AS n, SUM(price) AS s, MAX(name) AS m FROM t");
  EXPECT_EQ(3, rs->FieldType(0));
  EXPECT_EQ(5, rs->FieldType(1));
  EXPECT_EQ(202, rs->FieldType(2));
  EXPECT_EQ(u"n", rs->FieldName(0));
}

TEST_F(AdoRows, WalksToTheEnd) {
  const auto rs = Query(u"SELECT id FROM t ORDER BY id");
  EXPECT_FALSE(rs->IsBOF());
  rs->MoveNext();
  rs->MoveNext();
  EXPECT_FALSE(rs->IsEOF());
  rs->MoveNext();
  EXPECT_TRUE(rs->IsEOF());
  EXPECT_EQ(AdoNumber(3021), NumberOf([&] { rs->MoveNext(); }));
  EXPECT_EQ(AdoNumber(3021), NumberOf([&] { rs->FieldValue(0); }));
  rs->MoveFirst();
  EXPECT_EQ(Variant(Long{1}), rs->FieldValue(0));
  rs->MovePrevious();
  EXPECT_TRUE(rs->IsBOF());
  rs->MoveNext();
  EXPECT_EQ(Variant(Long{1}), rs->FieldValue(0));
}

TEST_F(AdoRows, AnEmptyResultStandsAtBothEnds) {
  const auto rs = Query(u"SELECT id FROM t WHERE id > 9");
  EXPECT_TRUE(rs->IsEOF());
  EXPECT_TRUE(rs->IsBOF());
  EXPECT_EQ(0, rs->RecordCount());
  EXPECT_EQ(AdoNumber(3021), NumberOf([&] { rs->GetRows(); }));
}

TEST_F(AdoRows, RecordCountDependsOnTheCursor) {
  const auto count = [&](Long type, Long location) {
    const auto rs = Closed();
    rs->SetCursorLocation(location);
    rs->Open(u"SELECT id FROM t", m_connection, type, 1, -1);
    return rs->RecordCount();
  };
  EXPECT_EQ(-1, count(0, 2));
  EXPECT_EQ(3, count(1, 2));
  EXPECT_EQ(-1, count(2, 2));
  EXPECT_EQ(3, count(3, 2));
  EXPECT_EQ(3, count(0, 3));
}

TEST_F(AdoRows, MaxRecordsCutsTheWholeResult) {
  const auto rs = Closed();
  rs->SetMaxRecords(-2);
  EXPECT_EQ(2, rs->MaxRecords());
  rs->Open(u"SELECT id FROM t UNION SELECT id + 10 FROM t ORDER BY id", m_connection, 3, 1, -1);
  EXPECT_EQ(2, rs->RecordCount());
  rs->Close();
  rs->SetMaxRecords(0);
  rs->Open(u"SELECT id FROM t", m_connection, 3, 1, -1);
  EXPECT_EQ(3, rs->RecordCount());
}

TEST_F(AdoRows, CacheSizeIsAtLeastOne) {
  const auto rs = Closed();
  rs->SetCacheSize(0);
  EXPECT_EQ(1, rs->CacheSize());
  rs->SetCacheSize(-5);
  EXPECT_EQ(5, rs->CacheSize());
}

TEST_F(AdoRows, ADetachedRecordsetKeepsItsRows) {
  const auto rs = Query(u"SELECT id FROM t ORDER BY id");
  rs->DetachConnection();
  m_connection->Close();
  const varnel::host::RowBlock rows = rs->GetRows();
  EXPECT_EQ(3u, rows.Rows());
  EXPECT_EQ(Variant(Long{3}), rows.At(0, 2));
  EXPECT_TRUE(rs->IsEOF());
}

TEST_F(AdoRows, FieldsAreFoundByPositionAndName) {
  const auto rs = Query(u"SELECT id, name FROM t ORDER BY id");
  const auto name = rs->Item(u"NAME");
  EXPECT_EQ(Variant(u"ant"), name->Value());
  EXPECT_EQ(u"id", rs->Fields()->Item(Variant(Long{0}))->Name());
  rs->MoveNext();
  EXPECT_TRUE(name->Value().IsNull());
  EXPECT_EQ(AdoNumber(3265), NumberOf([&] { rs->Item(u"none"); }));
  EXPECT_EQ(AdoNumber(3265), NumberOf([&] { rs->Item(Variant(Long{2})); }));
  EXPECT_EQ(AdoNumber(3251), NumberOf([&] { name->SetValue(u"x"); }));
}

TEST_F(AdoRows, ScriptsUseTheMemberTables) {
  const auto rs = Closed();
  rs->CallWith(u"open", u"SELECT id, name FROM t ORDER BY id", m_connection);
  EXPECT_EQ(Variant(false), rs->Get(u"eof"));
  Variant key[] = {u"name"};
  const auto field = varnel::CastObject<varnel::Object>(rs->CallDefault(Arguments(key, 1)));
  ASSERT_NE(nullptr, field);
  EXPECT_EQ(u"ant", varnel::ToText(Variant(field)));
  rs->CallWith(u"MoveNext");
  EXPECT_EQ(Variant(varnel::Null()), field->Get(u"Value"));
  rs->Put(u"ActiveConnection", Variant(nullptr));
  EXPECT_EQ(Variant(nullptr), rs->Get(u"ActiveConnection"));
}

TEST_F(AdoRows, ScriptsGetTheRowsByColumn) {
  const auto rs = Query(u"SELECT id, name FROM t ORDER BY id");
  Variant count[] = {Long{2}};
  const Variant columns = rs->Call(u"GetRows", Arguments(count, 1));
  const auto& names = (*columns.As<varnel::ArrayPtr>())->items[1];
  EXPECT_EQ(2u, (*names.As<varnel::ArrayPtr>())->items.size());
  EXPECT_EQ(Variant(Long{3}), rs->FieldValue(0));
}

TEST_F(AdoRows, ATextAsConnectionOpensOneOfItsOwn) {
  const auto rs = Closed();
  rs->CallWith(u"Open", u"SELECT id FROM t", u"Provider=SQLite;Data Source=test.db;Mode=Read");
  EXPECT_EQ(Variant(Long{1}), rs->FieldValue(0));
}

TEST_F(AdoRows, OpenAndClosedRecordsetsRefuseTheOther) {
  const auto rs = Query(u"SELECT id FROM t");
  EXPECT_EQ(AdoNumber(3705), NumberOf([&] { rs->Open(u"SELECT 1", m_connection, -1, -1, -1); }));
  rs->Close();
  EXPECT_EQ(AdoNumber(3704), NumberOf([&] { rs->IsEOF(); }));
  EXPECT_EQ(AdoNumber(3704), NumberOf([&] { rs->Close(); }));
}

TEST_F(AdoRows, AStatementWithoutRowsLeavesTheRecordsetClosed) {
  const auto rs = Query(u"DELETE FROM t WHERE id = 3");
  EXPECT_EQ(0, rs->State());
  EXPECT_EQ("2", Rows(u"SELECT COUNT(*) FROM t"));
}

TEST_F(AdoRows, AnAlteredTableIsSeenByCachedStatements) {
  EXPECT_EQ("1;2;3", Rows(u"SELECT id FROM t ORDER BY id"));
  EXPECT_EQ(8, Query(u"SELECT * FROM t")->FieldCount());
  const auto other = Connect(u"Provider=SQLite;Data Source=test.db");
  other->Execute(u"ALTER TABLE t ADD COLUMN more DATETIME", -1);
  EXPECT_EQ(9, Query(u"SELECT * FROM t")->FieldCount());
}

// --- made by hand

TEST_F(AdoRows, ARecordsetMadeByHandTakesRows) {
  const auto rs = Closed();
  rs->Fields()->Append(u"name", 8, 0, -1);
  rs->Fields()->Append(u"n", 3, 0, -1);
  EXPECT_EQ(AdoNumber(3367), NumberOf([&] { rs->Fields()->Append(u"NAME", 8, 0, -1); }));
  rs->CallWith(u"Open");
  EXPECT_TRUE(rs->IsEOF());
  rs->AddNew();
  rs->Item(Variant(Long{0}))->Put(u"Value", Variant(Long{7}));
  rs->AddNew();
  rs->Item(u"n")->SetValue(u"12");
  rs->MoveFirst();
  EXPECT_EQ(2, rs->RecordCount());
  EXPECT_EQ(Variant(u"7"), rs->FieldValue(0));
  EXPECT_TRUE(rs->FieldValue(1).IsNull());
  rs->MoveNext();
  EXPECT_TRUE(rs->FieldValue(0).IsNull());
  EXPECT_EQ(Variant(Long{12}), rs->FieldValue(1));
  EXPECT_EQ(AdoNumber(3219), NumberOf([&] { rs->Fields()->Append(u"late", 8, 0, -1); }));
}

TEST_F(AdoRows, OnlyARecordsetMadeByHandTakesNewRows) {
  EXPECT_EQ(AdoNumber(3251), NumberOf([&] { Query(u"SELECT id FROM t")->AddNew(); }));
}

// --- hooks

TEST_F(AdoRows, EveryStatementIsTraced) {
  std::vector<hostlinux::SqlTraceEntry> trace;
  hostlinux::AdoOptions options;
  options.onStatement = [&](const hostlinux::SqlTraceEntry& entry) { trace.push_back(entry); };
  MakeDatabase(options);
  Query(u"SELECT TOP 2 id FROM t WHERE id > '1'");
  NumberOf([&] { Run(u"SELEC"); });
  ASSERT_EQ(2u, trace.size());
  EXPECT_EQ(u"SELECT TOP 2 id FROM t WHERE id > '1'", trace[0].sql);
  EXPECT_EQ(u"SELECT id FROM t WHERE id > 1 LIMIT 2", trace[0].sent);
  EXPECT_EQ(2u, trace[0].rows);
  EXPECT_EQ(u"SELEC", trace[1].sql);
  EXPECT_EQ(0u, trace[1].rows);
}

TEST_F(AdoRows, ALineBreakBesideAKeywordIsWarnedOfOnce) {
  std::vector<String> warnings;
  hostlinux::AdoOptions options;
  options.onWarning = [&](const String& text) { warnings.push_back(text); };
  MakeDatabase(options);
  Rows(u"SELECT id\nFROM t");
  Rows(u"SELECT id\nFROM t");
  Rows(u"SELECT id FROM t WHERE name = 'a\nb' AND\nid = 1");
  Rows(u"SELECT name\nFROM t WHERE id > '1'");
  Rows(u"SELECT name\nFROM t WHERE id > '2'");  // the next page of the same list
  ASSERT_EQ(2u, warnings.size());
  EXPECT_NE(String::npos, warnings[0].find(u"SELECT id\nFROM t"));
  EXPECT_NE(String::npos, warnings[1].find(u"SELECT name\nFROM t WHERE id > '1'"));
}

}  // namespace
