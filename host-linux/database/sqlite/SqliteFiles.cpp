#include "host-linux/database/sqlite/SqliteFiles.h"

#include <sqlite3.h>

#include <algorithm>
#include <new>

#include "host-linux/database/sqlite/SqliteErrors.h"
#include "host-linux/database/sqlite/SqliteUse.h"

namespace hostlinux {
namespace {

// The system's file stands right behind it.
struct TemporaryFile {
  sqlite3_file base;  // first: what the engine knows of it
  SqliteUse* use;
  sqlite3_int64 size;
};

sqlite3_vfs* systemFiles = nullptr;  // set once, before there is a file

TemporaryFile& Own(sqlite3_file* file) { return *reinterpret_cast<TemporaryFile*>(file); }
sqlite3_file* System(sqlite3_file* file) { return reinterpret_cast<sqlite3_file*>(&Own(file) + 1); }

void Resize(TemporaryFile& file, sqlite3_int64 size) {
  file.use->temporaryBytes.fetch_add(size - file.size, std::memory_order_relaxed);
  file.size = size;
}

int Close(sqlite3_file* file) {
  Resize(Own(file), 0);
  return System(file)->pMethods->xClose(System(file));
}

int Read(sqlite3_file* file, void* bytes, int count, sqlite3_int64 from) {
  return System(file)->pMethods->xRead(System(file), bytes, count, from);
}

int Write(sqlite3_file* file, const void* bytes, int count, sqlite3_int64 from) {
  TemporaryFile& own = Own(file);
  const sqlite3_int64 size = std::max(own.size, from + count);
  if (own.use->temporaryBytes.load(std::memory_order_relaxed) + size - own.size >
      own.use->mostTemporaryBytes) {
    return SQLITE_FULL;
  }
  const int result = System(file)->pMethods->xWrite(System(file), bytes, count, from);
  if (result == SQLITE_OK) Resize(own, size);
  return result;
}

int Truncate(sqlite3_file* file, sqlite3_int64 size) {
  const int result = System(file)->pMethods->xTruncate(System(file), size);
  if (result == SQLITE_OK) Resize(Own(file), std::min(size, Own(file).size));
  return result;
}

int Sync(sqlite3_file* file, int flags) { return System(file)->pMethods->xSync(System(file), flags); }

int FileSize(sqlite3_file* file, sqlite3_int64* size) {
  return System(file)->pMethods->xFileSize(System(file), size);
}

int Lock(sqlite3_file* file, int level) { return System(file)->pMethods->xLock(System(file), level); }
int Unlock(sqlite3_file* file, int level) { return System(file)->pMethods->xUnlock(System(file), level); }

int CheckReservedLock(sqlite3_file* file, int* result) {
  return System(file)->pMethods->xCheckReservedLock(System(file), result);
}

int FileControl(sqlite3_file* file, int operation, void* argument) {
  return System(file)->pMethods->xFileControl(System(file), operation, argument);
}

int SectorSize(sqlite3_file* file) { return System(file)->pMethods->xSectorSize(System(file)); }

int DeviceCharacteristics(sqlite3_file* file) {
  return System(file)->pMethods->xDeviceCharacteristics(System(file));
}

// Version 1: a temporary file is neither mapped nor shared.
constexpr sqlite3_io_methods kMethods{1,
                                      &Close,
                                      &Read,
                                      &Write,
                                      &Truncate,
                                      &Sync,
                                      &FileSize,
                                      &Lock,
                                      &Unlock,
                                      &CheckReservedLock,
                                      &FileControl,
                                      &SectorSize,
                                      &DeviceCharacteristics,
                                      nullptr,
                                      nullptr,
                                      nullptr,
                                      nullptr,
                                      nullptr,
                                      nullptr};

int Open(sqlite3_vfs*, sqlite3_filename name, sqlite3_file* file, int flags, int* outFlags) {
  if ((flags & SQLITE_OPEN_DELETEONCLOSE) == 0)
    return systemFiles->xOpen(systemFiles, name, file, flags, outFlags);
  auto* own = new (file) TemporaryFile{{nullptr}, &SqliteUse::OfThread(), 0};
  const int result = systemFiles->xOpen(systemFiles, name, System(file), flags, outFlags);
  if (result == SQLITE_OK) own->base.pMethods = &kMethods;
  return result;
}

// Who waits for the index of a write-ahead log sleeps a hundred times, with nobody asked: past the end he
// tries on without sleeping, and gives up.
int Sleep(sqlite3_vfs*, int microseconds) {
  const SqliteUse::Clock::time_point end = SqliteUse::OfThread().sleepEnd;
  if (end == SqliteUse::Clock::time_point::max()) return systemFiles->xSleep(systemFiles, microseconds);
  const auto left =
      std::chrono::duration_cast<std::chrono::microseconds>(end - SqliteUse::Clock::now()).count();
  if (left <= 0) return 0;
  return systemFiles->xSleep(systemFiles, static_cast<int>(std::min<std::int64_t>(microseconds, left)));
}

}  // namespace

void RegisterSqliteFiles(const char* name) {
  systemFiles = sqlite3_vfs_find(nullptr);
  if (systemFiles == nullptr) RaiseSqlite(provider_error::kFail, u"The engine has no file system.", u"08001");
  static sqlite3_vfs files = *systemFiles;  // its other functions don't ask whose they are
  files.zName = name;
  files.pNext = nullptr;
  files.szOsFile = static_cast<int>(sizeof(TemporaryFile)) + systemFiles->szOsFile;
  files.xOpen = &Open;
  files.xSleep = &Sleep;
  if (sqlite3_vfs_register(&files, 0) != SQLITE_OK)
    RaiseSqlite(provider_error::kFail, u"The engine's files can't be used.", u"08001");
}

}  // namespace hostlinux
