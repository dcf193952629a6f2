// What a page of ten rows costs beside the same rows read by libpq alone, on the server of VARNEL_BENCH_SERVER (the table of
// bench_paging must be there). Both by a prepared statement, in turn, by the index on (name, id); times in microseconds, of
// many.
#include <libpq-fe.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <vector>

#include "host-linux/database/AdoRecordset.h"
#include "host-linux/database/postgresql/PostgresqlConnection.h"
#include "host-linux/database/postgresql/PostgresqlEngine.h"
#include "host-linux/database/postgresql/PostgresqlProvider.h"
#include "varnel/automation/Convert.h"
#include "varnel/recordset/PageQuery.h"

namespace {

using Clock = std::chrono::steady_clock;
using varnel::String;

constexpr int kReads = 5000;
constexpr int kColumns = 3;
constexpr int kRows = 10;

[[noreturn]] void Fail(const char* why) {
  std::fprintf(stderr, "%s\n", why);
  std::exit(1);
}

// A row of the list, which needn't be there: reads go on from behind it.
struct Anchor {
  std::string name;
  std::string id;
};
Anchor AnchorOf(int read) {
  std::array<char, 32> name{};
  std::snprintf(name.data(), name.size(), "Item %06d", read * 59 % 299000);
  return {name.data(), std::to_string(read * 100)};
}

// Ten rows as a program reads them that has nothing but libpq.
class ByLibpq {
 public:
  explicit ByLibpq(const String& server) {
    std::vector<const char*> keywords;
    std::vector<const char*> values;
    const auto options = hostlinux::PostgresqlOptions(hostlinux::ConnectionString(server), true);
    for (const auto& [keyword, value] : options) {
      keywords.push_back(keyword.c_str());
      values.push_back(value.c_str());
    }
    keywords.push_back(nullptr);
    values.push_back(nullptr);
    m_connection.reset(PQconnectdbParams(keywords.data(), values.data(), 0));
    if (PQstatus(m_connection.get()) != CONNECTION_OK) Fail(PQerrorMessage(m_connection.get()));
    const hostlinux::PostgresqlResult prepared(
        PQprepare(m_connection.get(), "read",
                  "SELECT id, name, city FROM item WHERE (name, id) > ($1, $2)"
                  " ORDER BY name NULLS FIRST, id LIMIT 10",
                  2, nullptr));
    if (PQresultStatus(prepared.get()) != PGRES_COMMAND_OK) Fail(PQerrorMessage(m_connection.get()));
  }

  void Read(const Anchor& anchor) {
    const std::array<const char*, 2> values = {anchor.name.c_str(), anchor.id.c_str()};
    const hostlinux::PostgresqlResult rows(
        PQexecPrepared(m_connection.get(), "read", 2, values.data(), nullptr, nullptr, 0));
    if (PQntuples(rows.get()) != kRows) Fail("Not ten rows");
    for (int row = 0; row < kRows; ++row) {
      for (int column = 0; column < kColumns; ++column) {
        if (PQgetlength(rows.get(), row, column) == 0) Fail("An empty value");
      }
    }
  }

 private:
  std::unique_ptr<PGconn, hostlinux::PostgresqlCloser> m_connection;
};

class ByPage {
 public:
  explicit ByPage(const String& server) {
    hostlinux::AdoOptions options;
    options.engines = {std::make_shared<hostlinux::PostgresqlEngine>()};
    m_database = hostlinux::AdoDatabase::Make(std::move(options));
    m_connection = std::make_shared<hostlinux::AdoConnection>(m_database);
    m_connection->Open(server + u";Mode=Read", u"", u"", -1);
  }

  void Read(const Anchor& anchor) {
    varnel::PersistedState state;
    state.NavType = varnel::nav_type::kNext;
    state.SortFields = u"name";
    state.KeyValues = {varnel::FromUtf8(anchor.name), varnel::FromUtf8(anchor.id)};
    std::vector<String> branches = {u"SELECT id, name, city FROM item"};
    const varnel::PageQuery query =
        varnel::BuildRead(branches, state, varnel::ParseSortFields(state, u"id"), varnel::PageTop{kRows});
    hostlinux::AdoRecordset rows(m_database);
    rows.SetCursorLocation(varnel::host::ado::kUseClient);
    rows.SetMaxRecords(kRows);
    rows.OpenPage(query.text, query.page, m_connection);
    int read = 0;
    for (; !rows.IsEOF(); rows.MoveNext()) {
      for (varnel::Long column = 0; column < kColumns; ++column) rows.FieldValue(column);
      ++read;
    }
    if (read != kRows) Fail("Not ten rows");
  }

 private:
  std::shared_ptr<hostlinux::AdoDatabase> m_database;
  std::shared_ptr<hostlinux::AdoConnection> m_connection;
};

template <typename Reader>
double TimeOf(Reader& reader, const Anchor& anchor) {
  const Clock::time_point start = Clock::now();
  reader.Read(anchor);
  return std::chrono::duration<double, std::micro>(Clock::now() - start).count();
}

double Median(std::vector<double> times) {
  const auto middle = times.begin() + static_cast<std::ptrdiff_t>(times.size() / 2);
  std::nth_element(times.begin(), middle, times.end());
  return *middle;
}

double Best(const std::vector<double>& times) { return *std::min_element(times.begin(), times.end()); }

void Print(const char* what, double alone, double through) {
  std::printf("%-6s libpq alone %.1f us, a page through ADO %.1f us, ratio %.2f\n", what, alone, through,
              through / alone);
}

}  // namespace

int main() {
  const char* server = std::getenv("VARNEL_BENCH_SERVER");
  if (server == nullptr) return std::fprintf(stderr, "VARNEL_BENCH_SERVER names no server\n"), 2;
  const String text = varnel::FromUtf8(server);
  ByLibpq libpq(text);
  ByPage page(text);
  std::vector<double> plain;
  std::vector<double> ours;
  for (int i = 0; i < kReads; ++i) {
    const Anchor anchor = AnchorOf(i);
    plain.push_back(TimeOf(libpq, anchor));
    ours.push_back(TimeOf(page, anchor));
  }
  Print("best", Best(plain), Best(ours));
  Print("median", Median(plain), Median(ours));
}
