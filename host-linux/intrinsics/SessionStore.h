// The sessions of all visitors: in memory, and in an archive where there is one.
#pragma once

#include <chrono>
#include <functional>
#include <memory>
#include <mutex>
#include <string>

#include "host-linux/intrinsics/SessionArchive.h"
#include "host-linux/intrinsics/SessionLocks.h"
#include "host-linux/intrinsics/SessionState.h"
#include "host-linux/intrinsics/SessionTable.h"
#include "host-linux/intrinsics/ValueStore.h"

namespace hostlinux {

// Safe from all threads. A session that a request holds stays whole for it, even when it is dropped
// meanwhile. With an archive, sessions outlive the process and are shared with others that have the same one:
// what a request changes is stored when it ends, and seen by every request that begins later. Where the
// archive fails, sessions live in memory as without one; where it is a shared one, all operations but Tidy throw
// ArchiveFailure then.
class SessionStore {
 public:
  using Clock = SessionTable::Clock;

  struct Options {
    std::size_t maxSessions = 100'000;
    std::size_t maxBytes = 1 << 20;  // of the values of one session
    std::chrono::minutes timeout{20};
    std::function<Clock::time_point()> now = [] { return Clock::now(); };
    // Seconds since 1970: what processes can compare.
    std::function<std::int64_t()> timeOfDay = [] {
      return std::chrono::duration_cast<std::chrono::seconds>(
                 std::chrono::system_clock::now().time_since_epoch())
          .count();
    };
    MayKeep mayKeep;                                     // which objects scripts may store
    std::shared_ptr<ISessionArchive> archive = nullptr;  // null: sessions end with the store
  };

  explicit SessionStore(Options options);

  // A value that each new session starts with. Before the first request only.
  void SetInitial(varnel::StringView key, varnel::Variant value) { m_initial.Set(key, std::move(value)); }
  const ValueStore& Initial() const { return m_initial; }

  // The living session of that token, which is now the last one used; null where there is none.
  std::shared_ptr<SessionState> Find(const std::string& token);
  // A new session. Where there are too many one goes: the longest idle of those that only one request has
  // used, before all that were used again.
  std::shared_ptr<SessionState> Begin();
  // A new session with the values and settings of `old`, whose tokens name nothing from here on. What
  // requests that still hold `old` write there isn't seen in the new one.
  std::shared_ptr<SessionState> Renew(const SessionState& old);
  void Remove(const std::string& token);
  std::size_t Count();

  // Stores what has changed of a session, at the end of a request. Where the archive isn't shared a failure is
  // logged, and what couldn't be stored is tried again at the end of the session's next request.
  void Save(SessionState& state);
  // A request has come that didn't look at its session in a shared archive: that lives on. Never throws.
  void Touch(const std::string& token);

  // Keeps other requests from the same, in all processes, until Unlock: waits for `wait` at most, and is false
  // where another one has the lock still. With it, `state` is as the archive has it.
  bool Lock(SessionState& state, std::chrono::milliseconds wait);
  // Never throws.
  void Unlock(const SessionState& state);

  // True where only the archive counts.
  bool IsShared() const { return m_isShared; }

  // What needn't hold up a request: expired sessions go, those of other workers are made known, as are at
  // first all that the archive has. Before, each is found when it is asked for.
  void Tidy();

  const MayKeep& KeepRule() const { return m_options.mayKeep; }
  std::size_t MaxBytes() const { return m_options.maxBytes; }
  std::chrono::minutes Timeout() const { return m_options.timeout; }

 private:
  using StatePtr = std::shared_ptr<SessionState>;

  StatePtr MakeState(const ValueStore& values, bool isUsedAgain, varnel::Long id,
                     SessionTable::Dropped& dropped);
  varnel::Long NewId() const { return m_options.archive ? m_options.archive->NewId() : 0; }
  StatePtr FindHeld(const std::string& token);
  StatePtr Current(const std::string& token, StatePtr held);
  bool Refresh(SessionState& state);
  StatePtr Adopt(const StoredSession& stored);
  void AddKnown(const SessionHead& head);
  void AdoptAll();
  bool IsExpired(const SessionHead& head) const;
  Clock::time_point MomentOf(std::int64_t timeOfDay) const;
  bool IsWorthSaving(const SessionState& state, const SessionChange& change) const;
  void Forget(const SessionTable::Dropped& dropped);
  void RemoveStored(const SessionState& state);
  void LoseFromMemory(const std::string& token);
  bool LockArchive(const std::string& token, Clock::time_point end);

  const Options m_options;
  const bool m_isShared;
  ValueStore m_initial;
  std::mutex m_mutex;
  SessionTable m_table;
  SessionLocks m_locks;  // of the requests of this process
};

}  // namespace hostlinux
