#include "host-linux/web/ConnectionTable.h"

#include <algorithm>
#include <utility>

namespace hostlinux {

namespace {

constexpr std::size_t kMostCandidates = 256;

// A connection without any request yet is spared so long.
constexpr std::chrono::seconds kFreshness(1);

}  // namespace

void ConnectionTable::Add(std::shared_ptr<HttpConnection> connection) {
  const std::lock_guard lock(m_mutex);
  const std::uint64_t id = connection->Id();
  m_connections.emplace(id, std::move(connection));
}

void ConnectionTable::Remove(std::uint64_t id) {
  std::shared_ptr<HttpConnection> last;  // goes without the lock
  {
    const std::lock_guard lock(m_mutex);
    const auto found = m_connections.find(id);
    if (found == m_connections.end()) return;
    last = std::move(found->second);
    m_connections.erase(found);
    if (!m_connections.empty()) return;
  }
  m_changed.notify_all();
}

std::shared_ptr<HttpConnection> ConnectionTable::Find(std::uint64_t id) const {
  const std::lock_guard lock(m_mutex);
  const auto found = m_connections.find(id);
  return found == m_connections.end() ? nullptr : found->second;
}

std::size_t ConnectionTable::Size() const {
  const std::lock_guard lock(m_mutex);
  return m_connections.size();
}

ConnectionTable::Connections ConnectionTable::All() const {
  const std::lock_guard lock(m_mutex);
  Connections all;
  all.reserve(m_connections.size());
  for (const auto& [id, connection] : m_connections) all.push_back(connection);
  return all;
}

ConnectionTable::Deadlines ConnectionTable::DeadlinesAt(Clock::time_point now) const {
  const std::lock_guard lock(m_mutex);
  Deadlines deadlines;
  for (const auto& [id, connection] : m_connections) {
    const Clock::time_point deadline = connection->Deadline();
    if (deadline <= now) {
      deadlines.due.push_back(connection);
    } else {
      deadlines.next = std::min(deadlines.next, deadline);
    }
  }
  return deadlines;
}

void ConnectionTable::FindCandidates() {
  const std::lock_guard lock(m_mutex);
  for (const auto& [id, connection] : m_connections) {
    if (const auto idle = connection->Idle()) m_candidates.push_back({id, *idle});
  }
  const auto isLonger = [](const Candidate& a, const Candidate& b) { return a.idle.since < b.idle.since; };
  const std::size_t count = std::min(m_candidates.size(), kMostCandidates);
  const auto end = m_candidates.begin() + static_cast<std::ptrdiff_t>(count);
  std::partial_sort(m_candidates.begin(), end, m_candidates.end(), isLonger);
  if (m_candidates.size() == 1 && m_candidates[0].idle.isFresh &&
      Clock::now() - m_candidates[0].idle.since < kFreshness)
    m_candidates.clear();
  m_candidates.resize(std::min(m_candidates.size(), kMostCandidates));
  std::reverse(m_candidates.begin(), m_candidates.end());
}

bool ConnectionTable::CloseLongestIdle() {
  const bool hadSome = !m_candidates.empty();
  for (int round = 0; round < (hadSome ? 2 : 1); ++round) {
    if (m_candidates.empty()) FindCandidates();
    while (!m_candidates.empty()) {
      const Candidate candidate = m_candidates.back();
      m_candidates.pop_back();
      const auto connection = Find(candidate.id);
      if (connection != nullptr && connection->CloseIdle(candidate.idle.since)) return true;
    }
  }
  return false;
}

void ConnectionTable::WakeWaiting() const {
  { const std::lock_guard lock(m_mutex); }
  m_changed.notify_all();
}

}  // namespace hostlinux
