#include "host-linux/command/SqlTraceFile.h"

#include <cstdio>
#include <stdexcept>

namespace hostlinux {

std::string JsonText(varnel::StringView text) {
  std::string json = "\"";
  for (const char c : varnel::ToUtf8(text)) {
    if (c == '"' || c == '\\') {
      json += '\\';
      json += c;
    } else if (static_cast<unsigned char>(c) < 0x20) {
      char escape[8];
      std::snprintf(escape, sizeof escape, "\\u%04x", static_cast<unsigned>(static_cast<unsigned char>(c)));
      json += escape;
    } else {
      json += c;
    }
  }
  return json + "\"";
}

SqlTraceFile::SqlTraceFile(const std::string& path) : m_file(path, std::ios::binary | std::ios::trunc) {
  if (!m_file) throw std::runtime_error(path + " can't be written");
}

void SqlTraceFile::Write(const SqlTraceEntry& entry) {
  m_file << "{\"sql\": " << JsonText(entry.sql) << ", \"sent\": " << JsonText(entry.sent)
         << ", \"rows\": " << entry.rows << ", \"us\": " << entry.time.count() << "}\n";
}

}  // namespace hostlinux
