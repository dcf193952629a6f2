#include "host-linux/command/CheckCommand.h"

#include <CLI/CLI.hpp>
#include <cstdio>
#include <exception>
#include <memory>
#include <string>

#include "host-linux/command/IndexCheck.h"
#include "host-linux/command/SiteCheck.h"
#include "host-linux/script/ScriptRuntime.h"

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

int RunIndexCheck(const std::string& site) {
  try {
    std::size_t lists = 0;
    ScriptRuntime runtime({});
    const auto lines = AdviseIndexes(site, runtime, lists);
    for (const std::string& line : lines) std::printf("%s\n", line.c_str());
    if (lines.empty()) std::printf("%zu lists were looked at. No index is missing.\n", lists);
    return lines.empty() ? 0 : 1;
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
  const auto indexes = std::make_shared<bool>(false);
  command->add_flag("--indexes", *indexes, "Ask each page once, and tell which indexes its lists lack");
  command->callback([site, indexes, &status] { status = *indexes ? RunIndexCheck(*site) : RunCheck(*site); });
}

}  // namespace hostlinux
