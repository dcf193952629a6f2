// A port of a server that hangs.
#pragma once

#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <stdexcept>
#include <string>

// Takes connections, as a system does for a server that hangs, and never says a word.
class SilentPort {
 public:
  SilentPort() : m_socket(socket(AF_INET, SOCK_STREAM, 0)) {
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t size = sizeof address;
    auto* any = reinterpret_cast<sockaddr*>(&address);
    if (bind(m_socket, any, size) != 0 || listen(m_socket, 10) != 0) throw std::runtime_error("no port");
    getsockname(m_socket, any, &size);
    m_port = ntohs(address.sin_port);
  }
  ~SilentPort() { close(m_socket); }
  SilentPort(const SilentPort&) = delete;
  SilentPort& operator=(const SilentPort&) = delete;

  int Port() const { return m_port; }

 private:
  const int m_socket;
  int m_port = 0;
};
