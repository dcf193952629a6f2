// A server of a test's own, in its process, with pages that are functions.
#pragma once

#include <gtest/gtest.h>

#include <atomic>
#include <future>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "TestClient.h"
#include "host-linux/web/HttpServer.h"
#include "host-linux/web/ListenSocket.h"

namespace hosttest {

using hostlinux::ClientLink;
using hostlinux::HttpRequest;
using hostlinux::HttpResponse;

inline HttpResponse TextResponse(std::string body) {
  HttpResponse response;
  response.headers.Set("Content-Type", "text/plain");
  response.body = std::move(body);
  return response;
}

// What a page saw, as text that a test can compare.
inline HttpResponse Echo(const HttpRequest& request, ClientLink&) {
  return TextResponse(request.method + " " + request.path + " [" + request.rawQuery + "] " +
                      request.serverName + " " + request.body);
}

// Lets pages wait until the test opens it.
class Gate {
 public:
  void Open() { m_promise.set_value(); }
  void Wait() { m_future.wait(); }
  void Arrive() { m_arrived.fetch_add(1); }
  void AwaitArrivals(int count) {
    while (m_arrived < count) std::this_thread::yield();
  }

 private:
  std::promise<void> m_promise;
  std::shared_future<void> m_future = m_promise.get_future().share();
  std::atomic<int> m_arrived = 0;
};

class ServerFixture : public testing::Test {
 protected:
  void Serve(std::function<HttpResponse(const HttpRequest&, ClientLink&)> page) {
    m_handlers.page = std::move(page);
    m_handlers.problem = [this](const std::string& text) {
      const std::lock_guard lock(m_problemsMutex);
      m_problems.push_back(text);
    };
    m_server =
        std::make_unique<hostlinux::HttpServer>(m_options, m_handlers, hostlinux::ListenAt("127.0.0.1:0"));
  }

  TestClient Connect() { return TestClient(m_server->Port()); }

  hostlinux::ServerOptions m_options;
  hostlinux::ServerHandlers m_handlers;
  std::mutex m_problemsMutex;
  std::vector<std::string> m_problems;  // complete when the answer that a problem belongs to has come
  Gate m_gate;
  std::unique_ptr<hostlinux::HttpServer> m_server;  // the last, so that its pages end before what they use
};

}  // namespace hosttest
