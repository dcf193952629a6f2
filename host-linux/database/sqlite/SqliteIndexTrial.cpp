#include "host-linux/database/sqlite/SqliteIndexTrial.h"

#include <stdlib.h>

#include <algorithm>
#include <array>

#include "host-linux/base/Ascii.h"
#include "host-linux/database/sqlite/SqliteErrors.h"
#include "varnel/automation/Convert.h"

namespace hostlinux {
namespace {

using varnel::String;

constexpr char kCopyName[] = "schema.db";
constexpr std::string_view kScan = "SCAN ";
constexpr std::string_view kSearch = "SEARCH ";

struct Closer {
  void operator()(sqlite3* database) const { sqlite3_close(database); }
  void operator()(sqlite3_stmt* statement) const { sqlite3_finalize(statement); }
};
using Database = std::unique_ptr<sqlite3, Closer>;

Database Open(const std::filesystem::path& file, int flags) {
  sqlite3* opened = nullptr;
  const int result = sqlite3_open_v2(file.c_str(), &opened, flags, nullptr);
  Database database(opened);
  if (result != SQLITE_OK) RaiseSqlite(opened);
  return database;
}

void Run(sqlite3* database, const std::string& sql) {
  sqlite3_exec(database, sql.c_str(), nullptr, nullptr, nullptr);
}

// All rows as texts; none where the text can't be run.
std::vector<std::vector<std::string>> Rows(sqlite3* database, const char* sql) {
  std::vector<std::vector<std::string>> rows;
  sqlite3_stmt* prepared = nullptr;
  if (sqlite3_prepare_v2(database, sql, -1, &prepared, nullptr) != SQLITE_OK) return rows;
  const std::unique_ptr<sqlite3_stmt, Closer> statement(prepared);
  while (sqlite3_step(prepared) == SQLITE_ROW) {
    std::vector<std::string>& row = rows.emplace_back();
    for (int i = 0; i < sqlite3_column_count(prepared); ++i) {
      const unsigned char* text = sqlite3_column_text(prepared, i);
      row.emplace_back(text == nullptr ? "" : reinterpret_cast<const char*>(text));
    }
  }
  return rows;
}

std::string Quoted(const std::string& text) {
  std::string quoted = "'";
  for (const char c : text) quoted.append(c == '\'' ? 2 : 1, c);
  return quoted + "'";
}

// What the copy can't have, a virtual table for instance, it goes without.
void CopySchema(sqlite3* from, sqlite3* to) {
  for (const auto& row :
       Rows(from,
            "SELECT sql FROM sqlite_schema WHERE sql IS NOT NULL AND type <> 'trigger' AND name NOT "
            "LIKE 'sqlite\\_%' ESCAPE '\\' ORDER BY CASE type WHEN 'table' THEN 0 WHEN 'view' THEN 1 "
            "ELSE 2 END")) {
    Run(to, row[0]);
  }
  const auto statistics = Rows(from, "SELECT tbl, idx, stat FROM sqlite_stat1");
  if (statistics.empty()) return;
  Run(to, "ANALYZE");
  Run(to, "DELETE FROM sqlite_stat1");
  for (const auto& row : statistics) {
    Run(to, "INSERT INTO sqlite_stat1 VALUES (" + Quoted(row[0]) + "," +
                (row[1].empty() ? "NULL" : Quoted(row[1])) + "," + Quoted(row[2]) + ")");
  }
}

// The table or subquery that a step reads: behind its verb, up to what it uses.
std::string NameIn(std::string_view detail, std::string_view verb) {
  const std::string_view rest = detail.substr(verb.size());
  return std::string(rest.substr(0, rest.find(" USING ")));
}

// What an earlier step has made, and what holds no rows of a table.
bool IsMade(const std::vector<PlanStep>& steps, const std::string& name) {
  if (name.starts_with("(") || name.find("CONSTANT ROW") != std::string::npos) return true;
  return std::any_of(steps.begin(), steps.end(), [&](const PlanStep& step) {
    return step.detail == "MATERIALIZE " + name || step.detail == "CO-ROUTINE " + name;
  });
}

bool ReadsTable(const std::vector<PlanStep>& steps, const PlanStep& step) {
  for (const std::string_view verb : {kScan, kSearch}) {
    if (step.detail.starts_with(verb)) return !IsMade(steps, NameIn(step.detail, verb));
  }
  return false;
}

bool IsSort(const PlanStep& step) {
  return step.detail.starts_with("USE TEMP B-TREE FOR ") &&
         (step.detail.ends_with("ORDER BY") || step.detail.ends_with("GROUP BY"));
}

// The rows between two bounds: those that share a floating-point key, which is met as a range. Within them the engine sorts what
// comes behind that key, and no index spares it that.
bool ReadsOneValue(const PlanStep& step) {
  return step.detail.starts_with(kSearch) && step.detail.find(">? AND ") != std::string::npos &&
         step.detail.ends_with("<?)");
}

// A sort of what a page's arms gave isn't one of a table's rows.
bool SortsTable(const std::vector<PlanStep>& steps, const PlanStep& sort) {
  const bool isPart = sort.detail.ends_with(" OF ORDER BY");
  return std::any_of(steps.begin(), steps.end(), [&](const PlanStep& step) {
    return step.parent == sort.parent && ReadsTable(steps, step) && !(isPart && ReadsOneValue(step));
  });
}

bool IsDriver(const std::string& name, const ListRead& read) {
  return EqualsIgnoreCase(name, varnel::ToUtf8(read.driver));
}

bool ScansWell(const std::string& name, const ListRead& read) {
  return IsDriver(name, read) && !read.isBehindAnchor && read.equal.empty();
}

bool SearchesWell(const PlanStep& step, const ListRead& read) {
  if (step.detail.find(" AUTOMATIC ") != std::string::npos) return false;
  if (!IsDriver(NameIn(step.detail, kSearch), read)) return true;
  const std::string detail = LowerAscii(step.detail);
  return std::all_of(read.equal.begin(), read.equal.end(), [&](const String& column) {
    const std::string name = LowerAscii(varnel::ToUtf8(column));
    return detail.find("(" + name + "=?") != std::string::npos ||
           detail.find(" " + name + "=?") != std::string::npos;
  });
}

std::vector<PlanStep> StepsOf(const RowStore& plan) {
  std::vector<PlanStep> steps;
  for (std::size_t i = 0; i < plan.Rows(); ++i)
    steps.push_back({varnel::ToLong(plan.Value(1, i)), varnel::ToUtf8(varnel::ToText(plan.Value(3, i)))});
  return steps;
}

}  // namespace

bool IsServedBy(const std::vector<PlanStep>& steps, const ListRead& read) {
  return std::all_of(steps.begin(), steps.end(), [&](const PlanStep& step) {
    if (IsSort(step)) return !SortsTable(steps, step);
    if (!ReadsTable(steps, step)) return true;
    if (step.detail.starts_with(kScan)) return ScansWell(NameIn(step.detail, kScan), read);
    return SearchesWell(step, read);
  });
}

SqliteIndexTrial::SqliteIndexTrial(const std::filesystem::path& file) {
  std::string pattern = (std::filesystem::temp_directory_path() / "varnel-indexes-XXXXXX").string();
  if (mkdtemp(pattern.data()) == nullptr)
    RaiseSqlite(provider_error::kFail, u"There is no room for a copy of the schema.", u"HY000");
  m_folder = pattern;
  try {
    const Database from = Open(file, SQLITE_OPEN_READONLY);
    const Database to = Open(m_folder / kCopyName, SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE);
    CopySchema(from.get(), to.get());
    OpenOptions options;
    options.folder = m_folder;
    m_session = std::make_unique<SqliteSession>(m_folder / kCopyName, SqliteAccess{}, options);
  } catch (...) {
    std::error_code ignored;
    std::filesystem::remove_all(m_folder, ignored);
    throw;
  }
}

SqliteIndexTrial::~SqliteIndexTrial() {
  m_session = nullptr;
  std::error_code ignored;
  std::filesystem::remove_all(m_folder, ignored);
}

bool SqliteIndexTrial::IsServed(const ListRead& read) {
  const std::vector<RowStore> plans = m_session->Plans(read.sql, read.parameters, read.page);
  return std::all_of(plans.begin(), plans.end(),
                     [&](const RowStore& plan) { return IsServedBy(StepsOf(plan), read); });
}

bool SqliteIndexTrial::Make(const String& createIndex) {
  try {
    m_session->Run(createIndex, {}, {});
    return true;
  } catch (const ProviderFailure&) {
    return false;
  }
}

void SqliteIndexTrial::Drop(const String& index) { m_session->Run(u"DROP INDEX " + index, {}, {}); }

std::vector<String> SqliteIndexTrial::Columns(const String& table) {
  std::vector<String> names;
  try {
    const StatementResult result = m_session->Run(u"SELECT * FROM [" + table + u"] LIMIT 0", {}, {});
    if (result.columns == nullptr) return names;
    for (const ResultColumn& column : *result.columns) names.push_back(column.name);
  } catch (const ProviderFailure&) {
    return {};
  }
  return names;
}

}  // namespace hostlinux
