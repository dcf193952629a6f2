#include "tests/application/TestSite.h"

#include <sqlite3.h>
#include <stdlib.h>

#include <chrono>
#include <fstream>
#include <sstream>
#include <stdexcept>
#include <thread>

namespace hosttest {

namespace {

constexpr char kSiteToml[] = R"([site]
root = "/shop"
mode = "development"

[server]
listen = "127.0.0.1:0"
threads = 1

[application]
TableBorderWidth = "0"
TableCellSpacing = "1"
TableCellPadding = "2"
Demo_ConnectionString = "Provider=SQLite;Data Source=demo.db"
Broken_ConnectionString = "Provider=SQLite;Data Source=missing/none.db;Mode=Read"

[session]
REMOTE_USER = "demo"

[users.demo]
language = 1033

[log]
file = "site.log"
)";

constexpr char kCustomerTable[] =
    "CREATE TABLE customer (id INT NOT NULL PRIMARY KEY, name VARCHAR(40) COLLATE NOCASE, active INT NOT "
    "NULL, born DATETIME);";

std::string CustomerRow(int number, bool withNulls) {
  const std::string id = std::to_string(number);
  const std::string name =
      withNulls && number % 3 == 0 ? "NULL" : "'n" + std::string(number < 10, '0') + id + "'";
  return "INSERT INTO customer VALUES (" + id + ", " + name + ", 1, '2001-02-" +
         std::string(number % 28 < 9, '0') + std::to_string(number % 28 + 1) + " 00:00:00');";
}

}  // namespace

TestSite::TestSite() {
  std::string pattern = (std::filesystem::temp_directory_path() / "varnel-site-XXXXXX").string();
  if (mkdtemp(pattern.data()) == nullptr) throw std::runtime_error("no folder for the site");
  m_folder = pattern;
  Write("site.toml", kSiteToml);
  Write("messages/1033.toml", "SLBGE0015 = \"Records\"\n");
  std::filesystem::create_directories(m_folder / "pages");
}

TestSite::~TestSite() { std::filesystem::remove_all(m_folder); }

void TestSite::Write(const std::string& name, const std::string& content) const {
  const auto path = m_folder / name;
  std::filesystem::create_directories(path.parent_path());
  const auto fresh = path.string() + ".new";
  std::ofstream(fresh, std::ios::binary) << content;
  std::filesystem::rename(fresh, path);
}

std::string TestSite::Read(const std::string& name) const {
  std::ifstream file(m_folder / name, std::ios::binary);
  std::ostringstream content;
  content << file.rdbuf();
  return content.str();
}

std::string TestSite::LogWith(const std::string& text) const {
  const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(20);
  std::string log = Read("site.log");
  while (log.find(text) == std::string::npos && std::chrono::steady_clock::now() < end) {
    std::this_thread::sleep_for(std::chrono::milliseconds(10));
    log = Read("site.log");
  }
  return log;
}

void TestSite::RunSql(const std::string& sql, const std::string& name) const {
  sqlite3* database = nullptr;
  int status = sqlite3_open((m_folder / name).c_str(), &database);
  if (status == SQLITE_OK) status = sqlite3_exec(database, sql.c_str(), nullptr, nullptr, nullptr);
  const std::string problem = sqlite3_errmsg(database);
  sqlite3_close(database);
  if (status != SQLITE_OK) throw std::runtime_error(problem + ": " + sql);
}

void TestSite::MakeCustomers(int count, bool withNulls) const {
  std::string sql = kCustomerTable;
  sql += "BEGIN;";
  for (int number = 1; number <= count; ++number) sql += CustomerRow(number, withNulls);
  RunSql(sql + "COMMIT;");
}

}  // namespace hosttest
