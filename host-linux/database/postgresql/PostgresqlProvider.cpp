#include "host-linux/database/postgresql/PostgresqlProvider.h"

#include <array>
#include <charconv>

#include "host-linux/database/postgresql/PostgresqlErrors.h"
#include "host-linux/database/postgresql/PostgresqlSession.h"

namespace hostlinux {
namespace {

using varnel::String;
using varnel::StringView;

struct Keyword {
  StringView ours;
  const char* libpq;
};
constexpr std::array<Keyword, 10> kKeywords = {{{u"Server", "host"},
                                                {u"Port", "port"},
                                                {u"Database", "dbname"},
                                                {u"User ID", "user"},
                                                {u"Password", "password"},
                                                {u"SSL Mode", "sslmode"},
                                                {u"SSL Root Cert", "sslrootcert"},
                                                {u"SSL Cert", "sslcert"},
                                                {u"SSL Key", "sslkey"},
                                                {u"SSL CRL", "sslcrl"}}};

[[noreturn]] void Refuse(const String& sentence) {
  RaisePostgresql(provider_error::kFail, sentence, u"08001");
}

bool IsRead(const ConnectionString& connection, bool readOnly) {
  const String mode = connection.Get(u"Mode");
  if (readOnly || varnel::EqualsNoCase(mode, u"Read")) return true;
  if (mode.empty() || varnel::EqualsNoCase(mode, u"ReadWrite")) return false;
  Refuse(u"The connection string has an unknown Mode: '" + mode + u"'.");
}

// "30s", or "500ms".
std::chrono::milliseconds Duration(const String& text) {
  if (text.empty()) return std::chrono::milliseconds(0);
  const std::string utf8 = varnel::ToUtf8(text);
  std::int64_t number = 0;
  const auto end = std::from_chars(utf8.data(), utf8.data() + utf8.size(), number);
  const std::string_view unit(end.ptr, static_cast<std::size_t>(utf8.data() + utf8.size() - end.ptr));
  constexpr std::int64_t kMost = 24 * 3600;
  if (end.ec == std::errc() && number >= 0 && number <= kMost) {
    if (unit == "s") return std::chrono::seconds(number);
    if (unit == "ms") return std::chrono::milliseconds(number);
  }
  Refuse(u"CountsFor is no time such as 30s: '" + text + u"'.");
}

}  // namespace

PostgresqlConnection::Options PostgresqlOptions(const ConnectionString& connection, bool readsOnly) {
  PostgresqlConnection::Options options;
  for (const Keyword& keyword : kKeywords) {
    if (const String value = connection.Get(keyword.ours); !value.empty())
      options.emplace_back(keyword.libpq, varnel::ToUtf8(value));
  }
  const bool hasSeveral = connection.Get(u"Server").find(u',') != String::npos;
  if (hasSeveral) options.emplace_back("target_session_attrs", readsOnly ? "prefer-standby" : "read-write");
  options.emplace_back("client_encoding", "UTF8");
  options.emplace_back("application_name", "varnel");
  // A server whose machine is gone is noticed, also by what cancels a statement.
  options.emplace_back("tcp_user_timeout", "10000");
  options.emplace_back("keepalives_idle", "60");
  return options;
}

std::unique_ptr<ISession> PostgresqlProvider::Open(const ConnectionString& connection,
                                                   const OpenOptions& options) {
  return OpenPostgresql(connection, options);
}

std::unique_ptr<PostgresqlSession> OpenPostgresql(const ConnectionString& connection,
                                                  const OpenOptions& options) {
  if (connection.Get(u"Server").empty()) Refuse(u"The connection string names no Server.");
  if (connection.Get(u"Database").empty()) Refuse(u"The connection string names no Database.");
  for (const StringView key : {StringView(u"Tables"), StringView(u"Functions")}) {
    if (!connection.Get(key).empty())
      Refuse(String(key) + u" can't be limited here: what a user may touch is granted on the server.");
  }
  PostgresqlAccess access;
  access.readsOnly = IsRead(connection, options.readOnly);
  access.options = PostgresqlOptions(connection, access.readsOnly);
  access.keepsCounts = Duration(connection.Get(u"CountsFor"));
  if (varnel::EqualsNoCase(connection.Get(u"PageReads"), u"AsWritten")) access.reads = PageReads::AsWritten;
  return std::make_unique<PostgresqlSession>(access, options);
}

}  // namespace hostlinux
