#include "host-linux/intrinsics/Application.h"

#include <algorithm>

#include "host-linux/intrinsics/HostError.h"
#include "varnel/automation/Members.h"

namespace hostlinux {

using varnel::ClassInfo;
using varnel::StringView;
using varnel::Variant;

void ApplicationState::AwaitLock(std::unique_lock<std::mutex>& lock, const Application* who) {
  const auto isFree = [&] { return m_owner == nullptr || m_owner == who; };
  const auto left = who->m_timeLeft ? who->m_timeLeft() : std::nullopt;
  if (!m_unlocked.wait_for(lock, std::min(m_lockWait, left.value_or(m_lockWait)), isFree)) {
    RaiseHostError(u"Application", u"Another request keeps the application locked.");
  }
}

const ClassInfo& Application::Class() const {
  static const ClassInfo info{u"Application",
                              {
                                  varnel::Method<&Application::ValueOf>(u"Value").AsDefault(),
                                  varnel::ReadOnly<&Application::ContentsObject>(u"Contents"),
                                  varnel::Method<&Application::Lock>(u"Lock"),
                                  varnel::Method<&Application::Unlock>(u"Unlock"),
                              }};
  return info;
}

Variant Application::Value(StringView key) {
  Variant value = m_state->m_values.Get(key);
  if (value.IsEmpty()) m_missingKey = key;
  return value;
}

Variant Application::ValueOf(const Variant& key) { return ContentsObject()->Item(key); }

std::shared_ptr<Contents> Application::ContentsObject() {
  return std::make_shared<Contents>(varnel::SharedFrom(*this));
}

void Application::Lock() {
  std::unique_lock lock(m_state->m_mutex);
  m_state->AwaitLock(lock, this);
  m_state->m_owner = this;
}

void Application::Unlock() {
  {
    const std::lock_guard lock(m_state->m_mutex);
    if (m_state->m_owner != this) return;
    m_state->m_owner = nullptr;
  }
  m_state->m_unlocked.notify_all();
}

template <class Change>
void Application::WhileUnlockedByOthers(Change change) {
  std::unique_lock lock(m_state->m_mutex);
  m_state->AwaitLock(lock, this);
  change();
}

void Application::Store(StringView key, const Variant& value) {
  Variant kept = KeptValue(value, m_state->m_mayKeep);
  WhileUnlockedByOthers([&] { m_state->m_values.Set(key, std::move(kept)); });
}

void Application::Remove(StringView key) {
  WhileUnlockedByOthers([&] { m_state->m_values.Remove(key); });
}

void Application::RemoveAll() {
  WhileUnlockedByOthers([&] { m_state->m_values.Clear(); });
}

}  // namespace hostlinux
