#include "host-linux/component/ComponentHost.h"

#include <cstdio>

#include "host-linux/application/KnownEngines.h"
#include "host-linux/intrinsics/ObjectContext.h"
#include "host-linux/services/SiteConfiguration.h"
#include "varnel/automation/Error.h"
#include "varnel/automation/Members.h"
#include "varnel/component/ComponentServer.h"
#include "varnel/component/InProcessServer.h"
#include "varnel/host/ILog.h"

namespace hostlinux {

namespace {

class StandardErrorLog : public varnel::Object, public varnel::host::ILog {
 public:
  const varnel::ClassInfo& Class() const override {
    static const varnel::ClassInfo info{u"Log",
                                        {varnel::Method<&StandardErrorLog::WriteEntry>(u"WriteEntry")
                                             .Taking(u"iSource, iText, iLevel, iExtra")}};
    return info;
  }
  void WriteEntry(varnel::String& ioSource, varnel::String& ioText, varnel::Long& ioLevel,
                  varnel::Variant&) override {
    std::string line = ioLevel == 0 ? "error " : "info ";
    line += varnel::ToUtf8(ioSource) + ": " + varnel::ToUtf8(ioText);
    for (char& c : line) {
      if (static_cast<unsigned char>(c) < 0x20 || c == 0x7F) c = ' ';
    }
    std::fprintf(stderr, "%s\n", line.c_str());
  }
};

std::shared_ptr<ApplicationState> TheApplication() {
  static const auto state = std::make_shared<ApplicationState>();
  return state;
}

std::shared_ptr<SessionStore> TheSessions() {
  static const auto sessions = std::make_shared<SessionStore>(SessionStore::Options());
  return sessions;
}

// The request that runs on this thread.
struct RunningRequest {
  ObjectContext::Intrinsics intrinsics;
  std::unique_ptr<ContextGuard> guard;
};

std::unique_ptr<RunningRequest>& Running() {
  thread_local std::unique_ptr<RunningRequest> running;
  return running;
}

[[noreturn]] void RaiseInvalid(varnel::StringView what) {
  varnel::RaiseRuntimeError(varnel::runtime_error::kInvalidArgument, what);
}

class LoadedServer : public varnel::com::InProcessServer {
 public:
  // There is no registry to enter classes in: they are found in the library itself.
  LoadedServer() : InProcessServer(nullptr, nullptr) {}

  varnel::Long GetClassObject(const void* classID, const void* interfaceID, void** object) override {
    RequirePlatform();
    return InProcessServer::GetClassObject(classID, interfaceID, object);
  }
};

// The loader's call, before any export's: the exports have their server, and nothing else happens yet.
__attribute__((constructor)) void Loaded() {
  static auto* server = new LoadedServer;
  varnel::SetComponentServer(server);
}

}  // namespace

varnel::ObjectPtr ComponentPlatform::CreateObject(varnel::StringView progID) {
  if (varnel::EqualsNoCase(progID, u"Ostrand.Log")) return std::make_shared<StandardErrorLog>();
  return LinuxPlatform::CreateObject(progID);
}

// Never freed: objects may be released while the program ends.
ComponentPlatform& RequirePlatform() {
  static ComponentPlatform* platform = [] {
    static const auto* site = new SiteConfiguration;
    AdoOptions options;
    options.engines = KnownEngines();
    auto* made = new ComponentPlatform(*site, AdoDatabase::Make(std::move(options)));
    varnel::host::SetPlatform(made);
    return made;
  }();
  return *platform;
}

void BeginRequest(HttpRequest http) {
  ComponentPlatform& platform = RequirePlatform();
  if (Running() != nullptr) RaiseInvalid(u"a request is running already");
  auto request = std::make_shared<PageRequest>();
  const std::string refused = ReadPageRequest(std::move(http), {}, *request);
  if (!refused.empty()) RaiseInvalid(varnel::FromUtf8(refused));
  auto running = std::make_unique<RunningRequest>();
  running->intrinsics = {std::make_shared<Request>(request), std::make_shared<Response>(Response::Options()),
                         std::make_shared<Session>(TheSessions(), "", Session::Options()),
                         std::make_shared<Application>(TheApplication()),
                         std::make_shared<hostlinux::Server>(hostlinux::Server::Options())};
  running->guard = std::make_unique<ContextGuard>(std::make_shared<ObjectContext>(
      running->intrinsics, [&platform](varnel::StringView progID) { return platform.CreateObject(progID); }));
  Running() = std::move(running);
}

std::string EndRequest() {
  const std::unique_ptr<RunningRequest> ended = std::move(Running());
  if (ended == nullptr) RaiseInvalid(u"no request is running");
  CurrentContext()->End();
  return ended->intrinsics.response->Take().body;
}

varnel::ObjectPtr MakeComponent(varnel::StringView progID) {
  ComponentPlatform& platform = RequirePlatform();
  if (const auto context = CurrentContext()) return context->CreateInstance(progID);
  return platform.CreateObject(progID);
}

void SetApplicationValue(varnel::StringView key, varnel::Variant value) {
  TheApplication()->Set(key, std::move(value));
}

}  // namespace hostlinux
