#include "host-linux/web/HttpConnection.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <boost/asio/post.hpp>
#include <boost/asio/write.hpp>
#include <boost/beast/http/error.hpp>
#include <cstdio>
#include <vector>

#include "host-linux/base/Ascii.h"
#include "host-linux/web/ErrorPage.h"
#include "host-linux/web/HttpDate.h"
#include "host-linux/web/ListenSocket.h"
#include "host-linux/web/UrlPath.h"

namespace hostlinux {

namespace net = boost::asio;
namespace beast = boost::beast;
namespace http = boost::beast::http;

namespace {

// Each slice of a response gets the whole write timeout, so that only a client that stands still is cut.
constexpr std::size_t kSliceSize = 64 * 1024;
constexpr std::size_t kMaxSlicePieces = 16;

// What a page may have flushed that its client hasn't taken yet.
constexpr std::int64_t kMaxUnsent = 256 * 1024;

// Read at once.
constexpr std::size_t kHeadReadSize = 4 * 1024;
constexpr std::size_t kBodyReadSize = 64 * 1024;

std::string Text(beast::string_view view) { return std::string(view.data(), view.size()); }

std::string AddressText(const sockaddr* place) {
  std::array<char, INET6_ADDRSTRLEN> text{};
  if (place->sa_family == AF_INET) {
    const auto* four = reinterpret_cast<const sockaddr_in*>(place);
    ::inet_ntop(AF_INET, &four->sin_addr, text.data(), text.size());
  } else if (place->sa_family == AF_INET6) {
    const auto* six = reinterpret_cast<const sockaddr_in6*>(place);
    ::inet_ntop(AF_INET6, &six->sin6_addr, text.data(), text.size());
  }
  return text.data();
}

// Letters, digits and the few marks of names, addresses and ports; what else stands there would reach pages
// as SERVER_NAME and from there their links.
bool IsHostText(std::string_view host) {
  return std::all_of(host.begin(), host.end(), [](char c) {
    return IsAlphanumeric(c) || c == '.' || c == '-' || c == '_' || c == ':' || c == '[' || c == ']';
  });
}

// "3, 3" is a list, which others may take for the first or the last of its lengths.
bool IsNumber(beast::string_view text) {
  return std::all_of(text.begin(), text.end(), [](char c) { return c >= '0' && c <= '9'; });
}

// No line of a head may end in a bare line feed or go on in the next line: what stands before this server may
// read such a head in another way.
bool HasCleanLines(std::string_view head) {
  if (!head.empty() && (head.front() == ' ' || head.front() == '\t')) return false;
  for (std::size_t at = head.find('\n'); at != std::string_view::npos; at = head.find('\n', at + 1)) {
    if (at == 0 || head[at - 1] != '\r') return false;
    if (at + 1 < head.size() && (head[at + 1] == ' ' || head[at + 1] == '\t')) return false;
  }
  return true;
}

// "shop.example:8080" and "[::1]:8080" without the port.
std::string WithoutPort(const std::string& host) {
  const std::size_t bracket = host.rfind(']');
  const std::size_t colon = host.rfind(':');
  if (colon == std::string::npos || (bracket != std::string::npos && colon < bracket)) return host;
  return host.substr(0, colon);
}

// The link that a page gets; it lives as long as the page runs.
class PageLink final : public ClientLink {
 public:
  explicit PageLink(std::shared_ptr<HttpConnection> connection) : m_connection(std::move(connection)) {}

  bool IsConnected() const override { return m_connection->IsConnected(); }
  bool IsFlushed() const override { return m_flushed; }

  void Flush(HttpResponse soFar) override {
    m_flushed = true;
    m_connection->AwaitRoom(soFar.body.size());
    net::post(m_connection->Owner().Context(),
              [connection = m_connection, part = std::move(soFar)]() mutable {
                connection->TakePart(std::move(part));
              });
  }

 private:
  std::shared_ptr<HttpConnection> m_connection;
  bool m_flushed = false;
};

HttpRequest WithBody(HttpRequest request, std::string body) {
  request.body = std::move(body);
  return request;
}

HttpResponse PageFailed(const ServerHandlers& handlers, const std::string& id, const std::string& reason) {
  if (handlers.problem) handlers.problem("Request " + id + ": " + reason);
  return ErrorResponse(500, id);
}

// Runs `work`; whatever it throws becomes a 500 that tells the client nothing but the request's id.
template <class Work>
auto Guarded(const ServerHandlers& handlers, const std::string& id, Work work) -> decltype(work()) {
  try {
    return work();
  } catch (const std::exception& error) {
    return PageFailed(handlers, id, error.what());
  } catch (...) {
    return PageFailed(handlers, id, "an unknown failure");
  }
}

}  // namespace

HttpConnection::HttpConnection(ConnectionOwner& owner, ServerSocket socket)
    : m_owner(owner),
      m_socket(std::move(socket)),
      m_timer(owner.Context()),
      m_buffer(owner.Options().maxHead + kBodyReadSize),
      m_charge(owner.BodyBytes()) {
  Error ignored;
  const auto peer = m_socket.remote_endpoint(ignored);
  if (!ignored) m_remoteAddress = AddressText(peer.data());
  const auto& proxies = owner.Options().trustedProxies;
  const std::string name = m_remoteAddress.empty() ? "unix" : m_remoteAddress;
  m_isProxy = std::find(proxies.begin(), proxies.end(), name) != proxies.end();
  m_localPort = PortOf(m_socket.native_handle());
  const int on = 1;  // refused by local sockets, which need it not
  ::setsockopt(m_socket.native_handle(), IPPROTO_TCP, TCP_NODELAY, &on, sizeof on);
}

void HttpConnection::Start() { ReadRequest(); }

void HttpConnection::Arm(std::chrono::milliseconds limit) {
  m_timedOut = false;
  const unsigned round = ++m_timerRound;
  m_timer.expires_after(limit);
  m_timer.async_wait([self = shared_from_this(), round](Error error) {
    if (error || round != self->m_timerRound) return;
    self->m_timedOut = true;
    Error ignored;
    self->m_socket.cancel(ignored);
  });
}

void HttpConnection::Disarm() {
  ++m_timerRound;
  m_timer.cancel();
}

// ---- Reading

void HttpConnection::ReadRequest() {
  m_request.reset();
  m_problem.clear();
  m_charge.Reset();
  m_parser.emplace();
  m_parser->header_limit(m_owner.Options().maxHead);
  m_parser->body_limit(m_owner.Options().maxBody);
  if (m_buffer.size() > 0) return ReadHead();
  m_step = Step::Idle;
  m_idleSince = std::chrono::steady_clock::now();
  Arm(IdleLimit());
  // Waiting for readability only: an idle connection holds no buffer.
  m_buffer.shrink_to_fit();
  m_socket.async_wait(ServerSocket::wait_read, [self = shared_from_this()](Error error) {
    if (self->m_step != Step::Idle) return;
    if (error) return self->EndIdle();
    self->ReadHead();
  });
}

// A client of a server that ends may not know it yet and send one more request at once.
std::chrono::milliseconds HttpConnection::IdleLimit() const {
  const ServerOptions& options = m_owner.Options();
  return m_owner.IsDraining() ? std::min(options.drainGrace, options.idleTimeout) : options.idleTimeout;
}

void HttpConnection::ReadHead() {
  m_step = Step::Reading;
  m_begun = std::chrono::steady_clock::now();
  Arm(m_owner.Options().headTimeout);
  if (m_buffer.size() > 0) return Parse();
  ReadMore();
}

// The limit was armed for the whole head or the whole body, so that a trickle of bytes doesn't prolong it.
void HttpConnection::ReadMore() {
  const std::size_t room = m_buffer.max_size() - m_buffer.size();
  const std::size_t wanted = m_parser->is_header_done() ? kBodyReadSize : kHeadReadSize;
  if (room == 0) return Refuse(400);  // a chunk's line or trailer without end
  m_socket.async_read_some(
      m_buffer.prepare(std::min(room, wanted)),
      [self = shared_from_this()](Error error, std::size_t bytes) { self->OnBytes(error, bytes); });
}

void HttpConnection::OnBytes(Error error, std::size_t bytes) {
  if (m_closed) return;
  if (error == net::error::eof) return OnClientEnd();
  if (error) return OnReadFailure(error);
  m_buffer.commit(bytes);
  Parse();
}

void HttpConnection::Parse() {
  if (!m_parser->is_header_done() && !ParseHead()) return;
  if (!m_parser->is_done() && !ParseBody()) return;
  Dispatch();
}

// False where the request has been refused, or must go on being read, which has begun then.
bool HttpConnection::ParseHead() {
  while (!m_parser->is_header_done()) {
    Error error;
    const auto bytes = m_buffer.data();
    const std::size_t taken = m_parser->put(bytes, error);
    const bool clean = HasCleanLines({static_cast<const char*>(bytes.data()), taken});
    m_buffer.consume(taken);
    if (clean && !error) continue;
    if (!clean) {
      Refuse(400);
    } else if (error == http::error::need_more) {
      ReadMore();
    } else {
      OnReadFailure(error);
    }
    return false;
  }
  m_keepAlive = m_parser->get().keep_alive();
  if (const int problem = HeadProblem()) {
    Refuse(problem);
    return false;
  }
  // Before the body is read: what stands behind a chunked body must not pass for a head.
  FillRequest();
  if (m_parser->is_done()) return true;
  m_parser->eager(true);
  Arm(m_owner.Options().bodyTimeout);
  const bool waits = beast::iequals(m_parser->get()[http::field::expect], "100-continue");
  if (!waits || m_parser->get().version() != 11) return true;
  ContinueThenReadBody();
  return false;
}

bool HttpConnection::ParseBody() {
  while (m_buffer.size() > 0 && !m_parser->is_done()) {
    Error error;
    const std::size_t taken = m_parser->put(m_buffer.data(), error);
    m_buffer.consume(taken);
    if (error == http::error::need_more) break;
    if (error) {
      OnReadFailure(error);
      return false;
    }
  }
  if (!ChargeBody()) return false;
  if (m_parser->is_done()) return true;
  ReadMore();
  return false;
}

// Counts what has come, not what was announced: an announcement costs nothing.
bool HttpConnection::ChargeBody() {
  const std::uint64_t all = m_charge.GrowTo(m_parser->get().body().size());
  if (all <= m_owner.Options().maxBodies) return true;
  m_charge.Reset();
  RefuseForNow();
  return false;
}

// What the parser lets pass and this server doesn't; 0 where all is well.
int HttpConnection::HeadProblem() const {
  const auto& message = m_parser->get();
  const bool hasCoding = message.count(http::field::transfer_encoding) > 0;
  const std::size_t lengths = message.count(http::field::content_length);
  if (lengths > (hasCoding ? 0U : 1U)) return 400;
  if (lengths > 0 && !IsNumber(message[http::field::content_length])) return 400;
  if (hasCoding && message.version() < 11) return 400;
  if (hasCoding && !beast::iequals(message[http::field::transfer_encoding], "chunked")) return 501;
  const std::size_t hosts = message.count(http::field::host);
  if (hosts > 1 || (hosts == 0 && message.version() == 11)) return 400;
  if (!IsHostText(Text(message[http::field::host]))) return 400;
  const http::verb method = message.method();
  if (method == http::verb::connect || method == http::verb::trace) return 501;
  if (message.target().size() > m_owner.Options().maxTarget) return 414;
  return 0;
}

void HttpConnection::ContinueThenReadBody() {
  static constexpr std::string_view kContinue = "HTTP/1.1 100 Continue\r\n\r\n";
  net::async_write(m_socket, net::buffer(kContinue.data(), kContinue.size()),
                   [self = shared_from_this()](Error error, std::size_t) {
                     if (error) return self->Close();
                     self->Parse();
                   });
}

void HttpConnection::OnReadFailure(Error error) {
  if (m_closed) return;
  if (m_timedOut) return Refuse(408);
  if (error == http::error::header_limit || error == http::error::buffer_overflow) return Refuse(431);
  if (error == http::error::body_limit) return Refuse(413);
  if (error == http::error::bad_version) return Refuse(505);
  if (error.category() == http::make_error_code(http::error::bad_method).category()) return Refuse(400);
  Close();
}

// Half a request gets an answer: the client may still listen.
void HttpConnection::OnClientEnd() {
  const bool begun = m_parser->got_some() || m_buffer.size() > 0;
  if (!begun) return Close();
  Refuse(400);
}

// Answers a request that couldn't be read; where its end lies is unknown, so the connection ends too.
void HttpConnection::Refuse(int status, std::string_view detail) {
  m_keepAlive = false;
  if (!m_request) {
    m_request = std::make_shared<HttpRequest>();
    m_request->id = m_owner.NextRequestId();
    m_request->remoteAddress = m_remoteAddress;
  }
  Respond(ErrorResponse(status, m_request->id, detail));
}

void HttpConnection::RefuseForNow() {
  m_keepAlive = false;
  Respond(ComeLater(503));
}

// ---- Running

void HttpConnection::FillRequest() {
  const auto& message = m_parser->get();
  m_request = std::make_shared<HttpRequest>();
  HttpRequest& request = *m_request;
  request.id = m_owner.NextRequestId();
  request.remoteAddress = m_remoteAddress;
  request.serverPort = m_localPort;
  request.method = Text(message.method_string());
  request.target = Text(message.target());
  request.version = message.version() == 10 ? "HTTP/1.0" : "HTTP/1.1";
  for (const auto& field : message.base())
    request.headers.Add(Text(field.name_string()), Text(field.value()));
  m_problem = FillTarget();
  if (m_isProxy) HearProxy();
  const auto& admits = m_owner.Options().admits;
  m_isAdmitted = !admits || admits(*m_request);
}

// The proxy has appended the address that it saw, behind whatever its client claimed.
void HttpConnection::HearProxy() {
  m_request->https = EqualsIgnoreCase(m_request->headers.Joined("X-Forwarded-Proto"), "https");
  const std::string all = m_request->headers.Joined("X-Forwarded-For");
  const std::string last = all.substr(all.find_last_of(", ") + 1);
  std::array<unsigned char, sizeof(in6_addr)> place{};
  const bool isAddress = ::inet_pton(AF_INET, last.c_str(), place.data()) == 1 ||
                         ::inet_pton(AF_INET6, last.c_str(), place.data()) == 1;
  if (isAddress) m_request->remoteAddress = last;
}

std::string HttpConnection::FillTarget() {
  HttpRequest& request = *m_request;
  UrlTarget target = ParseTarget(request.target);
  if (!target.error.empty()) return target.error;
  if (!IsHostText(target.host)) return "The host of the request's address is ill-formed.";
  const std::string* host = request.headers.Find("Host");
  request.path = std::move(target.path);
  request.rawQuery = std::move(target.rawQuery);
  request.serverName = WithoutPort(!target.host.empty() ? target.host : host ? *host : std::string());
  return {};
}

void HttpConnection::Dispatch() {
  Disarm();
  m_step = Step::Running;
  m_request->body = std::move(m_parser->get().body());
  m_headOnly = m_request->method == "HEAD";
  // The request was read to its end, so the connection can go on.
  if (!m_problem.empty()) return Respond(ErrorResponse(400, m_request->id, m_problem));
  if (!m_isAdmitted) return Respond(ComeLater(429));
  const ServerHandlers& handlers = m_owner.Handlers();
  if (handlers.quick) {
    std::optional<HttpResponse> answer = Guarded(
        handlers, m_request->id, [&]() -> std::optional<HttpResponse> { return handlers.quick(*m_request); });
    if (answer) return Respond(std::move(*answer));
  }
  StartPage();
}

void HttpConnection::StartPage() {
  // A large body is never there twice.
  auto work = [self = shared_from_this(), request = m_request, body = std::move(m_request->body)]() mutable {
    const ServerHandlers& handlers = self->m_owner.Handlers();
    PageLink link(self);
    HttpResponse response = Guarded(handlers, request->id, [&]() -> HttpResponse {
      return handlers.page(WithBody(*request, std::move(body)), link);
    });
    net::post(self->m_owner.Context(),
              [self, response = std::move(response)]() mutable { self->TakeResponse(std::move(response)); });
  };
  if (!m_owner.Threads().TryPost(std::move(work))) Respond(ComeLater(503));
}

HttpResponse HttpConnection::ComeLater(int status) const {
  HttpResponse response = ErrorResponse(status, m_request->id);
  response.headers.Set("Retry-After", std::to_string(m_owner.Options().retryAfter));
  return response;
}

void HttpConnection::AwaitRoom(std::size_t bytes) {
  m_flow.AwaitRoom(kMaxUnsent);
  m_flow.Posted(static_cast<std::int64_t>(bytes));
}

bool HttpConnection::IsConnected() const {
  const std::lock_guard lock(m_socketMutex);
  if (m_closed) return false;
  pollfd watched{};
  watched.fd = const_cast<ServerSocket&>(m_socket).native_handle();
  watched.events = POLLRDHUP;
  return ::poll(&watched, 1, 0) <= 0 || (watched.revents & (POLLRDHUP | POLLHUP | POLLERR)) == 0;
}

// ---- Writing

void HttpConnection::SetFramingHeaders(HttpResponse& response, bool isPart) {
  // These are the server's own business, whatever a page set.
  for (const char* name : {"Connection", "Keep-Alive", "Transfer-Encoding", "Content-Length", "Date"}) {
    response.headers.Remove(name);
  }
  const bool isHttp11 = m_request->version != "HTTP/1.0";
  if (m_owner.IsDraining() || (isPart && !isHttp11)) m_keepAlive = false;
  m_chunked = isPart && isHttp11 && !IsBodiless(response.status);
  response.headers.Set("Date", FormatHttpDate(std::time(nullptr)));
  if (m_chunked) response.headers.Set("Transfer-Encoding", "chunked");
  if (!isPart && !IsBodiless(response.status)) {
    const std::uint64_t length = response.file ? response.file->length : response.body.size();
    response.headers.Set("Content-Length", std::to_string(length));
  }
  for (const HeaderList::Field& field : m_owner.Options().headers) {
    if (!response.headers.Find(field.name)) response.headers.Add(field.name, field.value);
  }
  if (!m_keepAlive) {
    response.headers.Set("Connection", "close");
  } else if (!isHttp11) {
    response.headers.Set("Connection", "keep-alive");
  }
}

void HttpConnection::Queue(std::string bytes) {
  m_flow.Queued(static_cast<std::int64_t>(bytes.size()));
  m_output.push_back(std::move(bytes));
}

void HttpConnection::QueueChunk(std::string bytes) {
  if (bytes.empty() || m_headOnly || IsBodiless(m_status)) return;
  m_bodyBytes += bytes.size();
  if (m_chunked) {
    std::array<char, 24> size{};
    std::snprintf(size.data(), size.size(), "%zx\r\n", bytes.size());
    Queue(size.data());
    bytes += "\r\n";
  }
  Queue(std::move(bytes));
}

void HttpConnection::TakePart(HttpResponse part) {
  if (m_closed) return;
  if (!m_headSent) {
    m_headSent = true;
    m_status = part.status;
    SetFramingHeaders(part, true);
    Queue(HeadText(part));
  }
  m_flow.Posted(-static_cast<std::int64_t>(part.body.size()));
  QueueChunk(std::move(part.body));
  WriteMore();
}

void HttpConnection::TakeResponse(HttpResponse response) {
  if (m_closed) return;
  if (!m_headSent) return Respond(std::move(response));
  if (response.status >= 500) {
    // Too late for an error page: the missing last chunk tells the client that the page broke off.
    m_keepAlive = false;
  } else {
    QueueChunk(std::move(response.body));
    if (m_chunked && !m_headOnly) Queue("0\r\n\r\n");
  }
  m_complete = true;
  m_step = Step::Writing;
  WriteMore();
}

void HttpConnection::Respond(HttpResponse response) {
  m_step = Step::Writing;
  m_headSent = true;
  m_status = response.status;
  SetFramingHeaders(response, false);
  Queue(HeadText(response));
  if (response.file && !m_headOnly && !IsBodiless(m_status)) {
    m_bodyBytes = response.file->length;
    m_file = std::move(response.file);
  } else {
    QueueChunk(std::move(response.body));
  }
  m_complete = true;
  WriteMore();
}

void HttpConnection::WriteMore() {
  if (m_writing || m_closed) return;
  if (!m_output.empty() || FillFromFile()) return WriteSlice();
  if (m_complete && !m_closed) AfterResponse();
}

void HttpConnection::WriteSlice() {
  std::vector<net::const_buffer> pieces;
  std::size_t room = kSliceSize;
  std::size_t offset = m_outputOffset;
  for (const std::string& text : m_output) {
    const std::size_t length = std::min(text.size() - offset, room);
    pieces.emplace_back(text.data() + offset, length);
    room -= length;
    offset = 0;
    if (room == 0 || pieces.size() == kMaxSlicePieces) break;
  }
  m_writing = true;
  Arm(m_owner.Options().writeTimeout);
  net::async_write(m_socket, pieces, [self = shared_from_this()](Error error, std::size_t bytes) {
    self->OnWritten(error, bytes);
  });
}

// Puts the file's next stretch into the output; false where there is none. A file that became shorter than
// announced can only be answered by cutting the connection.
bool HttpConnection::FillFromFile() {
  if (!m_file || m_file->length == 0) return false;
  std::string stretch(std::min<std::uint64_t>(m_file->length, kSliceSize), '\0');
  const ssize_t got =
      ::pread(m_file->file->Get(), stretch.data(), stretch.size(), static_cast<off_t>(m_file->offset));
  if (got <= 0) {
    Close();
    return false;
  }
  stretch.resize(static_cast<std::size_t>(got));
  m_file->offset += stretch.size();
  m_file->length -= stretch.size();
  Queue(std::move(stretch));
  return true;
}

void HttpConnection::OnWritten(Error error, std::size_t bytes) {
  m_writing = false;
  Disarm();
  if (error) return Close();
  m_outputOffset += bytes;
  while (!m_output.empty() && m_outputOffset >= m_output.front().size()) {
    m_outputOffset -= m_output.front().size();
    m_flow.Queued(-static_cast<std::int64_t>(m_output.front().size()));
    m_output.pop_front();
  }
  WriteMore();
}

void HttpConnection::AfterResponse() {
  const ServerHandlers& handlers = m_owner.Handlers();
  if (handlers.finished) {
    const auto duration = std::chrono::steady_clock::now() - m_begun;
    handlers.finished({m_request->id, m_request->method, m_request->target, m_request->remoteAddress,
                       m_status, m_bodyBytes,
                       std::chrono::duration_cast<std::chrono::microseconds>(duration)});
  }
  m_file.reset();
  m_headOnly = m_headSent = m_chunked = m_complete = false;
  m_bodyBytes = 0;
  m_servedOne = true;
  // Whoever was told that the connection stays may be sending already, also while the server ends.
  if (!m_keepAlive) return Linger(m_owner.Options().lingerTimeout);
  ReadRequest();
}

// ---- Ending

// Closing while the client still sends would reset the connection and lose the response on its way; so the
// sending side is closed first, and what still comes is thrown away for a while.
void HttpConnection::Linger(std::chrono::milliseconds limit) {
  m_step = Step::Closing;
  Error error;
  m_socket.shutdown(ServerSocket::shutdown_send, error);
  if (error) return Close();
  m_scratch.resize(16 * 1024);
  Arm(limit);
  Discard();
}

void HttpConnection::Discard() {
  m_socket.async_read_some(net::buffer(m_scratch), [self = shared_from_this()](Error error, std::size_t) {
    if (error || self->m_timedOut) return self->Close();
    self->Discard();
  });
}

void HttpConnection::BeginDrain() {
  if (m_step != Step::Idle) return;
  const ServerOptions& options = m_owner.Options();
  const auto idle = std::chrono::steady_clock::now() - m_idleSince;
  // The first request of a fresh connection may be on its way, and the next one of a busy client.
  const auto grace = m_servedOne ? options.drainGrace : options.lingerTimeout;
  const auto left = std::chrono::ceil<std::chrono::milliseconds>(grace - idle);
  if (left.count() > 0) return Arm(std::min(left, options.idleTimeout));
  Error ignored;
  if (m_socket.available(ignored) == 0) Close();
}

void HttpConnection::EndIdle() {
  // What comes at the last moment is thrown away rather than answered with a reset.
  if (m_owner.IsDraining() && !m_closed) return Linger(m_owner.Options().drainGrace);
  Close();
}

std::optional<std::chrono::steady_clock::time_point> HttpConnection::IdleSince() const {
  if (m_step != Step::Idle) return std::nullopt;
  return m_idleSince;
}

void HttpConnection::Close() {
  if (m_closed.exchange(true)) return;
  m_step = Step::Closing;
  Disarm();
  {
    const std::lock_guard lock(m_socketMutex);
    Error ignored;
    m_socket.close(ignored);
  }
  m_flow.End();
  m_owner.Remove(shared_from_this());
}

}  // namespace hostlinux
