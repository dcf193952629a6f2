#include "host-linux/guard/SealKeys.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <fstream>
#include <sstream>

namespace hostlinux {

namespace {

[[noreturn]] void Fail(const std::filesystem::path& file, const std::string& what) {
  throw ConfigurationError("The key of the links, " + file.string() + ", " + what +
                           ". [lists] keys in site.toml can hold it instead.");
}

[[noreturn]] void FailBecause(const std::filesystem::path& file, const std::string& what) {
  Fail(file, what + ": " + std::strerror(errno));
}

bool WriteAll(int descriptor, const std::string& text) {
  const ssize_t written = write(descriptor, text.data(), text.size());
  return written == static_cast<ssize_t>(text.size()) && fsync(descriptor) == 0;
}

// Written beside its place and linked into it, so that nobody ever reads a part, and the first one stays.
void MakeKeyFile(const std::filesystem::path& file) {
  std::string name = file.string() + ".XXXXXX";
  const int descriptor = mkstemp(name.data());  // for this user alone
  if (descriptor < 0) FailBecause(file, "can't be made");
  const bool isWritten = WriteAll(descriptor, MakeSealKey() + "\n");
  const bool isPlaced = isWritten && (link(name.c_str(), file.c_str()) == 0 || errno == EEXIST);
  const int reason = errno;
  close(descriptor);
  unlink(name.c_str());
  errno = reason;
  if (!isPlaced) FailBecause(file, "can't be made");
}

void RequirePrivate(const std::filesystem::path& file) {
  struct stat facts {};
  if (stat(file.c_str(), &facts) != 0) FailBecause(file, "can't be read");
  if ((facts.st_mode & (S_IRWXG | S_IRWXO)) != 0)
    Fail(file, "must be readable by its owner alone (chmod 600)");
}

std::string Trimmed(const std::string& line) {
  const std::string text = line.substr(0, line.find('#'));
  const auto begin = text.find_first_not_of(" \t\r");
  return begin == std::string::npos ? "" : text.substr(begin, text.find_last_not_of(" \t\r") - begin + 1);
}

std::vector<SealKey> ReadKeyFile(const std::filesystem::path& file) {
  RequirePrivate(file);
  std::ifstream stream(file);
  if (!stream) FailBecause(file, "can't be read");
  std::vector<SealKey> keys;
  for (std::string line; std::getline(stream, line);) {
    const std::string digits = Trimmed(line);
    if (digits.empty()) continue;
    const auto key = ParseSealKey(digits);
    if (!key) Fail(file, "holds a line that isn't 32 hexadecimal digits");
    keys.push_back(*key);
  }
  if (keys.empty()) Fail(file, "holds no key");
  return keys;
}

}  // namespace

std::vector<SealKey> LoadSealKeys(const SiteConfiguration& site) {
  std::vector<SealKey> keys;
  keys.reserve(site.lists.keys.size());
  for (const std::string& digits : site.lists.keys) keys.push_back(*ParseSealKey(digits));
  if (!keys.empty()) return keys;
  const std::filesystem::path file = site.folder / site.lists.keyFile;
  std::error_code unreachable;
  if (!std::filesystem::exists(file, unreachable)) MakeKeyFile(file);
  return ReadKeyFile(file);
}

}  // namespace hostlinux
