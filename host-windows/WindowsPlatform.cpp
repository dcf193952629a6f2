#include "host-windows/WindowsPlatform.h"

#include "host-windows/LateBound.h"
#include "host-windows/WindowsAdo.h"
#include "host-windows/WindowsContext.h"
#include "varnel/automation/LocaleFacts.h"
#include "varnel/component/ClassFactory.h"
#include "varnel/component/ObjectWrappers.h"

namespace hostwindows {

namespace {

thread_local bool logEntryIsBeingMade = false;

}  // namespace

std::shared_ptr<varnel::host::IObjectContext> WindowsPlatform::GetObjectContext() {
  return FindObjectContext();
}

varnel::ObjectPtr WindowsPlatform::CreateObject(varnel::StringView progID) {
  if (auto component = varnel::CreateComponent(progID)) return component;
  return AdaptComponent(progID, varnel::com::UnwrapObject(CreateByName(progID).Get()));
}

std::shared_ptr<varnel::host::IConnection> WindowsPlatform::CreateConnection() {
  return std::make_shared<WindowsConnection>(CreateByName(u"ADODB.Connection"));
}

std::shared_ptr<varnel::host::IRecordset> WindowsPlatform::CreateRecordset() {
  return std::make_shared<WindowsRecordset>(CreateByName(u"ADODB.Recordset"));
}

bool WindowsPlatform::EnterLog() {
  if (logEntryIsBeingMade) return false;
  logEntryIsBeingMade = true;
  return true;
}

void WindowsPlatform::LeaveLog() { logEntryIsBeingMade = false; }

// Never freed: objects may be released while the process ends.
void RequirePlatform() {
  static const WindowsPlatform* platform = [] {
    auto* made = new WindowsPlatform;
    varnel::SetUserLocale(FactsOfUser());
    varnel::com::SetForeignObjects(AdaptForeign);
    varnel::host::SetPlatform(made);
    return made;
  }();
  static_cast<void>(platform);
}

}  // namespace hostwindows
