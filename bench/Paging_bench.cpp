// What a page costs inside the database by its depth in a list of 1,000,000 rows: the reads of first, last,
// next, previous and a jump of three pages, made by the library on the real provider, at depth 1,000 and
// 900,000; beside them the same reads with the condition as the library writes it. Times are the best of
// many, in microseconds.
#include <sqlite3.h>
#include <stdlib.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <filesystem>

#include "host-fake/FakeHost.h"
#include "host-linux/database/AdoRecordset.h"
#include "host-linux/database/sqlite/SqliteEngine.h"
#include "varnel/automation/Convert.h"
#include "varnel/recordset/DRecordset.h"
#include "varnel/recordset/StateText.h"

namespace {

using varnel::Long;
using varnel::String;

constexpr int kPageSize = 10;
constexpr int kReads = 200;         // of each kind, in arms
constexpr int kReadsAsWritten = 3;  // they may take a second each
constexpr int kFarPage = 3;

struct List {
  const char* title;
  String query;
  String sort;
};

const List kLists[] = {
    {"name", u"SELECT id, name, city FROM item", u"name"},
    {"name DESC, id DESC", u"SELECT id, name, city FROM item", u"name DESC,id DESC"},
    {"name DESC, id ASC", u"SELECT id, name, city FROM item", u"name DESC"},
    {"label DESC, id ASC, own index", u"SELECT id, label, city FROM item", u"label DESC"},
    {"city, name, id", u"SELECT id, name, city FROM item", u"city,name"},
    {"city DESC, name ASC, id ASC", u"SELECT id, name, city FROM item", u"city DESC,name"},
    {"DISTINCT name, id", u"SELECT DISTINCT name, id FROM item", u"name"},
};

// Names of which some are NULL and most occur a few times; cities of ten thousand rows each. Where the
// directions of a sort aren't those of the index, the first read sorts the rows that share the first value:
// all without a name, or a city. Labels are names with an index in the directions of the sort.
constexpr char kTable[] =
    "PRAGMA journal_mode = OFF; PRAGMA synchronous = OFF;"
    "CREATE TABLE item (id INT NOT NULL PRIMARY KEY, name VARCHAR(60) COLLATE NOCASE, city VARCHAR(40),"
    "  label VARCHAR(60));"
    "WITH RECURSIVE n(i) AS (SELECT 0 UNION ALL SELECT i + 1 FROM n WHERE i < %d - 1)"
    "INSERT INTO item SELECT i, CASE WHEN i %% 17 = 0 THEN NULL ELSE printf('Item %%06d', i * 7919 %% "
    "300007) END,"
    "  CASE WHEN i %% 101 = 0 THEN NULL ELSE printf('City %%02d', i * 31 %% 97) END, NULL FROM n;"
    "UPDATE item SET label = name; CREATE INDEX item_label ON item (label DESC, id);"
    "CREATE INDEX item_name ON item (name, id); CREATE INDEX item_city ON item (city, name, id); ANALYZE;";

class BenchHost : public hostfake::FakeHost {
 public:
  BenchHost(std::shared_ptr<hostlinux::AdoDatabase> database, const String& connection)
      : m_database(std::move(database)) {
    Application().Set(u"List_ConnectionString", connection);
    Request().Variables().Set(u"URL", u"/list.asp");
  }
  std::shared_ptr<varnel::host::IConnection> CreateConnection() override {
    return std::make_shared<hostlinux::AdoConnection>(m_database);
  }
  std::shared_ptr<varnel::host::IRecordset> CreateRecordset() override {
    return std::make_shared<hostlinux::AdoRecordset>(m_database);
  }

 private:
  std::shared_ptr<hostlinux::AdoDatabase> m_database;
};

class Paging {
 public:
  explicit Paging(int rows) : m_rows(rows) {
    std::string pattern = (std::filesystem::temp_directory_path() / "varnel-bench-XXXXXX").string();
    m_folder = mkdtemp(pattern.data());
    MakeTable();
    hostlinux::AdoOptions options;
    options.engines = {std::make_shared<hostlinux::SqliteEngine>()};
    options.folder = m_folder;
    options.onStatement = [this](const hostlinux::SqlTraceEntry& entry) {
      m_time = entry.time.count();
      m_sent = entry.sent;
    };
    m_database = hostlinux::AdoDatabase::Make(std::move(options));
  }
  Paging(const Paging&) = delete;
  Paging& operator=(const Paging&) = delete;
  ~Paging() {
    m_database = nullptr;
    std::filesystem::remove_all(m_folder);
  }

  void Print() {
    std::printf("%-30s %-10s %28s   %28s\n", "", "", "in arms", "as written");
    std::printf("%-30s %-10s %8s %8s %10s   %8s %8s %10s\n", "sort", "read", "1,000", "deep", "ratio",
                "1,000", "deep", "ratio");
    for (const List& list : kLists) PrintList(list);
  }

 private:
  enum class Read { First, Last, Next, Previous, JumpAhead, JumpBack };

  void MakeTable() {
    sqlite3* database = nullptr;
    std::vector<char> sql(sizeof kTable + 32);
    std::snprintf(sql.data(), sql.size(), kTable, m_rows);
    if (sqlite3_open((m_folder / "list.db").c_str(), &database) != SQLITE_OK ||
        sqlite3_exec(database, sql.data(), nullptr, nullptr, nullptr) != SQLITE_OK) {
      std::fprintf(stderr, "%s\n", sqlite3_errmsg(database));
      std::exit(1);
    }
    sqlite3_close(database);
  }

  void PrintList(const List& list) {
    const std::pair<Read, const char*> reads[] = {{Read::First, "first"},       {Read::Last, "last"},
                                                  {Read::Next, "next"},         {Read::Previous, "previous"},
                                                  {Read::JumpAhead, "jump +3"}, {Read::JumpBack, "jump -3"}};
    const char* title = list.title;
    for (const auto& [read, name] : reads) {
      std::printf("%-30s %-10s", title, name);
      PrintRead(list, read, String(), kReads);
      PrintRead(list, read, u";PageReads=AsWritten", kReadsAsWritten);
      std::printf("\n");
      std::fflush(stdout);
      title = "";
    }
  }

  void PrintRead(const List& list, Read read, const String& how, int times) {
    BenchHost host(m_database, u"Provider=SQLite;Data Source=list.db;Mode=Read" + how);
    if (read == Read::First || read == Read::Last) {
      std::printf(" %8.0f %8s %10s  ", Best(host, list, StateOf(list, read, 0), times), "", "");
      return;
    }
    const double near = Best(host, list, StateOf(list, read, 1000), times);
    const double far = Best(host, list, StateOf(list, read, m_rows / 10 * 9), times);
    std::printf(" %8.0f %8.0f %10.2f  ", near, far, far / near);
  }

  // The state text of a link to the page `read` from the page that begins at `depth`.
  String StateOf(const List& list, Read read, int depth) {
    varnel::PersistedState state;
    const Long page = depth / kPageSize + 1;
    const bool back = read == Read::Previous || read == Read::JumpBack;
    state.NavType = read == Read::First  ? varnel::nav_type::kFirst
                    : read == Read::Last ? varnel::nav_type::kLast
                    : back               ? varnel::nav_type::kPrevious
                                         : varnel::nav_type::kNext;
    state.TotalRecords = m_rows;
    state.FirstRecord = depth + 1;
    state.SortFields = list.sort;
    state.DisplayPage = page;
    if (state.HasKeys()) state.KeyValues = KeysAt(state, depth);
    String text = varnel::SerializeState(state);
    m_jump = 0;
    if (read == Read::JumpAhead) m_jump = page + kFarPage;
    if (read == Read::JumpBack) m_jump = page - kFarPage;
    return text;
  }

  // The key values of the row at `depth`, in the order of the sort and the key.
  std::vector<varnel::Variant> KeysAt(const varnel::PersistedState& state, int depth) {
    varnel::PersistedState forward = state;
    forward.NavType = varnel::nav_type::kFirst;
    const auto fields = varnel::ParseSortFields(forward, u"id");
    String columns;
    String order;
    for (const varnel::SortField& field : fields) {
      columns += (columns.empty() ? u"" : u",") + field.Name;
      order += (order.empty() ? u"" : u",") + field.Name + (field.Ascending ? u" ASC" : u" DESC");
    }
    const auto connection = std::make_shared<hostlinux::AdoConnection>(m_database);
    connection->Open(u"Provider=SQLite;Data Source=list.db;Mode=Read", u"", u"", -1);
    const auto row = std::make_shared<hostlinux::AdoRecordset>(m_database);
    row->Open(u"SELECT " + columns + u" FROM item ORDER BY " + order + u" LIMIT 1 OFFSET " +
                  varnel::DecimalText(depth),
              connection, 3, 1, -1);
    std::vector<varnel::Variant> keys;
    for (std::size_t i = 0; i < fields.size(); ++i) {
      const varnel::Variant value = row->FieldValue(static_cast<Long>(i));
      keys.push_back(value.IsNull() ? varnel::Variant(varnel::Null())
                                    : varnel::Variant(varnel::ToText(value)));
    }
    return keys;
  }

  double Best(BenchHost& host, const List& list, const String& state, int times) {
    double best = 1e18;
    for (int i = 0; i < times; ++i) {
      const auto page = host.Create<varnel::Page>(u"Varnel.Page");
      page->OpenDatabaseConnection(u"List");
      const auto recordset = varnel::CastObject<varnel::DRecordset>(page->DRecordset());
      recordset->SetPageSize(kPageSize);
      if (m_jump != 0) {
        varnel::Integer width = 10;
        bool jumping = true;
        recordset->SetPageJump(jumping, width);
        recordset->SetPageState(state, m_jump);
      } else {
        recordset->SetState(state);
      }
      recordset->OpenRS(list.query, u"id");
      best = std::min(best, static_cast<double>(m_time));
      if (recordset->IsEOF())
        std::exit((std::fprintf(stderr, "No rows: %s\n", varnel::ToUtf8(m_sent).c_str()), 1));
    }
    return best;
  }

  int m_rows;
  std::filesystem::path m_folder;
  std::shared_ptr<hostlinux::AdoDatabase> m_database;
  std::chrono::microseconds::rep m_time = 0;
  String m_sent;
  Long m_jump = 0;
};

}  // namespace

// The number of rows may be given, for a look in passing.
int main(int count, char** arguments) {
  Paging(count > 1 ? std::atoi(arguments[1]) : 1000000).Print();
  return 0;
}
