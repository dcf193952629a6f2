#include "host-linux/web/HttpServer.h"

#include <sys/socket.h>

#include <array>
#include <atomic>
#include <boost/asio/basic_socket_acceptor.hpp>
#include <boost/asio/executor_work_guard.hpp>
#include <boost/asio/post.hpp>
#include <condition_variable>
#include <cstdio>
#include <mutex>
#include <thread>
#include <unordered_set>

#include "host-linux/base/Random.h"
#include "host-linux/web/HttpConnection.h"
#include "host-linux/web/ListenSocket.h"

namespace hostlinux {

namespace net = boost::asio;

namespace {

using Acceptor = net::basic_socket_acceptor<net::generic::stream_protocol, net::io_context::executor_type>;
using Error = boost::system::error_code;

// How long accepting pauses when the process has no descriptors left.
constexpr std::chrono::milliseconds kAcceptPause(100);

int FamilyOf(int socket) {
  sockaddr_storage place{};
  socklen_t length = sizeof place;
  ::getsockname(socket, reinterpret_cast<sockaddr*>(&place), &length);
  return place.ss_family;
}

}  // namespace

class HttpServer::Impl final : public ConnectionOwner {
 public:
  Impl(ServerOptions options, ServerHandlers handlers, UniqueFd listener)
      : m_options(std::move(options)),
        m_handlers(std::move(handlers)),
        m_port(PortOf(listener.Get())),
        m_work(m_context.get_executor()),
        m_acceptor(m_context, net::generic::stream_protocol(FamilyOf(listener.Get()), 0), listener.Get()),
        m_accepted(m_context),
        m_pause(m_context),
        m_threads(m_options.threads, m_options.maxQueue) {
    (void)listener.Release();  // the acceptor has it now
    Accept();
    m_thread = std::thread([this] { Run(); });
  }

  ~Impl() override {
    net::post(m_context, [this] { CutAll(); });
    m_work.reset();
    WaitForConnections(std::nullopt);
    m_context.stop();
    m_thread.join();
  }

  const ServerOptions& Options() const override { return m_options; }
  const ServerHandlers& Handlers() const override { return m_handlers; }
  net::io_context& Context() override { return m_context; }
  ScriptThreads& Threads() override { return m_threads; }
  bool IsDraining() const override { return m_draining; }
  std::uint16_t Port() const { return m_port; }

  std::atomic<std::uint64_t>& BodyBytes() override { return m_bodyBytes; }

  std::string NextRequestId() override {
    std::array<char, 20> text{};
    std::snprintf(text.data(), text.size(), "%016llx", static_cast<unsigned long long>(m_nextId++));
    return text.data();
  }

  void Remove(const std::shared_ptr<HttpConnection>& connection) override {
    {
      const std::lock_guard lock(m_mutex);
      m_connections.erase(connection);
    }
    m_changed.notify_all();
    Accept();
  }

  bool Drain(std::chrono::milliseconds limit, Backlog backlog) {
    net::post(m_context, [this, backlog] { BeginDrain(backlog); });
    if (WaitForConnections(limit)) return true;
    net::post(m_context, [this] { CutAll(); });
    return false;
  }

 private:
  void Run() {
    while (true) {
      try {
        m_context.run();
        return;
      } catch (const std::exception& error) {
        if (m_handlers.problem) m_handlers.problem(std::string("The server's loop: ") + error.what());
      }
    }
  }

  void Accept() {
    if (m_draining || m_accepting || m_connections.size() >= m_options.maxConnections) return;
    m_accepting = true;
    m_acceptor.async_accept(m_accepted, [this](Error error) { OnAccepted(error); });
  }

  // Also while the server begins to end: what was accepted is served.
  void OnAccepted(Error error) {
    if (!error && !m_cut) StartConnection(std::exchange(m_accepted, ServerSocket(m_context)));
    {
      const std::lock_guard lock(m_mutex);
      m_accepting = false;
    }
    m_changed.notify_all();
    if (m_draining) return;
    if (!error) return Accept();
    m_pause.expires_after(kAcceptPause);
    m_pause.async_wait([this](Error) { Accept(); });
  }

  void StartConnection(ServerSocket socket) {
    auto connection = std::make_shared<HttpConnection>(*this, std::move(socket));
    {
      const std::lock_guard lock(m_mutex);
      m_connections.insert(connection);
    }
    connection->Start();
    if (m_connections.size() >= m_options.maxConnections) CloseLongestIdle();
  }

  // Clients that send nothing must not keep others out. The youngest one is spared: it has just come.
  void CloseLongestIdle() {
    std::shared_ptr<HttpConnection> longest;
    std::size_t idle = 0;
    for (const auto& connection : m_connections) {
      if (!connection->IdleSince()) continue;
      ++idle;
      if (!longest || *connection->IdleSince() < *longest->IdleSince()) longest = connection;
    }
    if (idle > 1) longest->Close();
  }

  void BeginDrain(Backlog backlog) {
    if (backlog == Backlog::Take) TakeBacklog();
    StopAccepting();
    for (const auto& connection : Snapshot()) connection->BeginDrain();
  }

  // Whoever has connected by now gets an answer; nobody else would give one.
  void TakeBacklog() {
    Error error;
    m_acceptor.non_blocking(true, error);
    while (!error) {
      ServerSocket socket(m_context);
      m_acceptor.accept(socket, error);
      if (error) return;
      StartConnection(std::move(socket));
    }
  }

  void CutAll() {
    m_cut = true;
    StopAccepting();
    for (const auto& connection : Snapshot()) connection->Close();
  }

  void StopAccepting() {
    {
      const std::lock_guard lock(m_mutex);
      m_draining = true;
    }
    Error ignored;
    m_acceptor.close(ignored);
    m_pause.cancel();
    m_changed.notify_all();
  }

  // Closing removes from the set, so it is walked as a copy.
  std::vector<std::shared_ptr<HttpConnection>> Snapshot() {
    return {m_connections.begin(), m_connections.end()};
  }

  bool WaitForConnections(std::optional<std::chrono::milliseconds> limit) {
    std::unique_lock lock(m_mutex);
    const auto ended = [this] { return m_draining && !m_accepting && m_connections.empty(); };
    if (limit) return m_changed.wait_for(lock, *limit, ended);
    m_changed.wait(lock, ended);
    return true;
  }

  const ServerOptions m_options;
  const ServerHandlers m_handlers;
  const std::uint16_t m_port;
  net::io_context m_context{1};
  net::executor_work_guard<net::io_context::executor_type> m_work;
  Acceptor m_acceptor;
  ServerSocket m_accepted;
  net::steady_timer m_pause;
  std::atomic<bool> m_accepting = false;
  bool m_cut = false;
  std::atomic<bool> m_draining = false;
  std::uint64_t m_nextId = RandomNumber<std::uint64_t>();
  std::atomic<std::uint64_t> m_bodyBytes = 0;
  // The set of connections is changed on the I/O thread only, under this for those who wait.
  std::mutex m_mutex;
  std::condition_variable m_changed;
  std::unordered_set<std::shared_ptr<HttpConnection>> m_connections;
  // Below what pages use, so that it ends before that: its end waits for the running pages.
  ScriptThreads m_threads;
  std::thread m_thread;
};

HttpServer::HttpServer(ServerOptions options, ServerHandlers handlers, UniqueFd listener)
    : m_impl(std::make_unique<Impl>(std::move(options), std::move(handlers), std::move(listener))) {}

HttpServer::~HttpServer() = default;

std::uint16_t HttpServer::Port() const { return m_impl->Port(); }

bool HttpServer::Drain(std::chrono::milliseconds limit, Backlog backlog) {
  return m_impl->Drain(limit, backlog);
}

}  // namespace hostlinux
