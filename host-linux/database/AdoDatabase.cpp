#include "host-linux/database/AdoDatabase.h"

#include <algorithm>
#include <array>

#include "host-linux/database/dialect/SqlLexer.h"

namespace hostlinux {
namespace {

using varnel::String;
using Clock = std::chrono::steady_clock;

constexpr std::size_t kMaxWaiting = 8;  // sessions of one thread
constexpr std::size_t kMaxInUse = 100;  // by one thread, and so by one request
constexpr std::size_t kMaxWarned = 1000;

bool IsClauseWord(const SqlToken& token) {
  static constexpr std::array<std::u16string_view, 8> kWords = {u"SELECT", u"FROM",  u"WHERE", u"GROUP",
                                                                u"HAVING", u"ORDER", u"UNION", u"COMPUTE"};
  return std::any_of(kWords.begin(), kWords.end(),
                     [&](std::u16string_view word) { return IsWord(token, word); });
}

bool HasBreak(const SqlToken& token) { return token.gap.find_first_of(u"\r\n") != String::npos; }

// True if a keyword of a clause touches a line break: the page queries only know blanks between words.
bool HasBreakBesideKeyword(const String& sql) {
  if (sql.find_first_of(u"\r\n") == String::npos) return false;
  const std::vector<SqlToken> tokens = LexSql(sql);
  for (std::size_t i = 0; i + 1 < tokens.size(); ++i) {
    if (IsClauseWord(tokens[i]) && (HasBreak(tokens[i]) || HasBreak(tokens[i + 1]))) return true;
  }
  return false;
}

// The text without what stands in quotes: pages of one list differ in their keys only.
String WithoutLiterals(const String& sql) {
  String shape;
  bool quoted = false;
  for (const char16_t unit : sql) {
    if (unit == u'\'') quoted = !quoted;
    if (!quoted) shape += unit;
  }
  return shape;
}

}  // namespace

SessionLease::SessionLease(std::weak_ptr<AdoDatabase> database, String key, std::unique_ptr<ISession> session,
                           std::thread::id taker)
    : m_database(std::move(database)), m_key(std::move(key)), m_session(std::move(session)), m_taker(taker) {}

SessionLease::~SessionLease() { End(); }

void SessionLease::End() {
  if (!IsOpen()) return;
  std::unique_ptr<ISession> session = std::move(m_session);
  if (const std::shared_ptr<AdoDatabase> database = m_database.lock()) {
    database->Forget(m_taker, this);
    database->GiveBack(m_key, std::move(session));
  }
}

AdoDatabase::AdoDatabase(AdoOptions options)
    : m_options(std::move(options)),
      m_trace(m_options.onStatement ? std::make_shared<SqlTrace>(m_options.onStatement) : nullptr) {}

std::shared_ptr<AdoDatabase> AdoDatabase::Make(AdoOptions options) {
  return std::shared_ptr<AdoDatabase>(new AdoDatabase(std::move(options)));
}

std::shared_ptr<SessionLease> AdoDatabase::Lease(const String& connectionString, bool readOnly,
                                                 varnel::Long timeoutSeconds) {
  RefuseTooMany();
  const String key = connectionString + (readOnly ? u"\nread" : u"");
  std::unique_ptr<ISession> session = TakeWaiting(key);
  if (session == nullptr) session = OpenSession(connectionString, readOnly, timeoutSeconds);
  auto lease =
      std::make_shared<SessionLease>(weak_from_this(), key, std::move(session), std::this_thread::get_id());
  const std::lock_guard lock(m_mutex);
  m_threads[std::this_thread::get_id()].inUse.insert(lease.get());
  return lease;
}

// A page that opens connections in a loop ends itself, not the process's files.
void AdoDatabase::RefuseTooMany() {
  const std::lock_guard lock(m_mutex);
  if (m_threads[std::this_thread::get_id()].inUse.size() >= kMaxInUse) {
    throw ProviderFailure({provider_error::kFail, u"Varnel.Database",
                           u"Too many connections are open at once in one request.", 0, u"08004"});
  }
}

void AdoDatabase::Forget(std::thread::id taker, SessionLease* lease) {
  const std::lock_guard lock(m_mutex);
  m_threads[taker].inUse.erase(lease);
}

void AdoDatabase::EndRequest() {
  std::vector<SessionLease*> leases;
  {
    const std::lock_guard lock(m_mutex);
    const auto& inUse = m_threads[std::this_thread::get_id()].inUse;
    leases.assign(inUse.begin(), inUse.end());
  }
  for (SessionLease* lease : leases) lease->End();
}

std::unique_ptr<ISession> AdoDatabase::OpenSession(const String& connectionString, bool readOnly,
                                                   varnel::Long timeoutSeconds) const {
  const ConnectionString connection(connectionString);
  if (connection.IsEmpty()) {
    const String why = m_options.whyEmpty ? u" " + m_options.whyEmpty() : String();
    throw ProviderFailure({provider_error::kFail, u"Varnel.Database",
                           varnel::TrimRight(u"The connection string is empty." + why), 0, u"08001"});
  }
  try {
    return EngineOf(m_options.engines, connection)
        .MakeProvider()
        ->Open(connection,
               OpenOptions{m_options.folder, readOnly || m_options.readsOnly, Timeout(timeoutSeconds),
                           m_options.statementTimeout, m_options.limits, m_options.timeLeft});
  } catch (const ProviderFailure& failure) {
    if (!m_options.whereFrom) throw;
    std::vector<varnel::host::ProviderError> errors = failure.Errors();
    String& description = errors.front().Description;
    description = varnel::TrimRight(description + u" " + m_options.whereFrom(connectionString));
    throw ProviderFailure(std::move(errors));
  }
}

// A session whose file was replaced while it waited is dropped, and the next one looked at.
std::unique_ptr<ISession> AdoDatabase::TakeWaiting(const String& key) {
  while (true) {
    std::unique_ptr<ISession> session;
    {
      const std::lock_guard lock(m_mutex);
      std::list<Waiting>& waiting = m_threads[std::this_thread::get_id()].waiting;
      const auto found = std::find_if(waiting.begin(), waiting.end(),
                                      [&](const Waiting& entry) { return entry.key == key; });
      if (found == waiting.end()) return nullptr;
      session = std::move(found->session);
      waiting.erase(found);
    }
    if (session->IsCurrent()) return session;
  }
}

void AdoDatabase::GiveBack(const String& key, std::unique_ptr<ISession> session) {
  if (!session->Recycle()) return;
  std::unique_ptr<ISession> oldest;  // closed outside the lock
  const std::lock_guard lock(m_mutex);
  std::list<Waiting>& waiting = m_threads[std::this_thread::get_id()].waiting;
  waiting.push_front(Waiting{key, std::move(session)});
  if (waiting.size() <= kMaxWaiting) return;
  oldest = std::move(waiting.back().session);
  waiting.pop_back();
}

std::size_t AdoDatabase::WaitingSessions() const {
  const std::lock_guard lock(m_mutex);
  std::size_t count = 0;
  for (const auto& [thread, sessions] : m_threads) count += sessions.waiting.size();
  return count;
}

StatementResult AdoDatabase::Run(ISession& session, const String& sql,
                                 const varnel::host::StatementParameters& parameters,
                                 varnel::Long timeoutSeconds, const StatementOptions& options) {
  WarnOfLineBreaks(sql);
  const StatementLimits limits{options.maxRecords,   options.batchRows, Timeout(timeoutSeconds),
                               m_trace != nullptr,   options.page,      options.countsOnly,
                               options.estimatesOnly};
  if (m_trace == nullptr) return session.Run(sql, parameters, limits);
  return SqlTrace::Run(m_trace, session, sql, parameters, limits);
}

std::chrono::milliseconds AdoDatabase::Timeout(varnel::Long seconds) const {
  const std::chrono::milliseconds asked = std::chrono::seconds(std::max(seconds, varnel::Long{0}));
  if (asked.count() == 0) return m_options.statementTimeout;
  return m_options.statementTimeout.count() == 0 ? asked : std::min(asked, m_options.statementTimeout);
}

void AdoDatabase::WarnOfLineBreaks(const String& sql) {
  if (!m_options.onWarning || !HasBreakBesideKeyword(sql)) return;
  {
    const std::lock_guard lock(m_mutex);
    if (m_warned.size() >= kMaxWarned || !m_warned.insert(WithoutLiterals(sql)).second) return;
  }
  m_options.onWarning(
      u"A line break stands beside a keyword of this SQL text, where only a blank separates words: " + sql);
}

}  // namespace hostlinux
