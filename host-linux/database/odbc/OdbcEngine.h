// Servers with an ODBC driver, as the wiring hands them in.
#pragma once

#include "host-linux/database/provider/Engine.h"

namespace hostlinux {

class OdbcEngine : public IEngine {
 public:
  // A connection string with a Driver or a DSN needs no Provider.
  varnel::String Name() const override { return u"ODBC"; }
  std::unique_ptr<IProvider> MakeProvider() const override;
  // Of MariaDB; other servers are told nothing of.
  std::vector<std::string> CheckIndexes(const ConnectionString& connection,
                                        const std::filesystem::path& folder) const override;
  // The database must be there; its tables are made, statement by statement.
  void MakeDatabase(const ConnectionString& connection, const std::filesystem::path& folder,
                    const std::string& script) const override;
};

}  // namespace hostlinux
