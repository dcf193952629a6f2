// A connection's page: how it is run, and what it may do with its client meanwhile.
#include <poll.h>

#include <chrono>

#include "host-linux/web/ErrorPage.h"
#include "host-linux/web/HttpConnection.h"

namespace hostlinux {

namespace {

// A page that has taken so long and still sends lets others go first, between its parts, for so long each time.
constexpr std::chrono::milliseconds kLongPage(100);
constexpr std::chrono::milliseconds kMostAside(100);

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

// The link that a page gets; it lives as long as the page runs.
class HttpConnection::PageLink final : public ClientLink {
 public:
  explicit PageLink(HttpConnection& connection) : m_connection(connection) {}

  bool IsConnected() const override { return m_connection.IsConnected(); }
  bool IsFlushed() const override { return m_flushed; }

  void Flush(HttpResponse soFar) override {
    m_flushed = true;
    m_connection.Flush(std::move(soFar));
    if (std::chrono::steady_clock::now() - m_start > kLongPage)
      m_connection.m_owner.Threads().StepAside(kMostAside);
  }

 private:
  HttpConnection& m_connection;
  const std::chrono::steady_clock::time_point m_start = std::chrono::steady_clock::now();
  bool m_flushed = false;
};

std::optional<HttpResponse> HttpConnection::AnswerWithoutPage() {
  // The request was read to its end, so the connection can go on.
  if (!m_reader.Problem().empty()) return ErrorResponse(400, m_entry.id, m_reader.Problem());
  if (!m_reader.IsAdmitted()) return ComeLater(429);
  const ServerHandlers& handlers = m_owner.Handlers();
  if (!handlers.quick) return std::nullopt;
  return Guarded(handlers, m_entry.id,
                 [&]() -> std::optional<HttpResponse> { return handlers.quick(m_reader.Request()); });
}

// False where it was queued; otherwise it is answered.
bool HttpConnection::QueuePage() {
  if (m_owner.Threads().TryPost([self = shared_from_this()] { self->RunQueuedPage(); })) return false;
  Respond(ComeLater(503));
  return true;
}

void HttpConnection::RunQueuedPage() {
  Lock lock(m_mutex);
  if (m_state == State::Closed) return;
  RunPage(lock);
  Proceed(lock, Thread::Script);
}

void HttpConnection::RunPage(Lock& lock) {
  const ServerHandlers& handlers = m_owner.Handlers();
  HttpRequest request = std::move(m_reader.Request());
  lock.unlock();
  PageLink link(*this);
  HttpResponse response = Guarded(handlers, m_entry.id,
                                  [&]() -> HttpResponse { return handlers.page(std::move(request), link); });
  lock.lock();
  TakeResponse(std::move(response));
}

void HttpConnection::TakeResponse(HttpResponse response) {
  if (m_state == State::Closed) return;
  if (!m_writer.IsHeadOut()) return Respond(std::move(response));
  m_state = State::Sending;
  m_reader.DropBody();
  if (response.status >= 500) {
    // Too late for an error page: the missing last chunk tells the client that the page broke off.
    m_writer.BreakOff();
  } else {
    m_writer.AddRest(std::move(response.body));
  }
}

bool HttpConnection::IsConnected() {
  const Lock lock(m_mutex);
  if (m_state == State::Closed) return false;
  pollfd watched{m_socket.Get(), POLLRDHUP, 0};
  return ::poll(&watched, 1, 0) <= 0 || (watched.revents & (POLLRDHUP | POLLHUP | POLLERR)) == 0;
}

void HttpConnection::Flush(HttpResponse part) {
  Lock lock(m_mutex);
  if (m_state == State::Closed) return;
  if (!m_writer.IsHeadOut() && m_owner.IsDraining()) m_writer.EndConnection();
  m_writer.AddPart(std::move(part));
  Send();
  while (m_state != State::Closed && !m_writer.Stow()) AwaitRoom(lock);
}

// Until the client has taken something. Only so many pages may wait like this; one more would hold a thread
// that others need, so its client is given up.
void HttpConnection::AwaitRoom(Lock& lock) {
  if (!m_owner.Threads().BeginWait()) {
    if (m_owner.Handlers().problem)
      m_owner.Handlers().problem("Request " + m_entry.id + ": its client reads too slowly and is cut");
    return End();
  }
  const std::uint64_t before = m_writer.Sent();
  m_changed.wait(lock, [&] { return m_state == State::Closed || m_writer.Sent() > before; });
  m_owner.Threads().EndWait();
}

}  // namespace hostlinux
