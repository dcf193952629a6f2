#include "host-linux/command/ServerUser.h"

#include <grp.h>
#include <pwd.h>
#include <signal.h>
#include <sys/prctl.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <stdexcept>

namespace hostlinux {

namespace {

[[noreturn]] void Fail(const std::string& name, const std::string& reason) {
  throw std::runtime_error("site.toml says user = \"" + name + "\", but " + reason);
}

}  // namespace

ServerUser FindServerUser(const std::string& name) {
  const passwd* entry = ::getpwnam(name.c_str());
  if (entry == nullptr) Fail(name, "there is no such user");
  const ServerUser user{name, entry->pw_uid, entry->pw_gid};
  if (::geteuid() != 0 && ::geteuid() != user.uid)
    Fail(name, "only root can start the server as another user");
  return user;
}

void BecomeServerUser(const ServerUser& user) {
  if (::geteuid() != 0) return;
  const pid_t parent = ::getppid();
  int death = 0;
  ::prctl(PR_GET_PDEATHSIG, &death);
  if (::setgid(user.gid) != 0 || ::initgroups(user.name.c_str(), user.gid) != 0 || ::setuid(user.uid) != 0)
    Fail(user.name, std::string("the system refuses: ") + std::strerror(errno));
  if (user.uid != 0 && ::setuid(0) == 0) Fail(user.name, "the way back to root stays open");
  // The system forgets what to do at the parent's death when the user changes.
  ::prctl(PR_SET_PDEATHSIG, death);
  if (death != 0 && ::getppid() != parent) ::raise(death);
}

void RefuseNewRights() { ::prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0); }

}  // namespace hostlinux
