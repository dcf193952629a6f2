#include "host-linux/command/ServeCommand.h"

#include <unistd.h>

#include <CLI/CLI.hpp>
#include <charconv>
#include <cstdio>
#include <memory>
#include <stdexcept>
#include <string>

#include "host-linux/command/ServerUser.h"
#include "host-linux/command/WorkerCommand.h"
#include "host-linux/services/SiteConfiguration.h"
#include "host-linux/web/ListenSocket.h"
#include "host-linux/web/Supervisor.h"
#include "host-linux/web/WorkerProgram.h"

namespace hostlinux {

namespace {

struct ServeOptions {
  std::string site = ".";
  std::string listen;   // empty: as the site says
  std::string inspect;  // the debugger's port; empty: none
};

// The debugger's port: a number up to 65535, 0 for any free one.
int InspectPort(const std::string& text) {
  int port = -1;
  const auto [end, failure] = std::from_chars(text.data(), text.data() + text.size(), port);
  const bool read = failure == std::errc() && end == text.data() + text.size();
  if (!read || port < 0 || port > 65535)
    throw std::runtime_error("--inspect takes a port from 0 to 65535, not " + text);
  return port;
}

// Listens for debuggers, on the loopback interface only: whoever reaches that port may run any code.
UniqueFd ListenForDebugger(const ServeOptions& serve, const SiteConfiguration& site) {
  if (serve.inspect.empty()) return {};
  if (site.mode != SiteConfiguration::Mode::Development)
    throw std::runtime_error("--inspect is for development: site.toml must say mode = \"development\"");
  return ListenAt("127.0.0.1:" + std::to_string(InspectPort(serve.inspect)));
}

// The user of the pages: without one in site.toml, whoever started the server.
uid_t UserOfPages(const SiteConfiguration& site) {
  return site.server.user.empty() ? ::geteuid() : FindServerUser(site.server.user).uid;
}

int RunServe(const ServeOptions& serve) {
  try {
    const OwnProgram program;
    const SiteConfiguration site = LoadSiteConfiguration(serve.site);
    const uid_t user = UserOfPages(site);
    const UniqueFd debugger = ListenForDebugger(serve, site);
    UniqueFd listener = ListenAt(serve.listen.empty() ? site.server.listen : serve.listen);
    const std::string host = serve.listen.empty() ? site.server.listen : serve.listen;
    const std::string address =
        host.substr(0, host.rfind(':')) + ":" + std::to_string(PortOf(listener.Get()));
    if (user == 0) std::fprintf(stderr, "varnel: %s\n", kRootWarning);
    std::fprintf(stderr, "varnel: serving %s on http://%s%s/\n", site.folder.c_str(), address.c_str(),
                 site.root.c_str());
    SupervisorOptions options;
    options.drainLimit = site.server.drainTimeout + std::chrono::seconds(5);
    options.log = [](const std::string& text) { std::fprintf(stderr, "varnel: %s\n", text.c_str()); };
    const auto arguments = WorkerArguments({serve.site, static_cast<bool>(debugger), site.saysNothing});
    return Supervise(options, std::move(listener), [&](int listenFd, int linkFd) -> int {
      std::vector<int> inherited = {listenFd, linkFd};
      if (debugger) inherited.push_back(debugger.Get());
      program.Become(arguments, inherited);
    });
  } catch (const std::exception& error) {
    std::fprintf(stderr, "varnel: %s\n", error.what());
    return 1;
  }
}

}  // namespace

void AddServeCommand(CLI::App& app, int& status) {
  const auto options = std::make_shared<ServeOptions>();
  CLI::App* command =
      app.add_subcommand("serve", "Serve a site until SIGTERM; SIGHUP reads its configuration again");
  command->add_option("SITE", options->site, "The site's folder")->capture_default_str();
  command->add_option("--listen", options->listen, "HOST:PORT instead of the site's own");
  command->add_flag("--inspect{9229}", options->inspect,
                    "Let a browser's developer tools debug the pages, at this port (development mode only)");
  command->callback([options, &status] { status = RunServe(*options); });
}

}  // namespace hostlinux
