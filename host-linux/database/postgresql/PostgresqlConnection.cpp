#include "host-linux/database/postgresql/PostgresqlConnection.h"

#include <poll.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <charconv>
#include <future>
#include <thread>

#include "host-linux/database/postgresql/PostgresqlErrors.h"

namespace hostlinux {
namespace {

// For the server's word that it has stopped.
constexpr std::chrono::seconds kForCancel{2};

// What one of several hosts may take to answer, at most; a network has none of its answers take longer.
constexpr std::chrono::milliseconds kMostPatience{2000};
constexpr std::chrono::milliseconds kEndless{0};
// Threads that wait for servers which hang. With so many of them a statement's end isn't asked for any more.
constexpr int kMostCancels = 8;
std::atomic<int> g_cancels = 0;

std::string* Find(PostgresqlConnection::Options& options, std::string_view keyword) {
  const auto found =
      std::find_if(options.begin(), options.end(), [&](const auto& each) { return each.first == keyword; });
  return found == options.end() ? nullptr : &found->second;
}

std::vector<std::string> Split(const std::string& text) {
  std::vector<std::string> parts(1);
  for (const char c : text) c == ',' ? parts.emplace_back().clear() : parts.back().push_back(c);
  return parts;
}

std::string Join(const std::vector<std::string>& parts) {
  std::string text;
  for (const std::string& part : parts) text += (&part == parts.data() ? "" : ",") + part;
  return text;
}

std::size_t HostsOf(PostgresqlConnection::Options& options) {
  const std::string* hosts = Find(options, "host");
  return hosts == nullptr ? 1 : Split(*hosts).size();
}

// Takes a host out, by name and port; the first one should none be it. At least one is left.
void RemoveHost(PostgresqlConnection::Options& io_options, std::string_view host, std::string_view port) {
  std::string* const allHosts = Find(io_options, "host");
  std::string* const allPorts = Find(io_options, "port");
  std::vector<std::string> hosts = Split(*allHosts);
  std::vector<std::string> ports = Split(allPorts == nullptr ? std::string() : *allPorts);
  const bool haveOwnPorts = ports.size() == hosts.size();
  std::size_t gone = 0;
  for (std::size_t i = 0; i < hosts.size(); ++i) {
    if (hosts[i] == host && (!haveOwnPorts || ports[i].empty() || ports[i] == port)) {
      gone = i;
      break;
    }
  }
  hosts.erase(hosts.begin() + static_cast<std::ptrdiff_t>(gone));
  *allHosts = Join(hosts);
  if (!haveOwnPorts) return;
  ports.erase(ports.begin() + static_cast<std::ptrdiff_t>(gone));
  *allPorts = Join(ports);
}

// libpq waits for the server's word as long as it takes, which is for ever where the server hangs.
bool CancelWithin(const PGconn* connection, std::chrono::milliseconds time) {
  const bool hasPlace = ++g_cancels <= kMostCancels;
  std::shared_ptr<void> place(nullptr, [](void*) { --g_cancels; });
  if (!hasPlace) return false;
  std::shared_ptr<PGcancel> cancel(PQgetCancel(const_cast<PGconn*>(connection)), &PQfreeCancel);
  if (cancel == nullptr) return false;
  std::promise<bool> answer;
  std::future<bool> isSent = answer.get_future();
  std::thread([cancel, place, answer = std::move(answer)]() mutable {
    char message[256];
    answer.set_value(PQcancel(cancel.get(), message, sizeof message) != 0);
  }).detach();
  return isSent.wait_for(time) == std::future_status::ready && isSent.get();
}

// The values of a statement as libpq wants them. Numbers go as text: the server knows from the statement what they are.
class SentValues {
 public:
  explicit SentValues(const std::vector<BoundValue>& values) {
    m_numbers.reserve(values.size());
    for (const BoundValue& value : values) Add(value);
  }

  int Count() const { return static_cast<int>(m_texts.size()); }
  const char* const* Texts() const { return m_texts.data(); }
  const int* Lengths() const { return m_lengths.data(); }
  const int* Formats() const { return m_formats.data(); }

 private:
  template <typename Number>
  std::string_view NumberText(Number number) {
    char digits[32];
    const auto end = std::to_chars(digits, digits + sizeof digits, number).ptr;
    return m_numbers.emplace_back(digits, end);
  }

  void Add(const BoundValue& value) {
    if (const auto* text = std::get_if<std::string>(&value)) {
      // It would end there for the server, and mean something else.
      if (text->find('\0') != std::string::npos)
        RaisePostgresql(provider_error::kFail, u"A text with a character 0 can't be a value.", u"22021");
      return Add(text->c_str(), text->size(), false);
    }
    if (const auto* blob = std::get_if<BoundBytes>(&value))
      return Add(blob->bytes.data(), blob->bytes.size(), true);
    if (const auto* number = std::get_if<std::int64_t>(&value))
      return Add(NumberText(*number).data(), 0, false);
    if (const auto* number = std::get_if<double>(&value)) return Add(NumberText(*number).data(), 0, false);
    Add(nullptr, 0, false);
  }

  void Add(const char* bytes, std::size_t length, bool isBinary) {
    m_texts.push_back(bytes);
    m_lengths.push_back(static_cast<int>(length));
    m_formats.push_back(isBinary ? 1 : 0);
  }

  std::vector<std::string> m_numbers;  // reserved: its texts stay where they are
  std::vector<const char*> m_texts;
  std::vector<int> m_lengths;
  std::vector<int> m_formats;
};

}  // namespace

PostgresqlConnection::PostgresqlConnection(const Options& options, Deadline deadline) : m_deadline(deadline) {
  Open(options);
  PQsetnonblocking(m_connection.get(), 1);
  // What the server has to say beside its errors is nobody's business here.
  PQsetNoticeProcessor(
      m_connection.get(), [](void*, const char*) {}, nullptr);
}

// One host may hang while others answer, and libpq would wait for it all the time that there is.
void PostgresqlConnection::Open(const Options& options) {
  Options left = options;
  while (true) {
    const std::size_t count = HostsOf(left);
    if (TryOpen(left, count > 1 ? PatienceWith(count) : kEndless)) return;
    RemoveHost(left, PQhost(m_connection.get()), PQport(m_connection.get()));
  }
}

// The time that a host has for each of its answers, so that all get their turn.
std::chrono::milliseconds PostgresqlConnection::PatienceWith(std::size_t hosts) const {
  if (!m_deadline) return kMostPatience;
  const auto left = std::chrono::ceil<std::chrono::milliseconds>(*m_deadline - Clock::now());
  return std::clamp(left / static_cast<int>(hosts + 1), std::chrono::milliseconds(1), kMostPatience);
}

// False where the host whose turn it is keeps silent.
bool PostgresqlConnection::TryOpen(const Options& options, std::chrono::milliseconds patience) {
  std::vector<const char*> keywords;
  std::vector<const char*> values;
  for (const auto& [keyword, value] : options) {
    keywords.push_back(keyword.c_str());
    values.push_back(value.c_str());
  }
  keywords.push_back(nullptr);
  values.push_back(nullptr);
  m_connection.reset(PQconnectStartParams(keywords.data(), values.data(), 0));
  if (m_connection == nullptr) throw std::bad_alloc();
  if (PQstatus(m_connection.get()) == CONNECTION_BAD) RaiseConnection(m_connection.get());
  for (PostgresPollingStatusType state = PGRES_POLLING_WRITING; state != PGRES_POLLING_OK;
       state = PQconnectPoll(m_connection.get())) {
    if (state == PGRES_POLLING_FAILED) RaiseConnection(m_connection.get());
    const short events = state == PGRES_POLLING_READING ? POLLIN : POLLOUT;
    const Clock::time_point end = Clock::now() + patience;
    if (patience == kEndless || (m_deadline && *m_deadline < end))
      Await(events);
    else if (!AwaitUntil(events, end))
      return false;
  }
  return true;
}

// Waits for the socket. Past the deadline the connection is lost, unless somebody catches up with it.
void PostgresqlConnection::Await(short events) {
  if (!AwaitUntil(events, m_deadline)) RaiseLate();
}

// False at the end, before anything is there.
bool PostgresqlConnection::AwaitUntil(short events, Deadline end) {
  while (true) {
    int wait = -1;
    if (end) {
      const auto left = std::chrono::ceil<std::chrono::milliseconds>(*end - Clock::now());
      if (left.count() <= 0) return false;
      wait = static_cast<int>(left.count());
    }
    pollfd socket{PQsocket(m_connection.get()), events, 0};
    const int ready = poll(&socket, 1, wait);
    if (ready > 0) return true;
    if (ready < 0 && errno != EINTR) {
      m_isLost = true;
      RaisePostgresql(provider_error::kFail, u"The connection to the database server is lost.", u"08006");
    }
  }
}

void PostgresqlConnection::RaiseLate() const {
  if (IsUsable()) RaisePostgresqlTimeout();
  RaisePostgresql(provider_error::kFail, u"The database server does not answer: Login timeout expired",
                  u"HYT01");
}

void PostgresqlConnection::Send(int sent) {
  if (sent == 0) {
    m_isLost = m_isLost || PQstatus(m_connection.get()) != CONNECTION_OK;
    RaiseConnection(m_connection.get());
  }
}

// Until a whole result is there. A call that takes too long is ended on the server.
void PostgresqlConnection::AwaitAnswer() {
  PGconn* connection = m_connection.get();
  try {
    while (true) {
      const int unsent = PQflush(connection);
      if (unsent < 0) break;
      if (unsent == 0 && !PQisBusy(connection)) return;
      Await(unsent > 0 ? POLLIN | POLLOUT : POLLIN);
      if (!PQconsumeInput(connection)) break;
    }
  } catch (const ProviderFailure&) {
    if (!m_isLost) Stop();
    throw;
  }
  m_isLost = true;
  RaiseConnection(connection);
}

void PostgresqlConnection::Cancel() noexcept {
  try {
    if (!CancelWithin(m_connection.get(), kForCancel)) m_isLost = true;
  } catch (const std::exception&) {  // no thread to be had
    m_isLost = true;
  }
}

// What is still to come is thrown away, as far as it comes soon.
void PostgresqlConnection::Stop() noexcept {
  if (PQtransactionStatus(m_connection.get()) != PQTRANS_ACTIVE) return;
  Cancel();
  if (m_isLost) return;
  const Clock::time_point end = Clock::now() + kForCancel;
  PGconn* connection = m_connection.get();
  while (true) {
    while (!PQisBusy(connection)) {
      const PostgresqlResult result(PQgetResult(connection));
      if (result == nullptr) return;
    }
    const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(end - Clock::now()).count();
    pollfd socket{PQsocket(connection), POLLIN, 0};
    if (left <= 0 || poll(&socket, 1, static_cast<int>(left)) < 0 || !PQconsumeInput(connection)) break;
  }
  m_isLost = true;
}

void PostgresqlConnection::Require(const PGresult* result) {
  switch (PQresultStatus(result)) {
    case PGRES_COMMAND_OK:
    case PGRES_TUPLES_OK:
    case PGRES_SINGLE_TUPLE:
    case PGRES_EMPTY_QUERY:
      return;
    case PGRES_COPY_IN:
    case PGRES_COPY_OUT:
    case PGRES_COPY_BOTH:
      m_isLost = true;  // nobody talks that way here
      RaisePostgresql(provider_error::kFail, u"COPY can't be run by a page.", u"0A000");
    default:
      m_isLost = m_isLost || PQstatus(m_connection.get()) != CONNECTION_OK;
      RaisePostgresql(result);
  }
}

// The last one, and the failure of any.
PostgresqlResult PostgresqlConnection::OnlyResult() {
  PostgresqlResult last;
  PostgresqlResult failure;
  while (true) {
    AwaitAnswer();
    PostgresqlResult result(PQgetResult(m_connection.get()));
    if (result == nullptr) break;
    const ExecStatusType status = PQresultStatus(result.get());
    const bool isCopy = status == PGRES_COPY_IN || status == PGRES_COPY_OUT || status == PGRES_COPY_BOTH;
    if (isCopy) Require(result.get());
    if (status == PGRES_FATAL_ERROR && failure == nullptr)
      failure = std::move(result);
    else
      last = std::move(result);
  }
  if (failure != nullptr) Require(failure.get());
  if (last == nullptr) RaiseConnection(m_connection.get());
  Require(last.get());
  return last;
}

PostgresqlResult PostgresqlConnection::Execute(const std::string& sql) {
  Send(PQsendQuery(m_connection.get(), sql.c_str()));
  return OnlyResult();
}

void PostgresqlConnection::Prepare(const std::string& name, const std::string& sql) {
  Send(PQsendPrepare(m_connection.get(), name.c_str(), sql.c_str(), 0, nullptr));
  OnlyResult();
}

PostgresqlResult PostgresqlConnection::Describe(const std::string& name) {
  Send(PQsendDescribePrepared(m_connection.get(), name.c_str()));
  return OnlyResult();
}

PostgresqlResult PostgresqlConnection::Run(const std::string& name, const std::vector<BoundValue>& values) {
  const SentValues sent(values);
  Send(PQsendQueryPrepared(m_connection.get(), name.c_str(), sent.Count(), sent.Texts(), sent.Lengths(),
                           sent.Formats(), 0));
  return OnlyResult();
}

void PostgresqlConnection::Start(const std::string& name, const std::vector<BoundValue>& values) {
  const SentValues sent(values);
  Send(PQsendQueryPrepared(m_connection.get(), name.c_str(), sent.Count(), sent.Texts(), sent.Lengths(),
                           sent.Formats(), 0));
  PQsetSingleRowMode(m_connection.get());
}

PostgresqlResult PostgresqlConnection::NextRow() {
  AwaitAnswer();
  PostgresqlResult result(PQgetResult(m_connection.get()));
  if (result == nullptr) return result;
  if (PQresultStatus(result.get()) == PGRES_FATAL_ERROR) {
    do AwaitAnswer();
    while (PostgresqlResult(PQgetResult(m_connection.get())) != nullptr);
  }
  Require(result.get());
  return result;
}

bool PostgresqlConnection::IsAlive() const {
  if (!IsUsable()) return false;
  // A server that speaks up unasked ends the session, or its settings have changed.
  pollfd socket{PQsocket(m_connection.get()), POLLIN, 0};
  return poll(&socket, 1, 0) == 0;
}

std::string PostgresqlConnection::Setting(const char* name) const {
  const char* value = PQparameterStatus(m_connection.get(), name);
  return value == nullptr ? std::string() : value;
}

}  // namespace hostlinux
