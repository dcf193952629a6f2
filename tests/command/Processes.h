// What the system tells of processes.
#pragma once

#include <fcntl.h>
#include <signal.h>
#include <sys/types.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

namespace hosttest {

inline std::string FileText(const std::string& path) {
  std::ifstream file(path);
  std::ostringstream text;
  text << file.rdbuf();
  return text.str();
}

inline std::string ProcFile(pid_t process, const std::string& name) {
  return "/proc/" + std::to_string(process) + "/" + name;
}

// Where the object whose path ends so begins, by the text of a file "maps"; empty where there is none.
inline std::string FirstAddressOf(const std::string& object, const std::string& maps) {
  std::istringstream lines(maps);
  for (std::string line; std::getline(lines, line);) {
    if (line.ends_with(object)) return line.substr(0, line.find('-'));
  }
  return {};
}

// What the descriptors of a process stand for, without standard input, output and error.
inline std::vector<std::string> DescriptorsOf(pid_t process) {
  std::vector<std::string> names;
  for (const auto& entry : std::filesystem::directory_iterator(ProcFile(process, "fd"))) {
    if (std::stoi(entry.path().filename()) <= 2) continue;
    std::error_code gone;
    names.push_back(std::filesystem::read_symlink(entry.path(), gone).string());
  }
  return names;
}

// Waits for the end of a process that isn't a child of this one.
inline bool AwaitEndOf(pid_t process) {
  for (int tries = 0; tries < 1000; ++tries) {
    const std::string stat = FileText(ProcFile(process, "stat"));
    const std::size_t bracket = stat.rfind(')');
    if (bracket == std::string::npos || stat.substr(bracket).starts_with(") Z")) return true;
    ::usleep(20'000);
  }
  return false;
}

// A file that programs find open which are started meanwhile.
class OpenForChildren {
 public:
  explicit OpenForChildren(const std::string& path) : m_fd(::open(path.c_str(), O_RDONLY)) {}
  ~OpenForChildren() { ::close(m_fd); }
  OpenForChildren(const OpenForChildren&) = delete;
  OpenForChildren& operator=(const OpenForChildren&) = delete;

 private:
  int m_fd;
};

}  // namespace hosttest
