// The users of a site who can sign in.
#pragma once

#include <chrono>
#include <mutex>
#include <string>

#include "host-linux/services/AttemptLimit.h"
#include "host-linux/services/SiteConfiguration.h"

namespace hostlinux {

// The passwords and roles of site.toml. One for all threads of a worker, and safe from all of them.
class Accounts {
 public:
  struct Verdict {
    bool isRight = false;
    std::chrono::seconds retryAfter{0};  // above 0: nothing was looked at, and a later attempt may be
  };

  explicit Accounts(const SiteConfiguration& site);

  // Whether this is the user's password; names and passwords in UTF-8. An unknown name, a user without
  // password and a wrong password take the same time and memory. A check is costly, so there is one at a
  // time: with one under way the answer comes at once and is to try again, and likewise after too many
  // attempts from the visitor's address.
  Verdict Check(const std::string& name, const std::string& password, const std::string& address);

  // Empty where the user has none or there is no such user.
  std::string RoleOf(const std::string& name) const;

 private:
  const SiteConfiguration::User* Find(const std::string& name) const;

  const std::map<std::string, SiteConfiguration::User> m_users;
  AttemptLimit m_limit;
  std::mutex m_check;
};

}  // namespace hostlinux
