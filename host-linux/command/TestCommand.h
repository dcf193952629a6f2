#pragma once

namespace CLI {
class App;
}

namespace hostlinux {

// `varnel test SITE [FILTER]`: runs the site's tests and prints a line for each. `status` becomes 1 where one
// fails, or there is none. docs/testing.md tells how tests are written.
void AddTestCommand(CLI::App& app, int& status);

}  // namespace hostlinux
