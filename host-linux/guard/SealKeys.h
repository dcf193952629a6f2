// The keys that a site's state texts are sealed by.
#pragma once

#include <filesystem>
#include <vector>

#include "host-linux/guard/Seal.h"
#include "host-linux/services/SiteConfiguration.h"

namespace hostlinux {

// The keys of the site, the first of which seals; the others are good for links that are still about. They
// stand in `[lists] keys`, or else in the file `[lists] key_file`, one a line, "#" begins a note. A missing
// file is made, with one new key, readable by this user alone; of two servers that start at once, both take
// the file that came first. Raises ConfigurationError for a file that can't be made or read, that others may
// read, or that holds no key.
std::vector<SealKey> LoadSealKeys(const SiteConfiguration& site);

}  // namespace hostlinux
