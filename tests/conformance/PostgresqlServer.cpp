#include "tests/conformance/PostgresqlServer.h"

#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <fstream>
#include <stdexcept>
#include <thread>
#include <vector>

#include "tests/conformance/LoopbackPort.h"

namespace {

constexpr const char* kPrograms = "/usr/lib/postgresql";
constexpr const char* kPassword = "of the tests";

// The folder of the newest version's programs, or the empty path.
std::filesystem::path ProgramFolder() {
  std::vector<std::filesystem::path> versions;
  std::error_code ignored;
  for (const auto& entry : std::filesystem::directory_iterator(kPrograms, ignored)) {
    if (std::filesystem::exists(entry.path() / "bin/initdb")) versions.push_back(entry.path() / "bin");
  }
  return versions.empty() ? std::filesystem::path() : *std::max_element(versions.begin(), versions.end());
}

void Require(const std::string& command) {
  if (std::system(command.c_str()) != 0) throw std::runtime_error("failed: " + command);
}

}  // namespace

PostgresqlServer* PostgresqlServer::Shared() {
  static const std::unique_ptr<PostgresqlServer> server =
      ProgramFolder().empty() ? nullptr : std::make_unique<PostgresqlServer>();
  return server.get();
}

PostgresqlServer::PostgresqlServer() {
  std::string pattern = (std::filesystem::temp_directory_path() / "varnel-pg-XXXXXX").string();
  m_folder = mkdtemp(pattern.data());
  if (geteuid() == 0) {
    m_asUser = "setpriv --reuid=nobody --regid=nogroup --clear-groups ";
    Require("chown nobody:nogroup " + m_folder.string());
  }
  std::ofstream(m_folder / "password") << kPassword << "\n";
  Require("chmod 644 " + (m_folder / "password").string());
  Require(m_asUser + "env LC_ALL=C " + Tool("initdb") + " -D " + (m_folder / "data").string() +
          " -U owner --pwfile=" + (m_folder / "password").string() +
          " -A scram-sha-256 -E UTF8 --locale=C --no-sync >" + (m_folder / "initdb.log").string() + " 2>&1");
  m_port = FreePort();
  Start();
}

PostgresqlServer::~PostgresqlServer() {
  Kill();
  std::error_code ignored;
  std::filesystem::remove_all(m_folder, ignored);
}

std::string PostgresqlServer::Tool(const std::string& name) const {
  return (ProgramFolder() / name).string();
}

void PostgresqlServer::Start() {
  const std::string command = "exec " + m_asUser + Tool("postgres") + " -D " + (m_folder / "data").string() +
                              " -p " + std::to_string(m_port) + " -k " + m_folder.string() +
                              " -c listen_addresses=127.0.0.1 -c fsync=off -c max_connections=20 >>" +
                              (m_folder / "server.log").string() + " 2>&1";
  m_process = fork();
  if (m_process == 0) {
    execl("/bin/sh", "sh", "-c", command.c_str(), nullptr);
    _exit(127);
  }
  const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(60);
  const std::string ready = Tool("pg_isready") + " -q -h 127.0.0.1 -p " + std::to_string(m_port);
  while (std::system(ready.c_str()) != 0) {
    if (std::chrono::steady_clock::now() > end) throw std::runtime_error("PostgreSQL doesn't start");
    std::this_thread::sleep_for(std::chrono::milliseconds(50));
  }
}

void PostgresqlServer::Stop() {
  if (m_process == 0) return;
  kill(m_process, SIGINT);
  waitpid(m_process, nullptr, 0);
  m_process = 0;
}

void PostgresqlServer::Kill() {
  if (m_process == 0) return;
  kill(m_process, SIGQUIT);  // which leaves no shared memory behind
  waitpid(m_process, nullptr, 0);
  m_process = 0;
}

// Those that serve a connection are its children.
void PostgresqlServer::Pause(bool isPaused) {
  const int signal = isPaused ? SIGSTOP : SIGCONT;
  const std::string process = std::to_string(m_process);
  std::ifstream children("/proc/" + process + "/task/" + process + "/children");
  kill(m_process, signal);
  for (pid_t child = 0; children >> child;) kill(child, signal);
}

std::u16string PostgresqlServer::Connection(const std::string& database) const {
  const std::string text = "Provider=PostgreSQL;Server=127.0.0.1;Port=" + std::to_string(m_port) +
                           ";Database=" + database + ";User ID=owner;Password='" + kPassword + "'";
  return std::u16string(text.begin(), text.end());
}

std::u16string PostgresqlServer::OdbcConnection(const std::string& database) const {
  const std::string text = "Driver={PostgreSQL Unicode};Server=127.0.0.1;Port=" + std::to_string(m_port) +
                           ";Database=" + database + ";UID=owner;PWD='" + kPassword + "'";
  return std::u16string(text.begin(), text.end());
}

std::string PostgresqlServer::NewDatabase() {
  const std::string name = "test" + std::to_string(++m_databases);
  Run("CREATE DATABASE " + name + " TEMPLATE template0");
  return name;
}

void PostgresqlServer::Run(const std::string& sql, const std::string& database) {
  Require("PGPASSWORD='" + std::string(kPassword) + "' " + Tool("psql") +
          " -q -v ON_ERROR_STOP=1 -h 127.0.0.1 -p " + std::to_string(m_port) + " -U owner -d " + database +
          " -c \"" + sql + "\" >/dev/null");
}
