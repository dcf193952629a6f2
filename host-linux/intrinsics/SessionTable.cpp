#include "host-linux/intrinsics/SessionTable.h"

#include <algorithm>

#include "host-linux/base/Random.h"

namespace hostlinux {

namespace {

// Expired sessions are looked for this often; in between a lookup judges only its own.
constexpr std::chrono::seconds kSweepInterval(30);

}  // namespace

SessionTable::SessionTable(std::size_t maxSessions, std::chrono::minutes timeout)
    : m_maxSessions(std::max<std::size_t>(maxSessions, 1)),
      m_timeout(timeout),
      m_lastId(RandomNumber<std::uint32_t>()) {}

bool SessionTable::IsExpired(const Entry& entry, Clock::time_point now) const {
  const varnel::Long own = entry.state->minutes;
  return now - entry.lastUsed >= (own > 0 ? std::chrono::minutes(own) : m_timeout);
}

SessionTable::StatePtr SessionTable::Take(Entries& list, Entries::iterator entry) {
  StatePtr state = std::move(entry->state);
  m_byToken.erase(state->token);
  m_ids.erase(state->id);
  list.erase(entry);
  return state;
}

void SessionTable::DropExpired(Entries& list, Clock::time_point now, Dropped& dropped) {
  for (auto entry = list.begin(); entry != list.end();) {
    const auto current = entry++;
    if (IsExpired(*current, now)) dropped.expired.push_back(Take(list, current));
  }
}

void SessionTable::DropExpired(Clock::time_point now, Dropped& dropped) {
  if (now < m_nextSweep) return;
  m_nextSweep = now + kSweepInterval;
  DropExpired(m_usedOnce, now, dropped);
  DropExpired(m_usedAgain, now, dropped);
}

SessionTable::StatePtr SessionTable::Find(const std::string& token, Clock::time_point now, Dropped& dropped) {
  DropExpired(now, dropped);
  const auto found = m_byToken.find(token);
  if (found == m_byToken.end()) return nullptr;
  const auto entry = found->second;
  Entries& list = ListOf(*entry);
  if (IsExpired(*entry, now)) {
    dropped.expired.push_back(Take(list, entry));
    return nullptr;
  }
  entry->lastUsed = now;
  entry->isUsedAgain = true;
  entry->state->isUsedAgain = true;
  m_usedAgain.splice(m_usedAgain.end(), list, entry);
  return entry->state;
}

void SessionTable::MakeRoom(Dropped& dropped) {
  while (Size() >= m_maxSessions) {
    Entries& list = m_usedOnce.empty() ? m_usedAgain : m_usedOnce;
    dropped.crowdedOut.push_back(Take(list, list.begin()));
  }
}

bool SessionTable::Add(const StatePtr& state, Clock::time_point lastUsed, Dropped& dropped) {
  if (Holds(state->token)) return false;
  MakeRoom(dropped);
  const bool isUsedAgain = state->isUsedAgain;
  Entries& list = isUsedAgain ? m_usedAgain : m_usedOnce;
  auto place = list.end();
  while (place != list.begin() && std::prev(place)->lastUsed > lastUsed) --place;
  m_ids.insert(state->id);
  const std::string& token = state->token;
  m_byToken.emplace(token, list.insert(place, {state, lastUsed, isUsedAgain}));
  return true;
}

SessionTable::StatePtr SessionTable::Drop(const std::string& token) {
  const auto found = m_byToken.find(token);
  if (found == m_byToken.end()) return nullptr;
  const auto entry = found->second;
  return Take(ListOf(*entry), entry);
}

varnel::Long SessionTable::UnusedId() {
  do {
    m_lastId = (m_lastId + 1) & 0x7FFFFFFF;
  } while (m_lastId == 0 || m_ids.contains(static_cast<varnel::Long>(m_lastId)));
  return static_cast<varnel::Long>(m_lastId);
}

}  // namespace hostlinux
