#include "host-linux/web/WorkerProgram.h"

#include <fcntl.h>
#include <sys/mman.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <stdexcept>

namespace hostlinux {

namespace {

[[noreturn]] void Fail(const std::string& what) {
  throw std::runtime_error(what + ": " + std::strerror(errno) + ".");
}

// A copy that is out of the way of the numbers below `least`.
int Aside(int fd, int least) {
  const int copy = ::fcntl(fd, F_DUPFD_CLOEXEC, least);
  if (copy < 0) Fail("A worker's descriptor can't be copied");
  return copy;
}

// Gives the descriptors the numbers from kFirstInherited on, `file` the one behind, and closes all others.
// Only `file` doesn't outlive the start of a program. Returns its number.
int Arrange(const std::vector<int>& inherited, int file) {
  const int fileNumber = kFirstInherited + static_cast<int>(inherited.size());
  std::vector<int> copies;
  copies.reserve(inherited.size());
  for (const int fd : inherited) copies.push_back(Aside(fd, fileNumber + 1));
  if (::dup3(Aside(file, fileNumber + 1), fileNumber, O_CLOEXEC) < 0)
    Fail("The program's descriptor can't be copied");
  int number = kFirstInherited;
  for (const int copy : copies) {
    if (::dup2(copy, number++) < 0) Fail("A worker's descriptor can't be copied");
  }
  ::closefrom(fileNumber + 1);
  return fileNumber;
}

}  // namespace

OwnProgram::OwnProgram() : m_file(::open("/proc/self/exe", O_PATH | O_CLOEXEC)) {
  if (!m_file) Fail("The program's own file can't be opened");
}

void OwnProgram::Become(const std::vector<std::string>& arguments, const std::vector<int>& inherited) const {
  std::vector<std::string> texts = {"varnel"};
  texts.insert(texts.end(), arguments.begin(), arguments.end());
  std::vector<char*> pointers;
  pointers.reserve(texts.size() + 1);
  for (std::string& text : texts) pointers.push_back(text.data());
  pointers.push_back(nullptr);
  ::fexecve(Arrange(inherited, m_file.Get()), pointers.data(), environ);
  Fail("The worker can't be started");
}

UniqueFd TakeInherited(int position) {
  const int number = kFirstInherited + position;
  if (::fcntl(number, F_SETFD, FD_CLOEXEC) != 0) Fail("A worker's descriptor is missing");
  return UniqueFd(number);
}

UniqueFd TextToInherit(const std::string& text) {
  UniqueFd file(::memfd_create("inherited", MFD_CLOEXEC | MFD_ALLOW_SEALING));
  if (!file) Fail("A worker's text can't be made");
  for (std::size_t done = 0; done < text.size();) {
    const ssize_t count = ::write(file.Get(), text.data() + done, text.size() - done);
    if (count <= 0) Fail("A worker's text can't be written");
    done += static_cast<std::size_t>(count);
  }
  if (::fcntl(file.Get(), F_ADD_SEALS, F_SEAL_WRITE | F_SEAL_GROW | F_SEAL_SHRINK | F_SEAL_SEAL) != 0)
    Fail("A worker's text can't be sealed");
  return file;
}

std::string TakeInheritedText(int position) {
  const UniqueFd file = TakeInherited(position);
  std::string text;
  char bytes[4096];
  ssize_t count = 0;
  while ((count = ::pread(file.Get(), bytes, sizeof bytes, static_cast<off_t>(text.size()))) > 0)
    text.append(bytes, static_cast<std::size_t>(count));
  if (count < 0) Fail("A worker's text can't be read");
  return text;
}

}  // namespace hostlinux
