#include "host-linux/web/RequestReader.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>

#include <algorithm>
#include <array>
#include <boost/beast/http/error.hpp>
#include <cerrno>

#include "host-linux/base/Ascii.h"
#include "host-linux/web/ListenSocket.h"
#include "host-linux/web/UrlPath.h"

namespace hostlinux {

namespace beast = boost::beast;
namespace http = boost::beast::http;

namespace {

// Read at once.
constexpr std::size_t kHeadReadSize = 4 * 1024;
constexpr std::size_t kBodyReadSize = 64 * 1024;

std::string Text(beast::string_view view) { return std::string(view.data(), view.size()); }

std::string RemoteAddressOf(int socket) {
  sockaddr_storage place{};
  socklen_t length = sizeof place;
  if (::getpeername(socket, reinterpret_cast<sockaddr*>(&place), &length) != 0) return {};
  std::array<char, INET6_ADDRSTRLEN> text{};
  if (place.ss_family == AF_INET) {
    const auto& four = reinterpret_cast<const sockaddr_in&>(place);
    ::inet_ntop(AF_INET, &four.sin_addr, text.data(), text.size());
  } else if (place.ss_family == AF_INET6) {
    const auto& six = reinterpret_cast<const sockaddr_in6&>(place);
    ::inet_ntop(AF_INET6, &six.sin6_addr, text.data(), text.size());
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

}  // namespace

ConnectionEnds::ConnectionEnds(int socket, const ServerOptions& options)
    : remoteAddress(RemoteAddressOf(socket)), localPort(PortOf(socket)) {
  const std::string name = remoteAddress.empty() ? "unix" : remoteAddress;
  const auto& proxies = options.trustedProxies;
  isProxy = std::find(proxies.begin(), proxies.end(), name) != proxies.end();
}

RequestReader::RequestReader(const ServerOptions& options, int socket, std::atomic<std::uint64_t>& bodies)
    : m_options(options),
      m_ends(socket, options),
      m_buffer(options.maxHead + kBodyReadSize),
      m_charge(bodies) {
  Begin();
}

void RequestReader::Begin() {
  m_request = HttpRequest();
  m_request.remoteAddress = m_ends.remoteAddress;
  m_problem.clear();
  m_refusal = 0;
  m_hasHead = false;
  m_isAdmitted = true;
  m_keepAlive = false;
  m_charge.Reset();
  m_parser.emplace();
  m_parser->header_limit(m_options.maxHead);
  m_parser->body_limit(m_options.maxBody);
  // A connection that waits for a request holds no buffer.
  if (m_buffer.size() == 0) m_buffer.shrink_to_fit();
}

void RequestReader::DropBody() {
  m_request.body = std::string();
  m_charge.Reset();
}

RequestReader::Result RequestReader::Read(int socket) {
  const Result result = m_buffer.size() > 0 || m_hasHead ? Parse() : Result::More;
  return result == Result::More ? Receive(socket) : result;
}

RequestReader::Result RequestReader::Receive(int socket) {
  while (true) {
    const std::size_t room = m_buffer.max_size() - m_buffer.size();
    if (room == 0) return Refuse(400);  // a chunk's line or trailer without end
    const auto space = m_buffer.prepare(std::min(room, m_hasHead ? kBodyReadSize : kHeadReadSize));
    const ssize_t count = ::recv(socket, space.data(), space.size(), 0);
    if (count < 0 && errno == EINTR) continue;
    if (count < 0) return errno == EAGAIN ? Result::More : Result::Gone;
    // Half a request gets an answer: the client may still listen.
    if (count == 0) return HasBegun() ? Refuse(400) : Result::Gone;
    m_buffer.commit(static_cast<std::size_t>(count));
    const Result result = Parse();
    if (result != Result::More || static_cast<std::size_t>(count) < space.size()) return result;
  }
}

RequestReader::Result RequestReader::Parse() {
  if (!m_hasHead) {
    const Result result = ParseHead();
    if (result != Result::Complete) return result;
  }
  return m_parser->is_done() ? Result::Complete : ParseBody();
}

// Complete: the head is, and what follows may be read.
RequestReader::Result RequestReader::ParseHead() {
  while (!m_parser->is_header_done()) {
    Error error;
    const auto bytes = m_buffer.data();
    const std::size_t taken = m_parser->put(bytes, error);
    const bool clean = HasCleanLines({static_cast<const char*>(bytes.data()), taken});
    m_buffer.consume(taken);
    if (!clean) return Refuse(400);
    if (error == http::error::need_more) return Result::More;
    if (error) return Refuse(error);
  }
  return TakeHead();
}

// Before the body is read: what stands behind a chunked body must not pass for a head.
RequestReader::Result RequestReader::TakeHead() {
  m_keepAlive = m_parser->get().keep_alive();
  if (const int problem = HeadProblem()) return Refuse(problem);
  FillRequest();
  m_hasHead = true;
  if (m_parser->is_done()) {
    m_request.body = std::move(m_parser->get().body());
    return Result::Complete;
  }
  m_parser->eager(true);
  const bool waits = beast::iequals(m_parser->get()[http::field::expect], "100-continue");
  return waits && m_parser->get().version() == 11 ? Result::Continue : Result::Complete;
}

RequestReader::Result RequestReader::ParseBody() {
  while (m_buffer.size() > 0 && !m_parser->is_done()) {
    Error error;
    const std::size_t taken = m_parser->put(m_buffer.data(), error);
    m_buffer.consume(taken);
    if (error == http::error::need_more) break;
    if (error) return Refuse(error);
  }
  // Counts what has come, not what was announced: an announcement costs nothing.
  if (!m_charge.GrowTo(m_parser->get().body().size(), m_options.maxBodies)) {
    m_charge.Reset();
    return Refuse(503);
  }
  if (!m_parser->is_done()) return Result::More;
  m_request.body = std::move(m_parser->get().body());
  return Result::Complete;
}

RequestReader::Result RequestReader::Refuse(int status) {
  m_refusal = status;
  return Result::Refused;
}

RequestReader::Result RequestReader::Refuse(Error error) {
  if (error == http::error::header_limit || error == http::error::buffer_overflow) return Refuse(431);
  if (error == http::error::body_limit) return Refuse(413);
  if (error == http::error::bad_version) return Refuse(505);
  return Refuse(400);
}

// What the parser lets pass and this server doesn't; 0 where all is well.
int RequestReader::HeadProblem() const {
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
  if (message.target().size() > m_options.maxTarget) return 414;
  return 0;
}

void RequestReader::FillRequest() {
  const auto& message = m_parser->get();
  m_request.serverPort = m_ends.localPort;
  m_request.method = Text(message.method_string());
  m_request.target = Text(message.target());
  m_request.version = message.version() == 10 ? "HTTP/1.0" : "HTTP/1.1";
  for (const auto& field : message.base())
    m_request.headers.Add(Text(field.name_string()), Text(field.value()));
  m_problem = FillTarget();
  if (m_ends.isProxy) HearProxy();
  m_isAdmitted = !m_options.admits || m_options.admits(m_request);
}

// The proxy has appended the address that it saw, behind whatever its client claimed.
void RequestReader::HearProxy() {
  m_request.https = EqualsIgnoreCase(m_request.headers.Joined("X-Forwarded-Proto"), "https");
  const std::string all = m_request.headers.Joined("X-Forwarded-For");
  const std::string last = all.substr(all.find_last_of(", ") + 1);
  std::array<unsigned char, sizeof(in6_addr)> place{};
  const bool isAddress = ::inet_pton(AF_INET, last.c_str(), place.data()) == 1 ||
                         ::inet_pton(AF_INET6, last.c_str(), place.data()) == 1;
  if (isAddress) m_request.remoteAddress = last;
}

std::string RequestReader::FillTarget() {
  UrlTarget target = ParseTarget(m_request.target);
  if (!target.error.empty()) return target.error;
  if (!IsHostText(target.host)) return "The host of the request's address is ill-formed.";
  const std::string* host = m_request.headers.Find("Host");
  m_request.path = std::move(target.path);
  m_request.rawQuery = std::move(target.rawQuery);
  m_request.serverName = WithoutPort(!target.host.empty() ? target.host : host ? *host : std::string());
  return {};
}

}  // namespace hostlinux
