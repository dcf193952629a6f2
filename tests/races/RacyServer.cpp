// Serves SITE at PORT with a class that races, until SIGTERM.

#include <cstdio>
#include <cstdlib>
#include <memory>
#include <string>

#include "host-linux/application/SiteHost.h"
#include "host-linux/services/Log.h"
#include "host-linux/web/HttpServer.h"
#include "host-linux/web/ListenSocket.h"
#include "host-linux/web/Supervisor.h"
#include "varnel/automation/Members.h"

namespace {

using namespace hostlinux;

// The race: all pages count here, and nothing keeps them apart.
varnel::Long plantedCount = 0;

class PlantedCounter : public varnel::Object {
 public:
  const varnel::ClassInfo& Class() const override {
    static const varnel::ClassInfo info{u"Counter", {varnel::Method<&PlantedCounter::Add>(u"Add")}};
    return info;
  }
  varnel::Long Add() { return ++plantedCount; }
};

varnel::ObjectPtr MakeOwn(varnel::StringView progID) {
  if (!varnel::EqualsNoCase(progID, u"Test.Counter")) return nullptr;
  return std::make_shared<PlantedCounter>();
}

int Serve(const std::string& folder, const std::string& port) {
  const SiteConfiguration site = LoadSiteConfiguration(folder);
  BlockStopSignals();
  StartLog(site);
  ScriptRuntime runtime({});
  SiteHost host(site, runtime, {{}, MakeOwn});
  ServerHandlers handlers;
  handlers.quick = [&](const HttpRequest& request) { return host.AnswerQuickly(request); };
  handlers.page = [&](const HttpRequest& request, ClientLink& link) {
    return host.AnswerPage(request, link);
  };
  HttpServer server({}, handlers, ListenAt("127.0.0.1:" + port));
  WaitForStop();
  server.Drain(std::chrono::seconds(10));
  return 0;
}

}  // namespace

int main(int count, char** arguments) {
  if (count != 3) return 2;
  const int status = Serve(arguments[1], arguments[2]);
  StopLog();
  return status;
}
