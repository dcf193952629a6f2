#include "tests/conformance/MariadbServer.h"

#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <cstdlib>
#include <stdexcept>
#include <thread>

#include "tests/conformance/LoopbackPort.h"
#include "tests/conformance/OdbcDrivers.h"

namespace {

constexpr const char* kServer = "/usr/sbin/mariadbd";
constexpr const char* kPassword = "of; the {tests}";

bool IsInstalled() { return std::filesystem::exists(kServer) && HasOdbcDriver("MariaDB Unicode"); }

void Require(const std::string& command) {
  if (std::system(command.c_str()) != 0) throw std::runtime_error("failed: " + command);
}

}  // namespace

MariadbServer* MariadbServer::Shared() {
  static const std::unique_ptr<MariadbServer> server =
      IsInstalled() ? std::make_unique<MariadbServer>() : nullptr;
  return server.get();
}

MariadbServer::MariadbServer() {
  std::string pattern = (std::filesystem::temp_directory_path() / "varnel-maria-XXXXXX").string();
  m_folder = mkdtemp(pattern.data());
  if (geteuid() == 0) {
    m_asUser = "setpriv --reuid=nobody --regid=nogroup --clear-groups ";
    Require("chown nobody:nogroup " + m_folder.string());
  }
  Require(m_asUser + "env ASAN_OPTIONS= mariadb-install-db --no-defaults --skip-test-db " +
          "--auth-root-authentication-method=normal --datadir=" + (m_folder / "data").string() + " >" +
          (m_folder / "install.log").string() + " 2>&1");
  m_port = FreePort();
  Start();
  Run("CREATE USER owner@127.0.0.1 IDENTIFIED BY '" + std::string(kPassword) + "'");
  Run("GRANT ALL ON *.* TO owner@127.0.0.1 WITH GRANT OPTION");
}

MariadbServer::~MariadbServer() {
  Kill();
  std::error_code ignored;
  std::filesystem::remove_all(m_folder, ignored);
}

void MariadbServer::Start() {
  const std::string command =
      "exec " + m_asUser + kServer + " --no-defaults --datadir=" + (m_folder / "data").string() +
      " --socket=" + (m_folder / "socket").string() + " --pid-file=" + (m_folder / "pid").string() +
      " --port=" + std::to_string(m_port) +
      " --bind-address=127.0.0.1 --max-connections=20 --innodb-flush-log-at-trx-commit=2 "
      "--innodb-buffer-pool-size=32M --performance-schema=OFF >>" +
      (m_folder / "server.log").string() + " 2>&1";
  m_process = fork();
  if (m_process == 0) {
    execl("/bin/sh", "sh", "-c", command.c_str(), nullptr);
    _exit(127);
  }
  const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(60);
  const std::string ready = "mariadb-admin --no-defaults -u root --socket=" + (m_folder / "socket").string() +
                            " ping >/dev/null 2>&1";
  while (std::system(ready.c_str()) != 0) {
    if (std::chrono::steady_clock::now() > end) throw std::runtime_error("MariaDB doesn't start");
    std::this_thread::sleep_for(std::chrono::milliseconds(50));
  }
}

void MariadbServer::Kill() {
  if (m_process == 0) return;
  kill(m_process, SIGKILL);
  waitpid(m_process, nullptr, 0);
  m_process = 0;
}

void MariadbServer::Pause(bool isPaused) { kill(m_process, isPaused ? SIGSTOP : SIGCONT); }

std::u16string MariadbServer::Connection(const std::string& database) const {
  const std::string text = "Driver={MariaDB Unicode};Server=127.0.0.1;Port=" + std::to_string(m_port) +
                           ";Database=" + database + ";UID=owner;Password='" + kPassword + "'";
  return std::u16string(text.begin(), text.end());
}

std::string MariadbServer::NewDatabase() {
  const std::string name = "test" + std::to_string(++m_databases);
  Run("CREATE DATABASE " + name + " CHARACTER SET utf8mb4 COLLATE utf8mb4_nopad_bin");
  return name;
}

void MariadbServer::Run(const std::string& sql, const std::string& database) {
  Require("mariadb --no-defaults -u root --socket=" + (m_folder / "socket").string() + " " + database +
          " -e \"" + sql + "\" >/dev/null");
}
