#include "host-linux/base/FolderAccess.h"

#include <fcntl.h>
#include <linux/openat2.h>
#include <sys/stat.h>
#include <sys/syscall.h>

#include <algorithm>
#include <cerrno>

namespace hostlinux {

namespace {

constexpr int kReadFlags = O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOCTTY;
constexpr int kFolderFlags = O_RDONLY | O_DIRECTORY | O_CLOEXEC;

// With O_DIRECTORY a link is "not a folder".
bool IsLink(int folder, const std::string& name) {
  struct stat facts {};
  return ::fstatat(folder, name.c_str(), &facts, AT_SYMLINK_NOFOLLOW) == 0 && S_ISLNK(facts.st_mode);
}

}  // namespace

UniqueFd OpenFolder(const std::string& folder) {
  return UniqueFd(::open(folder.c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC));
}

UniqueFd OpenBelow(int folderFd, const std::string& relative) {
  if (relative.find('\0') != std::string::npos) return UniqueFd();
  open_how how{};
  how.flags = kReadFlags;
  how.resolve = RESOLVE_BENEATH | RESOLVE_NO_MAGICLINKS;
  const long opened = ::syscall(SYS_openat2, folderFd, relative.c_str(), &how, sizeof how);
  if (opened >= 0) return UniqueFd(static_cast<int>(opened));
  // EPERM comes from sandboxes that don't know the call.
  if (errno == ENOSYS || errno == EPERM) return OpenBelowWithoutLinks(folderFd, relative);
  return UniqueFd();
}

UniqueFd OpenBelowWithoutLinks(int folderFd, const std::string& relative) {
  UniqueFd holder;
  int current = folderFd;
  for (std::size_t begin = 0;;) {
    const std::size_t end = std::min(relative.find('/', begin), relative.size());
    const std::string segment = relative.substr(begin, end - begin);
    if (segment.empty() || segment == "." || segment == "..") return UniqueFd();
    if (segment.find('\0') != std::string::npos) return UniqueFd();
    const bool last = end == relative.size();
    const int flags = last ? kReadFlags | O_NOFOLLOW : O_PATH | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC;
    UniqueFd next(::openat(current, segment.c_str(), flags));
    if (!next || last) return next;
    holder = std::move(next);
    current = holder.Get();
    begin = end + 1;
  }
}

UniqueFd OpenFolderWithoutLinks(const std::filesystem::path& root, const std::filesystem::path& below) {
  UniqueFd folder(::open(root.c_str(), kFolderFlags));
  for (const std::filesystem::path& component : below) {
    if (!folder) break;
    UniqueFd next(::openat(folder.Get(), component.c_str(), kFolderFlags | O_NOFOLLOW));
    if (!next) {
      const int error = errno;
      errno = error == ENOTDIR && IsLink(folder.Get(), component) ? ELOOP : error;
      return next;
    }
    folder = std::move(next);
  }
  return folder;
}

}  // namespace hostlinux
