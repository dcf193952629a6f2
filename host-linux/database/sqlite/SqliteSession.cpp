#include "host-linux/database/sqlite/SqliteSession.h"

#include <sys/stat.h>

#include <algorithm>

#include "host-linux/database/dialect/SqlLexer.h"
#include "host-linux/database/dialect/SqliteDialect.h"
#include "host-linux/database/sqlite/SqliteErrors.h"
#include "host-linux/database/sqlite/SqliteFunctions.h"

namespace hostlinux {
namespace {

using varnel::String;

constexpr std::size_t kMaxStatements = 128;
constexpr std::size_t kMaxFacts = 1024;
// Bytes of a value or a row. A function such as randomblob makes that much in one step, which nothing
// interrupts.
constexpr int kMaxValueLength = 64 << 20;

// `path` as it stands in a "file:" address.
std::string AddressOf(const std::filesystem::path& path) {
  std::string address = "file:";
  for (const char c : path.string()) {
    if (c == '%') {
      address += "%25";
    } else if (c == '?') {
      address += "%3f";
    } else if (c == '#') {
      address += "%23";
    } else {
      address += c;
    }
  }
  return address;
}

bool HasWithClause(std::u16string_view sql) {
  const std::vector<SqlToken> tokens = LexSql(sql);
  return std::any_of(tokens.begin(), tokens.end(),
                     [](const SqlToken& token) { return IsWord(token, u"WITH"); });
}

}  // namespace

SqliteSession::SqliteSession(const std::filesystem::path& file, const SqliteAccess& access,
                             std::chrono::milliseconds timeout)
    : m_file(file),
      m_guard(access.tables, access.mode == SqliteMode::Read),
      m_statements(kMaxStatements),
      m_dialect(*this, access.reads) {
  const bool inMemory = file == ":memory:";
  if (access.mode != SqliteMode::Create && !inMemory && !std::filesystem::exists(file)) {
    RaiseSqlite(provider_error::kFail,
                u"The database file '" + varnel::FromUtf8(file.string()) + u"' does not exist.", u"08001");
  }
  // Before it is opened: a file that takes its place meanwhile is noticed then.
  m_state = StateOf(file);
  m_timeLimit.Start(timeout);
  if (access.mode == SqliteMode::Read) {
    OpenForReading();
  } else {
    OpenFile(file.string(), SQLITE_OPEN_READWRITE |
                                (access.mode == SqliteMode::Create || inMemory ? SQLITE_OPEN_CREATE : 0));
    Execute("PRAGMA journal_mode = WAL");
    Execute("PRAGMA synchronous = NORMAL");
  }
  m_timeLimit.Stop();
  if (m_state.node == 0) m_state = StateOf(file);
  m_guard.Watch(m_database.get());
  m_guard.LearnViews(m_database.get());
}

void SqliteSession::OpenFile(const std::string& name, int flags) {
  sqlite3* database = nullptr;
  const int result =
      sqlite3_open_v2(name.c_str(), &database, flags | SQLITE_OPEN_NOMUTEX | SQLITE_OPEN_EXRESCODE, nullptr);
  m_database.reset(database);
  if (result != SQLITE_OK) {
    RaiseSqlite(provider_error::kFail,
                u"The database file '" + varnel::FromUtf8(m_file.string()) + u"' can't be opened: " +
                    varnel::FromUtf8(sqlite3_errmsg(database)) + u".",
                u"08001");
  }
  sqlite3_limit(database, SQLITE_LIMIT_LENGTH, kMaxValueLength);
  m_timeLimit.Watch(database);
  RegisterSqliteFunctions(database);
}

void SqliteSession::OpenForReading() {
  const bool inMemory = m_file == ":memory:";
  OpenFile(m_file.string(), inMemory ? SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE : SQLITE_OPEN_READONLY);
  // A write-ahead log in a folder that can't be written to stops even a reader, unless it is told that nobody
  // writes.
  if (sqlite3_exec(m_database.get(), "SELECT 1 FROM sqlite_schema", nullptr, nullptr, nullptr) ==
      SQLITE_CANTOPEN) {
    OpenFile(AddressOf(m_file) + "?immutable=1", SQLITE_OPEN_READONLY | SQLITE_OPEN_URI);
  }
  Execute("SELECT 1 FROM sqlite_schema");
}

void SqliteSession::Execute(const char* sql) {
  if (sqlite3_exec(m_database.get(), sql, nullptr, nullptr, nullptr) != SQLITE_OK)
    RaiseSqlite(m_database.get());
}

StatementResult SqliteSession::Run(const String& sql, const StatementLimits& limits) {
  m_timeLimit.Start(limits.timeout);
  try {
    StatementResult result = RunTranslated(sql, limits);
    m_timeLimit.Stop();
    if (m_guard.TakeSchemaChange()) ForgetSchema();
    return result;
  } catch (const ProviderFailure& failure) {
    m_timeLimit.Stop();
    NoteFailure(failure.Error());
    throw;
  }
}

StatementResult SqliteSession::RunTranslated(const String& sql, const StatementLimits& limits) {
  EngineStatement translated = m_dialect.Translate(sql);
  const bool isKnown = translated.isNothing || m_statements.Find(translated.sql) != nullptr;
  if (!isKnown && SchemaHasChanged()) translated = m_dialect.Translate(sql);
  if (translated.isNothing) {
    StatementResult nothing;
    nothing.sent = sql;
    return nothing;
  }
  const Cached& cached = Prepared(translated.sql);
  const int timesBefore = cached.statement->TimesPreparedAgain();
  m_guard.BeginRunning(cached.namesQueries);
  StatementResult result = cached.statement->Run(translated.values, limits);
  if (cached.statement->TimesPreparedAgain() == timesBefore || !SchemaHasChanged()) return result;
  // Another schema may ask for another text. Only a query is worth running again for that.
  return result.affected < 0 ? RunTranslated(sql, limits) : std::move(result);
}

SqliteSession::Cached& SqliteSession::Prepared(const std::string& sql) {
  if (Cached* found = m_statements.Find(sql)) return *found;
  Cached cached;
  cached.namesQueries = m_guard.HasList() && HasWithClause(varnel::FromUtf8(sql));
  m_guard.BeginPreparing(cached.namesQueries);
  cached.statement = std::make_unique<SqliteStatement>(m_database.get(), sql);
  return m_statements.Add(sql, std::move(cached));
}

std::optional<std::vector<ColumnFact>> SqliteSession::Describe(const std::u16string& select) {
  const auto found = m_facts.find(select);
  if (found != m_facts.end()) return found->second;
  if (m_facts.size() >= kMaxFacts) m_facts.clear();
  std::optional<std::vector<ColumnFact>> facts;
  // Nothing is read: what the statement may not touch, it will be told itself.
  const SuspendedGuard suspended(m_guard);
  try {
    facts = SqliteStatement(m_database.get(), varnel::ToUtf8(select)).Facts();
  } catch (const ProviderFailure& failure) {
    // The name isn't known there; the statement itself will say so if it is known nowhere. A locked database
    // says nothing about names.
    if (failure.Error().NativeError != SQLITE_ERROR) return std::nullopt;
  }
  return m_facts.emplace(select, std::move(facts)).first->second;
}

bool SqliteSession::HasPartialIndex() {
  const SuspendedGuard suspended(m_guard);
  SqliteStatement query(m_database.get(),
                        "SELECT 1 FROM sqlite_schema WHERE type = 'index' AND sql LIKE '%WHERE%' LIMIT 1");
  return query.Run({}, {}).rows.Rows() > 0;
}

// What was learned of the schema holds for a text that is worked out now only if nobody has changed it since.
// SQLite looks when a statement is run, not when one is prepared; it then prepares it again. True if what was
// learned has been forgotten.
bool SqliteSession::SchemaHasChanged() {
  {
    const SuspendedGuard suspended(m_guard);
    if (m_probe == nullptr) {
      m_probe = std::make_unique<SqliteStatement>(m_database.get(), "SELECT 1 FROM sqlite_schema LIMIT 1");
    }
    m_probe->Run({}, {});
    if (m_probe->TimesPreparedAgain() == 0) return false;
    m_probe = nullptr;
  }
  ForgetSchema();
  return true;
}

void SqliteSession::ForgetSchema() {
  m_statements.Clear();
  m_facts.clear();
  m_dialect.ForgetSchema();
  m_guard.LearnViews(m_database.get());
}

// After these errors the file may be another one than the connection remembers.
void SqliteSession::NoteFailure(const varnel::host::ProviderError& error) {
  switch (error.NativeError & 0xFF) {
    case SQLITE_AUTH:  // the views may have changed
    case SQLITE_CANTOPEN:
    case SQLITE_CORRUPT:
    case SQLITE_IOERR:
    case SQLITE_NOTADB:
    case SQLITE_NOMEM:
    case SQLITE_PROTOCOL:
      m_broken = true;
      break;
    default:
      break;
  }
}

void SqliteSession::Begin() { Execute("BEGIN"); }
void SqliteSession::Commit() { Execute("COMMIT"); }
void SqliteSession::Rollback() { Execute("ROLLBACK"); }

bool SqliteSession::Recycle() {
  if (sqlite3_get_autocommit(m_database.get()) == 0 &&
      sqlite3_exec(m_database.get(), "ROLLBACK", nullptr, nullptr, nullptr) != SQLITE_OK) {
    return false;
  }
  return !m_broken && !m_guard.LeavesTraces() && m_file != ":memory:";
}

bool SqliteSession::IsCurrent() {
  const FileState now = StateOf(m_file);
  const bool same = now.device == m_state.device && now.node == m_state.node && now.size >= m_state.size;
  m_state.size = now.size;
  return same;
}

SqliteSession::FileState SqliteSession::StateOf(const std::filesystem::path& file) {
  struct stat facts {};
  if (stat(file.c_str(), &facts) != 0) return {};
  return {static_cast<std::uint64_t>(facts.st_dev), static_cast<std::uint64_t>(facts.st_ino),
          static_cast<std::uint64_t>(facts.st_size)};
}

}  // namespace hostlinux
