// A page of ten rows with six columns, read through the ADO objects and by the bare C API of SQLite: the next
// page of a sorted list, from 200 places in turn. Both are measured in turns of one run; the ratio of their
// best turns is what counts, since whatever else the machine does falls on both.
#include <sqlite3.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <limits>
#include <memory>
#include <stdexcept>

#include "host-linux/database/AdoRecordset.h"
#include "host-linux/database/dialect/SqliteDialect.h"
#include "host-linux/database/sqlite/SqliteEngine.h"
#include "varnel/recordset/PageQuery.h"

namespace {

using varnel::String;
using Clock = std::chrono::steady_clock;

constexpr int kRows =
    10'000;                   // all of it fits the engine's cache, so that nothing of the disk hides our part
constexpr int kPlaces = 200;  // more than a connection keeps statements
constexpr int kReadsOfATurn = 5 * kPlaces;
constexpr int kTurns = 60;
constexpr const char16_t* kConnection = u"Provider=SQLite;Data Source=bench.db;Mode=Read";

class Folder {
 public:
  Folder() {
    std::string pattern = (std::filesystem::temp_directory_path() / "varnel-bench-XXXXXX").string();
    if (::mkdtemp(pattern.data()) == nullptr) throw std::runtime_error("no folder for the database");
    m_path = pattern;
  }
  Folder(const Folder&) = delete;
  Folder& operator=(const Folder&) = delete;
  ~Folder() { std::filesystem::remove_all(m_path); }
  const std::filesystem::path& Path() const { return m_path; }

 private:
  std::filesystem::path m_path;
};

struct Closer {
  void operator()(sqlite3* database) const { sqlite3_close_v2(database); }
  void operator()(sqlite3_stmt* statement) const { sqlite3_finalize(statement); }
};
using Database = std::unique_ptr<sqlite3, Closer>;
using Statement = std::unique_ptr<sqlite3_stmt, Closer>;

Database OpenFile(const std::filesystem::path& file) {
  sqlite3* database = nullptr;
  if (sqlite3_open_v2(file.c_str(), &database,
                      SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE | SQLITE_OPEN_NOMUTEX, nullptr) != SQLITE_OK)
    throw std::runtime_error(sqlite3_errmsg(database));
  return Database(database);
}

Statement Prepare(sqlite3* database, const std::string& text) {
  sqlite3_stmt* statement = nullptr;
  if (sqlite3_prepare_v2(database, text.c_str(), -1, &statement, nullptr) != SQLITE_OK) {
    throw std::runtime_error(sqlite3_errmsg(database));
  }
  return Statement(statement);
}

void MakeProducts(const std::filesystem::path& file) {
  const Database database = OpenFile(file);
  const std::string sql =
      "PRAGMA journal_mode = WAL; BEGIN;"
      "CREATE TABLE PRODUCT (PRODUCTID INT NOT NULL PRIMARY KEY, PRODUCTDESCRIPTION VARCHAR(80) NOT NULL "
      "COLLATE NOCASE, MANUFACTURER VARCHAR(40), PRICE REAL, CREATED DATETIME, STOCK INT);"
      "INSERT INTO PRODUCT WITH RECURSIVE n(i) AS (SELECT 1 UNION ALL SELECT i + 1 FROM n WHERE i < " +
      std::to_string(kRows) +
      ") SELECT i, printf('%06d Gigabit Network Connection', (i * 7919) % 1000003), 'Manufacturer ' || (i % "
      "97), "
      "i * 0.25, datetime('2001-01-01', '+' || (i % 3000) || ' hours'), i % 500 FROM n;"
      "CREATE INDEX PRODUCT_DESCRIPTION ON PRODUCT (PRODUCTDESCRIPTION, PRODUCTID); COMMIT; ANALYZE;";
  if (sqlite3_exec(database.get(), sql.c_str(), nullptr, nullptr, nullptr) != SQLITE_OK) {
    throw std::runtime_error(sqlite3_errmsg(database.get()));
  }
}

// The reads as the library makes them for a click on "next" at 200 places of the list.
std::vector<varnel::PageQuery> PageQueries() {
  std::vector<varnel::PageQuery> queries;
  for (int place = 0; place < kPlaces; ++place) {
    const int id = 1 + place * (kRows / kPlaces);
    char description[64];
    std::snprintf(description, sizeof description, "%06d Gigabit Network Connection", (id * 7919) % 1000003);
    varnel::PersistedState state;
    state.NavType = varnel::nav_type::kNext;
    state.SortFields = u"PRODUCTDESCRIPTION";
    state.KeyValues = {varnel::FromUtf8(description), varnel::FromUtf8(std::to_string(id))};
    std::vector<String> branches{
        u"SELECT PRODUCTID, PRODUCTDESCRIPTION, MANUFACTURER, PRICE, CREATED, STOCK FROM PRODUCT"};
    queries.push_back(varnel::BuildRead(branches, state, varnel::ParseSortFields(state, u"PRODUCTID"),
                                        varnel::PageTop{10}));
  }
  return queries;
}

std::shared_ptr<hostlinux::AdoConnection> Connect(const std::shared_ptr<hostlinux::AdoDatabase>& database) {
  auto connection = std::make_shared<hostlinux::AdoConnection>(database);
  connection->Open(kConnection, u"", u"", -1);
  return connection;
}

// Reads as scripts and the library do; gives the number of values.
class AdoReader {
 public:
  explicit AdoReader(const std::filesystem::path& folder) {
    hostlinux::AdoOptions options;
    options.engines = {std::make_shared<hostlinux::SqliteEngine>()};
    options.folder = folder;
    options.statementTimeout = std::chrono::seconds(30);
    m_database = hostlinux::AdoDatabase::Make(std::move(options));
    m_connection = Connect(m_database);
  }

  std::size_t Read(const varnel::PageQuery& query) {
    hostlinux::AdoRecordset recordset(m_database);
    recordset.SetCursorLocation(varnel::host::ado::kUseClient);
    recordset.SetMaxRecords(query.page.rows);
    recordset.OpenPage(query.text, query.page, m_connection);
    const varnel::Long columns = recordset.FieldCount();
    std::size_t values = 0;
    for (; !recordset.IsEOF(); recordset.MoveNext()) {
      for (varnel::Long column = 0; column < columns; ++column) {
        values += recordset.FieldValue(column).IsEmpty() ? 0 : 1;
      }
    }
    recordset.Close();
    return values;
  }

 private:
  std::shared_ptr<hostlinux::AdoDatabase> m_database;
  std::shared_ptr<hostlinux::AdoConnection> m_connection;
};

// What the dialect asks about columns, by the C API.
class Facts : public hostlinux::IColumnFacts {
 public:
  explicit Facts(sqlite3* database) : m_database(database) {}

  std::optional<std::vector<hostlinux::ColumnFact>> Describe(const std::u16string& select) override {
    const Statement statement = Prepare(m_database, varnel::ToUtf8(select));
    std::vector<hostlinux::ColumnFact> facts;
    for (int i = 0; i < sqlite3_column_count(statement.get()); ++i) {
      const char* type = sqlite3_column_decltype(statement.get(), i);
      facts.push_back({varnel::FromUtf8(sqlite3_column_name(statement.get(), i)),
                       varnel::FromUtf8(type == nullptr ? "" : type)});
    }
    return facts;
  }
  std::optional<hostlinux::SortWork> SortsFor(const std::u16string&) override { return std::nullopt; }
  bool HasPartialIndex() override { return false; }

 private:
  sqlite3* m_database;
};

// Runs the one statement that the engine gets for all places, prepared once, and reads all columns.
class BareReader {
 public:
  BareReader(const std::filesystem::path& folder, const std::vector<varnel::PageQuery>& queries)
      : m_database(OpenFile(folder / "bench.db")) {
    Facts facts(m_database.get());
    hostlinux::SqliteDialect dialect(facts);
    for (const varnel::PageQuery& query : queries) {
      const auto statements = dialect.TranslatePage(query.page);
      if (!statements || statements->Count() != 1) throw std::runtime_error("a page is not one statement");
      m_places.push_back(statements->Statement(0));
    }
    if (m_places.front().sql != m_places.back().sql) throw std::runtime_error("the texts differ");
    m_statement = Prepare(m_database.get(), m_places.front().sql);
  }

  std::size_t Read(std::size_t place) {
    sqlite3_stmt* statement = m_statement.get();
    for (std::size_t i = 0; i < m_places[place].values.size(); ++i) {
      Bind(statement, static_cast<int>(i) + 1, m_places[place].values[i]);
    }
    std::size_t values = 0;
    while (sqlite3_step(statement) == SQLITE_ROW) {
      for (int column = 0; column < sqlite3_column_count(statement); ++column)
        values += Value(statement, column);
    }
    sqlite3_reset(statement);
    return values;
  }

 private:
  static void Bind(sqlite3_stmt* statement, int position, const hostlinux::BoundValue& value) {
    if (const auto* text = std::get_if<std::string>(&value)) {
      sqlite3_bind_text(statement, position, text->data(), static_cast<int>(text->size()), SQLITE_STATIC);
    } else if (const auto* real = std::get_if<double>(&value)) {
      sqlite3_bind_double(statement, position, *real);
    } else {
      sqlite3_bind_int64(statement, position, std::get<std::int64_t>(value));
    }
  }

  static std::size_t Value(sqlite3_stmt* statement, int column) {
    switch (sqlite3_column_type(statement, column)) {
      case SQLITE_INTEGER:
        return sqlite3_column_int64(statement, column) == std::numeric_limits<sqlite3_int64>::min() ? 0 : 1;
      case SQLITE_FLOAT:
        return sqlite3_column_double(statement, column) < -1e300 ? 0 : 1;
      default:
        return sqlite3_column_text(statement, column) == nullptr ||
                       sqlite3_column_bytes(statement, column) < 0
                   ? 0
                   : 1;
    }
  }

  Database m_database;
  std::vector<hostlinux::EngineStatement> m_places;
  Statement m_statement;
};

// Microseconds of one read.
template <typename Reading>
double Turn(Reading reading) {
  const Clock::time_point start = Clock::now();
  std::size_t values = 0;
  for (std::size_t i = 0; i < kReadsOfATurn; ++i) values += reading(i % kPlaces);
  const std::chrono::duration<double, std::micro> time = Clock::now() - start;
  if (values != std::size_t{60} * kReadsOfATurn) throw std::runtime_error("not every read gave 60 values");
  return time.count() / kReadsOfATurn;
}

int Main(int turns) {
  const Folder folder;
  MakeProducts(folder.Path() / "bench.db");
  const std::vector<varnel::PageQuery> queries = PageQueries();
  AdoReader ado(folder.Path());
  BareReader bare(folder.Path(), queries);
  double adoBest = std::numeric_limits<double>::max();
  double bareBest = adoBest;
  for (int turn = 0; turn < turns; ++turn) {
    adoBest = std::min(adoBest, Turn([&](std::size_t place) { return ado.Read(queries[place]); }));
    bareBest = std::min(bareBest, Turn([&](std::size_t place) { return bare.Read(place); }));
  }
  std::printf("10 rows of 6 columns: ADO %.1f us, bare statement %.1f us, ratio %.2f (at most 2.5)\n",
              adoBest, bareBest, adoBest / bareBest);
  return 0;
}

}  // namespace

// An argument is the number of turns, for a run that counts instructions.
int main(int count, char** arguments) {
  try {
    return Main(count > 1 ? std::max(1, std::atoi(arguments[1])) : kTurns);
  } catch (const std::exception& problem) {
    std::fprintf(stderr, "bench_ado: %s\n", problem.what());
    return 1;
  }
}
