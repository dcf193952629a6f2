#include "tests/conformance/TestServer.h"

#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <cstdlib>
#include <stdexcept>
#include <thread>

#include "tests/conformance/LoopbackPort.h"

TestServer::TestServer(const std::string& name, int killSignal)
    : m_killSignal(killSignal), m_port(FreePort()) {
  std::string pattern = (std::filesystem::temp_directory_path() / ("varnel-" + name + "-XXXXXX")).string();
  m_folder = mkdtemp(pattern.data());
  if (geteuid() != 0) return;
  m_asUser = "setpriv --reuid=nobody --regid=nogroup --clear-groups ";
  Require("chown nobody:nogroup " + m_folder.string());
}

TestServer::~TestServer() {
  Kill();
  std::error_code ignored;
  std::filesystem::remove_all(m_folder, ignored);
}

void TestServer::Require(const std::string& command) {
  if (std::system(command.c_str()) != 0) throw std::runtime_error("failed: " + command);
}

void TestServer::Launch(const std::string& command, const std::string& ready) {
  const std::string shell =
      "exec " + m_asUser + command + " >>" + (m_folder / "server.log").string() + " 2>&1";
  m_process = fork();
  if (m_process == 0) {
    execl("/bin/sh", "sh", "-c", shell.c_str(), nullptr);
    _exit(127);
  }
  const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(60);
  while (std::system((ready + " >/dev/null 2>&1").c_str()) != 0) {
    if (std::chrono::steady_clock::now() > end) throw std::runtime_error("it doesn't start: " + command);
    std::this_thread::sleep_for(std::chrono::milliseconds(50));
  }
}

void TestServer::End(int signal) {
  if (m_process == 0) return;
  kill(m_process, signal);
  waitpid(m_process, nullptr, 0);
  m_process = 0;
}

void TestServer::Pause(bool isPaused) { kill(m_process, isPaused ? SIGSTOP : SIGCONT); }
