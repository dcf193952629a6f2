#pragma once

#include <string>
#include <vector>

namespace CLI {
class App;
}

namespace hostlinux {

// What a worker is told by its supervisor, `varnel serve`.
struct WorkerOptions {
  std::string site;
  bool debugger = false;    // it inherits a socket for debuggers
  bool mayBeEmpty = false;  // site.toml said nothing when the server was started
  // Where sessions are kept where the site says nothing of it; goes with the supervisor. Empty: nowhere.
  std::string sessions{};
  // The listening socket outlives the server: who waits in its backlog in the end is left to the next one.
  bool leavesBacklog = false;
};

inline constexpr char kRootWarning[] = "The pages run as root: say user = \"NAME\" in [server] of site.toml";

// The command line, without the program, of a worker. It inherits the listening socket, its link to the
// supervisor, the text of site.toml and, with `debugger`, the socket for debuggers.
std::vector<std::string> WorkerArguments(const WorkerOptions& options);

// `varnel worker`, which serves a site as long as its supervisor wants it to: reads the site's
// configuration, becomes the user that it names, and runs the pages. `status` gets the program's exit status.
void AddWorkerCommand(CLI::App& app, int& status);

}  // namespace hostlinux
