#include "host-linux/database/odbc/OdbcErrors.h"

#include <algorithm>
#include <array>

namespace hostlinux {
namespace {

using varnel::Long;
using varnel::String;
using varnel::StringView;
using varnel::host::ProviderError;

constexpr SQLSMALLINT kMostRecords = 100;

// Numbers of a server whose states tell less than they do.
namespace mariadb {
constexpr Long kLockTimeout = 1205;
constexpr Long kInterrupted = 1317;
constexpr Long kNoDefault = 1364;
constexpr Long kStatementTimeout = 1969;
constexpr std::array<Long, 9> kRights = {1044, 1142, 1143, 1227, 1290, 1370, 1410, 1792, 1836};
}  // namespace mariadb

// SQLite's driver has one state for all, and tells the engine's number.
namespace sqlite {
constexpr StringView kPrefix = u"[SQLite]";
constexpr Long kError = 1;
constexpr Long kPermission = 3;
constexpr Long kBusy = 5;
constexpr Long kLocked = 6;
constexpr Long kReadOnly = 8;
constexpr Long kInterrupted = 9;
constexpr Long kCantOpen = 14;
constexpr Long kConstraint = 19;
constexpr Long kNoDatabase = 26;

// Fault of a text, of which there is one number for all kinds.
StringView StateOfText(const String& text) {
  if (text.find(u"]no such table") != String::npos) return u"42S02";
  if (text.find(u"]no such column") != String::npos) return u"42S22";
  if (text.find(u" already exists") != String::npos) return u"42S01";
  return u"42000";
}

// Empty for what is no more than a failure.
StringView StateOf(Long number, const String& text) {
  switch (number & 0xFF) {
    case kError:
      return StateOfText(text);
    case kConstraint:
      return u"23000";
    case kPermission:
    case kReadOnly:
      return u"25006";
    case kBusy:
    case kLocked:
    case kInterrupted:
      return u"57014";
    case kCantOpen:
    case kNoDatabase:
      return u"08001";
    default:
      return {};
  }
}

// The driver's messages are UTF-8, of which the driver manager has made a character of each byte.
String Mended(const String& text) {
  std::string bytes;
  for (const char16_t c : text) {
    if (c > 0xFF) return text;
    bytes += static_cast<char>(c);
  }
  return varnel::FromUtf8(bytes);
}

void Complete(ProviderError& io_error) {
  if (!io_error.Description.starts_with(kPrefix)) return;
  io_error.Description = Mended(io_error.Description);
  const StringView state = StateOf(io_error.NativeError, io_error.Description);
  if (!state.empty()) io_error.SQLState = state;
}
}  // namespace sqlite

bool IsRight(const ProviderError& error) {
  return std::find(mariadb::kRights.begin(), mariadb::kRights.end(), error.NativeError) !=
         mariadb::kRights.end();
}

bool IsLate(const ProviderError& error) {
  const Long native = error.NativeError;
  return error.SQLState.starts_with(u"HYT") || error.SQLState == u"HY008" || error.SQLState == u"HY018" ||
         error.SQLState == u"57014" || error.SQLState == u"55P03" || native == mariadb::kLockTimeout ||
         native == mariadb::kInterrupted || native == mariadb::kStatementTimeout;
}

// The driver's states differ from those that the ODBC world knows where a server's own shine through.
String StateOf(const ProviderError& error) {
  if (error.SQLState == u"42P01" || error.SQLState == u"S0002") return u"42S02";
  if (error.SQLState == u"42703" || error.SQLState == u"S0022") return u"42S22";
  if (error.SQLState == u"25006") return u"42000";
  if (error.SQLState.starts_with(u"23") || error.NativeError == mariadb::kNoDefault) return u"23000";
  return error.SQLState;
}

Long NumberOf(const ProviderError& error) {
  const String& state = error.SQLState;
  if (IsLate(error)) return provider_error::kTimeout;
  if (state == u"42501" || state == u"25006" || IsRight(error)) return provider_error::kPermission;
  const String known = StateOf(error);
  if (known == u"23000") return provider_error::kIntegrity;
  if (known == u"42S02") return provider_error::kNoTable;
  if (known.starts_with(u"07")) return provider_error::kNoValue;
  if (known.starts_with(u"42") || known == u"37000") return provider_error::kSyntax;
  return provider_error::kFail;
}

StringView TextOf(const SQLWCHAR* text) { return reinterpret_cast<const char16_t*>(text); }

std::vector<ProviderError> RecordsOf(SQLSMALLINT kind, SQLHANDLE handle) {
  std::vector<ProviderError> errors;
  std::array<SQLWCHAR, 6> state{};
  std::array<SQLWCHAR, 2000> text{};
  for (SQLSMALLINT i = 1; i <= kMostRecords; ++i) {
    SQLINTEGER native = 0;
    SQLSMALLINT length = 0;
    if (!SQL_SUCCEEDED(SQLGetDiagRecW(kind, handle, i, state.data(), &native, text.data(),
                                      static_cast<SQLSMALLINT>(text.size()), &length))) {
      break;
    }
    ProviderError error{0, String(kOdbcSource), String(TextOf(text.data())), static_cast<Long>(native),
                        String(TextOf(state.data()))};
    sqlite::Complete(error);
    error.Number = NumberOf(error);
    error.SQLState = IsLate(error) ? String(u"HYT00") : StateOf(error);
    errors.push_back(std::move(error));
  }
  return errors;
}

}  // namespace

void RaiseOdbc(SQLSMALLINT kind, SQLHANDLE handle) {
  std::vector<ProviderError> errors = RecordsOf(kind, handle);
  if (errors.empty())
    RaiseOdbc(provider_error::kFail, u"The database driver failed without a word.", u"HY000");
  throw ProviderFailure(std::move(errors));
}

void RaiseOdbc(Long number, StringView description, StringView sqlState) {
  throw ProviderFailure({number, String(kOdbcSource), String(description), 0, String(sqlState)});
}

void RaiseOdbcTimeout() { RaiseOdbc(provider_error::kTimeout, u"Query timeout expired", u"HYT00"); }

}  // namespace hostlinux
