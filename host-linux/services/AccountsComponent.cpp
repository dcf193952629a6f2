#include "host-linux/services/AccountsComponent.h"

#include <stdexcept>

#include "varnel/automation/Error.h"
#include "varnel/automation/Members.h"

namespace hostlinux {

AccountsComponent::AccountsComponent(std::shared_ptr<Accounts> accounts,
                                     std::function<std::string()> visitorAddress)
    : m_accounts(std::move(accounts)), m_visitorAddress(std::move(visitorAddress)) {}

const varnel::ClassInfo& AccountsComponent::Class() const {
  using A = AccountsComponent;
  static const varnel::ClassInfo info{u"Accounts",
                                      {
                                          varnel::Method<&A::Check>(u"Check"),
                                          varnel::ReadOnly<&A::RetryAfter>(u"RetryAfter"),
                                          varnel::Method<&A::RoleOf>(u"RoleOf"),
                                      }};
  return info;
}

bool AccountsComponent::Check(const varnel::String& name, const varnel::String& password) {
  Accounts::Verdict verdict;
  try {
    verdict = m_accounts->Check(varnel::ToUtf8(name), varnel::ToUtf8(password), m_visitorAddress());
  } catch (const std::runtime_error& error) {
    varnel::RaiseRuntimeError(varnel::runtime_error::kOutOfMemory, varnel::FromUtf8(error.what()));
  }
  m_retryAfter = static_cast<varnel::Long>(verdict.retryAfter.count());
  return verdict.isRight;
}

varnel::String AccountsComponent::RoleOf(const varnel::String& name) const {
  return varnel::FromUtf8(m_accounts->RoleOf(varnel::ToUtf8(name)));
}

}  // namespace hostlinux
