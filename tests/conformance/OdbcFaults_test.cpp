// What only connections by ODBC to PostgreSQL and SQLite do when something gets in their way, or somebody wants more of them
// than they are for.
#include <unistd.h>

#include "tests/conformance/FaultTest.h"

namespace {

using hostfake::NumberOf;
using testing::HasSubstr;
using varnel::String;
namespace provider_error = hostlinux::provider_error;

// Of this process alone.
std::filesystem::path TemporaryName(const std::string& name) {
  return std::filesystem::temp_directory_path() / ("varnel-test-" + std::to_string(getpid()) + "-" + name);
}

class PostgresqlOdbcFaults : public FaultTest {
 protected:
  PostgresqlOdbcFaults() : FaultTest(EngineKind::PostgresqlByOdbc) {}
};

TEST_F(PostgresqlOdbcFaults, SettingsThatEscapingDependsOnCantBeChanged) {
  for (const String sql :
       {u"SET standard_conforming_strings = off", u"SELECT set_config('client_encoding', 'LATIN1', false)",
        u"SELECT \"set_config\"('standard_conforming_strings', 'off', false)",
        u"SELECT U&\"set\\005fconfig\"('standard_conforming_strings', 'off', false)",
        u"SELECT query_to_xml('SELECT set_' || 'config(''standard_conforming_strings'', ''off'', false)', "
        u"true,"
        u" true, '')"}) {
    const auto connection = m_database->Connect();
    EXPECT_EQ(provider_error::kPermission, NumberOf([&] { connection->Execute(sql, -1); }))
        << varnel::ToUtf8(sql);
    m_database->Services()->EndRequest();
    EXPECT_EQ("on", Page(u"SHOW standard_conforming_strings"));
  }
}

// The rows of the list aren't all read when the next statement comes.
TEST_F(PostgresqlOdbcFaults, ASettingIsNotedBeforeTheNextStatement) {
  const auto connection = m_database->Connect();
  auto rows = m_database->NewRecordset();
  const auto read = [&] {
    rows->Open(
        u"SELECT i, \"set_config\"('standard_conforming_strings', 'off', false) FROM "
        u"generate_series(1, 2000) AS i",
        connection, 3, 1, -1);
    connection->Execute(u"SELECT 1", -1);
  };
  EXPECT_EQ(provider_error::kPermission, NumberOf(read));
}

TEST_F(PostgresqlOdbcFaults, AReaderGetsRoundNothing) {
  ExpectRefused(u"Mode=Read",
                {u"BEGIN READ WRITE", u"SET default_transaction_read_only = off",
                 u"SET SESSION CHARACTERISTICS AS TRANSACTION READ WRITE", u"SET TRANSACTION READ WRITE",
                 u"SELECT set_config('default_transaction_read_only', 'off', false)", u"DELETE FROM t",
                 u"WITH gone AS (DELETE FROM t RETURNING id) SELECT id FROM gone", u"RESET ALL",
                 u"DISCARD ALL", u"DO 'BEGIN DELETE FROM t; END'", u"EXPLAIN ANALYZE DELETE FROM t",
                 u"SELECT \"set_config\"('default_transaction_read_only', 'off', false)"});
}

TEST_F(PostgresqlOdbcFaults, AReadersTransactionReadsToo) {
  const auto reader = m_database->Connect(u"Mode=Read");
  DatabaseUnderTest::BeginTrans(reader);
  EXPECT_EQ(provider_error::kPermission, NumberOf([&] { reader->Execute(u"DELETE FROM t", -1); }));
  EXPECT_NE(0, NumberOf([&] {
              reader->Execute(u"SELECT \"set_config\"('transaction_read_only', 'off', true)", -1);
              reader->Execute(u"DELETE FROM t", -1);
            }));
  DatabaseUnderTest::RollbackTrans(reader);
  EXPECT_EQ("2", Page(u"SELECT COUNT(*) FROM t"));
}

// --- SQLite

class SqliteOdbcFaults : public FaultTest {
 protected:
  SqliteOdbcFaults() : FaultTest(EngineKind::SqliteByOdbc) {}
};

// The driver brings functions for files, and lets the engine load code.
TEST_F(SqliteOdbcFaults, NobodyReachesFilesOrLoadsCode) {
  const auto file = TemporaryName("exported");
  const String name = varnel::FromUtf8(file.string());
  std::filesystem::remove(file);
  for (const String mode : {u"", u"Mode=Read"}) {
    ExpectRefused(
        mode, {u"SELECT blob_export('x', '" + name + u"')", u"SELECT \"blob_export\"('x', '" + name + u"')",
               u"SELECT [blob_export] /* */ ('x', '" + name + u"')",
               u"SELECT `Blob_Export`('x', '" + name + u"')", u"SELECT BLOB_IMPORT('/etc/passwd')",
               u"SELECT load_extension('x')", u"SELECT id FROM t ORDER BY load_extension('x')",
               u"SELECT {fn load_extension('x')}", u"SELECT fts3_tokenizer('simple')"});
  }
  EXPECT_FALSE(std::filesystem::exists(file));
}

TEST_F(SqliteOdbcFaults, AViewCallsNoMoreThanAStatement) {
  const auto file = TemporaryName("exported");
  std::filesystem::remove(file);
  const String call = u"blob_export('x', '" + varnel::FromUtf8(file.string()) + u"')";
  {
    // As another program would make it.
    EngineDatabase& own = *m_database;
    const auto embedded = std::make_shared<hostlinux::AdoConnection>(own.Services());
    embedded->Open(u"Provider=SQLite;Data Source=test.db", u"", u"", -1);
    embedded->Execute(u"CREATE VIEW v AS SELECT " + call + u" AS a", -1);
  }
  EXPECT_NE(0, NumberOf([&] { m_database->Rows(u"SELECT a FROM v"); }));
  EXPECT_FALSE(std::filesystem::exists(file));
}

TEST_F(SqliteOdbcFaults, AReaderGetsRoundNothing) {
  ExpectRefused(u"Mode=Read", {u"PRAGMA query_only = 0", u"EXPLAIN PRAGMA query_only = 0",
                               u"EXPLAIN QUERY PLAN PRAGMA query_only = 0", u"/* */ PRAGMA query_only = 0",
                               u"ATTACH 'other.db' AS other", u"VACUUM INTO 'other.db'", u"DELETE FROM t",
                               u"DROP TABLE t", u"SELECT * FROM pragma_database_list()",
                               u"CREATE TEMP TABLE u (a INT)", u"BEGIN IMMEDIATE"});
}

TEST_F(SqliteOdbcFaults, AReaderCallsWhatCalculates) {
  const auto reader = m_database->Connect(u"Mode=Read");
  for (const String sql :
       {u"SELECT upper(name), COUNT(*) FROM t WHERE id IN (1, 2) AND (name LIKE 'a%') GROUP BY upper(name)",
        u"WITH c(n) AS (SELECT 1) SELECT n FROM c WHERE EXISTS (SELECT 1)",
        u"SELECT CAST(id AS VARCHAR(9)) FROM t"}) {
    reader->Execute(sql, -1);
  }
}

TEST_F(SqliteOdbcFaults, AReaderMakesNoFile) {
  const auto file = TemporaryName("not-there.db");
  std::filesystem::remove(file);
  EXPECT_NE(0, NumberOf([&] {
              const auto reader =
                  m_database->Connect(u"Mode=Read;Database=" + varnel::FromUtf8(file.string()));
              reader->Execute(u"SELECT * FROM t", -1);
            }));
  EXPECT_FALSE(std::filesystem::exists(file));
}

TEST_F(SqliteOdbcFaults, AStatementEndsWithItsTime) {
  const auto connection = m_database->Connect();
  connection->SetCommandTimeout(1);
  const Clock::time_point begin = Clock::now();
  EXPECT_EQ(provider_error::kTimeout, NumberOf([&] {
              connection->Execute(
                  u"WITH RECURSIVE n(i) AS (SELECT 1 UNION ALL SELECT i + 1 FROM n) SELECT COUNT(*) FROM n",
                  -1);
            }));
  EXPECT_LT(Clock::now() - begin, std::chrono::seconds(30));
}

TEST_F(SqliteOdbcFaults, ALockIsWaitedForAsLongAsTheDriverIsTold) {
  DatabaseUnderTest::BeginTrans(m_database->Connection());
  m_database->Run(u"UPDATE t SET name = 'x' WHERE id = 1");
  const auto other = m_database->Connect(u"Timeout=300");
  const Clock::time_point begin = Clock::now();
  EXPECT_EQ(provider_error::kTimeout,
            NumberOf([&] { other->Execute(u"UPDATE t SET name = 'y' WHERE id = 1", -1); }));
  EXPECT_LT(Clock::now() - begin, std::chrono::seconds(30));
  DatabaseUnderTest::RollbackTrans(m_database->Connection());
  other->Execute(u"UPDATE t SET name = 'y' WHERE id = 1", -1);
  EXPECT_EQ("y", Page(u"SELECT name FROM t WHERE id = 1"));
}

TEST_F(SqliteOdbcFaults, ResultsAndValuesHaveLimits) {
  ExpectLimits(
      u"WITH RECURSIVE n(i) AS (SELECT 1 UNION ALL SELECT i + 1 FROM n) SELECT i, hex(zeroblob(50)) FROM n",
      u"SELECT hex(zeroblob(2500000))");
}

// The engine's library is the same, and is told once in a process what it may take.
TEST_F(SqliteOdbcFaults, TheEmbeddedEngineKeepsItsLimits) {
  EXPECT_EQ("2", Page(u"SELECT COUNT(*) FROM t"));
  hostlinux::AdoOptions options;
  options.limits.maxMemory = 2 << 20;
  EngineDatabase embedded(EngineKind::Sqlite, options);
  EXPECT_THAT(MessageOf([&] {
                embedded.Rows(
                    u"WITH RECURSIVE n(i) AS (SELECT 1 UNION ALL SELECT i + 1 FROM n WHERE i < 100000)"
                    u" SELECT length(group_concat(printf('%100d', i))) FROM n");
              }),
              HasSubstr("out of memory"));
}

TEST_F(SqliteOdbcFaults, PathsAndErrorsHaveAllCharacters) {
  const auto folder = TemporaryName("größe €");
  std::filesystem::create_directory(folder);
  m_database->Connect(u"Database=" + varnel::FromUtf8((folder / "t.db").string()))
      ->Execute(u"CREATE TABLE größe (a INT)", -1);
  m_database->Services()->EndRequest();
  EXPECT_TRUE(std::filesystem::exists(folder / "t.db"));
  std::filesystem::remove_all(folder);
  EXPECT_THAT(MessageOf([&] { Page(u"SELECT * FROM größe€"); }), HasSubstr("größe€"));
}

TEST_F(SqliteOdbcFaults, AColumnHoldsWhatItsTypeDoesnt) {
  m_database->Run(u"INSERT INTO t VALUES (5000000000, NULL)");
  EXPECT_EQ("5000000000", m_database->Rows(u"SELECT id FROM t WHERE name IS NULL"));
}

}  // namespace
