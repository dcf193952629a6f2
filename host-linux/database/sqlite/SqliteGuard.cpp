#include "host-linux/database/sqlite/SqliteGuard.h"

#include <algorithm>
#include <memory>

namespace hostlinux {
namespace {

std::string Lower(std::string_view name) {
  std::string lower(name);
  for (char& c : lower) {
    if (c >= 'A' && c <= 'Z') c = static_cast<char>(c - 'A' + 'a');
  }
  return lower;
}

std::string Lower(const char* name) { return Lower(std::string_view(name == nullptr ? "" : name)); }

// Functions of one row's values, aggregates and window functions. Not among them: those that load code, or
// look at the connection or the schema, and blobs made out of nothing.
const std::unordered_set<std::string>& HarmlessFunctions() {
  static const std::unordered_set<std::string> names = {
      "abs",         "acos",       "acosh",        "asin",         "asinh",
      "atan",        "atan2",      "atanh",        "avg",          "ceil",
      "ceiling",     "char",       "coalesce",     "cos",          "cosh",
      "count",       "cume_dist",  "current_date", "current_time", "current_timestamp",
      "date",        "datetime",   "degrees",      "dense_rank",   "exp",
      "first_value", "floor",      "format",       "glob",         "group_concat",
      "hex",         "ifnull",     "iif",          "instr",        "julianday",
      "lag",         "last_value", "lead",         "length",       "like",
      "likelihood",  "likely",     "ln",           "log",          "log10",
      "log2",        "lower",      "ltrim",        "max",          "min",
      "mod",         "nth_value",  "ntile",        "nullif",       "percent_rank",
      "pi",          "pow",        "power",        "printf",       "quote",
      "radians",     "random",     "rank",         "regexp",       "replace",
      "round",       "row_number", "rtrim",        "sign",         "sin",
      "sinh",        "soundex",    "sqrt",         "strftime",     "substr",
      "substring",   "sum",        "tan",          "tanh",         "time",
      "total",       "trim",       "trunc",        "typeof",       "unicode",
      "unixepoch",   "unlikely",   "upper"};
  return names;
}

bool ChangesSchema(int action) {
  switch (action) {
    case SQLITE_CREATE_INDEX:
    case SQLITE_CREATE_TABLE:
    case SQLITE_CREATE_TEMP_INDEX:
    case SQLITE_CREATE_TEMP_TABLE:
    case SQLITE_CREATE_TEMP_TRIGGER:
    case SQLITE_CREATE_TEMP_VIEW:
    case SQLITE_CREATE_TRIGGER:
    case SQLITE_CREATE_VIEW:
    case SQLITE_CREATE_VTABLE:
    case SQLITE_DROP_INDEX:
    case SQLITE_DROP_TABLE:
    case SQLITE_DROP_TEMP_INDEX:
    case SQLITE_DROP_TEMP_TABLE:
    case SQLITE_DROP_TEMP_TRIGGER:
    case SQLITE_DROP_TEMP_VIEW:
    case SQLITE_DROP_TRIGGER:
    case SQLITE_DROP_VIEW:
    case SQLITE_DROP_VTABLE:
    case SQLITE_ALTER_TABLE:
    case SQLITE_ATTACH:
    case SQLITE_DETACH:
    case SQLITE_PRAGMA:
      return true;
    default:
      return false;
  }
}

// What it sets lives as long as the connection, as everything in the schema "temp" does.
bool LastsWithConnection(int action) {
  return action == SQLITE_ATTACH || action == SQLITE_DETACH || action == SQLITE_PRAGMA;
}

}  // namespace

SqliteGuard::SqliteGuard(const std::vector<std::string>& tables, bool readOnly) : m_readOnly(readOnly) {
  for (const std::string& table : tables) m_listed.insert(Lower(table));
}

void SqliteGuard::Watch(sqlite3* database) { sqlite3_set_authorizer(database, &SqliteGuard::Decide, this); }

// Preparing a query of a view tells what it reads. A name that isn't there yet is no fault.
void SqliteGuard::LearnViews(sqlite3* database) {
  m_below.clear();
  m_learning = true;
  for (const std::string& name : m_listed) {
    const std::unique_ptr<char, decltype(&sqlite3_free)> sql(
        sqlite3_mprintf("SELECT * FROM \"%w\"", name.c_str()), &sqlite3_free);
    sqlite3_stmt* statement = nullptr;
    sqlite3_prepare_v2(database, sql.get(), -1, &statement, nullptr);
    sqlite3_finalize(statement);
  }
  m_learning = false;
  for (const std::string& name : m_listed) m_below.erase(name);
}

void SqliteGuard::BeginPreparing(bool namesQueries) {
  m_namesQueries = namesQueries;
  m_running = false;
}

void SqliteGuard::BeginRunning(bool namesQueries) {
  m_namesQueries = namesQueries;
  m_running = true;
}

int SqliteGuard::Decide(void* self, int action, const char* first, const char* second, const char* schema,
                        const char* context) {
  auto& guard = *static_cast<SqliteGuard*>(self);
  if (guard.m_suspended) return SQLITE_OK;
  if (guard.m_learning) {
    guard.Learn(action, first, context);
    return SQLITE_OK;
  }
  guard.Note(action, schema == nullptr ? "" : schema);
  return guard.Allows(action, first, second, context) ? SQLITE_OK : SQLITE_DENY;
}

void SqliteGuard::Learn(int action, const char* table, const char* context) {
  if (action != SQLITE_READ) return;
  m_below.insert(Lower(table));
  if (context != nullptr) m_below.insert(Lower(context));
}

void SqliteGuard::Note(int action, std::string_view schema) {
  const bool changes = ChangesSchema(action);
  m_changedSchema = m_changedSchema || changes;
  m_leavesTraces = m_leavesTraces || (changes && schema == "temp") || LastsWithConnection(action);
}

bool SqliteGuard::Allows(int action, const char* first, const char* second, const char* context) {
  // VACUUM INTO attaches the file that it writes while it runs.
  if (m_readOnly && m_running && action == SQLITE_ATTACH) return false;
  if (!HasList()) return true;
  switch (action) {
    case SQLITE_SELECT:
    case SQLITE_RECURSIVE:
    case SQLITE_TRANSACTION:
    case SQLITE_SAVEPOINT:
      return true;
    case SQLITE_READ:
      return AllowsRead(Lower(first), second == nullptr ? "" : second, context);
    case SQLITE_INSERT:
    case SQLITE_UPDATE:
    case SQLITE_DELETE:
      return m_listed.contains(Lower(first));
    case SQLITE_FUNCTION:
      return HarmlessFunctions().contains(Lower(second));
    default:
      return false;
  }
}

// SQLite names the innermost view that a read stands in. It asks without a column where rows are counted
// only, and no longer knows the view then.
bool SqliteGuard::AllowsRead(const std::string& table, std::string_view column, const char* context) const {
  if (m_listed.contains(table)) return true;
  if (m_namesQueries || !m_below.contains(table)) return false;
  if (context == nullptr) return column.empty();
  const std::string view = Lower(context);
  return m_listed.contains(view) || m_below.contains(view);
}

}  // namespace hostlinux
