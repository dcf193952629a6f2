// What a site is put together of, made from its configuration.
#pragma once

#include <chrono>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "host-linux/database/AdoDatabase.h"
#include "host-linux/intrinsics/Application.h"
#include "host-linux/intrinsics/SessionStore.h"
#include "host-linux/services/SiteConfiguration.h"
#include "host-linux/web/AddressLimit.h"

namespace hostlinux {

// The library's enumerations, as pages know them by name.
std::vector<std::pair<std::string, double>> PublicEnumerations();

// With the site's own values and its messages.
std::shared_ptr<ApplicationState> MakeApplication(const SiteConfiguration& site);

// `archive`: where sessions are kept beside memory; may be null.
std::shared_ptr<SessionStore> MakeSessions(const SiteConfiguration& site,
                                           std::shared_ptr<ISessionArchive> archive);

// Null where the site has no limit.
std::unique_ptr<AddressLimit> MakeSessionLimit(const SiteConfiguration& site);

// `timeLeft`: what is left of the calling thread's page.
std::shared_ptr<AdoDatabase> MakeDatabase(const SiteConfiguration& site,
                                          std::function<void(const SqlTraceEntry&)> onStatement,
                                          TimeLeft timeLeft, bool readsOnly = false);

// The Cache-Control of files: whoever is developing wants to see a changed style at once.
std::string FileCaching(const SiteConfiguration& site);

// Where a debugger finds the pages' files: "file:///srv/shop/pages/".
std::string PagesUrl(const SiteConfiguration& site);

}  // namespace hostlinux
