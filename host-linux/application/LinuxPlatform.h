// The platform that the library runs on: components by name, the running request's context, the database.
#pragma once

#include <functional>
#include <memory>

#include "host-linux/database/AdoDatabase.h"
#include "host-linux/services/SiteConfiguration.h"
#include "varnel/host/Platform.h"

namespace hostlinux {

class LinuxPlatform : public varnel::host::IPlatform {
 public:
  // `site` outlives the platform.
  LinuxPlatform(const SiteConfiguration& site, std::shared_ptr<AdoDatabase> database);

  std::shared_ptr<varnel::host::IObjectContext> GetObjectContext() override;
  varnel::ObjectPtr CreateObject(varnel::StringView progID) override;
  std::shared_ptr<varnel::host::IConnection> CreateConnection() override;
  std::shared_ptr<varnel::host::IRecordset> CreateRecordset() override;
  bool EnterLog() override;
  void LeaveLog() override;

 private:
  const SiteConfiguration& m_site;
  std::shared_ptr<AdoDatabase> m_database;
};

}  // namespace hostlinux
