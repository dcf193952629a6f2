#include "host-linux/base/Repeater.h"

namespace hostlinux {

Repeater::Repeater(std::chrono::milliseconds interval, std::function<void()> work)
    : m_interval(interval), m_work(std::move(work)), m_thread([this] { Run(); }) {}

Repeater::~Repeater() {
  {
    const std::lock_guard lock(m_mutex);
    m_isEnding = true;
  }
  m_ended.notify_one();
  m_thread.join();
}

void Repeater::Run() {
  std::unique_lock lock(m_mutex);
  while (!m_ended.wait_for(lock, m_interval, [this] { return m_isEnding; })) {
    lock.unlock();
    m_work();
    lock.lock();
  }
}

}  // namespace hostlinux
