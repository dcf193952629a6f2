#include "host-linux/command/WorkerCommand.h"

#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <unistd.h>

#include <CLI/CLI.hpp>
#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <stdexcept>
#include <thread>

#include "host-linux/application/SiteHost.h"
#include "host-linux/base/Random.h"
#include "host-linux/base/Repeater.h"
#include "host-linux/command/ServerUser.h"
#include "host-linux/command/SessionStoreOptions.h"
#include "host-linux/inspector/InspectedThread.h"
#include "host-linux/inspector/InspectorServer.h"
#include "host-linux/services/Log.h"
#include "host-linux/sessions/PrivateFolder.h"
#include "host-linux/sessions/SessionFile.h"
#include "host-linux/web/AddressLimit.h"
#include "host-linux/web/HttpServer.h"
#include "host-linux/web/Supervisor.h"
#include "host-linux/web/WorkerProgram.h"

namespace hostlinux {

namespace {

constexpr char kCommand[] = "worker";

// What it inherits from its supervisor, in this order.
struct Inheritance {
  UniqueFd listener;
  UniqueFd link;
  std::string configuration;
  UniqueFd debugger;
};

bool IsListening(int fd) {
  int listening = 0;
  socklen_t size = sizeof listening;
  return ::getsockopt(fd, SOL_SOCKET, SO_ACCEPTCONN, &listening, &size) == 0 && listening != 0;
}

Inheritance TakeInheritance(const WorkerOptions& options) {
  if (!IsListening(kFirstInherited)) throw std::runtime_error("workers are started by varnel serve");
  Inheritance inheritance{TakeInherited(0), TakeInherited(1), TakeInheritedText(2), UniqueFd()};
  if (options.debugger) inheritance.debugger = TakeInherited(3);
  return inheritance;
}

// A file without a section may be one that is just being written: with it the site would move to other
// addresses.
SiteConfiguration ReadConfiguration(const std::string& text, const WorkerOptions& options) {
  SiteConfiguration site = ParseSiteConfiguration(text, options.site);
  if (site.saysNothing && !options.mayBeEmpty)
    throw ConfigurationError("site.toml is empty, as it wasn't at the start: it isn't taken");
  return site;
}

void TakeUser(const SiteConfiguration& site) {
  if (!site.server.user.empty()) BecomeServerUser(FindServerUser(site.server.user));
  RefuseNewRights();
}

// What lets a debugger look into the pages, while it may.
struct Debugging {
  Debugging(const SiteConfiguration& site, SiteHost& host, Inspection& inspection, UniqueFd listener)
      : thread(inspection, [&host] { host.Inspect(); }),
        server(inspection, std::move(listener), site.folder.string(),
               "http://" + site.server.listen + site.root) {}
  InspectedThread thread;
  InspectorServer server;
};

unsigned ThreadsOf(const SiteConfiguration& site) {
  if (site.server.threads > 0) return static_cast<unsigned>(site.server.threads);
  return std::max(2U, std::thread::hardware_concurrency());
}

// Lets the process have a descriptor for each connection, and one for what it may read from, or as many
// connections as the system grants.
std::size_t ConnectionsFor(std::size_t wanted) {
  constexpr rlim_t kOthers = 512;  // databases, files, the log
  rlimit files{};
  if (::getrlimit(RLIMIT_NOFILE, &files) != 0) return wanted;
  const rlim_t needed = std::min<rlim_t>(files.rlim_max, wanted * 2 + kOthers);
  if (files.rlim_cur < needed) {
    files.rlim_cur = needed;
    ::setrlimit(RLIMIT_NOFILE, &files);
  }
  const rlim_t granted = files.rlim_cur > kOthers * 2 ? files.rlim_cur - kOthers : files.rlim_cur / 2;
  return std::min<std::size_t>(wanted, granted);
}

std::function<bool(const HttpRequest&)> AdmittanceOf(const SiteConfiguration& site) {
  if (site.limits.requests == 0) return {};
  AddressLimit::Options options;
  options.perMinute = site.limits.requests;
  options.refused = [](const std::string& address) {
    WriteLog(LogLevel::Warning, address + " sends more requests than [limits] requests allows");
  };
  return [limit = std::make_shared<AddressLimit>(std::move(options))](const HttpRequest& request) {
    return !HasOwnAddress(request) || limit->Take(request.remoteAddress).count() == 0;
  };
}

// Where sessions are kept, and what is to be done for them about once a second.
struct KeptSessions {
  std::shared_ptr<ISessionArchive> archive;
  std::function<void()> tidy = [] {};
};

void WarnOfSessions(const std::string& sentence) { WriteLog(LogLevel::Warning, sentence); }

// Where there can be no file of sessions they end with this process.
KeptSessions OpenSessionFile(const SiteConfiguration& site, const WorkerOptions& worker) {
  SessionFile::Options options;
  options.isDurable = !site.sessions.folder.empty();
  options.folder =
      options.isDurable ? site.folder / site.sessions.folder : std::filesystem::path(worker.sessions);
  options.maxBytes = site.sessions.maxBytes;
  options.log = WarnOfSessions;
  if (options.folder.empty()) return {};
  try {
    const auto file = std::make_shared<SessionFile>(std::move(options));
    return {file, [file] { file->Tidy(); }};
  } catch (const ArchiveFailure& failure) {
    WarnOfSessions(failure.what() + std::string(": they end with the worker"));
    return {};
  }
}

// One that isn't there yet is told, and needed by the pages that ask for their session only.
KeptSessions OpenSessionStore(const SiteConfiguration& site) {
  const auto store = std::make_shared<RedisSessions>(SessionStoreOptions(site, WarnOfSessions));
  WriteLog(LogLevel::Info, "Sessions are kept by " + site.sessions.store->Name());
  try {
    store->Head(RandomToken());
  } catch (const ArchiveFailure&) {
  }
  return {store, [store] { store->Tidy(); }};
}

ServerOptions ServerOptionsOf(const SiteConfiguration& site) {
  ServerOptions options;
  options.threads = ThreadsOf(site);
  options.maxQueue = site.server.maxWaiting;
  options.maxHead = static_cast<std::uint32_t>(site.server.maxHeader);
  options.maxTarget = site.server.maxUrl;
  options.maxBody = site.server.maxBody;
  options.maxBodies = site.server.maxBodies;
  options.maxUnread = site.server.maxUnread;
  options.maxUnreadTogether = site.server.maxUnreadTogether;
  options.maxConnections = ConnectionsFor(site.server.maxConnections);
  options.idleTimeout = site.server.idleTimeout;
  options.headTimeout = site.server.headerTimeout;
  options.bodyTimeout = site.server.bodyTimeout;
  options.writeTimeout = site.server.writeTimeout;
  for (const auto& [name, value] : site.headers) options.headers.push_back({name, value});
  options.trustedProxies = site.server.trustedProxies;
  options.admits = AdmittanceOf(site);
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
void ReplaceProcess(const PagePlace& place, const std::string& what, int linkFd) {
  const RequestLogScope scope(place.request);
  WriteLog(LogLevel::Error, PlaceText(place) + " " + what + ": another worker takes this one's place");
  AskForReplacement(linkFd);
}

// The supervisor removes the folder of sessions; one that was killed couldn't.
void LeaveNothing(const WorkerOptions& options, pid_t supervisor) {
  if (!options.sessions.empty() && ::getppid() != supervisor) RemovePrivateFolder(options.sessions);
}

int Serve(const WorkerOptions& options) {
  const pid_t supervisor = ::getppid();
  Inheritance inheritance = TakeInheritance(options);
  SiteConfiguration site = ReadConfiguration(inheritance.configuration, options);
  TakeUser(site);
  const bool inspected = static_cast<bool>(inheritance.debugger);
  if (inspected) site.server.threads = 1;
  StartLog(site);
  if (::geteuid() == 0) WriteLog(LogLevel::Warning, kRootWarning);
  {
    const int linkFd = inheritance.link.Get();
    ScriptRuntime::Options runtimeOptions;
    runtimeOptions.stuckAfter = site.server.stuckTimeout;
    runtimeOptions.onStuck = [linkFd](const PagePlace& place) {
      ReplaceProcess(place, "can't be stopped", linkFd);
    };
    runtimeOptions.onLost = [linkFd](const PagePlace& place, const std::string& reason) {
      if (const auto context = CurrentContext()) context->Objects().application->Unlock();
      ReplaceProcess(place, "made the script engine give up (" + reason + ")", linkFd);
    };
    ScriptRuntime runtime(std::move(runtimeOptions));
    Inspection inspection;
    const KeptSessions sessions =
        site.sessions.store ? OpenSessionStore(site) : OpenSessionFile(site, options);
    SiteHost::Options hostOptions;
    hostOptions.inspection = inspected ? &inspection : nullptr;
    hostOptions.sessions = sessions.archive;
    SiteHost host(site, runtime, std::move(hostOptions));
    const Repeater tidying(std::chrono::seconds(1), [&] {
      host.TidySessions();
      sessions.tidy();
    });
    std::unique_ptr<Debugging> debugging;
    if (inspected)
      debugging = std::make_unique<Debugging>(site, host, inspection, std::move(inheritance.debugger));
    HttpServer server(ServerOptionsOf(site), HandlersOf(host, debugging ? &debugging->thread : nullptr),
                      std::move(inheritance.listener));
    TellReady(linkFd);
    if (debugging) std::fprintf(stderr, "varnel: debugger at %s\n", debugging->server.Address().c_str());
    WriteLog(LogLevel::Info,
             "Serving " + site.root + "/ with " + std::to_string(ThreadsOf(site)) + " script threads");
    const bool last = WaitForStop() == Stop::End && !options.leavesBacklog;
    inspection.End();
    const auto backlog = last ? HttpServer::Backlog::Take : HttpServer::Backlog::LeaveToOthers;
    if (!server.Drain(site.server.drainTimeout, backlog)) {
      WriteLog(LogLevel::Warning, "Some requests were cut: they didn't end in time");
      StopLog();
      LeaveNothing(options, supervisor);
      std::_Exit(1);  // a page that never ends would be waited for without end
    }
  }
  WriteLog(LogLevel::Info, "Served");
  StopLog();
  LeaveNothing(options, supervisor);
  return 0;
}

int RunWorker(const WorkerOptions& options) {
  // Started by its file's descriptor, it would be listed under that number.
  ::prctl(PR_SET_NAME, "varnel");
  try {
    return Serve(options);
  } catch (const std::exception& error) {
    std::fprintf(stderr, "varnel: %s\n", error.what());
    return 1;
  }
}

}  // namespace

std::vector<std::string> WorkerArguments(const WorkerOptions& options) {
  std::vector<std::string> arguments = {kCommand};
  if (options.debugger) arguments.emplace_back("--debugger");
  if (options.mayBeEmpty) arguments.emplace_back("--may-be-empty");
  if (!options.sessions.empty()) arguments.insert(arguments.end(), {"--sessions", options.sessions});
  if (options.leavesBacklog) arguments.emplace_back("--leave-backlog");
  arguments.emplace_back("--");
  arguments.push_back(options.site);
  return arguments;
}

void AddWorkerCommand(CLI::App& app, int& status) {
  const auto options = std::make_shared<WorkerOptions>();
  CLI::App* command = app.add_subcommand(kCommand, "What varnel serve starts");
  command->group("");  // not for people
  command->add_option("SITE", options->site)->required();
  command->add_flag("--debugger", options->debugger);
  command->add_flag("--may-be-empty", options->mayBeEmpty);
  command->add_option("--sessions", options->sessions);
  command->add_flag("--leave-backlog", options->leavesBacklog);
  command->callback([options, &status] { status = RunWorker(*options); });
}

}  // namespace hostlinux
