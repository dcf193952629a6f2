// The sessions of all visitors, in memory.
#pragma once

#include <atomic>
#include <chrono>
#include <functional>
#include <list>
#include <map>
#include <memory>
#include <mutex>
#include <string>

#include "host-linux/intrinsics/ValueStore.h"

namespace hostlinux {

struct SessionState {
  SessionState(std::string secretToken, std::string secretFormToken, varnel::Long publicId,
               const ValueStore& initial)
      : token(std::move(secretToken)), formToken(std::move(secretFormToken)), id(publicId), values(initial) {}

  const std::string token;  // the cookie's value: 32 hexadecimal digits that nobody can guess
  // Another such text, for the forms of this session's pages. It is no key to the session.
  const std::string formToken;
  const varnel::Long id;  // what pages see as SessionID; no other living session has it
  ValueStore values;
  std::atomic<varnel::Long> lcid = 0;     // 0: the site's
  std::atomic<varnel::Long> minutes = 0;  // Timeout; 0: the site's
};

// Safe from all threads. A session that a request holds stays whole for it, even when it is dropped
// meanwhile.
class SessionStore {
 public:
  using Clock = std::chrono::steady_clock;

  struct Options {
    std::size_t maxSessions = 100'000;
    std::size_t maxBytes = 1 << 20;  // of the values of one session
    std::chrono::minutes timeout{20};
    std::function<Clock::time_point()> now = [] { return Clock::now(); };
    MayKeep mayKeep;  // which objects scripts may store
  };

  explicit SessionStore(Options options);

  // A value that each new session starts with. Before the first request only.
  void SetInitial(varnel::StringView key, varnel::Variant value) { m_initial.Set(key, std::move(value)); }
  const ValueStore& Initial() const { return m_initial; }

  // The living session of that token, which is now the last one used; null where there is none.
  std::shared_ptr<SessionState> Find(const std::string& token);
  // A new session. Where there are too many the one longest idle is dropped.
  std::shared_ptr<SessionState> Begin();
  // A new session with the values and settings of `old`, whose tokens name nothing from here on. What
  // requests that still hold `old` write there isn't seen in the new one.
  std::shared_ptr<SessionState> Renew(const SessionState& old);
  void Remove(const std::string& token);
  std::size_t Count();

  const MayKeep& KeepRule() const { return m_options.mayKeep; }
  std::size_t MaxBytes() const { return m_options.maxBytes; }
  std::chrono::minutes Timeout() const { return m_options.timeout; }

 private:
  struct Entry {
    std::shared_ptr<SessionState> state;
    Clock::time_point lastUsed;
  };
  using Entries = std::list<Entry>;

  std::shared_ptr<SessionState> Add(const ValueStore& values, Entries& dropped);
  void Drop(const std::string& token, Entries& dropped);
  bool IsExpired(const Entry& entry, Clock::time_point now) const;
  void DropExpired(Clock::time_point now, Entries& dropped);

  const Options m_options;
  ValueStore m_initial;
  std::mutex m_mutex;
  Entries m_entries;  // the longest idle first
  std::map<std::string, Entries::iterator> m_byToken;
  Clock::time_point m_nextSweep;
  std::uint32_t m_lastId;
};

}  // namespace hostlinux
