// Which sessions a request of this process keeps from others.
#pragma once

#include <chrono>
#include <condition_variable>
#include <mutex>
#include <string>
#include <unordered_set>

namespace hostlinux {

// Safe from all threads.
class SessionLocks {
 public:
  // Waits until nobody has the lock of `token` and takes it; false where somebody has it still at `end`.
  bool Take(const std::string& token, std::chrono::steady_clock::time_point end);
  void GiveBack(const std::string& token);

 private:
  std::mutex m_mutex;
  std::condition_variable m_givenBack;
  std::unordered_set<std::string> m_taken;
};

}  // namespace hostlinux
