// The threads that run pages, and the bounded queue before them.
#pragma once

#include <condition_variable>
#include <deque>
#include <functional>
#include <mutex>
#include <thread>
#include <vector>

namespace hostlinux {

class ScriptThreads {
 public:
  using Task = std::function<void()>;

  // Starts `threads` threads (at least one); at most `maxQueue` tasks wait for one of them.
  ScriptThreads(unsigned threads, std::size_t maxQueue);

  // Drops what still waits and joins the threads: a task that never ends blocks here.
  ~ScriptThreads();

  ScriptThreads(const ScriptThreads&) = delete;
  ScriptThreads& operator=(const ScriptThreads&) = delete;

  // Runs `task` on the next free thread, in the order of arrival. False, and the task isn't kept, while the
  // queue is full. A task must not throw.
  bool TryPost(Task task);

 private:
  void Run();

  const std::size_t m_maxQueue;
  std::mutex m_mutex;
  std::condition_variable m_arrived;
  std::deque<Task> m_waiting;
  std::size_t m_free = 0;
  bool m_ending = false;
  std::vector<std::thread> m_threads;
};

}  // namespace hostlinux
