#include "host-linux/services/ConfigurationComponent.h"

#include <algorithm>

#include "varnel/automation/Members.h"

namespace hostlinux {

ConfigurationComponent::ConfigurationComponent(const SiteConfiguration& site)
    : m_sections(site.configuration) {}

const varnel::ClassInfo& ConfigurationComponent::Class() const {
  using C = ConfigurationComponent;
  static const varnel::ClassInfo info{
      u"Configuration",
      {
          varnel::Method<&C::PrepareConfiguration>(u"PrepareConfiguration"),
          varnel::Method<&C::GetConfigurationConnectionString>(u"GetConfigurationConnectionString"),
      }};
  return info;
}

void ConfigurationComponent::PrepareConfiguration(varnel::Long&) {}

varnel::String ConfigurationComponent::GetConfigurationConnectionString(const varnel::String& section) {
  const auto found = std::find_if(m_sections.begin(), m_sections.end(), [&](const auto& entry) {
    return varnel::EqualsNoCase(varnel::FromUtf8(entry.first), section);
  });
  return found == m_sections.end() ? varnel::String() : varnel::ToText(found->second);
}

}  // namespace hostlinux
