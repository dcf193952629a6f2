// A database engine, as the wiring hands it to whoever opens, makes or looks over databases.
#pragma once

#include <filesystem>
#include <memory>
#include <string>
#include <vector>

#include "host-linux/database/provider/Provider.h"

namespace hostlinux {

// One folder per engine implements it, beside its provider. Can be used by many threads. `folder` is where relative
// file names of connection strings begin.
class IEngine {
 public:
  virtual ~IEngine() = default;

  // What connection strings call it: "SQLite" for "Provider=SQLite". They may write it in any case of letters.
  virtual varnel::String Name() const = 0;

  virtual std::unique_ptr<IProvider> MakeProvider() const = 0;

  // Sentences on each table of more than 1,000 rows that has no index besides its key, so that every sort reads all
  // of it, or whose indexes the engine guesses about since nobody had it look at them. The database is only read;
  // one that can't be read, or that lasts no longer than its connection, gives none.
  virtual std::vector<std::string> CheckIndexes(const ConnectionString& connection,
                                                const std::filesystem::path& folder) const = 0;

  // Makes the database and runs the statements of `script`, in the engine's own SQL. Raises std::runtime_error with
  // a sentence.
  virtual void MakeDatabase(const ConnectionString& connection, const std::filesystem::path& folder,
                            const std::string& script) const = 0;
};

using Engines = std::vector<std::shared_ptr<const IEngine>>;

// The engine that `connection` names. Raises ProviderFailure where it names none, or one that isn't among them.
const IEngine& EngineOf(const Engines& engines, const ConnectionString& connection);

}  // namespace hostlinux
