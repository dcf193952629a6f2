#include "host-linux/command/ServeCommand.h"

#include <sys/resource.h>

#include <CLI/CLI.hpp>
#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <string>
#include <thread>

#include "host-linux/application/SiteHost.h"
#include "host-linux/services/Log.h"
#include "host-linux/web/HttpServer.h"
#include "host-linux/web/ListenSocket.h"
#include "host-linux/web/Supervisor.h"

namespace hostlinux {

namespace {

struct ServeOptions {
  std::string site = ".";
  std::string listen;  // empty: as the site says
};

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

ServerHandlers HandlersOf(SiteHost& host) {
  ServerHandlers handlers;
  handlers.quick = [&host](const HttpRequest& request) { return host.AnswerQuickly(request); };
  handlers.page = [&host](const HttpRequest& request, ClientLink& link) {
    return host.AnswerPage(request, link);
  };
  handlers.finished = [](const AccessEntry& entry) { WriteLog(LogLevel::Info, AccessLine(entry)); };
  handlers.problem = [](const std::string& problem) { WriteLog(LogLevel::Error, problem); };
  return handlers;
}

// A page that can't be stopped takes its process with it, once another one serves.
void ReplaceProcess(const std::string& page) {
  WriteLog(LogLevel::Error, page + " can't be stopped: another worker takes this one's place");
  AskForReplacement();
}

int Serve(const ServeOptions& serve, int listenFd, const std::function<void()>& ready) {
  const SiteConfiguration site = LoadSiteConfiguration(serve.site);
  StartLog(site);
  {
    ScriptRuntime::Options runtimeOptions;
    runtimeOptions.onStuck = ReplaceProcess;
    ScriptRuntime runtime(std::move(runtimeOptions));
    SiteHost host(site, runtime, {});
    HttpServer server(ServerOptionsOf(site), HandlersOf(host), UniqueFd(listenFd));
    ready();
    WriteLog(LogLevel::Info,
             "Serving " + site.root + "/ with " + std::to_string(ThreadsOf(site)) + " script threads");
    const bool last = WaitForStop() == Stop::End;
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

int Worker(const ServeOptions& serve, int listenFd, const std::function<void()>& ready) {
  try {
    return Serve(serve, listenFd, ready);
  } catch (const std::exception& error) {
    std::fprintf(stderr, "varnel: %s\n", error.what());
    return 1;
  }
}

int RunServe(const ServeOptions& serve) {
  try {
    const SiteConfiguration site = LoadSiteConfiguration(serve.site);
    UniqueFd listener = ListenAt(serve.listen.empty() ? site.server.listen : serve.listen);
    const std::string host = serve.listen.empty() ? site.server.listen : serve.listen;
    const std::string address =
        host.substr(0, host.rfind(':')) + ":" + std::to_string(PortOf(listener.Get()));
    std::fprintf(stderr, "varnel: serving %s on http://%s%s/\n", site.folder.c_str(), address.c_str(),
                 site.root.c_str());
    SupervisorOptions options;
    options.drainLimit = site.server.drainTimeout + std::chrono::seconds(5);
    options.log = [](const std::string& text) { std::fprintf(stderr, "varnel: %s\n", text.c_str()); };
    return Supervise(options, std::move(listener),
                     [&serve](int listenFd, const std::function<void()>& ready) {
                       return Worker(serve, listenFd, ready);
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
  command->callback([options, &status] { status = RunServe(*options); });
}

}  // namespace hostlinux
