// The files of a new site, as they stand in the program.
#pragma once

#include <span>
#include <string_view>

namespace hostlinux {

struct NewSiteFile {
  std::string_view path;     // within the site, with slashes
  std::string_view content;  // [%Name%] in it stands for the site's name
};

std::span<const NewSiteFile> NewSiteFiles();

}  // namespace hostlinux
