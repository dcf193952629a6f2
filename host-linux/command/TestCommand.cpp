#include "host-linux/command/TestCommand.h"

#include <CLI/CLI.hpp>
#include <cstdio>
#include <exception>
#include <memory>
#include <string>

#include "host-linux/command/SiteTests.h"
#include "host-linux/services/Log.h"

namespace hostlinux {

namespace {

struct TestOptions {
  std::string site = ".";
  std::string filter;
};

int RunTests(const TestOptions& options) {
  try {
    SiteConfiguration quiet;  // what pages log is told with the tests that fail
    quiet.log.level = "off";
    StartLog(quiet);
    ScriptRuntime runtime({});
    int count = 0;
    const int failed = RunSiteTests(options.site, options.filter, runtime, [&](const SiteTestResult& result) {
      ++count;
      std::printf("%s\n", TestResultText(result).c_str());
      std::fflush(stdout);
    });
    StopLog();
    std::printf("%d tests, %d failed\n", count, failed);
    return failed > 0 ? 1 : 0;
  } catch (const std::exception& error) {
    std::fprintf(stderr, "varnel: %s\n", error.what());
    return 1;
  }
}

}  // namespace

void AddTestCommand(CLI::App& app, int& status) {
  const auto options = std::make_shared<TestOptions>();
  CLI::App* command = app.add_subcommand("test", "Run the tests of a site, on a copy of it");
  command->add_option("SITE", options->site, "The site's folder")->capture_default_str();
  command->add_option("FILTER", options->filter, "Only files of tests/ whose name holds this");
  command->callback([options, &status] { status = RunTests(*options); });
}

}  // namespace hostlinux
