// A thread that does the same thing again and again.
#pragma once

#include <chrono>
#include <condition_variable>
#include <functional>
#include <mutex>
#include <thread>

namespace hostlinux {

// Calls `work` after each `interval` until it goes; its end waits for a call that runs. `work` throws nothing.
class Repeater {
 public:
  Repeater(std::chrono::milliseconds interval, std::function<void()> work);
  ~Repeater();
  Repeater(const Repeater&) = delete;
  Repeater& operator=(const Repeater&) = delete;

 private:
  void Run();

  const std::chrono::milliseconds m_interval;
  const std::function<void()> m_work;
  std::mutex m_mutex;
  std::condition_variable m_ended;
  bool m_isEnding = false;
  std::thread m_thread;
};

}  // namespace hostlinux
