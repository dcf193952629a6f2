#include "host-linux/database/sqlite/SqliteIndexTrial.h"

#include <stdlib.h>

#include <algorithm>
#include <array>
#include <map>
#include <set>

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

bool IsDriver(const std::string& name, const ListRead& read) {
  return EqualsIgnoreCase(name, varnel::ToUtf8(read.driver));
}

// The step searches for one value of the column.
bool Meets(const PlanStep& step, const std::string& column) {
  const std::string detail = LowerAscii(step.detail);
  const std::string equal = LowerAscii(column) + "=?";
  return detail.find("(" + equal) != std::string::npos || detail.find(" " + equal) != std::string::npos;
}

bool ReadsOneRow(const PlanStep& step, const ListRead& read, const std::vector<UniqueColumns>& uniques) {
  if (!step.detail.starts_with(kSearch) || !IsDriver(NameIn(step.detail, kSearch), read)) return false;
  return std::any_of(uniques.begin(), uniques.end(), [&](const UniqueColumns& columns) {
    return std::all_of(columns.begin(), columns.end(),
                       [&](const std::string& column) { return Meets(step, column); });
  });
}

// A sort of what a page's arms gave isn't one of a table's rows, nor is one of a single row and what is joined to it.
bool SortsTable(const std::vector<PlanStep>& steps, const PlanStep& sort, const ListRead& read,
                const std::vector<UniqueColumns>& uniques) {
  const bool isPart = sort.detail.ends_with(" OF ORDER BY");
  const auto isBeside = [&](const PlanStep& step) {
    return step.parent == sort.parent && ReadsTable(steps, step);
  };
  const auto first = std::find_if(steps.begin(), steps.end(), isBeside);
  if (first == steps.end()) return false;
  if (ReadsOneRow(*first, read, uniques)) return false;
  return std::any_of(first, steps.end(), [&](const PlanStep& step) {
    return isBeside(step) && !(isPart && ReadsOneValue(step));
  });
}

bool IsSmall(const std::string& name, const ListRead& read) {
  return std::any_of(read.small.begin(), read.small.end(),
                     [&](const String& source) { return EqualsIgnoreCase(name, varnel::ToUtf8(source)); });
}

bool ScansWell(const std::string& name, const ListRead& read) {
  return IsSmall(name, read) || (IsDriver(name, read) && !read.isBehindAnchor && read.equal.empty());
}

bool SearchesWell(const PlanStep& step, const ListRead& read) {
  if (step.detail.find(" AUTOMATIC ") != std::string::npos) return false;
  if (read.isShort || !IsDriver(NameIn(step.detail, kSearch), read)) return true;
  return std::all_of(read.equal.begin(), read.equal.end(),
                     [&](const String& column) { return Meets(step, varnel::ToUtf8(column)); });
}

std::vector<PlanStep> StepsOf(const RowStore& plan) {
  std::vector<PlanStep> steps;
  for (std::size_t i = 0; i < plan.Rows(); ++i)
    steps.push_back({varnel::ToLong(plan.Value(1, i)), varnel::ToUtf8(varnel::ToText(plan.Value(3, i)))});
  return steps;
}

}  // namespace

bool IsServedBy(const std::vector<PlanStep>& steps, const ListRead& read,
                const std::vector<UniqueColumns>& uniques) {
  return std::all_of(steps.begin(), steps.end(), [&](const PlanStep& step) {
    if (IsSort(step)) return read.isShort || !SortsTable(steps, step, read, uniques);
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
  const std::vector<UniqueColumns> uniques = Uniques(read.table);
  const std::vector<RowStore> plans = m_session->Plans(read.sql, read.parameters, read.page);
  return std::all_of(plans.begin(), plans.end(),
                     [&](const RowStore& plan) { return IsServedBy(StepsOf(plan), read, uniques); });
}

std::vector<UniqueColumns> SqliteIndexTrial::Uniques(const String& table) {
  const Database copy = Open(m_folder / kCopyName, SQLITE_OPEN_READONLY);
  const std::string name = Quoted(varnel::ToUtf8(table));
  const auto rows = Rows(
      copy.get(), ("SELECT l.name, i.name, t.\"notnull\" FROM pragma_index_list(" + name +
                   ") l, pragma_index_info(l.name) i LEFT JOIN pragma_table_info(" + name +
                   ") t ON t.name = i.name WHERE l.\"unique\" = 1 AND l.partial = 0 ORDER BY l.seq, i.seqno")
                      .c_str());
  std::map<std::string, UniqueColumns> uniques;
  std::set<std::string> mayBeNull;
  for (const auto& row : rows) {
    uniques[row[0]].push_back(row[1]);
    if (row[2] != "1") mayBeNull.insert(row[0]);
  }
  std::vector<UniqueColumns> found;
  for (auto& [index, columns] : uniques) {
    if (!mayBeNull.contains(index)) found.push_back(std::move(columns));
  }
  return found;
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
