// What a page of ten rows costs beside the same rows read by libpq alone, on the server of VARNEL_BENCH_SERVER (the table of
// bench_paging must be there). Both by a prepared statement; times in microseconds, the medians of many.
#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <vector>

#include "host-linux/database/AdoRecordset.h"
#include "host-linux/database/postgresql/PostgresqlEngine.h"
#include "host-linux/database/postgresql/PostgresqlProvider.h"
#include "varnel/automation/Convert.h"
#include "varnel/recordset/PageQuery.h"

namespace {

using Clock = std::chrono::steady_clock;
using varnel::String;

constexpr int kReads = 5000;

template <typename Action>
double Median(Action action) {
  std::vector<double> times;
  for (int i = 0; i < kReads; ++i) {
    const Clock::time_point start = Clock::now();
    action(i);
    times.push_back(std::chrono::duration<double, std::micro>(Clock::now() - start).count());
  }
  std::nth_element(times.begin(), times.begin() + kReads / 2, times.end());
  return times[kReads / 2];
}

double ByLibpq(const String& server) {
  hostlinux::PostgresqlConnection connection(
      hostlinux::PostgresqlOptions(hostlinux::ConnectionString(server), true), std::nullopt);
  connection.Prepare(
      "read", "SELECT id, city, name FROM item WHERE (city, id) > ($1, $2) ORDER BY city, id LIMIT 10");
  std::size_t bytes = 0;
  const double time = Median([&](int i) {
    const hostlinux::PostgresqlResult rows =
        connection.Run("read", {std::string("City 042"), std::int64_t{i * 100}});
    for (int row = 0; row < PQntuples(rows.get()); ++row) {
      for (int column = 0; column < 3; ++column)
        bytes += static_cast<std::size_t>(PQgetlength(rows.get(), row, column));
    }
  });
  if (bytes == 0) std::exit((std::fprintf(stderr, "No rows\n"), 1));
  return time;
}

double ByPage(const String& server) {
  hostlinux::AdoOptions options;
  options.engines = {std::make_shared<hostlinux::PostgresqlEngine>()};
  const auto database = hostlinux::AdoDatabase::Make(std::move(options));
  const auto connection = std::make_shared<hostlinux::AdoConnection>(database);
  connection->Open(server + u";Mode=Read", u"", u"", -1);
  varnel::Long read = 0;
  const double time = Median([&](int i) {
    varnel::PersistedState state;
    state.NavType = varnel::nav_type::kNext;
    state.SortFields = u"city";
    state.KeyValues = {String(u"City 042"), varnel::DecimalText(i * 100)};
    std::vector<String> branches = {u"SELECT id, city, name FROM item"};
    const varnel::PageQuery query =
        varnel::BuildRead(branches, state, varnel::ParseSortFields(state, u"id"), varnel::PageTop{10});
    hostlinux::AdoRecordset rows(database);
    rows.SetCursorLocation(varnel::host::ado::kUseClient);
    rows.SetMaxRecords(10);
    rows.OpenPage(query.text, query.page, connection);
    for (; !rows.IsEOF(); rows.MoveNext()) {
      for (varnel::Long column = 0; column < 3; ++column) rows.FieldValue(column);
      ++read;
    }
  });
  if (read != kReads * 10) std::exit((std::fprintf(stderr, "Not ten rows\n"), 1));
  return time;
}

}  // namespace

int main() {
  const char* server = std::getenv("VARNEL_BENCH_SERVER");
  if (server == nullptr) return std::fprintf(stderr, "VARNEL_BENCH_SERVER names no server\n"), 2;
  const String text = varnel::FromUtf8(server);
  const double plain = ByLibpq(text);
  const double page = ByPage(text);
  std::printf("libpq alone %.0f us, a page through ADO %.0f us, ratio %.2f\n", plain, page, page / plain);
}
