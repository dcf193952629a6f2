#include "host-linux/database/postgresql/PostgresqlSession.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cstdlib>

#include "host-linux/database/dialect/QueryText.h"
#include "host-linux/database/postgresql/PostgresqlErrors.h"

namespace hostlinux {
namespace {

using Clock = PostgresqlConnection::Clock;
using std::chrono::milliseconds;
using varnel::String;
using varnel::host::StatementParameters;

constexpr std::size_t kMaxStatements = 300;  // that the server keeps for a session
constexpr std::size_t kMaxCounts = 500;
constexpr std::size_t kLongestCountKey = 4000;
// What was learnt of tables is asked again, as nothing tells that somebody has changed them.
constexpr std::chrono::seconds kKeepsFacts{60};
// Before a failure is taken for theirs. Who sends nonsense doesn't have them asked more often.
constexpr std::chrono::seconds kFreshFacts{1};
// A connection that reads from a primary for want of a replica looks for one again.
constexpr std::chrono::seconds kKeepsPrimary{60};
constexpr milliseconds kForRollback{2000};
constexpr std::size_t kAllRows = static_cast<std::size_t>(-1);

bool LeavesSomething(const std::vector<SqlToken>& tokens) {
  if (!IsAnyWord(tokens.front(), {u"SELECT", u"INSERT", u"UPDATE", u"DELETE", u"WITH", u"VALUES", u"MERGE",
                                  u"TABLE", u"EXPLAIN", u"SHOW", u"CREATE", u"ALTER", u"DROP", u"TRUNCATE",
                                  u"ANALYZE", u"VACUUM", u"COMMENT", u"REINDEX", u"REFRESH"}) &&
      tokens.front().kind != SqlTokenKind::Open) {
    return true;
  }
  return std::any_of(tokens.begin(), tokens.end(), [](const SqlToken& token) {
    const std::u16string name = UpperAscii(token.text);
    return token.kind == SqlTokenKind::Word &&
           (name == u"TEMP" || name == u"TEMPORARY" || name == u"SET_CONFIG" ||
            name.starts_with(u"PG_ADVISORY") || name.starts_with(u"PG_TRY_ADVISORY") ||
            name.starts_with(u"DBLINK") || name.starts_with(u"LO_"));
  });
}

bool ChangesSchema(const SqlToken& first) {
  return IsAnyWord(first, {u"CREATE", u"ALTER", u"DROP", u"TRUNCATE"});
}

bool IsPlanOutdated(const varnel::host::ProviderError& error) {
  return error.Description.find(u"cached plan must not change result type") != String::npos;
}

// What a text becomes where something else is known of its tables.
bool MayBeOfOldFacts(const varnel::host::ProviderError& error) {
  return error.SQLState.starts_with(u"22") || error.Number == provider_error::kSyntax;
}

std::shared_ptr<const PostgresqlShape> ShapeOfResult(const PGresult* described, const String& sql) {
  if (PQnfields(described) == 0) return nullptr;
  const auto spelled = SpelledNames(sql);
  auto shape = std::make_shared<PostgresqlShape>();
  auto columns = std::make_shared<std::vector<ResultColumn>>();
  for (int i = 0; i < PQnfields(described); ++i) {
    columns->push_back(ColumnOf(described, i));
    const auto found = spelled.find(columns->back().name);
    if (found != spelled.end()) columns->back().name = found->second;
    shape->kinds.push_back(KindOfType(PQftype(described, i)));
  }
  shape->columns = std::move(columns);
  return shape;
}

void AddRow(RowStore& rows, const PGresult* result, const PostgresqlShape& shape, std::size_t mostOfValue) {
  for (std::size_t i = 0; i < shape.kinds.size(); ++i)
    AddValue(rows, result, 0, static_cast<int>(i), shape.kinds[i], mostOfValue);
}

void RequireSize(const RowStore& rows, std::size_t most) {
  if (rows.Size() > most)
    RaisePostgresql(provider_error::kFail, u"The result is larger than a result may be.", u"HY000");
}

varnel::Long Affected(const PGresult* result) {
  const char* count = PQcmdTuples(const_cast<PGresult*>(result));
  return *count == '\0' ? 0 : static_cast<varnel::Long>(std::strtol(count, nullptr, 10));
}

}  // namespace

PostgresqlSession::PostgresqlSession(const PostgresqlAccess& access, const OpenOptions& options)
    : m_limits(options.limits),
      m_timeLeft(options.timeLeft),
      m_readsOnly(access.readsOnly),
      m_prefersStandby(access.prefersStandby),
      m_keepsCounts(access.keepsCounts),
      m_connection(access.options, DeadlineIn(options.timeout)),
      m_facts(m_connection, [this](const std::function<void()>& action) { return Tries(action); }),
      m_dialect(m_facts, WordsOfPostgresql(), access.reads),
      m_counts(kMaxCounts) {
  // A doubled quote is the only escape in a literal, and what the server writes is read in one way only.
  std::string settings =
      "SET standard_conforming_strings = on; SET client_encoding = 'UTF8'; SET DateStyle = 'ISO, YMD';"
      " SET bytea_output = 'hex'; SET extra_float_digits = 1;";
  if (m_readsOnly) settings += " SET default_transaction_read_only = on;";
  m_connection.Execute(settings);
  // The parts of a page are read in their order. Another server that speaks the protocol needn't know the word.
  Tries([this] { m_connection.Execute("SET enable_parallel_append = off"); });
  m_factsUntil = Clock::now() + kKeepsFacts;
}

PostgresqlConnection::Deadline PostgresqlSession::DeadlineIn(milliseconds timeout) const {
  PostgresqlConnection::Deadline deadline;
  if (timeout.count() > 0) deadline = Clock::now() + timeout;
  const std::optional<milliseconds> left = m_timeLeft ? m_timeLeft() : std::nullopt;
  if (left && (!deadline || Clock::now() + *left < *deadline)) deadline = Clock::now() + *left;
  return deadline;
}

// Should this process go, the server ends its statement by itself, a while later. Asked for in powers of two, as each
// change is a round trip.
void PostgresqlSession::BoundOnServer(PostgresqlConnection::Deadline deadline) {
  if (IsInTransaction()) return;
  milliseconds wanted{0};
  if (deadline) {
    std::optional<milliseconds> whole = m_timeLeft ? m_timeLeft() : std::nullopt;
    if (!whole) whole = std::chrono::ceil<milliseconds>(*deadline - Clock::now());
    wanted = std::max(*whole, milliseconds(1000));
    if (m_serverTimeout >= wanted && m_serverTimeout <= 16 * wanted) return;
    wanted =
        milliseconds(std::int64_t{1000} << std::bit_width(static_cast<std::uint64_t>(wanted.count() / 1000)));
  }
  if (wanted == m_serverTimeout) return;
  m_connection.Execute("SET statement_timeout = " + std::to_string(wanted.count()));
  m_serverTimeout = wanted;
}

template <typename Action>
auto PostgresqlSession::Within(milliseconds timeout, Action action) {
  FinishReader();
  const PostgresqlConnection::Deadline deadline = DeadlineIn(timeout);
  m_connection.SetDeadline(deadline);
  BoundOnServer(deadline);
  return action();
}

// A failed statement ends the server's transaction, but not a page's: it goes on from before the statement.
template <typename Action>
auto PostgresqlSession::AsOneStep(Action action) {
  if (!IsInTransaction()) return action();
  m_connection.Execute("SAVEPOINT varnel_step");
  try {
    auto result = action();
    if (IsInTransaction()) m_connection.Execute("RELEASE SAVEPOINT varnel_step");
    return result;
  } catch (const ProviderFailure&) {
    m_connection.SetDeadline(Clock::now() + kForRollback);
    if (m_connection.IsUsable() && IsInTransaction())
      m_connection.Execute("ROLLBACK TO SAVEPOINT varnel_step");
    throw;
  }
}

// False where the server refuses it.
bool PostgresqlSession::Tries(const std::function<void()>& action) {
  try {
    AsOneStep([&] {
      action();
      return true;
    });
    return true;
  } catch (const ProviderFailure& failure) {
    if (!m_connection.IsUsable() || failure.Error().Number == provider_error::kTimeout) throw;
    return false;
  }
}

StatementResult PostgresqlSession::Run(const String& sql, const StatementParameters& parameters,
                                       const StatementLimits& limits) {
  if (sql.find(u'\0') != String::npos)
    RaisePostgresql(provider_error::kSyntax, u"A statement can't have a character 0.", u"42601");
  return Within(limits.timeout, [&] {
    if (Clock::now() > m_factsUntil) ForgetSchema();
    Note(sql);
    try {
      return RunAny(sql, parameters, limits);
    } catch (const ProviderFailure& failure) {
      const bool isOld =
          MayBeOfOldFacts(failure.Error()) && Clock::now() > m_factsUntil - kKeepsFacts + kFreshFacts;
      if ((!isOld && !IsPlanOutdated(failure.Error())) || IsInTransaction()) throw;
    }
    ForgetSchema();
    ForgetStatements();
    return RunAny(sql, parameters, limits);
  });
}

void PostgresqlSession::Note(const String& sql) {
  const std::vector<SqlToken> tokens = LexSql(sql);
  if (LeavesSomething(tokens) && !WordsOfPostgresql().IsNothing(tokens)) {
    // BEGIN READ WRITE, for one, gets round the session's setting.
    if (m_readsOnly)
      RaisePostgresql(provider_error::kPermission, u"A connection that only reads runs no such statement.",
                      u"42000");
    m_isUsed = true;
  }
  if (ChangesSchema(tokens.front())) ForgetSchema();
}

StatementResult PostgresqlSession::RunAny(const String& sql, const StatementParameters& parameters,
                                          const StatementLimits& limits) {
  StatementResult result = [&] {
    if (limits.estimatesOnly) return RunEstimate(sql, parameters, limits);
    if (limits.countsOnly || (m_keepsCounts.count() > 0 && IsCount(sql)))
      return RunCount(sql, parameters, limits);
    if (limits.page != nullptr) {
      if (std::optional<StatementResult> page = RunPage(sql, parameters, limits)) return std::move(*page);
    }
    return RunTranslated(m_dialect.Translate(sql, parameters), sql, limits);
  }();
  if (m_reader == nullptr) RequireSettings();
  return result;
}

// Whoever got round a setting has got round what holds because of it.
void PostgresqlSession::RequireSettings() {
  const std::string readOnly = m_connection.Setting("default_transaction_read_only");
  if (m_connection.Setting("standard_conforming_strings") == "on" &&
      m_connection.Setting("client_encoding") == "UTF8" &&
      m_connection.Setting("DateStyle").starts_with("ISO") &&
      (!m_readsOnly || readOnly.empty() || readOnly == "on")) {
    return;
  }
  m_isUsed = true;
  RaisePostgresql(provider_error::kPermission,
                  u"A statement has changed a setting that the connection depends on.", u"42000");
}

std::optional<StatementResult> PostgresqlSession::RunPage(const String& sql,
                                                          const StatementParameters& parameters,
                                                          const StatementLimits& limits) {
  const varnel::host::PageSpec& page = *limits.page;
  // Of a union the text gives as many rows as its branches do together.
  const bool isCut = limits.maxRecords != 0 && limits.maxRecords <= page.rows;
  if (page.branches.size() > 1 && !isCut) return std::nullopt;
  const std::optional<PageStatements> statements = m_dialect.TranslatePage(page, parameters);
  if (!statements) return std::nullopt;
  const EngineStatement statement = statements->Statement(0);
  const auto rows = static_cast<std::size_t>(isCut ? limits.maxRecords : page.rows);
  const bool isJump = page.way != -1;
  StatementResult result = AsOneStep(
      [&] { return RunWhole(statement, PreparedFor(statement.sql, sql), isJump ? kAllRows : rows); });
  if (isJump) result.rows = result.rows.LastRows(rows, true);
  if (limits.wantsSent) result.sent = varnel::FromUtf8(statement.sql);
  return result;
}

StatementResult PostgresqlSession::KeptCount::Result() const {
  StatementResult result;
  result.columns = columns;
  result.rows = rows;
  return result;
}

// What the planner thinks of the whole text.
StatementResult PostgresqlSession::RunEstimate(const String& sql, const StatementParameters& parameters,
                                               const StatementLimits& limits) {
  EngineStatement statement = m_dialect.Translate(WithoutOrder(sql), parameters);
  statement.sql = "EXPLAIN " + statement.sql;
  StatementLimits whole = limits;
  whole.batchRows = 0;
  const StatementResult plan = RunTranslated(std::move(statement), sql, whole);
  StatementResult result;
  if (plan.rows.Rows() == 0) return result;
  const varnel::Variant first = plan.rows.Value(0, 0);
  const String* text = first.As<String>();
  if (const auto rows = RowsOfPlan(text == nullptr ? std::string() : varnel::ToUtf8(*text))) {
    result.rows = RowStore(1);
    result.rows.AddLong(*rows);
  }
  return result;
}

StatementResult PostgresqlSession::RunCount(const String& sql, const StatementParameters& parameters,
                                            const StatementLimits& limits) {
  EngineStatement statement = m_dialect.Translate(limits.countsOnly ? WithoutOrder(sql) : sql, parameters);
  if (limits.countsOnly) statement.sql = CountingText(statement.sql);
  const std::string key = KeyOf(statement);
  const bool mayKeep = m_keepsCounts.count() > 0 && !IsInTransaction() && key.size() <= kLongestCountKey;
  KeptCount* kept = mayKeep ? m_counts.Find(key) : nullptr;
  if (kept != nullptr && Clock::now() < kept->until) return kept->Result();
  StatementLimits whole = limits;
  whole.batchRows = 0;
  StatementResult result = RunTranslated(std::move(statement), sql, whole);
  if (!mayKeep || result.rows.Rows() != 1) return result;
  const Clock::time_point until = Clock::now() + m_keepsCounts;
  if (kept == nullptr) kept = &m_counts.Add(key, KeptCount{until, nullptr, RowStore()});
  *kept = KeptCount{until, result.columns, result.rows};
  return result;
}

StatementResult PostgresqlSession::RunTranslated(EngineStatement statement, const String& spelled,
                                                 const StatementLimits& limits) {
  if (!statement.unbound.empty()) RaisePostgresql(provider_error::kNoValue, statement.unbound, u"07002");
  StatementResult result;
  if (statement.isNothing) return result;
  if (limits.maxRecords > 0 && IsQuery(statement.sql)) {
    statement.values.emplace_back(std::int64_t{limits.maxRecords});
    statement.sql = "SELECT * FROM (" + statement.sql + "\n) AS \"first rows\" LIMIT $" +
                    std::to_string(statement.values.size());
  }
  const std::size_t rows = limits.maxRecords > 0 ? static_cast<std::size_t>(limits.maxRecords) : kAllRows;
  result = AsOneStep([&] {
    const Prepared prepared = PreparedFor(statement.sql, spelled);
    const bool inBatches = limits.batchRows > 0 && prepared.shape != nullptr && !IsInTransaction();
    return inBatches ? RunInBatches(statement, prepared, limits) : RunWhole(statement, prepared, rows);
  });
  if (limits.wantsSent) result.sent = varnel::FromUtf8(statement.sql);
  return result;
}

PostgresqlSession::Prepared PostgresqlSession::PreparedFor(const std::string& sql, const String& spelled) {
  if (const auto found = m_statements.find(sql); found != m_statements.end()) return found->second;
  if (m_statements.size() >= kMaxStatements) ForgetStatements();
  Prepared prepared{"v" + std::to_string(++m_names), nullptr};
  m_connection.Prepare(prepared.name, sql);
  prepared.shape = ShapeOfResult(m_connection.Describe(prepared.name).get(), spelled);
  return m_statements.emplace(sql, std::move(prepared)).first->second;
}

void PostgresqlSession::ForgetStatements() {
  m_statements.clear();
  m_connection.Execute("DEALLOCATE ALL");
}

StatementResult PostgresqlSession::RunWhole(const EngineStatement& statement, const Prepared& prepared,
                                            std::size_t mostRows) {
  StatementResult result;
  if (prepared.shape == nullptr) {
    const PostgresqlResult done = m_connection.Run(prepared.name, statement.values);
    result.affected = Affected(done.get());
    return result;
  }
  result.columns = prepared.shape->columns;
  result.rows = RowStore(prepared.shape->kinds.size());
  m_connection.Start(prepared.name, statement.values);
  try {
    while (const PostgresqlResult row = m_connection.NextRow()) {
      if (PQntuples(row.get()) == 0 || result.rows.Rows() >= mostRows) continue;
      AddRow(result.rows, row.get(), *prepared.shape, m_limits.maxValue);
      RequireSize(result.rows, m_limits.maxResult);
    }
  } catch (const ProviderFailure&) {
    m_connection.Stop();
    throw;
  }
  return result;
}

StatementResult PostgresqlSession::RunInBatches(const EngineStatement& statement, const Prepared& prepared,
                                                const StatementLimits& limits) {
  StatementResult result;
  result.columns = prepared.shape->columns;
  result.rows = RowStore(prepared.shape->kinds.size());
  m_connection.Start(prepared.name, statement.values);
  try {
    if (ReadRows(*prepared.shape, result.rows, {limits.batchRows, m_limits.maxResult, limits.timeout}))
      result.rest = std::make_unique<PostgresqlReader>(*this, prepared.shape, limits);
  } catch (const ProviderFailure&) {
    StopReader();
    throw;
  }
  return result;
}

bool PostgresqlSession::ReadRows(const PostgresqlShape& shape, RowStore& io_rows, const Batch& batch) {
  if (m_reader != nullptr) m_connection.SetDeadline(DeadlineIn(batch.timeout));
  for (std::size_t i = 0; i < batch.rows; ++i) {
    const PostgresqlResult row = m_next != nullptr ? std::move(m_next) : m_connection.NextRow();
    if (row == nullptr) return false;
    if (PQntuples(row.get()) == 0) {
      m_connection.NextRow();
      return false;
    }
    AddRow(io_rows, row.get(), shape, m_limits.maxValue);
    RequireSize(io_rows, batch.bytes);
  }
  // The last batch is known for it.
  m_next = m_connection.NextRow();
  if (m_next != nullptr && PQntuples(m_next.get()) > 0) return true;
  m_next = nullptr;
  m_connection.NextRow();
  return false;
}

void PostgresqlSession::StopReader() noexcept {
  m_reader = nullptr;
  m_next = nullptr;
  m_connection.Stop();
}

// The rows that nobody has read yet are read, as the server can't be asked before.
void PostgresqlSession::FinishReader() noexcept {
  if (m_reader != nullptr) m_reader->ReadAhead();
}

void PostgresqlSession::ForgetSchema() {
  m_facts.Forget();
  m_dialect.ForgetSchema();
  m_factsUntil = Clock::now() + kKeepsFacts;
}

void PostgresqlSession::RunScript(const std::string& sql) {
  Within(milliseconds(0), [&] { m_connection.Execute(sql); });
  ForgetSchema();
}

void PostgresqlSession::Begin() {
  Within(milliseconds(0), [&] { m_connection.Execute("BEGIN"); });
}

void PostgresqlSession::Commit() {
  Within(milliseconds(0), [&] {
    const PostgresqlResult result = m_connection.Execute("COMMIT");
    if (std::string_view(PQcmdStatus(result.get())) == "ROLLBACK")
      RaisePostgresql(provider_error::kFail, u"The transaction was taken back.", u"40000");
  });
}

void PostgresqlSession::Rollback() {
  Within(milliseconds(0), [&] { m_connection.Execute("ROLLBACK"); });
}

bool PostgresqlSession::IsCurrent() {
  if (!m_connection.IsAlive()) return false;
  const bool isAtPrimary = m_prefersStandby && m_connection.Setting("in_hot_standby") == "off";
  return !isAtPrimary || Clock::now() < m_openedAt + kKeepsPrimary;
}

bool PostgresqlSession::Recycle() {
  try {
    FinishReader();
    m_connection.SetDeadline(Clock::now() + kForRollback);
    if (IsInTransaction()) m_connection.Execute("ROLLBACK");
  } catch (const ProviderFailure&) {
    return false;
  }
  return m_connection.IsUsable() && !m_isUsed;
}

}  // namespace hostlinux
