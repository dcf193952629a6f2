#include "varnel/host/Platform.h"

#include "varnel/automation/Error.h"

namespace varnel::host {

namespace {

IPlatform*& Installed() {
  static IPlatform* platform = nullptr;
  return platform;
}

}  // namespace

void SetPlatform(IPlatform* platform) { Installed() = platform; }

IPlatform& Platform() {
  if (Installed() == nullptr) RaiseRuntimeError(runtime_error::kObjectNotSet, u"no platform is set");
  return *Installed();
}

std::shared_ptr<IObjectContext> GetObjectContext() { return Platform().GetObjectContext(); }

IStateGuard* StateGuard() { return Platform().StateGuard(); }

}  // namespace varnel::host
