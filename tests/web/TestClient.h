// A client that says exactly what a test wants it to say, byte for byte, over a socket of its own.
#pragma once

#include <arpa/inet.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>

#include <cstdlib>
#include <stdexcept>
#include <string>

#include "host-linux/base/UniqueFd.h"
#include "host-linux/web/HttpMessage.h"

namespace hosttest {

struct Answer {
  int status = 0;
  hostlinux::HeaderList headers;
  std::string body;
};

class TestClient {
 public:
  // A small receive window makes a client that is soon full.
  explicit TestClient(std::uint16_t port, int receiveBuffer = 0)
      : m_socket(::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0)) {
    if (receiveBuffer > 0) {
      ::setsockopt(m_socket.Get(), SOL_SOCKET, SO_RCVBUF, &receiveBuffer, sizeof receiveBuffer);
    }
    sockaddr_in place{};
    place.sin_family = AF_INET;
    place.sin_port = htons(port);
    place.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    if (::connect(m_socket.Get(), reinterpret_cast<const sockaddr*>(&place), sizeof place) != 0) {
      throw std::runtime_error("no connection");
    }
  }

  void Send(const std::string& bytes) {
    for (std::size_t sent = 0; sent < bytes.size();) {
      const ssize_t count = ::send(m_socket.Get(), bytes.data() + sent, bytes.size() - sent, MSG_NOSIGNAL);
      if (count < 0) return;
      sent += static_cast<std::size_t>(count);
    }
  }

  void EndSending() { ::shutdown(m_socket.Get(), SHUT_WR); }

  void Reset() {
    const linger hard{1, 0};
    ::setsockopt(m_socket.Get(), SOL_SOCKET, SO_LINGER, &hard, sizeof hard);
    m_socket = hostlinux::UniqueFd();
  }

  // Reads until `text` holds `mark`; what lies behind stays for the next call. Without the mark at the end of
  // the connection: what came.
  std::string ReadThrough(const std::string& mark) {
    while (m_pending.find(mark) == std::string::npos && Fill()) {
    }
    const std::size_t at = m_pending.find(mark);
    return Take(at == std::string::npos ? m_pending.size() : at + mark.size());
  }

  std::string ReadBytes(std::size_t count) {
    while (m_pending.size() < count && Fill()) {
    }
    return Take(std::min(count, m_pending.size()));
  }

  std::string ReadToEnd() {
    while (Fill()) {
    }
    return Take(m_pending.size());
  }

  // A response with its body: by Content-Length, by chunks, or none for a bodiless one and after HEAD.
  Answer ReadAnswer(bool toHead = false) {
    Answer answer = ReadHead();
    if (toHead || hostlinux::IsBodiless(answer.status)) return answer;
    if (answer.headers.Find("Transfer-Encoding")) {
      answer.body = ReadChunks();
    } else if (const std::string* length = answer.headers.Find("Content-Length")) {
      answer.body = ReadBytes(static_cast<std::size_t>(std::stoull(*length)));
    } else {
      answer.body = ReadToEnd();
    }
    return answer;
  }

  Answer ReadHead() {
    const std::string head = ReadThrough("\r\n\r\n");
    Answer answer;
    if (head.size() < 12) return answer;
    answer.status = std::atoi(head.c_str() + 9);
    for (std::size_t at = head.find("\r\n") + 2; at < head.size() - 2;) {
      const std::size_t end = head.find("\r\n", at);
      const std::size_t colon = head.find(": ", at);
      answer.headers.Add(head.substr(at, colon - at), head.substr(colon + 2, end - colon - 2));
      at = end + 2;
    }
    return answer;
  }

  Answer Get(const std::string& target, const std::string& moreHeaders = "") {
    Send("GET " + target + " HTTP/1.1\r\nHost: localhost\r\n" + moreHeaders + "\r\n");
    return ReadAnswer();
  }

  // How long the server may be silent: for a page that works for long before its first byte.
  void SetPatience(int milliseconds) { m_patience = milliseconds; }

  // True when something has come, or the end, that wasn't read yet.
  bool HasMore() const {
    pollfd watched{m_socket.Get(), POLLIN, 0};
    return !m_pending.empty() || ::poll(&watched, 1, 0) > 0;
  }

  // True when the server has ended the connection and sent nothing more.
  bool IsEnded() { return m_pending.empty() && !Fill(); }

 private:
  std::string Take(std::size_t count) {
    std::string taken = m_pending.substr(0, count);
    m_pending.erase(0, count);
    return taken;
  }

  // Waits for more bytes; false at the end. The limit only keeps a failing test from hanging.
  bool Fill() {
    pollfd watched{m_socket.Get(), POLLIN, 0};
    if (::poll(&watched, 1, m_patience) <= 0) throw std::runtime_error("the server is silent");
    char bytes[16384];
    const ssize_t count = ::recv(m_socket.Get(), bytes, sizeof bytes, 0);
    if (count <= 0) return false;
    m_pending.append(bytes, static_cast<std::size_t>(count));
    return true;
  }

  std::string ReadChunks() {
    std::string body;
    while (true) {
      const std::string line = ReadThrough("\r\n");
      const std::size_t size = std::strtoull(line.c_str(), nullptr, 16);
      body += ReadBytes(size);
      if (ReadThrough("\r\n").empty()) throw std::runtime_error("a chunk broke off");
      if (size == 0) return body;
    }
  }

  hostlinux::UniqueFd m_socket;
  std::string m_pending;
  int m_patience = 60'000;  // milliseconds
};

}  // namespace hosttest
