// A file descriptor with one owner, closed when the owner goes.
#pragma once

#include <unistd.h>

#include <utility>

namespace hostlinux {

class UniqueFd {
 public:
  UniqueFd() = default;
  explicit UniqueFd(int fd) : m_fd(fd) {}
  UniqueFd(UniqueFd&& other) noexcept : m_fd(other.Release()) {}
  UniqueFd& operator=(UniqueFd&& other) noexcept {
    std::swap(m_fd, other.m_fd);
    return *this;
  }
  ~UniqueFd() {
    if (m_fd >= 0) ::close(m_fd);
  }

  // The descriptor, or -1 where there is none; it stays owned.
  int Get() const { return m_fd; }
  explicit operator bool() const { return m_fd >= 0; }

  // Gives the descriptor away; the caller closes it.
  int Release() { return std::exchange(m_fd, -1); }

 private:
  int m_fd = -1;
};

}  // namespace hostlinux
