// A folder for the sessions of one server, which goes with it.
#pragma once

#include <sys/types.h>

#include <filesystem>

#include "host-linux/base/UniqueFd.h"

namespace hostlinux {

class PrivateFolder {
 public:
  // Makes it in the service's folder for running (RUNTIME_DIRECTORY, as systemd gives it), else in that for
  // temporary files (TMPDIR, /tmp), for the user `owner` alone. Throws std::runtime_error with a sentence
  // where that fails.
  PrivateFolder(uid_t owner, gid_t group);
  // Removes it, with the files of sessions in it.
  ~PrivateFolder();
  PrivateFolder(const PrivateFolder&) = delete;
  PrivateFolder& operator=(const PrivateFolder&) = delete;

  const std::filesystem::path& Path() const { return m_path; }

 private:
  std::filesystem::path m_path;
  UniqueFd m_lock;  // whoever tidies folders of temporary files leaves a locked one alone
};

// What its end does, for a worker that has outlived its server.
void RemovePrivateFolder(const std::filesystem::path& folder);

}  // namespace hostlinux
