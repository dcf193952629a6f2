// A database server of the tests' own, in a temporary folder and on a port of its own, for one test program.
#pragma once

#include <sys/types.h>

#include <filesystem>
#include <string>

class TestServer {
 public:
  TestServer(const TestServer&) = delete;
  TestServer& operator=(const TestServer&) = delete;
  virtual ~TestServer();

  // Starts it, and waits until it answers.
  virtual void Start() = 0;
  // By force.
  void Kill() { End(m_killSignal); }
  // Stops it in its tracks, and lets it go on.
  virtual void Pause(bool isPaused);
  // A statement of a tool's, as the owner of everything.
  virtual void Run(const std::string& sql, const std::string& database) = 0;
  // An empty database of a new name.
  virtual std::string NewDatabase() = 0;
  int Port() const { return m_port; }

 protected:
  // `killSignal` ends the server by force, without anything of it left behind.
  TestServer(const std::string& name, int killSignal);
  // Runs a command of the shell's; raises std::runtime_error where it fails.
  static void Require(const std::string& command);
  // Runs the server with `command`, until `ready` succeeds.
  void Launch(const std::string& command, const std::string& ready);
  void End(int signal);

  const std::filesystem::path& Folder() const { return m_folder; }
  // What goes in front of a server's command, which refuses to run as root.
  const std::string& AsUser() const { return m_asUser; }
  pid_t Process() const { return m_process; }
  std::string NewName() { return "test" + std::to_string(++m_databases); }

 private:
  std::filesystem::path m_folder;
  std::string m_asUser;
  int m_killSignal;
  int m_port = 0;
  pid_t m_process = 0;
  int m_databases = 0;
};
