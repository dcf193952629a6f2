// Where a browser's developer tools find the pages: /json/version and /json/list to discover them, and a
// WebSocket that carries the debugging protocol.
#pragma once

#include <cstdint>
#include <memory>
#include <string>

#include "host-linux/base/UniqueFd.h"
#include "host-linux/script/Inspection.h"

namespace hostlinux {

class InspectorServer {
 public:
  // Serves `listener`, a socket on the loopback interface, from now on. `title` and `url` name the site in
  // the tools. `inspection` outlives the server.
  //
  // Whoever reaches the debugger may run any code here. So that no web page does by way of the developer's
  // own browser, the address has a part that can't be guessed, requests must name the host as a loopback one
  // (a foreign name may be made to point here), and those that come from a web page are refused.
  InspectorServer(Inspection& inspection, UniqueFd listener, std::string title, std::string url);
  // Cuts all connections.
  ~InspectorServer();
  InspectorServer(const InspectorServer&) = delete;
  InspectorServer& operator=(const InspectorServer&) = delete;

  // The debugger's address: "ws://127.0.0.1:9229/4f1c...".
  const std::string& Address() const;

 private:
  class Impl;
  std::unique_ptr<Impl> m_impl;
};

}  // namespace hostlinux
