#include "host-linux/database/sqlite/SqliteUse.h"

#include <memory>
#include <mutex>
#include <vector>

#include "host-linux/database/sqlite/SqliteFiles.h"
#include "host-linux/database/sqlite/SqliteMemory.h"

namespace hostlinux {
namespace {

// Those of ended threads are given to new ones.
struct Pool {
  std::mutex mutex;
  std::vector<std::unique_ptr<SqliteUse>> all;
  std::vector<SqliteUse*> free;
};

Pool& ThePool() {
  static Pool& pool = *new Pool;  // outlives every thread
  return pool;
}

SqliteUse& Take() {
  Pool& pool = ThePool();
  const std::lock_guard lock(pool.mutex);
  if (pool.free.empty()) return *pool.all.emplace_back(std::make_unique<SqliteUse>());
  SqliteUse& use = *pool.free.back();
  pool.free.pop_back();
  return use;
}

thread_local SqliteUse* currentUse = nullptr;
thread_local bool threadEnds = false;

struct Returner {
  Returner() = default;
  Returner(const Returner&) = delete;
  Returner& operator=(const Returner&) = delete;
  ~Returner() {
    Pool& pool = ThePool();
    const std::lock_guard lock(pool.mutex);
    pool.free.push_back(currentUse);
    currentUse = nullptr;
    threadEnds = true;
  }
};

// Of a thread that has given its own back already.
SqliteUse& NobodysUse() {
  thread_local SqliteUse* const use = &Take();
  return *use;
}

SqliteUse& Adopt() {
  if (threadEnds) return NobodysUse();
  currentUse = &Take();
  thread_local const Returner returner;
  return *currentUse;
}

}  // namespace

SqliteUse& SqliteUse::OfThread() { return currentUse != nullptr ? *currentUse : Adopt(); }

SqliteAllowance::SqliteAllowance(const EngineLimits& limits)
    : m_use(SqliteUse::OfThread()),
      m_memoryBefore(m_use.mostMemory),
      m_temporaryBefore(m_use.mostTemporaryBytes) {
  m_use.mostMemory = static_cast<std::int64_t>(limits.maxMemory);
  m_use.mostTemporaryBytes = static_cast<std::int64_t>(limits.maxTemporary);
}

SqliteAllowance::~SqliteAllowance() {
  m_use.mostMemory = m_memoryBefore;
  m_use.mostTemporaryBytes = m_temporaryBefore;
}

void PrepareSqlite() {
  [[maybe_unused]] static const bool prepared = [] {
    LimitSqliteMemory();
    RegisterSqliteFiles(SqliteFileSystem());
    return true;
  }();
}

const char* SqliteFileSystem() { return "varnel"; }

}  // namespace hostlinux
