#include "host-linux/web/ListenSocket.h"

#include <linux/filter.h>
#include <netdb.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>

#include <array>
#include <cerrno>
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
  const UniqueFd probe(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0));
  const bool answered = ::connect(probe.Get(), reinterpret_cast<const sockaddr*>(&place), sizeof place) == 0;
  if (!answered && errno == ECONNREFUSED) ::unlink(place.sun_path);
}

UniqueFd ListenAtUnix(const std::string& address) {
  const std::string path = address.substr(kUnixPrefix.size());
  sockaddr_un place{};
  place.sun_family = AF_UNIX;
  if (path.empty() || path.size() >= sizeof place.sun_path) Fail(address, "the path is empty or too long");
  std::memcpy(place.sun_path, path.c_str(), path.size() + 1);
  RemoveDeadSocket(place);
  UniqueFd socket(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0));
  if (!socket || ::bind(socket.Get(), reinterpret_cast<const sockaddr*>(&place), sizeof place) != 0 ||
      ::listen(socket.Get(), kBacklog) != 0) {
    Fail(address, std::strerror(errno));
  }
  return socket;
}

}  // namespace

UniqueFd ListenAt(const std::string& address) {
  return address.starts_with(kUnixPrefix) ? ListenAtUnix(address) : ListenAtTcp(address);
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
