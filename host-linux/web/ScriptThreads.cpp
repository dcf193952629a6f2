#include "host-linux/web/ScriptThreads.h"

#include <sys/epoll.h>
#include <sys/eventfd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <stdexcept>
#include <utility>

namespace hostlinux {

namespace {

constexpr std::uint64_t kAlarm = 0;  // no connection's id

// Tasks that may wait besides those that run. Each costs a thread with an engine.
constexpr unsigned kMostWaiting = 4;
// The same of tasks that step aside.
constexpr unsigned kMostAside = 4;

// Taken at a time by who looks after the ready ones while all threads are busy.
constexpr std::size_t kMostTaken = 64;

}  // namespace

ScriptThreads::ScriptThreads(Options options)
    : m_options(std::move(options)),
      m_count(std::max(m_options.threads, 1U)),
      m_set(::epoll_create1(EPOLL_CLOEXEC)),
      m_alarm(::eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)) {
  epoll_event event{};
  event.events = EPOLLIN | EPOLLET;  // each alarm wakes one
  event.data.u64 = kAlarm;
  if (!m_set || !m_alarm || ::epoll_ctl(m_set.Get(), EPOLL_CTL_ADD, m_alarm.Get(), &event) != 0)
    throw std::runtime_error("The server has no descriptors for its threads.");
  const std::lock_guard lock(m_mutex);
  m_threads.reserve(m_count + kMostWaiting + kMostAside);
  for (unsigned i = 0; i < m_count; ++i) StartThread();
}

ScriptThreads::~ScriptThreads() {
  {
    const std::lock_guard lock(m_mutex);
    m_ending = true;
    m_queue.clear();
  }
  m_turn.notify_all();
  m_queueIsEmpty.notify_all();
  Wake();
  for (std::thread& thread : m_threads) thread.join();
}

// Under the lock.
void ScriptThreads::StartThread() {
  m_threads.emplace_back([this] { Run(); });
  ++m_active;
}

void ScriptThreads::Wake() { ::eventfd_write(m_alarm.Get(), 1); }

bool ScriptThreads::Watch(int fd, std::uint64_t id, std::uint32_t events) {
  epoll_event event{};
  event.events = events | EPOLLONESHOT;
  event.data.u64 = id;
  if (::epoll_ctl(m_set.Get(), EPOLL_CTL_MOD, fd, &event) == 0) return true;
  return errno == ENOENT && ::epoll_ctl(m_set.Get(), EPOLL_CTL_ADD, fd, &event) == 0;
}

std::vector<std::uint64_t> ScriptThreads::TakeReady() {
  std::array<epoll_event, kMostTaken> events;
  const int count = ::epoll_wait(m_set.Get(), events.data(), static_cast<int>(events.size()), 0);
  std::vector<std::uint64_t> ids;
  for (int i = 0; i < count; ++i) {
    const std::uint64_t id = events[static_cast<std::size_t>(i)].data.u64;
    if (id == kAlarm) {
      Wake();  // it was for a thread
    } else {
      ids.push_back(id);
    }
  }
  return ids;
}

bool ScriptThreads::AreAllBusy() const {
  const std::lock_guard lock(m_mutex);
  return m_busy >= m_count;
}

bool ScriptThreads::TryPost(Task task) {
  bool hasFree = false;
  {
    const std::lock_guard lock(m_mutex);
    const unsigned free = m_count - std::min(m_busy, m_count);
    // A task that a free thread is about to take doesn't count as waiting.
    if (m_ending || m_queue.size() >= m_options.maxQueue + free) return false;
    m_queue.push_back(std::move(task));
    hasFree = free > 0;
  }
  if (hasFree) Wake();
  return true;
}

// Under the lock, after the count of those who gave theirs up has grown.
void ScriptThreads::GiveUpTurn() {
  const bool parked = m_threads.size() >= m_active + m_waiting + m_aside;
  --m_active;
  --m_busy;
  if (parked) {
    m_turn.notify_one();
  } else if (m_active < m_count) {
    StartThread();
  } else if (!m_queue.empty()) {
    Wake();  // one too many, who waits for connections
  }
}

void ScriptThreads::TakeTurnBack() {
  ++m_active;
  ++m_busy;
}

bool ScriptThreads::BeginWait() {
  const std::lock_guard lock(m_mutex);
  if (m_ending || m_waiting == kMostWaiting) return false;
  ++m_waiting;
  GiveUpTurn();
  return true;
}

void ScriptThreads::EndWait() {
  const std::lock_guard lock(m_mutex);
  --m_waiting;
  TakeTurnBack();
}

void ScriptThreads::StepAside(std::chrono::milliseconds most) {
  std::unique_lock lock(m_mutex);
  if (m_ending || m_queue.empty() || m_aside == kMostAside) return;
  ++m_aside;
  GiveUpTurn();
  m_queueIsEmpty.wait_for(lock, most, [this] { return m_ending || m_queue.empty(); });
  --m_aside;
  TakeTurnBack();
}

// A thread too many stands aside until it is wanted. False: it is to end.
bool ScriptThreads::AwaitTurn(std::unique_lock<std::mutex>& lock) {
  if (m_active > m_count && !m_ending) {
    --m_active;
    if (!m_queue.empty()) Wake();  // the alarm may have been for a task
    m_turn.wait(lock, [this] { return m_ending || m_active < m_count; });
    ++m_active;
  }
  return !m_ending;
}

// Under the lock: the next task, which the thread is busy with from now on; empty without one.
ScriptThreads::Task ScriptThreads::TakeTask() {
  if (m_queue.empty()) return nullptr;
  Task task = std::move(m_queue.front());
  m_queue.pop_front();
  if (m_queue.empty()) m_queueIsEmpty.notify_all();
  ++m_busy;
  if (!m_queue.empty() && m_busy < m_count) Wake();
  return task;
}

void ScriptThreads::RunReady() {
  epoll_event event{};
  const int count = ::epoll_wait(m_set.Get(), &event, 1, -1);
  bool areAllBusy = false;
  {
    const std::lock_guard lock(m_mutex);
    ++m_busy;
    areAllBusy = m_busy >= m_count;
  }
  if (count < 1 || event.data.u64 == kAlarm) return;
  if (areAllBusy && m_options.onAllBusy) m_options.onAllBusy();
  m_options.onReady(event.data.u64);
}

void ScriptThreads::Run() {
  std::unique_lock lock(m_mutex);
  while (AwaitTurn(lock)) {
    Task task = TakeTask();
    lock.unlock();
    if (task) {
      task();
      task = nullptr;
    } else {
      RunReady();
    }
    lock.lock();
    --m_busy;
  }
  Wake();  // the next one to end
}

}  // namespace hostlinux
