// Sessions in a Redis server that several servers share.
#pragma once

#include <chrono>
#include <functional>
#include <mutex>
#include <string>
#include <unordered_map>
#include <unordered_set>
#include <vector>

#include "host-linux/intrinsics/SessionArchive.h"
#include "host-linux/redis/RedisClient.h"

namespace hostlinux {

// A session is a hash under "PREFIX:1:{H}", where H is the SHA-256 of its token in hexadecimal digits: whoever
// reads the keys can't become a visitor by them. Its fields are "v" (version), "i" (id), "f" (form token), "l"
// (locale), "m" (minutes) and, for each value, what NameOf and BytesOf make of it. The key expires with the
// session, counted by the server's clock. The lock is the key with ":lock" behind it.
class RedisSessions : public ISessionArchive {
 public:
  struct Options {
    RedisClient::Options client;
    std::string prefix = "varnel";
    std::size_t maxBytes = 1 << 20;               // of the values of one session
    std::chrono::minutes timeout{20};             // of sessions that set none
    std::chrono::milliseconds lease{10'000};      // of a lock whose process has ended; renewed by Tidy
    std::function<void(const std::string&)> log;  // sentences about what went wrong; may be left empty
    std::function<std::int64_t()> timeOfDay;      // as SessionStore's; left empty: the system's clock
  };

  // Doesn't connect yet. Throws RedisFailure where a file for TLS can't be read.
  explicit RedisSessions(Options options);

  bool IsShared() const override { return true; }
  varnel::Long NewId() override;
  std::optional<SessionHead> Head(const std::string& token) override;
  std::optional<StoredSession> Load(const std::string& token) override;
  // None: nobody needs to know those of other servers, and each expires by itself.
  std::vector<SessionHead> Heads() override { return {}; }
  // What tells of its use only is stored by and by. Fails where this process has lost the session's lock.
  std::uint64_t Save(const SessionChange& change) override;
  void Remove(const std::string& token) override;
  void RemoveLater(const std::string& token, std::int64_t lastUsed) override;
  bool TryLock(const std::string& token) override;
  void Unlock(const std::string& token) override;
  bool IsChangedByOthers() override { return false; }

  // Does what was left for later, and renews the locks of requests that run: to be called about once a second,
  // by a thread that answers no requests.
  void Tidy();

 private:
  using Clock = std::chrono::steady_clock;

  std::string KeyOf(const std::string& token) const;
  std::vector<RedisReply> Ask(const std::vector<RedisCommand>& commands);
  RedisReply AskOne(const RedisCommand& command);
  std::string OwnerOf(const std::string& token);
  std::optional<SessionHead> HeadOf(const std::string& token, std::vector<std::string> fields,
                                    const RedisReply& secondsLeft);
  std::nullopt_t Damaged();
  void NoteUse(const SessionHead& head);
  void RenewLocks();
  void StoreUses();
  void RemoveQueued();

  const Options m_options;
  RedisClient m_client;
  std::mutex m_mutex;                                     // of what follows
  std::unordered_map<std::string, std::string> m_owners;  // of the locks that this process has, by token
  std::unordered_set<std::string> m_used;                 // sessions that are to live on
  std::unordered_set<std::string> m_removed;              // sessions that are still to be removed
  std::int64_t m_nextId = 0;
  std::int64_t m_endOfIds = 0;
  Clock::time_point m_nextLog{};  // damage is silent before
};

}  // namespace hostlinux
