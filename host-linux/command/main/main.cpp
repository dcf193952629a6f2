#include <CLI/CLI.hpp>

#include "host-linux/command/CheckCommand.h"
#include "host-linux/command/NewCommand.h"
#include "host-linux/command/PasswordCommand.h"
#include "host-linux/command/RunCommand.h"
#include "host-linux/command/ServeCommand.h"
#include "host-linux/command/StateCommand.h"
#include "host-linux/command/TestCommand.h"
#include "host-linux/command/WorkerCommand.h"

int main(int argc, char** argv) {
  CLI::App app{"Varnel: pages with long lists, served from a database"};
  app.require_subcommand(1);
  int status = 0;
  hostlinux::AddServeCommand(app, status);
  hostlinux::AddWorkerCommand(app, status);
  hostlinux::AddRunCommand(app, status);
  hostlinux::AddNewCommand(app, status);
  hostlinux::AddCheckCommand(app, status);
  hostlinux::AddTestCommand(app, status);
  hostlinux::AddStateCommand(app, status);
  hostlinux::AddPasswordCommand(app, status);
  CLI11_PARSE(app, argc, argv);
  return status;
}
