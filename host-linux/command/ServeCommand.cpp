#include "host-linux/command/ServeCommand.h"

#include <sys/resource.h>
#include <unistd.h>

#include <CLI/CLI.hpp>
#include <algorithm>
#include <charconv>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <stdexcept>
#include <string>
#include <thread>

#include "host-linux/application/SiteHost.h"
#include "host-linux/inspector/InspectedThread.h"
#include "host-linux/inspector/InspectorServer.h"
#include "host-linux/services/Log.h"
#include "host-linux/web/HttpServer.h"
#include "host-linux/web/ListenSocket.h"
#include "host-linux/web/Supervisor.h"

namespace hostlinux {

namespace {

struct ServeOptions {
  std::string site = ".";
  std::string listen;   // empty: as the site says
  std::string inspect;  // the debugger's port; empty: none
};

// What lets a debugger look into the pages, while it may.
struct Debugging {
  Debugging(const SiteConfiguration& site, SiteHost& host, Inspection& inspection, UniqueFd listener)
      : thread(inspection, [&host] { host.Inspect(); }),
        server(inspection, std::move(listener), site.folder.string(),
               "http://" + site.server.listen + site.root) {}
  InspectedThread thread;
  InspectorServer server;
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

unsigned ThreadsOf(const SiteConfiguration& site) {
  if (site.server.threads > 0) return static_cast<unsigned>(site.server.threads);
  return std::max(2U, std::thread::hardware_concurrency());
}

// Lets the process have a descriptor for each connection, and one for what it may read from, or as many
// connections as the system grants.
std::size_t ConnectionsFor(std::size_t wanted) {
  constexpr rlim_t Others = 512;  // databases, files, the log
  rlimit files{};
  if (::getrlimit(RLIMIT_NOFILE, &files) != 0) return wanted;
  const rlim_t needed = std::min<rlim_t>(files.rlim_max, wanted * 2 + Others);
  if (files.rlim_cur < needed) {
    files.rlim_cur = needed;
    ::setrlimit(RLIMIT_NOFILE, &files);
  }
  const rlim_t granted = files.rlim_cur > Others * 2 ? files.rlim_cur - Others : files.rlim_cur / 2;
  return std::min<std::size_t>(wanted, granted);
}

ServerOptions ServerOptionsOf(const SiteConfiguration& site) {
  ServerOptions options;
  options.threads = ThreadsOf(site);
  options.maxQueue = site.server.maxWaiting;
  options.maxHead = static_cast<std::uint32_t>(site.server.maxHeader);
  options.maxTarget = site.server.maxUrl;
  options.maxBody = site.server.maxBody;
  options.maxBodies = site.server.maxBodies;
  options.maxConnections = ConnectionsFor(site.server.maxConnections);
  options.idleTimeout = site.server.idleTimeout;
  options.headTimeout = site.server.headerTimeout;
  options.bodyTimeout = site.server.bodyTimeout;
  options.writeTimeout = site.server.writeTimeout;
  for (const auto& [name, value] : site.headers) options.headers.push_back({name, value});
  options.trustedProxies = site.server.trustedProxies;
  return options;
}

std::string AccessLine(const AccessEntry& entry) {
  return "[" + entry.id + "] " + entry.remoteAddress + " " + entry.method + " " + entry.target + " " +
         std::to_string(entry.status) + " " + std::to_string(entry.bodyBytes) + " bytes " +
         std::to_string(entry.duration.count()) + " us";
}

ServerHandlers HandlersOf(SiteHost& host, InspectedThread* inspected) {
  ServerHandlers handlers;
  handlers.quick = [&host](const HttpRequest& request) { return host.AnswerQuickly(request); };
  handlers.page = [&host, inspected](HttpRequest request, ClientLink& link) {
    if (inspected == nullptr) return host.AnswerPage(std::move(request), link);
    HttpResponse response;
    inspected->Run([&] { response = host.AnswerPage(std::move(request), link); });
    return response;
  };
  handlers.finished = [](const AccessEntry& entry) { WriteLog(LogLevel::Info, AccessLine(entry)); };
  handlers.problem = [](const std::string& problem) { WriteLog(LogLevel::Error, problem); };
  return handlers;
}

// A page that can't be stopped takes its process with it, once another one serves.
void ReplaceProcess(const PagePlace& place, const std::string& what) {
  const RequestLogScope scope(place.request);
  WriteLog(LogLevel::Error, PlaceText(place) + " " + what + ": another worker takes this one's place");
  AskForReplacement();
}

int Serve(const ServeOptions& serve, int listenFd, UniqueFd debuggerFd, const std::function<void()>& ready) {
  SiteConfiguration site = LoadSiteConfiguration(serve.site);
  const bool inspected = static_cast<bool>(debuggerFd);
  if (inspected) site.server.threads = 1;
  StartLog(site);
  {
    ScriptRuntime::Options runtimeOptions;
    runtimeOptions.stuckAfter = site.server.stuckTimeout;
    runtimeOptions.onStuck = [](const PagePlace& place) { ReplaceProcess(place, "can't be stopped"); };
    runtimeOptions.onLost = [](const PagePlace& place, const std::string& reason) {
      ReplaceProcess(place, "made the script engine give up (" + reason + ")");
    };
    ScriptRuntime runtime(std::move(runtimeOptions));
    Inspection inspection;
    SiteHost host(site, runtime, {{}, {}, inspected ? &inspection : nullptr});
    std::unique_ptr<Debugging> debugging;
    if (inspected) debugging = std::make_unique<Debugging>(site, host, inspection, std::move(debuggerFd));
    HttpServer server(ServerOptionsOf(site), HandlersOf(host, debugging ? &debugging->thread : nullptr),
                      UniqueFd(listenFd));
    ready();
    if (debugging) std::fprintf(stderr, "varnel: debugger at %s\n", debugging->server.Address().c_str());
    WriteLog(LogLevel::Info,
             "Serving " + site.root + "/ with " + std::to_string(ThreadsOf(site)) + " script threads");
    const bool last = WaitForStop() == Stop::End;
    inspection.End();
    const auto backlog = last ? HttpServer::Backlog::Take : HttpServer::Backlog::LeaveToOthers;
    if (!server.Drain(site.server.drainTimeout, backlog)) {
      WriteLog(LogLevel::Warning, "Some requests were cut: they didn't end in time");
      StopLog();
      std::_Exit(1);  // a page that never ends would be waited for without end
    }
  }
  WriteLog(LogLevel::Info, "Served");
  StopLog();
  return 0;
}

int Worker(const ServeOptions& serve, int listenFd, UniqueFd debuggerFd, const std::function<void()>& ready) {
  try {
    return Serve(serve, listenFd, std::move(debuggerFd), ready);
  } catch (const std::exception& error) {
    std::fprintf(stderr, "varnel: %s\n", error.what());
    return 1;
  }
}

int RunServe(const ServeOptions& serve) {
  try {
    const SiteConfiguration site = LoadSiteConfiguration(serve.site);
    const UniqueFd debugger = ListenForDebugger(serve, site);
    UniqueFd listener = ListenAt(serve.listen.empty() ? site.server.listen : serve.listen);
    const std::string host = serve.listen.empty() ? site.server.listen : serve.listen;
    const std::string address =
        host.substr(0, host.rfind(':')) + ":" + std::to_string(PortOf(listener.Get()));
    std::fprintf(stderr, "varnel: serving %s on http://%s%s/\n", site.folder.c_str(), address.c_str(),
                 site.root.c_str());
    SupervisorOptions options;
    options.drainLimit = site.server.drainTimeout + std::chrono::seconds(5);
    options.log = [](const std::string& text) { std::fprintf(stderr, "varnel: %s\n", text.c_str()); };
    return Supervise(options, std::move(listener), [&](int listenFd, const std::function<void()>& ready) {
      return Worker(serve, listenFd, UniqueFd(debugger ? ::dup(debugger.Get()) : -1), ready);
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
