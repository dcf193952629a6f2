// A Redis server of the tests' own, in a temporary folder and on a port of its own, by the user that runs them.
#pragma once

#include <sys/types.h>

#include <cstdint>
#include <filesystem>
#include <string>
#include <vector>

#include "host-linux/redis/RedisReply.h"

namespace hosttest {

class RedisServer {
 public:
  static bool IsInstalled();

  // Starts it, and waits until it answers. `settings` are more words of its command line, such as "--maxmemory",
  // "2mb"; %FOLDER% in them is its folder, %TLS% a port.
  explicit RedisServer(std::vector<std::string> settings = {});
  ~RedisServer();
  RedisServer(const RedisServer&) = delete;
  RedisServer& operator=(const RedisServer&) = delete;

  void Start();
  void Kill();  // with all that it held
  void Freeze() const;
  void Thaw() const;

  std::uint16_t Port() const { return m_port; }
  std::uint16_t TlsPort() const { return m_tlsPort; }
  const std::filesystem::path& Folder() const { return m_folder; }
  std::string Address() const { return "redis://127.0.0.1:" + std::to_string(m_port); }
  std::string LocalAddress() const { return "unix://" + (m_folder / "redis.sock").string(); }

  // One command, as anybody who may reach the local socket can send it.
  hostlinux::RedisReply Tell(const std::vector<std::string>& command) const;

 private:
  std::filesystem::path m_folder;
  std::uint16_t m_port = 0;
  std::uint16_t m_tlsPort = 0;
  std::vector<std::string> m_settings;
  pid_t m_process = 0;
};

// A port of the loopback interface that nobody listens at.
std::uint16_t FreePort();

}  // namespace hosttest
