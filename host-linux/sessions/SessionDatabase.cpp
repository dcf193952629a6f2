#include "host-linux/sessions/SessionDatabase.h"

#include "host-linux/database/sqlite/SqliteUse.h"

namespace hostlinux {

namespace {

constexpr int kPageBytes = 4096;
constexpr int kLockWait = 250;  // milliseconds; another worker's change takes microseconds

// Fold the log in from within a change where nobody else has for so long.
constexpr int kMostLogPages = 20'000;

constexpr char kSchema[] =
    "CREATE TABLE IF NOT EXISTS item (token BLOB NOT NULL, name BLOB NOT NULL, bytes BLOB NOT NULL,"
    " PRIMARY KEY (token, name)) WITHOUT ROWID";

}  // namespace

// A statement with its parameters, reset in the end. What is bound outlives it.
class SessionDatabase::Use {
 public:
  explicit Use(const Statement& statement) : m_statement(statement.get()) {}
  ~Use() {
    sqlite3_reset(m_statement);
    sqlite3_clear_bindings(m_statement);
  }
  Use(const Use&) = delete;
  Use& operator=(const Use&) = delete;

  Use& With(std::string_view bytes) {
    // A null pointer would be NULL.
    const char* start = bytes.data() == nullptr ? "" : bytes.data();
    sqlite3_bind_blob64(m_statement, ++m_bound, start, bytes.size(), SQLITE_STATIC);
    return *this;
  }
  std::string Bytes(int column) {
    const auto* bytes = static_cast<const char*>(sqlite3_column_blob(m_statement, column));
    const int size = sqlite3_column_bytes(m_statement, column);
    return bytes == nullptr ? std::string() : std::string(bytes, static_cast<std::size_t>(size));
  }
  sqlite3_stmt* Get() const { return m_statement; }

 private:
  sqlite3_stmt* m_statement;
  int m_bound = 0;
};

SessionDatabase::SessionDatabase(const std::filesystem::path& file, std::uint64_t maxBytes, bool isDurable) {
  PrepareSqlite();
  sqlite3* opened = nullptr;
  const int flags = SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE | SQLITE_OPEN_NOMUTEX;
  const int result = sqlite3_open_v2(file.c_str(), &opened, flags, "unix");
  m_database.reset(opened);
  if (result != SQLITE_OK) Fail(result);
  sqlite3_busy_timeout(opened, kLockWait);
  sqlite3_db_config(opened, SQLITE_DBCONFIG_DEFENSIVE, 1, nullptr);
  sqlite3_db_config(opened, SQLITE_DBCONFIG_TRUSTED_SCHEMA, 0, nullptr);
  Run("PRAGMA page_size = " + std::to_string(kPageBytes));
  Run("PRAGMA mmap_size = 0");  // a file that gets shorter is an error and no signal
  Run("PRAGMA journal_mode = WAL");
  Run(isDurable ? "PRAGMA synchronous = NORMAL" : "PRAGMA synchronous = OFF");
  Run("PRAGMA journal_size_limit = 67108864");
  Run("PRAGMA max_page_count = " + std::to_string(maxBytes / kPageBytes + 1));
  Run(kSchema);
  m_read = Prepare("SELECT bytes FROM item WHERE token = ?1 AND name = ?2");
  m_readAll = Prepare("SELECT name, bytes FROM item WHERE token = ?1");
  m_readNext = Prepare("SELECT token, name, bytes FROM item WHERE token > ?1 ORDER BY token, name LIMIT 1");
  m_write = Prepare("INSERT OR REPLACE INTO item VALUES (?1, ?2, ?3)");
  m_remove = Prepare("DELETE FROM item WHERE token = ?1 AND name = ?2");
  m_removeAll = Prepare("DELETE FROM item WHERE token = ?1");
  m_begin = Prepare("BEGIN IMMEDIATE");
  m_commit = Prepare("COMMIT");
  m_rollback = Prepare("ROLLBACK");
  m_version = Prepare("PRAGMA data_version");
  sqlite3_wal_hook(opened, &SessionDatabase::OnCommit, this);
}

SessionDatabase::~SessionDatabase() = default;

int SessionDatabase::OnCommit(void* self, sqlite3* database, const char* name, int pages) {
  static_cast<SessionDatabase*>(self)->m_logPages = pages;
  if (pages >= kMostLogPages)
    sqlite3_wal_checkpoint_v2(database, name, SQLITE_CHECKPOINT_PASSIVE, nullptr, nullptr);
  return SQLITE_OK;
}

void SessionDatabase::Fail(int code) const {
  throw DatabaseFailure(code & 0xFF, m_database ? sqlite3_errmsg(m_database.get()) : sqlite3_errstr(code));
}

void SessionDatabase::Run(const std::string& sql) {
  const int result = sqlite3_exec(m_database.get(), sql.c_str(), nullptr, nullptr, nullptr);
  if (result != SQLITE_OK) Fail(result);
}

SessionDatabase::Statement SessionDatabase::Prepare(const char* sql) {
  sqlite3_stmt* statement = nullptr;
  const int result =
      sqlite3_prepare_v3(m_database.get(), sql, -1, SQLITE_PREPARE_PERSISTENT, &statement, nullptr);
  if (result != SQLITE_OK) Fail(result);
  return Statement(statement);
}

// True for a row.
bool SessionDatabase::Step(Use& use) {
  const int result = sqlite3_step(use.Get());
  if (result != SQLITE_ROW && result != SQLITE_DONE) Fail(result);
  return result == SQLITE_ROW;
}

std::optional<std::string> SessionDatabase::Read(const std::string& token, std::string_view name) {
  Use use(m_read);
  if (!Step(use.With(token).With(name))) return std::nullopt;
  return use.Bytes(0);
}

std::vector<SessionDatabase::Row> SessionDatabase::ReadAll(const std::string& token) {
  std::vector<Row> rows;
  Use use(m_readAll);
  use.With(token);
  while (Step(use)) rows.push_back({use.Bytes(0), use.Bytes(1)});
  return rows;
}

std::optional<SessionDatabase::Row> SessionDatabase::ReadNext(std::string& token) {
  Use use(m_readNext);
  if (!Step(use.With(token))) return std::nullopt;
  Row row{use.Bytes(1), use.Bytes(2)};
  token = use.Bytes(0);
  return row;
}

void SessionDatabase::Write(const std::string& token, std::string_view name, std::string_view bytes) {
  Use use(m_write);
  Step(use.With(token).With(name).With(bytes));
}

void SessionDatabase::Remove(const std::string& token, std::string_view name) {
  Use use(m_remove);
  Step(use.With(token).With(name));
}

void SessionDatabase::RemoveAll(const std::string& token) {
  Use use(m_removeAll);
  Step(use.With(token));
}

void SessionDatabase::InOneStep(const std::function<void()>& changes) {
  {
    Use begin(m_begin);
    Step(begin);
  }
  try {
    changes();
    Use commit(m_commit);
    Step(commit);
  } catch (...) {
    // Some failures have undone everything already.
    Use rollback(m_rollback);
    if (sqlite3_get_autocommit(m_database.get()) == 0) sqlite3_step(rollback.Get());
    throw;
  }
}

std::int64_t SessionDatabase::Version() {
  Use use(m_version);
  return Step(use) ? sqlite3_column_int64(use.Get(), 0) : 0;
}

void SessionDatabase::FoldLog() {
  const int result =
      sqlite3_wal_checkpoint_v2(m_database.get(), nullptr, SQLITE_CHECKPOINT_PASSIVE, nullptr, nullptr);
  if (result != SQLITE_OK && result != SQLITE_BUSY) Fail(result);
}

}  // namespace hostlinux
