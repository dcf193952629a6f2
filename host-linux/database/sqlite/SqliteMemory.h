// The engine's memory, booked on the thread that asked for it (SqliteUse).
#pragma once

namespace hostlinux {

// False where the engine was in use already: its memory isn't limited then.
bool LimitSqliteMemory();

}  // namespace hostlinux
