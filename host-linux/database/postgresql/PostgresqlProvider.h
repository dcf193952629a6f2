// A PostgreSQL server, or another one that speaks its protocol:
//   Provider=PostgreSQL;Server=a,b;Port=5432;Database=shop;User ID=u;Password=p;Mode=Read;SSL Mode=verify-full
#pragma once

#include "host-linux/database/postgresql/PostgresqlConnection.h"
#include "host-linux/database/provider/Provider.h"

namespace hostlinux {

// Server lists hosts, with Port for all or one for each; a name that begins with / is the folder of a socket. Of several
// hosts, Mode=Read takes a standby where there is one, and any other mode the one that takes changes. Mode=Read refuses
// changes. SSL Mode, SSL Root Cert, SSL Cert, SSL Key and SSL CRL are libpq's. CountsFor=30s keeps numbers of rows for as long.
// libpq's options for a connection string.
PostgresqlConnection::Options PostgresqlOptions(const ConnectionString& connection, bool readsOnly);

class PostgresqlSession;
std::unique_ptr<PostgresqlSession> OpenPostgresql(const ConnectionString& connection,
                                                  const OpenOptions& options);

class PostgresqlProvider : public IProvider {
 public:
  // Raises ProviderFailure: 80004005 with SQLState 08001 for a connection string that names too little or what isn't known,
  // and for a server that can't be reached or doesn't let the user in.
  std::unique_ptr<ISession> Open(const ConnectionString& connection, const OpenOptions& options) override;
};

}  // namespace hostlinux
