// What lists get wrong, as far as only their database tells. Nothing that is asked here is traced.
#pragma once

#include "host-linux/advice/ListFaults.h"
#include "host-linux/database/AdoConnection.h"

namespace hostlinux {

// Sentences on `list`: columns that its result lacks, and a key that isn't unique, found by looking. Takes two seconds
// at most; what can't be asked, or not in that time, gives none.
std::vector<varnel::String> LookAtList(const ListTexts& list,
                                       const varnel::host::StatementParameters& parameters,
                                       AdoConnection& connection);

}  // namespace hostlinux
