// A MariaDB server of the tests' own, in a temporary folder and on a port of its own.
#pragma once

#include <sys/types.h>

#include <filesystem>
#include <memory>
#include <string>

class MariadbServer {
 public:
  // The server of this test program, which starts it when first asked; null where MariaDB or its driver isn't installed.
  static MariadbServer* Shared();

  MariadbServer();
  ~MariadbServer();
  MariadbServer(const MariadbServer&) = delete;
  MariadbServer& operator=(const MariadbServer&) = delete;

  // Starts it, and waits until it answers.
  void Start();
  // By force.
  void Kill();
  // Keeps it from answering, and lets it.
  void Pause(bool isPaused);
  int Port() const { return m_port; }

  // A connection string to `database`, as a user who may do everything.
  std::u16string Connection(const std::string& database) const;
  // An empty database of a new name, whose texts are told apart by their codes.
  std::string NewDatabase();
  // A statement of a tool's, as the owner.
  void Run(const std::string& sql, const std::string& database = "mysql");

 private:
  std::filesystem::path m_folder;
  std::string m_asUser;  // in front of a command: the server refuses to run as root
  int m_port = 0;
  pid_t m_process = 0;
  int m_databases = 0;
};
