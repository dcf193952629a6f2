#include "host-fake/FakeHost.h"

#include "varnel/component/ClassFactory.h"
#include "varnel/host/IObjectControl.h"

namespace hostfake {

using varnel::ToLower;

FakeHost::FakeHost()
    : m_trace(std::make_shared<hostfake::Trace>()),
      m_request(std::make_shared<FakeRequest>()),
      m_response(std::make_shared<FakeResponse>(m_trace)),
      m_session(std::make_shared<FakeSession>(m_trace)),
      m_application(std::make_shared<FakeApplication>(m_trace)),
      m_server(std::make_shared<FakeServer>()),
      m_database(std::make_shared<FakeDatabase>(m_trace)),
      m_log(std::make_shared<FakeLog>(m_trace)),
      m_user(std::make_shared<FakeUser>(m_trace)),
      m_messageManager(std::make_shared<FakeMessageManager>(m_trace)),
      m_configuration(std::make_shared<FakeConfiguration>(m_trace)),
      m_locale(std::make_shared<FakeLocale>(m_trace)),
      m_usedLocale(m_locale),
      m_files(m_trace),
      m_context(std::make_shared<FakeContext>(*this)),
      m_items{{u"server", m_server},
              {u"session", m_session},
              {u"application", m_application},
              {u"response", m_response},
              {u"request", m_request}} {
  Register(u"Ostrand.Log", [log = m_log] { return log; });
  Register(u"Tolvane.User", [user = m_user] { return user; });
  Register(u"Ostrand.Configuration", [configuration = m_configuration] { return configuration; });
  varnel::host::SetPlatform(this);
}

FakeHost::~FakeHost() { varnel::host::SetPlatform(nullptr); }

void FakeHost::InstallMessageManager() { m_application->Set(u"I18NMessageManager", m_messageManager); }

void FakeHost::FailCreation(StringView progID, varnel::ErrInfo failure) {
  m_failing[ToLower(progID)] = std::move(failure);
}

void FakeHost::Register(StringView progID, std::function<ObjectPtr()> factory) {
  m_factories[ToLower(progID)] = std::move(factory);
}

void FakeHost::ReplaceItem(StringView name, ObjectPtr object) { m_items[ToLower(name)] = std::move(object); }

void FakeHost::EndRequest() { m_context->DeactivateAll(); }

std::shared_ptr<varnel::host::IObjectContext> FakeHost::GetObjectContext() {
  if (!m_hasContext) return nullptr;
  return m_context;
}

ObjectPtr FakeHost::CreateObject(StringView progID) {
  m_trace->Add(u"Platform", String(u"CreateObject ") + String(progID));
  return Make(progID);
}

ObjectPtr FakeHost::Make(StringView progID) {
  const auto failing = m_failing.find(ToLower(progID));
  if (failing != m_failing.end()) throw varnel::Error(failing->second);
  const auto factory = m_factories.find(ToLower(progID));
  const ObjectPtr object = factory == m_factories.end() ? varnel::CreateComponent(progID) : factory->second();
  if (object == nullptr) {
    throw varnel::Error(Failure(kCannotCreate, String(u"There is no class ") + String(progID)));
  }
  return object;
}

std::shared_ptr<varnel::host::IConnection> FakeHost::CreateConnection() {
  return std::make_shared<FakeConnection>(m_database);
}

std::shared_ptr<varnel::host::IRecordset> FakeHost::CreateRecordset() {
  return std::make_shared<FakeRecordset>(m_database);
}

bool FakeHost::EnterLog() {
  if (m_logging) return false;
  m_logging = true;
  return true;
}

ObjectPtr FakeContext::Item(StringView name) {
  m_host.m_trace->Add(u"Context", String(u"Item ") + String(name));
  const auto found = m_host.m_items.find(ToLower(name));
  if (found == m_host.m_items.end()) {
    varnel::RaiseRuntimeError(varnel::runtime_error::kInvalidArgument, name);
  }
  return found->second;
}

ObjectPtr FakeContext::CreateInstance(StringView progID) {
  m_host.m_trace->Add(u"Context", String(u"CreateInstance ") + String(progID));
  const ObjectPtr object = m_host.Make(progID);
  if (const auto control = varnel::CastObject<varnel::host::IObjectControl>(object)) {
    control->Activate();
    m_made.push_back(object);
  }
  return object;
}

void FakeContext::DeactivateAll() {
  const auto made = std::move(m_made);
  m_made.clear();
  for (const auto& weak : made) {
    if (const auto control = varnel::CastObject<varnel::host::IObjectControl>(weak.lock())) {
      control->Deactivate();
    }
  }
}

}  // namespace hostfake
