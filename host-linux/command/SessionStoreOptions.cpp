#include "host-linux/command/SessionStoreOptions.h"

namespace hostlinux {

namespace {

std::filesystem::path BelowSite(const SiteConfiguration& site, const std::filesystem::path& file) {
  return file.empty() ? file : site.folder / file;
}

}  // namespace

RedisSessions::Options SessionStoreOptions(const SiteConfiguration& site,
                                           std::function<void(const std::string&)> log) {
  RedisSessions::Options options;
  options.client.address = *site.sessions.store;
  options.client.timeout = site.sessions.timeout;
  options.client.caFile = BelowSite(site, site.sessions.caFile);
  options.client.certFile = BelowSite(site, site.sessions.certFile);
  options.client.keyFile = BelowSite(site, site.sessions.keyFile);
  options.prefix = site.sessions.prefix.empty() ? "varnel" + site.root : site.sessions.prefix;
  options.maxBytes = site.server.maxSession;
  options.timeout = site.server.sessionTimeout;
  options.log = std::move(log);
  return options;
}

}  // namespace hostlinux
