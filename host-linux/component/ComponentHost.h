// The host of a program that has the library loaded: its platform, and the request that runs on each thread.
#pragma once

#include <memory>
#include <string>

#include "host-linux/application/LinuxPlatform.h"
#include "host-linux/web/HttpMessage.h"

namespace hostlinux {

// The Linux host's platform with no site around it. What components log goes to standard error, a line each.
class ComponentPlatform : public LinuxPlatform {
 public:
  using LinuxPlatform::LinuxPlatform;
  varnel::ObjectPtr CreateObject(varnel::StringView progID) override;
};

// Sets platform and component server, once; any call comes after the first one.
ComponentPlatform& RequirePlatform();

// Begins a request on this thread. Raises 5 where one is running, or where query or form can't be read.
void BeginRequest(HttpRequest http);
// Ends it, and gives what was written. Raises 5 where none is running.
std::string EndRequest();

// A component of that class: in the running request's context where there is one.
varnel::ObjectPtr MakeComponent(varnel::StringView progID);

void SetApplicationValue(varnel::StringView key, varnel::Variant value);

}  // namespace hostlinux
