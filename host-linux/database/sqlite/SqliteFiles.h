// The engine's way to files: the system's own, but for temporary files, whose bytes count on the thread that
// opened them, and for its sleep, which ends in time (SqliteUse).
#pragma once

namespace hostlinux {

// Makes it known to the engine under `name`, which stays. Raises ProviderFailure.
void RegisterSqliteFiles(const char* name);

}  // namespace hostlinux
