#include "host-linux/services/UserComponent.h"

#include "varnel/automation/Members.h"

namespace hostlinux {

UserComponent::UserComponent(const SiteConfiguration& site, std::function<varnel::Variant()> chosenLanguage)
    : m_language(site.lcid), m_users(site.users), m_chosenLanguage(std::move(chosenLanguage)) {}

const varnel::ClassInfo& UserComponent::Class() const {
  static const varnel::ClassInfo info{u"User",
                                      {
                                          varnel::Method<&UserComponent::BindAs>(u"BindAs"),
                                          varnel::ReadOnly<&UserComponent::LanguageID>(u"LanguageID"),
                                      }};
  return info;
}

void UserComponent::BindAs(const varnel::Variant& user, const varnel::Variant&, const varnel::Variant&) {
  if (user.IsNull()) return;
  const auto known = m_users.find(varnel::ToUtf8(varnel::ToText(user)));
  if (known != m_users.end()) m_language = known->second.language;
}

varnel::Long UserComponent::LanguageID() const {
  const varnel::Variant chosen = m_chosenLanguage();
  return chosen.IsEmpty() || chosen.IsNull() ? m_language : varnel::ToLong(chosen);
}

}  // namespace hostlinux
