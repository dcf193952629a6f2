#include "host-linux/intrinsics/Session.h"

#include <algorithm>

#include "host-linux/intrinsics/Cookies.h"
#include "host-linux/intrinsics/HostError.h"
#include "varnel/automation/Members.h"

namespace hostlinux {

using varnel::ClassInfo;
using varnel::Long;
using varnel::RaiseRuntimeError;
using varnel::StringView;
using varnel::Variant;

namespace {

constexpr Long kUtf8CodePage = 65001;
constexpr Long kMaxMinutes = 24 * 60;
constexpr std::chrono::milliseconds kLongestWait(30'000);  // for the lock

}  // namespace

// A store of this process costs nothing to ask.
Session::Session(std::shared_ptr<SessionStore> store, std::string token, Options options)
    : m_store(std::move(store)),
      m_token(std::move(token)),
      m_options(std::move(options)),
      m_hasLooked(m_token.empty()) {
  if (!m_store->IsShared()) Known();
}

// What the page is told where the archive can't be asked.
template <class Action>
auto Session::Asking(Action action) {
  try {
    return action();
  } catch (const ArchiveFailure& failure) {
    m_failure = failure.what();
  }
  RaiseHostError(u"Session", u"The session can't be asked for: " + varnel::FromUtf8(m_failure));
}

// The session that the visitor has; null where he has none yet.
SessionState* Session::Known() {
  if (!m_hasLooked) {
    m_state = Asking([this] { return m_store->Find(m_token); });
    m_hasLooked = true;
    m_cameWithCookie = m_state != nullptr;
  }
  return m_state.get();
}

const ClassInfo& Session::Class() const {
  using S = Session;
  static const ClassInfo info{u"Session",
                              {
                                  varnel::Method<&S::ValueOf>(u"Value").AsDefault(),
                                  varnel::ReadOnly<&S::ContentsObject>(u"Contents"),
                                  varnel::ReadOnly<&S::SessionID>(u"SessionID"),
                                  varnel::ReadOnly<&S::FormToken>(u"FormToken"),
                                  varnel::Property<&S::LCID, &S::SetLCID>(u"LCID"),
                                  varnel::Property<&S::CodePage, &S::SetCodePage>(u"CodePage"),
                                  varnel::Property<&S::Timeout, &S::SetTimeout>(u"Timeout"),
                                  varnel::Method<&S::Lock>(u"Lock"),
                                  varnel::Method<&S::Unlock>(u"Unlock"),
                                  varnel::Method<&S::Renew>(u"Renew"),
                                  varnel::Method<&S::Abandon>(u"Abandon"),
                              }};
  return info;
}

SessionState& Session::Begun() {
  if (!Known()) {
    if (m_options.beforeBegin) m_options.beforeBegin();
    m_state = Asking([this] { return m_store->Begin(); });
    m_isNew = true;
  }
  return *m_state;
}

varnel::String Session::FormToken() {
  const std::string& token = Begun().formToken;
  m_hasShownFormToken = true;
  return varnel::FromUtf8(token);
}

bool Session::IsFormToken(std::string_view token) {
  if (!Known() || m_abandoned || token.size() != m_state->formToken.size()) return false;
  unsigned char difference = 0;
  for (std::size_t i = 0; i < token.size(); ++i)
    difference = static_cast<unsigned char>(difference | (token[i] ^ m_state->formToken[i]));
  return difference == 0;
}

Variant Session::ValueOf(const Variant& key) { return ContentsObject()->Item(key); }

std::shared_ptr<Contents> Session::ContentsObject() {
  return std::make_shared<Contents>(varnel::SharedFrom(*this));
}

void Session::Store(StringView key, const Variant& value) {
  Variant kept = KeptValue(value, m_store->KeepRule());
  Begun().values.Set(key, std::move(kept), m_store->MaxBytes());
}

Long Session::LCID() {
  if (m_pageLcid > 0) return m_pageLcid;
  const Long own = Known() ? m_state->lcid.load() : 0;
  return own > 0 ? own : m_options.lcid;
}

void Session::SetLCID(Long lcid) {
  if (lcid <= 0) RaiseRuntimeError(varnel::runtime_error::kInvalidArgument, u"LCID");
  Begun().lcid = lcid;
  m_pageLcid = 0;
}

void Session::SetCodePage(Long codePage) {
  if (codePage != kUtf8CodePage) {
    RaiseRuntimeError(varnel::runtime_error::kInvalidArgument, u"the code page of pages is always 65001");
  }
}

Long Session::Timeout() {
  const Long own = Known() ? m_state->minutes.load() : 0;
  return own > 0 ? own : static_cast<Long>(m_store->Timeout().count());
}

void Session::SetTimeout(Long minutes) {
  if (minutes < 1 || minutes > kMaxMinutes)
    RaiseRuntimeError(varnel::runtime_error::kInvalidArgument, u"Timeout");
  Begun().minutes = minutes;
}

void Session::Renew() {
  if (m_abandoned) return;
  const bool wasLocked = m_locked != nullptr;
  SessionState& old = Begun();
  m_state = Asking([&] { return m_store->Renew(old); });
  m_isNew = true;
  GiveLockBack();
  if (wasLocked) Lock();
}

void Session::Abandon() {
  if (!Known()) return;
  m_abandoned = true;
  Asking([this] { m_store->Remove(m_state->token); });
}

void Session::Lock() {
  SessionState& state = Begun();
  if (m_locked) return;
  const auto left = m_options.timeLeft ? m_options.timeLeft() : std::nullopt;
  const auto wait = std::min(kLongestWait, left.value_or(kLongestWait));
  if (!Asking([&] { return m_store->Lock(state, wait); }))
    RaiseHostError(u"Session", u"Another request keeps the session locked.");
  m_locked = m_state;
}

void Session::Unlock() {
  if (!m_locked) return;
  if (!m_abandoned) Asking([this] { m_store->Save(*m_state); });
  GiveLockBack();
}

void Session::GiveLockBack() {
  if (!m_locked) return;
  m_store->Unlock(*m_locked);
  m_locked.reset();
}

void Session::Save() {
  if (!m_hasLooked) return m_store->Touch(m_token);
  try {
    if (m_state && !m_abandoned) m_store->Save(*m_state);
  } catch (const ArchiveFailure& failure) {
    m_failure = failure.what();
    m_isNew = false;  // nobody would find it
    GiveLockBack();
    throw;
  }
  GiveLockBack();
}

void Session::CompleteHead(HttpResponse& head) const {
  // A session that was begun and abandoned at once never reached the browser.
  if (m_abandoned ? !m_cameWithCookie : !m_isNew) return;
  Cookie cookie;
  cookie.name = kSessionCookie;
  cookie.path = m_options.cookiePath;
  cookie.secure = m_options.secure;
  if (m_abandoned) {
    cookie.expires = 0;
  } else {
    cookie.value = m_state->token;
  }
  head.headers.Add("Set-Cookie", FormatCookie(cookie));
}

}  // namespace hostlinux
