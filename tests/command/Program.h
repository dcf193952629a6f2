// The varnel program as a process of its own.
#pragma once

#include <sys/types.h>

#include <filesystem>
#include <string>
#include <vector>

namespace hosttest {

struct Ran {
  int status = -1;  // its exit status; -1 where a signal ended it
  std::string out;
  std::string err;
};

// Runs `varnel` with these arguments, and `input` as its standard input, to its end.
Ran RunVarnel(const std::vector<std::string>& arguments, const std::string& input = "");

// `varnel serve SITE` on a port of its own, unless the options name another address. Is ended at once in the end if it still runs.
class ServingProgram {
 public:
  // Returns once it listens, or has ended.
  // Another file than the built one may be `program`.
  explicit ServingProgram(const std::filesystem::path& site, const std::vector<std::string>& options = {},
                          const std::string& program = {});
  ~ServingProgram();
  ServingProgram(const ServingProgram&) = delete;
  ServingProgram& operator=(const ServingProgram&) = delete;

  std::uint16_t Port() const { return m_port; }
  pid_t Pid() const { return m_pid; }
  // The first process that it started; 0 if there is none.
  pid_t Worker() const;
  void Signal(int signal) const;
  // Waits for its end: the exit status; -1 where a signal ended it.
  int Wait();
  // Waits until it has written `text` to standard error; false where it ended without.
  bool AwaitWords(const std::string& text);
  // The same, of what comes behind the text that was awaited so last.
  bool AwaitNextWords(const std::string& text);
  // What it has written to standard error so far.
  const std::string& Words() const { return m_words; }

 private:
  bool ReadWords();

  pid_t m_pid = 0;
  int m_error = -1;
  std::string m_words;
  std::size_t m_seen = 0;  // what AwaitNextWords has passed
  std::uint16_t m_port = 0;
};

}  // namespace hosttest
