// What a text can't make of the engine: code of its own, a look at its inside, a call without an end, all
// memory, a full disk. And that a statement which tries it fails alone.
#include <fcntl.h>
#include <sqlite3.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <fstream>
#include <thread>

#include "host-fake/ErrorOf.h"
#include "host-linux/database/dialect/LikePattern.h"
#include "host-linux/database/sqlite/SqliteSession.h"
#include "host-linux/database/sqlite/SqliteUse.h"
#include "tests/database/TestDatabase.h"

namespace {

using hostfake::ErrorOf;
using hostfake::NumberOf;
using std::chrono::milliseconds;
using varnel::Long;
using varnel::String;
using Clock = std::chrono::steady_clock;
namespace provider_error = hostlinux::provider_error;

constexpr const char16_t* kReader = u"Provider=SQLite;Data Source=test.db;Mode=Read";
// Two million letters, in a column x.
constexpr const char16_t* kLong =
    u"(SELECT replace(printf('%1000.*c', 1000, 'a'), 'a', printf('%.2000c', 'a')) AS x)";
constexpr const char16_t* kNumbers = u"WITH RECURSIVE n(i) AS (SELECT 1 UNION ALL SELECT i + 1 FROM n) ";

class EngineLimits : public TestDatabase {
 protected:
  // A reading connection with a limit of a second for each statement.
  EngineLimits() {
    Run(u"CREATE TABLE t (a INT NOT NULL PRIMARY KEY, b TEXT)");
    Run(u"INSERT INTO t VALUES (1, 'x'), (2, 'y')");
    hostlinux::AdoOptions options;
    options.statementTimeout = milliseconds(1000);
    Reopen(options);
  }

  void Reopen(const hostlinux::AdoOptions& options) {
    MakeDatabase(options);
    m_connection = Connect(kReader);
  }

  // Its number; the statement mustn't take minutes, and the connection must go on.
  Long Attack(const String& sql) {
    const Clock::time_point begin = Clock::now();
    const Long number = NumberOf([&] { Rows(sql); });
    EXPECT_LT(Clock::now() - begin, std::chrono::seconds(60)) << varnel::ToUtf8(sql);
    EXPECT_EQ("2", Rows(u"SELECT COUNT(*) FROM t")) << varnel::ToUtf8(sql);
    return number;
  }
};

// --- code and the engine's inside

TEST_F(EngineLimits, NobodyLoadsCodeOrNamesATokenizer) {
  for (const char16_t* connection :
       {kReader, u"Provider=SQLite;Data Source=test.db",
        u"Provider=SQLite;Data Source=test.db;Functions=fts3_tokenizer,load_extension"}) {
    m_connection = Connect(connection);
    for (const char16_t* sql :
         {u"SELECT fts3_tokenizer('simple')", u"SELECT hex(fts3_tokenizer('simple'))",
          u"SELECT fts3_tokenizer('mine', x'4141414141414141')", u"SELECT FTS3_Tokenizer('a', 'b')",
          u"SELECT load_extension('x')", u"SELECT load_extension('x', 'y')"}) {
      EXPECT_NE(0, NumberOf([&] { Run(sql); })) << varnel::ToUtf8(sql);
    }
    EXPECT_EQ(provider_error::kPermission, NumberOf([&] { Run(u"SELECT fts3_tokenizer('a')"); }));
  }
}

TEST_F(EngineLimits, AReaderSeesNothingOfTheEngine) {
  for (const char16_t* table :
       {u"dbstat", u"sqlite_dbpage", u"sqlite_stmt", u"bytecode('SELECT 1')", u"tables_used('SELECT 1')",
        u"pragma_table_info('t')", u"pragma_database_list", u"PRAGMA_function_list",
        u"fts3tokenize('simple', 'a b')", u"fts5vocab", u"sqlite_memstat", u"fsdir('/')", u"zipfile('x')",
        u"completion('S')"}) {
    EXPECT_NE(0, NumberOf([&] { Run(u"SELECT * FROM " + String(table)); })) << varnel::ToUtf8(table);
    EXPECT_NE(0, NumberOf([&] { Run(u"SELECT COUNT(*) FROM " + String(table)); })) << varnel::ToUtf8(table);
  }
  EXPECT_EQ(provider_error::kPermission, NumberOf([&] { Run(u"SELECT name FROM pragma_database_list"); }));
  EXPECT_EQ(provider_error::kPermission,
            NumberOf([&] { Run(u"CREATE VIRTUAL TABLE temp.v USING fts5(a)"); }));
  EXPECT_EQ("1;2", Rows(u"SELECT value FROM json_each('[1, 2]')"));
}

TEST_F(EngineLimits, AReaderAttachesNothing) {
  for (const char16_t* sql : {u"ATTACH ':memory:' AS m", u"ATTACH 'other.db' AS m", u"VACUUM INTO 'copy.db'"})
    EXPECT_EQ(provider_error::kPermission, NumberOf([&] { Run(sql); })) << varnel::ToUtf8(sql);
  EXPECT_FALSE(std::filesystem::exists(m_folder / "other.db"));
}

TEST_F(EngineLimits, AReaderCallsOnlyWhatCalculates) {
  for (const char16_t* call :
       {u"sqlite_version()", u"sqlite_source_id()", u"sqlite_compileoption_get(1)",
        u"sqlite_compileoption_used('A')", u"zeroblob(60000000)", u"randomblob(60000000)",
        u"last_insert_rowid()", u"changes()", u"total_changes()", u"sqlite_offset(a)",
        u"json_patch('{}', '{}')", u"json_set('{}', '$.a', 1)", u"optimize(a)", u"rtreecheck('t')",
        u"fts5(a)", u"readfile('/etc/passwd')", u"edit('a')", u"writefile('a', 'b')"}) {
    EXPECT_NE(0, NumberOf([&] { Run(u"SELECT " + String(call) + u" FROM t"); })) << varnel::ToUtf8(call);
  }
  EXPECT_EQ(provider_error::kPermission, NumberOf([&] { Run(u"SELECT randomblob(4)"); }));
  EXPECT_EQ(provider_error::kPermission, NumberOf([&] { Run(u"SELECT a FROM t ORDER BY zeroblob(9)"); }));
  EXPECT_EQ("X,1,3,b,2024-02-29,7,a b",
            Rows(u"SELECT upper('x'), 'abc' LIKE 'A%', json_array_length('[1,2,3]'), json_extract('[\"b\"]', "
                 u"'$[0]'), "
                 u"date('2024-02-28', '+1 day'), max(7, 3), (SELECT group_concat(v, ' ') FROM (SELECT 'a' AS "
                 u"v UNION "
                 u"ALL SELECT 'b'))"));
  EXPECT_EQ("1;2", Rows(u"SELECT row_number() OVER (ORDER BY a) FROM t"));
}

TEST_F(EngineLimits, TheConnectionStringAddsFunctions) {
  m_connection = Connect(String(kReader) + u";Functions=zeroblob, SQLite_Version");
  EXPECT_EQ("0000", Rows(u"SELECT hex(zeroblob(2))"));
  EXPECT_EQ(0, NumberOf([&] { Run(u"SELECT sqlite_version()"); }));
  EXPECT_EQ(provider_error::kPermission, NumberOf([&] { Run(u"SELECT randomblob(2)"); }));
  m_connection = Connect(u"Provider=SQLite;Data Source=test.db;Tables=t;Functions=zeroblob");
  EXPECT_EQ("0000;0000", Rows(u"SELECT hex(zeroblob(2)) FROM t"));
}

TEST_F(EngineLimits, AWriterCallsWhatItLikes) {
  m_connection = Connect(u"Provider=SQLite;Data Source=test.db");
  EXPECT_EQ("0000", Rows(u"SELECT hex(zeroblob(2))"));
  EXPECT_EQ(0, NumberOf([&] { Run(u"SELECT last_insert_rowid()"); }));
  EXPECT_NE(0, NumberOf([&] { Run(u"UPDATE sqlite_master SET sql = 'x'"); }));
  Run(u"PRAGMA writable_schema = 1");
  EXPECT_NE(0, NumberOf([&] { Run(u"UPDATE sqlite_master SET sql = 'x'"); }));
}

// --- time

TEST_F(EngineLimits, CallsThatGrowWithTheSquareEnd) {
  const String text = String(kLong);
  for (const String& call :
       {String(u"instr(x, substr(x, 1000000) || 'b')"), String(u"instr(x, substr(x, 1900000) || 'b')"),
        String(u"length(replace(x, substr(x, 1000000) || 'b', ''))"),
        String(u"length(replace(x, 'aa', 'a'))"),
        String(u"length(trim(x, 'b' || replace(x, 'a', 'c') || 'a'))"),
        String(u"x LIKE '%aaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaab'"),
        String(u"x LIKE '%a%a%a%a%a%a%a%a%a%a%a%a%a%a%a%a%a%a%a%a%a%a%b'"),
        String(u"x GLOB '*aaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaab'"),
        String(u"x REGEXP '%' || substr(x, 1000000) || '[b]'"), String(u"x REGEXP '%[' || x || 'b]c'")}) {
    const Long number = Attack(u"SELECT " + call + u" FROM " + text);
    EXPECT_TRUE(number == 0 || number == provider_error::kTimeout) << varnel::ToUtf8(call) << number;
  }
}

TEST_F(EngineLimits, LongPatternsAreForOurOwnMatcher) {
  const String text = String(100, u'a');
  EXPECT_EQ("1", Rows(u"SELECT '" + text + u"b' LIKE '%" + text + u"B'"));
  EXPECT_EQ("0", Rows(u"SELECT '" + text + u"c' LIKE '%" + text + u"b'"));
  EXPECT_EQ("1", Rows(u"SELECT '" + text + u"%' LIKE '" + text + u"!%' ESCAPE '!'"));
  EXPECT_EQ("0", Rows(u"SELECT '" + text + u"b' LIKE '" + text + u"!%' ESCAPE '!'"));
  EXPECT_EQ(provider_error::kSyntax, NumberOf([&] { Rows(u"SELECT 'a' LIKE '%' || '" + text + u"'"); }));
}

TEST_F(EngineLimits, APrefixIsFoundByTheIndexWithoutCase) {
  m_connection = Connect(u"Provider=SQLite;Data Source=test.db");
  Run(u"CREATE TABLE names (name TEXT COLLATE NOCASE)");
  Run(u"CREATE INDEX byName ON names (name)");
  for (const char16_t* pattern : {u"'ab%'", u"'a[%]b%'"}) {
    const std::string plan =
        Rows(u"EXPLAIN QUERY PLAN SELECT name FROM names WHERE name LIKE " + String(pattern));
    EXPECT_NE(std::string::npos, plan.find("SEARCH names USING COVERING INDEX byName (name>? AND name<?)"))
        << plan;
  }
}

TEST_F(EngineLimits, OwnFunctionsGiveWhatTheEnginesGive) {
  sqlite3* plain = nullptr;
  ASSERT_EQ(SQLITE_OK, sqlite3_open(":memory:", &plain));
  const std::vector<std::string> values = {"NULL",
                                           "''",
                                           "'a'",
                                           "'aa'",
                                           "'abcabc'",
                                           "'äöüä'",
                                           "'ä'",
                                           "'ö'",
                                           "x''",
                                           "x'6162'",
                                           "x'C3'",
                                           "x'A4'",
                                           "x'C3A4C3A4'",
                                           "12",
                                           "'2'",
                                           "1.5",
                                           "'a' || char(0) || 'b'",
                                           "char(0)",
                                           "CAST(x'C3' AS TEXT)",
                                           "CAST(x'A4' AS TEXT)",
                                           "CAST(x'A4A461' AS TEXT)",
                                           "'  a '",
                                           "'😀a😀'",
                                           "'😀'",
                                           "CAST(x'61C3' AS TEXT)",
                                           "'ca'",
                                           "'A'",
                                           "-1",
                                           "zeroblob(3)",
                                           "x'00'"};
  std::string different;
  const auto compare = [&](const std::string& call) {
    const std::string sql = "SELECT quote(" + call + ") || typeof(" + call + ")";
    sqlite3_stmt* statement = nullptr;
    ASSERT_EQ(SQLITE_OK, sqlite3_prepare_v2(plain, sql.c_str(), -1, &statement, nullptr)) << sql;
    sqlite3_step(statement);
    const auto* expected = reinterpret_cast<const char*>(sqlite3_column_text(statement, 0));
    const std::string found = Rows(varnel::FromUtf8(sql));
    if (found != (expected == nullptr ? "-" : varnel::ToUtf8(varnel::FromUtf8(expected))))
      different += call + ": " + found + "; ";
    sqlite3_finalize(statement);
  };
  m_connection = Connect(u"Provider=SQLite;Data Source=test.db");
  for (const std::string& a : values) {
    for (const std::string& b : values) {
      const std::string arguments = "(" + a + ", " + b + ")";
      for (const char* name : {"instr", "trim", "ltrim", "rtrim"}) compare(name + arguments);
      for (const char* by : {"'xyz'", "NULL", "x'C3'"}) compare("replace(" + a + ", " + b + ", " + by + ")");
    }
  }
  EXPECT_EQ("", different);
  sqlite3_close(plain);
}

// --- size

TEST_F(EngineLimits, AValueHasALimit) {
  hostlinux::AdoOptions options;
  options.limits.maxValue = 1 << 17;
  Reopen(options);
  for (const char16_t* call :
       {u"hex(printf('%.70000c', 'a'))", u"quote(printf('%.131060c', ''''))",
        u"printf('%.70000c', 'a') || printf('%.70000c', 'a')",
        u"(WITH RECURSIVE n(i) AS (SELECT 1 UNION ALL SELECT i + 1 FROM n WHERE i < 30000) SELECT "
        u"group_concat(i) FROM n)",
        u"replace(replace(replace(printf('%.1000c', 'a'), 'a', 'bbbbbbbbbb'), 'b', 'cccccccccccc'), 'c', "
        u"'dddddddddddd')",
        u"(WITH RECURSIVE n(i) AS (SELECT 1 UNION ALL SELECT i + 1 FROM n WHERE i < 30000) SELECT "
        u"json_group_array(i) FROM n)"}) {
    EXPECT_EQ(provider_error::kFail, Attack(u"SELECT " + String(call))) << varnel::ToUtf8(call);
    EXPECT_EQ(u"string or blob too big", ErrorOf([&] { Rows(u"SELECT " + String(call)); }).Description);
  }
  EXPECT_EQ(u"HY000", m_connection->Errors()[0].SQLState);
  EXPECT_EQ("100000", Rows(u"SELECT length(printf('%.100000c', 'a'))"));
}

TEST_F(EngineLimits, AResultHasALimitAndAStreamHasNone) {
  hostlinux::AdoOptions options;
  options.limits.maxResult = 2 << 20;
  Reopen(options);
  const String rows =
      u"WITH RECURSIVE n(i) AS (SELECT 1 UNION ALL SELECT i + 1 FROM n WHERE i < 400) SELECT "
      u"printf('%.10000c', 'a') "
      u"AS x FROM n";
  const auto forward = std::make_shared<hostlinux::AdoRecordset>(m_database);
  forward->Open(rows, m_connection, 0, 1, -1);
  int count = 0;
  for (; !forward->IsEOF(); forward->MoveNext()) ++count;
  EXPECT_EQ(400, count);

  const auto kept = Query(rows);
  EXPECT_EQ(provider_error::kFail, NumberOf([&] { kept->MoveLast(); }));
  EXPECT_EQ(u"The result is larger than a result may be.", m_connection->Errors()[0].Description);
  EXPECT_EQ(u"HY000", m_connection->Errors()[0].SQLState);
  const auto whole = std::make_shared<hostlinux::AdoRecordset>(m_database);
  whole->SetCursorLocation(3);
  whole->SetMaxRecords(1000);
  EXPECT_EQ(provider_error::kFail, NumberOf([&] { whole->Open(rows, m_connection, 3, 1, -1); }));
}

TEST_F(EngineLimits, OneRowOfManyLongColumnsIsAResultToo) {
  hostlinux::AdoOptions options;
  options.limits.maxResult = 2 << 20;
  Reopen(options);
  String columns = u"x";
  for (int i = 0; i < 500; ++i) columns += u", x";
  EXPECT_EQ(provider_error::kFail, Attack(u"SELECT " + columns + u" FROM " + String(kLong)));
}

TEST_F(EngineLimits, MemoryHasALimitAndFailsAlone) {
  hostlinux::AdoOptions options;
  options.limits.maxMemory = 16 << 20;
  Reopen(options);
  const auto beside = Query(u"SELECT a FROM t ORDER BY b DESC");
  String row = u"x || 1";
  for (int i = 2; i < 60; ++i) row += u", x || " + varnel::FromUtf8(std::to_string(i));
  for (const String& sql : {u"SELECT " + row + u" FROM " + String(kLong),
                            u"SELECT (" + row + u") IN (SELECT " + row + u") FROM " + String(kLong)}) {
    EXPECT_EQ(provider_error::kFail, Attack(sql)) << varnel::ToUtf8(sql.substr(0, 60));
    EXPECT_EQ(u"out of memory", ErrorOf([&] { Rows(sql); }).Description);
  }
  EXPECT_EQ(u"HY000", m_connection->Errors()[0].SQLState);
  EXPECT_EQ(2, varnel::ToLong(beside->FieldValue(0)));
  m_connection = Connect(kReader);
  EXPECT_EQ("2", Rows(u"SELECT COUNT(*) FROM t"));
}

// The pages of a table that was read through stay in a connection's cache.
TEST_F(EngineLimits, AConnectionThatHoldsHalfOfTheMemoryDoesNotWait) {
  m_connection = Connect(u"Provider=SQLite;Data Source=test.db");
  Run(u"CREATE TABLE long (x TEXT)");
  Run(u"INSERT INTO long WITH RECURSIVE n(i) AS (SELECT 1 UNION ALL SELECT i + 1 FROM n WHERE i < 1300) "
      u"SELECT printf('%.1000c', 'a') FROM n");
  hostlinux::AdoOptions options;
  options.limits.maxMemory = 2 << 20;
  Reopen(options);
  EXPECT_EQ("2", Rows(u"SELECT COUNT(*) FROM t"));
  m_connection = nullptr;
  const std::size_t waiting = m_database->WaitingSessions();
  m_connection = Connect(kReader);
  EXPECT_EQ(waiting - 1, m_database->WaitingSessions());
  EXPECT_EQ("0", Rows(u"SELECT COUNT(*) FROM long WHERE x LIKE '%b'"));
  m_connection = nullptr;
  EXPECT_EQ(waiting - 1, m_database->WaitingSessions());
}

TEST_F(EngineLimits, ANeighboursMemoryIsItsOwn) {
  hostlinux::AdoOptions options;
  options.limits.maxMemory = 16 << 20;
  options.statementTimeout = milliseconds(20000);
  Reopen(options);
  std::thread greedy([&] {
    const auto connection = Connect(kReader);
    for (int i = 0; i < 20; ++i) {
      EXPECT_NE(0, NumberOf([&] {
                  connection->Execute(
                      u"SELECT x || 1, x || 2, x || 3, x || 4, x || 5, x || 6, x || 7, x || 8, x || 9 FROM " +
                          String(kLong),
                      -1);
                }));
    }
  });
  for (int i = 0; i < 200; ++i) EXPECT_EQ("1;2", Rows(u"SELECT a FROM t ORDER BY b"));
  greedy.join();
}

TEST_F(EngineLimits, WhatAConnectionHeldIsGivenBack) {
  m_connection = nullptr;
  m_database = nullptr;
  const std::int64_t before = hostlinux::SqliteUse::OfThread().Memory();
  hostlinux::AdoOptions options;
  Reopen(options);
  EXPECT_LT(before, hostlinux::SqliteUse::OfThread().Memory());
  m_connection = nullptr;
  std::thread([database = std::exchange(m_database, nullptr)]() mutable { database = nullptr; }).join();
  EXPECT_EQ(before, hostlinux::SqliteUse::OfThread().Memory());
}

TEST_F(EngineLimits, TemporaryFilesHaveALimit) {
  hostlinux::AdoOptions options;
  options.limits.maxTemporary = 1 << 20;
  options.statementTimeout = milliseconds(50000);
  Reopen(options);
  // Twenty megabytes. Rows of 1000 characters and more wouldn't fit into a page of the sort's tree: each takes
  // one of its own, four times its size.
  const String sort =
      u"WITH RECURSIVE n(i) AS (SELECT 1 UNION ALL SELECT i + 1 FROM n WHERE i < 22000) SELECT COUNT(*) "
      u"FROM (SELECT i, printf('%.900c', 'a') AS x FROM n ORDER BY random() LIMIT -1 OFFSET 1)";
  EXPECT_EQ(provider_error::kFail, Attack(sort));
  EXPECT_EQ(u"database or disk is full", m_connection->Errors()[0].Description);
  EXPECT_EQ(0, hostlinux::SqliteUse::OfThread().temporaryBytes.load());
  options.limits.maxTemporary = 64 << 20;
  Reopen(options);
  EXPECT_EQ("21999", Rows(sort));
}

// --- one deadline

TEST_F(EngineLimits, NoStatementOutlivesThePage) {
  hostlinux::AdoOptions options;
  milliseconds left(100);
  options.timeLeft = [&left] { return left; };
  Reopen(options);
  const String endless = String(kNumbers) + u"SELECT MAX(i) FROM n";
  EXPECT_EQ(u"Query timeout expired", ErrorOf([&] { Run(endless); }).Description);
  EXPECT_EQ(provider_error::kTimeout, m_connection->Errors()[0].Number);
  EXPECT_EQ(u"HYT00", m_connection->Errors()[0].SQLState);
  left = milliseconds(0);
  EXPECT_EQ(provider_error::kTimeout, NumberOf([&] { Run(endless); }));
}

TEST_F(EngineLimits, ALockIsNotWaitedForLongerThanThePage) {
  hostlinux::AdoOptions options;
  options.timeLeft = [] { return milliseconds(200); };
  MakeDatabase(options);
  sqlite3* other = nullptr;
  ASSERT_EQ(SQLITE_OK, sqlite3_open((m_folder / "test.db").c_str(), &other));
  ASSERT_EQ(SQLITE_OK, sqlite3_exec(other, "BEGIN IMMEDIATE", nullptr, nullptr, nullptr));
  const Clock::time_point begin = Clock::now();
  EXPECT_EQ(provider_error::kTimeout, NumberOf([&] { Run(u"DELETE FROM t"); }));
  EXPECT_LT(Clock::now() - begin, std::chrono::seconds(4));  // 5 without the page's limit
  sqlite3_close(other);
}

// Holds all locks of the index of a write-ahead log, but for the one that says that somebody has it open, as
// another process.
class LockingProcess {
 public:
  explicit LockingProcess(const std::filesystem::path& file) {
    int ready[2];
    EXPECT_EQ(0, pipe(ready));
    m_process = fork();
    if (m_process == 0) {
      const int descriptor = open(file.c_str(), O_RDWR);
      struct flock lock {};
      lock.l_type = F_WRLCK;
      lock.l_start = 120;
      lock.l_len = 8;
      lock.l_whence = SEEK_SET;
      const char result = fcntl(descriptor, F_SETLK, &lock) == 0 ? '1' : '0';
      if (write(ready[1], &result, 1) == 1) pause();
      _exit(0);
    }
    char result = '0';
    EXPECT_EQ(1, read(ready[0], &result, 1));
    EXPECT_EQ('1', result);
    close(ready[0]);
    close(ready[1]);
  }
  LockingProcess(const LockingProcess&) = delete;
  LockingProcess& operator=(const LockingProcess&) = delete;
  ~LockingProcess() {
    kill(m_process, SIGKILL);
    waitpid(m_process, nullptr, 0);
  }

 private:
  pid_t m_process = 0;
};

TEST_F(EngineLimits, TheIndexOfTheLogIsNotWaitedForLongerThanTheStatement) {
  m_connection = nullptr;
  m_database = nullptr;
  sqlite3* writer = nullptr;
  ASSERT_EQ(SQLITE_OK, sqlite3_open((m_folder / "test.db").c_str(), &writer));
  ASSERT_EQ(SQLITE_OK, sqlite3_exec(writer, "INSERT INTO t VALUES (3, 'z')", nullptr, nullptr, nullptr));
  ASSERT_TRUE(std::filesystem::exists(m_folder / "test.db-shm"));
  hostlinux::AdoOptions options;
  options.statementTimeout = milliseconds(500);
  Reopen(options);
  sqlite3_close(writer);
  const LockingProcess locking(m_folder / "test.db-shm");
  const Clock::time_point begin = Clock::now();
  EXPECT_EQ(provider_error::kTimeout, NumberOf([&] { Rows(u"SELECT a FROM t WHERE b > '2' ORDER BY a"); }));
  EXPECT_LT(Clock::now() - begin, std::chrono::seconds(8));  // 10 to 20 without a limit
}

// --- what is read ahead

TEST_F(EngineLimits, ClosingUnderAnEndlessRecordsetEnds) {
  hostlinux::AdoOptions options;
  options.statementTimeout = milliseconds(300);
  Reopen(options);
  const auto rows = Query(String(kNumbers) + u"SELECT i FROM n");
  const Clock::time_point begin = Clock::now();
  m_connection->Close();
  EXPECT_LT(Clock::now() - begin, std::chrono::seconds(30));
  const Long number = NumberOf([&] { rows->MoveLast(); });
  EXPECT_TRUE(number == provider_error::kTimeout || number == provider_error::kFail) << number;
}

TEST_F(EngineLimits, AWriteUnderAnEndlessRecordsetIsMadeAndTheRecordsetFails) {
  hostlinux::AdoOptions options;
  options.statementTimeout = milliseconds(20000);
  options.limits.maxResult = 1 << 20;
  MakeDatabase(options);
  const auto rows = Query(String(kNumbers) + u"SELECT i FROM n");
  Run(u"INSERT INTO t VALUES (3, 'z')");
  EXPECT_EQ("3", Rows(u"SELECT COUNT(*) FROM t"));
  // The rows of the first batch: those that were read ahead for the write have the whole limit to themselves and
  // don't fit beside them.
  for (int i = 0; i < 200; ++i) rows->MoveNext();
  EXPECT_EQ(201, varnel::ToLong(rows->FieldValue(0)));
  EXPECT_EQ(provider_error::kFail, NumberOf([&] { rows->MoveLast(); }));
  EXPECT_EQ(u"The result is larger than a result may be.", ErrorOf([&] { rows->MoveLast(); }).Description);
}

// --- a write-ahead log without its files

TEST_F(EngineLimits, AFolderThatCanBeWrittenToIsNotTakenForUnchanging) {
  m_connection = nullptr;
  m_database = nullptr;
  const std::filesystem::path file = m_folder / "test.db";
  EXPECT_FALSE(hostlinux::MayBeTakenForUnchanging(file));
  const std::filesystem::path before = std::filesystem::current_path();
  std::filesystem::current_path(m_folder);
  EXPECT_FALSE(hostlinux::MayBeTakenForUnchanging("test.db"));
  std::filesystem::current_path(before);
}

// In a process of its own, as a user who may only read there.
TEST_F(EngineLimits, AReaderWhoMayNotWriteReadsALogsDatabase) {
  m_connection = nullptr;
  m_database = nullptr;
  ASSERT_FALSE(std::filesystem::exists(m_folder / "test.db-wal"));
  const auto readAs = [&](bool withLog) {
    std::filesystem::permissions(m_folder / "test.db", std::filesystem::perms(0444));
    if (withLog) std::ofstream(m_folder / "test.db-wal") << "x";
    std::filesystem::permissions(m_folder, std::filesystem::perms(0555));
    const pid_t child = fork();
    if (child == 0) {
      if (geteuid() == 0 && (setgid(65534) != 0 || setuid(65534) != 0)) _exit(9);
      int result = 2;
      try {
        hostlinux::AdoOptions options;
        options.engines = {std::make_shared<hostlinux::SqliteEngine>()};
        options.folder = m_folder;
        m_database = hostlinux::AdoDatabase::Make(std::move(options));
        m_connection = Connect(kReader);
        result = Rows(u"SELECT COUNT(*) FROM t") == "2" ? 0 : 1;
      } catch (...) {
        result = 3;
      }
      _exit(result);
    }
    int status = 0;
    waitpid(child, &status, 0);
    std::filesystem::permissions(m_folder, std::filesystem::perms(0755));
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
  };
  EXPECT_EQ(0, readAs(false));
  // What stands in a log isn't passed over.
  EXPECT_EQ(3, readAs(true));
}

}  // namespace
