// "Tolvane.User": who the user is, and the language that he reads.
#pragma once

#include <functional>

#include "host-linux/services/SiteConfiguration.h"
#include "varnel/automation/Object.h"

namespace hostlinux {

class UserComponent : public varnel::Object {
 public:
  // `chosenLanguage` tells the language that the running session has chosen, Empty if it has chosen none.
  UserComponent(const SiteConfiguration& site, std::function<varnel::Variant()> chosenLanguage);

  const varnel::ClassInfo& Class() const override;

  // Takes the user by name, as the site's [users] know them. The name may be Empty; account and password are
  // not looked at, as the server in front has checked them.
  void BindAs(const varnel::Variant& user, const varnel::Variant& account, const varnel::Variant& password);

  // The language that the session has chosen; else the user's own; else the site's locale.
  varnel::Long LanguageID() const;

 private:
  varnel::Long m_language;
  std::map<std::string, SiteConfiguration::User> m_users;
  std::function<varnel::Variant()> m_chosenLanguage;
};

}  // namespace hostlinux
