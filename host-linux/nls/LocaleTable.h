// The platform's locales by id.
#pragma once

#include <optional>
#include <vector>

#include "varnel/automation/LocaleFacts.h"

namespace hostlinux {

// The facts of locale `lcid`; empty for an id that the platform doesn't know. An id of a language without a
// country or of another sort order is answered as the locale behind it, whose id then stands in the facts,
// and one of a default (0, 1024, 2048, 3072, 4096) as 1033, whoever the user is. 127 is the invariant locale,
// without a name.
std::optional<varnel::LocaleFacts> FindLocale(varnel::Long lcid);

// The locale that `lcid` means in a platform call: the user's where it names a default one, else itself.
varnel::Long MeantLocale(varnel::Long lcid);

// The same as FindLocale, made once a thread; null for an unknown id. Lasts as long as the thread.
const varnel::LocaleFacts* CachedLocale(varnel::Long lcid);

// The ids that have facts of their own, ascending; the invariant locale isn't among them.
std::vector<varnel::Long> LocaleIDs();

}  // namespace hostlinux
