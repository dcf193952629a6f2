// What a database connection lets nobody do: reading beyond its tables, writing where it reads, waiting and
// running without end, leaving something behind for the next request.
#include <sqlite3.h>

#include <fstream>

#include "host-fake/ErrorOf.h"
#include "host-linux/database/provider/LeastRecentlyUsed.h"
#include "tests/database/TestDatabase.h"

namespace {

using hostfake::ErrorOf;
using hostfake::NumberOf;
using varnel::Long;
using varnel::String;
namespace provider_error = hostlinux::provider_error;

// --- a list of tables

class ListedTables : public TestDatabase {
 protected:
  ListedTables() {
    Run(u"CREATE TABLE goods (id INT NOT NULL PRIMARY KEY, name VARCHAR(20))");
    Run(u"CREATE TABLE secret (id INT NOT NULL PRIMARY KEY, word VARCHAR(20))");
    Run(u"INSERT INTO goods VALUES (1, 'ant'), (2, 'bee')");
    Run(u"INSERT INTO secret VALUES (1, 'mellon')");
    Run(u"CREATE VIEW words AS SELECT id, upper(word) AS word FROM secret");
    Run(u"CREATE VIEW loud AS SELECT id, word FROM words");
    Run(u"CREATE VIEW pairs AS SELECT g.name FROM goods g, secret s");
    m_connection = Connect(u"Provider=SQLite;Data Source=test.db;Tables=Goods, Loud,pairs ,none");
  }

  void Refused(const String& sql) {
    EXPECT_EQ(provider_error::kPermission, NumberOf([&] { Run(sql); })) << varnel::ToUtf8(sql);
  }
};

TEST_F(ListedTables, ListedTablesAreReadAndWritten) {
  EXPECT_EQ("1,ant;2,bee", Rows(u"SELECT * FROM goods ORDER BY name"));
  EXPECT_EQ("2", Rows(u"SELECT COUNT(*) FROM main.GOODS"));
  EXPECT_EQ("2", Rows(u"SELECT COUNT(*) FROM (SELECT id FROM goods) x"));
  Run(u"UPDATE goods SET name = 'cow' WHERE id = 2");
  EXPECT_EQ("cow", Rows(u"SELECT name FROM goods WHERE id > '1'"));
}

TEST_F(ListedTables, NothingElseIsRead) {
  for (const char16_t* sql :
       {u"SELECT word FROM secret", u"SELECT COUNT(*) FROM secret WHERE word > 'a'",
        u"SELECT id FROM goods ORDER BY (SELECT word FROM secret)",
        u"SELECT id FROM goods ORDER BY (SELECT CASE WHEN EXISTS (SELECT word FROM main.secret WHERE word "
        u"LIKE "
        u"'m%') THEN id ELSE -id END)",
        u"SELECT g.id FROM goods g, secret s ORDER BY s.word",
        u"SELECT id FROM goods UNION SELECT word FROM secret", u"SELECT word FROM words",
        u"SELECT sql FROM sqlite_master", u"SELECT sql FROM sqlite_schema",
        u"SELECT COUNT(*) FROM sqlite_schema", u"SELECT * FROM sqlite_temp_master"}) {
    Refused(sql);
  }
  for (const char16_t* sql :
       {u"SELECT name FROM pragma_table_info('secret')", u"SELECT value FROM json_each('[1]')"}) {
    EXPECT_NE(0, NumberOf([&] { Run(sql); })) << varnel::ToUtf8(sql);
  }
}

TEST_F(ListedTables, TheRefusalNamesWhatWasTouched) {
  EXPECT_EQ(u"access to secret.word is prohibited",
            ErrorOf([&] { Run(u"SELECT id FROM goods ORDER BY (SELECT word FROM secret)"); }).Description);
}

TEST_F(ListedTables, AViewReadsWhatLiesBelowIt) {
  EXPECT_EQ("1,MELLON", Rows(u"SELECT * FROM loud"));
  EXPECT_EQ("1", Rows(u"SELECT COUNT(*) FROM loud"));
  EXPECT_EQ("ant;bee", Rows(u"SELECT name FROM pairs ORDER BY name"));
  EXPECT_EQ("2", Rows(u"SELECT COUNT(*) FROM pairs"));
}

TEST_F(ListedTables, AQueryNamedLikeAViewDoesNotVouch) {
  Refused(u"WITH loud AS (SELECT word FROM secret) SELECT word FROM loud");
  Refused(u"SELECT id FROM goods ORDER BY (WITH pairs AS (SELECT word FROM secret) SELECT word FROM pairs)");
  EXPECT_EQ("1;2", Rows(u"WITH few AS (SELECT id FROM goods) SELECT id FROM few ORDER BY id"));
}

TEST_F(ListedTables, NothingElseIsWrittenMadeOrSet) {
  for (const char16_t* sql :
       {u"DELETE FROM secret", u"INSERT INTO secret VALUES (2, 'x')", u"UPDATE secret SET word = 'x'",
        u"INSERT INTO goods SELECT id + 5, word FROM secret", u"DROP TABLE goods", u"CREATE TABLE t (a INT)",
        u"CREATE TEMP VIEW loud AS SELECT * FROM secret", u"ALTER TABLE goods ADD COLUMN more INT",
        u"ATTACH 'test.db' AS other", u"/* x */ PRAGMA query_only = 0", u"VACUUM INTO 'copy.db'",
        u"CREATE INDEX i ON goods (name)", u"ANALYZE"}) {
    Refused(sql);
  }
}

TEST_F(ListedTables, OnlyFunctionsOfTheirArgumentsAreCalled) {
  EXPECT_EQ("ANT", Rows(u"SELECT upper(name) FROM goods WHERE name LIKE '[a]%' AND length(name) = 3"));
  for (const char16_t* function : {u"load_extension('x')", u"sqlite_version()", u"zeroblob(9)",
                                   u"randomblob(9)", u"changes()", u"sqlite_compileoption_get(1)"}) {
    const String sql = u"SELECT id FROM goods ORDER BY " + String(function);
    EXPECT_NE(0, NumberOf([&] { Run(sql); })) << varnel::ToUtf8(sql);
  }
}

TEST_F(ListedTables, WhoeverWritesIsToldTheKeyOfTheNewRow) {
  Run(u"INSERT INTO goods VALUES (9, 'cat')");
  EXPECT_EQ("3", Rows(u"SELECT last_insert_rowid()"));
  m_connection = Connect(u"Provider=SQLite;Data Source=test.db;Tables=goods;Mode=Read");
  Refused(u"SELECT last_insert_rowid()");
}

TEST_F(ListedTables, ViewsThatChangeAreLearnedAnew) {
  EXPECT_EQ("1,MELLON", Rows(u"SELECT * FROM loud"));
  const auto owner = Connect(u"Provider=SQLite;Data Source=test.db");
  owner->Execute(u"CREATE TABLE more (id INT, word VARCHAR(9))", -1);
  owner->Execute(u"INSERT INTO more VALUES (7, 'more')", -1);
  owner->Execute(u"DROP VIEW loud", -1);
  owner->Execute(u"CREATE VIEW loud AS SELECT word, id FROM more", -1);
  EXPECT_EQ("more", Rows(u"SELECT word FROM loud WHERE id = 7"));
  Refused(u"SELECT word FROM more");
}

TEST_F(ListedTables, AnEmptyListIsNone) {
  m_connection = Connect(u"Provider=SQLite;Data Source=test.db;Tables=");
  EXPECT_EQ("mellon", Rows(u"SELECT word FROM secret"));
}

// --- reading only

class Guards : public TestDatabase {
 protected:
  // A connection of the test's own, beside those of the site.
  struct Closer {
    void operator()(sqlite3* database) const { sqlite3_close(database); }
  };
  std::unique_ptr<sqlite3, Closer> Beside(const char* name, const char* sql) {
    sqlite3* database = nullptr;
    EXPECT_EQ(SQLITE_OK, sqlite3_open((m_folder / name).c_str(), &database));
    EXPECT_EQ(SQLITE_OK, sqlite3_exec(database, sql, nullptr, nullptr, nullptr)) << sqlite3_errmsg(database);
    return std::unique_ptr<sqlite3, Closer>(database);
  }

  static constexpr const char16_t* kReader = u"Provider=SQLite;Data Source=test.db;Mode=Read";
};

TEST_F(Guards, AReaderWritesNowhere) {
  Run(u"CREATE TABLE t (a INT)");
  m_connection = Connect(kReader);
  for (const char16_t* sql : {u"INSERT INTO t VALUES (1)", u"DROP TABLE t", u"CREATE TABLE u (a INT)",
                              u"CREATE INDEX i ON t (a)", u"VACUUM INTO 'copy.db'"}) {
    EXPECT_EQ(provider_error::kPermission, NumberOf([&] { Run(sql); })) << varnel::ToUtf8(sql);
  }
  Run(u"PRAGMA query_only = 0");
  EXPECT_EQ(provider_error::kPermission, NumberOf([&] { Run(u"DELETE FROM t"); }));
  EXPECT_NE(0, NumberOf([&] { Run(u"VACUUM INTO '" + varnel::FromUtf8(m_folder.string()) + u"/copy.db'"); }));
  EXPECT_FALSE(std::filesystem::exists(m_folder / "copy.db"));
}

TEST_F(Guards, TheModeOfTheConnectionObjectReadsOnlyToo) {
  Run(u"CREATE TABLE t (a INT)");
  m_connection = nullptr;
  m_connection = std::make_shared<hostlinux::AdoConnection>(m_database);
  m_connection->SetMode(1);
  m_connection->Open(u"Provider=SQLite;Data Source=test.db", u"", u"", -1);
  EXPECT_EQ(provider_error::kPermission, NumberOf([&] { Run(u"INSERT INTO t VALUES (1)"); }));
}

TEST_F(Guards, AFolderThatCannotBeWrittenIsReadUnderAnyName) {
  Beside("a?b#c%20.db", "PRAGMA journal_mode = WAL; CREATE TABLE t (a INT); INSERT INTO t VALUES (7)");
  std::filesystem::permissions(m_folder, std::filesystem::perms(0500));
  m_connection = Connect(u"Provider=SQLite;Data Source=a?b#c%20.db;Mode=Read");
  EXPECT_EQ("7", Rows(u"SELECT a FROM t"));
  std::filesystem::permissions(m_folder, std::filesystem::perms(0700));
}

// --- time

constexpr const char16_t* kEndless =
    u"WITH RECURSIVE n(i) AS (SELECT 1 UNION ALL SELECT i + 1 FROM n) SELECT MAX(i) FROM n";

TEST_F(Guards, CommandTimeoutStopsAStatement) {
  m_connection->SetCommandTimeout(1);
  EXPECT_EQ(u"Query timeout expired", ErrorOf([&] { Run(kEndless); }).Description);
  EXPECT_EQ(u"HYT00", m_connection->Errors()[0].SQLState);
  EXPECT_EQ("1", Rows(u"SELECT 1"));
}

TEST_F(Guards, TheSitesCapGoesBeforeCommandTimeout) {
  hostlinux::AdoOptions options;
  options.statementTimeout = std::chrono::milliseconds(30);
  MakeDatabase(options);
  for (const Long seconds : {0, 100000, -1}) {
    m_connection->SetCommandTimeout(seconds);
    EXPECT_EQ(provider_error::kTimeout, NumberOf([&] { Run(kEndless); })) << seconds;
  }
}

TEST_F(Guards, ALockIsWaitedForWithinTheTimeOfTheStatement) {
  Run(u"CREATE TABLE t (a INT)");
  const auto other = Beside("test.db", "BEGIN IMMEDIATE");
  m_connection->SetCommandTimeout(1);
  EXPECT_EQ(u"database is locked", ErrorOf([&] { Run(u"INSERT INTO t VALUES (1)"); }).Description);
  EXPECT_EQ(provider_error::kTimeout, m_connection->Errors()[0].Number);
  EXPECT_EQ("0", Rows(u"SELECT COUNT(*) FROM t"));
  sqlite3_exec(other.get(), "ROLLBACK", nullptr, nullptr, nullptr);
  Run(u"INSERT INTO t VALUES (1)");
  EXPECT_EQ("1", Rows(u"SELECT COUNT(*) FROM t"));
}

TEST_F(Guards, OpeningALockedDatabaseEnds) {
  const auto other = Beside("locked.db", "CREATE TABLE t (a INT); BEGIN EXCLUSIVE");
  const auto connection = std::make_shared<hostlinux::AdoConnection>(m_database);
  connection->SetConnectionTimeout(1);
  for (const char16_t* mode : {u"Read", u"ReadWrite"}) {
    const String text = u"Provider=SQLite;Data Source=locked.db;Mode=" + String(mode);
    EXPECT_EQ(provider_error::kTimeout, NumberOf([&] { connection->Open(text, u"", u"", -1); }));
    EXPECT_EQ(0, connection->State());
  }
  sqlite3_exec(other.get(), "COMMIT", nullptr, nullptr, nullptr);
  connection->Open(u"Provider=SQLite;Data Source=locked.db", u"", u"", -1);
  EXPECT_EQ(1, connection->State());
}

// --- what a request leaves

TEST_F(Guards, NothingOfARequestReachesTheNext) {
  Run(u"CREATE TABLE t (a INT)");
  m_connection = nullptr;
  for (const char16_t* sql :
       {u"PRAGMA query_only = 1", u"/* a */ PRAGMA query_only = 1", u"-- b\nPRAGMA case_sensitive_like = 1",
        u"ATTACH ':memory:' AS other", u"CREATE TEMP TABLE t (a INT)", u"CREATE TABLE temp.t (a INT)",
        u"CREATE TEMPORARY VIEW v AS SELECT 1"}) {
    m_connection = Connect(u"Provider=SQLite;Data Source=test.db");
    Run(sql);
    m_connection = nullptr;
    EXPECT_EQ(0u, m_database->WaitingSessions()) << varnel::ToUtf8(sql);
  }
}

TEST_F(Guards, ASavepointIsRolledBackWithTheRest) {
  Run(u"CREATE TABLE t (a INT)");
  Run(u"SAVEPOINT s");
  Run(u"INSERT INTO t VALUES (1)");
  m_connection = nullptr;
  EXPECT_EQ(1u, m_database->WaitingSessions());
  m_connection = Connect(u"Provider=SQLite;Data Source=test.db");
  EXPECT_EQ("0", Rows(u"SELECT COUNT(*) FROM t"));
}

TEST_F(Guards, ARequestHasAtMostAHundredConnections) {
  std::vector<std::shared_ptr<hostlinux::AdoConnection>> connections;
  while (connections.size() < 99) connections.push_back(Connect(u"Provider=SQLite;Data Source=test.db"));
  EXPECT_EQ(provider_error::kFail, NumberOf([&] { Connect(u"Provider=SQLite;Data Source=test.db"); }));
  connections.pop_back();
  Connect(u"Provider=SQLite;Data Source=test.db");
  connections.clear();
  EXPECT_EQ(8u, m_database->WaitingSessions());
}

// --- files that change behind a connection's back

TEST_F(Guards, ACutFileIsOpenedAnew) {
  Run(u"CREATE TABLE t (a INT)");
  Run(u"PRAGMA wal_checkpoint(TRUNCATE)");
  m_connection = nullptr;
  m_connection = Connect(kReader);
  EXPECT_EQ("0", Rows(u"SELECT COUNT(*) FROM t"));
  m_connection = nullptr;
  std::filesystem::resize_file(m_folder / "test.db", 0);
  m_connection = Connect(kReader);
  EXPECT_EQ(provider_error::kNoTable, NumberOf([&] { Run(u"SELECT a FROM t"); }));
}

TEST_F(Guards, AConnectionToABrokenFileIsNotUsedAgain) {
  Run(u"CREATE TABLE t (a INT, b TEXT)");
  Run(u"INSERT INTO t WITH RECURSIVE n(i) AS (SELECT 1 UNION ALL SELECT i + 1 FROM n WHERE i < 3000) "
      u"SELECT i, hex(zeroblob(100)) FROM n");
  Run(u"PRAGMA wal_checkpoint(TRUNCATE)");
  m_connection = nullptr;
  m_connection = Connect(kReader);
  Rows(u"SELECT COUNT(*) FROM sqlite_schema");
  std::filesystem::resize_file(m_folder / "test.db", 8192);
  EXPECT_EQ(provider_error::kFail, NumberOf([&] { Rows(u"SELECT b FROM t"); }));
  m_connection = nullptr;
  EXPECT_EQ(0u, m_database->WaitingSessions());
}

TEST_F(Guards, AFullDiskIsToldAndNothingIsHalfWritten) {
  Run(u"CREATE TABLE t (a INT, b TEXT)");
  Run(u"PRAGMA max_page_count = 20");
  const auto fill = [&] {
    for (int i = 0; i < 100; ++i) Run(u"INSERT INTO t VALUES (1, hex(zeroblob(1000)))");
  };
  EXPECT_EQ(u"database or disk is full", ErrorOf(fill).Description);
  EXPECT_EQ(provider_error::kFail, m_connection->Errors()[0].Number);
  EXPECT_EQ("ok", Rows(u"PRAGMA integrity_check"));
  Run(u"DELETE FROM t");
  Run(u"INSERT INTO t VALUES (1, 'x')");
  EXPECT_EQ("1,x", Rows(u"SELECT a, b FROM t"));
}

TEST_F(Guards, TheSchemaOfAnotherProcessIsTheOneThatCounts) {
  Run(u"CREATE TABLE t (a INT, b INT)");
  Run(u"INSERT INTO t VALUES (1, 5), (2, 40)");
  EXPECT_EQ("2", Rows(u"SELECT a FROM t WHERE b > '5'"));
  // The type of b decides how a key is compared: as a number before, as a text now.
  Beside("test.db", "DROP TABLE t; CREATE TABLE t (a INT, b TEXT); INSERT INTO t VALUES (1, '6'), (2, '40')");
  EXPECT_EQ("1", Rows(u"SELECT a FROM t WHERE b > '5'"));
  EXPECT_EQ("1", Rows(u"SELECT a FROM t WHERE b > '50'"));
}

// --- the map of statements

TEST(LeastRecentlyUsed, DropsWhatWasNotUsedForTheLongestTime) {
  hostlinux::LeastRecentlyUsed<int, int> map(2);
  map.Add(1, 10);
  map.Add(2, 20);
  EXPECT_EQ(10, *map.Find(1));
  map.Add(3, 30);
  EXPECT_EQ(nullptr, map.Find(2));
  EXPECT_EQ(10, *map.Find(1));
  EXPECT_EQ(30, *map.Find(3));
  EXPECT_EQ(2u, map.Size());
  map.Clear();
  EXPECT_EQ(nullptr, map.Find(1));
}

}  // namespace
