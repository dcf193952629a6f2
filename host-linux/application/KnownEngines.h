// The database engines of this host: the one place that names them.
#pragma once

#include "host-linux/database/provider/Engine.h"
#include "host-linux/database/provider/IndexTrial.h"

namespace hostlinux {

Engines KnownEngines();

// A copy of the database's schema to try indexes on; null for an engine, or a database, that can't be copied so. Raises
// ProviderFailure.
std::unique_ptr<IIndexTrial> MakeIndexTrial(const ConnectionString& connection,
                                            const std::filesystem::path& folder);

}  // namespace hostlinux
