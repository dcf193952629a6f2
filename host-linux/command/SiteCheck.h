// What `varnel check` looks at, finding by finding.
#pragma once

#include <filesystem>
#include <string>
#include <vector>

#include "host-linux/services/SiteConfiguration.h"

namespace hostlinux {

struct SiteFinding {
  std::string file;  // relative to the site
  int line = 0;      // from 1; 0 where the file as a whole is meant
  std::string what;
};

// The findings on the site in `folder`, file by file: what its configuration says wrong; pages that don't
// compile, or write as HTML what others have written; connections that don't open; keys of messages that a
// language lacks; images that aren't there; large tables without an index or without the statistics that an
// index is chosen by. A site whose configuration can't be read has that one finding.
std::vector<SiteFinding> CheckSite(const std::filesystem::path& folder);

// The pages of a site, by their names below its pages folder; hidden ones aren't among them.
std::vector<std::string> PagesOf(const SiteConfiguration& site);

// "pages/list.asp:12: what", or without the line where none is known.
std::string FindingText(const SiteFinding& finding);

}  // namespace hostlinux
