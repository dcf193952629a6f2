#include "host-linux/services/SiteFiles.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>
#include <utility>

#include "host-linux/base/Ascii.h"
#include "host-linux/base/FolderAccess.h"
#include "host-linux/base/Random.h"
#include "varnel/automation/Error.h"

namespace hostlinux {

using varnel::Byte;
using varnel::Bytes;
using varnel::Long;
using varnel::String;
using varnel::StringView;

namespace {

namespace fs = std::filesystem;

constexpr Long kBadName = 52;
constexpr Long kDiskFull = 61;
constexpr Long kPermissionDenied = 70;
constexpr Long kPathFailure = 75;
constexpr Long kPathNotFound = 76;

[[noreturn]] void Fail(Long number, const std::string& what, const std::string& path) {
  throw varnel::Error({number, u"Varnel", varnel::FromUtf8(what + ": " + path), u"", 0});
}

[[noreturn]] void FailWith(int error, const std::string& path) {
  switch (error) {
    case ENAMETOOLONG:
      Fail(kBadName, "The name is too long", path);
    case ENOSPC:
    case EDQUOT:
    case EFBIG:
      Fail(kDiskFull, "The disk is full", path);
    case EACCES:
    case EPERM:
      Fail(kPermissionDenied, "Permission denied", path);
    case EROFS:
      Fail(kPermissionDenied, "The disk is read-only", path);
    case ELOOP:
      Fail(kPermissionDenied, "A link is not followed", path);
    case ENOENT:
      Fail(kPathNotFound, "There is no such path", path);
    case ENOTDIR:
      Fail(kPathNotFound, "Not a folder", path);
    default:
      Fail(kPathFailure, std::strerror(error), path);
  }
}

void WriteAll(int file, const Byte* data, std::size_t size, const std::string& path) {
  while (size > 0) {
    const ssize_t written = ::write(file, data, size);
    if (written < 0 && errno == EINTR) continue;
    if (written < 0) FailWith(errno, path);
    data += written;
    size -= static_cast<std::size_t>(written);
  }
}

// What stands in `from` behind its first `offset` bytes.
void CopyTail(int from, std::size_t offset, int to, const std::string& path) {
  std::array<Byte, 65536> block;
  while (true) {
    const ssize_t count = ::pread(from, block.data(), block.size(), static_cast<off_t>(offset));
    if (count < 0 && errno == EINTR) continue;
    if (count < 0) FailWith(errno, path);
    if (count == 0) return;
    WriteAll(to, block.data(), static_cast<std::size_t>(count), path);
    offset += static_cast<std::size_t>(count);
  }
}

// A file under a name of its own, which is gone in the end unless it was renamed.
class UnfinishedFile {
 public:
  UnfinishedFile(int folder, const std::string& path)
      : m_folder(folder),
        m_path(path),
        m_name(".writing-" + RandomToken()),
        m_file(::openat(folder, m_name.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, 0666)) {
    if (!m_file) FailWith(errno, path);
  }
  ~UnfinishedFile() {
    if (!m_name.empty()) ::unlinkat(m_folder, m_name.c_str(), 0);
  }
  UnfinishedFile(const UnfinishedFile&) = delete;
  UnfinishedFile& operator=(const UnfinishedFile&) = delete;

  int Get() const { return m_file.Get(); }

  // On the disk as a whole before it takes the name.
  void FinishAs(const std::string& name) {
    if (::fsync(m_file.Get()) != 0) FailWith(errno, m_path);
    if (::renameat(m_folder, m_name.c_str(), m_folder, name.c_str()) != 0) FailWith(errno, m_path);
    m_name.clear();
  }

 private:
  int m_folder;
  const std::string& m_path;
  std::string m_name;
  UniqueFd m_file;
};

// The file that is there already; none where there is none. What isn't a file that can be written is refused.
UniqueFd OpenExisting(int folder, const std::string& name, const std::string& path) {
  struct stat facts {};
  if (::fstatat(folder, name.c_str(), &facts, AT_SYMLINK_NOFOLLOW) != 0) {
    if (errno == ENOENT) return UniqueFd();
    FailWith(errno, path);
  }
  if (S_ISLNK(facts.st_mode)) FailWith(ELOOP, path);
  if (!S_ISREG(facts.st_mode)) Fail(kPermissionDenied, "Not a file", path);
  UniqueFd file(::openat(folder, name.c_str(), O_RDWR | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC));
  if (!file) FailWith(errno, path);
  return file;
}

void KeepMode(int from, int to) {
  struct stat facts {};
  if (::fstat(from, &facts) == 0) ::fchmod(to, facts.st_mode & 07777);
}

void CheckName(const std::string& name) {
  const bool isOneComponent = !name.empty() && name != "." && name != ".." &&
                              name.find_first_of(std::string("/\\\0", 3)) == std::string::npos;
  if (!isOneComponent) Fail(kBadName, "Bad file name", "'" + name.substr(0, name.find('\0')) + "'");
}

bool IsPageSource(const std::string& name) {
  const std::string ending = LowerAscii(fs::path(name).extension().string());
  return ending == ".asp" || ending == ".inc";
}

// `path` seen from `folder`; nothing where it doesn't lie there. Both are normalised.
bool IsBelow(const fs::path& path, const fs::path& folder) {
  const auto [inFolder, inPath] = std::mismatch(folder.begin(), folder.end(), path.begin(), path.end());
  return inFolder == folder.end();
}

// What lies below a folder. Links count as files, and aren't followed.
struct Holdings {
  std::size_t files = 0;  // and folders
  std::uintmax_t bytes = 0;
};

// Counts no further than `maxFiles`. A folder that isn't there holds nothing.
Holdings HoldingsOf(const fs::path& folder, std::size_t maxFiles) {
  Holdings all;
  std::error_code error;
  fs::recursive_directory_iterator entry(folder, error);
  while (!error && entry != fs::recursive_directory_iterator() && all.files < maxFiles) {
    ++all.files;
    struct stat facts {};
    if (::lstat(entry->path().c_str(), &facts) == 0 && S_ISREG(facts.st_mode))
      all.bytes += static_cast<std::uintmax_t>(facts.st_size);
    entry.increment(error);
  }
  if (error && error != std::errc::no_such_file_or_directory) FailWith(error.value(), folder.string());
  return all;
}

std::uintmax_t SizeOf(const UniqueFd& file) {
  struct stat facts {};
  return file && ::fstat(file.Get(), &facts) == 0 ? static_cast<std::uintmax_t>(facts.st_size) : 0;
}

// Without "." and "..", and without a separator at the end.
fs::path Normalised(const fs::path& path) {
  const fs::path normal = path.lexically_normal();
  return normal.has_filename() ? normal : normal.parent_path();
}

}  // namespace

// A path as a root and what stands below it.
struct SiteFiles::Place {
  fs::path root;
  fs::path below;  // empty: the root itself
  std::string text;

  // The folder that holds the path's last component.
  UniqueFd OpenParent() const {
    UniqueFd folder = OpenFolderWithoutLinks(root, below.parent_path());
    if (!folder) FailWith(errno, text);
    return folder;
  }
};

SiteFiles::SiteFiles(Options options) : m_options(std::move(options)) {
  for (fs::path& root : m_options.roots) root = Normalised(m_options.folder / root);
  m_options.pages = Normalised(m_options.pages);
}

SiteFiles::Place SiteFiles::PlaceOf(StringView path) const {
  const std::string text = varnel::ToUtf8(path);
  if (text.find('\0') != std::string::npos) Fail(kBadName, "Bad path", text.substr(0, text.find('\0')));
  const fs::path whole = Normalised(m_options.folder / text);
  for (const fs::path& root : m_options.roots) {
    if (!IsBelow(whole, root)) continue;
    return {root, whole == root ? fs::path() : whole.lexically_relative(root), text};
  }
  Fail(kPermissionDenied, "The path lies in no folder of [files] roots", text);
}

// Raises 61 where the place's root can't take so many files and bytes more.
void SiteFiles::CheckRoom(const Place& place, std::size_t files, std::uintmax_t bytes) const {
  const Holdings all = HoldingsOf(place.root, m_options.maxFiles);
  const bool hasRoom = all.files <= m_options.maxFiles && files <= m_options.maxFiles - all.files &&
                       all.bytes <= m_options.maxBytes && bytes <= m_options.maxBytes - all.bytes;
  if (!hasRoom) Fail(kDiskFull, "The folder may hold no more", place.text);
}

bool SiteFiles::FolderExists(StringView path) {
  const Place place = PlaceOf(path);
  if (OpenFolderWithoutLinks(place.root, place.below)) return true;
  if (errno == ENOENT) return false;
  FailWith(errno, place.text);
}

void SiteFiles::CreateFolder(StringView path) {
  const Place place = PlaceOf(path);
  const std::lock_guard lock(m_writing);
  if (!place.below.empty()) CheckRoom(place, 1, 0);
  const int made = place.below.empty()
                       ? ::mkdir(place.root.c_str(), 0777)
                       : ::mkdirat(place.OpenParent().Get(), place.below.filename().c_str(), 0777);
  if (made != 0) FailWith(errno, place.text);
}

String SiteFiles::Join(StringView folder, StringView name) {
  CheckName(varnel::ToUtf8(name));
  return String(folder) + u"/" + String(name);
}

void SiteFiles::WriteFile(StringView path, const Bytes& data) {
  const Place place = PlaceOf(path);
  const std::string name = place.below.filename().string();
  CheckName(name);
  if (IsPageSource(name) && IsBelow(place.root / place.below, m_options.pages)) {
    Fail(kPermissionDenied, "No page is written", place.text);
  }
  const std::lock_guard lock(m_writing);
  const UniqueFd folder = place.OpenParent();
  const UniqueFd existing = OpenExisting(folder.Get(), name, place.text);
  const std::uintmax_t before = SizeOf(existing);
  CheckRoom(place, existing ? 0 : 1, data.size() > before ? data.size() - before : 0);
  UnfinishedFile file(folder.Get(), place.text);
  WriteAll(file.Get(), data.data(), data.size(), place.text);
  if (existing) {
    CopyTail(existing.Get(), data.size(), file.Get(), place.text);
    KeepMode(existing.Get(), file.Get());
  }
  file.FinishAs(name);
}

}  // namespace hostlinux
