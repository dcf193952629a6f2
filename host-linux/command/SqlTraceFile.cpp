#include "host-linux/command/SqlTraceFile.h"

#include <stdexcept>

#include "host-linux/script/JsonText.h"

namespace hostlinux {

SqlTraceFile::SqlTraceFile(const std::string& path) : m_file(path, std::ios::binary | std::ios::trunc) {
  if (!m_file) throw std::runtime_error(path + " can't be written");
}

void SqlTraceFile::Write(const SqlTraceEntry& entry) {
  m_file << "{\"sql\": " << JsonText(entry.sql) << ", \"sent\": " << JsonText(entry.sent)
         << ", \"rows\": " << entry.rows << ", \"us\": " << entry.time.count() << "}\n";
}

}  // namespace hostlinux
