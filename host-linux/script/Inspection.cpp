#include "host-linux/script/Inspection.h"

#include <utility>

namespace hostlinux {

// Called under the lock.
void Inspection::Add(Event event) {
  m_events.push_back(std::move(event));
  if (m_interrupt) m_interrupt();
  m_changed.notify_all();
}

bool Inspection::Open(Sender send) {
  const std::lock_guard lock(m_mutex);
  if (m_send || m_ended) return false;
  m_send = std::move(send);
  Add({Event::Kind::Opened, {}});
  return true;
}

void Inspection::Deliver(std::string message) {
  const std::lock_guard lock(m_mutex);
  if (m_send) Add({Event::Kind::Message, std::move(message)});
}

void Inspection::Close() {
  const std::lock_guard lock(m_mutex);
  if (!m_send) return;
  m_send = nullptr;
  Add({Event::Kind::Closed, {}});
}

bool Inspection::Post(Job job) {
  const std::lock_guard lock(m_mutex);
  if (m_ended) return false;
  m_jobs.push_back(std::move(job));
  m_changed.notify_all();
  return true;
}

void Inspection::End() {
  Close();
  const std::lock_guard lock(m_mutex);
  m_ended = true;
  m_changed.notify_all();
}

void Inspection::SetInterrupt(std::function<void()> interrupt) {
  const std::lock_guard lock(m_mutex);
  m_interrupt = std::move(interrupt);
}

std::optional<Inspection::Event> Inspection::TakeEvent() {
  const std::lock_guard lock(m_mutex);
  if (m_events.empty()) return std::nullopt;
  Event event = std::move(m_events.front());
  m_events.pop_front();
  return event;
}

std::optional<Inspection::Event> Inspection::AwaitEvent() {
  {
    std::unique_lock lock(m_mutex);
    m_changed.wait(lock, [this] { return !m_events.empty() || m_ended; });
  }
  return TakeEvent();
}

bool Inspection::AwaitWork(Job& job) {
  std::unique_lock lock(m_mutex);
  m_changed.wait(lock, [this] { return !m_events.empty() || !m_jobs.empty() || m_ended; });
  job = nullptr;
  if (!m_events.empty()) return true;
  if (m_jobs.empty()) return false;
  job = std::move(m_jobs.front());
  m_jobs.pop_front();
  return true;
}

void Inspection::Say(std::string message) {
  const std::lock_guard lock(m_mutex);
  if (m_send) m_send(std::move(message));
}

}  // namespace hostlinux
