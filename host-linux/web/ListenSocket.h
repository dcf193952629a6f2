// The listening socket, made or taken over before there is a server: a parent process owns it and its workers
// inherit it.
#pragma once

#include <cstdint>
#include <string>

#include "host-linux/base/UniqueFd.h"

namespace hostlinux {

// Whose the file of a local socket is.
struct SocketFile {
  unsigned mode = 0600;  // who can write to it can connect
  std::string group;     // empty: the process's own
};

// Listens at `address`: "127.0.0.1:8080", "[::1]:8080", "localhost:8080", ":8080" (all addresses), port 0 for
// any free one, or "unix:/run/shop.sock" (a file that a dead server left there is replaced). Throws
// std::runtime_error with a sentence that names the address and the reason.
UniqueFd ListenAt(const std::string& address, const SocketFile& file = {});

// The listening socket that this process was started with, as service managers hand it over: LISTEN_PID is this
// process, LISTEN_FDS counts the descriptors from 3 on. No descriptor where these variables are meant for nobody
// or for another process. They are taken out of the environment. Throws std::runtime_error with a sentence where
// there isn't exactly one socket, or where it doesn't listen for streams.
UniqueFd TakeListenerOfService();

// Where a listening socket is bound to, as ListenAt takes it.
std::string AddressOfListener(int socket);

// The port that a listening socket is bound to; 0 for a local socket.
std::uint16_t PortOf(int socket);

// From now on nobody new can connect to the listening socket, in any process that has it; whoever has begun to
// may go on, and is accepted. A socket that is closed while somebody connects would reset that connection.
// Does nothing to a local socket.
void RefuseNewcomers(int socket);

}  // namespace hostlinux
