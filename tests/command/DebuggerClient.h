// A debugger's client: speaks the debugging protocol over a WebSocket, as a browser's developer tools do.
#pragma once

#include <boost/asio/connect.hpp>
#include <boost/asio/ip/tcp.hpp>
#include <boost/beast/core/buffers_to_string.hpp>
#include <boost/beast/core/flat_buffer.hpp>
#include <boost/beast/websocket.hpp>
#include <chrono>
#include <deque>
#include <functional>
#include <stdexcept>
#include <string>

namespace hosttest {

class DebuggerClient {
 public:
  // Connects to an address such as "ws://127.0.0.1:9229/4f1c".
  explicit DebuggerClient(const std::string& address) : m_socket(m_context) {
    const std::size_t host = std::string("ws://").size();
    const std::size_t slash = address.find('/', host);
    const std::string authority = address.substr(host, slash - host);
    const std::size_t colon = authority.rfind(':');
    const boost::asio::ip::tcp::endpoint place(
        boost::asio::ip::make_address(authority.substr(0, colon)),
        static_cast<std::uint16_t>(std::stoi(authority.substr(colon + 1))));
    m_socket.next_layer().connect(place);
    m_socket.handshake(authority, address.substr(slash));
  }

  // Sends a command and gives its answer; events that come before are kept.
  std::string Ask(const std::string& method, const std::string& parameters = "{}") {
    const std::string id = std::to_string(++m_lastId);
    m_socket.write(boost::asio::buffer("{\"id\":" + id + ",\"method\":\"" + method +
                                       "\",\"params\":" + parameters + "}"));
    return Await([&](const std::string& message) { return message.starts_with("{\"id\":" + id + ","); });
  }

  // The next event of that name in which `text` occurs.
  std::string AwaitEvent(const std::string& method, const std::string& text = "") {
    return Await([&](const std::string& message) {
      return message.starts_with("{\"method\":\"" + method + "\"") && message.find(text) != std::string::npos;
    });
  }

  // Goes without a word, as a closed browser does.
  void Vanish() { m_socket.next_layer().close(); }

 private:
  std::string Await(const std::function<bool(const std::string&)>& fits) {
    for (auto kept = m_kept.begin(); kept != m_kept.end(); ++kept) {
      if (!fits(*kept)) continue;
      std::string message = std::move(*kept);
      m_kept.erase(kept);
      return message;
    }
    while (true) {
      std::string message = Read();
      if (fits(message)) return message;
      m_kept.push_back(std::move(message));
    }
  }

  // The limit only keeps a failing test from hanging.
  std::string Read() {
    boost::beast::flat_buffer buffer;
    boost::system::error_code failure = boost::asio::error::timed_out;
    m_socket.async_read(buffer, [&](boost::system::error_code error, std::size_t) { failure = error; });
    m_context.restart();
    m_context.run_for(std::chrono::seconds(20));
    if (failure) throw std::runtime_error("The debugger is silent: " + failure.message());
    return boost::beast::buffers_to_string(buffer.data());
  }

  boost::asio::io_context m_context;
  boost::beast::websocket::stream<boost::asio::ip::tcp::socket> m_socket;
  std::deque<std::string> m_kept;
  int m_lastId = 0;
};

}  // namespace hosttest
