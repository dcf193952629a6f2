// Where sessions are kept beside a worker's memory, so that they outlive it.
#pragma once

#include <cstdint>
#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

#include "host-linux/intrinsics/ValueStore.h"

namespace hostlinux {

// What a session is beside its values. Times are seconds since 1970.
struct SessionHead {
  std::string token;  // 32 hexadecimal digits
  std::string formToken;
  varnel::Long id = 0;
  varnel::Long lcid = 0;      // 0: the site's
  varnel::Long minutes = 0;   // 0: the site's
  bool isUsedAgain = false;   // by a second request
  std::int64_t lastUsed = 0;  // within the accuracy that the store has chosen
  std::uint64_t version = 0;  // counts what was saved, from 1
};

struct StoredSession {
  SessionHead head;
  std::vector<KeyedValue> values;
};

// What a request has changed. Objects among the values aren't stored, and what stood under their keys goes.
struct SessionChange {
  SessionHead head;       // its version is that of the last load or save; 0: the session is new
  bool setsLcid = false;  // only what was set replaces what another worker may have set
  bool setsMinutes = false;
  ValueStore::Changes values;
};

// It can't be read or written now. The reason is in the log.
class ArchiveFailure : public std::runtime_error {
  using std::runtime_error::runtime_error;
};

// Safe from all threads, and from several processes at once. Each operation is whole or has no effect; all
// throw ArchiveFailure where nothing else is said.
class ISessionArchive {
 public:
  virtual ~ISessionArchive() = default;

  // True where other servers have the same sessions at any time. Then only what it holds counts: who can't ask
  // it has no session, and it lets sessions go by itself when their time is over.
  virtual bool IsShared() const = 0;

  // A number above 0 for a new session that no other living one has; 0 where the asker knows them all.
  virtual varnel::Long NewId() = 0;

  // Nothing where there is no such session.
  virtual std::optional<SessionHead> Head(const std::string& token) = 0;
  virtual std::optional<StoredSession> Load(const std::string& token) = 0;

  // All of them, in no order. May take a while.
  virtual std::vector<SessionHead> Heads() = 0;

  // The version that the session has from now on; 0 where it isn't new and has gone meanwhile: nothing is
  // stored then.
  virtual std::uint64_t Save(const SessionChange& change) = 0;

  virtual void Remove(const std::string& token) = 0;

  // Removes it by and by, unless it was used after `lastUsed` by then. Never throws.
  virtual void RemoveLater(const std::string& token, std::int64_t lastUsed) = 0;

  // Takes the lock of a session among processes; within this one nobody else has it or asks for it. False where
  // another process has it. It is given back by Unlock, and a while after the end of its process.
  virtual bool TryLock(const std::string& token) = 0;
  // Never throws.
  virtual void Unlock(const std::string& token) = 0;

  // True where another process has changed something since this was last asked, and at the first time.
  virtual bool IsChangedByOthers() = 0;
};

}  // namespace hostlinux
