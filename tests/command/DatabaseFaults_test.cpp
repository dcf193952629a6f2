// The server when a database fails it, and when a visitor's sort tries what it shouldn't: each fault is an
// error of its request alone.

#include <gmock/gmock.h>
#include <sqlite3.h>
#include <sys/mount.h>

#include <atomic>
#include <chrono>
#include <csignal>
#include <fstream>
#include <mutex>
#include <set>
#include <thread>

#include "tests/application/ServedSite.h"
#include "tests/application/TestSite.h"
#include "tests/command/Program.h"
#include "tests/web/TestClient.h"
#include "varnel/recordset/StateText.h"

namespace {

using hosttest::Answer;
using hosttest::ServingProgram;
using hosttest::TestClient;
using testing::HasSubstr;

constexpr char kSiteToml[] = R"([site]
root = "/shop"
mode = "development"
[server]
threads = 1
statement_timeout = "400ms"
[application]
TableBorderWidth = "0"
Demo_ConnectionString = "Provider=SQLite;Data Source=demo.db;Mode=Read"
Guarded_ConnectionString = "Provider=SQLite;Data Source=demo.db;Mode=Read;Tables=customer"
[lists]
links = "any"
[log]
file = "site.log"
)";

std::string ListPage(const std::string& connection) {
  return "<% var page = Server.CreateObject('Varnel.Page'); page.OpenDatabaseConnection('" + connection +
         "'); var rs = page.DRecordset(); rs.SetPageSize(5);\n"
         "rs.OpenRS('SELECT id, name FROM customer', 'id');"
         " for (; !rs.EOF; rs.MoveNext()) { %><%= rs('name') %> <% } %>";
}

// Runs the SQL text of the query string, with the rows that it changed as the answer.
constexpr char kWritePage[] =
    "<% var c = Server.CreateObject('ADODB.Connection'); c.Open(Request.QueryString('file') == 'disk'"
    " ? 'Provider=SQLite;Data Source=disk/demo.db' : 'Provider=SQLite;Data Source=demo.db');\n"
    "var n = new ByRef(0); var all = "
    "String(Request.QueryString('sql')).split('|');\n"
    "for (var i = 0; i < all.length; i++) c.Execute(all[i], n); %><%= n.value %>";

std::string Escaped(const std::string& text) {
  static constexpr char kDigits[] = "0123456789ABCDEF";
  std::string escaped;
  for (const char c : text) {
    const auto byte = static_cast<unsigned char>(c);
    escaped += {'%', kDigits[byte >> 4], kDigits[byte & 15]};
  }
  return escaped;
}

class DatabaseFaultsTest : public testing::Test {
 protected:
  DatabaseFaultsTest() {
    m_site.Write("site.toml", kSiteToml);
    m_site.WritePage("index.asp", "hello");
    m_site.WritePage("list.asp", ListPage("Demo"));
    m_site.WritePage("guarded.asp", ListPage("Guarded"));
    m_site.WritePage("write.asp", kWritePage);
  }

  void Start() {
    m_program = std::make_unique<ServingProgram>(m_site.Folder());
    ASSERT_NE(m_program->Port(), 0) << m_program->Words();
  }

  Answer Get(const std::string& target) const {
    return TestClient(m_program->Port()).Get("/shop/" + target, "Connection: close\r\n");
  }
  Answer Write(const std::string& sql, const std::string& file = "demo") const {
    return Get("write.asp?file=" + file + "&sql=" + Escaped(sql));
  }

  // The request fails with that text and one entry in the log, and the next one is served.
  void ExpectFailure(const Answer& answer, const std::string& text) const {
    EXPECT_EQ(answer.status, 500);
    EXPECT_THAT(hosttest::Unescaped(answer.body), HasSubstr(text));
    EXPECT_LT(answer.body.size(), 2000U);
    const std::string mark = "Request ";
    const std::string id = answer.body.substr(answer.body.find(mark) + mark.size(), 16);
    EXPECT_EQ(Get("index.asp").body, "hello");
    const std::string entry = " error [" + id + "] ";
    const std::string log = m_site.LogWith(entry);
    EXPECT_NE(log.find(entry), std::string::npos) << log;
    EXPECT_EQ(log.find(entry), log.rfind(entry)) << log;
  }
  void ExpectFailure(const std::string& target, const std::string& text) const {
    ExpectFailure(Get(target), text);
  }

  void ServesCustomers(const std::string& names) const { EXPECT_EQ(Get("list.asp").body, names); }

  std::filesystem::path Database() const { return m_site.Folder() / "demo.db"; }

  std::string FirstValue(const std::string& file, const char* sql) const {
    sqlite3* database = nullptr;
    std::string value;
    sqlite3_open((m_site.Folder() / file).c_str(), &database);
    const auto keep = [](void* text, int, char** values, char**) {
      *static_cast<std::string*>(text) = values[0] == nullptr ? "" : values[0];
      return 1;
    };
    sqlite3_exec(database, sql, keep, &value, nullptr);
    sqlite3_close(database);
    return value;
  }

  // A list of the page as a visitor's link asks for it, sorted by `sort`.
  static std::string Sorted(const char16_t* sort, bool next = false) {
    varnel::PersistedState state;
    state.NavType = next ? varnel::nav_type::kNext : varnel::nav_type::kFirst;
    state.SortFields = sort;
    if (next) state.KeyValues = {varnel::Variant(u"a"), varnel::Variant(u"0")};
    return "R_1=" + Escaped(varnel::ToUtf8(varnel::SerializeState(state)));
  }

  hosttest::TestSite m_site;
  std::unique_ptr<ServingProgram> m_program;
};

// --- files

TEST_F(DatabaseFaultsTest, MissingFileIsNamedAndFoundWhenItComes) {
  Start();
  ExpectFailure("list.asp", "demo.db' does not exist.");
  m_site.MakeCustomers(2);
  ServesCustomers("n01 n02 ");
}

TEST_F(DatabaseFaultsTest, LockedDatabaseIsWaitedForNoLongerThanAStatement) {
  m_site.MakeCustomers(2);
  sqlite3* other = nullptr;
  ASSERT_EQ(sqlite3_open(Database().c_str(), &other), SQLITE_OK);
  ASSERT_EQ(sqlite3_exec(other, "BEGIN EXCLUSIVE", nullptr, nullptr, nullptr), SQLITE_OK);
  Start();
  ExpectFailure("list.asp", "database is locked");
  sqlite3_exec(other, "COMMIT", nullptr, nullptr, nullptr);
  ServesCustomers("n01 n02 ");
  ASSERT_EQ(sqlite3_exec(other, "BEGIN EXCLUSIVE", nullptr, nullptr, nullptr), SQLITE_OK);
  ExpectFailure("list.asp", "database is locked");
  sqlite3_close(other);
  ServesCustomers("n01 n02 ");
}

TEST_F(DatabaseFaultsTest, FileThatIsNoDatabaseIsRefused) {
  std::ofstream(Database()) << std::string(5000, 'x');
  Start();
  ExpectFailure("list.asp", "file is not a database");
  std::filesystem::remove(Database());
  m_site.MakeCustomers(1);
  ServesCustomers("n01 ");
}

TEST_F(DatabaseFaultsTest, ReaderDoesNotWrite) {
  m_site.MakeCustomers(1);
  m_site.WritePage("clear.asp",
                   "<% var c = Server.CreateObject('ADODB.Connection');"
                   " c.Open(Application('Demo_ConnectionString')); c.Execute('DELETE FROM customer'); %>");
  Start();
  ExpectFailure("clear.asp", "attempt to write a readonly database");
  ServesCustomers("n01 ");
}

TEST_F(DatabaseFaultsTest, ReplacedFileIsReadAtTheNextRequest) {
  m_site.MakeCustomers(1);
  Start();
  ServesCustomers("n01 ");
  m_site.RunSql(
      "CREATE TABLE customer (id INT NOT NULL PRIMARY KEY, name VARCHAR(9));"
      "INSERT INTO customer VALUES (1, 'new'), (2, 'file')",
      "next.db");
  std::filesystem::rename(m_site.Folder() / "next.db", Database());
  ServesCustomers("new file ");
}

TEST_F(DatabaseFaultsTest, CutFileFailsUntilItIsWhole) {
  m_site.MakeCustomers(2000);
  Start();
  EXPECT_EQ(Get("list.asp").status, 200);
  std::filesystem::copy_file(Database(), m_site.Folder() / "whole.db");
  std::filesystem::resize_file(Database(), 8192);
  ExpectFailure("list.asp?" + Sorted(u"name"), "malformed");
  std::filesystem::resize_file(Database(), 0);
  ExpectFailure("list.asp", "no such table: customer");
  std::filesystem::rename(m_site.Folder() / "whole.db", Database());
  ServesCustomers("n01 n02 n03 n04 n05 ");
}

TEST_F(DatabaseFaultsTest, DeletedFileFailsUntilItIsBack) {
  m_site.MakeCustomers(1);
  Start();
  ServesCustomers("n01 ");
  std::filesystem::remove(Database());
  ExpectFailure("list.asp", "demo.db' does not exist.");
  m_site.MakeCustomers(2);
  ServesCustomers("n01 n02 ");
}

TEST_F(DatabaseFaultsTest, FullDatabaseKeepsWhatItHas) {
  m_site.MakeCustomers(1);
  Start();
  std::string sql = "PRAGMA max_page_count = 12";
  for (int i = 0; i < 30; ++i) sql += "|CREATE TABLE t" + std::to_string(i) + " (a INT)";
  ExpectFailure(Write(sql), "database or disk is full");
  EXPECT_EQ(Write("INSERT INTO customer VALUES (2, 'n02', 1, NULL)").body, "1");
  ServesCustomers("n01 n02 ");
}

// Unmounts in the end.
class SmallDisk {
 public:
  explicit SmallDisk(std::filesystem::path folder) : m_folder(std::move(folder)) {
    std::filesystem::create_directories(m_folder);
    m_mounted = ::mount("tmpfs", m_folder.c_str(), "tmpfs", 0, "size=512k") == 0;
  }
  SmallDisk(const SmallDisk&) = delete;
  SmallDisk& operator=(const SmallDisk&) = delete;
  ~SmallDisk() {
    if (m_mounted) ::umount2(m_folder.c_str(), MNT_DETACH);
  }
  bool IsMounted() const { return m_mounted; }

 private:
  std::filesystem::path m_folder;
  bool m_mounted = false;
};

TEST_F(DatabaseFaultsTest, FullDiskKeepsWhatItHas) {
  const SmallDisk disk(m_site.Folder() / "disk");
  if (!disk.IsMounted()) GTEST_SKIP() << "mounting a small disk needs rights that this user lacks";
  Start();
  EXPECT_EQ(Write("CREATE TABLE t (a INT, b TEXT)|INSERT INTO t VALUES (1, 'first')", "disk").body, "1");
  const std::string block = "|INSERT INTO t VALUES (2, hex(zeroblob(20000)))";
  std::string sql = "SELECT 1";
  for (int i = 0; i < 20; ++i) sql += block;
  ExpectFailure(Write(sql, "disk"), "database or disk is full");
  ExpectFailure(Write(sql, "disk"), "database or disk is full");
  EXPECT_NE(Write("SELECT 1", "disk").status, 500);
  m_program = nullptr;
  std::filesystem::copy(m_site.Folder() / "disk", m_site.Folder() / "copy");
  EXPECT_EQ(FirstValue("copy/demo.db", "PRAGMA integrity_check"), "ok");
  EXPECT_EQ(FirstValue("copy/demo.db", "SELECT b FROM t WHERE a = 1"), "first");
}

// --- sorts

class HostileSortTest : public DatabaseFaultsTest {
 protected:
  HostileSortTest() {
    m_site.MakeCustomers(3);
    m_site.RunSql("CREATE TABLE secret (word VARCHAR(20)); INSERT INTO secret VALUES ('mellon')");
  }
  ~HostileSortTest() override { DataIsUntouched(); }

  void DataIsUntouched() const {
    ServesCustomers("n01 n02 n03 ");
    EXPECT_EQ(Write("UPDATE secret SET word = word WHERE word = 'mellon'").body, "1");
  }
};

TEST_F(HostileSortTest, SecondStatementIsRefused) {
  Start();
  ExpectFailure("list.asp?" + Sorted(u"1; DROP TABLE customer"),
                "Only one statement can be run in one call.");
  ExpectFailure("list.asp?" + Sorted(u"name; DELETE FROM secret --"),
                "Only one statement can be run in one call.");
}

TEST_F(HostileSortTest, FunctionThatBurnsTimeIsStopped) {
  Start();
  const auto* endless =
      u"(WITH RECURSIVE n(i) AS(SELECT 1 UNION ALL SELECT i + 1 FROM n) SELECT MAX(i) FROM n)";
  ExpectFailure("list.asp?" + Sorted(endless), "Query timeout expired");
  ExpectFailure("list.asp?" + Sorted(endless, true), "Query timeout expired");
}

TEST_F(HostileSortTest, SubselectReadsNothingBeyondTheListedTables) {
  Start();
  EXPECT_EQ(Get("guarded.asp").body, "n01 n02 n03 ");
  EXPECT_EQ(Get("guarded.asp?" + Sorted(u"name DESC")).body, "n03 n02 n01 ");
  for (const bool next : {false, true}) {
    ExpectFailure("guarded.asp?" + Sorted(u"(SELECT word FROM secret)", next),
                  "access to secret.word is prohibited");
  }
  ExpectFailure("guarded.asp?" + Sorted(u"(SELECT word FROM secret) AS name", true),
                "access to secret.word is prohibited");
  ExpectFailure("guarded.asp?" + Sorted(u"(SELECT sql FROM sqlite_master)"), "prohibited");
  ExpectFailure("guarded.asp?" + Sorted(u"load_extension('x')"), "not authorized to use function");
  EXPECT_EQ(Get("guarded.asp").body, "n01 n02 n03 ");
}

// --- the end of the process

class KilledServerTest : public DatabaseFaultsTest {
 protected:
  // Writes rows of its own until the server no longer answers, and notes those that it has said are written.
  void WriteUntilTheEnd(int first) {
    try {
      for (int id = first;; ++id) {
        const std::string sql =
            "INSERT INTO t VALUES (" + std::to_string(id) + ", 'row " + std::to_string(id) + "')";
        if (Write(sql).body != "1") return;
        const std::lock_guard lock(m_mutex);
        m_written.insert(id);
      }
    } catch (const std::exception&) {
      return;  // no connection
    }
  }

  std::size_t Written() {
    const std::lock_guard lock(m_mutex);
    return m_written.size();
  }

  std::mutex m_mutex;
  std::set<int> m_written;
};

TEST_F(KilledServerTest, KilledWhileItWritesItHasAllThatItSaidItHad) {
  m_site.RunSql("CREATE TABLE t (id INT NOT NULL PRIMARY KEY, word VARCHAR(40))");
  m_site.WritePage("ids.asp",
                   "<% var c = Server.CreateObject('ADODB.Connection');"
                   " c.Open('Provider=SQLite;Data Source=demo.db');"
                   " var rs = c.Execute('PRAGMA integrity_check'); %><%= rs(0) %>"
                   "<% rs = c.Execute('SELECT id FROM t ORDER BY id');"
                   " for (; !rs.EOF; rs.MoveNext()) { %> <%= rs(0) %><% } %>");
  for (int round = 0; round < 3; ++round) {
    Start();
    std::vector<std::thread> writers;
    writers.reserve(3);
    for (int i = 0; i < 3; ++i) {
      writers.emplace_back([this, first = (round * 10 + i) * 100'000] { WriteUntilTheEnd(first); });
    }
    const std::size_t enough = Written() + 60;
    while (Written() < enough) std::this_thread::yield();
    const pid_t worker = m_program->Worker();
    m_program->Signal(SIGKILL);  // the parent first: it would start another worker
    ::kill(worker, SIGKILL);
    for (std::thread& writer : writers) writer.join();
    m_program->Wait();
    Start();
    std::string expected = Get("ids.asp").body;
    ASSERT_EQ(expected.substr(0, 3), "ok ");
    std::istringstream ids(expected.substr(3));
    std::set<int> found;
    for (int id = 0; ids >> id;) found.insert(id);
    for (const int id : m_written) EXPECT_TRUE(found.contains(id)) << id;
    EXPECT_LE(found.size(), m_written.size() + 3) << "a row that nobody asked for";
    m_written = found;
    m_program = nullptr;
  }
}

}  // namespace
