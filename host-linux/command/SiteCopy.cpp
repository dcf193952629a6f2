#include "host-linux/command/SiteCopy.h"

#include <stdlib.h>

#include <stdexcept>
#include <string>

#include "host-linux/database/provider/ConnectionString.h"
#include "varnel/automation/Convert.h"

namespace hostlinux {

namespace {

namespace fs = std::filesystem;

fs::path MakeTemporaryFolder() {
  std::string name = (fs::temp_directory_path() / "varnel-test-XXXXXX").string();
  if (::mkdtemp(name.data()) == nullptr) throw std::runtime_error("there is no place for a copy of the site");
  return name;
}

}  // namespace

SiteCopy::SiteCopy(const SiteConfiguration& site) : m_original(site.folder), m_site(site) {
  m_site.folder = MakeTemporaryFolder();
  try {
    CopyFolder(m_original, m_site.folder);
    for (auto& [key, value] : m_site.application)
      if (key.ends_with("_ConnectionString")) TakeDatabase(value);
    for (auto& [key, value] : m_site.configuration) TakeDatabase(value);
  } catch (...) {
    std::error_code ignored;
    fs::remove_all(m_site.folder, ignored);
    throw;
  }
}

SiteCopy::~SiteCopy() {
  std::error_code ignored;
  fs::remove_all(m_site.folder, ignored);
}

bool SiteCopy::IsLeftOut(const fs::path& path) const {
  const std::string name = path.filename().string();
  const bool isLog = !m_site.log.file.empty() && path == (m_original / m_site.log.file).lexically_normal();
  const bool isSessions =
      !m_site.sessions.folder.empty() && path == (m_original / m_site.sessions.folder).lexically_normal();
  return name.starts_with(".") || name == "node_modules" || isLog || isSessions;
}

void SiteCopy::CopyFolder(const fs::path& from, const fs::path& to) {
  fs::create_directories(to);
  for (const auto& entry : fs::directory_iterator(from)) {
    if (IsLeftOut(entry.path())) continue;
    const fs::path target = to / entry.path().filename();
    // A link to a folder may lead back up: it is left out.
    if (entry.is_directory() && !entry.is_symlink()) {
      CopyFolder(entry.path(), target);
    } else if (entry.is_regular_file()) {
      fs::copy_file(entry.path(), target);
    }
  }
}

// A database that lies outside of the site is copied too: a test must not write into it.
void SiteCopy::TakeDatabase(varnel::Variant& connection) {
  if (!connection.IsText()) return;
  const varnel::String text = varnel::ToText(connection);
  const varnel::String source = ConnectionString(text).Get(u"Data Source");
  const fs::path file = (m_original / varnel::ToUtf8(source)).lexically_normal();
  const fs::path inside = file.lexically_relative(m_original);
  const bool isInside = !inside.empty() && *inside.begin() != "..";
  if (source.empty() || (isInside && !fs::path(varnel::ToUtf8(source)).is_absolute())) return;
  const fs::path copy = m_site.folder / ("database-" + std::to_string(++m_databases));
  for (const char* part : {"", "-wal"}) {
    std::error_code missing;
    if (fs::is_regular_file(file.string() + part, missing))
      fs::copy_file(file.string() + part, copy.string() + part);
  }
  // Of a key that occurs twice the last value counts.
  connection = text + u";Data Source=" + varnel::FromUtf8(copy.filename().string());
}

}  // namespace hostlinux
