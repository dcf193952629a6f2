#include "host-linux/web/ListenSocket.h"

#include <fcntl.h>
#include <grp.h>
#include <linux/filter.h>
#include <netdb.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>

#include <array>
#include <cerrno>
#include <charconv>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <stdexcept>

namespace hostlinux {

namespace {

constexpr int kBacklog = 1024;
constexpr std::string_view kUnixPrefix = "unix:";

[[noreturn]] void Fail(const std::string& address, const std::string& reason) {
  throw std::runtime_error("The server can't listen at \"" + address + "\": " + reason + ".");
}

// Splits at the last colon and takes the brackets off an IPv6 address.
void SplitAddress(const std::string& address, std::string& host, std::string& port) {
  const std::size_t colon = address.rfind(':');
  if (colon == std::string::npos || colon + 1 == address.size()) Fail(address, "a port is missing");
  host = address.substr(0, colon);
  port = address.substr(colon + 1);
  if (host.size() >= 2 && host.front() == '[' && host.back() == ']') host = host.substr(1, host.size() - 2);
}

UniqueFd BindTo(const addrinfo& place) {
  UniqueFd socket(::socket(place.ai_family, place.ai_socktype | SOCK_CLOEXEC, place.ai_protocol));
  if (!socket) return socket;
  const int on = 1;
  ::setsockopt(socket.Get(), SOL_SOCKET, SO_REUSEADDR, &on, sizeof on);
  if (::bind(socket.Get(), place.ai_addr, place.ai_addrlen) != 0 || ::listen(socket.Get(), kBacklog) != 0) {
    return UniqueFd();
  }
  return socket;
}

UniqueFd ListenAtTcp(const std::string& address) {
  std::string host;
  std::string port;
  SplitAddress(address, host, port);
  if (host == "localhost") host = "127.0.0.1";  // a machine without a hosts file doesn't know the name
  addrinfo hints{};
  hints.ai_socktype = SOCK_STREAM;
  hints.ai_flags = AI_PASSIVE | AI_NUMERICSERV;
  addrinfo* found = nullptr;
  const int problem = ::getaddrinfo(host.empty() ? nullptr : host.c_str(), port.c_str(), &hints, &found);
  if (problem != 0) Fail(address, ::gai_strerror(problem));
  const std::unique_ptr<addrinfo, decltype(&::freeaddrinfo)> places(found, &::freeaddrinfo);
  for (const addrinfo* place = found; place; place = place->ai_next) {
    UniqueFd socket = BindTo(*place);
    if (socket) return socket;
  }
  Fail(address, std::strerror(errno));
}

// A socket file that nobody answers at was left by a server that died.
void RemoveDeadSocket(const sockaddr_un& place) {
  struct stat status {};
  if (::lstat(place.sun_path, &status) != 0 || !S_ISSOCK(status.st_mode)) return;
  // A living one whose backlog is full would keep us waiting.
  const UniqueFd probe(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0));
  const bool answered = ::connect(probe.Get(), reinterpret_cast<const sockaddr*>(&place), sizeof place) == 0;
  if (!answered && errno == ECONNREFUSED) ::unlink(place.sun_path);
}

void GiveToGroup(const std::string& address, const char* path, const std::string& name) {
  errno = 0;
  const group* found = ::getgrnam(name.c_str());
  if (found == nullptr) Fail(address, "there is no group " + name);
  if (::lchown(path, static_cast<uid_t>(-1), found->gr_gid) != 0)
    Fail(address, "it can't be given to the group " + name + ": " + std::strerror(errno));
}

// At first it is nobody else's, whatever the process's mask says.
UniqueFd ListenAtUnix(const std::string& address, const SocketFile& file) {
  const std::string path = address.substr(kUnixPrefix.size());
  sockaddr_un place{};
  place.sun_family = AF_UNIX;
  if (path.empty() || path.size() >= sizeof place.sun_path) Fail(address, "the path is empty or too long");
  std::memcpy(place.sun_path, path.c_str(), path.size() + 1);
  RemoveDeadSocket(place);
  UniqueFd socket(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0));
  if (!socket || ::fchmod(socket.Get(), 0600) != 0 ||
      ::bind(socket.Get(), reinterpret_cast<const sockaddr*>(&place), sizeof place) != 0 ||
      ::listen(socket.Get(), kBacklog) != 0) {
    Fail(address, std::strerror(errno));
  }
  if (!file.group.empty()) GiveToGroup(address, place.sun_path, file.group);
  if (::chmod(place.sun_path, file.mode) != 0) Fail(address, std::strerror(errno));
  return socket;
}

// A variable of the environment as a number, which is then taken out of it; -1 where it is none.
long TakeNumber(const char* name) {
  const char* value = ::getenv(name);
  const std::string text = value == nullptr ? "" : value;
  ::unsetenv(name);
  long number = -1;
  const auto [end, failure] = std::from_chars(text.data(), text.data() + text.size(), number);
  return failure == std::errc() && end == text.data() + text.size() ? number : -1;
}

int OptionOf(int socket, int option) {
  int value = 0;
  socklen_t length = sizeof value;
  return ::getsockopt(socket, SOL_SOCKET, option, &value, &length) == 0 ? value : -1;
}

}  // namespace

UniqueFd ListenAt(const std::string& address, const SocketFile& file) {
  return address.starts_with(kUnixPrefix) ? ListenAtUnix(address, file) : ListenAtTcp(address);
}

UniqueFd TakeListenerOfService() {
  constexpr int kFirst = 3;
  const long process = TakeNumber("LISTEN_PID");
  const long count = TakeNumber("LISTEN_FDS");
  ::unsetenv("LISTEN_FDNAMES");
  if (process != ::getpid() || count <= 0) return {};
  if (count > 1)
    throw std::runtime_error("The server was handed " + std::to_string(count) +
                             " sockets; it serves one: a socket unit with one ListenStream.");
  if (OptionOf(kFirst, SO_ACCEPTCONN) != 1 || OptionOf(kFirst, SO_TYPE) != SOCK_STREAM)
    throw std::runtime_error("What the server was handed is no listening socket of streams.");
  UniqueFd socket(kFirst);
  ::fcntl(kFirst, F_SETFD, FD_CLOEXEC);
  return socket;
}

std::string AddressOfListener(int socket) {
  sockaddr_storage place{};
  socklen_t length = sizeof place;
  if (::getsockname(socket, reinterpret_cast<sockaddr*>(&place), &length) != 0) return {};
  if (place.ss_family == AF_UNIX) {
    const auto& local = reinterpret_cast<const sockaddr_un&>(place);
    const std::size_t size = length - offsetof(sockaddr_un, sun_path);
    return "unix:" + std::string(local.sun_path, ::strnlen(local.sun_path, size));
  }
  char host[NI_MAXHOST];
  if (::getnameinfo(reinterpret_cast<const sockaddr*>(&place), length, host, sizeof host, nullptr, 0,
                    NI_NUMERICHOST) != 0)
    return {};
  const bool isNumeric6 = place.ss_family == AF_INET6;
  return (isNumeric6 ? "[" + std::string(host) + "]" : std::string(host)) + ":" +
         std::to_string(PortOf(socket));
}

void RefuseNewcomers(int socket) {
  // Of what reaches a TCP socket, beginning with its header: a SYN without ACK opens a connection.
  std::array<sock_filter, 5> program = {{
      {BPF_LD | BPF_B | BPF_ABS, 0, 0, 13},
      {BPF_ALU | BPF_AND | BPF_K, 0, 0, 0x12},
      {BPF_JMP | BPF_JEQ | BPF_K, 0, 1, 0x02},
      {BPF_RET | BPF_K, 0, 0, 0},
      {BPF_RET | BPF_K, 0, 0, 0xffffffff},
  }};
  const sock_fprog filter{program.size(), program.data()};
  if (PortOf(socket) != 0) ::setsockopt(socket, SOL_SOCKET, SO_ATTACH_FILTER, &filter, sizeof filter);
}

std::uint16_t PortOf(int socket) {
  sockaddr_storage place{};
  socklen_t length = sizeof place;
  if (::getsockname(socket, reinterpret_cast<sockaddr*>(&place), &length) != 0) return 0;
  if (place.ss_family == AF_INET) return ntohs(reinterpret_cast<const sockaddr_in&>(place).sin_port);
  if (place.ss_family == AF_INET6) return ntohs(reinterpret_cast<const sockaddr_in6&>(place).sin6_port);
  return 0;
}

}  // namespace hostlinux
