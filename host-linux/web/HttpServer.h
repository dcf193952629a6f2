// The HTTP server: connections on one I/O thread, pages on a pool of script threads. A connection that is
// idle, slow to send or slow to receive holds no script thread.
#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "host-linux/base/UniqueFd.h"
#include "host-linux/web/HttpMessage.h"

namespace hostlinux {

struct ServerOptions {
  using Duration = std::chrono::milliseconds;

  unsigned threads = 4;        // script threads
  std::size_t maxQueue = 256;  // requests that wait for a script thread; one more is answered with 503
  // With one more, the longest idle one is closed; while none is idle, further ones wait in the backlog.
  std::size_t maxConnections = 4096;
  std::uint32_t maxHead = 32 * 1024;            // bytes of a request's line and headers; 431 beyond
  std::size_t maxTarget = 8 * 1024;             // bytes of a request's address; 414 beyond
  std::uint64_t maxBody = 16 * 1024 * 1024;     // bytes of a request's body; 413 beyond
  std::uint64_t maxBodies = 256 * 1024 * 1024;  // bytes of all bodies held at a time; 503 beyond
  Duration idleTimeout{60'000};   // until the first byte of a request; then the connection is closed
  Duration headTimeout{15'000};   // from its first byte to the end of its headers; 408 then
  Duration bodyTimeout{120'000};  // for its whole body; 408 then
  Duration writeTimeout{30'000};  // for each 64 KB of the response; the connection is closed then
  Duration lingerTimeout{2'000};  // how long a closing connection waits for the client's end
  Duration drainGrace{300};       // how long a busy client of a server that ends may send another request
  unsigned retryAfter = 2;        // seconds, in the Retry-After of a 503 or 429
  // Of all responses; a response's own header of that name takes its place.
  std::vector<HeaderList::Field> headers;
  // Asked once for each request, as soon as its head is read, from any of the server's threads: it must be
  // safe from all of them, and short. False: the request is answered with 429 and a Retry-After, no handler
  // sees it, and the connection goes on. Empty: all are admitted.
  std::function<bool(const HttpRequest&)> admits{};
  // Addresses ("unix" for a local socket) whose X-Forwarded-Proto and X-Forwarded-For tell of the client.
  std::vector<std::string> trustedProxies;
};

// What a running page may do with its client before it ends. Used on the page's own thread.
class ClientLink {
 public:
  virtual ~ClientLink() = default;

  // False once the client has gone; what is sent then is dropped.
  virtual bool IsConnected() const = 0;

  // Sends status, headers and body so far; waits only where the client hasn't taken 256 KB of what was sent
  // before, until it has or is dropped after the write timeout. What the handler returns later is the rest of
  // the body; its headers are then ignored, and with a status of 500 or more the response is broken off
  // instead. A second call sends its body only.
  virtual void Flush(HttpResponse soFar) = 0;

  // True after the first Flush.
  virtual bool IsFlushed() const = 0;
};

// One line for an access log.
struct AccessEntry {
  std::string id, method, target, remoteAddress;
  int status = 0;
  std::uint64_t bodyBytes = 0;
  std::chrono::microseconds duration{0};
};

struct ServerHandlers {
  // Answers at once on the I/O thread, for static files; nothing hands the request to `page`. May be left
  // empty.
  std::function<std::optional<HttpResponse>(const HttpRequest&)> quick;

  // Runs a page on a script thread. An exception is answered with 500, its text goes to `problem` only.
  // The request, with its body, is the page's own.
  std::function<HttpResponse(HttpRequest, ClientLink&)> page;

  // Called on the I/O thread after each response; may be left empty.
  std::function<void(const AccessEntry&)> finished;

  // Takes sentences about what went wrong inside, from any thread; may be left empty.
  std::function<void(const std::string&)> problem;
};

class HttpServer {
 public:
  // Serves the listening socket `listener` (TCP or local, own or inherited) from now on.
  HttpServer(ServerOptions options, ServerHandlers handlers, UniqueFd listener);

  // Ends at once: open connections are cut, the running pages are waited for.
  ~HttpServer();

  HttpServer(const HttpServer&) = delete;
  HttpServer& operator=(const HttpServer&) = delete;

  std::uint16_t Port() const;

  // What happens to the connections that wait in the backlog when the server ends.
  enum class Backlog { LeaveToOthers, Take };

  // Takes no more connections, ends the idle ones, lets the running requests finish, each with "Connection:
  // close"; a client that was told before that its connection stays is answered once more. True when all have
  // ended within `limit`; false when it passed and the rest was cut. To be called once, not from a handler.
  bool Drain(std::chrono::milliseconds limit, Backlog backlog = Backlog::LeaveToOthers);

 private:
  class Impl;
  std::unique_ptr<Impl> m_impl;
};

}  // namespace hostlinux
