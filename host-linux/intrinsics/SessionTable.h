// The sessions that a worker has in memory, by their tokens and in the order in which they go.
#pragma once

#include <chrono>
#include <list>
#include <map>
#include <memory>
#include <string>
#include <unordered_set>
#include <vector>

#include "host-linux/intrinsics/SessionState.h"

namespace hostlinux {

// Not safe from several threads: whoever has it locks. What an operation drops is given back, so that its
// end, which may run code of its own, comes after the lock.
class SessionTable {
 public:
  using Clock = std::chrono::steady_clock;
  using StatePtr = std::shared_ptr<SessionState>;

  struct Dropped {
    std::vector<StatePtr> expired;
    std::vector<StatePtr> crowdedOut;
  };

  SessionTable(std::size_t maxSessions, std::chrono::minutes timeout);

  // The living session of that token, which is now the last one used, and used again. Null where there is
  // none.
  StatePtr Find(const std::string& token, Clock::time_point now, Dropped& dropped);
  // Adds one that was last used at `lastUsed`. Where there are too many, one goes: the longest idle of those
  // that only one request has used, before all that were used again. False where the token has one already.
  bool Add(const StatePtr& state, Clock::time_point lastUsed, Dropped& dropped);
  StatePtr Drop(const std::string& token);
  // Looks for expired ones, where it hasn't lately.
  void DropExpired(Clock::time_point now, Dropped& dropped);

  bool Holds(const std::string& token) const { return m_byToken.contains(token); }
  std::size_t Size() const { return m_byToken.size(); }
  // A number above 0 that none of them has.
  varnel::Long UnusedId();

 private:
  struct Entry {
    StatePtr state;
    Clock::time_point lastUsed;
    bool isUsedAgain;  // and so in which list it is
  };
  using Entries = std::list<Entry>;  // the longest idle first

  Entries& ListOf(const Entry& entry) { return entry.isUsedAgain ? m_usedAgain : m_usedOnce; }
  bool IsExpired(const Entry& entry, Clock::time_point now) const;
  StatePtr Take(Entries& list, Entries::iterator entry);
  void DropExpired(Entries& list, Clock::time_point now, Dropped& dropped);
  void MakeRoom(Dropped& dropped);

  const std::size_t m_maxSessions;
  const std::chrono::minutes m_timeout;
  Entries m_usedOnce;
  Entries m_usedAgain;
  std::map<std::string, Entries::iterator> m_byToken;
  std::unordered_set<varnel::Long> m_ids;
  Clock::time_point m_nextSweep;
  std::uint32_t m_lastId;
};

}  // namespace hostlinux
