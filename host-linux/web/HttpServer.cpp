#include "host-linux/web/HttpServer.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/eventfd.h>
#include <sys/socket.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <cerrno>
#include <cstdio>
#include <stdexcept>
#include <thread>

#include "host-linux/base/Random.h"
#include "host-linux/web/ConnectionTable.h"
#include "host-linux/web/ListenSocket.h"

namespace hostlinux {

namespace {

using Clock = HttpConnection::Clock;

// How long accepting pauses when the process has no descriptors left.
constexpr std::chrono::milliseconds kAcceptPause(100);

// While all script threads are busy, somebody looks so often for what needs none of them, and for room for a
// new connection.
constexpr std::chrono::milliseconds kBusyTick(5);

// So many rounds of them at a time: new clients and limits want their turn.
constexpr int kMostRounds = 8;

// How long that goes on without need, so that it needn't begin again at once.
constexpr int kQuietTicks = 20;

// Limits are kept to a part of the shortest of them.
constexpr std::chrono::milliseconds kShortestTick(5);
constexpr std::chrono::milliseconds kLongestTick(500);

// At the very end: how long handshakes that have begun may take.
constexpr std::chrono::milliseconds kHandshakes(100);

// Accepted at a time.
constexpr int kMostAccepted = 64;

std::chrono::milliseconds TickOf(const ServerOptions& options) {
  const auto shortest = std::min({options.idleTimeout, options.headTimeout, options.bodyTimeout,
                                  options.writeTimeout, options.lingerTimeout, options.drainGrace});
  return std::clamp(shortest / 4, kShortestTick, kLongestTick);
}

}  // namespace

// The server's own thread accepts, keeps to the limits, and looks after the connections while all script
// threads are busy.
class HttpServer::Impl final : public ConnectionOwner {
 public:
  Impl(ServerOptions options, ServerHandlers handlers, UniqueFd listener)
      : m_options(std::move(options)),
        m_handlers(std::move(handlers)),
        m_port(PortOf(listener.Get())),
        m_tick(TickOf(m_options)),
        m_listener(std::move(listener)),
        m_alarm(::eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)),
        m_threads(ThreadOptions()) {
    if (!m_alarm) throw std::runtime_error("The server has no descriptors left.");
    m_spill.most = m_options.maxUnread;
    m_spill.mostTogether = m_options.maxUnreadTogether;
    ::fcntl(m_listener.Get(), F_SETFL, ::fcntl(m_listener.Get(), F_GETFL) | O_NONBLOCK);
    m_thread = std::thread([this] { Run(); });
  }

  ~Impl() override {
    Ask(Wish::Cut);
    AwaitNone(std::nullopt);
    Ask(Wish::Stop);
    m_thread.join();
  }

  const ServerOptions& Options() const override { return m_options; }
  const ServerHandlers& Handlers() const override { return m_handlers; }
  ScriptThreads& Threads() override { return m_threads; }
  bool IsDraining() const override { return m_draining; }
  std::atomic<std::uint64_t>& BodyBytes() override { return m_bodyBytes; }
  SpillBounds& Spill() override { return m_spill; }
  std::uint16_t Port() const { return m_port; }

  std::string NextRequestId() override {
    std::array<char, 20> text{};
    std::snprintf(text.data(), text.size(), "%016llx", static_cast<unsigned long long>(m_nextId++));
    return text.data();
  }

  void Remove(std::uint64_t id) override {
    m_table.Remove(id);
    if (m_crowded) Wake();
  }

  bool Drain(std::chrono::milliseconds limit, Backlog backlog) {
    Ask(backlog == Backlog::Take ? Wish::DrainAll : Wish::Drain);
    if (AwaitNone(limit)) return true;
    Ask(Wish::Cut);
    return false;
  }

 private:
  // What other threads want of the server's own; each includes those before it.
  enum class Wish { None, Drain, DrainAll, Cut, Stop };

  ScriptThreads::Options ThreadOptions() {
    return {m_options.threads, m_options.maxQueue,
            [this](std::uint64_t id) { OnReady(id, HttpConnection::Thread::Script); },
            [this] {
              if (!m_ticking.exchange(true)) Wake();
            }};
  }

  void OnReady(std::uint64_t id, HttpConnection::Thread thread) {
    if (const auto connection = m_table.Find(id)) connection->OnReady(thread);
  }

  void Wake() { ::eventfd_write(m_alarm.Get(), 1); }

  void Ask(Wish wish) {
    m_wish = wish;
    Wake();
  }

  bool AwaitNone(std::optional<std::chrono::milliseconds> limit) {
    return m_table.AwaitNone(limit, [this] { return m_closed.load(); });
  }

  void Run() {
    while (m_wish != Wish::Stop) {
      try {
        Round();
      } catch (const std::exception& error) {
        Tell(std::string("The server's loop: ") + error.what());
      }
    }
  }

  void Tell(const std::string& problem) const {
    if (m_handlers.problem) m_handlers.problem(problem);
  }

  void Round() {
    AwaitWork();
    FulfilWish();
    Accept();
    if (m_ticking) LookAfterReady();
    const auto now = Clock::now();
    if (m_closesAt && now >= *m_closesAt) CloseListener();
    if (now >= m_nextLook) KeepLimits(now);
  }

  // Waits for a new client, an alarm, or the next thing to do.
  void AwaitWork() {
    std::array<pollfd, 2> watched{{{m_alarm.Get(), POLLIN, 0}, {m_listener.Get(), POLLIN, 0}}};
    const bool accepts = m_listener && !m_crowded && Clock::now() >= m_acceptAgain;
    const int ready = ::poll(watched.data(), accepts ? 2 : 1, MillisecondsToWait());
    m_hasClient = ready > 0 && accepts && watched[1].revents != 0;
    if (ready <= 0 || watched[0].revents == 0) return;
    eventfd_t ignored = 0;
    ::eventfd_read(m_alarm.Get(), &ignored);
  }

  int MillisecondsToWait() const {
    if (m_ticking || m_crowded) return static_cast<int>(kBusyTick.count());
    const auto next = std::min({m_nextLook, m_acceptAgain > Clock::now() ? m_acceptAgain : m_nextLook,
                                m_closesAt.value_or(m_nextLook)});
    if (next == Clock::time_point::max()) return -1;
    const auto left = std::chrono::ceil<std::chrono::milliseconds>(next - Clock::now());
    return static_cast<int>(std::clamp<std::int64_t>(left.count(), 0, 3'600'000));
  }

  // ---- Accepting

  void Accept() {
    if (!m_listener || !(m_hasClient || m_crowded)) return;
    m_crowded = false;
    for (int i = 0; i < kMostAccepted; ++i) {
      if (!m_draining && m_table.Size() >= m_options.maxConnections && !MakeRoom()) return;
      UniqueFd socket(::accept4(m_listener.Get(), nullptr, nullptr, SOCK_NONBLOCK | SOCK_CLOEXEC));
      if (!socket) return OnNotAccepted(errno);
      Take(std::move(socket));
    }
  }

  // Clients that send nothing must not keep others out. While none is idle, those that come wait.
  bool MakeRoom() {
    pollfd waiting{m_listener.Get(), POLLIN, 0};
    if (::poll(&waiting, 1, 0) <= 0) return false;
    if (m_table.CloseLongestIdle()) return true;
    m_crowded = true;
    return false;
  }

  void OnNotAccepted(int error) {
    if (error == EAGAIN || error == EINTR || error == ECONNABORTED) return;
    m_acceptAgain = Clock::now() + kAcceptPause;
  }

  void Take(UniqueFd socket) {
    const auto connection = std::make_shared<HttpConnection>(*this, ++m_lastConnection, std::move(socket));
    m_table.Add(connection);
    connection->Start();
    m_nextLook = std::min(m_nextLook, Clock::now() + m_tick);
  }

  // ---- While all script threads are busy

  void LookAfterReady() {
    if (!m_threads.AreAllBusy()) {
      if (++m_quietTicks < kQuietTicks) return;
      m_quietTicks = 0;
      m_ticking = false;
      // A thread that became busy just now took it for ticking.
      if (m_threads.AreAllBusy()) m_ticking = true;
      return;
    }
    m_quietTicks = 0;
    for (int i = 0; i < kMostRounds && m_threads.AreAllBusy(); ++i) {
      const auto ids = m_threads.TakeReady();
      if (ids.empty()) return;
      for (const std::uint64_t id : ids) OnReady(id, HttpConnection::Thread::Other);
    }
  }

  void KeepLimits(Clock::time_point now) {
    const ConnectionTable::Deadlines deadlines = m_table.DeadlinesAt(now);
    for (const auto& connection : deadlines.due) connection->OnDeadline();
    // A limit that is set meanwhile lies at least as far as the shortest one.
    m_nextLook = deadlines.next == Clock::time_point::max() && m_table.Size() == 0
                     ? Clock::time_point::max()
                     : std::clamp(deadlines.next, now + kShortestTick, now + m_tick);
  }

  // ---- Ending

  void FulfilWish() {
    const Wish wish = m_wish;
    if (wish == Wish::None || wish == m_fulfilled) return;
    m_fulfilled = wish;
    if (wish == Wish::Cut || wish == Wish::Stop) return CutAll();
    BeginDrain(wish == Wish::DrainAll);
  }

  // Whoever has connected by now gets an answer; nobody else would give one.
  void BeginDrain(bool takesBacklog) {
    m_draining = true;
    if (takesBacklog) {
      RefuseNewcomers(m_listener.Get());
      m_closesAt = Clock::now() + kHandshakes;
      m_hasClient = true;
    } else {
      CloseListener();
    }
    for (const auto& connection : m_table.All()) connection->BeginDrain();
    m_nextLook = Clock::now();
  }

  void CutAll() {
    m_draining = true;
    CloseListener();
    for (const auto& connection : m_table.All()) connection->Close();
  }

  void CloseListener() {
    if (m_closesAt) TakeBacklog();
    m_closesAt.reset();
    m_listener = UniqueFd();
    m_closed = true;
    m_table.WakeWaiting();
  }

  void TakeBacklog() {
    while (m_wish == Wish::DrainAll) {
      UniqueFd socket(::accept4(m_listener.Get(), nullptr, nullptr, SOCK_NONBLOCK | SOCK_CLOEXEC));
      if (!socket) return;
      Take(std::move(socket));
    }
  }

  const ServerOptions m_options;
  const ServerHandlers m_handlers;
  const std::uint16_t m_port;
  const std::chrono::milliseconds m_tick;
  UniqueFd m_listener;
  const UniqueFd m_alarm;  // wakes the server's own thread
  std::atomic<std::uint64_t> m_nextId = RandomNumber<std::uint64_t>();
  std::atomic<std::uint64_t> m_bodyBytes = 0;
  SpillBounds m_spill;
  std::atomic<bool> m_ticking = false;
  std::atomic<bool> m_crowded = false;  // a new client waits for somebody to become idle or go
  std::atomic<bool> m_draining = false;
  std::atomic<bool> m_closed = false;  // nobody is accepted any more
  std::atomic<Wish> m_wish = Wish::None;
  // Of the server's own thread.
  Wish m_fulfilled = Wish::None;
  bool m_hasClient = false;
  int m_quietTicks = 0;
  std::uint64_t m_lastConnection = 0;
  Clock::time_point m_nextLook = Clock::time_point::max();
  Clock::time_point m_acceptAgain;
  std::optional<Clock::time_point> m_closesAt;  // the listener, while the server ends
  ConnectionTable m_table;
  // Below what connections use, so that it ends before that: its end waits for the running pages.
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
