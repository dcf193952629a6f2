// The files that a site's components may write: below the folders that the site names, and nowhere else.
#pragma once

#include <cstdint>
#include <filesystem>
#include <mutex>
#include <string>
#include <vector>

#include "varnel/host/IFileSystem.h"

namespace hostlinux {

// Relative paths are relative to the site's folder. No link below a root is followed: every component is
// opened from the one before it. A file is written under another name and takes its own when it is complete.
// Before a folder is made or a file written, what its root holds is counted: 61 where it would be too much.
class SiteFiles : public varnel::host::IFileSystem {
 public:
  struct Options {
    std::filesystem::path folder;              // the site's, absolute
    std::vector<std::filesystem::path> roots;  // relative ones are relative to `folder`
    std::filesystem::path pages;               // below it nothing is written that the server would run
    std::size_t maxFiles = SIZE_MAX;           // files and folders below one root
    std::uintmax_t maxBytes = UINTMAX_MAX;     // of all files below one root
  };

  explicit SiteFiles(Options options);

  // Raises 70 for a path that isn't in a root.
  bool FolderExists(varnel::StringView path) override;
  void CreateFolder(varnel::StringView path) override;
  varnel::String Join(varnel::StringView folder, varnel::StringView name) override;
  // Raises 70 where a link or a folder has the name, where the file can't be written, and for the source of a
  // page in the folder of pages.
  void WriteFile(varnel::StringView path, const varnel::Bytes& data) override;

 private:
  struct Place;
  Place PlaceOf(varnel::StringView path) const;
  void CheckRoom(const Place& place, std::size_t files, std::uintmax_t bytes) const;

  Options m_options;
  std::mutex m_writing;  // what was counted holds until it was written
};

}  // namespace hostlinux
