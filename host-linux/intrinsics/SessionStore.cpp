#include "host-linux/intrinsics/SessionStore.h"

#include <algorithm>
#include <limits>
#include <thread>

#include "host-linux/base/Random.h"

namespace hostlinux {

namespace {

// When a session was last used is stored this coarsely, or by the tenth of its timeout.
constexpr std::int64_t kUseAccuracy = 60;

// How long another process is left its lock before it is asked for again; twice as long each time.
constexpr std::chrono::milliseconds kFirstPause(1);
constexpr std::chrono::milliseconds kLongestPause(20);

// Whenever it was used.
constexpr std::int64_t kAlways = std::numeric_limits<std::int64_t>::max();

// Others can't be those of a session, and needn't be looked for.
bool IsToken(const std::string& token) {
  return token.size() == 32 && token.find_first_not_of("0123456789abcdef") == std::string::npos;
}

// What was set here goes before what another worker has set meanwhile.
void TakeHead(SessionState& state, const SessionHead& head) {
  if (state.lcid == state.stored.lcid) state.lcid = head.lcid;
  if (state.minutes == state.stored.minutes) state.minutes = head.minutes;
  if (head.isUsedAgain) state.isUsedAgain = true;
  state.stored = head;
}

SessionChange ChangeOf(SessionState& state) {
  SessionChange change;
  change.head = state.stored;
  change.head.token = state.token;
  change.head.formToken = state.formToken;
  change.head.id = state.id;
  change.head.lcid = state.lcid;
  change.head.minutes = state.minutes;
  change.head.isUsedAgain = state.isUsedAgain;
  change.head.lastUsed = state.lastUsed;
  change.setsLcid = change.head.lcid != state.stored.lcid;
  change.setsMinutes = change.head.minutes != state.stored.minutes;
  change.values = state.values.TakeChanges();
  return change;
}

}  // namespace

SessionStore::SessionStore(Options options)
    : m_options(std::move(options)),
      m_isShared(m_options.archive && m_options.archive->IsShared()),
      m_table(m_options.maxSessions, m_options.timeout) {}

// In each operation `dropped` outlives the lock: the end of a session's values may run code of its own.

std::shared_ptr<SessionState> SessionStore::FindHeld(const std::string& token) {
  SessionTable::Dropped dropped;
  StatePtr state;
  {
    const std::lock_guard lock(m_mutex);
    state = m_table.Find(token, m_options.now(), dropped);
  }
  if (state) state->lastUsed = m_options.timeOfDay();
  Forget(dropped);
  return state;
}

std::shared_ptr<SessionState> SessionStore::Find(const std::string& token) {
  StatePtr held = FindHeld(token);
  return m_options.archive ? Current(token, std::move(held)) : held;
}

// The session as the archive has it now.
std::shared_ptr<SessionState> SessionStore::Current(const std::string& token, StatePtr held) {
  try {
    if (held) {
      if (Refresh(*held)) return held;
      held->isGone = true;
      const std::lock_guard lock(m_mutex);
      m_table.Drop(token);
      return nullptr;
    }
    if (!IsToken(token)) return nullptr;
    const auto stored = m_options.archive->Load(token);
    return stored ? Adopt(*stored) : nullptr;
  } catch (const ArchiveFailure&) {
    if (m_isShared) throw;
    if (!held) return nullptr;
    const std::lock_guard saving(held->saving);
    return held->stored.version == SessionState::kNotLoaded ? nullptr : held;
  }
}

// Reads what another worker has changed. False where the session has ended there.
bool SessionStore::Refresh(SessionState& state) {
  const std::lock_guard saving(state.saving);
  if (state.stored.version == 0) return true;  // nobody else knows it yet
  const auto head = m_options.archive->Head(state.token);
  if (!head) return false;
  if (head->version == state.stored.version) return true;
  auto stored = m_options.archive->Load(state.token);
  if (!stored) return false;
  TakeHead(state, stored->head);
  state.values.Replace(std::move(stored->values));
  return true;
}

bool SessionStore::IsExpired(const SessionHead& head) const {
  const auto timeout = head.minutes > 0 ? std::chrono::minutes(head.minutes) : m_options.timeout;
  return m_options.timeOfDay() - head.lastUsed >= std::chrono::seconds(timeout).count();
}

SessionStore::Clock::time_point SessionStore::MomentOf(std::int64_t timeOfDay) const {
  const std::int64_t age = std::max<std::int64_t>(m_options.timeOfDay() - timeOfDay, 0);
  return m_options.now() - std::chrono::seconds(age);
}

// One that this process didn't know, asked for by a request.
std::shared_ptr<SessionState> SessionStore::Adopt(const StoredSession& stored) {
  if (IsExpired(stored.head)) {
    m_options.archive->RemoveLater(stored.head.token, stored.head.lastUsed);
    return nullptr;
  }
  SessionHead head = stored.head;
  head.isUsedAgain = true;
  AddKnown(head);
  StatePtr state = FindHeld(head.token);
  if (state) Refresh(*state);
  return state;
}

// Its values are read when a request asks for it.
void SessionStore::AddKnown(const SessionHead& head) {
  const auto state = std::make_shared<SessionState>(head.token, head.formToken, head.id, ValueStore());
  state->values.FollowRemovals();
  state->lastUsed = head.lastUsed;
  TakeHead(*state, head);
  state->stored.version = SessionState::kNotLoaded;
  SessionTable::Dropped dropped;
  {
    const std::lock_guard lock(m_mutex);
    m_table.Add(state, MomentOf(head.lastUsed), dropped);
  }
  Forget(dropped);
}

void SessionStore::AdoptAll() {
  std::vector<SessionHead> heads = m_options.archive->Heads();
  std::sort(heads.begin(), heads.end(),
            [](const SessionHead& left, const SessionHead& right) { return left.lastUsed < right.lastUsed; });
  for (const SessionHead& head : heads) {
    if (IsExpired(head)) {
      m_options.archive->RemoveLater(head.token, head.lastUsed);
    } else {
      AddKnown(head);
    }
  }
}

// Under the lock.
std::shared_ptr<SessionState> SessionStore::MakeState(const ValueStore& values, bool isUsedAgain,
                                                      varnel::Long id, SessionTable::Dropped& dropped) {
  const auto now = m_options.now();
  m_table.DropExpired(now, dropped);
  if (id == 0) id = m_table.UnusedId();
  auto state = std::make_shared<SessionState>(RandomToken(), RandomToken(), id, values);
  if (m_options.archive) state->values.FollowRemovals();
  state->lastUsed = m_options.timeOfDay();
  state->isUsedAgain = isUsedAgain;
  m_table.Add(state, now, dropped);
  return state;
}

std::shared_ptr<SessionState> SessionStore::Begin() {
  const varnel::Long id = NewId();
  SessionTable::Dropped dropped;
  StatePtr state;
  {
    const std::lock_guard lock(m_mutex);
    state = MakeState(m_initial, false, id, dropped);
  }
  Forget(dropped);
  return state;
}

// The old one goes first: where it can't, there is no new one either.
std::shared_ptr<SessionState> SessionStore::Renew(const SessionState& old) {
  const varnel::Long id = NewId();
  RemoveStored(old);
  SessionTable::Dropped dropped;
  StatePtr ended;
  StatePtr state;
  {
    const std::lock_guard lock(m_mutex);
    ended = m_table.Drop(old.token);
    state = MakeState(old.values, old.isUsedAgain, id, dropped);
    state->lcid = old.lcid.load();
    state->minutes = old.minutes.load();
  }
  Forget(dropped);
  return state;
}

void SessionStore::Remove(const std::string& token) {
  StatePtr ended;
  {
    const std::lock_guard lock(m_mutex);
    ended = m_table.Drop(token);
  }
  if (ended) {
    RemoveStored(*ended);
  } else if (m_options.archive) {
    m_options.archive->RemoveLater(token, kAlways);
  }
}

std::size_t SessionStore::Count() {
  const std::lock_guard lock(m_mutex);
  return m_table.Size();
}

// Nobody finds it again, whatever requests that hold it still write.
void SessionStore::RemoveStored(const SessionState& state) {
  const std::lock_guard saving(state.saving);
  state.isGone = true;
  if (!m_options.archive) return;
  try {
    m_options.archive->Remove(state.token);
  } catch (const ArchiveFailure&) {
    m_options.archive->RemoveLater(state.token, kAlways);
    if (m_isShared) throw;
  }
}

// A shared archive ends what has expired, and holds more than this process has room for.
void SessionStore::Forget(const SessionTable::Dropped& dropped) {
  if (!m_options.archive || m_isShared) return;
  for (const StatePtr& state : dropped.expired) {
    state->isGone = true;
    m_options.archive->RemoveLater(state->token, state->lastUsed);
  }
  for (const StatePtr& state : dropped.crowdedOut) {
    state->isGone = true;
    m_options.archive->RemoveLater(state->token, kAlways);
  }
}

bool SessionStore::IsWorthSaving(const SessionState& state, const SessionChange& change) const {
  if (state.stored.version == 0 || change.setsLcid || change.setsMinutes || !change.values.IsEmpty())
    return true;
  if (change.head.isUsedAgain != state.stored.isUsedAgain) return true;
  const auto timeout =
      change.head.minutes > 0 ? std::chrono::minutes(change.head.minutes) : m_options.timeout;
  const std::int64_t accuracy = std::min(kUseAccuracy, std::chrono::seconds(timeout).count() / 10);
  return change.head.lastUsed - state.stored.lastUsed >= accuracy;
}

void SessionStore::Save(SessionState& state) {
  if (!m_options.archive) return;
  const std::lock_guard saving(state.saving);
  if (state.isGone) return;
  const SessionChange change = ChangeOf(state);
  if (!IsWorthSaving(state, change)) return;
  try {
    const std::uint64_t known = state.stored.version;
    const std::uint64_t version = m_options.archive->Save(change);
    state.isGone = version == 0;
    state.stored = change.head;
    // Where another worker has saved in between, the next request reads what that was.
    state.stored.version = version == known + 1 ? version : known;
  } catch (const ArchiveFailure&) {
    if (m_isShared) {
      LoseFromMemory(state.token);
      throw;
    }
    state.values.PutBack(change.values);
  }
}

// What couldn't be stored mustn't be seen here alone: the next request reads the session anew.
void SessionStore::LoseFromMemory(const std::string& token) {
  StatePtr lost;
  const std::lock_guard lock(m_mutex);
  lost = m_table.Drop(token);
}

void SessionStore::Touch(const std::string& token) {
  if (!m_isShared || !IsToken(token)) return;
  SessionChange change;
  change.head.token = token;
  change.head.lastUsed = m_options.timeOfDay();
  change.head.isUsedAgain = true;
  change.head.version = SessionState::kNotLoaded;
  try {
    m_options.archive->Save(change);
  } catch (const ArchiveFailure&) {
    // It is in the log, and nobody has asked for more.
  }
}

bool SessionStore::LockArchive(const std::string& token, Clock::time_point end) {
  for (auto pause = kFirstPause;; pause = std::min(pause * 2, kLongestPause)) {
    if (m_options.archive->TryLock(token)) return true;
    if (Clock::now() + pause >= end) return false;
    std::this_thread::sleep_for(pause);
  }
}

bool SessionStore::Lock(SessionState& state, std::chrono::milliseconds wait) {
  const auto end = Clock::now() + wait;
  if (!m_locks.Take(state.token, end)) return false;
  if (!m_options.archive) return true;
  try {
    if (LockArchive(state.token, end)) {
      if (!Refresh(state)) state.isGone = true;
      return true;
    }
  } catch (const ArchiveFailure&) {
    if (!m_isShared) return true;
    Unlock(state);
    throw;
  }
  m_locks.GiveBack(state.token);
  return false;
}

void SessionStore::Unlock(const SessionState& state) {
  if (m_options.archive) m_options.archive->Unlock(state.token);
  m_locks.GiveBack(state.token);
}

void SessionStore::Tidy() {
  SessionTable::Dropped dropped;
  {
    const std::lock_guard lock(m_mutex);
    m_table.DropExpired(m_options.now(), dropped);
  }
  Forget(dropped);
  try {
    if (m_options.archive && m_options.archive->IsChangedByOthers()) AdoptAll();
  } catch (const ArchiveFailure&) {
    // It is in the log; sessions are found one by one when they are asked for, if that works.
  }
}

}  // namespace hostlinux
