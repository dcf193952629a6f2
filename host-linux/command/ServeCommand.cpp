#include "host-linux/command/ServeCommand.h"

#include <unistd.h>

#include <CLI/CLI.hpp>
#include <charconv>
#include <cstdio>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>

#include "host-linux/command/ServerUser.h"
#include "host-linux/command/WorkerCommand.h"
#include "host-linux/services/SiteConfiguration.h"
#include "host-linux/sessions/PrivateFolder.h"
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
ServerUser UserOfPages(const SiteConfiguration& site) {
  if (site.server.user.empty()) return {"", ::geteuid(), ::getegid()};
  return FindServerUser(site.server.user);
}

void Say(const std::string& sentence) { std::fprintf(stderr, "varnel: %s\n", sentence.c_str()); }

// Where browsers find the site.
std::string AddressOf(const std::string& listen, int listener, const std::string& root) {
  if (listen.starts_with("unix:")) return listen + ", " + root + "/";
  const std::string host = listen.substr(0, listen.rfind(':'));
  return "http://" + (host.empty() ? "localhost" : host) + ":" + std::to_string(PortOf(listener)) + root +
         "/";
}

// The socket that is served, and what it is called.
struct Listener {
  UniqueFd socket;
  std::string address;
  bool isOfService = false;  // made by the service manager, which keeps it beyond this server
};

// A socket that was handed over goes before the site's own word, but not beside --listen.
Listener OpenListener(const ServeOptions& serve, const SiteConfiguration& site) {
  Listener listener;
  listener.socket = TakeListenerOfService();
  listener.isOfService = static_cast<bool>(listener.socket);
  if (listener.isOfService) {
    if (!serve.listen.empty())
      throw std::runtime_error("--listen names an address, but the server was handed a socket (LISTEN_FDS)");
    listener.address = AddressOfListener(listener.socket.Get());
    return listener;
  }
  listener.address = serve.listen.empty() ? site.server.listen : serve.listen;
  listener.socket = ListenAt(listener.address, {site.server.socketMode, site.server.socketGroup});
  return listener;
}

std::unique_ptr<PrivateFolder> FolderOfSessions(const SiteConfiguration& site, const ServerUser& user) {
  if (!site.sessions.folder.empty() || site.sessions.store) return nullptr;
  try {
    return std::make_unique<PrivateFolder>(user.uid, user.gid);
  } catch (const std::runtime_error& error) {
    Say("sessions end with their worker: " + std::string(error.what()));
    return nullptr;
  }
}

std::optional<std::string> ReadAgain(const std::string& site) {
  try {
    return ReadSiteConfiguration(site);
  } catch (const ConfigurationError& error) {
    Say(error.what());
    return std::nullopt;
  }
}

int Serve(const ServeOptions& serve) {
  const OwnProgram program;
  SupervisorOptions options;
  options.configuration = ReadSiteConfiguration(serve.site);
  const SiteConfiguration site = ParseSiteConfiguration(options.configuration, serve.site);
  const ServerUser user = UserOfPages(site);
  const UniqueFd debugger = ListenForDebugger(serve, site);
  Listener listener = OpenListener(serve, site);
  if (user.uid == 0) Say(kRootWarning);
  const auto sessions = FolderOfSessions(site, user);
  Say("serving " + site.folder.string() + " on " +
      AddressOf(listener.address, listener.socket.Get(), site.root));
  options.drainLimit = site.server.drainTimeout + std::chrono::seconds(5);
  options.log = Say;
  options.readAgain = [&serve] { return ReadAgain(serve.site); };
  const auto arguments =
      WorkerArguments({serve.site, static_cast<bool>(debugger), site.saysNothing,
                       sessions ? sessions->Path().string() : std::string(), listener.isOfService});
  const auto worker = [&](int listenFd, int linkFd, const std::string& configuration) -> int {
    const UniqueFd text = TextToInherit(configuration);
    std::vector<int> inherited = {listenFd, linkFd, text.Get()};
    if (debugger) inherited.push_back(debugger.Get());
    program.Become(arguments, inherited);
  };
  return Supervise(options, std::move(listener.socket), ConfiguredWorker(worker));
}

int RunServe(const ServeOptions& serve) {
  try {
    return Serve(serve);
  } catch (const std::exception& error) {
    Say(error.what());
    return 1;
  }
}

}  // namespace

void AddServeCommand(CLI::App& app, int& status) {
  const auto options = std::make_shared<ServeOptions>();
  CLI::App* command =
      app.add_subcommand("serve", "Serve a site until SIGTERM; SIGHUP reads its configuration again");
  command->add_option("SITE", options->site, "The site's folder")->capture_default_str();
  command->add_option("--listen", options->listen, "HOST:PORT or unix:/PATH instead of the site's own");
  command->add_flag("--inspect{9229}", options->inspect,
                    "Let a browser's developer tools debug the pages, at this port (development mode only)");
  command->callback([options, &status] { status = RunServe(*options); });
}

}  // namespace hostlinux
