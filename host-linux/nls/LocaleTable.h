// The platform's locales by id.
#pragma once

#include <optional>
#include <vector>

#include "varnel/automation/LocaleFacts.h"

namespace hostlinux {

// The facts of locale `lcid`; empty for an id that the platform doesn't know. The ids of defaults (0, 1024,
// 2048, 3072, 4096), of a language without a country and of another sort order are answered as the locale
// behind them, whose id then stands in the facts. 127 is the invariant locale, without a name.
std::optional<varnel::LocaleFacts> FindLocale(varnel::Long lcid);

// The same, made once a thread; null for an unknown id. Lasts as long as the thread.
const varnel::LocaleFacts* CachedLocale(varnel::Long lcid);

// The ids that have facts of their own, ascending; the invariant locale isn't among them.
std::vector<varnel::Long> LocaleIDs();

}  // namespace hostlinux
