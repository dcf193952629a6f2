// The files that pages are made of, and how one sees that they changed.
#pragma once

#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>

namespace hostlinux {

// What tells one state of a file from the next.
struct FileStamp {
  std::int64_t modifiedNs = 0;
  std::int64_t changedNs = 0;
  std::int64_t size = 0;
  std::uint64_t inode = 0;
  bool operator==(const FileStamp&) const = default;
};

// The pages folder. Names are relative to it, with "/" between their parts, without "." and "..".
class PageFiles {
 public:
  virtual ~PageFiles() = default;

  // The whole content of a file; nothing where there is none, where it can't be read, or where it lies
  // outside the pages folder.
  virtual std::optional<std::string> Read(const std::string& name) const = 0;

  // The stamp, as of now, of a file that Read gave; nothing where there is no such file any more. Asked for
  // at every request, so it does not look again where the file lies.
  virtual std::optional<FileStamp> Stamp(const std::string& name) const = 0;
};

// The pages folder on disk. A link that leads out of the folder counts as a missing file.
class DiskPageFiles final : public PageFiles {
 public:
  explicit DiskPageFiles(const std::filesystem::path& folder);
  std::optional<std::string> Read(const std::string& name) const override;
  std::optional<FileStamp> Stamp(const std::string& name) const override;

 private:
  std::optional<std::filesystem::path> Locate(const std::string& name) const;

  std::filesystem::path m_folder;
};

}  // namespace hostlinux
