#include "tests/conformance/LoopbackPort.h"

#include <arpa/inet.h>
#include <sys/socket.h>
#include <unistd.h>

#include <stdexcept>

int FreePort() {
  const int socket = ::socket(AF_INET, SOCK_STREAM, 0);
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  socklen_t length = sizeof address;
  const bool isBound = bind(socket, reinterpret_cast<sockaddr*>(&address), length) == 0 &&
                       getsockname(socket, reinterpret_cast<sockaddr*>(&address), &length) == 0;
  close(socket);
  if (!isBound) throw std::runtime_error("no free port");
  return ntohs(address.sin_port);
}
