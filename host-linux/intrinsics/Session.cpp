#include "host-linux/intrinsics/Session.h"

#include "host-linux/intrinsics/Cookies.h"
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

}  // namespace

Session::Session(std::shared_ptr<SessionStore> store, const std::string& token, Options options)
    : m_store(std::move(store)),
      m_state(token.empty() ? nullptr : m_store->Find(token)),
      m_options(std::move(options)),
      m_cameWithCookie(m_state != nullptr) {}

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
                                  varnel::Method<&S::Renew>(u"Renew"),
                                  varnel::Method<&S::Abandon>(u"Abandon"),
                              }};
  return info;
}

SessionState& Session::Begun() {
  if (!m_state) {
    if (m_options.beforeBegin) m_options.beforeBegin();
    m_state = m_store->Begin();
    m_isNew = true;
  }
  return *m_state;
}

varnel::String Session::FormToken() {
  const std::string& token = Begun().formToken;
  m_hasShownFormToken = true;
  return varnel::FromUtf8(token);
}

bool Session::IsFormToken(std::string_view token) const {
  if (!m_state || m_abandoned || token.size() != m_state->formToken.size()) return false;
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
  const Long own = m_state ? m_state->lcid.load() : 0;
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

Long Session::Timeout() const {
  const Long own = m_state ? m_state->minutes.load() : 0;
  return own > 0 ? own : static_cast<Long>(m_store->Timeout().count());
}

void Session::SetTimeout(Long minutes) {
  if (minutes < 1 || minutes > kMaxMinutes)
    RaiseRuntimeError(varnel::runtime_error::kInvalidArgument, u"Timeout");
  Begun().minutes = minutes;
}

void Session::Renew() {
  if (m_abandoned) return;
  m_state = m_store->Renew(Begun());
  m_isNew = true;
}

void Session::Abandon() {
  if (!m_state) return;
  m_abandoned = true;
  m_store->Remove(m_state->token);
}

void Session::Save() {
  if (m_state && !m_abandoned) m_store->Save(*m_state);
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
