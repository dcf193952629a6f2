// The platform that the library runs on: components by name, the running request's context, the database.
#pragma once

#include <functional>
#include <memory>

#include "host-linux/database/AdoDatabase.h"
#include "host-linux/nls/LocaleCalls.h"
#include "host-linux/nls/SiteCodePages.h"
#include "host-linux/services/Accounts.h"
#include "host-linux/services/SiteConfiguration.h"
#include "host-linux/services/SiteFiles.h"
#include "varnel/host/Platform.h"

namespace hostlinux {

// Makes a component of a program that has some of its own; null for a name that it doesn't know.
using ComponentFactory = std::function<varnel::ObjectPtr(varnel::StringView progID)>;

class LinuxPlatform : public varnel::host::IPlatform {
 public:
  // `site` outlives the platform. `ownComponents` may be empty; the library's and the host's classes go
  // before it.
  LinuxPlatform(const SiteConfiguration& site, std::shared_ptr<AdoDatabase> database,
                ComponentFactory ownComponents = {});

  std::shared_ptr<varnel::host::IObjectContext> GetObjectContext() override;
  varnel::ObjectPtr CreateObject(varnel::StringView progID) override;
  std::shared_ptr<varnel::host::IConnection> CreateConnection() override;
  std::shared_ptr<varnel::host::IRecordset> CreateRecordset() override;
  varnel::host::ILocale& Locale() override { return m_locale; }
  varnel::host::IFileSystem& FileSystem() override { return m_files; }
  varnel::host::ICodePages& CodePages() override { return m_codePages; }
  varnel::host::IStateGuard* StateGuard() override;
  varnel::host::IListWatcher* ListWatcher() override;
  AdoDatabase& Database() { return *m_database; }
  bool EnterLog() override;
  void LeaveLog() override;

 private:
  const SiteConfiguration& m_site;
  std::shared_ptr<AdoDatabase> m_database;
  ComponentFactory m_ownComponents;
  std::shared_ptr<Accounts> m_accounts;
  LocaleCalls m_locale;
  SiteFiles m_files;
  hostlinux::CodePages m_codePages;
};

}  // namespace hostlinux
