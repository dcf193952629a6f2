#include "host-linux/database/sqlite/SqliteFunctions.h"

#include "host-linux/database/dialect/LikePattern.h"
#include "host-linux/database/sqlite/SqliteErrors.h"

namespace hostlinux {
namespace {

varnel::String TextOf(sqlite3_value* value) {
  const auto* bytes = reinterpret_cast<const char*>(sqlite3_value_text(value));
  if (bytes == nullptr) return {};
  return varnel::FromUtf8(std::string_view(bytes, static_cast<std::size_t>(sqlite3_value_bytes(value))));
}

void Regexp(sqlite3_context* context, int, sqlite3_value** values) {
  if (sqlite3_value_type(values[0]) == SQLITE_NULL || sqlite3_value_type(values[1]) == SQLITE_NULL) {
    return sqlite3_result_null(context);
  }
  try {
    sqlite3_result_int(context, MatchesPattern(TextOf(values[1]), TextOf(values[0])) ? 1 : 0);
  } catch (const std::bad_alloc&) {
    sqlite3_result_error_nomem(context);
  }
}

}  // namespace

void RegisterSqliteFunctions(sqlite3* database) {
  const int flags = SQLITE_UTF8 | SQLITE_DETERMINISTIC | SQLITE_INNOCUOUS;
  const int result =
      sqlite3_create_function_v2(database, "regexp", 2, flags, nullptr, &Regexp, nullptr, nullptr, nullptr);
  if (result != SQLITE_OK) RaiseSqlite(database);
}

}  // namespace hostlinux
