// Reads the requests of one connection, one after the other: foreign bytes in, requests as plain values out.
// Private to the server.
#pragma once

#include <boost/beast/core/flat_buffer.hpp>
#include <boost/beast/http/parser.hpp>
#include <boost/beast/http/string_body.hpp>
#include <optional>
#include <string>

#include "host-linux/web/Charge.h"
#include "host-linux/web/HttpServer.h"

namespace hostlinux {

// The two ends of a connection, as its requests tell of them.
struct ConnectionEnds {
  explicit ConnectionEnds(int socket, const ServerOptions& options);

  std::string remoteAddress;  // empty for a local socket
  std::uint16_t localPort = 0;
  bool isProxy = false;  // one that is trusted
};

class RequestReader {
 public:
  enum class Result {
    More,      // nothing more is there yet
    Continue,  // the client waits to be told that it may send the body
    Complete,  // Request() is there as a whole
    Refused,  // what has come is answered with Refusal(), and nobody knows where the next request would begin
    Gone      // the client has ended the connection, or it broke
  };

  // `bodies`: the bytes of all bodies that are held.
  RequestReader(const ServerOptions& options, int socket, std::atomic<std::uint64_t>& bodies);

  // The next request begins, perhaps in what came with the last one, whose body isn't held any more.
  void Begin();

  // Whether something has come, of this request or of the next one.
  bool HasBegun() const { return m_buffer.size() > 0 || (m_parser && m_parser->got_some()); }

  bool HasHead() const { return m_hasHead; }

  // Reads what is there, without waiting. After Continue and More it is called again.
  Result Read(int socket);

  int Refusal() const { return m_refusal; }

  // The request; its head is there once HasHead, and its body with Complete.
  HttpRequest& Request() { return m_request; }

  // A sentence for the client where the request's address can't be served, although it was read well.
  const std::string& Problem() const { return m_problem; }

  bool IsAdmitted() const { return m_isAdmitted; }

  // Whether the client would keep the connection.
  bool KeepsAlive() const { return m_keepAlive; }

  // The request is answered: nobody needs its body any more.
  void DropBody();

  const ConnectionEnds& Ends() const { return m_ends; }

 private:
  using Parser = boost::beast::http::request_parser<boost::beast::http::string_body>;
  using Error = boost::system::error_code;

  Result Refuse(int status);
  Result Refuse(Error error);
  Result Receive(int socket);
  Result Parse();
  Result ParseHead();
  Result TakeHead();
  Result ParseBody();
  int HeadProblem() const;
  void FillRequest();
  std::string FillTarget();
  void HearProxy();

  const ServerOptions& m_options;
  const ConnectionEnds m_ends;
  boost::beast::flat_buffer m_buffer;  // never larger than a head and what is read with it
  std::optional<Parser> m_parser;
  Charge m_charge;
  HttpRequest m_request;
  std::string m_problem;
  int m_refusal = 0;
  bool m_hasHead = false;
  bool m_isAdmitted = true;
  bool m_keepAlive = false;
};

}  // namespace hostlinux
