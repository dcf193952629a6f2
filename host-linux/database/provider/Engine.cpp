#include "host-linux/database/provider/Engine.h"

namespace hostlinux {

const IEngine& EngineOf(const Engines& engines, const ConnectionString& connection) {
  varnel::String provider = connection.Get(u"Provider");
  // ODBC's own form of connection strings names none.
  const bool isOdbc = !connection.Get(u"Driver").empty() || !connection.Get(u"DSN").empty();
  if (provider.empty() && isOdbc) provider = u"ODBC";
  for (const auto& engine : engines) {
    if (varnel::EqualsNoCase(provider, engine->Name())) return *engine;
  }
  throw ProviderFailure({provider_error::kFail, u"Varnel.Database",
                         provider.empty() ? varnel::String(u"The connection string names no Provider.")
                                          : u"The Provider '" + provider + u"' is not known.",
                         0, u"08001"});
}

}  // namespace hostlinux
