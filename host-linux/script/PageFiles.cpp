#include "host-linux/script/PageFiles.h"

#include <sys/stat.h>

#include <algorithm>
#include <fstream>
#include <iterator>
#include <system_error>

namespace hostlinux {
namespace {

std::int64_t Nanoseconds(const timespec& time) {
  return std::int64_t{time.tv_sec} * 1'000'000'000 + std::int64_t{time.tv_nsec};
}

bool LiesIn(const std::filesystem::path& folder, const std::filesystem::path& file) {
  const auto [end, rest] = std::mismatch(folder.begin(), folder.end(), file.begin(), file.end());
  return end == folder.end() && rest != file.end();
}

}  // namespace

DiskPageFiles::DiskPageFiles(const std::filesystem::path& folder) {
  std::error_code failure;
  m_folder = std::filesystem::canonical(folder, failure);
  if (failure) m_folder = std::filesystem::absolute(folder).lexically_normal();
}

std::optional<std::filesystem::path> DiskPageFiles::Locate(const std::string& name) const {
  if (name.empty() || name.find('\0') != std::string::npos) return std::nullopt;
  std::error_code failure;
  const std::filesystem::path file = std::filesystem::canonical(m_folder / name, failure);
  if (failure || !LiesIn(m_folder, file)) return std::nullopt;
  if (!std::filesystem::is_regular_file(file, failure) || failure) return std::nullopt;
  return file;
}

std::optional<std::string> DiskPageFiles::Read(const std::string& name) const {
  const auto file = Locate(name);
  if (!file) return std::nullopt;
  std::ifstream stream(*file, std::ios::binary);
  if (!stream) return std::nullopt;
  std::string text{std::istreambuf_iterator<char>(stream), std::istreambuf_iterator<char>()};
  if (stream.bad()) return std::nullopt;
  return text;
}

std::optional<FileStamp> DiskPageFiles::Stamp(const std::string& name) const {
  struct stat facts = {};
  if (::stat((m_folder / name).c_str(), &facts) != 0) return std::nullopt;
  return FileStamp{Nanoseconds(facts.st_mtim), Nanoseconds(facts.st_ctim), std::int64_t{facts.st_size},
                   std::uint64_t{facts.st_ino}};
}

}  // namespace hostlinux
