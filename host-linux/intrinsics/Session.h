// A visitor's values, kept from request to request.
#pragma once

#include <chrono>
#include <functional>
#include <memory>
#include <optional>
#include <string>

#include "host-linux/intrinsics/Contents.h"
#include "host-linux/intrinsics/SessionStore.h"
#include "host-linux/web/HttpMessage.h"
#include "varnel/host/Intrinsics.h"

namespace hostlinux {

inline constexpr char kSessionCookie[] = "varnel_session";

// The session as one request sees it. It begins at the first write or the first look at SessionID; before, it
// reads like one that has just begun. Where sessions are in a shared archive, that is asked when the page first
// does something with its session, and whatever it does raises 80004005 (hexadecimal) while it can't be asked.
class Session : public varnel::Object,
                public varnel::host::ISession,
                public IKeyedValues,
                public RequestBound {
 public:
  struct Options {
    varnel::Long lcid = 1033;
    std::string cookiePath = "/";
    bool secure = false;  // the cookie goes over https only
    // Called before a session begins; doesn't return where none may. May be left empty.
    std::function<void()> beforeBegin = {};
    // What is left of the page's time; none where nothing limits it. May be left empty.
    std::function<std::optional<std::chrono::milliseconds>()> timeLeft = {};
  };

  // `token` is the value of the visitor's cookie, empty where there is none; one that names no living session
  // counts as none.
  Session(std::shared_ptr<SessionStore> store, std::string token, Options options);
  ~Session() override { GiveLockBack(); }

  const varnel::ClassInfo& Class() const override;

  varnel::Variant Value(varnel::StringView key) override { return Values().Get(key); }
  varnel::Variant ValueOf(const varnel::Variant& key);
  std::shared_ptr<Contents> ContentsObject();
  varnel::Long SessionID() { return Begun().id; }

  // A secret that the session's forms bear, so that a post from another site's form can be told: it is
  // compared with what was posted.
  varnel::String FormToken();
  // True where the visitor has a session, of before or of this request.
  bool HasBegun() { return Known() != nullptr; }
  // True for the form token of this session; false where it hasn't begun. Takes the same time for all texts.
  bool IsFormToken(std::string_view token);
  // True once a page has asked for the token: what it writes may hold it.
  bool HasShownFormToken() const { return m_hasShownFormToken; }

  varnel::Long LCID() override;
  void SetLCID(varnel::Long lcid);
  // The LCID of this request alone, from the page's directive; it goes before the session's.
  void SetPageLCID(varnel::Long lcid) { m_pageLcid = lcid; }
  // Always 65001, UTF-8; any other raises 5.
  varnel::Long CodePage() const { return 65001; }
  void SetCodePage(varnel::Long codePage);
  // Minutes without a request after which the session ends: 1 to 1440, otherwise 5.
  varnel::Long Timeout();
  void SetTimeout(varnel::Long minutes);
  // Gives the session another id, cookie and form token; its values, locale and timeout stay. The old ones
  // name nothing from here on, so that whoever has learned or planted them has no part in what follows: for
  // sign-in, before anything is sent. A session that hasn't begun begins; an abandoned one stays so.
  void Renew();
  // The next request finds the session gone; this one still sees its values.
  void Abandon();

  // Keeps other requests from locking the same session, here and in other processes, until Unlock or the end of
  // this one; what they have stored is seen from here on. Begins the session. Waits as long as the page may run,
  // 30 s at most, and then raises 80004005 (hexadecimal). A second Lock changes nothing.
  void Lock();
  // Stores what was changed so far, and lets others lock.
  void Unlock();

  // Stores what this request and others have changed so far, and gives the lock back; called when the page has
  // ended. Throws ArchiveFailure where a shared archive can't be asked: nothing of it is seen by anybody then.
  void Save();
  // Why a shared archive couldn't be asked in this request; empty where it could.
  const std::string& Failure() const { return m_failure; }

  // Adds the cookie of a session that this request has begun, renewed or abandoned.
  void CompleteHead(HttpResponse& head) const;

  varnel::Variant Read(varnel::StringView key) override { return Value(key); }
  void Store(varnel::StringView key, const varnel::Variant& value) override;
  void Remove(varnel::StringView key) override { Begun().values.Remove(key); }
  void RemoveAll() override { Begun().values.Clear(); }
  std::vector<varnel::String> Keys() override { return Values().Keys(); }

 private:
  const ValueStore& Values() { return Known() ? m_state->values : m_store->Initial(); }
  SessionState* Known();
  SessionState& Begun();
  template <class Action>
  auto Asking(Action action);
  void GiveLockBack();

  std::shared_ptr<SessionStore> m_store;
  const std::string m_token;  // of the visitor's cookie
  std::shared_ptr<SessionState> m_state;
  Options m_options;
  varnel::Long m_pageLcid = 0;
  bool m_hasLooked;               // for the session of the cookie
  bool m_cameWithCookie = false;  // the browser has one of a living session
  bool m_isNew = false;
  std::shared_ptr<SessionState> m_locked;
  std::string m_failure;
  bool m_hasShownFormToken = false;
  bool m_abandoned = false;
};

}  // namespace hostlinux
