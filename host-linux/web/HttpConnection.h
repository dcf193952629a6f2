// One client's connection: reads a request, has it answered, writes the response, and again. Private to the
// server. Whichever thread finds it ready takes it the next steps, one thread at a time.
#pragma once

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <memory>
#include <mutex>
#include <optional>
#include <string>

#include "host-linux/base/UniqueFd.h"
#include "host-linux/web/HttpServer.h"
#include "host-linux/web/RequestReader.h"
#include "host-linux/web/ResponseWriter.h"
#include "host-linux/web/ScriptThreads.h"

namespace hostlinux {

// What a connection asks of its server, from any thread.
class ConnectionOwner {
 public:
  virtual ~ConnectionOwner() = default;
  virtual const ServerOptions& Options() const = 0;
  virtual const ServerHandlers& Handlers() const = 0;
  virtual ScriptThreads& Threads() = 0;
  virtual bool IsDraining() const = 0;
  virtual std::string NextRequestId() = 0;
  // The bytes of all requests' bodies that are held now.
  virtual std::atomic<std::uint64_t>& BodyBytes() = 0;
  // What all responses' unread bytes may take.
  virtual SpillBounds& Spill() = 0;
  // The connection has ended.
  virtual void Remove(std::uint64_t id) = 0;
};

class HttpConnection : public std::enable_shared_from_this<HttpConnection> {
 public:
  using Clock = std::chrono::steady_clock;

  // `socket`: connected, and never waited for. `id`: 1 and up, of no other connection.
  HttpConnection(ConnectionOwner& owner, std::uint64_t id, UniqueFd socket);

  std::uint64_t Id() const { return m_id; }

  // Waits for the first request.
  void Start();

  // Takes the steps that its socket is ready for; a page is run on a script thread only, and queued by
  // another one.
  enum class Thread { Script, Other };
  void OnReady(Thread thread);

  // When it must have done something; OnDeadline is called then.
  Clock::time_point Deadline() const { return Clock::time_point(Clock::duration(m_deadline)); }
  void OnDeadline();

  // Since when it has been waiting for a request; nothing while it has one. `isFresh`: it never had any.
  struct Idleness {
    Clock::time_point since;
    bool isFresh = false;
  };
  std::optional<Idleness> Idle() const;

  // Ends the connection if it still waits as it did. False: it doesn't.
  bool CloseIdle(Clock::time_point since);

  // Ends the connection if no request is under way or about to come; otherwise it ends with its response.
  void BeginDrain();

  // Cuts the connection, whatever it does.
  void Close();

 private:
  // How far the connection is with its request.
  enum class State {
    Idle,       // waits for the first byte
    Reading,    // has some of it
    Read,       // has all of it, and no answer yet
    Running,    // its page runs, or waits for a thread; parts of the response may be on their way
    Sending,    // its response is complete, and on its way
    Lingering,  // the last response is out; what still comes is thrown away
    Closed
  };

  class PageLink;
  using Lock = std::unique_lock<std::mutex>;

  // All of these are called under the lock.
  void Proceed(Lock& lock, Thread thread);
  void Advance(Lock& lock, Thread thread);
  bool Read();
  bool SayContinue();
  void Refuse(int status);
  void TellEntry();
  bool Answer(Lock& lock, Thread thread);
  std::optional<HttpResponse> AnswerWithoutPage();
  bool QueuePage();
  void RunPage(Lock& lock);
  void Respond(HttpResponse response);
  void TakeResponse(HttpResponse response);
  bool Send();
  void AfterResponse();
  void NextRequest();
  void Linger(std::chrono::milliseconds limit);
  void Discard();
  bool HasUnreadBytes() const;
  std::chrono::milliseconds IdleLimit() const;
  HttpResponse ComeLater(int status) const;
  void Watch(std::uint32_t events);
  void Arm(std::chrono::milliseconds limit);
  void Disarm() { m_deadline = Clock::duration::max().count(); }
  void End();

  // On a script thread.
  void RunQueuedPage();

  // On the page's thread, for its link.
  bool IsConnected();
  void Flush(HttpResponse part);
  void AwaitRoom(Lock& lock);

  ConnectionOwner& m_owner;
  const std::uint64_t m_id;
  std::atomic<Clock::rep> m_deadline = Clock::duration::max().count();
  std::atomic<Clock::rep> m_idleSince = 0;  // 0: not idle
  std::atomic<bool> m_servedOne = false;

  std::mutex m_mutex;
  std::condition_variable m_changed;  // the client has taken something, or has gone
  State m_state = State::Idle;
  UniqueFd m_socket;
  RequestReader m_reader;
  ResponseWriter m_writer;
  AccessEntry m_entry;
  Clock::time_point m_begun;
  bool m_blocked = false;          // the client has to take something before more is sent
  std::uint64_t m_stretchEnd = 0;  // what it must have taken at its deadline
};

}  // namespace hostlinux
