#include "host-linux/database/sqlite/SqliteProvider.h"

#include "host-linux/database/sqlite/SqliteErrors.h"
#include "host-linux/database/sqlite/SqliteSession.h"

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

}  // namespace

std::unique_ptr<ISession> SqliteProvider::Open(const ConnectionString& connection,
                                               const std::filesystem::path& folder, bool readOnly) {
  const varnel::String source = connection.Get(u"Data Source");
  if (source.empty()) {
    RaiseSqlite(provider_error::kFail, u"The connection string names no Data Source.", u"08001");
  }
  const std::filesystem::path file(varnel::ToUtf8(source));
  return std::make_unique<SqliteSession>(source == u":memory:" ? file : folder / file,
                                         ModeOf(connection.Get(u"Mode"), readOnly),
                                         ReadsOf(connection.Get(u"PageReads")));
}

}  // namespace hostlinux
