// Bytes of a response that its client hasn't read yet, in a temporary file without a name.
#pragma once

#include <atomic>
#include <cstdint>
#include <string>
#include <string_view>

#include "host-linux/base/UniqueFd.h"
#include "host-linux/web/Charge.h"

namespace hostlinux {

// What all spill files of a server may take together.
struct SpillBounds {
  std::uint64_t most = 0;          // bytes of one file
  std::uint64_t mostTogether = 0;  // bytes of all
  std::atomic<std::uint64_t> together = 0;
};

// First in, first out, in a ring: the file never grows beyond its bound. It is made by the first write, and
// emptied when all has been read. It stands below TMPDIR, or else in /var/tmp or /tmp.
class SpillFile {
 public:
  explicit SpillFile(SpillBounds& bounds) : m_bounds(bounds), m_charge(bounds.together) {}

  // Takes the first of `bytes` that there is room for, and gives their number: 0 where the file is full, all
  // files together are, or the disk.
  std::size_t Write(std::string_view bytes);

  // The first `most` bytes, or those that are there. Empty although there are some: the disk has failed.
  std::string Read(std::size_t most);

  bool IsEmpty() const { return m_held == 0; }

 private:
  bool Open();
  std::size_t WriteStretch(std::string_view bytes);
  void Empty();

  SpillBounds& m_bounds;
  Charge m_charge;  // the file's size
  UniqueFd m_file;
  std::uint64_t m_begin = 0;  // where the unread bytes begin
  std::uint64_t m_held = 0;   // how many they are
  std::uint64_t m_size = 0;   // of the file
};

}  // namespace hostlinux
