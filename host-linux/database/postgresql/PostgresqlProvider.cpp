#include "host-linux/database/postgresql/PostgresqlProvider.h"

#include <array>

#include "host-linux/database/postgresql/PostgresqlSession.h"
#include "host-linux/database/provider/ServerKeys.h"

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

constexpr StringView kSource = u"Varnel PostgreSQL";

bool HasSeveralHosts(const ConnectionString& connection) {
  return connection.Get(u"Server").find(u',') != String::npos;
}

}  // namespace

PostgresqlConnection::Options PostgresqlOptions(const ConnectionString& connection, bool readsOnly) {
  PostgresqlConnection::Options options;
  for (const Keyword& keyword : kKeywords) {
    if (const String value = connection.Get(keyword.ours); !value.empty())
      options.emplace_back(keyword.libpq, varnel::ToUtf8(value));
  }
  if (HasSeveralHosts(connection))
    options.emplace_back("target_session_attrs", readsOnly ? "prefer-standby" : "read-write");
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
  if (connection.Get(u"Server").empty()) RefuseConnection(kSource, u"The connection string names no Server.");
  if (connection.Get(u"Database").empty())
    RefuseConnection(kSource, u"The connection string names no Database.");
  RefuseLimits(connection, kSource);
  PostgresqlAccess access;
  access.readsOnly = ReadsOnly(connection, options.readOnly, kSource);
  access.options = PostgresqlOptions(connection, access.readsOnly);
  access.prefersStandby = access.readsOnly && HasSeveralHosts(connection);
  access.keepsCounts = KeepsCounts(connection, kSource);
  if (varnel::EqualsNoCase(connection.Get(u"PageReads"), u"AsWritten")) access.reads = PageReads::AsWritten;
  return std::make_unique<PostgresqlSession>(access, options);
}

}  // namespace hostlinux
