// What a fake host was asked to do, in order, as lines of text that tests compare.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "varnel/automation/String.h"

namespace hostfake {

class Trace {
 public:
  // Appends a line: who, a colon, what. "Connection 1", "Close" becomes "Connection 1: Close".
  void Add(varnel::StringView who, varnel::StringView what) {
    m_lines.push_back(varnel::ToUtf8(who) + ": " + varnel::ToUtf8(what));
  }

  // All lines in UTF-8, and those that begin with `prefix`.
  const std::vector<std::string>& Lines() const { return m_lines; }
  std::vector<std::string> LinesOf(const std::string& prefix) const {
    std::vector<std::string> lines;
    for (const std::string& line : m_lines) {
      if (line.starts_with(prefix)) lines.push_back(line);
    }
    return lines;
  }

  void Clear() { m_lines.clear(); }

 private:
  std::vector<std::string> m_lines;
};

// Shared by a host and everything that it hands out, which may outlive it.
using TracePtr = std::shared_ptr<Trace>;

}  // namespace hostfake
