#include "host-linux/database/sqlite/SqliteErrors.h"

namespace hostlinux {
namespace {

struct Mapped {
  varnel::Long number;
  varnel::StringView state;
};

// SQLITE_ERROR covers all faults of a text; its message tells which.
Mapped MapTextFault(std::string_view message) {
  if (message.starts_with("no such table")) return {provider_error::kNoTable, u"42S02"};
  if (message.starts_with("no such column")) return {provider_error::kSyntax, u"42S22"};
  if (message.starts_with("not authorized to use function")) return {provider_error::kPermission, u"42000"};
  if (message.find("already exists") != std::string_view::npos) return {provider_error::kSyntax, u"42S01"};
  return {provider_error::kSyntax, u"42000"};
}

Mapped Map(int code, std::string_view message) {
  switch (code & 0xFF) {
    case SQLITE_ERROR:
      return MapTextFault(message);
    case SQLITE_CONSTRAINT:
      return {provider_error::kIntegrity, u"23000"};
    case SQLITE_READONLY:
    case SQLITE_PERM:
    case SQLITE_AUTH:
      return {provider_error::kPermission, u"42000"};
    case SQLITE_CANTOPEN:
    case SQLITE_NOTADB:
      return {provider_error::kFail, u"08001"};
    case SQLITE_BUSY:
    case SQLITE_LOCKED:
    case SQLITE_INTERRUPT:
    case SQLITE_PROTOCOL:  // the index of the write-ahead log stayed locked
      return {provider_error::kTimeout, u"HYT00"};
    default:
      return {provider_error::kFail, u"HY000"};
  }
}

constexpr varnel::StringView kSource = u"Varnel SQLite";

}  // namespace

void RaiseSqlite(sqlite3* database) {
  const int code = sqlite3_extended_errcode(database);
  const std::string message = sqlite3_errmsg(database);
  const Mapped mapped = Map(code, message);
  const varnel::String text =
      code == SQLITE_INTERRUPT ? varnel::String(u"Query timeout expired") : varnel::FromUtf8(message);
  throw ProviderFailure({mapped.number, varnel::String(kSource), text, code, varnel::String(mapped.state)});
}

void RaiseSqlite(varnel::Long number, varnel::StringView description, varnel::StringView sqlState) {
  throw ProviderFailure(
      {number, varnel::String(kSource), varnel::String(description), 0, varnel::String(sqlState)});
}

void RaiseTooLarge() {
  RaiseSqlite(provider_error::kFail, u"The result is larger than a result may be.", u"HY000");
}

}  // namespace hostlinux
