#include "host-linux/web/SpillFile.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>

namespace hostlinux {

namespace {

UniqueFd OpenIn(const std::string& folder) {
  const int fd = ::open(folder.c_str(), O_TMPFILE | O_RDWR | O_CLOEXEC, 0600);
  if (fd >= 0) return UniqueFd(fd);
  // Not every file system has files without a name.
  std::string name = folder + "/varnel-XXXXXX";
  UniqueFd named(::mkostemp(name.data(), O_CLOEXEC));
  if (named) ::unlink(name.c_str());
  return named;
}

UniqueFd OpenTemporary() {
  const char* const wanted = std::getenv("TMPDIR");
  for (const char* folder : {wanted, "/var/tmp", "/tmp"}) {
    if (folder == nullptr || *folder == '\0') continue;
    if (UniqueFd file = OpenIn(folder)) return file;
  }
  return UniqueFd();
}

}  // namespace

bool SpillFile::Open() {
  if (!m_file) m_file = OpenTemporary();
  return static_cast<bool>(m_file);
}

std::size_t SpillFile::Write(std::string_view bytes) {
  std::size_t taken = 0;
  while (taken < bytes.size()) {
    const std::size_t count = WriteStretch(bytes.substr(taken));
    if (count == 0) break;
    taken += count;
  }
  return taken;
}

std::size_t SpillFile::WriteStretch(std::string_view bytes) {
  if (m_held >= m_bounds.most || !Open()) return 0;
  const std::uint64_t place = (m_begin + m_held) % m_bounds.most;
  const std::uint64_t room = std::min(m_bounds.most - m_held, m_bounds.most - place);
  const std::uint64_t wanted = std::min<std::uint64_t>(room, bytes.size());
  const std::uint64_t size = std::max(m_size, place + wanted);
  if (!m_charge.GrowTo(size, m_bounds.mostTogether)) return 0;
  m_size = size;
  const ssize_t count = ::pwrite(m_file.Get(), bytes.data(), wanted, static_cast<off_t>(place));
  if (count <= 0) return 0;
  m_held += static_cast<std::uint64_t>(count);
  return static_cast<std::size_t>(count);
}

std::string SpillFile::Read(std::size_t most) {
  std::string bytes(std::min<std::uint64_t>({most, m_held, m_bounds.most - m_begin}), '\0');
  const ssize_t count = ::pread(m_file.Get(), bytes.data(), bytes.size(), static_cast<off_t>(m_begin));
  bytes.resize(static_cast<std::size_t>(std::max<ssize_t>(count, 0)));
  m_begin = (m_begin + bytes.size()) % m_bounds.most;
  m_held -= bytes.size();
  if (m_held == 0) Empty();
  return bytes;
}

void SpillFile::Empty() {
  m_begin = 0;
  if (::ftruncate(m_file.Get(), 0) != 0) return;  // it keeps its size, and what it is charged
  m_size = 0;
  m_charge.Reset();
}

}  // namespace hostlinux
