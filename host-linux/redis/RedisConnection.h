// One connection to a Redis server.
#pragma once

#include <chrono>
#include <filesystem>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "host-linux/base/UniqueFd.h"
#include "host-linux/redis/RedisReply.h"
#include "host-linux/services/RedisAddress.h"

namespace hostlinux {

// The words of one, the first of which is its name. They may hold any bytes.
using RedisCommand = std::vector<std::string>;

// What a server has to show by TLS, and what is shown to it.
class RedisTls {
 public:
  // An empty `caFile` is whom the system trusts; empty `certFile` and `keyFile` show nothing. Throws
  // RedisFailure with a sentence that names the file which can't be read.
  RedisTls(const std::filesystem::path& caFile, const std::filesystem::path& certFile,
           const std::filesystem::path& keyFile);
  ~RedisTls();
  RedisTls(const RedisTls&) = delete;
  RedisTls& operator=(const RedisTls&) = delete;

  void* Context() const { return m_context; }

 private:
  void* m_context;
};

// For one thread at a time. After a failure it is of no use any more.
class RedisConnection {
 public:
  using Clock = std::chrono::steady_clock;

  // Connects, shows who it is and chooses the database, until `deadline`. Looking the name up may take longer.
  // `tls` is needed where the address says so, and outlives the connection. `maxReply`: bytes that one exchange
  // may answer. Throws RedisFailure.
  RedisConnection(const RedisAddress& address, const RedisTls* tls, std::size_t maxReply,
                  Clock::time_point deadline);
  ~RedisConnection();
  RedisConnection(const RedisConnection&) = delete;
  RedisConnection& operator=(const RedisConnection&) = delete;

  // Sends the commands together and gives the reply of each, errors of the server's among them. Throws
  // RedisFailure.
  std::vector<RedisReply> Exchange(const std::vector<RedisCommand>& commands, Clock::time_point deadline);

 private:
  class TlsLayer;

  void Greet(const RedisAddress& address, Clock::time_point deadline);
  void Send(std::string_view bytes, Clock::time_point deadline);
  std::string_view Receive(Clock::time_point deadline);

  UniqueFd m_socket;
  std::unique_ptr<TlsLayer> m_tls;
  RedisReplyReader m_reader;
  std::vector<char> m_buffer;
};

}  // namespace hostlinux
