#include "host-linux/application/LinuxPlatform.h"

#include <algorithm>
#include <array>

#include "host-linux/base/NearestName.h"
#include "host-linux/database/AdoCommand.h"
#include "host-linux/database/AdoConnection.h"
#include "host-linux/database/AdoRecordset.h"
#include "host-linux/intrinsics/ObjectContext.h"
#include "host-linux/services/AccountsComponent.h"
#include "host-linux/services/ConfigurationComponent.h"
#include "host-linux/services/Log.h"
#include "host-linux/services/UserComponent.h"
#include "varnel/automation/Convert.h"
#include "varnel/automation/Error.h"
#include "varnel/component/ClassFactory.h"

namespace hostlinux {

namespace {

constexpr varnel::Long kCannotCreate = 429;

// The session's value by which a page chooses the language of its visitor.
constexpr varnel::StringView kLanguageKey = u"LanguageID";

thread_local bool logEntryIsBeingMade = false;

varnel::Variant LanguageOfSession() {
  const auto context = CurrentContext();
  const auto session = context == nullptr ? nullptr : context->Objects().session;
  return session == nullptr ? varnel::Variant() : session->Value(kLanguageKey);
}

// Of the running request; empty where there is none.
std::string AddressOfVisitor() {
  const auto context = CurrentContext();
  if (context == nullptr) return "";
  return varnel::ToUtf8(varnel::ToText(context->Objects().request->ServerVariables().Value(u"REMOTE_ADDR")));
}

// What somebody may have meant who wrote `progID`, perhaps without the part in front of the dot.
varnel::String ClassLike(varnel::StringView progID) {
  std::vector<varnel::String> names = varnel::ComponentNames();
  for (const varnel::StringView name :
       {u"ADODB.Connection", u"ADODB.Command", u"ADODB.Parameter", u"ADODB.Recordset", u"Ostrand.Log",
        u"Ostrand.Configuration", u"Tolvane.User", u"Host.Accounts"}) {
    names.emplace_back(name);
  }
  if (progID.find(u'.') != varnel::StringView::npos) return DidYouMean(progID, names);
  std::vector<varnel::String> ends;
  ends.reserve(names.size());
  for (const varnel::String& name : names) ends.push_back(name.substr(name.find(u'.') + 1));
  const varnel::String end = NearestName(progID, ends);
  const auto found = std::find(ends.begin(), ends.end(), end);
  return found == ends.end()
             ? varnel::String()
             : u" Did you mean '" + names[static_cast<std::size_t>(found - ends.begin())] + u"'?";
}

}  // namespace

LinuxPlatform::LinuxPlatform(const SiteConfiguration& site, std::shared_ptr<AdoDatabase> database,
                             ComponentFactory ownComponents)
    : m_site(site),
      m_database(std::move(database)),
      m_ownComponents(std::move(ownComponents)),
      m_accounts(std::make_shared<Accounts>(site)),
      m_locale(site.codePage),
      m_files({site.folder, site.fileRoots, site.PagesFolder(), site.maxFiles, site.maxFileBytes}),
      m_codePages(site.codePage) {}

std::shared_ptr<varnel::host::IObjectContext> LinuxPlatform::GetObjectContext() { return CurrentContext(); }

varnel::ObjectPtr LinuxPlatform::CreateObject(varnel::StringView progID) {
  if (auto component = varnel::CreateComponent(progID)) return component;
  const auto is = [&](varnel::StringView name) { return varnel::EqualsNoCase(progID, name); };
  if (is(u"ADODB.Connection")) return std::make_shared<AdoConnection>(m_database);
  if (is(u"ADODB.Command")) return std::make_shared<AdoCommand>(m_database);
  if (is(u"ADODB.Parameter")) return std::make_shared<AdoParameter>();
  if (is(u"ADODB.Recordset")) return std::make_shared<AdoRecordset>(m_database);
  if (is(u"Ostrand.Log")) return std::make_shared<LogComponent>();
  if (is(u"Ostrand.Configuration")) return std::make_shared<ConfigurationComponent>(m_site);
  if (is(u"Tolvane.User")) return std::make_shared<UserComponent>(m_site, LanguageOfSession);
  if (is(u"Host.Accounts")) return std::make_shared<AccountsComponent>(m_accounts, AddressOfVisitor);
  if (m_ownComponents != nullptr) {
    if (auto component = m_ownComponents(progID)) return component;
  }
  throw varnel::Error({kCannotCreate, u"Varnel",
                       u"There is no class '" + varnel::String(progID) + u"' to create" +
                           (ClassLike(progID).empty() ? varnel::String() : u"." + ClassLike(progID)),
                       u"", 0});
}

std::shared_ptr<varnel::host::IConnection> LinuxPlatform::CreateConnection() {
  return std::make_shared<AdoConnection>(m_database);
}

std::shared_ptr<varnel::host::IRecordset> LinuxPlatform::CreateRecordset() {
  return std::make_shared<AdoRecordset>(m_database);
}

varnel::host::IStateGuard* LinuxPlatform::StateGuard() { return CurrentStateGuard(); }

varnel::host::IListWatcher* LinuxPlatform::ListWatcher() { return CurrentListWatcher(); }

bool LinuxPlatform::EnterLog() {
  if (logEntryIsBeingMade) return false;
  logEntryIsBeingMade = true;
  return true;
}

void LinuxPlatform::LeaveLog() { logEntryIsBeingMade = false; }

}  // namespace hostlinux
