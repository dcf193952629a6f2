// The embedded engine, as the wiring hands it in.
#pragma once

#include "host-linux/database/provider/Engine.h"

namespace hostlinux {

class SqliteEngine : public IEngine {
 public:
  // Limits what SQLite's library takes, of this whole process: before an ODBC driver, or whoever else, begins to use it.
  SqliteEngine();

  varnel::String Name() const override { return u"SQLite"; }
  std::unique_ptr<IProvider> MakeProvider() const override;
  std::vector<std::string> CheckIndexes(const ConnectionString& connection,
                                        const std::filesystem::path& folder) const override;
  void MakeDatabase(const ConnectionString& connection, const std::filesystem::path& folder,
                    const std::string& script) const override;
};

}  // namespace hostlinux
