// Runs the tests of a site: its files tests/*.js, against its pages, in this process.
#pragma once

#include <filesystem>
#include <functional>
#include <string>
#include <vector>

#include "host-linux/script/ScriptRuntime.h"

namespace hostlinux {

// One test, or what kept the tests of a file from running.
struct SiteTestResult {
  std::string file;                // relative to the site: "tests/list.js"
  int line = 0;                    // where it failed, from 1; 0 where that isn't known
  std::string name;                // empty for the file as a whole
  std::string failure;             // empty: it passed
  std::vector<std::string> log{};  // of a failed one: what the pages logged meanwhile
};

// Runs the files below `folder`/tests in the order of their names; only those whose name holds `filter`. Each has
// a copy of the site of its own, databases and all, so that nothing that its pages write stays; hidden files,
// node_modules, the log and the folder of sessions aren't copied. `done` is called for each result as soon as it
// is there. Gives the number of failed ones. Raises ConfigurationError for a site that can't be read, and
// std::runtime_error where there is no test.
int RunSiteTests(const std::filesystem::path& folder, const std::string& filter, ScriptRuntime& runtime,
                 const std::function<void(const SiteTestResult&)>& done);

// "ok   tests/list.js: the list has rows", or "FAIL tests/list.js:12: the list has rows: it is 3, not 4" with the
// log's lines behind it.
std::string TestResultText(const SiteTestResult& result);

}  // namespace hostlinux
