// PostgreSQL, as the wiring hands it in.
#pragma once

#include "host-linux/database/provider/Engine.h"

namespace hostlinux {

class PostgresqlEngine : public IEngine {
 public:
  varnel::String Name() const override { return u"PostgreSQL"; }
  std::unique_ptr<IProvider> MakeProvider() const override;
  std::vector<std::string> CheckIndexes(const ConnectionString& connection,
                                        const std::filesystem::path& folder) const override;
  // The database must be there; its tables are made.
  void MakeDatabase(const ConnectionString& connection, const std::filesystem::path& folder,
                    const std::string& script) const override;
};

}  // namespace hostlinux
