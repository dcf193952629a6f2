// Sessions in a file that all workers of a server share.
#pragma once

#include <atomic>
#include <chrono>
#include <deque>
#include <filesystem>
#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <utility>

#include "host-linux/base/UniqueFd.h"
#include "host-linux/intrinsics/SessionArchive.h"
#include "host-linux/sessions/SessionDatabase.h"

namespace hostlinux {

class SessionFile : public ISessionArchive {
 public:
  struct Options {
    std::filesystem::path folder;                 // made where its parent is there; must be this user's alone
    std::uint64_t maxBytes = 1ULL << 30;          // of the file; what goes beyond fails
    bool isDurable = false;                       // outlives the machine too
    std::function<void(const std::string&)> log;  // sentences about what went wrong; may be left empty
  };

  // Opens the file, or makes it. One that is damaged is replaced by an empty one, and logged. Throws
  // ArchiveFailure with a sentence for the site's owner where there can be none.
  explicit SessionFile(Options options);
  ~SessionFile() override;

  // The names of all files that there may be in the folder.
  static std::vector<std::string> FileNames();

  bool IsShared() const override { return false; }
  varnel::Long NewId() override { return 0; }
  std::optional<SessionHead> Head(const std::string& token) override;
  std::optional<StoredSession> Load(const std::string& token) override;
  std::vector<SessionHead> Heads() override;
  std::uint64_t Save(const SessionChange& change) override;
  void Remove(const std::string& token) override;
  void RemoveLater(const std::string& token, std::int64_t lastUsed) override;
  bool TryLock(const std::string& token) override;
  void Unlock(const std::string& token) override;
  bool IsChangedByOthers() override;

  // Does what was left for later, in pieces that hold nobody up: to be called about once a second, by a
  // thread that answers no requests.
  void Tidy();

 private:
  using Clock = std::chrono::steady_clock;

  std::filesystem::path File() const;
  void Open();
  void Close();
  void FollowFile();
  void StartAnew(const std::string& reason);
  void RemoveFiles() const;
  template <typename Call>
  auto Guarded(Call call);
  void RequireWritable() const;
  void OnFailure(const DatabaseFailure& failure);
  void Log(const std::string& sentence);
  void LogFailure(const std::string& reason);
  void WriteValues(const SessionChange& change);
  void RemoveQueued();
  void FoldLog();

  const Options m_options;
  UniqueFd m_locks;    // a file of which each session has a byte to lock
  std::mutex m_mutex;  // of what follows
  std::unique_ptr<SessionDatabase> m_database;
  std::pair<std::uint64_t, std::uint64_t> m_identity;  // of the file that is open
  Clock::time_point m_pausedUntil{};                   // nothing is written before
  Clock::time_point m_nextLog{};                       // failures are silent before
  std::int64_t m_seenVersion = 0;
  std::mutex m_folding;
  std::unique_ptr<SessionDatabase> m_folder;  // a connection of its own: folding the log holds up nobody
  std::mutex m_queueing;
  std::deque<std::pair<std::string, std::int64_t>> m_queue;  // of RemoveLater
};

}  // namespace hostlinux
