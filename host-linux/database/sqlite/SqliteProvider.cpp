#include "host-linux/database/sqlite/SqliteProvider.h"

#include <algorithm>

#include "host-linux/database/sqlite/SqliteErrors.h"
#include "host-linux/database/sqlite/SqliteSession.h"
#include "host-linux/database/sqlite/SqliteUse.h"

namespace hostlinux {
namespace {

SqliteMode ModeOf(const varnel::String& text, bool readOnly) {
  if (readOnly || varnel::EqualsNoCase(text, u"Read")) return SqliteMode::Read;
  if (varnel::EqualsNoCase(text, u"ReadWrite")) return SqliteMode::ReadWrite;
  if (text.empty() || varnel::EqualsNoCase(text, u"Create")) return SqliteMode::Create;
  RaiseSqlite(provider_error::kFail, u"The connection string has an unknown Mode: '" + text + u"'.",
              u"08001");
}

// For comparisons of the two.
PageReads ReadsOf(const varnel::String& text) {
  return varnel::EqualsNoCase(text, u"AsWritten") ? PageReads::AsWritten : PageReads::InArms;
}

constexpr std::size_t kUsuallyKept = 100;
constexpr std::size_t kMostKept = 10000;

// How many lists are kept.
std::size_t KeptListsOf(const varnel::String& text) {
  if (text.empty()) return kUsuallyKept;
  std::size_t count = 0;
  for (const char16_t digit : text) {
    if (digit < u'0' || digit > u'9' || count > kMostKept)
      RaiseSqlite(provider_error::kFail, u"KeptLists is a number from 0 to 10000, not '" + text + u"'.",
                  u"08001");
    count = count * 10 + (digit - u'0');
  }
  return std::min(count, kMostKept);
}

// Names with commas between.
std::vector<std::string> NamesOf(const varnel::String& text) {
  std::vector<std::string> names;
  for (std::size_t begin = 0; begin <= text.size();) {
    const std::size_t end = std::min(text.find(u',', begin), text.size());
    const varnel::String name = varnel::Trim(text.substr(begin, end - begin));
    if (!name.empty()) names.push_back(varnel::ToUtf8(name));
    begin = end + 1;
  }
  return names;
}

}  // namespace

std::unique_ptr<ISession> SqliteProvider::Open(const ConnectionString& connection,
                                               const OpenOptions& options) {
  PrepareSqlite();
  const varnel::String source = connection.Get(u"Data Source");
  if (source.empty()) {
    RaiseSqlite(provider_error::kFail, u"The connection string names no Data Source.", u"08001");
  }
  const std::filesystem::path file(varnel::ToUtf8(source));
  return std::make_unique<SqliteSession>(
      source == u":memory:" ? file : options.folder / file,
      SqliteAccess{ModeOf(connection.Get(u"Mode"), options.readOnly), NamesOf(connection.Get(u"Tables")),
                   NamesOf(connection.Get(u"Functions")), ReadsOf(connection.Get(u"PageReads")),
                   KeptListsOf(connection.Get(u"KeptLists"))},
      options);
}

}  // namespace hostlinux
