#include "tests/conformance/PostgresqlServer.h"

#include <signal.h>

#include <algorithm>
#include <fstream>
#include <memory>
#include <vector>

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

}  // namespace

PostgresqlServer* PostgresqlServer::Shared() {
  static const std::unique_ptr<PostgresqlServer> server =
      ProgramFolder().empty() ? nullptr : std::make_unique<PostgresqlServer>();
  return server.get();
}

// SIGQUIT leaves no shared memory behind.
PostgresqlServer::PostgresqlServer() : TestServer("pg", SIGQUIT) {
  const std::filesystem::path password = Folder() / "password";
  std::ofstream(password) << kPassword << "\n";
  Require("chmod 644 " + password.string());
  Require(AsUser() + "env LC_ALL=C " + Tool("initdb") + " -D " + (Folder() / "data").string() +
          " -U owner --pwfile=" + password.string() + " -A scram-sha-256 -E UTF8 --locale=C --no-sync >" +
          (Folder() / "initdb.log").string() + " 2>&1");
  PostgresqlServer::Start();
}

std::string PostgresqlServer::Tool(const std::string& name) const {
  return (ProgramFolder() / name).string();
}

void PostgresqlServer::Start() {
  const std::string port = std::to_string(Port());
  Launch(Tool("postgres") + " -D " + (Folder() / "data").string() + " -p " + port + " -k " +
             Folder().string() + " -c listen_addresses=127.0.0.1 -c fsync=off -c max_connections=20",
         Tool("pg_isready") + " -q -h 127.0.0.1 -p " + port);
}

// Those that serve a connection are its children.
void PostgresqlServer::Pause(bool isPaused) {
  const int signal = isPaused ? SIGSTOP : SIGCONT;
  const std::string process = std::to_string(Process());
  std::ifstream children("/proc/" + process + "/task/" + process + "/children");
  kill(Process(), signal);
  for (pid_t child = 0; children >> child;) kill(child, signal);
}

std::u16string PostgresqlServer::Connection(const std::string& database) const {
  const std::string text = "Provider=PostgreSQL;Server=127.0.0.1;Port=" + std::to_string(Port()) +
                           ";Database=" + database + ";User ID=owner;Password='" + kPassword + "'";
  return std::u16string(text.begin(), text.end());
}

std::u16string PostgresqlServer::OdbcConnection(const std::string& database) const {
  const std::string text = "Driver={PostgreSQL Unicode};Server=127.0.0.1;Port=" + std::to_string(Port()) +
                           ";Database=" + database + ";UID=owner;PWD='" + kPassword + "'";
  return std::u16string(text.begin(), text.end());
}

std::string PostgresqlServer::NewDatabase() {
  const std::string name = NewName();
  Run("CREATE DATABASE " + name + " TEMPLATE template0");
  return name;
}

void PostgresqlServer::Run(const std::string& sql, const std::string& database) {
  Require("PGPASSWORD='" + std::string(kPassword) + "' " + Tool("psql") +
          " -q -v ON_ERROR_STOP=1 -h 127.0.0.1 -p " + std::to_string(Port()) + " -U owner -d " + database +
          " -c \"" + sql + "\" >/dev/null");
}
