// The listening socket, made before there is a server: a parent process owns it and its workers inherit it.
#pragma once

#include <cstdint>
#include <string>

#include "host-linux/base/UniqueFd.h"

namespace hostlinux {

// Listens at `address`: "127.0.0.1:8080", "[::1]:8080", "localhost:8080", ":8080" (all addresses), port 0 for
// any free one, or "unix:/run/shop.sock" (a file that a dead server left there is replaced). Throws
// std::runtime_error with a sentence that names the address and the reason.
UniqueFd ListenAt(const std::string& address);

// The port that a listening socket is bound to; 0 for a local socket.
std::uint16_t PortOf(int socket);

// From now on nobody new can connect to the listening socket, in any process that has it; whoever has begun to
// may go on, and is accepted. A socket that is closed while somebody connects would reset that connection.
// Does nothing to a local socket.
void RefuseNewcomers(int socket);

}  // namespace hostlinux
