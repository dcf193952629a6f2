#include "host-linux/database/sqlite/SqliteMemory.h"

#include <sqlite3.h>

#include <cstdlib>

#include "host-linux/database/sqlite/SqliteUse.h"

namespace hostlinux {
namespace {

// Stands in front of each block.
struct alignas(16) Header {
  SqliteUse* use;
  std::int64_t size;
};

Header* HeaderOf(void* block) { return static_cast<Header*>(block) - 1; }

// What the engine has on the calling thread goes up or down by `bytes`.
void Book(SqliteUse& use, std::int64_t bytes) {
  if (&use == &SqliteUse::OfThread()) {
    use.ownMemory += bytes;
  } else {
    use.othersMemory.fetch_add(bytes, std::memory_order_relaxed);
  }
}

void* Allocate(int size) {
  SqliteUse& use = SqliteUse::OfThread();
  if (use.Memory() + size > use.mostMemory) return nullptr;
  auto* header = static_cast<Header*>(std::malloc(sizeof(Header) + static_cast<std::size_t>(size)));
  if (header == nullptr) return nullptr;
  header->use = &use;
  header->size = size;
  use.ownMemory += size;
  return header + 1;
}

void Free(void* block) {
  if (block == nullptr) return;
  Header* header = HeaderOf(block);
  Book(*header->use, -header->size);
  std::free(header);
}

// A block stays with the thread that asked for it; the one that makes it grow is asked whether it may.
void* Reallocate(void* block, int size) {
  Header* header = HeaderOf(block);
  const std::int64_t more = size - header->size;
  const SqliteUse& own = SqliteUse::OfThread();
  if (more > 0 && own.Memory() + more > own.mostMemory) return nullptr;
  auto* moved = static_cast<Header*>(std::realloc(header, sizeof(Header) + static_cast<std::size_t>(size)));
  if (moved == nullptr) return nullptr;
  moved->size = size;
  Book(*moved->use, more);
  return moved + 1;
}

int SizeOf(void* block) { return block == nullptr ? 0 : static_cast<int>(HeaderOf(block)->size); }
int RoundUp(int size) { return (size + 7) & ~7; }
int Begin(void*) { return SQLITE_OK; }
void End(void*) {}

}  // namespace

bool LimitSqliteMemory() {
  // The engine's own count costs a lock of the whole process at each allocation.
  const bool isFirst = sqlite3_config(SQLITE_CONFIG_MEMSTATUS, 0) == SQLITE_OK;
  const sqlite3_mem_methods methods{&Allocate, &Free, &Reallocate, &SizeOf, &RoundUp, &Begin, &End, nullptr};
  return isFirst && sqlite3_config(SQLITE_CONFIG_MALLOC, &methods) == SQLITE_OK;
}

}  // namespace hostlinux
