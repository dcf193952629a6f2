// A Redis server as many threads use it: with connections at hand, and without waiting for one that is gone.
#pragma once

#include <chrono>
#include <filesystem>
#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "host-linux/redis/RedisConnection.h"
#include "host-linux/redis/RedisFailure.h"

namespace hostlinux {

// Safe from all threads.
class RedisClient {
 public:
  struct Options {
    RedisAddress address;
    std::filesystem::path caFile, certFile, keyFile;  // for TLS, as RedisTls takes them
    std::chrono::milliseconds timeout{1000};          // of a call, with connecting
    std::size_t maxReply = 4 << 20;                   // bytes of all that a call answers
    // After a failure no call is made for so long, twice as long each time.
    std::chrono::milliseconds firstPause{100};
    std::chrono::milliseconds longestPause{2000};
    std::function<void(const std::string&)> log;  // sentences about its going and coming; may be left empty
  };

  // Doesn't connect yet. Throws RedisFailure where a file for TLS can't be read.
  explicit RedisClient(Options options);

  // Sends the commands together and gives the reply of each, errors of the server's among them. Where a
  // connection had been closed the commands are sent once more by another one: they must be such that doing them
  // twice does no harm. Throws RedisFailure, and at once while the server is known to be gone; one call at a
  // time then looks whether it is back.
  std::vector<RedisReply> Run(const std::vector<RedisCommand>& commands);

  std::string Name() const { return m_options.address.Name(); }

 private:
  using Clock = RedisConnection::Clock;
  using ConnectionPtr = std::unique_ptr<RedisConnection>;
  class Turn;

  ConnectionPtr TakeIdle();
  void PutBack(ConnectionPtr connection);
  std::vector<RedisReply> RunOn(ConnectionPtr connection, const std::vector<RedisCommand>& commands,
                                Clock::time_point deadline);
  std::vector<RedisReply> RunOnAny(const std::vector<RedisCommand>& commands, Clock::time_point deadline);
  void Log(const std::string& sentence) const;

  const Options m_options;
  std::unique_ptr<RedisTls> m_tls;
  std::mutex m_mutex;  // of what follows
  std::vector<ConnectionPtr> m_idle;
  std::string m_reason;  // why it is gone; empty while it isn't
  std::chrono::milliseconds m_pause;
  Clock::time_point m_pausedUntil{};
  bool m_isLooking = false;  // whether it is back
};

}  // namespace hostlinux
