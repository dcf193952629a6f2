// The SQL texts of a run, one line of JSON each: what the library handed over, what the engine got, how many
// rows came and how long it took.
#pragma once

#include <fstream>
#include <string>

#include "host-linux/database/AdoDatabase.h"

namespace hostlinux {

class SqlTraceFile {
 public:
  // Replaces the file. Raises std::runtime_error where it can't be written.
  explicit SqlTraceFile(const std::string& path);
  void Write(const SqlTraceEntry& entry);

 private:
  std::ofstream m_file;
};

}  // namespace hostlinux
