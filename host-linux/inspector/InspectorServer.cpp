#include "host-linux/inspector/InspectorServer.h"

#include <array>
#include <boost/asio/ip/tcp.hpp>
#include <boost/asio/post.hpp>
#include <boost/asio/steady_timer.hpp>
#include <boost/beast/core/buffers_to_string.hpp>
#include <boost/beast/core/flat_buffer.hpp>
#include <boost/beast/core/tcp_stream.hpp>
#include <boost/beast/http.hpp>
#include <boost/beast/websocket.hpp>
#include <deque>
#include <stdexcept>
#include <thread>
#include <utility>
#include <vector>

#include "host-linux/base/Random.h"
#include "host-linux/inspector/LoopbackName.h"
#include "host-linux/script/JsonText.h"
#include "host-linux/web/ListenSocket.h"

namespace hostlinux {

namespace net = boost::asio;
namespace beast = boost::beast;
namespace http = boost::beast::http;
namespace websocket = boost::beast::websocket;

namespace {

using Tcp = net::ip::tcp;
using Error = boost::system::error_code;
using Request = http::request<http::string_body>;
using Response = http::response<http::string_body>;

constexpr std::chrono::seconds kHttpTimeout(10);
constexpr std::chrono::milliseconds kAcceptPause(100);
constexpr std::size_t kLongestMessage = 64U << 20U;

std::string Text(beast::string_view view) { return {view.data(), view.size()}; }

std::string Json(const std::string& text) { return JsonText(varnel::FromUtf8(text)); }

Response Answer(const Request& request, http::status status, std::string body, const char* type) {
  Response response(status, request.version(), std::move(body));
  response.set(http::field::content_type, type);
  response.set(http::field::cache_control, "no-store");
  response.keep_alive(request.keep_alive());
  response.prepare_payload();
  return response;
}

// What the connections share. All of it is used on the server's thread.
struct Shared {
  Inspection& inspection;
  std::string id;
  std::string authority;  // "127.0.0.1:9229"
  std::string title;
  std::string url;

  std::string Address() const { return "ws://" + authority + "/" + id; }

  std::string List() const {
    return "[{\"description\":\"Varnel pages\",\"devtoolsFrontendUrl\":" +
           Json("devtools://devtools/bundled/js_app.html?v8only=true&ws=" + authority + "/" + id) +
           ",\"id\":" + Json(id) + ",\"title\":" + Json(title) + ",\"type\":\"node\",\"url\":" + Json(url) +
           ",\"webSocketDebuggerUrl\":" + Json(Address()) + "}]\n";
  }

  Response Answer(const Request& request) const {
    const std::string path = Text(request.target());
    const char* const json = "application/json; charset=UTF-8";
    if (path == "/json/version") {
      return hostlinux::Answer(request, http::status::ok,
                               "{\"Browser\":\"Varnel\",\"Protocol-Version\":\"1.3\"}\n", json);
    }
    if (path == "/json" || path == "/json/list")
      return hostlinux::Answer(request, http::status::ok, List(), json);
    return hostlinux::Answer(request, http::status::not_found, "There is nothing at this address.\n",
                             "text/plain");
  }

  // The reason for which a request is refused; empty for one that is taken. Of two headers another reader
  // may believe the other one.
  static std::string Refusal(const Request& request) {
    if (request.count(http::field::host) != 1 || !IsLoopbackName(Text(request[http::field::host])))
      return "The Host of a request to the debugger must be localhost or a loopback address.\n";
    if (!IsFromTools(request)) return "Web pages may not use the debugger.\n";
    return {};
  }

  // A program names no origin, and the tools of a browser their own. A page in a frame of its own, or one
  // from a file, says "null".
  static bool IsFromTools(const Request& request) {
    const auto count = request.count(http::field::origin);
    return count == 0 || (count == 1 && request[http::field::origin].starts_with("devtools://"));
  }
};

class Connection : public std::enable_shared_from_this<Connection> {
 public:
  Connection(Shared& shared, Tcp::socket socket) : m_shared(shared), m_stream(std::move(socket)) {}
  ~Connection() {
    if (m_isClient) m_shared.inspection.Close();
  }
  Connection(const Connection&) = delete;
  Connection& operator=(const Connection&) = delete;

  void Start() {
    m_request = {};
    beast::get_lowest_layer(m_stream).expires_after(kHttpTimeout);
    http::async_read(m_stream.next_layer(), m_buffer, m_request,
                     [self = shared_from_this()](Error error, std::size_t) {
                       if (!error) self->Take();
                     });
  }

  void Cut() {
    Error ignored;
    beast::get_lowest_layer(m_stream).socket().close(ignored);
  }

 private:
  void Take() {
    const std::string refusal = Shared::Refusal(m_request);
    if (!refusal.empty()) return Send(Answer(m_request, http::status::forbidden, refusal, "text/plain"));
    const bool isDebugger = websocket::is_upgrade(m_request) && Text(m_request.target()) == "/" + m_shared.id;
    return isDebugger ? Open() : Send(m_shared.Answer(m_request));
  }

  void Send(Response response) {
    const auto kept = std::make_shared<Response>(std::move(response));
    http::async_write(m_stream.next_layer(), *kept,
                      [self = shared_from_this(), kept](Error error, std::size_t) {
                        if (!error && kept->keep_alive()) self->Start();
                      });
  }

  void Open() {
    // The engine's thread says something: it is written on the server's.
    m_isClient = m_shared.inspection.Open(
        [weak = weak_from_this(), executor = m_stream.get_executor()](std::string message) {
          net::post(executor, [weak, message = std::move(message)]() mutable {
            if (const auto self = weak.lock()) self->Write(std::move(message));
          });
        });
    if (!m_isClient)
      return Send(Answer(m_request, http::status::conflict, "Another debugger is attached.\n", "text/plain"));
    beast::get_lowest_layer(m_stream).expires_never();
    m_stream.read_message_max(kLongestMessage);
    m_stream.async_accept(m_request, [self = shared_from_this()](Error error) {
      if (error) return;
      self->m_isOpen = true;
      self->WriteNext();
      self->Read();
    });
  }

  void Read() {
    m_stream.async_read(m_buffer, [self = shared_from_this()](Error error, std::size_t) {
      if (error) return;
      self->m_shared.inspection.Deliver(beast::buffers_to_string(self->m_buffer.data()));
      self->m_buffer.clear();
      self->Read();
    });
  }

  void Write(std::string message) {
    m_waiting.push_back(std::move(message));
    if (m_isOpen && m_waiting.size() == 1) WriteNext();
  }

  void WriteNext() {
    if (m_waiting.empty()) return;
    m_stream.text(true);
    m_stream.async_write(net::buffer(m_waiting.front()),
                         [self = shared_from_this()](Error error, std::size_t) {
                           if (error) return;
                           self->m_waiting.pop_front();
                           self->WriteNext();
                         });
  }

  Shared& m_shared;
  websocket::stream<beast::tcp_stream> m_stream;
  beast::flat_buffer m_buffer;
  Request m_request;
  std::deque<std::string> m_waiting;  // the first is being written
  bool m_isClient = false;
  bool m_isOpen = false;
};

}  // namespace

class InspectorServer::Impl {
 public:
  Impl(Inspection& inspection, UniqueFd listener, std::string title, std::string url)
      : m_shared{inspection, RandomToken(), "127.0.0.1:" + std::to_string(PortOf(listener.Get())),
                 std::move(title), std::move(url)},
        m_address(m_shared.Address()),
        m_acceptor(m_context, Tcp::v4(), listener.Get()) {
    (void)listener.Release();  // the acceptor has it now
    Accept();
    m_thread = std::thread([this] { m_context.run(); });
  }

  ~Impl() {
    net::post(m_context, [this] {
      Error ignored;
      m_acceptor.close(ignored);
      m_pause.cancel();
      for (const auto& weak : m_connections)
        if (const auto connection = weak.lock()) connection->Cut();
    });
    m_thread.join();
  }

  const std::string& Address() const { return m_address; }

 private:
  void Accept() {
    m_acceptor.async_accept([this](Error error, Tcp::socket socket) {
      if (!m_acceptor.is_open()) return;
      if (error) return AcceptLater();
      Take(std::move(socket));
      Accept();
    });
  }

  // Without descriptors it would be told of the same client again and again.
  void AcceptLater() {
    m_pause.expires_after(kAcceptPause);
    m_pause.async_wait([this](Error) {
      if (m_acceptor.is_open()) Accept();
    });
  }

  void Take(Tcp::socket socket) {
    std::erase_if(m_connections, [](const auto& weak) { return weak.expired(); });
    const auto connection = std::make_shared<Connection>(m_shared, std::move(socket));
    m_connections.push_back(connection);
    connection->Start();
  }

  net::io_context m_context{1};
  Shared m_shared;
  const std::string m_address;
  Tcp::acceptor m_acceptor;
  net::steady_timer m_pause{m_context};
  std::vector<std::weak_ptr<Connection>> m_connections;
  std::thread m_thread;
};

InspectorServer::InspectorServer(Inspection& inspection, UniqueFd listener, std::string title,
                                 std::string url)
    : m_impl(std::make_unique<Impl>(inspection, std::move(listener), std::move(title), std::move(url))) {}

InspectorServer::~InspectorServer() = default;

const std::string& InspectorServer::Address() const { return m_impl->Address(); }

}  // namespace hostlinux
