// "Host.Accounts": who may sign in, and what he may do.
#pragma once

#include <functional>
#include <memory>

#include "host-linux/services/Accounts.h"
#include "varnel/automation/Object.h"

namespace hostlinux {

class AccountsComponent : public varnel::Object {
 public:
  // `visitorAddress` tells the address of the running request's visitor.
  AccountsComponent(std::shared_ptr<Accounts> accounts, std::function<std::string()> visitorAddress);

  const varnel::ClassInfo& Class() const override;

  // Whether `password` is that of the user `name`. False, too, where it wasn't looked at: see RetryAfter.
  bool Check(const varnel::String& name, const varnel::String& password);

  // After a Check that was False: 0 for a wrong name or password; otherwise nothing was looked at, as there
  // were too many attempts, and one after so many seconds may be.
  varnel::Long RetryAfter() const { return m_retryAfter; }

  // What `site.toml` calls the user's role; empty where he has none, or there is no such user.
  varnel::String RoleOf(const varnel::String& name) const;

 private:
  std::shared_ptr<Accounts> m_accounts;
  std::function<std::string()> m_visitorAddress;
  varnel::Long m_retryAfter = 0;
};

}  // namespace hostlinux
