#include "host-linux/application/KnownEngines.h"

#include "host-linux/database/sqlite/SqliteEngine.h"

namespace hostlinux {

Engines KnownEngines() { return {std::make_shared<SqliteEngine>()}; }

}  // namespace hostlinux
