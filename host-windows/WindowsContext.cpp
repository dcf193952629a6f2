#include "host-windows/WindowsContext.h"

#include "host-windows/WindowsIntrinsics.h"
#include "varnel/automation/Convert.h"
#include "varnel/component/AutomationValues.h"
#include "varnel/component/ClassFactory.h"
#include "varnel/component/ObjectWrappers.h"
#include "varnel/host/ILog.h"

namespace hostwindows {

using varnel::ObjectPtr;
using varnel::String;
using varnel::StringView;
using varnel::Variant;
namespace com = varnel::com;
namespace host = varnel::host;

namespace {

constexpr varnel::Long kCannotCreate = 429;

// The transaction server's side of a context, as it publishes it.
struct ComPlusContext : com::IUnknown {
  virtual HRESULT VARNEL_COM_CALL CreateInstance(const CLSID& classID, const IID& interfaceID,
                                                 void** object) = 0;
  virtual HRESULT VARNEL_COM_CALL SetComplete() = 0;
  virtual HRESULT VARNEL_COM_CALL SetAbort() = 0;
  virtual HRESULT VARNEL_COM_CALL EnableCommit() = 0;
  virtual HRESULT VARNEL_COM_CALL DisableCommit() = 0;
  virtual BOOL VARNEL_COM_CALL IsInTransaction() = 0;
  virtual BOOL VARNEL_COM_CALL IsSecurityEnabled() = 0;
  virtual HRESULT VARNEL_COM_CALL IsCallerInRole(BSTR role, BOOL* isIn) = 0;
};
struct ComPlusProperties : com::IUnknown {
  virtual HRESULT VARNEL_COM_CALL Count(LONG* count) = 0;
  virtual HRESULT VARNEL_COM_CALL GetProperty(BSTR name, VARIANT* value) = 0;
  virtual HRESULT VARNEL_COM_CALL EnumNames(IUnknown** names) = 0;
};
constexpr GUID kComPlusContextId = {
    0x51372AE0, 0xCAE7, 0x11CF, {0xBE, 0x81, 0x00, 0xAA, 0x00, 0xA2, 0xFA, 0x25}};
constexpr GUID kComPlusPropertiesId = {
    0x51372AF4, 0xCAE7, 0x11CF, {0xBE, 0x81, 0x00, 0xAA, 0x00, 0xA2, 0xFA, 0x25}};

class TransactionContext : public host::IObjectContext {
 public:
  TransactionContext(com::ComPointer<ComPlusContext> context, com::ComPointer<ComPlusProperties> properties)
      : m_context(std::move(context)), m_properties(std::move(properties)) {}

  ObjectPtr Item(StringView name) override {
    const BSTR text = com::MakeText(name);
    com::OwnedVariant value;
    const HRESULT answer = m_properties->GetProperty(text, &value.Get());
    ::SysFreeString(text);
    if (FAILED(answer)) varnel::RaiseRuntimeError(varnel::runtime_error::kInvalidArgument, name);
    return MakeIntrinsic(name, RequireForeign(varnel::ToObject(com::FromAutomation(value.Get()))));
  }

  ObjectPtr CreateInstance(StringView progID) override {
    const String name(progID);
    CLSID classID;
    void* made = nullptr;
    HRESULT answer = ::CLSIDFromProgID(reinterpret_cast<const OLECHAR*>(name.c_str()), &classID);
    if (SUCCEEDED(answer)) answer = m_context->CreateInstance(classID, com::kDispatchId, &made);
    if (FAILED(answer))
      throw varnel::Error({kCannotCreate, u"Varnel", u"The context can't create '" + name + u"'", u"", 0});
    const auto object = com::ComPointer<com::IDispatch>::Taking(static_cast<com::IDispatch*>(made));
    return AdaptComponent(progID, com::UnwrapObject(object.Get()));
  }
  String FormFields() override { return {}; }

 private:
  com::ComPointer<ComPlusContext> m_context;
  com::ComPointer<ComPlusProperties> m_properties;
};

class GivenContext : public host::IObjectContext {
 public:
  explicit GivenContext(com::ComPointer<com::IDispatch> context) : m_context(std::move(context)) {}

  ObjectPtr Item(StringView name) override {
    return MakeIntrinsic(name, RequireForeign(varnel::ToObject(m_context.CallWith(u"Item", name))));
  }
  ObjectPtr CreateInstance(StringView progID) override {
    const Variant made = m_context.CallWith(u"CreateInstance", progID);
    return AdaptComponent(progID, varnel::ToObject(made));
  }
  String FormFields() override { return {}; }

 private:
  com::ForeignObject m_context;
};

// The texts go by reference, as the component's callers do it.
class WindowsLog : public com::ForeignObject, public host::ILog {
 public:
  using ForeignObject::ForeignObject;
  void WriteEntry(String& ioSource, String& ioText, varnel::Long& ioLevel, Variant& ioExtra) override {
    com::OwnedVariant source;
    com::OwnedVariant text;
    com::OwnedVariant extra;
    com::ToAutomation(ioSource, source.Get());
    com::ToAutomation(ioText, text.Get());
    com::ToAutomation(ioExtra, extra.Get());
    LONG level = ioLevel;
    VARIANT arguments[4] = {};
    arguments[0].vt = VT_BYREF | VT_VARIANT;
    arguments[0].pvarVal = &extra.Get();
    arguments[1].vt = VT_BYREF | VT_I4;
    arguments[1].plVal = &level;
    arguments[2].vt = VT_BYREF | VT_BSTR;
    arguments[2].pbstrVal = &text.Get().bstrVal;
    arguments[3].vt = VT_BYREF | VT_BSTR;
    arguments[3].pbstrVal = &source.Get().bstrVal;
    Invoke(u"WriteEntry", arguments);
    ioLevel = static_cast<varnel::Long>(level);
  }
};

// Without an owner: what a thread ends with, its host has taken away.
thread_local com::IDispatch* threadContext = nullptr;

std::shared_ptr<host::IObjectContext> ContextOfTransactionServer() {
  void* found = nullptr;
  if (FAILED(::CoGetObjectContext(kComPlusContextId, &found)) || found == nullptr) return nullptr;
  auto context = com::ComPointer<ComPlusContext>::Taking(static_cast<ComPlusContext*>(found));
  auto properties = com::QueryFor<ComPlusProperties>(context.Get(), kComPlusPropertiesId);
  if (!properties) return nullptr;
  return std::make_shared<TransactionContext>(std::move(context), std::move(properties));
}

}  // namespace

std::shared_ptr<host::IObjectContext> FindObjectContext() {
  if (threadContext != nullptr)
    return std::make_shared<GivenContext>(com::ComPointer<com::IDispatch>(threadContext));
  return ContextOfTransactionServer();
}

void SetThreadContext(void* dispatch) {
  com::IDispatch* before = threadContext;
  threadContext = static_cast<com::IDispatch*>(dispatch);
  if (threadContext != nullptr) threadContext->AddRef();
  if (before != nullptr) before->Release();
}

ObjectPtr AdaptComponent(StringView progID, ObjectPtr component) {
  if (!varnel::EqualsNoCase(progID, u"Ostrand.Log")) return component;
  return std::make_shared<WindowsLog>(com::ComPointer<com::IDispatch>(RequireForeign(component)->Dispatch()));
}

}  // namespace hostwindows
