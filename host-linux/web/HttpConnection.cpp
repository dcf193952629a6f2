#include "host-linux/web/HttpConnection.h"

#include <netinet/in.h>
#include <netinet/tcp.h>
#include <sys/epoll.h>
#include <sys/ioctl.h>
#include <sys/socket.h>

#include <algorithm>
#include <array>
#include <cerrno>

#include "host-linux/web/ErrorPage.h"

namespace hostlinux {

namespace {

// Each stretch of a response gets the whole write timeout, so that only a client that stands still is cut.
constexpr std::uint64_t kStretchSize = 64 * 1024;

// Thrown away at a time of what comes behind the last request.
constexpr int kDiscards = 16;

}  // namespace

HttpConnection::HttpConnection(ConnectionOwner& owner, std::uint64_t id, UniqueFd socket)
    : m_owner(owner),
      m_id(id),
      m_socket(std::move(socket)),
      m_reader(owner.Options(), m_socket.Get(), owner.BodyBytes()),
      m_writer(owner.Options(), owner.Spill()) {
  const int on = 1;  // refused by local sockets, which need it not
  ::setsockopt(m_socket.Get(), IPPROTO_TCP, TCP_NODELAY, &on, sizeof on);
}

void HttpConnection::Start() {
  const Lock lock(m_mutex);
  NextRequest();
}

void HttpConnection::OnReady(Thread thread) {
  Lock lock(m_mutex);
  m_blocked = false;
  Proceed(lock, thread);
}

// A failure of the server itself costs this connection and no other.
void HttpConnection::Proceed(Lock& lock, Thread thread) {
  try {
    Advance(lock, thread);
  } catch (const std::exception& error) {
    if (!lock.owns_lock()) lock.lock();
    if (m_owner.Handlers().problem)
      m_owner.Handlers().problem("A connection is cut: " + std::string(error.what()));
    End();
  }
}

// Step by step, until one has to wait.
void HttpConnection::Advance(Lock& lock, Thread thread) {
  while (true) {
    switch (m_state) {
      case State::Idle:
      case State::Reading:
        if (!Read()) return;
        break;
      case State::Read:
        if (!Answer(lock, thread)) return;
        break;
      case State::Running:
        Send();
        m_changed.notify_all();
        return;
      case State::Sending:
        if (Send()) AfterResponse();
        return;
      case State::Lingering:
        return Discard();
      case State::Closed:
        return;
    }
  }
}

void HttpConnection::Arm(std::chrono::milliseconds limit) {
  m_deadline = (Clock::now() + limit).time_since_epoch().count();
}

void HttpConnection::Watch(std::uint32_t events) {
  if (m_owner.Threads().Watch(m_socket.Get(), m_id, events)) return;
  if (m_owner.Handlers().problem) m_owner.Handlers().problem("A connection is cut: it can't be watched");
  End();
}

// ---- Reading

// A request that came together with the last one waits for its turn, as one that comes now.
void HttpConnection::NextRequest() {
  m_reader.Begin();
  m_begun = Clock::now();
  if (m_reader.HasBegun()) {
    m_state = State::Reading;
    Arm(m_owner.Options().headTimeout);
    return Watch(EPOLLOUT);
  }
  m_state = State::Idle;
  m_idleSince = m_begun.time_since_epoch().count();
  m_deadline = (m_begun + IdleLimit()).time_since_epoch().count();
  Watch(EPOLLIN);
}

// A client of a server that ends may not know it yet and send one more request at once.
std::chrono::milliseconds HttpConnection::IdleLimit() const {
  const ServerOptions& options = m_owner.Options();
  if (!m_owner.IsDraining()) return options.idleTimeout;
  return std::min(m_servedOne ? options.drainGrace : options.lingerTimeout, options.idleTimeout);
}

// False where more has to come. Head and body have a limit each, for the whole of it, so that a trickle of
// bytes doesn't prolong it.
bool HttpConnection::Read() {
  using Result = RequestReader::Result;
  const bool wasIdle = m_state == State::Idle;
  const bool hadHead = m_reader.HasHead();
  if (wasIdle) m_begun = Clock::now();
  const Result result = m_reader.Read(m_socket.Get());
  if (wasIdle && m_reader.HasBegun()) {
    m_idleSince = 0;
    m_state = State::Reading;
    Arm(m_owner.Options().headTimeout);
  }
  if (!hadHead && m_reader.HasHead()) Arm(m_owner.Options().bodyTimeout);
  switch (result) {
    case Result::More:
      Watch(EPOLLIN);
      return false;
    case Result::Continue:
      return SayContinue();
    case Result::Complete:
      Disarm();
      m_state = State::Read;
      return true;
    case Result::Refused:
      Refuse(m_reader.Refusal());
      return true;
    case Result::Gone:
      End();
      return false;
  }
  return false;
}

bool HttpConnection::SayContinue() {
  static constexpr std::string_view kContinue = "HTTP/1.1 100 Continue\r\n\r\n";
  const ssize_t sent = ::send(m_socket.Get(), kContinue.data(), kContinue.size(), MSG_NOSIGNAL);
  if (sent == static_cast<ssize_t>(kContinue.size())) return true;
  End();
  return false;
}

// Answers a request that couldn't be read; where its end lies is unknown, so the connection ends too.
void HttpConnection::Refuse(int status) {
  TellEntry();
  m_writer.Begin({});
  Respond(status == 503 ? ComeLater(status) : ErrorResponse(status, m_entry.id));
}

// ---- Answering

void HttpConnection::TellEntry() {
  const HttpRequest& request = m_reader.Request();
  m_entry = {m_owner.NextRequestId(), request.method, request.target, request.remoteAddress, 0, 0, {}};
}

// False where others go on with it.
bool HttpConnection::Answer(Lock& lock, Thread thread) {
  TellEntry();
  HttpRequest& request = m_reader.Request();
  request.id = m_entry.id;
  m_writer.Begin({request.version != "HTTP/1.0", request.method == "HEAD", m_reader.KeepsAlive()});
  if (std::optional<HttpResponse> response = AnswerWithoutPage()) {
    Respond(std::move(*response));
    return true;
  }
  m_state = State::Running;
  if (thread != Thread::Script) return QueuePage();
  RunPage(lock);
  return true;
}

HttpResponse HttpConnection::ComeLater(int status) const {
  HttpResponse response = ErrorResponse(status, m_entry.id);
  response.headers.Set("Retry-After", std::to_string(m_owner.Options().retryAfter));
  return response;
}

// ---- Writing

void HttpConnection::Respond(HttpResponse response) {
  m_state = State::Sending;
  m_reader.DropBody();  // before its client knows, and sends the next one
  if (m_owner.IsDraining()) m_writer.EndConnection();
  m_writer.AddWhole(std::move(response));
}

// True where all is out.
bool HttpConnection::Send() {
  if (m_blocked) return false;
  switch (m_writer.Send(m_socket.Get())) {
    case ResponseWriter::Progress::Done:
      Disarm();
      m_stretchEnd = 0;
      return true;
    case ResponseWriter::Progress::Blocked:
    case ResponseWriter::Progress::Paused:
      break;
    case ResponseWriter::Progress::Failed:
      End();
      return false;
  }
  m_blocked = true;
  if (m_stretchEnd == 0 || m_writer.Sent() >= m_stretchEnd) {
    m_stretchEnd = m_writer.Sent() + kStretchSize;
    Arm(m_owner.Options().writeTimeout);
  }
  Watch(EPOLLOUT);
  return false;
}

void HttpConnection::AfterResponse() {
  const ServerHandlers& handlers = m_owner.Handlers();
  if (handlers.finished) {
    m_entry.status = m_writer.Status();
    m_entry.bodyBytes = m_writer.BodyBytes();
    m_entry.duration = std::chrono::duration_cast<std::chrono::microseconds>(Clock::now() - m_begun);
    handlers.finished(m_entry);
  }
  m_servedOne = true;
  const bool goesOn = m_writer.KeepsAlive();
  m_writer.Begin({});
  // Whoever was told that the connection stays may be sending already, also while the server ends.
  goesOn ? NextRequest() : Linger(m_owner.Options().lingerTimeout);
}

// ---- Ending

// Closing while the client still sends would reset the connection and lose the response on its way; so the
// sending side is closed first, and what still comes is thrown away for a while.
void HttpConnection::Linger(std::chrono::milliseconds limit) {
  m_state = State::Lingering;
  m_idleSince = 0;
  if (::shutdown(m_socket.Get(), SHUT_WR) != 0) return End();
  Arm(limit);
  Watch(EPOLLIN);
}

void HttpConnection::Discard() {
  std::array<char, 16 * 1024> scratch;
  for (int i = 0; i < kDiscards; ++i) {
    const ssize_t count = ::recv(m_socket.Get(), scratch.data(), scratch.size(), 0);
    if (count > 0) continue;
    if (count < 0 && (errno == EAGAIN || errno == EINTR)) break;
    return End();
  }
  Watch(EPOLLIN);
}

bool HttpConnection::HasUnreadBytes() const {
  int bytes = 0;
  return ::ioctl(m_socket.Get(), FIONREAD, &bytes) == 0 && bytes > 0;
}

void HttpConnection::OnDeadline() {
  Lock lock(m_mutex);
  if (Clock::now() < Deadline()) return;
  Disarm();
  switch (m_state) {
    case State::Idle:
      if (HasUnreadBytes()) return;  // whoever reads them sets a new limit
      // What comes at the last moment is thrown away rather than answered with a reset.
      return m_owner.IsDraining() ? Linger(m_owner.Options().drainGrace) : End();
    case State::Reading:
      Refuse(408);
      return Proceed(lock, Thread::Other);
    default:
      return End();
  }
}

std::optional<HttpConnection::Idleness> HttpConnection::Idle() const {
  const Clock::rep since = m_idleSince;
  if (since == 0) return std::nullopt;
  return Idleness{Clock::time_point(Clock::duration(since)), !m_servedOne};
}

bool HttpConnection::CloseIdle(Clock::time_point since) {
  const Lock lock(m_mutex);
  const auto idle = Idle();
  if (!idle || idle->since != since || HasUnreadBytes()) return false;
  End();
  return true;
}

void HttpConnection::BeginDrain() {
  const Lock lock(m_mutex);
  const auto idle = Idle();
  if (!idle) return;
  const ServerOptions& options = m_owner.Options();
  // The first request of a fresh connection may be on its way, and the next one of a busy client.
  const auto grace = idle->isFresh ? options.lingerTimeout : options.drainGrace;
  const auto left = std::chrono::ceil<std::chrono::milliseconds>(grace - (Clock::now() - idle->since));
  if (left.count() > 0) return Arm(std::min(left, options.idleTimeout));
  if (!HasUnreadBytes()) Linger(options.drainGrace);
}

void HttpConnection::Close() {
  const Lock lock(m_mutex);
  End();
}

void HttpConnection::End() {
  if (m_state == State::Closed) return;
  m_state = State::Closed;
  m_idleSince = 0;
  Disarm();
  m_socket = UniqueFd();
  m_changed.notify_all();
  m_owner.Remove(m_id);
}

}  // namespace hostlinux
