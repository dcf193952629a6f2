// Recordsets that are read in batches while a script moves through them.
#include <sqlite3.h>

#include "host-fake/ErrorOf.h"
#include "tests/database/TestDatabase.h"

namespace {

using hostfake::ErrorOf;
using hostfake::NumberOf;
using varnel::Long;
using varnel::String;
using varnel::Variant;
namespace provider_error = hostlinux::provider_error;
using RecordsetPtr = std::shared_ptr<hostlinux::AdoRecordset>;

constexpr Long kNotAllowed = static_cast<Long>(0x800A0C93);  // 3219

class RowsOnDemand : public TestDatabase {
 protected:
  // The numbers 1 to 1000, each with a text.
  RowsOnDemand() {
    hostlinux::AdoOptions options;
    options.onStatement = [this](const hostlinux::SqlTraceEntry& entry) { m_trace.push_back(entry); };
    MakeDatabase(options);
    Run(u"CREATE TABLE t (id INT NOT NULL PRIMARY KEY, name VARCHAR(20))");
    Run(u"INSERT INTO t WITH RECURSIVE n(i) AS (SELECT 1 UNION ALL SELECT i + 1 FROM n WHERE i < 1000) "
        u"SELECT i, 'name ' || i FROM n");
    m_trace.clear();
  }

  RecordsetPtr Open(const String& sql, Long cursorType) {
    auto recordset = std::make_shared<hostlinux::AdoRecordset>(m_database);
    recordset->Open(sql, m_connection, cursorType, 1, -1);
    return recordset;
  }

  static Long IdOf(const RecordsetPtr& rs) { return varnel::ToLong(rs->FieldValue(0)); }

  // Rows from the current one to the end, which must be numbered on from `next`.
  static Long CountOn(const RecordsetPtr& rs, Long next) {
    Long count = 0;
    for (; !rs->IsEOF(); rs->MoveNext(), ++count) {
      EXPECT_EQ(next + count, IdOf(rs));
      EXPECT_EQ(u"name " + varnel::ToText(rs->FieldValue(0)), varnel::ToText(rs->FieldValue(1)));
    }
    return count;
  }

  // What a connection of its own says to `sql`, without waiting for a lock.
  int Beside(const char* sql) {
    sqlite3* database = nullptr;
    EXPECT_EQ(SQLITE_OK, sqlite3_open((m_folder / "test.db").c_str(), &database));
    const int result = sqlite3_exec(database, sql, nullptr, nullptr, nullptr);
    sqlite3_close(database);
    return result;
  }

  std::vector<hostlinux::SqlTraceEntry> m_trace;

  static constexpr const char16_t* kAll = u"SELECT id, name FROM t ORDER BY id";
  static constexpr const char16_t* kReader = u"Provider=SQLite;Data Source=test.db;Mode=Read";
};

// --- moving

TEST_F(RowsOnDemand, EveryKindOfRecordsetGivesAllRowsInOrder) {
  for (const Long cursorType : {0, 1, 2, 3})
    EXPECT_EQ(1000, CountOn(Open(kAll, cursorType), 1)) << cursorType;
  EXPECT_EQ(256, CountOn(Open(u"SELECT id, name FROM t WHERE id <= 256 ORDER BY id", 0), 1));
  EXPECT_EQ(257, CountOn(Open(u"SELECT id, name FROM t WHERE id <= 257 ORDER BY id", 0), 1));
}

TEST_F(RowsOnDemand, OnlyTheFirstBatchIsReadWhenItIsOpened) {
  Open(kAll, 3)->Close();
  ASSERT_EQ(1u, m_trace.size());
  EXPECT_EQ(256u, m_trace[0].rows);
  EXPECT_EQ(u"SELECT id, name FROM t ORDER BY id", m_trace[0].sent);
}

TEST_F(RowsOnDemand, LongTextsMakeABatchOfFewRows) {
  Open(u"SELECT id, hex(zeroblob(200000)) FROM t ORDER BY id", 0)->Close();
  EXPECT_EQ(3u, m_trace.at(0).rows);
}

TEST_F(RowsOnDemand, AKeysetIsWalkedBothWays) {
  const auto rs = Open(kAll, 1);
  rs->MoveLast();
  EXPECT_EQ(1000, IdOf(rs));
  rs->MovePrevious();
  EXPECT_EQ(999, IdOf(rs));
  rs->MoveFirst();
  EXPECT_EQ(1000, CountOn(rs, 1));
  rs->MovePrevious();
  EXPECT_EQ(1000, IdOf(rs));
}

TEST_F(RowsOnDemand, RowsInABlockComeFromAllBatches) {
  for (const Long cursorType : {0, 3}) {
    const auto rs = Open(kAll, cursorType);
    for (int i = 0; i < 300; ++i) rs->MoveNext();
    const varnel::host::RowBlock rows = rs->GetRows();
    ASSERT_EQ(700u, rows.Rows());
    EXPECT_EQ(Variant(Long{301}), rows.At(0, 0));
    EXPECT_EQ(Variant(u"name 1000"), rows.At(1, 699));
    EXPECT_TRUE(rs->IsEOF());
  }
}

TEST_F(RowsOnDemand, ScriptsGetABlockAcrossBatches) {
  const auto rs = Open(kAll, 0);
  const Variant columns = rs->GetRowArrays(300);
  const auto& ids = (*columns.As<varnel::ArrayPtr>())->items[0];
  ASSERT_EQ(300u, (*ids.As<varnel::ArrayPtr>())->items.size());
  EXPECT_EQ(Variant(Long{300}), (*ids.As<varnel::ArrayPtr>())->items[299]);
  EXPECT_EQ(700, CountOn(rs, 301));
}

TEST_F(RowsOnDemand, MaxRecordsEndsBetweenTwoBatches) {
  auto rs = std::make_shared<hostlinux::AdoRecordset>(m_database);
  rs->SetMaxRecords(300);
  rs->Open(kAll, m_connection, 3, 1, -1);
  EXPECT_EQ(300, rs->RecordCount());
  EXPECT_EQ(300, CountOn(rs, 1));
}

TEST_F(RowsOnDemand, TheSameTextIsReadTwiceAtOnce) {
  const auto outer = Open(kAll, 0);
  const auto inner = Open(kAll, 0);
  EXPECT_EQ(1000, CountOn(inner, 1));
  EXPECT_EQ(1000, CountOn(outer, 1));
}

// --- forward only

TEST_F(RowsOnDemand, AForwardOnlyRecordsetDoesNotGoBack) {
  const auto rs = Open(kAll, 0);
  rs->MoveNext();
  EXPECT_EQ(kNotAllowed, NumberOf([&] { rs->MovePrevious(); }));
  EXPECT_EQ(2, IdOf(rs));
  EXPECT_EQ(-1, rs->RecordCount());
  rs->MoveLast();
  EXPECT_EQ(1000, IdOf(rs));
}

TEST_F(RowsOnDemand, AForwardOnlyRecordsetBeginsAgainByRunningAgain) {
  const auto rs = Open(kAll, 0);
  const auto id = rs->Item(u"id");
  EXPECT_EQ(1000, CountOn(rs, 1));
  rs->MoveFirst();
  EXPECT_EQ(Variant(Long{1}), id->Value());
  EXPECT_EQ(1000, CountOn(rs, 1));
  m_connection->Close();
  EXPECT_EQ(kNotAllowed, NumberOf([&] { rs->MoveFirst(); }));
}

TEST_F(RowsOnDemand, MemoryStaysFlatWhileAHundredThousandRowsPass) {
  auto rowset = hostlinux::Rowset::OfResult(m_connection->Run(u"SELECT a.id FROM t a, t b WHERE b.id <= 100",
                                                              {}, {0, hostlinux::AdoConnection::kBatchRows}),
                                            hostlinux::PassedRows::LetGo);
  std::size_t most = 0;
  std::size_t count = 0;
  for (; !rowset.IsEOF(); rowset.MoveTo(rowset.Position() + 1), ++count)
    most = std::max(most, rowset.HeldRows());
  EXPECT_EQ(100000u, count);
  EXPECT_EQ(256u, most);
}

// --- counting

TEST_F(RowsOnDemand, RecordCountReadsNoRows) {
  const auto rs = Open(kAll, 3);
  EXPECT_EQ(1000, rs->RecordCount());
  EXPECT_EQ(1000, rs->RecordCount());
  rs->Close();
  ASSERT_EQ(1u, m_trace.size());
  EXPECT_EQ(256u, m_trace[0].rows);
  EXPECT_EQ(
      u"SELECT id, name FROM t ORDER BY id; SELECT COUNT(*) FROM (SELECT id, name FROM t ORDER BY id\n)",
      m_trace[0].sent);
}

TEST_F(RowsOnDemand, RecordCountIsTheSameAtAnyPlace) {
  const auto rs = Open(u"SELECT id, name FROM t WHERE id > '400' ORDER BY id -- not the first ones", 1);
  for (int i = 0; i < 300; ++i) rs->MoveNext();
  EXPECT_EQ(600, rs->RecordCount());
  EXPECT_EQ(701, IdOf(rs));
  EXPECT_EQ(300, CountOn(rs, 701));
  EXPECT_EQ(600, rs->RecordCount());
}

TEST_F(RowsOnDemand, AllFormsOfQueriesAreCounted) {
  EXPECT_EQ(300, Open(u"SELECT DISTINCT id % 300 AS a, 1 AS a FROM t;", 3)->RecordCount());
  EXPECT_EQ(600, Open(u"(SELECT TOP 300 id FROM t) UNION ALL (SELECT TOP 300 id FROM t)", 3)->RecordCount());
  EXPECT_EQ(1000, Open(u"WITH x AS (SELECT * FROM t) SELECT * FROM x", 3)->RecordCount());
  EXPECT_EQ(500, Open(u"SELECT TOP 500 * FROM t ORDER BY name DESC", 3)->RecordCount());
}

TEST_F(RowsOnDemand, RowsThatDifferInEachRunAreCountedByReadingThem) {
  const auto rs = Open(u"SELECT id FROM t WHERE random() % 10 <> 0", 3);
  const Long count = rs->RecordCount();
  Long read = 0;
  for (; !rs->IsEOF(); rs->MoveNext()) ++read;
  EXPECT_EQ(count, read);
}

TEST_F(RowsOnDemand, ADetachedRecordsetHasBeenCounted) {
  const auto rs = Open(kAll, 3);
  rs->DetachConnection();
  m_connection->Close();
  EXPECT_EQ(1000, rs->RecordCount());
  EXPECT_EQ(1000, CountOn(rs, 1));
}

TEST_F(RowsOnDemand, ACountIsStoppedByCommandTimeout) {
  Run(u"CREATE VIEW endless AS WITH RECURSIVE n(i) AS (SELECT 1 UNION ALL SELECT i + 1 FROM n) SELECT i FROM "
      u"n");
  m_connection->SetCommandTimeout(1);
  const auto rs = Open(u"SELECT i FROM endless", 3);
  EXPECT_EQ(u"Query timeout expired", ErrorOf([&] { rs->RecordCount(); }).Description);
  EXPECT_EQ(provider_error::kTimeout, m_connection->Errors()[0].Number);
  EXPECT_EQ(Variant(Long{1}), rs->FieldValue(0));
}

// --- failures

TEST_F(RowsOnDemand, AFailureIsRaisedWhereItsRowWouldBe) {
  for (const Long cursorType : {0, 3}) {
    const auto rs =
        Open(u"SELECT id, abs(CASE id WHEN 300 THEN -9223372036854775807 - 1 ELSE id END) FROM t ORDER BY id",
             cursorType);
    for (int i = 1; i < 299; ++i) rs->MoveNext();
    EXPECT_EQ(299, IdOf(rs));
    for (int i = 0; i < 2; ++i) {
      EXPECT_EQ(u"integer overflow", ErrorOf([&] { rs->MoveNext(); }).Description);
      EXPECT_EQ(u"integer overflow", m_connection->Errors()[0].Description);
      EXPECT_EQ(299, IdOf(rs));
      EXPECT_FALSE(rs->IsEOF());
    }
    EXPECT_NE(0, NumberOf([&] { rs->GetRows(); }));
    EXPECT_NE(0, NumberOf([&] { rs->MoveLast(); }));
    rs->Close();
  }
  EXPECT_EQ("1000", Rows(u"SELECT COUNT(*) FROM t"));
}

TEST_F(RowsOnDemand, ALaterBatchIsStoppedByCommandTimeout) {
  m_connection->SetCommandTimeout(1);
  const auto rs = Open(
      u"SELECT id FROM t WHERE id <= 300 UNION ALL "
      u"SELECT MAX(i) FROM (WITH RECURSIVE n(i) AS (SELECT 1 UNION ALL SELECT i + 1 FROM n) SELECT i FROM n)",
      0);
  for (int i = 1; i < 300; ++i) rs->MoveNext();
  EXPECT_EQ(provider_error::kTimeout, NumberOf([&] { rs->MoveNext(); }));
  EXPECT_EQ("1", Rows(u"SELECT 1"));
}

// --- what else the connection does meanwhile

TEST_F(RowsOnDemand, RowsAreThoseOfTheTimeOfOpening) {
  const auto walked = Open(kAll, 0);
  const auto counted = Open(kAll, 3);
  Run(u"DELETE FROM t WHERE id > 500");
  EXPECT_EQ(1000, CountOn(walked, 1));
  EXPECT_EQ(1000, counted->RecordCount());
  EXPECT_EQ("500", Rows(u"SELECT COUNT(*) FROM t"));
}

TEST_F(RowsOnDemand, ARolledBackChangeStaysInWhatWasOpenedBefore) {
  m_connection->BeginTrans();
  Run(u"UPDATE t SET name = 'other' WHERE id = 900");
  const auto rs = Open(u"SELECT name FROM t WHERE id >= 500 ORDER BY id", 3);
  m_connection->RollbackTrans();
  for (int i = 0; i < 400; ++i) rs->MoveNext();
  EXPECT_EQ(Variant(u"other"), rs->FieldValue(0));
  EXPECT_EQ("name 900", Rows(u"SELECT name FROM t WHERE id = 900"));
}

TEST_F(RowsOnDemand, ATableThatIsStillBeingReadCanBeDropped) {
  const auto rs = Open(kAll, 0);
  Run(u"DROP TABLE t");
  EXPECT_EQ(1000, CountOn(rs, 1));
}

TEST_F(RowsOnDemand, AnotherConnectionChangesTheSchemaBetweenTwoBatches) {
  const auto rs = Open(u"SELECT * FROM t ORDER BY id", 0);
  EXPECT_EQ(SQLITE_OK, Beside("ALTER TABLE t ADD COLUMN more INT; DELETE FROM t WHERE id > 2"));
  EXPECT_EQ(1000, CountOn(rs, 1));
  EXPECT_EQ("1,name 1,-;2,name 2,-", Rows(u"SELECT * FROM t ORDER BY id"));
}

TEST_F(RowsOnDemand, TheFileIsReplacedBetweenTwoBatches) {
  Run(u"PRAGMA wal_checkpoint(TRUNCATE)");
  m_connection = Connect(kReader);
  const auto rs = Open(kAll, 1);
  std::filesystem::copy_file(m_folder / "test.db", m_folder / "other.db");
  std::filesystem::rename(m_folder / "other.db", m_folder / "test.db");
  EXPECT_EQ(1000, rs->RecordCount());
  EXPECT_EQ(1000, CountOn(rs, 1));
}

TEST_F(RowsOnDemand, AFileThatIsCutBetweenTwoBatchesIsAnError) {
  Run(u"CREATE TABLE large AS SELECT id, hex(zeroblob(300)) AS name FROM t");
  Run(u"PRAGMA wal_checkpoint(TRUNCATE)");
  m_connection = Connect(kReader);
  const auto rs = Open(u"SELECT * FROM large", 0);
  std::filesystem::resize_file(m_folder / "test.db", 200 * 1024);
  EXPECT_EQ(provider_error::kFail, NumberOf([&] { rs->MoveLast(); }));
  m_connection->Close();
  rs->Close();
  EXPECT_EQ(0u, m_database->WaitingSessions());
}

// --- what a statement that runs on holds up

TEST_F(RowsOnDemand, AWriterWaitsOnlyWhileRowsAreLeftToRead) {
  Run(u"PRAGMA journal_mode = DELETE");
  m_connection = Connect(kReader);
  const char* write = "UPDATE t SET name = 'new' WHERE id = 1";
  auto rs = Open(kAll, 3);
  EXPECT_EQ(SQLITE_BUSY, Beside(write));
  rs->Close();
  EXPECT_EQ(SQLITE_OK, Beside(write));

  rs = Open(kAll, 3);
  EXPECT_EQ(SQLITE_BUSY, Beside(write));
  rs->MoveLast();
  EXPECT_EQ(SQLITE_OK, Beside(write));

  rs = Open(kAll, 0);
  rs->SetActiveConnection(Variant(nullptr));
  EXPECT_EQ(SQLITE_OK, Beside(write));
  EXPECT_EQ("new", varnel::ToUtf8(varnel::ToText(rs->FieldValue(1))));

  rs = Open(kAll, 0);
  rs = nullptr;
  EXPECT_EQ(SQLITE_OK, Beside(write));

  rs = Open(u"SELECT TOP 200 * FROM t", 0);
  EXPECT_EQ(SQLITE_OK, Beside(write));
}

TEST_F(RowsOnDemand, ASessionWaitsWithoutARunningStatement) {
  Run(u"PRAGMA journal_mode = DELETE");
  m_connection = nullptr;
  m_connection = Connect(kReader);
  const auto rs = Open(kAll, 0);
  rs->DetachConnection();
  m_connection = nullptr;
  EXPECT_EQ(1u, m_database->WaitingSessions());
  EXPECT_EQ(SQLITE_OK, Beside("DELETE FROM t WHERE id > 1"));
  EXPECT_EQ(1000, CountOn(rs, 1));
}

TEST_F(RowsOnDemand, ClosingTheConnectionEndsItsTransactionAndKeepsTheRows) {
  m_connection->BeginTrans();
  Run(u"DELETE FROM t WHERE id = 1000");
  const auto rs = Open(kAll, 0);
  m_connection->Close();
  EXPECT_EQ(SQLITE_OK, Beside("DELETE FROM t WHERE id = 1"));
  EXPECT_EQ(999, CountOn(rs, 1));
}

TEST_F(RowsOnDemand, AFieldThatIsHeldOnDoesNotReadOn) {
  auto rs = Open(kAll, 0);
  const auto id = rs->Item(u"id");
  rs = nullptr;
  m_connection = nullptr;
  EXPECT_EQ(Variant(Long{1}), id->Value());
  ASSERT_EQ(1u, m_trace.size());
  EXPECT_EQ(256u, m_trace[0].rows);
}

// --- the trace

TEST_F(RowsOnDemand, TextsAreTracedInTheirOrderWithAllTheirRows) {
  const auto rs = Open(kAll, 0);
  Rows(u"SELECT 1");
  EXPECT_TRUE(m_trace.empty());
  EXPECT_EQ(1000, CountOn(rs, 1));
  ASSERT_EQ(2u, m_trace.size());
  EXPECT_EQ(kAll, m_trace[0].sql);
  EXPECT_EQ(1000u, m_trace[0].rows);
  EXPECT_EQ(u"SELECT 1", m_trace[1].sql);
}

}  // namespace
