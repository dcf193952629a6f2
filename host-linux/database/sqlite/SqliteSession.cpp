#include "host-linux/database/sqlite/SqliteSession.h"

#include <sys/stat.h>

#include <array>

#include "host-linux/database/dialect/SqlLexer.h"
#include "host-linux/database/dialect/SqliteDialect.h"
#include "host-linux/database/sqlite/SqliteErrors.h"
#include "host-linux/database/sqlite/SqliteFunctions.h"

namespace hostlinux {
namespace {

using varnel::String;

constexpr std::size_t kMaxStatements = 128;
constexpr std::size_t kMaxFacts = 1024;
constexpr int kBusyMilliseconds = 5000;
// Between two looks at the clock, while a statement runs. One step may make a value of the greatest length.
constexpr int kStepsBetweenLooks = 200;
// Bytes of a value or a row. A function such as randomblob makes that much in one step, which nothing
// interrupts.
constexpr int kMaxValueLength = 64 << 20;

// Stops the statements of a connection that run past a point in time.
class Deadline {
 public:
  using Clock = std::chrono::steady_clock;

  Deadline(sqlite3* database, std::chrono::milliseconds timeout)
      : m_database(database), m_end(Clock::now() + timeout) {
    if (timeout.count() > 0) sqlite3_progress_handler(database, kStepsBetweenLooks, &Deadline::Look, this);
  }
  Deadline(const Deadline&) = delete;
  Deadline& operator=(const Deadline&) = delete;
  ~Deadline() { sqlite3_progress_handler(m_database, 0, nullptr, nullptr); }

 private:
  static int Look(void* self) { return Clock::now() >= static_cast<Deadline*>(self)->m_end ? 1 : 0; }

  sqlite3* m_database;
  Clock::time_point m_end;
};

bool IsAnyWord(const SqlToken& token, std::initializer_list<std::u16string_view> words) {
  for (std::u16string_view word : words) {
    if (IsWord(token, word)) return true;
  }
  return false;
}

}  // namespace

SqliteSession::SqliteSession(const std::filesystem::path& file, SqliteMode mode, PageReads reads)
    : m_file(file), m_dialect(*this, reads) {
  const bool inMemory = file == ":memory:";
  if (mode != SqliteMode::Create && !inMemory && !std::filesystem::exists(file)) {
    RaiseSqlite(provider_error::kFail,
                u"The database file '" + varnel::FromUtf8(file.string()) + u"' does not exist.", u"08001");
  }
  const int write = SQLITE_OPEN_READWRITE | (mode == SqliteMode::Create || inMemory ? SQLITE_OPEN_CREATE : 0);
  OpenFile(file.string(), mode == SqliteMode::Read && !inMemory ? SQLITE_OPEN_READONLY : write);
  Configure(mode);
  m_identity = Identity(file);
}

void SqliteSession::OpenFile(const std::string& name, int flags) {
  sqlite3* database = nullptr;
  const int result =
      sqlite3_open_v2(name.c_str(), &database, flags | SQLITE_OPEN_NOMUTEX | SQLITE_OPEN_EXRESCODE, nullptr);
  m_database.reset(database);
  if (result == SQLITE_OK) {
    sqlite3_limit(database, SQLITE_LIMIT_LENGTH, kMaxValueLength);
    return;
  }
  RaiseSqlite(provider_error::kFail,
              u"The database file '" + varnel::FromUtf8(name) + u"' can't be opened: " +
                  varnel::FromUtf8(sqlite3_errmsg(database)) + u".",
              u"08001");
}

void SqliteSession::Configure(SqliteMode mode) {
  sqlite3_busy_timeout(m_database.get(), kBusyMilliseconds);
  RegisterSqliteFunctions(m_database.get());
  if (mode != SqliteMode::Read) {
    Execute("PRAGMA journal_mode = WAL");
    Execute("PRAGMA synchronous = NORMAL");
    return;
  }
  // A write-ahead log in a folder that can't be written to stops even a reader, unless it is told that nobody
  // writes.
  if (sqlite3_exec(m_database.get(), "SELECT 1 FROM sqlite_schema", nullptr, nullptr, nullptr) ==
      SQLITE_CANTOPEN) {
    OpenFile("file:" + m_file.string() + "?immutable=1", SQLITE_OPEN_READONLY | SQLITE_OPEN_URI);
    sqlite3_busy_timeout(m_database.get(), kBusyMilliseconds);
    RegisterSqliteFunctions(m_database.get());
  }
  Execute("SELECT 1 FROM sqlite_schema");
}

void SqliteSession::Execute(const char* sql) {
  if (sqlite3_exec(m_database.get(), sql, nullptr, nullptr, nullptr) != SQLITE_OK)
    RaiseSqlite(m_database.get());
}

StatementResult SqliteSession::Run(const String& sql, const StatementLimits& limits) {
  const Deadline deadline(m_database.get(), limits.timeout);
  StatementResult result = RunPrepared(sql, limits.maxRecords);
  NoteSideEffects(sql);
  return result;
}

StatementResult SqliteSession::RunPrepared(const String& sql, varnel::Long maxRecords) {
  const EngineStatement engine = m_dialect.Translate(sql);
  if (engine.isNothing) {
    StatementResult nothing;
    nothing.sent = sql;
    return nothing;
  }
  const bool wasCached = m_statements.contains(engine.sql);
  SqliteStatement& statement = Prepared(engine.sql);
  StatementResult result = statement.Run(engine.values, maxRecords);
  // Another schema may ask for another text. Only a query is worth running again for that.
  if (wasCached && statement.WasPreparedAgain()) {
    ForgetSchema();
    if (result.affected < 0) return RunPrepared(sql, maxRecords);
  }
  return result;
}

SqliteStatement& SqliteSession::Prepared(const std::string& sql) {
  const auto found = m_statements.find(sql);
  if (found != m_statements.end()) return *found->second;
  if (m_statements.size() >= kMaxStatements) m_statements.clear();
  auto statement = std::make_unique<SqliteStatement>(m_database.get(), sql);
  return *m_statements.emplace(sql, std::move(statement)).first->second;
}

bool SqliteSession::HasPartialIndex() {
  SqliteStatement query(m_database.get(),
                        "SELECT 1 FROM sqlite_schema WHERE type = 'index' AND sql LIKE '%WHERE%'");
  return query.Run({}, 1).rows.Rows() > 0;
}

std::optional<std::vector<ColumnFact>> SqliteSession::Describe(const std::u16string& select) {
  const auto found = m_facts.find(select);
  if (found != m_facts.end()) return found->second;
  if (m_facts.size() >= kMaxFacts) m_facts.clear();
  std::optional<std::vector<ColumnFact>> facts;
  try {
    facts = SqliteStatement(m_database.get(), varnel::ToUtf8(select)).Facts();
  } catch (const ProviderFailure& failure) {
    // The name isn't known there; the statement itself will say so if it is known nowhere. A locked database
    // says nothing about names.
    if (failure.Error().NativeError != SQLITE_ERROR) return std::nullopt;
  }
  return m_facts.emplace(select, std::move(facts)).first->second;
}

void SqliteSession::ForgetSchema() {
  m_dialect.ForgetSchema();
  m_statements.clear();
  m_facts.clear();
}

void SqliteSession::NoteSideEffects(const String& sql) {
  const std::vector<SqlToken> tokens = LexSql(sql);
  if (IsAnyWord(tokens[0], {u"CREATE", u"DROP", u"ALTER", u"ATTACH", u"DETACH", u"PRAGMA"})) ForgetSchema();
  const bool temporary = tokens.size() > 1 && IsAnyWord(tokens[1], {u"TEMP", u"TEMPORARY"});
  m_tainted = m_tainted || temporary || IsAnyWord(tokens[0], {u"PRAGMA", u"ATTACH", u"DETACH"});
}

void SqliteSession::Begin() { Execute("BEGIN"); }
void SqliteSession::Commit() { Execute("COMMIT"); }
void SqliteSession::Rollback() { Execute("ROLLBACK"); }

bool SqliteSession::Recycle() {
  if (sqlite3_get_autocommit(m_database.get()) == 0 &&
      sqlite3_exec(m_database.get(), "ROLLBACK", nullptr, nullptr, nullptr) != SQLITE_OK) {
    return false;
  }
  return !m_tainted && m_file != ":memory:" && Identity(m_file) == m_identity;
}

SqliteSession::FileIdentity SqliteSession::Identity(const std::filesystem::path& file) {
  struct stat facts {};
  if (stat(file.c_str(), &facts) != 0) return {};
  return {static_cast<std::uint64_t>(facts.st_dev), static_cast<std::uint64_t>(facts.st_ino)};
}

}  // namespace hostlinux
