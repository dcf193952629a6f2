// The server that keeps a site's sessions, as site.toml names it.
#pragma once

#include <functional>
#include <string>

#include "host-linux/services/SiteConfiguration.h"
#include "host-linux/sessions/RedisSessions.h"

namespace hostlinux {

// `site` names one: [sessions] store.
RedisSessions::Options SessionStoreOptions(const SiteConfiguration& site,
                                           std::function<void(const std::string&)> log = {});

}  // namespace hostlinux
