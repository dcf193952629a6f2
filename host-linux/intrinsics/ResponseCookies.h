// The cookies that a page sets.
#pragma once

#include <memory>
#include <vector>

#include "host-linux/intrinsics/Cookies.h"
#include "host-linux/intrinsics/RequestBound.h"
#include "host-linux/web/HttpMessage.h"
#include "varnel/automation/Object.h"

namespace hostlinux {

// One cookie; as a value its text.
class ResponseCookie : public varnel::Object, public RequestBound {
 public:
  ResponseCookie(std::string name, std::string path);

  const varnel::ClassInfo& Class() const override;

  varnel::String Value() const { return varnel::FromUtf8(m_cookie.value); }
  void SetValue(const varnel::String& value) { m_cookie.value = varnel::ToUtf8(value); }
  // Local time; Empty: until the browser ends.
  varnel::Variant Expires() const { return m_expires; }
  void SetExpires(varnel::Date when);
  varnel::String Path() const { return varnel::FromUtf8(m_cookie.path); }
  void SetPath(const varnel::String& path) { m_cookie.path = varnel::ToUtf8(path); }
  varnel::String Domain() const { return varnel::FromUtf8(m_cookie.domain); }
  void SetDomain(const varnel::String& domain) { m_cookie.domain = varnel::ToUtf8(domain); }
  bool Secure() const { return m_cookie.secure; }
  void SetSecure(bool secure) { m_cookie.secure = secure; }
  // True at first, so that scripts in the browser don't see the cookie.
  bool HttpOnly() const { return m_cookie.httpOnly; }
  void SetHttpOnly(bool httpOnly) { m_cookie.httpOnly = httpOnly; }

  const Cookie& Plain() const { return m_cookie; }

 private:
  Cookie m_cookie;
  varnel::Variant m_expires;
};

// Written by `Response.Cookies["name"] = value`; `Response.Cookies("name")` is the cookie, which that makes
// where it wasn't set. Names ignore case.
class ResponseCookies : public varnel::Object, public RequestBound {
 public:
  // New cookies get `path`.
  explicit ResponseCookies(std::string path) : m_path(std::move(path)) {}

  const varnel::ClassInfo& Class() const override;
  varnel::Variant Get(varnel::StringView name) override;
  // Raises 80004005 (hexadecimal) once the head was sent, 438 for a name that is a member.
  void Put(varnel::StringView name, const varnel::Variant& value) override;

  std::shared_ptr<ResponseCookie> Item(const varnel::String& name);
  varnel::Long Count() const { return static_cast<varnel::Long>(m_cookies.size()); }

  // Adds a Set-Cookie header for each to `headers`. No more can be set then.
  void AddTo(HeaderList& headers);

 private:
  std::shared_ptr<ResponseCookie> Find(varnel::StringView name) const;

  struct Entry {
    varnel::String name;
    std::shared_ptr<ResponseCookie> cookie;
  };
  std::string m_path;
  std::vector<Entry> m_cookies;
  bool m_closed = false;
};

}  // namespace hostlinux
