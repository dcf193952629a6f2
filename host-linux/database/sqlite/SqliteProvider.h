// The embedded engine: "Provider=SQLite;Data Source=shop.db;Mode=Read".
#pragma once

#include "host-linux/database/provider/Provider.h"

namespace hostlinux {

// Mode=Read opens read-only, Mode=ReadWrite opens a file that must be there, no mode or Mode=Create makes it
// where it is missing. A relative Data Source begins at the site's folder. Tables=a,b names the tables and
// views that the connection may touch, Functions=f,g functions that it may call besides those that calculate.
class SqliteProvider : public IProvider {
 public:
  std::unique_ptr<ISession> Open(const ConnectionString& connection, const OpenOptions& options) override;
};

}  // namespace hostlinux
