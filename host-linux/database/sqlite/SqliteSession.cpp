#include "host-linux/database/sqlite/SqliteSession.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <utility>

#include "host-linux/base/NearestName.h"
#include "host-linux/database/dialect/SqlLexer.h"
#include "host-linux/database/dialect/SqliteDialect.h"
#include "host-linux/database/sqlite/SqliteErrors.h"
#include "host-linux/database/sqlite/SqliteFunctions.h"
#include "host-linux/database/sqlite/SqliteUse.h"
#include "varnel/automation/Convert.h"

namespace hostlinux {
namespace {

using varnel::String;

constexpr std::size_t kMaxStatements = 128;
constexpr std::size_t kMaxFacts = 1024;
constexpr std::size_t kMostNamesLooked = 1000;
constexpr std::size_t kDetail = 3;  // the column of a plan's line that tells what is done
// What a text may ask of the engine before it runs; the values go beside it, as parameters.
constexpr std::array<std::pair<int, int>, 5> kEngineLimits = {{
    {SQLITE_LIMIT_SQL_LENGTH, 8 << 20},  // bytes
    {SQLITE_LIMIT_EXPR_DEPTH, 1000},
    {SQLITE_LIMIT_COMPOUND_SELECT, 500},
    {SQLITE_LIMIT_VDBE_OP, 1 << 20},
    {SQLITE_LIMIT_LIKE_PATTERN_LENGTH, static_cast<int>(kLongestLikePattern)},
}};
// The virtual tables of a connection that only reads. What shows the engine's inside isn't among them.
constexpr std::array<const char*, 9> kModulesOfReaders = {
    "fts3", "fts4", "fts5", "rtree", "rtree_i32", "geopoly", "json_each", "json_tree", nullptr};

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

// A line of a plan: "USE TEMP B-TREE FOR RIGHT PART OF ORDER BY", or "... FOR LAST TERM OF ORDER BY". The
// whole order's is "... FOR ORDER BY".
bool IsSortInPart(const varnel::Variant& detail) { return varnel::ToText(detail).ends_with(u" OF ORDER BY"); }

[[noreturn]] void RaiseUnbound(const std::u16string& sentence) {
  RaiseSqlite(provider_error::kNoValue, sentence, u"07002");
}

// The engine takes a parameter without a value for NULL, which finds nothing. It knows more forms of them than
// pages may use.
void RequireValues(const SqliteStatement& statement, const EngineStatement& translated) {
  const std::optional<String> unbound = statement.ParameterBehind(translated.values.size());
  if (!unbound) return;
  RaiseUnbound(u"Nobody gave the parameter " + *unbound + u" a value. Write it as :name or as ?.");
}

bool HasWithClause(std::u16string_view sql) {
  const std::vector<SqlToken> tokens = LexSql(sql);
  return std::any_of(tokens.begin(), tokens.end(),
                     [](const SqlToken& token) { return IsWord(token, u"WITH"); });
}

}  // namespace

bool MayBeTakenForUnchanging(const std::filesystem::path& file) {
  const auto isThere = [&](const char* suffix) {
    struct stat facts {};
    return stat((file.string() + suffix).c_str(), &facts) == 0;
  };
  const std::string folder = file.has_parent_path() ? file.parent_path().string() : ".";
  return !isThere("-wal") && !isThere("-shm") && faccessat(AT_FDCWD, folder.c_str(), W_OK, AT_EACCESS) != 0;
}

SqliteSession::SqliteSession(const std::filesystem::path& file, const SqliteAccess& access,
                             const OpenOptions& options)
    : m_file(file),
      m_limits(options.limits),
      m_timeout(options.timeout),
      m_timeLimit(options.timeLeft),
      m_guard(access.tables, access.functions, access.mode == SqliteMode::Read),
      m_statements(kMaxStatements),
      m_dialect(*this, access.reads) {
  const bool inMemory = file == ":memory:";
  if (access.mode != SqliteMode::Create && !inMemory && !std::filesystem::exists(file)) {
    RaiseSqlite(provider_error::kFail,
                u"The database file '" + varnel::FromUtf8(file.string()) + u"' does not exist.", u"08001");
  }
  // Before it is opened: a file that takes its place meanwhile is noticed then.
  m_state = StateOf(file);
  m_timeLimit.Start(m_timeout);
  if (access.mode == SqliteMode::Read) {
    OpenForReading();
  } else {
    OpenFile(file.string(), SQLITE_OPEN_READWRITE |
                                (access.mode == SqliteMode::Create || inMemory ? SQLITE_OPEN_CREATE : 0));
    Execute("PRAGMA journal_mode = WAL");
    Execute("PRAGMA synchronous = NORMAL");
  }
  if (m_state.node == 0) m_state = StateOf(file);
  Harden(access.mode == SqliteMode::Read);
  m_guard.Watch(m_database.get());
  m_guard.LearnViews(m_database.get());
  m_timeLimit.Stop();
}

void SqliteSession::OpenFile(const std::string& name, int flags) {
  sqlite3* database = nullptr;
  const int result = sqlite3_open_v2(name.c_str(), &database,
                                     flags | SQLITE_OPEN_NOMUTEX | SQLITE_OPEN_EXRESCODE, SqliteFileSystem());
  m_database.reset(database);
  if (result != SQLITE_OK) {
    RaiseSqlite(provider_error::kFail,
                u"The database file '" + varnel::FromUtf8(m_file.string()) + u"' can't be opened: " +
                    varnel::FromUtf8(sqlite3_errmsg(database)) + u".",
                u"08001");
  }
  const std::size_t mostOfEngine = 1'000'000'000;
  sqlite3_limit(database, SQLITE_LIMIT_LENGTH, static_cast<int>(std::min(m_limits.maxValue, mostOfEngine)));
  for (const auto& [limit, value] : kEngineLimits) sqlite3_limit(database, limit, value);
  m_timeLimit.Watch(database);
  RegisterSqliteFunctions(database, m_timeLimit);
}

// After the settings of our own, which a defensive engine may refuse.
void SqliteSession::Harden(bool readsOnly) {
  sqlite3* database = m_database.get();
  sqlite3_db_config(database, SQLITE_DBCONFIG_DEFENSIVE, 1, nullptr);
  sqlite3_db_config(database, SQLITE_DBCONFIG_TRUSTED_SCHEMA, 0, nullptr);
  sqlite3_db_config(database, SQLITE_DBCONFIG_ENABLE_FTS3_TOKENIZER, 0, nullptr);
  sqlite3_db_config(database, SQLITE_DBCONFIG_ENABLE_LOAD_EXTENSION, 0, nullptr);
  if (!readsOnly) return;
  sqlite3_limit(database, SQLITE_LIMIT_ATTACHED, 0);
  auto modules = kModulesOfReaders;
  sqlite3_drop_modules(database, modules.data());
}

void SqliteSession::OpenForReading() {
  const bool inMemory = m_file == ":memory:";
  OpenFile(m_file.string(), inMemory ? SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE : SQLITE_OPEN_READONLY);
  // The index of a write-ahead log can't be made in a folder that can't be written to, unless the engine is
  // told that nobody writes.
  const int result = sqlite3_exec(m_database.get(), "SELECT 1 FROM sqlite_schema", nullptr, nullptr, nullptr);
  const bool needsFiles = (result & 0xFF) == SQLITE_CANTOPEN || (result & 0xFF) == SQLITE_READONLY;
  if (needsFiles && MayBeTakenForUnchanging(m_file)) {
    m_isUnchanging = true;
    OpenFile(AddressOf(m_file) + "?immutable=1", SQLITE_OPEN_READONLY | SQLITE_OPEN_URI);
  }
  Execute("SELECT 1 FROM sqlite_schema");
}

void SqliteSession::Execute(const char* sql) {
  if (sqlite3_exec(m_database.get(), sql, nullptr, nullptr, nullptr) != SQLITE_OK)
    RaiseSqlite(m_database.get());
}

template <typename Action>
auto SqliteSession::Within(std::chrono::milliseconds timeout, Action action) {
  struct Stopper {
    SqliteTimeLimit& limit;
    ~Stopper() { limit.Stop(); }
  } const stopper{m_timeLimit};
  const SqliteAllowance allowance(m_limits);
  m_timeLimit.Start(timeout);
  try {
    return action();
  } catch (const ProviderFailure& failure) {
    NoteFailure(failure.Error());
    throw;
  }
}

StatementResult SqliteSession::Run(const String& sql, const varnel::host::StatementParameters& parameters,
                                   const StatementLimits& limits) {
  m_timeout = limits.timeout;
  return Within(m_timeout, [&] {
    try {
      StatementResult result = RunTranslated(sql, parameters, limits);
      if (m_guard.TakeSchemaChange()) ForgetSchema();
      return result;
    } catch (const ProviderFailure& failure) {
      const String meant = NameMeant(failure.Error(), sql);
      if (meant.empty()) throw;
      varnel::host::ProviderError error = failure.Error();
      error.Description += u"." + meant;
      throw ProviderFailure(error);
    }
  });
}

String SqliteSession::NameMeant(const varnel::host::ProviderError& error, const String& sql) {
  const bool isTable = error.SQLState == u"42S02";
  if (!isTable && error.SQLState != u"42S22") return {};
  const std::size_t colon = error.Description.rfind(u": ");
  if (colon == String::npos) return {};
  const String path = error.Description.substr(colon + 2);
  const String name = path.substr(path.rfind(u'.') + 1);  // npos + 1 is the beginning
  try {
    return DidYouMean(name, isTable ? TableNames() : ColumnNamesIn(sql));
  } catch (const ProviderFailure&) {
    return {};
  }
}

// Where tables are listed, the others aren't told of.
std::vector<String> SqliteSession::TableNames() {
  std::vector<String> names;
  if (m_guard.HasList()) return names;
  const SuspendedGuard suspended(m_guard);
  SqliteStatement query(m_database.get(),
                        "SELECT name FROM sqlite_schema WHERE type IN ('table', 'view') LIMIT 200");
  const RowStore rows = query.Run({}, {}, m_limits.maxResult).rows;
  for (std::size_t i = 0; i < rows.Rows(); ++i) names.push_back(varnel::ToText(rows.Value(0, i)));
  return names;
}

// Of the tables that the text names, as far as it may read them.
std::vector<String> SqliteSession::ColumnNamesIn(const String& sql) {
  std::vector<String> names;
  m_guard.BeginStatement(false);
  std::size_t looks = 0;
  for (const SqlToken& token : LexSql(sql)) {
    if (token.kind != SqlTokenKind::Word && token.kind != SqlTokenKind::QuotedName) continue;
    if (++looks > kMostNamesLooked || names.size() > kMostNamesLooked) break;
    try {
      const SqliteStatement table(m_database.get(), "SELECT * FROM " + varnel::ToUtf8(token.text));
      for (const ColumnFact& fact : table.Facts()) names.push_back(fact.name);
    } catch (const ProviderFailure&) {
      continue;  // another word
    }
  }
  return names;
}

StatementResult SqliteSession::RunTranslated(const String& sql,
                                             const varnel::host::StatementParameters& parameters,
                                             const StatementLimits& limits) {
  EngineStatement translated = m_dialect.Translate(sql, parameters);
  if (!translated.unbound.empty()) RaiseUnbound(translated.unbound);
  const bool isKnown = translated.isNothing || m_statements.Find(translated.sql) != nullptr;
  if (!isKnown && SchemaHasChanged()) translated = m_dialect.Translate(sql, parameters);
  if (translated.isNothing) {
    StatementResult nothing;
    nothing.sent = sql;
    return nothing;
  }
  const Cached cached = Prepared(translated.sql);
  RequireValues(*cached.statement, translated);
  if (!cached.statement->IsQuery() && !m_readers.empty()) {
    FinishReaders();
    m_timeLimit.Start(limits.timeout);
  }
  const int timesBefore = cached.statement->TimesPreparedAgain();
  m_guard.BeginStatement(cached.namesQueries);
  StatementResult result = cached.statement->Run(translated.values, limits, m_limits.maxResult);
  if (cached.statement->IsRunning()) {
    result.rest =
        std::make_unique<SqliteReader>(*this, cached.statement, std::move(translated.values), limits);
  }
  if (cached.statement->TimesPreparedAgain() == timesBefore || !SchemaHasChanged()) return result;
  // Another schema may ask for another text. Only a query is worth running again for that.
  if (result.affected >= 0) return result;
  result.rest = nullptr;
  return RunTranslated(sql, parameters, limits);
}

// One that a reader is busy with isn't run a second time: another one is, once.
SqliteSession::Cached SqliteSession::Prepared(const std::string& sql) {
  const Cached* found = m_statements.Find(sql);
  if (found != nullptr && !found->statement->IsRunning()) return *found;
  Cached cached;
  cached.namesQueries = m_guard.HasList() && HasWithClause(varnel::FromUtf8(sql));
  m_guard.BeginStatement(cached.namesQueries);
  cached.statement = std::make_shared<SqliteStatement>(m_database.get(), sql);
  if (found == nullptr) m_statements.Add(sql, cached);
  return cached;
}

std::optional<SqliteSession::Cached> SqliteSession::PreparedIfPossible(const std::string& sql) {
  try {
    return Prepared(sql);
  } catch (const ProviderFailure&) {
    return std::nullopt;
  }
}

void SqliteSession::ReadOn(SqliteStatement& statement, RowStore& rows, std::size_t batchRows,
                           std::size_t most, std::chrono::milliseconds timeout) {
  Within(timeout, [&] { statement.ReadBatch(rows, batchRows, most); });
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

void SqliteSession::FinishReaders() {
  const auto begin = SqliteTimeLimit::Clock::now();
  while (!m_readers.empty()) m_readers.back()->ReadAhead(begin);
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

bool SqliteSession::SortsInPart(const std::u16string& select) {
  const auto found = m_sortsInPart.find(select);
  if (found != m_sortsInPart.end()) return found->second;
  if (m_sortsInPart.size() >= kMaxFacts) m_sortsInPart.clear();
  const SuspendedGuard suspended(m_guard);
  bool sorts = false;
  try {
    SqliteStatement plan(m_database.get(), "EXPLAIN QUERY PLAN " + varnel::ToUtf8(select));
    const RowStore rows = plan.Run({}, {}, m_limits.maxResult).rows;
    for (std::size_t i = 0; i < rows.Rows(); ++i) sorts = sorts || IsSortInPart(rows.Value(kDetail, i));
  } catch (const ProviderFailure&) {
    return false;  // the statement itself will say why
  }
  return m_sortsInPart.emplace(select, sorts).first->second;
}

bool SqliteSession::HasPartialIndex() {
  const SuspendedGuard suspended(m_guard);
  SqliteStatement query(m_database.get(),
                        "SELECT 1 FROM sqlite_schema WHERE type = 'index' AND sql LIKE '%WHERE%' LIMIT 1");
  return query.Run({}, {}, m_limits.maxResult).rows.Rows() > 0;
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
    m_probe->Run({}, {}, m_limits.maxResult);
    if (m_probe->TimesPreparedAgain() == 0) return false;
    m_probe = nullptr;
  }
  ForgetSchema();
  return true;
}

void SqliteSession::ForgetSchema() {
  m_statements.Clear();
  m_facts.clear();
  m_sortsInPart.clear();
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

void SqliteSession::Begin() {
  FinishReaders();
  Within(m_timeout, [&] { Execute("BEGIN"); });
}

void SqliteSession::Commit() {
  FinishReaders();
  Within(m_timeout, [&] { Execute("COMMIT"); });
}

void SqliteSession::Rollback() {
  FinishReaders();
  Execute("ROLLBACK");
}

bool SqliteSession::Recycle() {
  FinishReaders();
  if (sqlite3_get_autocommit(m_database.get()) == 0 &&
      sqlite3_exec(m_database.get(), "ROLLBACK", nullptr, nullptr, nullptr) != SQLITE_OK) {
    return false;
  }
  const bool isHeavy = SqliteUse::OfThread().Memory() > static_cast<std::int64_t>(m_limits.maxMemory / 2);
  return !m_broken && !isHeavy && !m_guard.LeavesTraces() && m_file != ":memory:";
}

bool SqliteSession::IsCurrent() {
  const FileState now = StateOf(m_file);
  const bool same = now.device == m_state.device && now.node == m_state.node && now.size >= m_state.size;
  if (m_isUnchanging && (now.size != m_state.size || now.changed != m_state.changed)) return false;
  m_state.size = now.size;
  return same && (!m_isUnchanging || MayBeTakenForUnchanging(m_file));
}

SqliteSession::FileState SqliteSession::StateOf(const std::filesystem::path& file) {
  struct stat facts {};
  if (stat(file.c_str(), &facts) != 0) return {};
  return {static_cast<std::uint64_t>(facts.st_dev), static_cast<std::uint64_t>(facts.st_ino),
          static_cast<std::uint64_t>(facts.st_size),
          std::int64_t{facts.st_mtim.tv_sec} * 1'000'000'000 + facts.st_mtim.tv_nsec};
}

}  // namespace hostlinux
