#pragma once

namespace CLI {
class App;
}

namespace hostlinux {

// `varnel check SITE`: looks a site over without serving it and prints a line for each finding,
// "file:line: what" or "file: what". `status` becomes 1 where there is any. docs/checking.md tells what is
// looked at.
void AddCheckCommand(CLI::App& app, int& status);

}  // namespace hostlinux
