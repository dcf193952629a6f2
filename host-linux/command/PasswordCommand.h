#pragma once

namespace CLI {
class App;
}

namespace hostlinux {

// `varnel password`: asks for a password, unseen and twice at a terminal, else the first line of standard
// input, and prints the line that site.toml needs of it.
void AddPasswordCommand(CLI::App& app, int& status);

}  // namespace hostlinux
