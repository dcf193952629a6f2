// "Ostrand.Configuration": connection strings by the name of their section.
#pragma once

#include "host-linux/services/SiteConfiguration.h"
#include "varnel/automation/Object.h"

namespace hostlinux {

class ConfigurationComponent : public varnel::Object {
 public:
  // Takes the texts that stand below [configuration] in site.toml.
  explicit ConfigurationComponent(const SiteConfiguration& site);

  const varnel::ClassInfo& Class() const override;

  // Called before the first question. The site's file was read when the server started, so there is nothing
  // left to do; the number stays as it is.
  void PrepareConfiguration(varnel::Long& ioValue);

  // The connection string of `section`, in any case of letters; empty where there is none.
  varnel::String GetConfigurationConnectionString(const varnel::String& section);

 private:
  SiteConfiguration::Values m_sections;
};

}  // namespace hostlinux
