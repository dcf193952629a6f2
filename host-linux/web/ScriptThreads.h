// The threads that run pages. They share the waiting for connections: the one that finds a connection ready
// reads its request, runs its page and writes its answer.
#pragma once

#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <deque>
#include <functional>
#include <mutex>
#include <thread>
#include <vector>

#include "host-linux/base/UniqueFd.h"

namespace hostlinux {

class ScriptThreads {
 public:
  using Task = std::function<void()>;

  struct Options {
    unsigned threads = 1;      // one is the least
    std::size_t maxQueue = 0;  // tasks that may wait for a thread
    // The connection of that id is ready; on one of the threads. Must not throw.
    std::function<void(std::uint64_t id)> onReady;
    // No thread waits any more, and whoever becomes ready now must be looked after by somebody else; on one
    // of the threads. May be left empty.
    std::function<void()> onAllBusy;
  };

  explicit ScriptThreads(Options options);

  // Drops what still waits and joins the threads: a task that never ends blocks here.
  ~ScriptThreads();

  ScriptThreads(const ScriptThreads&) = delete;
  ScriptThreads& operator=(const ScriptThreads&) = delete;

  // Whoever waits next hears once, of `id` (1 and up), when `fd` is ready for one of `events` (EPOLLIN,
  // EPOLLOUT); to hear again, it is watched again. False where the system has no room. A descriptor that is
  // closed isn't watched any more, though somebody may have heard of it already.
  bool Watch(int fd, std::uint64_t id, std::uint32_t events);

  // Those who are ready and of whom no thread has heard yet, without waiting; some of them where they are
  // many.
  std::vector<std::uint64_t> TakeReady();

  // Whether no thread is free.
  bool AreAllBusy() const;

  // Runs `task` on the next free thread, before what is ready and in the order of arrival. False, and the
  // task isn't kept, while the queue is full. A task must not throw.
  bool TryPost(Task task);

  // Called by a task that will wait for somebody outside: another thread takes this one's place meanwhile.
  // False, and nothing is changed, where too many wait already. A task that was allowed to wait says when it
  // goes on; then one thread more than usual may run until one of them is done.
  bool BeginWait();
  void EndWait();

  // Called by a task that takes long, where it can be interrupted: while others wait in the queue, another thread takes
  // this one's place, for `most` at most; then one thread more than usual runs until one of them is done. Changes nothing
  // where nobody waits, or where too many have stepped aside already.
  void StepAside(std::chrono::milliseconds most);

 private:
  void Run();
  bool AwaitTurn(std::unique_lock<std::mutex>& lock);
  Task TakeTask();
  void RunReady();
  void GiveUpTurn();
  void TakeTurnBack();
  void StartThread();
  void Wake();

  const Options m_options;
  const unsigned m_count;
  UniqueFd m_set;    // of the connections that are watched
  UniqueFd m_alarm;  // in the set too: wakes one thread
  mutable std::mutex m_mutex;
  std::condition_variable m_turn;
  std::condition_variable m_queueIsEmpty;
  std::deque<Task> m_queue;
  unsigned m_busy = 0;     // threads that run something
  unsigned m_active = 0;   // threads that run or wait for something to run
  unsigned m_waiting = 0;  // tasks that wait for somebody outside
  unsigned m_aside = 0;    // tasks that have stepped aside
  bool m_ending = false;
  std::vector<std::thread> m_threads;
};

}  // namespace hostlinux
