#include "host-linux/command/PasswordCommand.h"

#include <termios.h>
#include <unistd.h>

#include <CLI/CLI.hpp>
#include <algorithm>
#include <cstdio>
#include <exception>
#include <iostream>
#include <stdexcept>
#include <string>

#include "host-linux/services/PasswordHash.h"

namespace hostlinux {

namespace {

constexpr std::size_t kShortestPassword = 8;  // characters

// While it lives, the terminal shows nothing of what is typed. Ctrl-C doesn't end the program, which would
// leave the terminal so: it becomes a control character, which no password may hold.
class Unseen {
 public:
  Unseen() {
    ::tcgetattr(STDIN_FILENO, &m_before);
    termios unseen = m_before;
    unseen.c_lflag &= ~static_cast<tcflag_t>(ECHO | ISIG);
    ::tcsetattr(STDIN_FILENO, TCSAFLUSH, &unseen);
  }
  ~Unseen() {
    ::tcsetattr(STDIN_FILENO, TCSAFLUSH, &m_before);
    std::fputs("\n", stderr);
  }
  Unseen(const Unseen&) = delete;
  Unseen& operator=(const Unseen&) = delete;

 private:
  termios m_before{};
};

std::string ReadLine() {
  std::string line;
  if (!std::getline(std::cin, line)) throw std::runtime_error("no password was given");
  if (line.ends_with('\r')) line.pop_back();
  return line;
}

std::string AskUnseen(const char* question) {
  std::fputs(question, stderr);
  const Unseen unseen;
  return ReadLine();
}

std::string AskForPassword() {
  if (::isatty(STDIN_FILENO) == 0) return ReadLine();
  std::string password = AskUnseen("Password: ");
  if (AskUnseen("The same again: ") != password)
    throw std::runtime_error("the two passwords are not the same");
  return password;
}

// Characters of UTF-8 text: bytes that continue one aren't counted.
std::size_t LengthOf(const std::string& text) {
  return static_cast<std::size_t>(
      std::count_if(text.begin(), text.end(), [](char c) { return (c & 0xC0) != 0x80; }));
}

void CheckPassword(const std::string& password) {
  const bool hasControl = std::any_of(password.begin(), password.end(), [](char c) {
    return static_cast<unsigned char>(c) < 0x20 || c == 0x7f;
  });
  if (hasControl) throw std::runtime_error("a password holds no control characters");
  if (LengthOf(password) < kShortestPassword)
    throw std::runtime_error("a password has " + std::to_string(kShortestPassword) + " characters or more");
  if (password.size() > kLongestPassword)
    throw std::runtime_error("a password has " + std::to_string(kLongestPassword) + " bytes at most");
}

int RunPassword() {
  try {
    const std::string password = AskForPassword();
    CheckPassword(password);
    std::printf("password = \"%s\"\n", MakePasswordHash(password).c_str());
    return 0;
  } catch (const std::exception& error) {
    std::fprintf(stderr, "varnel: %s\n", error.what());
    return 1;
  }
}

}  // namespace

void AddPasswordCommand(CLI::App& app, int& status) {
  CLI::App* command = app.add_subcommand(
      "password", "Make the hash of a password, as it stands in [users.NAME] of site.toml");
  command->callback([&status] { status = RunPassword(); });
}

}  // namespace hostlinux
