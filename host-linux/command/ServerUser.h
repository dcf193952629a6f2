// The user as whom the pages run.
#pragma once

#include <sys/types.h>

#include <string>

namespace hostlinux {

struct ServerUser {
  std::string name;
  uid_t uid = 0;
  gid_t gid = 0;
};

// The user of that name. Throws std::runtime_error with a sentence for the site's owner where there is none,
// or where this process, which isn't root's, runs as another.
ServerUser FindServerUser(const std::string& name);

// Makes this process that user's for good, with the groups that the user is in. For a process with a single
// thread. Throws std::runtime_error where the system refuses.
void BecomeServerUser(const ServerUser& user);

// Programs that this process might be made to start gain no rights from their files.
void RefuseNewRights();

}  // namespace hostlinux
