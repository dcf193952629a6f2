#include "host-linux/intrinsics/SessionLocks.h"

namespace hostlinux {

bool SessionLocks::Take(const std::string& token, std::chrono::steady_clock::time_point end) {
  std::unique_lock lock(m_mutex);
  if (!m_givenBack.wait_until(lock, end, [&] { return !m_taken.contains(token); })) return false;
  m_taken.insert(token);
  return true;
}

void SessionLocks::GiveBack(const std::string& token) {
  {
    const std::lock_guard lock(m_mutex);
    m_taken.erase(token);
  }
  m_givenBack.notify_all();
}

}  // namespace hostlinux
