// What a page costs in the database by its depth in a list of 2,000,000 rows: the reads of first, last, next, previous
// and a jump of three pages, as the library asks for them, at depth 1,000 and 1,000,000, and where the anchor row is a
// NULL, the last NULL, or the first row behind the NULLs. Beside them the same reads by the library's text, and rows by
// OFFSET. With a connection string in VARNEL_BENCH_SERVER, on that server instead (Provider=PostgreSQL;...), whose table item
// is made anew. Times are the best of many, in microseconds, of ten rows read through ADO.
#include <sqlite3.h>
#include <stdlib.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <filesystem>

#include "host-linux/database/AdoRecordset.h"
#include "host-linux/database/postgresql/PostgresqlEngine.h"
#include "host-linux/database/postgresql/PostgresqlProvider.h"
#include "host-linux/database/postgresql/PostgresqlSession.h"
#include "host-linux/database/sqlite/SqliteEngine.h"
#include "varnel/automation/Convert.h"
#include "varnel/recordset/PageQuery.h"
#include "varnel/recordset/UnionBranches.h"

namespace {

using Clock = std::chrono::steady_clock;
using varnel::Long;
using varnel::String;
using Keys = std::vector<varnel::Variant>;

constexpr int kPageSize = 10;
constexpr int kReads = 300;  // of each kind
constexpr int kReadsOfCategory = 30;
constexpr int kReadsOfText = 1;  // they may take seconds
constexpr int kPagesOfJump = 3;
constexpr int kNear = 1000;
constexpr int kNearOfCategory = 100;  // the smallest has a thousand rows
constexpr double kMostByDepth = 1.5;
constexpr double kMostByKind = 4;

struct List {
  const char* title;
  String query;
  String sort;
  bool hasNulls = false;  // sorted by the notes, of which most are NULL
  String key = u"id";
  bool isOfCategory = false;  // no plan is quick for all categories: not judged

  String From() const { return query.substr(query.find(u" FROM ")); }
};

constexpr const char16_t* kCategory =
    u"SELECT DISTINCT I.id, I.name, I.city FROM item I INNER JOIN member M ON M.id = I.id WHERE M.category "
    u"= ";

const List kLists[] = {
    {"name", u"SELECT id, name, city FROM item", u"name"},
    {"name DESC, id DESC", u"SELECT id, name, city FROM item", u"name DESC,id DESC"},
    {"name DESC, id ASC", u"SELECT id, name, city FROM item", u"name DESC"},
    {"label DESC, id ASC, own index", u"SELECT id, label, city FROM item", u"label DESC"},
    {"city, name, id", u"SELECT id, name, city FROM item", u"city,name"},
    {"city DESC, name, id", u"SELECT id, name, city FROM item", u"city DESC,name"},
    {"DISTINCT name, id", u"SELECT DISTINCT name, id FROM item", u"name"},
    {"note", u"SELECT id, note, city FROM item", u"note", true},
    {"note DESC, id DESC", u"SELECT id, note, city FROM item", u"note DESC,id DESC", true},
    {"note DESC, id ASC", u"SELECT id, note, city FROM item", u"note DESC", true},
    {"200,000 of a category", kCategory + String(u"1"), u"I.name", false, u"I.id", true},
    {"1,000 of a category", kCategory + String(u"2"), u"I.name", false, u"I.id", true},
};

// A tenth of the names is NULL, most others occur a few times; cities have ten thousand rows each; three of five notes
// are NULL. Labels are names with an index in the directions of the sort.
constexpr char kTable[] =
    "PRAGMA journal_mode = OFF; PRAGMA synchronous = OFF;"
    "CREATE TABLE item (id INT NOT NULL PRIMARY KEY, name VARCHAR(60) COLLATE NOCASE, city VARCHAR(40) NOT "
    "NULL,"
    "  label VARCHAR(60), note VARCHAR(60));"
    "WITH RECURSIVE n(i) AS (SELECT 0 UNION ALL SELECT i + 1 FROM n WHERE i < %d - 1)"
    "INSERT INTO item SELECT i, CASE WHEN i %% 10 = 0 THEN NULL ELSE printf('Item %%06d', i * 7919 %% "
    "300007) END,"
    "  printf('City %%03d', i * 31 %% 197), NULL,"
    "  CASE WHEN i %% 5 < 3 THEN NULL ELSE printf('Note %%06d', i * 7919 %% 300007) END FROM n;"
    "UPDATE item SET label = name; CREATE INDEX item_label ON item (label DESC, id);"
    "CREATE INDEX item_name ON item (name, id); CREATE INDEX item_city ON item (city, name, id);"
    "CREATE INDEX item_note ON item (note, id);"
    "CREATE TABLE member (category INT NOT NULL, id INT NOT NULL, PRIMARY KEY (category, id));"
    "CREATE INDEX member_id ON member (id, category);"
    "INSERT INTO member SELECT CASE WHEN id / 10 %% 10 = 1 THEN 1 WHEN id / 10 %% 2000 = 2 THEN 2 "
    "ELSE 3 + id %% 100 END, id FROM item;"
    "ANALYZE;";

// The same on PostgreSQL. NULLs come first there where an index says so, and case is a matter of other types.
constexpr char kServerTable[] =
    "DROP TABLE IF EXISTS item, member;"
    "CREATE TABLE item (id INT NOT NULL PRIMARY KEY, name VARCHAR(60), city VARCHAR(40) NOT NULL, label "
    "VARCHAR(60), note VARCHAR(60));"
    "INSERT INTO item SELECT i, CASE WHEN i %% 10 = 0 THEN NULL ELSE 'Item ' || to_char(i * 7919::bigint %% "
    "300007, 'FM000000') END,"
    "  'City ' || to_char(i * 31 %% 197, 'FM000'), CASE WHEN i %% 10 = 0 THEN NULL ELSE 'Item ' || to_char(i "
    "* 7919::bigint %% 300007, 'FM000000') END,"
    "  CASE WHEN i %% 5 < 3 THEN NULL ELSE 'Note ' || to_char(i * 7919::bigint %% 300007, 'FM000000') END"
    "  FROM generate_series(0, %d - 1) i;"
    "CREATE INDEX item_label ON item (label DESC NULLS LAST, id);"
    "CREATE INDEX item_name ON item (name NULLS FIRST, id); CREATE INDEX item_city ON item (city, name NULLS "
    "FIRST, id);"
    "CREATE INDEX item_note ON item (note NULLS FIRST, id);"
    "CREATE TABLE member (category INT NOT NULL, id INT NOT NULL, PRIMARY KEY (category, id));"
    "CREATE INDEX member_id ON member (id, category);"
    "INSERT INTO member SELECT CASE WHEN id / 10 %% 10 = 1 THEN 1 WHEN id / 10 %% 2000 = 2 THEN 2 ELSE 3 + "
    "id %% 100 END, id FROM item;";

enum class Read { First, Last, Next, Previous, JumpAhead, JumpBack };

const std::pair<Read, const char*> kKinds[] = {{Read::First, "first"},       {Read::Last, "last"},
                                               {Read::Next, "next"},         {Read::Previous, "previous"},
                                               {Read::JumpAhead, "jump +3"}, {Read::JumpBack, "jump -3"}};

bool HasAnchor(Read read) { return read != Read::First && read != Read::Last; }

class Paging {
 public:
  Paging(int rows, bool withTexts) : m_rows(rows), m_withTexts(withTexts) {
    std::string pattern = (std::filesystem::temp_directory_path() / "varnel-bench-XXXXXX").string();
    m_folder = mkdtemp(pattern.data());
    const char* server = std::getenv("VARNEL_BENCH_SERVER");
    server == nullptr ? MakeTable() : MakeServerTable(server);
    hostlinux::AdoOptions options;
    options.engines = {std::make_shared<hostlinux::SqliteEngine>(),
                       std::make_shared<hostlinux::PostgresqlEngine>()};
    options.folder = m_folder;
    m_database = hostlinux::AdoDatabase::Make(std::move(options));
    m_connection = std::make_shared<hostlinux::AdoConnection>(m_database);
    m_connection->SetCommandTimeout(0);
    m_connection->Open(server == nullptr ? String(u"Provider=SQLite;Data Source=list.db;Mode=Read")
                                         : varnel::FromUtf8(server) + u";Mode=Read;CountsFor=60s",
                       u"", u"", -1);
  }
  Paging(const Paging&) = delete;
  Paging& operator=(const Paging&) = delete;
  ~Paging() {
    m_connection = nullptr;
    m_database = nullptr;
    std::filesystem::remove_all(m_folder);
  }

  // False where a read takes longer than it may.
  bool Print() {
    std::printf("%-30s %-9s %8s %8s %6s | %10s %10s | %10s\n", "", "", "", "", "deep /", "by text,", "",
                "OFFSET,");
    std::printf("%-30s %-9s %8s %8s %6s | %10s %10s | %10s\n", "sort", "read", "1,000", "deep", "1,000",
                "1,000", "deep", "deep");
    for (const List& list : kLists) PrintList(list);
    PrintCounted();
    std::printf(
        "deep / 1,000 at most %.2f (%.1f), the most expensive kind %.2f times the plain next page (%.0f), a "
        "jump "
        "%.2f\n",
        m_worstByDepth, kMostByDepth, m_worst / m_plain, kMostByKind, m_worstJump / m_plain);
    return m_worstByDepth <= kMostByDepth && m_worst / m_plain <= kMostByKind;
  }

 private:
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

  void MakeServerTable(const char* server) {
    std::vector<char> sql(sizeof kServerTable + 32);
    std::snprintf(sql.data(), sql.size(), kServerTable, m_rows);
    const auto session = hostlinux::OpenPostgresql(hostlinux::ConnectionString(varnel::FromUtf8(server)), {});
    session->RunScript(sql.data());
    session->RunScript("VACUUM ANALYZE");
  }

  void PrintList(const List& list) {
    const char* title = list.title;
    const int rows = list.isOfCategory ? Count(u"SELECT COUNT(*)" + list.From()) : m_rows;
    for (const auto& [read, name] : kKinds) {
      PrintRead(title, list, read, name, rows / 2);
      title = "";
    }
    if (!list.hasNulls) return;
    // The last row on this side of the border of NULLs, and the first behind it.
    const int nulls = Count(u"SELECT COUNT(*) FROM item WHERE note IS NULL");
    const int border = list.sort.find(u"DESC") == String::npos ? nulls : m_rows - nulls;
    PrintRead("", list, Read::Next, "next over the border", border - 1, 1);
    PrintRead("", list, Read::Next, "next across it", border - kPageSize / 2, 1);
    PrintRead("", list, Read::Previous, "previous over it", border, 1);
    PrintRead("", list, Read::Previous, "previous across it", border + kPageSize / 2, 1);
  }

  void PrintRead(const char* title, const List& list, Read read, const char* name, int depth,
                 int anchors = kPageSize) {
    const int atLeast = list.isOfCategory ? kNearOfCategory : kNear;
    const int near = HasAnchor(read) ? atLeast : depth;
    const double atNear = Around(list, read, near, kPageSize);
    Judge(list, read, atNear, 1);
    if (m_plain == 0 && read == Read::Next) m_plain = atNear;
    if (!HasAnchor(read)) {
      std::printf("%-30s %-9s %8.1f %8s %6s | %10.0f\n", title, name, atNear, "", "",
                  BestOfText(PageOf(list, read, depth)));
      return;
    }
    const double atDepth = Around(list, read, depth, anchors);
    Judge(list, read, atDepth, atDepth / atNear);
    std::printf("%-30s %-9s %8.1f %8.1f %6.2f | %10.0f %10.0f | %10.0f\n", title, name, atNear, atDepth,
                atDepth / atNear, BestOfText(PageOf(list, read, near)), BestOfText(PageOf(list, read, depth)),
                ByOffset(list, depth));
    std::fflush(stdout);
  }

  // A list counts all its rows for each new visitor; the links carry the number on.
  void PrintCounted() {
    const varnel::PageQuery first = PageOf(kLists[0], Read::First, 0);
    const varnel::PageQuery next = PageOf(kLists[0], Read::Next, m_rows / 2);
    const auto countAndOpen = [&](hostlinux::AdoRecordset& recordset) {
      Count(u"SELECT COUNT(*) FROM item WHERE id >= 0");
      recordset.OpenPage(first.text, first.page, m_connection);
    };
    const double once = BestOf(1, countAndOpen);
    const double kept = BestOf(kReads, countAndOpen);
    const double atNext = Best(next, kReads);
    std::printf(
        "first page with its count %.1f us, the very first time %.0f us; next page %.1f us, ratio %.2f "
        "(%.1f)\n",
        kept, once, atNext, kept / atNext, kMostByDepth);
  }

  // What a page costs depends on where it begins among the rows of one name, so that ten neighbours are read in turn: the mean
  // of the best times of each.
  double Around(const List& list, Read read, int depth, int anchors) {
    const int times = list.isOfCategory ? kReadsOfCategory : kReads;
    if (!HasAnchor(read)) return Best(PageOf(list, read, depth), times);
    std::vector<Keys> keys = KeysFrom(list, depth);
    keys.resize(static_cast<std::size_t>(anchors));
    double all = 0;
    for (const Keys& anchor : keys) all += Best(PageOf(list, read, anchor), times);
    return all / anchors;
  }

  // A jump reads the rows of three pages.
  void Judge(const List& list, Read read, double time, double byDepth) {
    if (list.isOfCategory) return;
    double& worst = read == Read::JumpAhead || read == Read::JumpBack ? m_worstJump : m_worst;
    worst = std::max(worst, time);
    m_worstByDepth = std::max(m_worstByDepth, byDepth);
  }

  varnel::PageQuery PageOf(const List& list, Read read, int depth) {
    return PageOf(list, read, HasAnchor(read) ? KeysFrom(list, depth).front() : Keys());
  }

  // The read of a link on the page that begins, or for the next page ends, with the row of `keys`.
  static varnel::PageQuery PageOf(const List& list, Read read, const Keys& keys) {
    varnel::PersistedState state;
    const bool back = read == Read::Previous || read == Read::JumpBack;
    state.NavType = read == Read::First  ? varnel::nav_type::kFirst
                    : read == Read::Last ? varnel::nav_type::kLast
                    : back               ? varnel::nav_type::kPrevious
                                         : varnel::nav_type::kNext;
    state.SortFields = list.sort;
    state.KeyValues = keys;
    varnel::PageTop top{kPageSize};
    top.nested = read == Read::JumpAhead || read == Read::JumpBack;
    top.rows = kPagesOfJump * kPageSize;
    std::vector<String> branches = varnel::SplitUnionBranches(list.query);
    return varnel::BuildRead(branches, state, varnel::ParseSortFields(state, list.key), top);
  }

  // `select`: all of the text in front of the order.
  static String Ordered(const List& list, const String& select, int depth) {
    varnel::PersistedState forward;
    forward.NavType = varnel::nav_type::kFirst;
    forward.SortFields = list.sort;
    String order;
    for (const varnel::SortField& field : varnel::ParseSortFields(forward, list.key)) {
      order += (order.empty() ? u"" : u",") + field.Name + (field.Ascending ? u" ASC" : u" DESC");
    }
    return select + u" ORDER BY " + order + u" LIMIT 10 OFFSET " + varnel::DecimalText(depth);
  }

  // The key values of the ten rows from `depth` on, in the order of the sort and the key.
  std::vector<Keys> KeysFrom(const List& list, int depth) {
    varnel::PersistedState state;
    state.NavType = varnel::nav_type::kFirst;
    state.SortFields = list.sort;
    const auto fields = varnel::ParseSortFields(state, list.key);
    String columns;
    for (const varnel::SortField& field : fields) columns += (columns.empty() ? u"" : u",") + field.Name;
    hostlinux::AdoRecordset rows(m_database);
    std::vector<Keys> all;
    rows.Open(Ordered(list, u"SELECT " + columns + list.From(), depth), m_connection, 3, 1, -1);
    for (; !rows.IsEOF(); rows.MoveNext()) {
      Keys keys;
      for (std::size_t i = 0; i < fields.size(); ++i) {
        const varnel::Variant value = rows.FieldValue(static_cast<Long>(i));
        keys.push_back(value.IsNull() ? varnel::Variant(varnel::Null())
                                      : varnel::Variant(varnel::ToText(value)));
      }
      all.push_back(std::move(keys));
    }
    return all;
  }

  int Count(const String& sql) {
    hostlinux::AdoRecordset row(m_database);
    row.Open(sql, m_connection, 3, 1, -1);
    return varnel::ToLong(row.FieldValue(0));
  }

  // Microseconds of the best of `times` readings of ten rows.
  template <typename Opening>
  double BestOf(int times, Opening open) {
    double best = 1e18;
    for (int i = 0; i < times; ++i) {
      hostlinux::AdoRecordset recordset(m_database);
      recordset.SetCursorLocation(varnel::host::ado::kUseClient);
      recordset.SetMaxRecords(kPageSize);
      const Clock::time_point start = Clock::now();
      open(recordset);
      const std::chrono::duration<double, std::micro> time = Clock::now() - start;
      best = std::min(best, time.count());
      if (recordset.RecordCount() != kPageSize) std::exit((std::fprintf(stderr, "No ten rows\n"), 1));
    }
    return best;
  }
  double Best(const varnel::PageQuery& query, int times) {
    return BestOf(times, [&](hostlinux::AdoRecordset& recordset) {
      recordset.OpenPage(query.text, query.page, m_connection);
    });
  }
  double BestOfText(const varnel::PageQuery& query) { return BestByText(query.text); }
  double ByOffset(const List& list, int depth) { return BestByText(Ordered(list, list.query, depth)); }
  double BestByText(const String& sql) {
    if (!m_withTexts) return 0;
    return BestOf(kReadsOfText,
                  [&](hostlinux::AdoRecordset& recordset) { recordset.Open(sql, m_connection, -1, -1, -1); });
  }

  int m_rows;
  bool m_withTexts;
  std::filesystem::path m_folder;
  std::shared_ptr<hostlinux::AdoDatabase> m_database;
  std::shared_ptr<hostlinux::AdoConnection> m_connection;
  double m_plain = 0;  // microseconds of the plain next page
  double m_worst = 0;
  double m_worstJump = 0;
  double m_worstByDepth = 0;
};

}  // namespace

// The number of rows may be given, for a look in passing, and anything behind it leaves out the texts and OFFSET, which
// take minutes.
int main(int count, char** arguments) {
  const int rows = count > 1 ? std::atoi(arguments[1]) : 2000000;
  return Paging(rows, count < 3).Print() ? 0 : 1;
}
