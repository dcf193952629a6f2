#include "host-linux/application/PageFunctions.h"

#include "host-linux/intrinsics/ObjectContext.h"
#include "varnel/automation/Error.h"

namespace hostlinux {

namespace {

varnel::Variant FormToken(varnel::Arguments) {
  const auto context = CurrentContext();
  const auto session = context == nullptr ? nullptr : context->Objects().session;
  if (session == nullptr)
    varnel::RaiseRuntimeError(
        varnel::runtime_error::kInvalidArgument,
        u"FormToken: a page with EnableSessionState=False has no session to make a token of");
  return session->FormToken();
}

}  // namespace

std::vector<HostFunction> PageFunctions() { return {{"FormToken", &FormToken}}; }

}  // namespace hostlinux
