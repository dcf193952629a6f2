#include "host-linux/database/sqlite/SqliteGuard.h"

#include <algorithm>
#include <memory>

#include "host-linux/database/dialect/CalculatingFunctions.h"
#include "host-linux/database/sqlite/SqliteFunctions.h"

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

SqliteGuard::SqliteGuard(const std::vector<std::string>& tables, const std::vector<std::string>& functions,
                         bool readOnly)
    : m_readOnly(readOnly) {
  for (const std::string& table : tables) m_listed.insert(Lower(table));
  for (const std::string& function : functions) m_functions.insert(Lower(function));
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

int SqliteGuard::Decide(void* self, int action, const char* first, const char* second, const char* schema,
                        const char* context) {
  auto& guard = *static_cast<SqliteGuard*>(self);
  if (guard.m_suspended) return SQLITE_OK;
  if (guard.m_learning) {
    guard.Learn(action, first, context);
    return SQLITE_OK;
  }
  guard.Note(action, first, second, schema == nullptr ? "" : schema);
  return guard.Allows(action, first, second, context) ? SQLITE_OK : SQLITE_DENY;
}

void SqliteGuard::Learn(int action, const char* table, const char* context) {
  if (action != SQLITE_READ) return;
  m_below.insert(Lower(table));
  if (context != nullptr) m_below.insert(Lower(context));
}

void SqliteGuard::Note(int action, const char* first, const char* second, std::string_view schema) {
  if (action == SQLITE_FUNCTION && !IsSteadyFunction(Lower(second))) m_notes.isSteady = false;
  if (action == SQLITE_READ) {
    // None is named for a table of which no column is read.
    if (!schema.empty() && schema != "main") m_notes.isSteady = false;
    std::string name = Lower(first);
    const bool isNoted =
        std::find(m_notes.tables.begin(), m_notes.tables.end(), name) != m_notes.tables.end();
    if (!isNoted) m_notes.tables.push_back(std::move(name));
  }
  const bool changes = ChangesSchema(action);
  m_changedSchema = m_changedSchema || changes;
  m_leavesTraces = m_leavesTraces || (changes && schema == "temp") || LastsWithConnection(action);
}

bool SqliteGuard::Allows(int action, const char* first, const char* second, const char* context) {
  if (action == SQLITE_FUNCTION && !AllowsFunction(Lower(second))) return false;
  if (m_readOnly && (action == SQLITE_ATTACH || action == SQLITE_CREATE_VTABLE)) return false;
  if (m_readOnly && action == SQLITE_READ && Lower(first).starts_with("pragma_")) return false;
  if (!HasList()) return true;
  switch (action) {
    case SQLITE_SELECT:
    case SQLITE_RECURSIVE:
    case SQLITE_TRANSACTION:
    case SQLITE_SAVEPOINT:
    case SQLITE_FUNCTION:
      return true;
    case SQLITE_READ:
      return AllowsRead(Lower(first), second == nullptr ? "" : second, context);
    case SQLITE_INSERT:
    case SQLITE_UPDATE:
    case SQLITE_DELETE:
      return m_listed.contains(Lower(first));
    default:
      return false;
  }
}

bool SqliteGuard::AllowsFunction(const std::string& name) const {
  if (name == "load_extension" || name == "fts3_tokenizer") return false;
  if (!m_readOnly && !HasList()) return true;
  // The key of the row that was just written is asked for by those who write.
  if (name == "last_insert_rowid" && !m_readOnly) return true;
  return IsCalculating(name) || m_functions.contains(name);
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
