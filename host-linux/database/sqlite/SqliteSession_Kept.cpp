// What a session keeps of what it has read: the numbers of rows of texts, and texts that were made of rows.
#include <bit>

#include "host-linux/database/dialect/SqlLexer.h"
#include "host-linux/database/sqlite/SqliteErrors.h"
#include "host-linux/database/sqlite/SqliteSession.h"
#include "varnel/automation/Convert.h"

namespace hostlinux {
namespace {

using varnel::String;
using varnel::host::StatementParameters;

constexpr std::size_t kLongestCountKey = 4096;  // bytes

// The text that counts what `sql` gives; none where two runs of it may differ.
std::optional<std::string> CountingText(const std::string& sql, varnel::Long maxRecords) {
  const std::vector<SqlToken> tokens = LexSql(varnel::FromUtf8(sql));
  std::size_t end = 0;
  for (; tokens[end].kind != SqlTokenKind::End && tokens[end].kind != SqlTokenKind::Semicolon; ++end) {
    if (IsWord(tokens[end], u"RANDOM") || IsWord(tokens[end], u"RANDOMBLOB")) return std::nullopt;
  }
  // A line of its own closes it, behind a comment too.
  const std::string query = varnel::ToUtf8(PrintSql(tokens, 0, end)) + "\n";
  if (maxRecords == 0) return "SELECT COUNT(*) FROM (" + query + ")";
  return "SELECT COUNT(*) FROM (SELECT * FROM (" + query + ") LIMIT " + std::to_string(maxRecords) + ")";
}

std::string KeyOf(const BoundValue& value) {
  if (const auto* text = std::get_if<std::string>(&value)) return *text;
  if (const auto* blob = std::get_if<BoundBytes>(&value)) return blob->bytes;
  if (const auto* real = std::get_if<double>(&value))
    return std::to_string(std::bit_cast<std::uint64_t>(*real));
  const auto* number = std::get_if<std::int64_t>(&value);
  return number == nullptr ? std::string() : std::to_string(*number);
}

// Each value with its kind and length in front, so that no two lists look alike.
std::string KeyOf(const EngineStatement& statement) {
  std::string key = statement.sql;
  for (const BoundValue& value : statement.values) {
    const std::string plain = KeyOf(value);
    key += '\0' + std::to_string(value.index()) + ' ' + std::to_string(plain.size()) + ' ' + plain;
  }
  return key;
}

}  // namespace

// Counted anew only where the database has changed since, or may give another number without that. A text that only begins
// like a count is run like any other.
StatementResult SqliteSession::RunCount(const String& sql, const StatementParameters& parameters,
                                        const StatementLimits& limits) {
  const Held held(*this);
  if (!held.SameSchema()) ForgetSchema();
  EngineStatement statement = m_dialect.Translate(sql, parameters);
  if (!statement.unbound.empty()) RaiseUnboundParameter(statement.unbound);
  if (limits.countsOnly) {
    const std::optional<std::string> counting = CountingText(statement.sql, 0);
    if (!counting) return CountByReading(statement, limits);
    statement.sql = *counting;
  }
  const std::string key = KeyOf(statement);
  const bool mayKeep = MayKeep() && key.size() <= kLongestCountKey;
  if (mayKeep) {
    ForgetOldCounts();
    if (const KeptCount* kept = m_counts.Find(key)) return kept->Result();
  }
  StatementResult result =
      limits.countsOnly ? RunWhole(statement, limits) : RunTranslated(sql, parameters, limits);
  const bool isOne = result.rest == nullptr && result.rows.Rows() == 1 && result.rows.Columns() == 1;
  const Cached* cached = m_statements.Find(statement.sql);
  if (mayKeep && isOne && cached != nullptr && IsSteady(*cached))
    m_counts.Add(key, {result.columns, result.rows});
  return result;
}

StatementResult SqliteSession::RunWhole(const EngineStatement& statement, const StatementLimits& limits) {
  const Cached cached = Prepared(statement.sql);
  RequireValues(*cached.statement, statement);
  m_guard.BeginStatement(cached.namesQueries);
  const StatementLimits whole{limits.maxRecords, 0, limits.timeout, limits.wantsSent};
  return cached.statement->Run(statement.values, whole, m_limits.maxResult);
}

StatementResult SqliteSession::CountByReading(const EngineStatement& statement,
                                              const StatementLimits& limits) {
  StatementResult result = RunWhole(statement, limits);
  const auto count = static_cast<varnel::Long>(result.rows.Rows());
  result.rows = RowStore(1);
  result.rows.AddLong(count);
  result.columns = nullptr;
  return result;
}

std::optional<RowCount> SqliteSession::CountRows(const SqliteStatement& statement,
                                                 const std::vector<BoundValue>& values,
                                                 const StatementLimits& limits) {
  const std::optional<std::string> sql = CountingText(statement.Sql(), limits.maxRecords);
  if (!sql) return std::nullopt;
  return Within(limits.timeout, [&]() -> std::optional<RowCount> {
    const std::optional<Cached> cached = PreparedIfPossible(*sql);
    if (!cached) return std::nullopt;
    m_guard.BeginStatement(cached->namesQueries);
    const StatementLimits all{0, 0, limits.timeout, limits.wantsSent};
    const StatementResult result = cached->statement->Run(values, all, m_limits.maxResult);
    return RowCount{varnel::ToLong(result.rows.Value(0, 0)), result.sent};
  });
}

unsigned SqliteSession::DataVersion() const {
  unsigned version = 0;
  sqlite3_file_control(m_database.get(), "main", SQLITE_FCNTL_DATA_VERSION, &version);
  return version;
}

// A database that can't be read now keeps nothing: whoever reads it next is told why.
const String* SqliteSession::KeptText(const String& key) {
  if (!MayKeep()) return nullptr;
  try {
    return Within(m_timeout, [&] {
      const Held held(*this);
      if (!held.SameSchema()) ForgetSchema();
      return m_texts.Find(key, DataVersion());
    });
  } catch (const ProviderFailure&) {
    return nullptr;
  }
}

void SqliteSession::KeepText(const String& key, const String& text) {
  if (!m_texts.IsMaking() || !MayKeep()) return;
  try {
    Within(m_timeout, [&] {
      const Held held(*this);
      if (held.SameSchema()) m_texts.Keep(key, text, DataVersion());
    });
  } catch (const ProviderFailure&) {
    return;
  }
}

void SqliteSession::ForgetOldCounts() {
  const unsigned version = DataVersion();
  if (version == m_countsVersion) return;
  m_counts.Clear();
  m_countsVersion = version;
}

StatementResult SqliteSession::KeptCount::Result() const {
  StatementResult result;
  result.columns = columns;
  result.rows = rows;
  return result;
}

bool SqliteSession::IsSteady(const Cached& cached) {
  ReadNotes& notes = *cached.notes;
  if (!notes.isSteady) notes.isSteady = AreSteady(notes.notes);
  return *notes.isSteady;
}

// Only functions of their arguments are called, and only tables and views read that lie in the file, and not behind one of
// the connection that bears their name.
bool SqliteSession::AreSteady(const SqliteGuard::Notes& notes) {
  if (!notes.isSteady) return false;
  const SuspendedGuard suspended(m_guard);
  SqliteStatement query(
      m_database.get(),
      "SELECT 1 FROM sqlite_schema WHERE name = ?1 COLLATE NOCASE AND type IN ('table', 'view')"
      " AND sql NOT LIKE 'CREATE VIRTUAL%'"
      " AND NOT EXISTS (SELECT 1 FROM sqlite_temp_schema WHERE name = ?1 COLLATE NOCASE)");
  return std::all_of(notes.tables.begin(), notes.tables.end(), [&](const std::string& table) {
    return query.Run({table}, {}, m_limits.maxResult).rows.Rows() > 0;
  });
}

}  // namespace hostlinux
