#include "host-linux/application/KnownEngines.h"

#include "host-linux/database/odbc/OdbcEngine.h"
#include "host-linux/database/postgresql/PostgresqlEngine.h"
#include "host-linux/database/sqlite/SqliteEngine.h"
#include "host-linux/database/sqlite/SqliteIndexTrial.h"

namespace hostlinux {

Engines KnownEngines() {
  return {std::make_shared<SqliteEngine>(), std::make_shared<PostgresqlEngine>(),
          std::make_shared<OdbcEngine>()};
}

std::unique_ptr<IIndexTrial> MakeIndexTrial(const ConnectionString& connection,
                                            const std::filesystem::path& folder) {
  if (EngineOf(KnownEngines(), connection).Name() != u"SQLite") return nullptr;
  const std::string source = varnel::ToUtf8(connection.Get(u"Data Source"));
  if (source.empty() || source == ":memory:") return nullptr;
  return std::make_unique<SqliteIndexTrial>(folder / source);
}

}  // namespace hostlinux
