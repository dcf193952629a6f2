#include "host-linux/web/ScriptThreads.h"

#include <algorithm>

namespace hostlinux {

ScriptThreads::ScriptThreads(unsigned threads, std::size_t maxQueue) : m_maxQueue(maxQueue) {
  const unsigned count = std::max(threads, 1U);
  m_free = count;
  m_threads.reserve(count);
  for (unsigned i = 0; i < count; ++i) m_threads.emplace_back([this] { Run(); });
}

ScriptThreads::~ScriptThreads() {
  {
    const std::lock_guard lock(m_mutex);
    m_ending = true;
    m_waiting.clear();
  }
  m_arrived.notify_all();
  for (std::thread& thread : m_threads) thread.join();
}

bool ScriptThreads::TryPost(Task task) {
  {
    const std::lock_guard lock(m_mutex);
    // A task that a free thread is about to take doesn't count as waiting.
    if (m_ending || m_waiting.size() >= m_maxQueue + m_free) return false;
    m_waiting.push_back(std::move(task));
  }
  m_arrived.notify_one();
  return true;
}

void ScriptThreads::Run() {
  std::unique_lock lock(m_mutex);
  while (true) {
    m_arrived.wait(lock, [this] { return m_ending || !m_waiting.empty(); });
    if (m_ending) return;
    Task task = std::move(m_waiting.front());
    m_waiting.pop_front();
    --m_free;
    lock.unlock();
    task();
    task = nullptr;
    lock.lock();
    ++m_free;
  }
}

}  // namespace hostlinux
