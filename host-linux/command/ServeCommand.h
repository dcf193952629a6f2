#pragma once

namespace CLI {
class App;
}

namespace hostlinux {

// `varnel serve [SITE] [--listen HOST:PORT|unix:/PATH] [--inspect[=PORT]]`: serves a site until SIGTERM. A small
// parent process owns the listening socket, its own or one that it was started with, and starts its worker again if it ends; SIGHUP reads the configuration
// again. `status` gets the program's exit status.
void AddServeCommand(CLI::App& app, int& status);

}  // namespace hostlinux
