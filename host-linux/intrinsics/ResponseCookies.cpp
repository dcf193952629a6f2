#include "host-linux/intrinsics/ResponseCookies.h"

#include "host-linux/intrinsics/HostError.h"
#include "varnel/automation/Members.h"

namespace hostlinux {

using varnel::ClassInfo;
using varnel::String;
using varnel::StringView;
using varnel::Variant;

ResponseCookie::ResponseCookie(std::string name, std::string path) {
  m_cookie.name = std::move(name);
  m_cookie.path = std::move(path);
}

const ClassInfo& ResponseCookie::Class() const {
  using C = ResponseCookie;
  static const ClassInfo info{u"ResponseCookie",
                              {
                                  varnel::Property<&C::Value, &C::SetValue>(u"Value").AsDefault(),
                                  varnel::Property<&C::Expires, &C::SetExpires>(u"Expires"),
                                  varnel::Property<&C::Path, &C::SetPath>(u"Path"),
                                  varnel::Property<&C::Domain, &C::SetDomain>(u"Domain"),
                                  varnel::Property<&C::Secure, &C::SetSecure>(u"Secure"),
                                  varnel::Property<&C::HttpOnly, &C::SetHttpOnly>(u"HttpOnly"),
                              }};
  return info;
}

void ResponseCookie::SetExpires(varnel::Date when) {
  const varnel::DateParts parts = varnel::SplitDate(when);
  std::tm local{};
  local.tm_year = parts.year - 1900;
  local.tm_mon = parts.month - 1;
  local.tm_mday = parts.day;
  local.tm_hour = parts.hour;
  local.tm_min = parts.minute;
  local.tm_sec = parts.second;
  local.tm_isdst = -1;
  m_cookie.expires = std::mktime(&local);
  m_expires = when;
}

const ClassInfo& ResponseCookies::Class() const {
  static const ClassInfo info{u"ResponseCookies",
                              {
                                  varnel::Method<&ResponseCookies::Item>(u"Item").AsDefault(),
                                  varnel::ReadOnly<&ResponseCookies::Count>(u"Count"),
                              }};
  return info;
}

std::shared_ptr<ResponseCookie> ResponseCookies::Find(StringView name) const {
  for (const Entry& entry : m_cookies) {
    if (varnel::EqualsNoCase(entry.name, name)) return entry.cookie;
  }
  return nullptr;
}

std::shared_ptr<ResponseCookie> ResponseCookies::Item(const String& name) {
  if (std::shared_ptr<ResponseCookie> known = Find(name)) return known;
  if (m_closed) RaiseHostError(u"Response.Cookies", u"The head of the response was sent already.");
  if (name.empty())
    varnel::RaiseRuntimeError(varnel::runtime_error::kInvalidArgument, u"a cookie needs a name");
  m_cookies.push_back({name, std::make_shared<ResponseCookie>(varnel::ToUtf8(name), m_path)});
  return m_cookies.back().cookie;
}

Variant ResponseCookies::Get(StringView name) {
  if (Class().Find(name)) return Object::Get(name);
  return Item(String(name));
}

void ResponseCookies::Put(StringView name, const Variant& value) {
  if (Class().Find(name)) return Object::Put(name, value);
  if (m_closed) RaiseHostError(u"Response.Cookies", u"The head of the response was sent already.");
  const String text = varnel::ToText(value);
  Item(String(name))->SetValue(text);
}

void ResponseCookies::AddTo(HeaderList& headers) {
  m_closed = true;
  for (const Entry& entry : m_cookies) headers.Add("Set-Cookie", FormatCookie(entry.cookie->Plain()));
}

}  // namespace hostlinux
