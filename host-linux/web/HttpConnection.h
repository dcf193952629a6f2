// One client's connection: reads a request, has it answered, writes the response, and again. Private to the
// server; everything here runs on the I/O thread unless it says otherwise.
#pragma once

#include <atomic>
#include <boost/asio/basic_stream_socket.hpp>
#include <boost/asio/generic/stream_protocol.hpp>
#include <boost/asio/io_context.hpp>
#include <boost/asio/steady_timer.hpp>
#include <boost/beast/core/flat_buffer.hpp>
#include <boost/beast/http/parser.hpp>
#include <boost/beast/http/string_body.hpp>
#include <deque>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <utility>

#include "host-linux/web/HttpServer.h"
#include "host-linux/web/ScriptThreads.h"

namespace hostlinux {

class HttpConnection;

using ServerSocket = boost::asio::basic_stream_socket<boost::asio::generic::stream_protocol,
                                                      boost::asio::io_context::executor_type>;

// What a connection asks of its server.
class ConnectionOwner {
 public:
  virtual ~ConnectionOwner() = default;
  virtual const ServerOptions& Options() const = 0;
  virtual const ServerHandlers& Handlers() const = 0;
  virtual boost::asio::io_context& Context() = 0;
  virtual ScriptThreads& Threads() = 0;
  virtual bool IsDraining() const = 0;
  virtual std::string NextRequestId() = 0;
  // The bytes of all requests' bodies that are held now.
  virtual std::atomic<std::uint64_t>& BodyBytes() = 0;
  virtual void Remove(const std::shared_ptr<HttpConnection>& connection) = 0;
};

// One request's part of the bytes that all bodies may take; gives them back at its end.
class BodyCharge {
 public:
  explicit BodyCharge(std::atomic<std::uint64_t>& total) : m_total(total) {}
  ~BodyCharge() { Reset(); }
  BodyCharge(const BodyCharge&) = delete;
  BodyCharge& operator=(const BodyCharge&) = delete;

  // Now holds `bytes`, at least as many as before; gives what all bodies hold.
  std::uint64_t GrowTo(std::uint64_t bytes) {
    const std::uint64_t more = bytes - m_bytes;
    m_bytes = bytes;
    return more == 0 ? m_total.load() : m_total.fetch_add(more) + more;
  }

  void Reset() {
    if (m_bytes > 0) m_total.fetch_sub(std::exchange(m_bytes, 0));
  }

 private:
  std::atomic<std::uint64_t>& m_total;
  std::uint64_t m_bytes = 0;
};

// Holds a page back whose client reads more slowly than it writes.
class OutputFlow {
 public:
  // What a page has handed over and the I/O thread hasn't taken, and what that has and the socket hasn't.
  void Posted(std::int64_t bytes) { Change(m_posted, bytes); }
  void Queued(std::int64_t bytes) { Change(m_queued, bytes); }

  // Waits on the page's thread until less than `most` is on its way, or for the end.
  void AwaitRoom(std::int64_t most) {
    std::unique_lock lock(m_mutex);
    m_changed.wait(lock, [&] { return m_ended || m_posted + m_queued < most; });
  }

  // The client has gone: nobody waits any more.
  void End() {
    {
      const std::lock_guard lock(m_mutex);
      m_ended = true;
    }
    m_changed.notify_all();
  }

 private:
  void Change(std::int64_t& count, std::int64_t bytes) {
    {
      const std::lock_guard lock(m_mutex);
      count += bytes;
    }
    if (bytes < 0) m_changed.notify_all();
  }

  std::mutex m_mutex;
  std::condition_variable m_changed;
  std::int64_t m_posted = 0;
  std::int64_t m_queued = 0;
  bool m_ended = false;
};

class HttpConnection : public std::enable_shared_from_this<HttpConnection> {
 public:
  HttpConnection(ConnectionOwner& owner, ServerSocket socket);

  void Start();

  // Ends the connection if no request is under way or about to come; otherwise it ends with its response.
  void BeginDrain();

  // Since when it has been waiting for a request; nothing while it has one.
  std::optional<std::chrono::steady_clock::time_point> IdleSince() const;

  // Cuts the connection, whatever it does.
  void Close();

  // Whether the client is still there. From any thread.
  bool IsConnected() const;

  // Before a part of so many bytes is handed over: waits while the client has too much before it. It can't
  // wait for longer than a client may take for one write. On the page's thread.
  void AwaitRoom(std::size_t bytes);

  // Takes a flushed part of the response over. On the I/O thread.
  void TakePart(HttpResponse part);

  // Takes the page's response over. On the I/O thread.
  void TakeResponse(HttpResponse response);

  ConnectionOwner& Owner() { return m_owner; }

 private:
  using Parser = boost::beast::http::request_parser<boost::beast::http::string_body>;
  using Error = boost::system::error_code;
  enum class Step { Idle, Reading, Running, Writing, Closing };

  void ReadRequest();
  void ReadHead();
  void ReadMore();
  void OnBytes(Error error, std::size_t bytes);
  void Parse();
  bool ParseHead();
  bool ParseBody();
  bool ChargeBody();
  int HeadProblem() const;
  void OnReadFailure(Error error);
  void OnClientEnd();
  void Refuse(int status, std::string_view detail = {});

  void Dispatch();
  void StartPage();

  // Makes m_request from the parser's head; m_problem is a sentence for the client where it can't.
  void FillRequest();
  std::string FillTarget();
  void HearProxy();

  void Respond(HttpResponse response);
  void SetFramingHeaders(HttpResponse& response, bool isPart);
  void Queue(std::string bytes);
  void QueueChunk(std::string bytes);
  void WriteMore();
  void WriteSlice();
  bool FillFromFile();
  void OnWritten(Error error, std::size_t bytes);
  void AfterResponse();
  void Linger(std::chrono::milliseconds limit);
  void Discard();
  void EndIdle();
  std::chrono::milliseconds IdleLimit() const;
  void RefuseForNow();
  HttpResponse ComeLater(int status) const;
  void ContinueThenReadBody();

  void Arm(std::chrono::milliseconds limit);
  void Disarm();

  std::atomic<bool> m_closed = false;
  ConnectionOwner& m_owner;
  ServerSocket m_socket;
  mutable std::mutex m_socketMutex;  // between IsConnected on a page's thread and Close
  boost::asio::steady_timer m_timer;
  unsigned m_timerRound = 0;
  bool m_timedOut = false;

  std::string m_remoteAddress;
  bool m_isProxy = false;  // one that is trusted
  std::uint16_t m_localPort = 0;

  boost::beast::flat_buffer m_buffer;  // never larger than a head and what is read with it
  std::optional<Parser> m_parser;
  Step m_step = Step::Idle;
  std::shared_ptr<HttpRequest> m_request;
  std::string m_problem;
  bool m_isAdmitted = true;
  BodyCharge m_charge;
  std::chrono::steady_clock::time_point m_begun;
  std::chrono::steady_clock::time_point m_idleSince;

  std::deque<std::string> m_output;
  OutputFlow m_flow;
  std::size_t m_outputOffset = 0;
  std::optional<FileBody> m_file;
  bool m_keepAlive = false;
  bool m_servedOne = false;
  bool m_headOnly = false;
  bool m_headSent = false;
  bool m_chunked = false;
  bool m_writing = false;
  bool m_complete = false;
  int m_status = 0;
  std::uint64_t m_bodyBytes = 0;
  std::string m_scratch;
};

}  // namespace hostlinux
