// The context of one request: its intrinsic objects, and the components that are made in it.
#pragma once

#include <functional>
#include <memory>
#include <vector>

#include "host-linux/intrinsics/Application.h"
#include "host-linux/intrinsics/Request.h"
#include "host-linux/intrinsics/Response.h"
#include "host-linux/intrinsics/Server.h"
#include "host-linux/intrinsics/Session.h"
#include "varnel/host/IObjectControl.h"
#include "varnel/host/Platform.h"

namespace hostlinux {

class ObjectContext : public varnel::host::IObjectContext {
 public:
  struct Intrinsics {
    std::shared_ptr<hostlinux::Request> request;
    std::shared_ptr<hostlinux::Response> response;
    std::shared_ptr<hostlinux::Session> session;  // null for a page without session state
    std::shared_ptr<hostlinux::Application> application;
    std::shared_ptr<hostlinux::Server> server;
    varnel::ObjectPtr absentSession =
        nullptr;  // what components find in place of a null session; an ISession
  };
  // Makes a component of that class; raises where there is none.
  using Factory = std::function<varnel::ObjectPtr(varnel::StringView progID)>;

  // The session adds its cookie to the response's head from here on.
  ObjectContext(Intrinsics intrinsics, Factory factory);
  ~ObjectContext() override { End(); }

  // "Server", "Session", "Application", "Response" or "Request", in any case of letters; raises 5 for any
  // other name.
  varnel::ObjectPtr Item(varnel::StringView name) override;

  // Makes a component and activates it. Where the activation raises, the component is released. One that was
  // activated is held until the end of the request, so that it is deactivated before it goes.
  varnel::ObjectPtr CreateInstance(varnel::StringView progID) override;

  varnel::String FormFields() override { return m_formFields ? m_formFields() : varnel::String(); }
  // Makes what forms must bear, when a component writes one.
  void SetFormFields(std::function<varnel::String()> make) { m_formFields = std::move(make); }

  // Ends the request: deactivates and releases the components, the youngest first, and frees the
  // application's lock. A failing component keeps none of the others. A second call does nothing.
  void End();

  const Intrinsics& Objects() const { return m_intrinsics; }

  // Guards the lists of the request; null where nothing does. It outlives the context.
  void SetStateGuard(varnel::host::IStateGuard* guard) { m_stateGuard = guard; }
  varnel::host::IStateGuard* StateGuard() const { return m_stateGuard; }
  // Looks at the lists of the request; null where nobody does. It outlives the context.
  void SetListWatcher(varnel::host::IListWatcher* watcher) { m_listWatcher = watcher; }
  varnel::host::IListWatcher* ListWatcher() const { return m_listWatcher; }

 private:
  Intrinsics m_intrinsics;
  Factory m_factory;
  std::vector<varnel::ObjectPtr> m_activated;
  std::function<varnel::String()> m_formFields;
  varnel::host::IStateGuard* m_stateGuard = nullptr;
  varnel::host::IListWatcher* m_listWatcher = nullptr;
};

// Makes a context the one of this thread while it lives; the one before comes back then.
class ContextGuard {
 public:
  explicit ContextGuard(std::shared_ptr<ObjectContext> context);
  ~ContextGuard();
  ContextGuard(const ContextGuard&) = delete;
  ContextGuard& operator=(const ContextGuard&) = delete;

 private:
  std::shared_ptr<ObjectContext> m_before;
};

// The context of the request that runs on this thread; null where there is none.
std::shared_ptr<ObjectContext> CurrentContext();

// The guard of its lists; null where there is none.
varnel::host::IStateGuard* CurrentStateGuard();

// Who looks at its lists; null where nobody does.
varnel::host::IListWatcher* CurrentListWatcher();

}  // namespace hostlinux
