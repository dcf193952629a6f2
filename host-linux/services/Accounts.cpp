#include "host-linux/services/Accounts.h"

#include "host-linux/services/Log.h"
#include "host-linux/services/PasswordHash.h"

namespace hostlinux {

namespace {

AttemptLimit::Options LimitOf(const SiteConfiguration& site) {
  AttemptLimit::Options options;
  options.attempts = site.signInAttempts;
  return options;
}

}  // namespace

Accounts::Accounts(const SiteConfiguration& site) : m_users(site.users), m_limit(LimitOf(site)) {}

const SiteConfiguration::User* Accounts::Find(const std::string& name) const {
  const auto found = m_users.find(name);
  return found == m_users.end() ? nullptr : &found->second;
}

Accounts::Verdict Accounts::Check(const std::string& name, const std::string& password,
                                  const std::string& address) {
  const std::unique_lock one(m_check, std::try_to_lock);
  if (!one) return {false, std::chrono::seconds(1)};
  if (const auto wait = m_limit.Take(address); wait.count() > 0) return {false, wait};
  const SiteConfiguration::User* user = Find(name);
  const bool isRight = PasswordMatches(password, user == nullptr ? "" : user->password);
  // A name that isn't known may well be a password, typed into the wrong field.
  const std::string who = user == nullptr ? "an unknown name" : name;
  WriteLog(LogLevel::Info, (isRight ? "Signed in: " : "Sign-in refused: ") + who + " from " + address);
  return {isRight, std::chrono::seconds(0)};
}

std::string Accounts::RoleOf(const std::string& name) const {
  const SiteConfiguration::User* user = Find(name);
  return user == nullptr ? "" : user->role;
}

}  // namespace hostlinux
