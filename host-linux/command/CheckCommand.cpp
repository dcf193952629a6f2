#include "host-linux/command/CheckCommand.h"

#include <CLI/CLI.hpp>
#include <cstdio>
#include <exception>
#include <memory>
#include <string>

#include "host-linux/command/SiteCheck.h"

namespace hostlinux {

namespace {

int RunCheck(const std::string& site) {
  try {
    const auto findings = CheckSite(site);
    for (const SiteFinding& finding : findings) std::printf("%s\n", FindingText(finding).c_str());
    if (findings.empty()) std::printf("Nothing was found.\n");
    return findings.empty() ? 0 : 1;
  } catch (const std::exception& error) {
    std::fprintf(stderr, "varnel: %s\n", error.what());
    return 1;
  }
}

}  // namespace

void AddCheckCommand(CLI::App& app, int& status) {
  const auto site = std::make_shared<std::string>(".");
  CLI::App* command = app.add_subcommand("check", "Compile all pages of a site and name what is missing");
  command->add_option("SITE", *site, "The site's folder")->capture_default_str();
  command->callback([site, &status] { status = RunCheck(*site); });
}

}  // namespace hostlinux
