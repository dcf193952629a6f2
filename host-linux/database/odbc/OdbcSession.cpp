#include "host-linux/database/odbc/OdbcSession.h"

#include <algorithm>
#include <array>
#include <bit>

#include "host-linux/database/dialect/PostgresqlDialect.h"
#include "host-linux/database/dialect/QueryText.h"
#include "host-linux/database/dialect/ServerWords.h"
#include "host-linux/database/odbc/OdbcErrors.h"
#include "host-linux/database/odbc/OdbcGuard.h"
#include "varnel/automation/Convert.h"

namespace hostlinux {
namespace {

using Clock = OdbcConnection::Clock;
using std::chrono::milliseconds;
using varnel::String;
using varnel::host::StatementParameters;

constexpr std::size_t kMaxStatements = 100;  // that the server keeps for a session
constexpr std::size_t kMaxCounts = 500;
constexpr std::size_t kLongestCountKey = 4000;
// What was learnt of tables is asked again, as nothing tells that somebody has changed them.
constexpr std::chrono::seconds kKeepsFacts{60};
// Before a failure is taken for theirs. Who sends nonsense doesn't have them asked more often.
constexpr std::chrono::seconds kFreshFacts{1};
constexpr milliseconds kForRollback{2000};
constexpr std::size_t kAllRows = static_cast<std::size_t>(-1);
constexpr std::size_t kMostLong = 2147483647;
// Of a FROM whose query has two columns of one name: MariaDB's and that of T-SQL servers, and of one without a name: theirs.
constexpr std::array<varnel::Long, 3> kBadNames = {1060, 8156, 8155};

// What a text becomes where something else is known of its tables.
bool MayBeOfOldFacts(const varnel::host::ProviderError& error) {
  return error.SQLState.starts_with(u"22") || error.Number == provider_error::kSyntax;
}

bool MustBeCounted(const varnel::host::ProviderError& error) {
  return std::find(kBadNames.begin(), kBadNames.end(), error.NativeError) != kBadNames.end();
}

// PostgreSQL's driver has a general state for a server that is gone; no error of the server's own has that.
bool IsLoss(OdbcServer server, const varnel::host::ProviderError& error) {
  if (error.SQLState.starts_with(u"08")) return true;
  const bool isGeneral = error.SQLState.starts_with(u"HY") && error.Number == provider_error::kFail;
  return server == OdbcServer::Postgresql && (isGeneral || error.SQLState.starts_with(u"57P"));
}

// SET TRANSACTION ISOLATION LEVEL READ COMMITTED and nothing else, which is how a session reads from its beginning.
bool IsPlainReadLevel(const std::vector<SqlToken>& tokens) {
  return tokens.size() == 7 && IsReadLevel(tokens) && IsWord(tokens[5], u"COMMITTED");
}

[[noreturn]] void RaiseTooLarge() {
  RaiseOdbc(provider_error::kFail, u"The result is larger than a result may be.", u"HY000");
}

void RequireSize(const RowStore& rows, std::size_t most) {
  if (rows.Size() > most) RaiseTooLarge();
}

// What such a value is cut at, unseen, by the server or on the way to it.
void RequireNoNul(const EngineStatement& statement) {
  for (const BoundValue& value : statement.values) {
    const auto* text = std::get_if<std::string>(&value);
    if (text != nullptr && text->find('\0') != std::string::npos)
      RaiseOdbc(provider_error::kFail, u"A text with a character 0 can't be a value.", u"22021");
  }
}

}  // namespace

OdbcSession::OdbcSession(const OdbcAccess& access, const OpenOptions& options)
    : m_limits(options.limits),
      m_timeLeft(options.timeLeft),
      m_readsOnly(access.readsOnly),
      m_keepsCounts(access.keepsCounts),
      m_connection(
          {access.text, access.readsOnly, DeadlineIn(options.timeout), access.isNarrow, access.patience}),
      m_server(ServerOf(access.dialect, m_connection.ServerName(), m_connection.DriverName())),
      m_facts(m_connection),
      m_counts(kMaxCounts) {
  if (const IEngineWords* words = WordsOf(m_server)) m_dialect.emplace(m_facts, *words, access.reads);
  if (m_server == OdbcServer::Sqlite) {
    LearnTexts();
    m_facts.LeaveExpressionsUntyped();
  }
  SetSession();
  m_factsUntil = Clock::now() + kKeepsFacts;
}

void OdbcSession::SetSession() {
  for (const std::string& setting : SettingsOf(m_server, m_readsOnly, m_limits))
    m_connection.Execute(setting);
  m_settings = Settings();
}

// There are builds of the driver with wide functions and without.
void OdbcSession::LearnTexts() {
  const bool isGuess = m_connection.IsNarrow();
  for (const bool isNarrow : {isGuess, !isGuess}) {
    m_connection.SetNarrow(isNarrow);
    if (OwnText("SELECT hex('\u00fc\u20ac')") == "C3BCE282AC") return;
  }
  RaiseOdbc(provider_error::kFail, u"The driver takes no texts of all characters.", u"08001");
}

OdbcConnection::Deadline OdbcSession::DeadlineIn(milliseconds timeout) const {
  OdbcConnection::Deadline deadline;
  if (timeout.count() > 0) deadline = Clock::now() + timeout;
  const std::optional<milliseconds> left = m_timeLeft ? m_timeLeft() : std::nullopt;
  if (left && (!deadline || Clock::now() + *left < *deadline)) deadline = Clock::now() + *left;
  return deadline;
}

// Should this process go, the server ends its statement by itself, a while later. Asked for in powers of two, as each
// change is a round trip.
void OdbcSession::BoundOnServer(OdbcConnection::Deadline deadline) {
  // Taken back with the transaction there.
  if (m_server == OdbcServer::Postgresql && m_isInTransaction) return;
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
  const std::string text = TimeLimitText(m_server, wanted);
  if (!text.empty()) m_connection.Execute(text);
  m_serverTimeout = wanted;
}

template <typename Action>
auto OdbcSession::Within(milliseconds timeout, Action action) {
  FinishReader();
  const OdbcConnection::Deadline deadline = DeadlineIn(timeout);
  m_connection.SetDeadline(deadline);
  try {
    // Of a statement whose rows have been read only now.
    if (m_asksSettings) RequireSettings();
    BoundOnServer(deadline);
    return action();
  } catch (const ProviderFailure& failure) {
    NoteFailure(failure.Error());
    throw;
  }
}

void OdbcSession::NoteFailure(const varnel::host::ProviderError& error) {
  m_isLost = m_isLost || IsLoss(m_server, error);
  // A deadlock, and nothing less, ends the transaction of its loser.
  m_isTakenBack = m_isTakenBack || (m_isInTransaction && error.SQLState.starts_with(u"40"));
}

StatementResult OdbcSession::Run(const String& sql, const StatementParameters& parameters,
                                 const StatementLimits& limits) {
  if (sql.find(u'\0') != String::npos)
    RaiseOdbc(provider_error::kSyntax, u"A statement can't have a character 0.", u"42000");
  return Within(limits.timeout, [&] {
    if (Clock::now() > m_factsUntil) ForgetSchema();
    Note(sql);
    try {
      return RunAny(sql, parameters, limits);
    } catch (const ProviderFailure& failure) {
      const bool isOld =
          MayBeOfOldFacts(failure.Error()) && Clock::now() > m_factsUntil - kKeepsFacts + kFreshFacts;
      if (!isOld || m_isInTransaction) throw;
    }
    ForgetSchema();
    return RunAny(sql, parameters, limits);
  });
}

void OdbcSession::Note(const String& sql) {
  const std::vector<SqlToken> tokens = LexSql(sql);
  if (IsBatch(m_server, tokens))
    RaiseOdbc(provider_error::kSyntax, u"A call runs one statement only.", u"42000");
  if (m_dialect && WordsOf(m_server)->IsNothing(tokens)) return;
  if (IsPlainReadLevel(tokens)) return;
  const bool leaves = LeavesSomething(m_server, tokens);
  if (m_readsOnly && (leaves || (m_server == OdbcServer::TransactSql && !OnlyReads(tokens)))) {
    RaiseOdbc(provider_error::kPermission, u"A connection that only reads runs no such statement.", u"42000");
  }
  if (CallsForbidden(m_server, tokens, m_readsOnly))
    RaiseOdbc(provider_error::kPermission, u"A connection can't use such a function.", u"42000");
  m_isUsed = m_isUsed || leaves;
  m_asksSettings = m_isUsed || MayChangeSettings(m_server, tokens);
  if (IsAnyWord(tokens.front(), {u"CREATE", u"ALTER", u"DROP", u"TRUNCATE", u"RENAME"})) ForgetSchema();
}

EngineStatement OdbcSession::Translate(const String& sql, const StatementParameters& parameters) {
  return m_dialect ? m_dialect->Translate(sql, parameters) : AsItStands(sql, parameters);
}

StatementResult OdbcSession::RunAny(const String& sql, const StatementParameters& parameters,
                                    const StatementLimits& limits) {
  StatementResult result = [&] {
    if (limits.estimatesOnly) return RunEstimate(sql, parameters, limits);
    if (limits.countsOnly || (m_keepsCounts.count() > 0 && IsCount(sql)))
      return RunCount(sql, parameters, limits);
    if (limits.page != nullptr) {
      if (std::optional<StatementResult> page = RunPage(sql, parameters, limits)) return std::move(*page);
    }
    return RunTranslated(Translate(sql, parameters), sql, limits);
  }();
  if (m_asksSettings && m_reader == nullptr) RequireSettings();
  return result;
}

// The first value of a query of ours.
std::string OdbcSession::OwnText(const std::string& query) {
  if (query.empty()) return {};
  const StatementResult result = RunWhole({query, {}, false, {}}, {}, kAllRows);
  return result.rows.Rows() == 1 ? varnel::ToUtf8(varnel::ToText(result.rows.Value(0, 0))) : std::string();
}

// Whoever got round a setting has got round what holds because of it.
void OdbcSession::RequireSettings() {
  if (m_server == OdbcServer::Mariadb && m_isInTransaction) return;  // which is a setting there
  m_asksSettings = false;
  if (Settings() == m_settings) return;
  m_isLost = true;
  RaiseOdbc(provider_error::kPermission, u"A statement has changed a setting that the connection depends on.",
            u"42000");
}

std::optional<StatementResult> OdbcSession::RunPage(const String& sql, const StatementParameters& parameters,
                                                    const StatementLimits& limits) {
  const varnel::host::PageSpec& page = *limits.page;
  // Of a union the text gives as many rows as its branches do together.
  const bool isCut = limits.maxRecords != 0 && limits.maxRecords <= page.rows;
  if (!m_dialect || (page.branches.size() > 1 && !isCut)) return std::nullopt;
  const std::optional<PageStatements> statements = m_dialect->TranslatePage(page, parameters);
  // Where the parts aren't joined, the text is run.
  if (!statements || statements->Count() != 1) return std::nullopt;
  const EngineStatement statement = statements->Statement(0);
  const auto rows = static_cast<std::size_t>(isCut ? limits.maxRecords : page.rows);
  const bool isJump = page.way != -1;
  StatementResult result = RunWhole(statement, sql, isJump ? kAllRows : rows);
  if (isJump) result.rows = result.rows.LastRows(rows, true);
  if (limits.wantsSent) result.sent = varnel::FromUtf8(statement.sql);
  return result;
}

StatementResult OdbcSession::KeptCount::Result() const {
  StatementResult result;
  result.columns = columns;
  result.rows = rows;
  return result;
}

// What the planner thinks of the whole text. Only PostgreSQL tells it so.
StatementResult OdbcSession::RunEstimate(const String& sql, const StatementParameters& parameters,
                                         const StatementLimits& limits) {
  StatementResult result;
  if (m_server != OdbcServer::Postgresql) return result;
  EngineStatement statement = Translate(WithoutOrder(sql), parameters);
  statement.sql = "EXPLAIN " + statement.sql;
  StatementLimits whole = limits;
  whole.batchRows = 0;
  const StatementResult plan = RunTranslated(std::move(statement), sql, whole);
  if (plan.rows.Rows() == 0) return result;
  if (const std::optional<varnel::Long> rows =
          RowsOfPlan(varnel::ToUtf8(varnel::ToText(plan.rows.Value(0, 0))))) {
    result.rows = RowStore(1);
    result.rows.AddLong(*rows);
  }
  return result;
}

StatementResult OdbcSession::RunCount(const String& sql, const StatementParameters& parameters,
                                      const StatementLimits& limits) {
  const EngineStatement statement = Translate(limits.countsOnly ? WithoutOrder(sql) : sql, parameters);
  const std::string key = KeyOf(statement) + (limits.countsOnly ? '#' : ' ');
  const bool mayKeep = m_keepsCounts.count() > 0 && !m_isInTransaction && key.size() <= kLongestCountKey;
  KeptCount* kept = mayKeep ? m_counts.Find(key) : nullptr;
  if (kept != nullptr && Clock::now() < kept->until) return kept->Result();
  StatementLimits whole = limits;
  whole.batchRows = 0;
  StatementResult result =
      limits.countsOnly ? CountRows(statement, whole) : RunTranslated(statement, sql, whole);
  if (!mayKeep || result.rows.Rows() != 1) return result;
  const Clock::time_point until = Clock::now() + m_keepsCounts;
  if (kept == nullptr) kept = &m_counts.Add(key, KeptCount{until, nullptr, RowStore()});
  *kept = KeptCount{until, result.columns, result.rows};
  return result;
}

// Where the query can't stand in a FROM, its rows are fetched to be counted.
StatementResult OdbcSession::CountRows(const EngineStatement& statement, const StatementLimits& limits) {
  EngineStatement counting = statement;
  counting.sql = CountingText(statement.sql);
  try {
    return RunTranslated(std::move(counting), {}, limits);
  } catch (const ProviderFailure& failure) {
    if (!MustBeCounted(failure.Error())) throw;
  }
  const OdbcPrepared prepared = Execute(statement, {});
  varnel::Long count = 0;
  while (prepared.statement->Fetch()) ++count;
  prepared.statement->Close();
  StatementResult result;
  result.columns =
      std::make_shared<const std::vector<ResultColumn>>(1, ResultColumn{u"COUNT(*)", ado_type::kInteger, 0});
  result.rows = RowStore(1);
  result.rows.AddLong(count);
  return result;
}

StatementResult OdbcSession::RunTranslated(EngineStatement statement, const String& spelled,
                                           const StatementLimits& limits) {
  if (!statement.unbound.empty()) RaiseOdbc(provider_error::kNoValue, statement.unbound, u"07002");
  StatementResult result;
  if (statement.isNothing) return result;
  varnel::Long most = limits.maxRecords;
  // MariaDB's sessions have a setting for it.
  if (most <= 0 && m_server == OdbcServer::Postgresql)
    most = static_cast<varnel::Long>(std::min<std::size_t>(MostRows(m_limits) + 1, kMostLong));
  if (most > 0) {
    if (std::optional<std::string> limited = LimitedText(m_server, statement.sql, most))
      statement.sql = std::move(*limited);
  }
  const std::size_t rows = limits.maxRecords > 0 ? static_cast<std::size_t>(limits.maxRecords) : kAllRows;
  const bool inBatches = limits.batchRows > 0 && limits.maxRecords <= 0 && !m_isInTransaction;
  result = inBatches ? RunInBatches(statement, spelled, limits) : RunWhole(statement, spelled, rows);
  if (limits.wantsSent) result.sent = varnel::FromUtf8(statement.sql);
  return result;
}

const OdbcPrepared& OdbcSession::PreparedFor(const std::string& sql, const String& spelled) {
  if (const auto found = m_statements.find(sql); found != m_statements.end()) return found->second;
  if (m_statements.size() >= kMaxStatements) m_statements.clear();
  OdbcPrepared prepared{std::make_shared<OdbcStatement>(m_connection, sql), nullptr, {}};
  auto columns = std::make_shared<std::vector<ResultColumn>>();
  const auto names = m_server == OdbcServer::Postgresql
                         ? SpelledNames(spelled)
                         : std::unordered_map<std::u16string, std::u16string>();
  for (const OdbcColumn& column : prepared.statement->Columns()) {
    columns->push_back(ResultColumnOf(column));
    if (const auto name = names.find(column.name); name != names.end()) columns->back().name = name->second;
    prepared.kinds.push_back(KindOf(column));
  }
  if (!columns->empty()) prepared.columns = std::move(columns);
  return m_statements.emplace(sql, std::move(prepared)).first->second;
}

// A statement whose table has changed meanwhile is prepared anew.
OdbcPrepared OdbcSession::Execute(const EngineStatement& statement, const String& spelled) {
  if (m_server == OdbcServer::Postgresql || m_connection.IsNarrow()) RequireNoNul(statement);
  m_rowsRead = 0;
  const OdbcPrepared& prepared = PreparedFor(statement.sql, spelled);
  prepared.statement->Execute(statement.values);
  if (prepared.columns == nullptr || prepared.statement->HasItsColumns()) return prepared;
  prepared.statement->Close();
  m_statements.erase(statement.sql);
  const OdbcPrepared& fresh = PreparedFor(statement.sql, spelled);
  fresh.statement->Execute(statement.values);
  return fresh;
}

StatementResult OdbcSession::RunWhole(const EngineStatement& statement, const String& spelled,
                                      std::size_t mostRows) {
  StatementResult result;
  const OdbcPrepared prepared = Execute(statement, spelled);
  if (prepared.columns == nullptr) {
    result.affected = static_cast<varnel::Long>(std::max<SQLLEN>(prepared.statement->Affected(), 0));
    prepared.statement->Close();
    return result;
  }
  result.columns = prepared.columns;
  result.rows = RowStore(prepared.kinds.size());
  try {
    ReadRows(prepared, result.rows, {mostRows, m_limits.maxResult, milliseconds(0)});
  } catch (const ProviderFailure&) {
    StopReader(prepared);
    throw;
  }
  StopReader(prepared);
  return result;
}

StatementResult OdbcSession::RunInBatches(const EngineStatement& statement, const String& spelled,
                                          const StatementLimits& limits) {
  const OdbcPrepared prepared = Execute(statement, spelled);
  StatementResult result;
  if (prepared.columns == nullptr) {
    result.affected = static_cast<varnel::Long>(std::max<SQLLEN>(prepared.statement->Affected(), 0));
    prepared.statement->Close();
    return result;
  }
  result.columns = prepared.columns;
  result.rows = RowStore(prepared.kinds.size());
  try {
    if (ReadRows(prepared, result.rows, {limits.batchRows, m_limits.maxResult, limits.timeout})) {
      result.rest = std::make_unique<OdbcReader>(*this, prepared, limits);
      return result;
    }
  } catch (const ProviderFailure&) {
    StopReader(prepared);
    throw;
  }
  StopReader(prepared);
  return result;
}

bool OdbcSession::ReadRows(const OdbcPrepared& prepared, RowStore& io_rows, const Batch& batch) {
  if (m_reader != nullptr) m_connection.SetDeadline(DeadlineIn(batch.timeout));
  for (std::size_t i = 0; i < batch.rows; ++i) {
    if (!m_hasAhead && !prepared.statement->Fetch()) return false;
    m_hasAhead = false;
    // Of so many rows the server sends no more.
    if (++m_rowsRead > MostRows(m_limits) && DriverHoldsRows(m_server)) RaiseTooLarge();
    prepared.statement->AddRow(io_rows, prepared.kinds, m_limits.maxValue);
    RequireSize(io_rows, batch.bytes);
  }
  // The last batch is known for it.
  m_hasAhead = prepared.statement->Fetch();
  return m_hasAhead;
}

void OdbcSession::StopReader(const OdbcPrepared& prepared) noexcept {
  m_reader = nullptr;
  m_hasAhead = false;
  prepared.statement->Close();
}

// The rows that nobody has read yet are read, as a driver may not run two statements at once.
void OdbcSession::FinishReader() noexcept {
  if (m_reader != nullptr) m_reader->ReadAhead();
}

void OdbcSession::ForgetSchema() {
  m_facts.Forget();
  if (m_dialect) m_dialect->ForgetSchema();
  m_statements.clear();
  m_factsUntil = Clock::now() + kKeepsFacts;
}

void OdbcSession::RunOwn(const std::string& sql) {
  Within(milliseconds(0), [&] { m_connection.Execute(sql); });
  ForgetSchema();
}

void OdbcSession::Begin() {
  Within(milliseconds(0), [&] { m_connection.SetAutoCommit(false); });
  m_isInTransaction = true;
  m_isTakenBack = false;
}

void OdbcSession::EndTransaction(bool keeps) {
  m_connection.End(keeps);
  m_connection.SetAutoCommit(true);
  m_isInTransaction = false;
}

void OdbcSession::Commit() {
  Within(milliseconds(0), [&] {
    EndTransaction(!m_isTakenBack);
    if (m_isTakenBack) RaiseOdbc(provider_error::kFail, u"The transaction was taken back.", u"40000");
  });
}

void OdbcSession::Rollback() {
  Within(milliseconds(0), [&] { EndTransaction(false); });
}

// PostgreSQL's driver doesn't know, so the server is asked.
bool OdbcSession::IsCurrent() {
  if (m_isLost || !m_connection.IsAlive()) return false;
  if (m_server != OdbcServer::Postgresql) return true;
  try {
    m_connection.SetDeadline(Clock::now() + kForRollback);
    return Settings() == m_settings;
  } catch (const ProviderFailure&) {
    return false;
  }
}

bool OdbcSession::Recycle() {
  try {
    FinishReader();
    m_connection.SetDeadline(Clock::now() + kForRollback);
    if (m_isInTransaction) EndTransaction(false);
    if (m_asksSettings && !m_isUsed && !m_isLost) RequireSettings();
  } catch (const ProviderFailure&) {
    return false;
  }
  return !m_isUsed && !m_isLost && !m_connection.WasCancelled();
}

}  // namespace hostlinux
