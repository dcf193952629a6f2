#include "host-linux/intrinsics/SessionStore.h"

#include "host-linux/base/Random.h"

namespace hostlinux {

namespace {

// Expired sessions are looked for this often; in between a lookup judges only its own.
constexpr std::chrono::seconds kSweepInterval(30);

// Counting through all positive numbers keeps them apart while fewer sessions than that live.
varnel::Long NextId(std::uint32_t& last) {
  last = (last + 1) & 0x7FFFFFFF;
  if (last == 0) last = 1;
  return static_cast<varnel::Long>(last);
}

}  // namespace

SessionStore::SessionStore(Options options)
    : m_options(std::move(options)), m_nextSweep(m_options.now()), m_lastId(RandomNumber<std::uint32_t>()) {}

bool SessionStore::IsExpired(const Entry& entry, Clock::time_point now) const {
  const varnel::Long own = entry.state->minutes;
  return now - entry.lastUsed >= (own > 0 ? std::chrono::minutes(own) : m_options.timeout);
}

void SessionStore::DropExpired(Clock::time_point now, Entries& dropped) {
  if (now < m_nextSweep) return;
  m_nextSweep = now + kSweepInterval;
  for (auto entry = m_entries.begin(); entry != m_entries.end();) {
    const auto current = entry++;
    if (!IsExpired(*current, now)) continue;
    m_byToken.erase(current->state->token);
    dropped.splice(dropped.end(), m_entries, current);
  }
}

// In each operation `dropped` outlives the lock: the end of a session's values may run code of its own.

std::shared_ptr<SessionState> SessionStore::Find(const std::string& token) {
  Entries dropped;
  const std::lock_guard lock(m_mutex);
  const auto now = m_options.now();
  DropExpired(now, dropped);
  const auto found = m_byToken.find(token);
  if (found == m_byToken.end()) return nullptr;
  const auto entry = found->second;
  if (IsExpired(*entry, now)) {
    m_byToken.erase(found);
    dropped.splice(dropped.end(), m_entries, entry);
    return nullptr;
  }
  entry->lastUsed = now;
  m_entries.splice(m_entries.end(), m_entries, entry);
  return entry->state;
}

// Under the lock.
std::shared_ptr<SessionState> SessionStore::Add(const ValueStore& values, Entries& dropped) {
  const auto now = m_options.now();
  DropExpired(now, dropped);
  while (!m_entries.empty() && m_entries.size() >= m_options.maxSessions) {
    m_byToken.erase(m_entries.front().state->token);
    dropped.splice(dropped.end(), m_entries, m_entries.begin());
  }
  auto state = std::make_shared<SessionState>(RandomToken(), RandomToken(), NextId(m_lastId), values);
  m_entries.push_back({state, now});
  m_byToken.emplace(state->token, std::prev(m_entries.end()));
  return state;
}

// Under the lock.
void SessionStore::Drop(const std::string& token, Entries& dropped) {
  const auto found = m_byToken.find(token);
  if (found == m_byToken.end()) return;
  dropped.splice(dropped.end(), m_entries, found->second);
  m_byToken.erase(found);
}

std::shared_ptr<SessionState> SessionStore::Begin() {
  Entries dropped;
  const std::lock_guard lock(m_mutex);
  return Add(m_initial, dropped);
}

std::shared_ptr<SessionState> SessionStore::Renew(const SessionState& old) {
  Entries dropped;
  const std::lock_guard lock(m_mutex);
  Drop(old.token, dropped);
  auto state = Add(old.values, dropped);
  state->lcid = old.lcid.load();
  state->minutes = old.minutes.load();
  return state;
}

void SessionStore::Remove(const std::string& token) {
  Entries dropped;
  const std::lock_guard lock(m_mutex);
  Drop(token, dropped);
}

std::size_t SessionStore::Count() {
  const std::lock_guard lock(m_mutex);
  return m_entries.size();
}

}  // namespace hostlinux
