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
#include "varnel/automation/Convert.h"

namespace hostlinux {
namespace {

using varnel::String;
using varnel::host::StatementParameters;

constexpr std::size_t kMaxStatements = 128;
constexpr std::size_t kMaxFacts = 1024;
constexpr std::size_t kMostNamesLooked = 1000;
// Of the engine, about twenty a row that an index gives: some milliseconds.
constexpr long kStepsOfLikelier = 100'000;
constexpr long kStepsOfOther = 400'000;
constexpr std::size_t kMaxCounts = 256;
constexpr std::size_t kParent = 1;  // the columns of a plan's line: what it is a part of, 0 for none,
constexpr std::size_t kDetail = 3;  // and what is done
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

// A line of a plan, of the statement itself or of a subquery: "USE TEMP B-TREE FOR ORDER BY", or for the "RIGHT PART" or
// "LAST TERM" of it.
SortWork SortWorkOf(const String& detail, bool isOwn) {
  if (detail.ends_with(u" OF ORDER BY")) return SortWork::Groups;
  return isOwn && detail.ends_with(u" FOR ORDER BY") ? SortWork::Everything : SortWork::Nothing;
}

bool IsCount(std::u16string_view sql) {
  constexpr std::u16string_view kCount = u"SELECT COUNT(*)";
  return varnel::EqualsNoCase(sql.substr(0, kCount.size()), kCount);
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
      m_counts(kMaxCounts),
      m_texts(access.keptLists),
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

void SqliteSession::RaiseUnboundParameter(const std::u16string& sentence) {
  RaiseSqlite(provider_error::kNoValue, sentence, u"07002");
}

// The engine takes a parameter without a value for NULL, which finds nothing. It knows more forms of them than
// pages may use.
void SqliteSession::RequireValues(const SqliteStatement& statement, const EngineStatement& translated) {
  const std::optional<String> unbound = statement.ParameterBehind(translated.values.size());
  if (!unbound) return;
  RaiseUnboundParameter(u"Nobody gave the parameter " + *unbound + u" a value. Write it as :name or as ?.");
}

StatementResult SqliteSession::Run(const String& sql, const StatementParameters& parameters,
                                   const StatementLimits& limits) {
  m_timeout = limits.timeout;
  return Within(m_timeout, [&] {
    try {
      StatementResult result = RunAny(sql, parameters, limits);
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

std::vector<RowStore> SqliteSession::Plans(const String& sql, const StatementParameters& parameters,
                                           const varnel::host::PageSpec& page) {
  return Within(m_timeout, [&] {
    SchemaHasChanged();
    std::vector<EngineStatement> translated;
    if (const std::optional<PageStatements> steps = m_dialect.TranslatePage(page, parameters)) {
      for (std::size_t i = 0; i < steps->Count(); ++i) translated.push_back(steps->Statement(i));
    } else {
      translated.push_back(m_dialect.Translate(sql, parameters));
    }
    std::vector<RowStore> plans;
    for (const EngineStatement& statement : translated) {
      if (!statement.unbound.empty()) RaiseUnboundParameter(statement.unbound);
      SqliteStatement plan(m_database.get(), "EXPLAIN QUERY PLAN " + statement.sql);
      plans.push_back(plan.Run(statement.values, {}, m_limits.maxResult).rows);
    }
    return plans;
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

StatementResult SqliteSession::RunAny(const String& sql, const StatementParameters& parameters,
                                      const StatementLimits& limits) {
  // It notes how many rows tables have, but not how many a query gives.
  if (limits.estimatesOnly) return StatementResult();
  if (limits.countsOnly || IsCount(sql)) return RunCount(sql, parameters, limits);
  if (limits.page != nullptr) {
    if (std::optional<StatementResult> result = RunPage(parameters, limits)) return std::move(*result);
  }
  return RunTranslated(sql, parameters, limits);
}

// All of one state of the database, each statement for the rows that those before it left open.
std::optional<StatementResult> SqliteSession::RunPage(const StatementParameters& parameters,
                                                      const StatementLimits& limits) {
  const varnel::host::PageSpec& page = *limits.page;
  // Of a union the text gives as many rows as its branches do together.
  const bool isCut = limits.maxRecords != 0 && limits.maxRecords <= page.rows;
  if (page.branches.size() > 1 && !isCut) return std::nullopt;
  const Held held(*this);
  if (!held.SameSchema()) ForgetSchema();
  const std::optional<PageStatements> statements = m_dialect.TranslatePage(page, parameters);
  if (!statements) return std::nullopt;
  const bool isJump = page.way != -1;
  const auto rows = static_cast<std::size_t>(isCut ? limits.maxRecords : page.rows);
  PagePart part{isJump ? static_cast<std::size_t>(page.way) : rows, std::nullopt, limits};
  if (isJump) part.keeps = static_cast<std::size_t>(page.rows);
  StatementResult result;
  for (std::size_t i = 0; i < statements->Count() && part.left > 0; ++i) {
    const EngineStatement statement = statements->Statement(i);
    if (const std::optional<EngineStatement> walk = statements->Walk(i)) {
      RunLikelier(statement, *walk, part, result);
    } else {
      part.left -= RunPart(statement, part, result);
    }
  }
  if (isJump) result.rows = result.rows.LastRows(rows, true);
  return result;
}

std::size_t SqliteSession::RunPart(const EngineStatement& statement, const PagePart& part,
                                   StatementResult& o_result) {
  const Cached cached = Prepared(statement.sql);
  RequireValues(*cached.statement, statement);
  m_guard.BeginStatement(cached.namesQueries);
  return cached.statement->AddTo(o_result, statement.values, part.left, part.keeps, part.limits,
                                 m_limits.maxResult);
}

bool SqliteSession::RunPartWithin(long steps, const EngineStatement& statement, PagePart& io_part,
                                  StatementResult& o_result) {
  struct Lifter {
    SqliteTimeLimit& limit;
    ~Lifter() { limit.SetSteps(0); }
  } const lifter{m_timeLimit};
  const ResultColumns columnsBefore = o_result.columns;
  const RowStore rowsBefore = o_result.rows;
  m_timeLimit.SetSteps(steps);
  try {
    io_part.left -= RunPart(statement, io_part, o_result);
    return true;
  } catch (const ProviderFailure&) {
    if (!m_timeLimit.IsSpent()) throw;
  }
  o_result.columns = columnsBefore;
  o_result.rows = rowsBefore;
  return false;
}

// Both give the same rows. The one that was quicker the last time may begin, for a few milliseconds, and then the other one
// for some more; what neither can do in that time takes long either way.
void SqliteSession::RunLikelier(const EngineStatement& statement, const EngineStatement& walk,
                                PagePart& io_part, StatementResult& o_result) {
  const bool walksFirst = Prepared(statement.sql).walks;
  const EngineStatement& likelier = walksFirst ? walk : statement;
  const EngineStatement& other = walksFirst ? statement : walk;
  if (RunPartWithin(kStepsOfLikelier, likelier, io_part, o_result)) return;
  const bool isOther = RunPartWithin(kStepsOfOther, other, io_part, o_result);
  if (Cached* cached = m_statements.Find(statement.sql)) cached->walks = isOther != walksFirst;
  if (!isOther) io_part.left -= RunPart(statement, io_part, o_result);
}

StatementResult SqliteSession::RunTranslated(const String& sql, const StatementParameters& parameters,
                                             const StatementLimits& limits) {
  EngineStatement translated = m_dialect.Translate(sql, parameters);
  if (!translated.unbound.empty()) RaiseUnboundParameter(translated.unbound);
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
  if (found != nullptr && m_texts.IsMaking()) m_texts.NoteRead(IsSteady(*found));
  if (found != nullptr && !found->statement->IsRunning()) return *found;
  Cached cached;
  cached.namesQueries = m_guard.HasList() && HasWithClause(varnel::FromUtf8(sql));
  m_guard.BeginStatement(cached.namesQueries);
  cached.statement = std::make_shared<SqliteStatement>(m_database.get(), sql);
  cached.notes = std::make_shared<ReadNotes>(ReadNotes{m_guard.TakeNotes(), std::nullopt});
  if (found == nullptr && m_texts.IsMaking()) m_texts.NoteRead(IsSteady(cached));
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

std::optional<SortWork> SqliteSession::SortsFor(const std::u16string& select) {
  const auto found = m_sorts.find(select);
  if (found != m_sorts.end()) return found->second;
  if (m_sorts.size() >= kMaxFacts) m_sorts.clear();
  const SuspendedGuard suspended(m_guard);
  SortWork work = SortWork::Nothing;
  try {
    SqliteStatement plan(m_database.get(), "EXPLAIN QUERY PLAN " + varnel::ToUtf8(select));
    const RowStore rows = plan.Run({}, {}, m_limits.maxResult).rows;
    for (std::size_t i = 0; i < rows.Rows(); ++i) {
      const bool isOwn = varnel::ToLong(rows.Value(kParent, i)) == 0;
      work = std::max(work, SortWorkOf(varnel::ToText(rows.Value(kDetail, i)), isOwn));
    }
  } catch (const ProviderFailure&) {
    return std::nullopt;  // the statement itself will say why
  }
  return m_sorts.emplace(select, work).first->second;
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
  m_counts.Clear();
  m_texts.Clear();
  m_facts.clear();
  m_sorts.clear();
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
