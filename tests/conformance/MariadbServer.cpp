#include "tests/conformance/MariadbServer.h"

#include <signal.h>

#include <memory>

#include "tests/conformance/OdbcDrivers.h"

namespace {

constexpr const char* kServer = "/usr/sbin/mariadbd";
constexpr const char* kPassword = "of; the {tests}";

bool IsInstalled() { return std::filesystem::exists(kServer) && HasOdbcDriver("MariaDB Unicode"); }

}  // namespace

MariadbServer* MariadbServer::Shared() {
  static const std::unique_ptr<MariadbServer> server =
      IsInstalled() ? std::make_unique<MariadbServer>() : nullptr;
  return server.get();
}

MariadbServer::MariadbServer() : TestServer("maria", SIGKILL) {
  Require(AsUser() + "env ASAN_OPTIONS= mariadb-install-db --no-defaults --skip-test-db " +
          "--auth-root-authentication-method=normal --datadir=" + (Folder() / "data").string() + " >" +
          (Folder() / "install.log").string() + " 2>&1");
  MariadbServer::Start();
  Run("CREATE USER owner@127.0.0.1 IDENTIFIED BY '" + std::string(kPassword) + "'");
  Run("GRANT ALL ON *.* TO owner@127.0.0.1 WITH GRANT OPTION");
}

void MariadbServer::Start() {
  const std::string socket = (Folder() / "socket").string();
  Launch(kServer + std::string(" --no-defaults --datadir=") + (Folder() / "data").string() + " --socket=" +
             socket + " --pid-file=" + (Folder() / "pid").string() + " --port=" + std::to_string(Port()) +
             " --bind-address=127.0.0.1 --max-connections=20 --innodb-flush-log-at-trx-commit=2"
             " --innodb-buffer-pool-size=32M --performance-schema=OFF",
         "mariadb-admin --no-defaults -u root --socket=" + socket + " ping");
}

std::u16string MariadbServer::Connection(const std::string& database) const {
  const std::string text = "Driver={MariaDB Unicode};Server=127.0.0.1;Port=" + std::to_string(Port()) +
                           ";Database=" + database + ";UID=owner;Password='" + kPassword + "'";
  return std::u16string(text.begin(), text.end());
}

std::string MariadbServer::NewDatabase() {
  const std::string name = NewName();
  Run("CREATE DATABASE " + name + " CHARACTER SET utf8mb4 COLLATE utf8mb4_nopad_bin");
  return name;
}

void MariadbServer::Run(const std::string& sql, const std::string& database) {
  Require("mariadb --no-defaults -u root --socket=" + (Folder() / "socket").string() + " " + database +
          " -e \"" + sql + "\" >/dev/null");
}
