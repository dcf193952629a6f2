// A worker that is the program itself, begun afresh: with addresses and random values of its own, so that
// what is learned from one worker tells nothing of the next.
#pragma once

#include <string>
#include <vector>

#include "host-linux/base/UniqueFd.h"

namespace hostlinux {

// The running program's file, held open: a file of another version that takes its place meanwhile isn't
// started.
class OwnProgram {
 public:
  // Throws std::runtime_error where the file can't be opened.
  OwnProgram();

  // In a process of its own: starts the program with `arguments` (without the program's name) instead of what
  // runs. `inherited` go along, in this order, as its descriptors from kFirstInherited on; beside them,
  // standard input, output and error only. Throws std::runtime_error where it can't be started.
  [[noreturn]] void Become(const std::vector<std::string>& arguments,
                           const std::vector<int>& inherited) const;

 private:
  UniqueFd m_file;
};

inline constexpr int kFirstInherited = 3;

// In the program that was started so: takes the descriptor at `position`, counted from 0. Throws
// std::runtime_error where there is none.
UniqueFd TakeInherited(int position);

// A text that a program can inherit, and nobody can change any more. Throws std::runtime_error where the
// system has no room for it.
UniqueFd TextToInherit(const std::string& text);

// In the program that was started so: the text at `position`, which is then closed.
std::string TakeInheritedText(int position);

}  // namespace hostlinux
