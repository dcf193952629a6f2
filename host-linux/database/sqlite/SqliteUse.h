// What the engine may use on a thread, and what it uses: memory, temporary files, time asleep.
#pragma once

#include <atomic>
#include <chrono>
#include <cstdint>
#include <limits>

#include "host-linux/database/provider/Provider.h"

namespace hostlinux {

// One request runs on one thread, so a thread's use is a request's, with the connections that wait there for
// the next one. The limits hold while a statement runs: cleaning up never fails. Only its thread writes to
// it, but for the atomic numbers. It is never destroyed, as memory that outlives its thread is still booked
// there.
struct SqliteUse {
  using Clock = std::chrono::steady_clock;
  static constexpr std::int64_t kUnlimited = std::numeric_limits<std::int64_t>::max() / 4;

  // That of the calling thread.
  static SqliteUse& OfThread();

  std::int64_t Memory() const { return ownMemory + othersMemory.load(std::memory_order_relaxed); }

  std::int64_t ownMemory = 0;                   // bytes, booked by the thread itself
  std::atomic<std::int64_t> othersMemory{0};    // what other threads have changed in it
  std::atomic<std::int64_t> temporaryBytes{0};  // in its temporary files
  std::int64_t mostMemory = kUnlimited;
  std::int64_t mostTemporaryBytes = kUnlimited;
  Clock::time_point sleepEnd = Clock::time_point::max();  // the engine isn't asleep after that
};

// The limits of the calling thread while it lives.
class SqliteAllowance {
 public:
  explicit SqliteAllowance(const EngineLimits& limits);
  ~SqliteAllowance();
  SqliteAllowance(const SqliteAllowance&) = delete;
  SqliteAllowance& operator=(const SqliteAllowance&) = delete;

 private:
  SqliteUse& m_use;
  std::int64_t m_memoryBefore;
  std::int64_t m_temporaryBefore;
};

// Makes the engine allocate through SqliteUse, and makes the file system of SqliteFileSystem(). Once in a
// process, before the first use of the engine; where somebody else was first, memory stays unlimited.
void PrepareSqlite();

// The name of the file system that counts temporary files and wakes up in time.
const char* SqliteFileSystem();

}  // namespace hostlinux
