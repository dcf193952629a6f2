#pragma once

namespace CLI {
class App;
}

namespace hostlinux {

// `varnel run SITE PAGE ...`: one request without a server. The response's body goes to standard output. An
// error that no script caught goes to standard error as number|source|description, with status 1.
void AddRunCommand(CLI::App& app, int& status);

}  // namespace hostlinux
