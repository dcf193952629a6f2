// Where a Redis server is, as its users write it: an address with everything in it.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace hostlinux {

struct RedisAddress {
  bool isTls = false;
  std::string host;  // a name or a number; empty: a local socket
  std::uint16_t port = 6379;
  std::string socket;  // the file of a local socket
  std::string user;    // empty: the server's default one
  std::string password;
  int database = 0;

  // "redis://127.0.0.1:6379/0": without user and password, for the log.
  std::string Name() const;

  bool operator==(const RedisAddress&) const = default;
};

// Reads "redis://[[USER]:PASSWORD@]HOST[:PORT][/DATABASE]", "rediss://..." for TLS, or
// "unix://[[USER]:PASSWORD@]/PATH[?db=DATABASE]". An IPv6 address stands in brackets, %XX in user and password are
// bytes. The port is 6379 where none stands, the database 0, up to 99999. Nothing for any other text.
std::optional<RedisAddress> ParseRedisAddress(std::string_view text);

}  // namespace hostlinux
