#include "host-linux/sessions/PrivateFolder.h"

#include <fcntl.h>
#include <stdlib.h>
#include <sys/file.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <stdexcept>
#include <string>

#include "host-linux/sessions/SessionFile.h"

namespace hostlinux {

namespace {

std::string Setting(const char* name) {
  const char* value = ::getenv(name);
  return value == nullptr ? "" : value;
}

std::filesystem::path Parent() {
  const std::string running = Setting("RUNTIME_DIRECTORY");
  if (!running.empty()) return running.substr(0, running.find(':'));
  const std::string temporary = Setting("TMPDIR");
  return temporary.empty() ? "/tmp" : temporary;
}

[[noreturn]] void Fail(const std::filesystem::path& folder) {
  throw std::runtime_error("no folder for them can be made in " + folder.string() + ": " +
                           std::strerror(errno));
}

}  // namespace

PrivateFolder::PrivateFolder(uid_t owner, gid_t group) {
  const std::filesystem::path parent = Parent();
  std::string name = (parent / "varnel-sessions-XXXXXX").string();
  if (::mkdtemp(name.data()) == nullptr) Fail(parent);
  m_path = name;
  m_lock = UniqueFd(::open(name.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC | O_NOFOLLOW));
  const bool isOurs = m_lock && ::flock(m_lock.Get(), LOCK_EX | LOCK_NB) == 0;
  if (isOurs && (owner == ::geteuid() || ::fchown(m_lock.Get(), owner, group) == 0)) return;
  const int reason = errno;
  ::rmdir(name.c_str());
  errno = reason;
  Fail(parent);
}

PrivateFolder::~PrivateFolder() { RemovePrivateFolder(m_path); }

// Nothing is looked for: whoever owns the folder could lead a search astray.
void RemovePrivateFolder(const std::filesystem::path& folder) {
  for (const std::string& name : SessionFile::FileNames()) ::unlink((folder / name).c_str());
  ::rmdir(folder.c_str());
}

}  // namespace hostlinux
