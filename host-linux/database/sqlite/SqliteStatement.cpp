#include "host-linux/database/sqlite/SqliteStatement.h"

#include <algorithm>
#include <limits>

#include "host-linux/database/dialect/SqlLexer.h"
#include "host-linux/database/sqlite/SqliteErrors.h"
#include "host-linux/database/sqlite/SqliteTypes.h"

namespace hostlinux {
namespace {

// Room for a result of the last one's size is made at once, within these bounds.
constexpr std::size_t kMostReservedRows = 1000;
constexpr std::size_t kMostReservedBytes = 64 << 10;
// Of the texts and blobs of a batch; the last row may go beyond.
constexpr std::size_t kMostBatchBytes = 1 << 20;
// Of a jump: rows on its way are let go so many at a time.
constexpr std::size_t kRowsBetweenCuts = 1000;
constexpr std::size_t kUnlimited = std::numeric_limits<std::size_t>::max();

using varnel::Integer;
using varnel::String;

bool HoldsStatement(std::string_view sql) {
  const std::vector<SqlToken> tokens = LexSql(varnel::FromUtf8(sql));
  return std::any_of(tokens.begin(), tokens.end(), [](const SqlToken& token) {
    return token.kind != SqlTokenKind::End && token.kind != SqlTokenKind::Comment &&
           token.kind != SqlTokenKind::Semicolon;
  });
}

bool BeginsLikeQuery(const std::string& sql) {
  for (const SqlToken& token : LexSql(varnel::FromUtf8(sql))) {
    if (token.kind == SqlTokenKind::Comment) continue;
    return IsWord(token, u"SELECT") || IsWord(token, u"WITH") || IsWord(token, u"VALUES");
  }
  return false;
}

}  // namespace

SqliteStatement::SqliteStatement(sqlite3* database, const std::string& sql)
    : m_database(database), m_sql(sql) {
  sqlite3_stmt* statement = nullptr;
  const char* tail = nullptr;
  const int result =
      sqlite3_prepare_v2(database, sql.data(), static_cast<int>(sql.size()), &statement, &tail);
  m_statement.reset(statement);
  if (result != SQLITE_OK) RaiseSqlite(database);
  if (statement == nullptr) {
    RaiseSqlite(provider_error::kNoCommand, u"There is no statement in the text.", u"42000");
  }
  m_readsOnly = sqlite3_stmt_readonly(statement) != 0;
  m_isQuery = m_readsOnly && sqlite3_column_count(statement) > 0 && BeginsLikeQuery(sql);
  const std::string_view rest(tail, static_cast<std::size_t>(sql.data() + sql.size() - tail));
  if (!rest.empty() && HoldsStatement(rest)) {
    RaiseSqlite(provider_error::kSyntax, u"Only one statement can be run in one call.", u"42000");
  }
}

namespace {

// True for the column that is the table's row number: it is never NULL, though nobody has declared that.
bool IsRowNumber(sqlite3* database, const std::string& schema, const std::string& table,
                 std::string_view column) {
  const auto quoted = [](const std::string& name) {
    std::string text = "\"";
    for (const char c : name) text.append(c == '"' ? 2 : 1, c);
    return text + "\"";
  };
  const std::string sql = "SELECT _rowid_ FROM " + quoted(schema) + "." + quoted(table);
  sqlite3_stmt* statement = nullptr;
  if (sqlite3_prepare_v2(database, sql.c_str(), -1, &statement, nullptr) != SQLITE_OK) return false;
  const char* origin = sqlite3_column_origin_name(statement, 0);
  const bool isIt = origin != nullptr && origin == column;
  sqlite3_finalize(statement);
  return isIt;
}

}  // namespace

std::vector<ColumnFact> SqliteStatement::Facts() const {
  std::vector<ColumnFact> facts;
  for (int i = 0; i < sqlite3_column_count(m_statement.get()); ++i) {
    const char* name = sqlite3_column_name(m_statement.get(), i);
    const char* type = sqlite3_column_decltype(m_statement.get(), i);
    facts.push_back(
        {varnel::FromUtf8(name == nullptr ? "" : name), varnel::FromUtf8(type == nullptr ? "" : type)});
    const char* database = sqlite3_column_database_name(m_statement.get(), i);
    const char* table = sqlite3_column_table_name(m_statement.get(), i);
    const char* column = sqlite3_column_origin_name(m_statement.get(), i);
    if (table == nullptr || column == nullptr) continue;
    int isNotNull = 0;
    sqlite3_table_column_metadata(m_database, database, table, column, nullptr, nullptr, &isNotNull, nullptr,
                                  nullptr);
    facts.back().table = varnel::FromUtf8(table);
    facts.back().isNotNull = isNotNull != 0 || (UpperAscii(facts.back().declaredType) == u"INTEGER" &&
                                                IsRowNumber(m_database, database, table, column));
  }
  return facts;
}

namespace {

// Ends the statement, unless it is to keep running.
struct Ender {
  SqliteStatement& statement;
  bool keepsRunning = false;
  ~Ender() {
    if (!keepsRunning) statement.End();
  }
};

}  // namespace

void SqliteStatement::Start(const std::vector<BoundValue>& values) {
  Bind(values);
  m_onRow = Step();
  // The columns are only looked at now: the first step may have prepared the statement again.
  if (m_columns == nullptr || m_learnedAt != TimesPreparedAgain()) LearnColumns();
  GuessTypes(m_onRow);
}

StatementResult SqliteStatement::Run(const std::vector<BoundValue>& values, const StatementLimits& limits,
                                     std::size_t mostBytes) {
  Ender ender{*this};
  m_left = limits.maxRecords == 0 ? kUnlimited : static_cast<std::size_t>(limits.maxRecords);
  const int changes = m_readsOnly ? 0 : sqlite3_total_changes(m_database);
  Start(values);
  StatementResult result;
  if (!m_kinds.empty()) result.columns = m_columns;
  result.rows = RowStore(m_kinds.size());
  result.rows.Reserve(m_lastRows, m_lastBytes);
  const bool inBatches = m_isQuery && limits.batchRows != 0;
  ReadRows(result.rows, inBatches ? limits.batchRows : kUnlimited, inBatches ? kMostBatchBytes : kUnlimited,
           mostBytes);
  m_lastRows = std::min(result.rows.Rows(), kMostReservedRows);
  m_lastBytes = std::min(result.rows.Bytes(), kMostReservedBytes);
  if (!m_readsOnly) {
    result.affected = sqlite3_total_changes(m_database) == changes ? 0 : sqlite3_changes(m_database);
  }
  if (limits.wantsSent) result.sent = Sent();
  ender.keepsRunning = m_onRow;
  return result;
}

std::size_t SqliteStatement::AddTo(StatementResult& o_result, const std::vector<BoundValue>& values,
                                   std::size_t most, std::optional<std::size_t> keeps,
                                   const StatementLimits& limits, std::size_t mostBytes) {
  const Ender ender{*this};
  m_left = most;
  Start(values);
  if (o_result.columns == nullptr || (m_onRow && (keeps || o_result.rows.Rows() == 0))) {
    if (o_result.columns == nullptr) {
      o_result.rows = RowStore(m_kinds.size());
      o_result.rows.Reserve(m_lastRows, m_lastBytes);
    }
    o_result.columns = m_columns;
  }
  std::size_t read = 0;
  if (!keeps) {
    const std::size_t before = o_result.rows.Rows();
    ReadRows(o_result.rows, kUnlimited, kUnlimited, mostBytes);
    read = o_result.rows.Rows() - before;
  }
  for (; m_onRow; ++read) {
    GuessTypes(true);
    o_result.columns = m_columns;
    ReadRows(o_result.rows, 1, kUnlimited, mostBytes);
    if (o_result.rows.Rows() > *keeps + kRowsBetweenCuts)
      o_result.rows = o_result.rows.LastRows(*keeps, false);
  }
  m_lastRows = std::min(o_result.rows.Rows(), kMostReservedRows);
  m_lastBytes = std::min(o_result.rows.Bytes(), kMostReservedBytes);
  if (limits.wantsSent) o_result.sent += (o_result.sent.empty() ? u"" : u"; ") + Sent();
  return read;
}

void SqliteStatement::ReadRows(RowStore& rows, std::size_t most, std::size_t batchBytes,
                               std::size_t mostBytes) {
  const std::size_t bytesBefore = rows.Bytes();
  for (std::size_t count = 0; m_onRow && count < most && rows.Bytes() - bytesBefore < batchBytes; ++count) {
    AddRow(rows, mostBytes);
    --m_left;
    m_onRow = m_left != 0 && Step();
  }
}

void SqliteStatement::ReadBatch(RowStore& rows, std::size_t most, std::size_t mostBytes) {
  try {
    ReadRows(rows, most, kMostBatchBytes, mostBytes);
  } catch (...) {
    End();
    throw;
  }
  if (!m_onRow) End();
}

void SqliteStatement::End() {
  m_onRow = false;
  sqlite3_reset(m_statement.get());
  sqlite3_clear_bindings(m_statement.get());  // the values go
}

// The texts are not copied: they stay where they are until the statement is reset.
void SqliteStatement::Bind(const std::vector<BoundValue>& values) {
  for (std::size_t i = 0; i < values.size(); ++i) {
    const int position = static_cast<int>(i) + 1;
    int result = SQLITE_OK;
    if (const auto* number = std::get_if<std::int64_t>(&values[i])) {
      result = sqlite3_bind_int64(m_statement.get(), position, *number);
    } else if (const auto* real = std::get_if<double>(&values[i])) {
      result = sqlite3_bind_double(m_statement.get(), position, *real);
    } else if (const auto* text = std::get_if<std::string>(&values[i])) {
      result = sqlite3_bind_text64(m_statement.get(), position, text->data(), text->size(), SQLITE_STATIC,
                                   SQLITE_UTF8);
    } else if (const auto* blob = std::get_if<BoundBytes>(&values[i])) {
      // A pointer to no bytes at all would be NULL.
      result = blob->bytes.empty() ? sqlite3_bind_zeroblob(m_statement.get(), position, 0)
                                   : sqlite3_bind_blob64(m_statement.get(), position, blob->bytes.data(),
                                                         blob->bytes.size(), SQLITE_STATIC);
    } else {
      result = sqlite3_bind_null(m_statement.get(), position);
    }
    if (result != SQLITE_OK) RaiseSqlite(m_database);
  }
}

// The text with the values in their places.
String SqliteStatement::Sent() const {
  const std::unique_ptr<char, decltype(&sqlite3_free)> text(sqlite3_expanded_sql(m_statement.get()),
                                                            &sqlite3_free);
  return varnel::FromUtf8(text == nullptr ? m_sql : std::string_view(text.get()));
}

std::optional<String> SqliteStatement::ParameterBehind(std::size_t values) const {
  const int count = sqlite3_bind_parameter_count(m_statement.get());
  if (static_cast<std::size_t>(count) <= values) return std::nullopt;
  const char* name = sqlite3_bind_parameter_name(m_statement.get(), static_cast<int>(values) + 1);
  return varnel::FromUtf8(name == nullptr ? "?" : name);
}

int SqliteStatement::TimesPreparedAgain() const {
  return sqlite3_stmt_status(m_statement.get(), SQLITE_STMTSTATUS_REPREPARE, 0);
}

void SqliteStatement::LearnColumns() {
  std::vector<ResultColumn> columns;
  m_kinds.clear();
  for (const ColumnFact& fact : Facts()) {
    columns.push_back(ColumnOf(fact));
    m_kinds.push_back(KindOfDeclaredType(fact.declaredType));
  }
  m_columns = std::make_shared<const std::vector<ResultColumn>>(std::move(columns));
  m_learnedAt = TimesPreparedAgain();
}

// An expression has the type of its value in the first row, which the statement stands on if there is one.
// Nearly always that is the one of the last run.
void SqliteStatement::GuessTypes(bool hasRow) {
  std::shared_ptr<std::vector<ResultColumn>> changed;
  for (std::size_t i = 0; i < m_kinds.size(); ++i) {
    if (m_kinds[i] != ColumnKind::Unknown) continue;
    const Integer type =
        hasRow ? TypeOfStorage(sqlite3_column_type(m_statement.get(), static_cast<int>(i))) : kTypeOfNothing;
    if ((*m_columns)[i].type == type) continue;
    if (changed == nullptr) changed = std::make_shared<std::vector<ResultColumn>>(*m_columns);
    (*changed)[i].type = type;
  }
  if (changed != nullptr) m_columns = std::move(changed);
}

bool SqliteStatement::Step() {
  switch (sqlite3_step(m_statement.get())) {
    case SQLITE_ROW:
      return true;
    case SQLITE_DONE:
      return false;
    default:
      RaiseSqlite(m_database);
  }
}

// A row may have a thousand columns of the longest value each: each is looked at as it comes.
void SqliteStatement::AddRow(RowStore& rows, std::size_t mostBytes) const {
  for (std::size_t i = 0; i < m_kinds.size(); ++i) {
    AddCell(rows, static_cast<int>(i), m_kinds[i]);
    if (rows.Size() <= mostBytes) continue;
    rows.DropUnfinishedRow();
    RaiseTooLarge();
  }
}

void SqliteStatement::AddCell(RowStore& rows, int column, ColumnKind kind) const {
  AddStored(rows, m_statement.get(), column, kind);
}

}  // namespace hostlinux
