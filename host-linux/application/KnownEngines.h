// The database engines of this host: the one place that names them.
#pragma once

#include "host-linux/database/provider/Engine.h"

namespace hostlinux {

Engines KnownEngines();

}  // namespace hostlinux
