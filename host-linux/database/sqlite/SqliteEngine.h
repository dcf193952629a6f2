// The embedded engine, as the wiring hands it in.
#pragma once

#include "host-linux/database/provider/Engine.h"

namespace hostlinux {

class SqliteEngine : public IEngine {
 public:
  varnel::String Name() const override { return u"SQLite"; }
  std::unique_ptr<IProvider> MakeProvider() const override;
  std::vector<std::string> CheckIndexes(const ConnectionString& connection,
                                        const std::filesystem::path& folder) const override;
  void MakeDatabase(const ConnectionString& connection, const std::filesystem::path& folder,
                    const std::string& script) const override;
};

}  // namespace hostlinux
