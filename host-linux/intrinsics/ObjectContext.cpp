#include "host-linux/intrinsics/ObjectContext.h"

#include "varnel/automation/Error.h"

namespace hostlinux {

using varnel::ObjectPtr;
using varnel::StringView;
using varnel::host::IObjectControl;

namespace {

thread_local std::shared_ptr<ObjectContext> currentContext;

}  // namespace

ObjectContext::ObjectContext(Intrinsics intrinsics, Factory factory)
    : m_intrinsics(std::move(intrinsics)), m_factory(std::move(factory)) {
  if (!m_intrinsics.session || !m_intrinsics.response) return;
  m_intrinsics.response->OnHead(
      [session = m_intrinsics.session](HttpResponse& head) { session->CompleteHead(head); });
}

ObjectPtr ObjectContext::Item(StringView name) {
  if (varnel::EqualsNoCase(name, u"Request")) return m_intrinsics.request;
  if (varnel::EqualsNoCase(name, u"Response")) return m_intrinsics.response;
  if (varnel::EqualsNoCase(name, u"Session")) {
    return m_intrinsics.session ? m_intrinsics.session : m_intrinsics.absentSession;
  }
  if (varnel::EqualsNoCase(name, u"Application")) return m_intrinsics.application;
  if (varnel::EqualsNoCase(name, u"Server")) return m_intrinsics.server;
  varnel::RaiseRuntimeError(varnel::runtime_error::kInvalidArgument,
                            u"the context has no \"" + varnel::String(name) + u"\"");
}

ObjectPtr ObjectContext::CreateInstance(StringView progID) {
  ObjectPtr object = m_factory(progID);
  if (auto* control = dynamic_cast<IObjectControl*>(object.get())) {
    control->Activate();
    m_activated.push_back(object);
  }
  return object;
}

void ObjectContext::End() {
  while (!m_activated.empty()) {
    const ObjectPtr object = std::move(m_activated.back());
    m_activated.pop_back();
    try {
      if (auto* control = dynamic_cast<IObjectControl*>(object.get())) control->Deactivate();
    } catch (const std::exception&) {
      // The response is made; there is nobody left to tell.
    }
  }
  if (m_intrinsics.application) m_intrinsics.application->Unlock();
}

ContextGuard::ContextGuard(std::shared_ptr<ObjectContext> context)
    : m_before(std::exchange(currentContext, std::move(context))) {}

ContextGuard::~ContextGuard() {
  if (currentContext) currentContext->End();
  currentContext = std::move(m_before);
}

std::shared_ptr<ObjectContext> CurrentContext() { return currentContext; }

varnel::host::IListWatcher* CurrentListWatcher() {
  return currentContext == nullptr ? nullptr : currentContext->ListWatcher();
}

varnel::host::IStateGuard* CurrentStateGuard() {
  return currentContext == nullptr ? nullptr : currentContext->StateGuard();
}

}  // namespace hostlinux
