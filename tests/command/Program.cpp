#include "tests/command/Program.h"

#include <fcntl.h>
#include <spawn.h>
#include <stdlib.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <csignal>
#include <fstream>
#include <sstream>
#include <stdexcept>
#include <utility>

namespace hosttest {

namespace {

pid_t Start(const std::string& program, const std::vector<std::string>& arguments,
            posix_spawn_file_actions_t& actions) {
  std::vector<std::string> texts = {program};
  texts.insert(texts.end(), arguments.begin(), arguments.end());
  std::vector<char*> pointers;
  pointers.reserve(texts.size() + 1);
  for (std::string& text : texts) pointers.push_back(text.data());
  pointers.push_back(nullptr);
  pid_t pid = 0;
  const int problem = ::posix_spawn(&pid, program.c_str(), &actions, nullptr, pointers.data(), environ);
  ::posix_spawn_file_actions_destroy(&actions);
  if (problem != 0) throw std::runtime_error("varnel can't be started");
  return pid;
}

int StatusOf(pid_t pid) {
  int status = 0;
  if (::waitpid(pid, &status, 0) != pid || !WIFEXITED(status)) return -1;
  return WEXITSTATUS(status);
}

std::string Content(const std::filesystem::path& path) {
  std::ifstream file(path, std::ios::binary);
  std::ostringstream content;
  content << file.rdbuf();
  return content.str();
}

}  // namespace

Ran RunVarnel(const std::vector<std::string>& arguments, const std::string& input) {
  std::string folder = (std::filesystem::temp_directory_path() / "varnel-run-XXXXXX").string();
  if (mkdtemp(folder.data()) == nullptr) throw std::runtime_error("no folder for what varnel prints");
  const std::string out = folder + "/out";
  const std::string err = folder + "/err";
  const std::string in = folder + "/in";
  std::ofstream(in, std::ios::binary) << input;
  posix_spawn_file_actions_t actions;
  ::posix_spawn_file_actions_init(&actions);
  ::posix_spawn_file_actions_addopen(&actions, 0, in.c_str(), O_RDONLY, 0);
  ::posix_spawn_file_actions_addopen(&actions, 1, out.c_str(), O_WRONLY | O_CREAT, 0600);
  ::posix_spawn_file_actions_addopen(&actions, 2, err.c_str(), O_WRONLY | O_CREAT, 0600);
  Ran ran;
  ran.status = StatusOf(Start(VARNEL_PROGRAM, arguments, actions));
  ran.out = Content(out);
  ran.err = Content(err);
  std::filesystem::remove_all(folder);
  return ran;
}

ServingProgram::ServingProgram(const std::filesystem::path& site, const std::vector<std::string>& options,
                               const std::string& program) {
  int ends[2];
  if (::pipe2(ends, O_CLOEXEC) != 0) throw std::runtime_error("no pipe");
  posix_spawn_file_actions_t actions;
  ::posix_spawn_file_actions_init(&actions);
  ::posix_spawn_file_actions_adddup2(&actions, ends[1], 2);
  std::vector<std::string> arguments = {"serve", site.string()};
  const bool hasAddress = std::find(options.begin(), options.end(), "--listen") != options.end();
  if (!hasAddress) arguments.insert(arguments.end(), {"--listen", "127.0.0.1:0"});
  arguments.insert(arguments.end(), options.begin(), options.end());
  m_pid = Start(program.empty() ? VARNEL_PROGRAM : program, arguments, actions);
  ::close(ends[1]);
  m_error = ends[0];
  while (m_words.find("varnel: serving ") == std::string::npos || m_words.back() != '\n') {
    if (!ReadWords()) return;
  }
  const std::string mark = "http://127.0.0.1:";
  const std::size_t at = m_words.find(mark);
  if (at != std::string::npos)
    m_port = static_cast<std::uint16_t>(std::stoi(m_words.substr(at + mark.size())));
}

ServingProgram::~ServingProgram() {
  if (m_pid != 0) {
    // The second one, of another number so that both count, doesn't wait; the folder of sessions goes along.
    ::kill(m_pid, SIGTERM);
    ::kill(m_pid, SIGINT);
    StatusOf(m_pid);
  }
  ::close(m_error);
}

bool ServingProgram::ReadWords() {
  char bytes[4096];
  const ssize_t count = ::read(m_error, bytes, sizeof bytes);
  if (count <= 0) return false;
  m_words.append(bytes, static_cast<std::size_t>(count));
  return true;
}

bool ServingProgram::AwaitWords(const std::string& text) {
  while (m_words.find(text) == std::string::npos) {
    if (!ReadWords()) return false;
  }
  return true;
}

bool ServingProgram::AwaitNextWords(const std::string& text) {
  while (m_words.find(text, m_seen) == std::string::npos) {
    if (!ReadWords()) return false;
  }
  m_seen = m_words.find(text, m_seen) + text.size();
  return true;
}

pid_t ServingProgram::Worker() const {
  for (const auto& entry : std::filesystem::directory_iterator("/proc")) {
    const std::string name = entry.path().filename();
    if (name.find_first_not_of("0123456789") != std::string::npos) continue;
    const std::string stat = Content(entry.path() / "stat");
    // Behind the program's name in brackets: the state, then the parent.
    const std::size_t bracket = stat.rfind(')');
    if (bracket == std::string::npos || stat.size() < bracket + 5) continue;
    const bool ended = stat[bracket + 2] == 'Z';
    if (!ended && std::atoi(stat.c_str() + bracket + 4) == m_pid) return std::stoi(name);
  }
  return 0;
}

void ServingProgram::Signal(int signal) const { ::kill(m_pid, signal); }

int ServingProgram::Wait() {
  while (ReadWords()) {
  }
  return StatusOf(std::exchange(m_pid, 0));
}

}  // namespace hosttest
