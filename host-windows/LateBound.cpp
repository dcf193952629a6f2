#include "host-windows/LateBound.h"

#include "host-windows/WindowsAdo.h"
#include "varnel/automation/Error.h"

namespace hostwindows {

namespace com = varnel::com;

namespace {

constexpr varnel::Long kCannotCreate = 429;

bool IsConnection(const com::ForeignObject& object) {
  return object.Knows(u"ConnectionTimeout") && object.Knows(u"Execute");
}

bool IsRecordset(const com::ForeignObject& object) {
  return object.Knows(u"ActiveConnection") && object.Knows(u"GetRows");
}

}  // namespace

ForeignPtr RequireForeign(const varnel::ObjectPtr& object) {
  if (object == nullptr) varnel::RaiseRuntimeError(varnel::runtime_error::kObjectNotSet);
  auto foreign = varnel::CastObject<com::ForeignObject>(object);
  if (foreign == nullptr) varnel::RaiseRuntimeError(varnel::runtime_error::kTypeMismatch);
  return foreign;
}

varnel::ObjectPtr AdaptForeign(com::ComPointer<com::IDispatch> object) {
  const com::ForeignObject asked(object);
  if (IsRecordset(asked)) return std::make_shared<WindowsRecordset>(std::move(object));
  if (IsConnection(asked)) return std::make_shared<WindowsConnection>(std::move(object));
  return std::make_shared<com::ForeignObject>(std::move(object));
}

com::ComPointer<com::IDispatch> CreateByName(varnel::StringView progID) {
  const varnel::String name(progID);
  CLSID classID;
  void* made = nullptr;
  HRESULT answer = ::CLSIDFromProgID(reinterpret_cast<const OLECHAR*>(name.c_str()), &classID);
  if (SUCCEEDED(answer))
    answer = ::CoCreateInstance(classID, nullptr, CLSCTX_INPROC_SERVER | CLSCTX_LOCAL_SERVER,
                                com::kDispatchId, &made);
  if (FAILED(answer)) {
    throw varnel::Error({kCannotCreate, u"Varnel",
                         u"There is no class '" + name + u"' to create (" +
                             varnel::HexText(static_cast<varnel::Long>(answer)) + u")",
                         u"", 0});
  }
  return com::ComPointer<com::IDispatch>::Taking(static_cast<com::IDispatch*>(made));
}

}  // namespace hostwindows
