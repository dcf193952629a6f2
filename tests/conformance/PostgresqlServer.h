// A PostgreSQL server of the tests' own, in a temporary folder and on a port of its own.
#pragma once

#include <sys/types.h>

#include <filesystem>
#include <memory>
#include <string>

class PostgresqlServer {
 public:
  // The server of this test program, which starts it when first asked; null where PostgreSQL isn't installed.
  static PostgresqlServer* Shared();

  PostgresqlServer();
  ~PostgresqlServer();
  PostgresqlServer(const PostgresqlServer&) = delete;
  PostgresqlServer& operator=(const PostgresqlServer&) = delete;

  // Starts it, and waits until it answers.
  void Start();
  // In the server's gentle way, which ends sessions, or by force.
  void Stop();
  void Kill();
  // Stops it and all that it consists of in their tracks, and lets them go on.
  void Pause(bool isPaused);

  // A connection string to `database`, as the owner of everything.
  std::u16string Connection(const std::string& database = "postgres") const;
  // The same by the server's ODBC driver.
  std::u16string OdbcConnection(const std::string& database) const;
  // An empty database of a new name.
  std::string NewDatabase();
  // A statement of a tool's, as the owner.
  void Run(const std::string& sql, const std::string& database = "postgres");
  int Port() const { return m_port; }

 private:
  std::string Tool(const std::string& name) const;

  std::filesystem::path m_folder;
  std::string m_asUser;  // in front of a command: the server refuses to run as root
  int m_port = 0;
  pid_t m_process = 0;
  int m_databases = 0;
};
