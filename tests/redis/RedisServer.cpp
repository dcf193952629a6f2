#include "tests/redis/RedisServer.h"

#include <arpa/inet.h>
#include <fcntl.h>
#include <signal.h>
#include <stdlib.h>
#include <sys/prctl.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <stdexcept>
#include <thread>

#include "host-linux/redis/RedisConnection.h"
#include "host-linux/redis/RedisFailure.h"

namespace hosttest {

namespace {

using Clock = std::chrono::steady_clock;
using namespace std::chrono_literals;

constexpr const char* kProgram = "/usr/bin/redis-server";

void Replace(std::string& text, const std::string& name, const std::string& value) {
  const std::size_t at = text.find(name);
  if (at != std::string::npos) text.replace(at, name.size(), value);
}

[[noreturn]] void Become(std::vector<std::string> words, const std::filesystem::path& folder) {
  ::prctl(PR_SET_PDEATHSIG, SIGKILL);
  const int log = ::open((folder / "server.log").c_str(), O_WRONLY | O_CREAT | O_APPEND, 0600);
  ::dup2(log, 1);
  ::dup2(log, 2);
  std::vector<char*> pointers;
  pointers.reserve(words.size() + 1);
  for (std::string& word : words) pointers.push_back(word.data());
  pointers.push_back(nullptr);
  ::execv(kProgram, pointers.data());
  ::_exit(127);
}

}  // namespace

std::uint16_t FreePort() {
  const hostlinux::UniqueFd socket(::socket(AF_INET, SOCK_STREAM, 0));
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  socklen_t length = sizeof address;
  const bool isBound = ::bind(socket.Get(), reinterpret_cast<sockaddr*>(&address), length) == 0 &&
                       ::getsockname(socket.Get(), reinterpret_cast<sockaddr*>(&address), &length) == 0;
  if (!isBound) throw std::runtime_error("no free port");
  return ntohs(address.sin_port);
}

bool RedisServer::IsInstalled() { return ::access(kProgram, X_OK) == 0; }

RedisServer::RedisServer(std::vector<std::string> settings) : m_settings(std::move(settings)) {
  std::string pattern = (std::filesystem::temp_directory_path() / "varnel-redis-XXXXXX").string();
  if (::mkdtemp(pattern.data()) == nullptr) throw std::runtime_error("no folder");
  m_folder = pattern;
  m_port = FreePort();
  m_tlsPort = FreePort();
  for (std::string& setting : m_settings) {
    Replace(setting, "%FOLDER%", m_folder.string());
    Replace(setting, "%TLS%", std::to_string(m_tlsPort));
  }
  Start();
}

RedisServer::~RedisServer() {
  Kill();
  std::error_code ignored;
  std::filesystem::remove_all(m_folder, ignored);
}

void RedisServer::Start() {
  std::vector<std::string> words = {kProgram,
                                    "--port",
                                    std::to_string(m_port),
                                    "--bind",
                                    "127.0.0.1",
                                    "--unixsocket",
                                    (m_folder / "redis.sock").string(),
                                    "--unixsocketperm",
                                    "700",
                                    "--save",
                                    "",
                                    "--dir",
                                    m_folder.string()};
  words.insert(words.end(), m_settings.begin(), m_settings.end());
  m_process = ::fork();
  if (m_process == 0) Become(std::move(words), m_folder);
  const auto end = Clock::now() + 60s;
  for (;;) {
    try {
      Tell({"PING"});
      return;
    } catch (const hostlinux::RedisFailure& failure) {
      if (std::string(failure.what()).starts_with("it refuses us: NOAUTH")) return;
      if (Clock::now() > end) throw std::runtime_error("Redis doesn't start");
      std::this_thread::sleep_for(20ms);
    }
  }
}

void RedisServer::Kill() {
  if (m_process == 0) return;
  ::kill(m_process, SIGKILL);
  ::waitpid(m_process, nullptr, 0);
  m_process = 0;
  std::error_code ignored;
  std::filesystem::remove(m_folder / "redis.sock", ignored);
}

void RedisServer::Freeze() const {
  ::kill(m_process, SIGSTOP);
  ::waitpid(m_process, nullptr, WUNTRACED);
}

void RedisServer::Thaw() const { ::kill(m_process, SIGCONT); }

hostlinux::RedisReply RedisServer::Tell(const std::vector<std::string>& command) const {
  hostlinux::RedisAddress address;
  address.socket = (m_folder / "redis.sock").string();
  hostlinux::RedisConnection connection(address, nullptr, 64 << 20, Clock::now() + 10s);
  return connection.Exchange({command}, Clock::now() + 60s)[0];
}

}  // namespace hosttest
