// The open connections of a server, found by their id. Safe from all threads. Private to the server.
#pragma once

#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <memory>
#include <mutex>
#include <optional>
#include <unordered_map>
#include <vector>

#include "host-linux/web/HttpConnection.h"

namespace hostlinux {

class ConnectionTable {
 public:
  using Clock = HttpConnection::Clock;
  using Connections = std::vector<std::shared_ptr<HttpConnection>>;

  void Add(std::shared_ptr<HttpConnection> connection);
  void Remove(std::uint64_t id);

  // Null where it has ended.
  std::shared_ptr<HttpConnection> Find(std::uint64_t id) const;

  std::size_t Size() const;
  Connections All() const;

  // Those whose deadline has come, and the next deadline of the others, the farthest time without one.
  struct Deadlines {
    Connections due;
    Clock::time_point next = Clock::time_point::max();
  };
  Deadlines DeadlinesAt(Clock::time_point now) const;

  // Closes the connection that has waited longest for a request. One that has just come, and may be about to
  // send its first, is spared while it is the only one. False where there is none.
  bool CloseLongestIdle();

  // Waits until no connection is open and `ended` holds, which is asked under a lock that WakeWaiting takes
  // too, or until `limit` has passed; without one for as long as it takes. False: the limit has passed.
  template <class Ended>
  bool AwaitNone(std::optional<std::chrono::milliseconds> limit, Ended ended) const {
    std::unique_lock lock(m_mutex);
    const auto isDone = [&] { return m_connections.empty() && ended(); };
    if (limit) return m_changed.wait_for(lock, *limit, isDone);
    m_changed.wait(lock, isDone);
    return true;
  }
  void WakeWaiting() const;

 private:
  struct Candidate {
    std::uint64_t id = 0;
    HttpConnection::Idleness idle;
  };

  void FindCandidates();

  mutable std::mutex m_mutex;
  mutable std::condition_variable m_changed;
  std::unordered_map<std::uint64_t, std::shared_ptr<HttpConnection>> m_connections;
  // Those that had waited longest when it was last looked for them, the longest at the end. Who begins to wait
  // later comes behind them all, so they may be taken one after the other. Of the server's own thread.
  std::vector<Candidate> m_candidates;
};

}  // namespace hostlinux
