#include "host-linux/redis/RedisConnection.h"

#include <arpa/inet.h>
#include <netdb.h>
#include <netinet/tcp.h>
#include <openssl/err.h>
#include <openssl/ssl.h>
#include <openssl/x509v3.h>
#include <poll.h>
#include <sys/socket.h>
#include <sys/un.h>

#include <algorithm>
#include <cerrno>
#include <cstring>

#include "host-linux/redis/RedisFailure.h"

namespace hostlinux {

namespace {

using Clock = RedisConnection::Clock;

constexpr std::size_t kPiece = 16 << 10;

[[noreturn]] void FailBySystem(int error) {
  const bool isClosed = error == ECONNRESET || error == EPIPE;
  throw RedisFailure(std::strerror(error), isClosed ? RedisFailure::Kind::Closed : RedisFailure::Kind::Other);
}

[[noreturn]] void FailAsClosed() {
  throw RedisFailure("it has closed the connection", RedisFailure::Kind::Closed);
}

void Await(int socket, short event, Clock::time_point deadline) {
  for (;;) {
    const auto left = std::chrono::ceil<std::chrono::milliseconds>(deadline - Clock::now()).count();
    if (left <= 0) throw RedisFailure("it didn't answer in time");
    pollfd watched{socket, event, 0};
    const int ready = ::poll(&watched, 1, static_cast<int>(std::min<long long>(left, 60'000)));
    if (ready > 0) return;
    if (ready < 0 && errno != EINTR) FailBySystem(errno);
  }
}

UniqueFd NewSocket(int family, int protocol) {
  UniqueFd socket(::socket(family, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, protocol));
  if (!socket) FailBySystem(errno);
  return socket;
}

UniqueFd ConnectTo(const sockaddr* place, socklen_t size, int protocol, Clock::time_point deadline) {
  UniqueFd socket = NewSocket(place->sa_family, protocol);
  if (::connect(socket.Get(), place, size) == 0) return socket;
  if (errno != EINPROGRESS) FailBySystem(errno);
  Await(socket.Get(), POLLOUT, deadline);
  int error = 0;
  socklen_t length = sizeof error;
  ::getsockopt(socket.Get(), SOL_SOCKET, SO_ERROR, &error, &length);
  if (error != 0) FailBySystem(error);
  return socket;
}

UniqueFd ConnectToLocal(const std::string& path, Clock::time_point deadline) {
  sockaddr_un place{};
  place.sun_family = AF_UNIX;
  if (path.size() >= sizeof place.sun_path) throw RedisFailure("the path of its socket is too long");
  std::memcpy(place.sun_path, path.c_str(), path.size() + 1);
  return ConnectTo(reinterpret_cast<const sockaddr*>(&place), sizeof place, 0, deadline);
}

// The first of the name's places that answers.
UniqueFd ConnectToHost(const RedisAddress& address, Clock::time_point deadline) {
  addrinfo hints{};
  hints.ai_socktype = SOCK_STREAM;
  hints.ai_flags = AI_NUMERICSERV | AI_ADDRCONFIG;
  addrinfo* found = nullptr;
  const std::string host = address.host == "localhost" ? "127.0.0.1" : address.host;
  const int problem = ::getaddrinfo(host.c_str(), std::to_string(address.port).c_str(), &hints, &found);
  if (problem != 0) throw RedisFailure(::gai_strerror(problem));
  const std::unique_ptr<addrinfo, decltype(&::freeaddrinfo)> places(found, &::freeaddrinfo);
  for (const addrinfo* place = found;; place = place->ai_next) {
    try {
      UniqueFd socket = ConnectTo(place->ai_addr, place->ai_addrlen, place->ai_protocol, deadline);
      const int on = 1;
      ::setsockopt(socket.Get(), IPPROTO_TCP, TCP_NODELAY, &on, sizeof on);
      return socket;
    } catch (const RedisFailure&) {
      if (place->ai_next == nullptr) throw;
    }
  }
}

void SendAll(int socket, std::string_view bytes, Clock::time_point deadline) {
  while (!bytes.empty()) {
    const ssize_t count = ::send(socket, bytes.data(), bytes.size(), MSG_NOSIGNAL);
    if (count >= 0) {
      bytes.remove_prefix(static_cast<std::size_t>(count));
    } else if (errno == EAGAIN || errno == EWOULDBLOCK) {
      Await(socket, POLLOUT, deadline);
    } else if (errno != EINTR) {
      FailBySystem(errno);
    }
  }
}

// Some bytes, as many as are there.
std::size_t ReceiveSome(int socket, char* bytes, std::size_t size, Clock::time_point deadline) {
  for (;;) {
    const ssize_t count = ::recv(socket, bytes, size, 0);
    if (count > 0) return static_cast<std::size_t>(count);
    if (count == 0) FailAsClosed();
    if (errno == EAGAIN || errno == EWOULDBLOCK) {
      Await(socket, POLLIN, deadline);
    } else if (errno != EINTR) {
      FailBySystem(errno);
    }
  }
}

std::string TlsReason() {
  const unsigned long code = ERR_get_error();
  ERR_clear_error();
  const char* reason = code == 0 ? nullptr : ERR_reason_error_string(code);
  return reason == nullptr ? "TLS failed" : reason;
}

void RequireFile(bool isRead, const std::filesystem::path& file) {
  if (!isRead) throw RedisFailure(file.string() + " can't be used for TLS: " + TlsReason());
}

// As the protocol has it: the count of words, and each with its length in front.
std::string BytesOf(const std::vector<RedisCommand>& commands) {
  std::string bytes;
  for (const RedisCommand& command : commands) {
    bytes += "*" + std::to_string(command.size()) + "\r\n";
    for (const std::string& word : command) {
      bytes += "$" + std::to_string(word.size()) + "\r\n";
      bytes += word;
      bytes += "\r\n";
    }
  }
  return bytes;
}

}  // namespace

RedisTls::RedisTls(const std::filesystem::path& caFile, const std::filesystem::path& certFile,
                   const std::filesystem::path& keyFile)
    : m_context(SSL_CTX_new(TLS_client_method())) {
  auto* context = static_cast<SSL_CTX*>(m_context);
  if (context == nullptr) throw std::bad_alloc();
  try {
    SSL_CTX_set_min_proto_version(context, TLS1_2_VERSION);
    SSL_CTX_set_verify(context, SSL_VERIFY_PEER, nullptr);
    if (caFile.empty()) {
      SSL_CTX_set_default_verify_paths(context);
    } else {
      RequireFile(SSL_CTX_load_verify_locations(context, caFile.c_str(), nullptr) == 1, caFile);
    }
    if (certFile.empty()) return;
    RequireFile(SSL_CTX_use_certificate_chain_file(context, certFile.c_str()) == 1, certFile);
    RequireFile(SSL_CTX_use_PrivateKey_file(context, keyFile.c_str(), SSL_FILETYPE_PEM) == 1, keyFile);
  } catch (...) {
    SSL_CTX_free(context);
    throw;
  }
}

RedisTls::~RedisTls() { SSL_CTX_free(static_cast<SSL_CTX*>(m_context)); }

// TLS between two buffers; the socket is its user's.
class RedisConnection::TlsLayer {
 public:
  TlsLayer(const RedisTls& tls, const std::string& host, int socket)
      : m_ssl(SSL_new(static_cast<SSL_CTX*>(tls.Context()))), m_socket(socket) {
    if (m_ssl == nullptr) throw std::bad_alloc();
    m_received = BIO_new(BIO_s_mem());
    m_toSend = BIO_new(BIO_s_mem());
    SSL_set_bio(m_ssl.get(), m_received, m_toSend);
    SSL_set_connect_state(m_ssl.get());
    unsigned char number[sizeof(in6_addr)];
    const bool isNumber =
        ::inet_pton(AF_INET, host.c_str(), number) == 1 || ::inet_pton(AF_INET6, host.c_str(), number) == 1;
    if (isNumber) {
      X509_VERIFY_PARAM_set1_ip_asc(SSL_get0_param(m_ssl.get()), host.c_str());
    } else {
      SSL_set_tlsext_host_name(m_ssl.get(), host.c_str());
      SSL_set1_host(m_ssl.get(), host.c_str());
    }
  }

  void Handshake(Clock::time_point deadline) {
    ERR_clear_error();
    while (SSL_do_handshake(m_ssl.get()) != 1) {
      RequireWantsMore();
      Pass(deadline);
      Take(deadline);
    }
    Pass(deadline);
  }

  void Send(std::string_view bytes, Clock::time_point deadline) {
    ERR_clear_error();
    std::size_t written = 0;
    if (SSL_write_ex(m_ssl.get(), bytes.data(), bytes.size(), &written) != 1) throw RedisFailure(TlsReason());
    Pass(deadline);
  }

  std::size_t Receive(char* bytes, std::size_t size, Clock::time_point deadline) {
    ERR_clear_error();
    std::size_t count = 0;
    while (SSL_read_ex(m_ssl.get(), bytes, size, &count) != 1) {
      if (SSL_get_error(m_ssl.get(), 0) == SSL_ERROR_ZERO_RETURN) FailAsClosed();
      RequireWantsMore();
      Pass(deadline);
      Take(deadline);
    }
    return count;
  }

 private:
  struct FreeSsl {
    void operator()(SSL* ssl) const { SSL_free(ssl); }
  };

  void RequireWantsMore() const {
    const int error = SSL_get_error(m_ssl.get(), -1);
    if (error == SSL_ERROR_WANT_READ || error == SSL_ERROR_WANT_WRITE) return;
    const long verdict = SSL_get_verify_result(m_ssl.get());
    if (verdict != X509_V_OK)
      throw RedisFailure(std::string("its certificate isn't taken: ") +
                         X509_verify_cert_error_string(verdict));
    throw RedisFailure(TlsReason());
  }

  // What the layer wants to send goes to the socket.
  void Pass(Clock::time_point deadline) {
    char bytes[kPiece];
    for (int count = 0; (count = BIO_read(m_toSend, bytes, sizeof bytes)) > 0;)
      SendAll(m_socket, {bytes, static_cast<std::size_t>(count)}, deadline);
  }

  void Take(Clock::time_point deadline) {
    char bytes[kPiece];
    const std::size_t count = ReceiveSome(m_socket, bytes, sizeof bytes, deadline);
    BIO_write(m_received, bytes, static_cast<int>(count));
  }

  std::unique_ptr<SSL, FreeSsl> m_ssl;
  BIO* m_received = nullptr;  // both belong to m_ssl
  BIO* m_toSend = nullptr;
  const int m_socket;
};

RedisConnection::RedisConnection(const RedisAddress& address, const RedisTls* tls, std::size_t maxReply,
                                 Clock::time_point deadline)
    : m_reader(maxReply), m_buffer(kPiece) {
  m_socket =
      address.socket.empty() ? ConnectToHost(address, deadline) : ConnectToLocal(address.socket, deadline);
  if (address.isTls) {
    m_tls = std::make_unique<TlsLayer>(*tls, address.host, m_socket.Get());
    m_tls->Handshake(deadline);
  }
  Greet(address, deadline);
}

RedisConnection::~RedisConnection() = default;

void RedisConnection::Greet(const RedisAddress& address, Clock::time_point deadline) {
  std::vector<RedisCommand> commands;
  if (!address.password.empty()) {
    commands.push_back(address.user.empty() ? RedisCommand{"AUTH", address.password}
                                            : RedisCommand{"AUTH", address.user, address.password});
  }
  // What comes back tells whether one may ask at all.
  commands.push_back({"SELECT", std::to_string(address.database)});
  for (const RedisReply& reply : Exchange(commands, deadline))
    if (reply.IsError()) throw RedisFailure("it refuses us: " + reply.text);
}

void RedisConnection::Send(std::string_view bytes, Clock::time_point deadline) {
  if (m_tls) {
    m_tls->Send(bytes, deadline);
  } else {
    SendAll(m_socket.Get(), bytes, deadline);
  }
}

std::string_view RedisConnection::Receive(Clock::time_point deadline) {
  const std::size_t count = m_tls ? m_tls->Receive(m_buffer.data(), m_buffer.size(), deadline)
                                  : ReceiveSome(m_socket.Get(), m_buffer.data(), m_buffer.size(), deadline);
  return {m_buffer.data(), count};
}

std::vector<RedisReply> RedisConnection::Exchange(const std::vector<RedisCommand>& commands,
                                                  Clock::time_point deadline) {
  m_reader.BeginAnew();
  Send(BytesOf(commands), deadline);
  std::vector<RedisReply> replies;
  replies.reserve(commands.size());
  while (replies.size() < commands.size()) {
    if (auto reply = m_reader.Next()) {
      replies.push_back(std::move(*reply));
    } else {
      m_reader.Feed(Receive(deadline));
    }
  }
  return replies;
}

}  // namespace hostlinux
