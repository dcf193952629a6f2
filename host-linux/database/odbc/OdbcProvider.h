// Any server with an ODBC driver:
//   Driver={MariaDB Unicode};Server=db1;Database=shop;UID=web;PWD=...;Mode=Read
//   DSN=shop;UID=web;PWD=...;Dialect=MariaDB
#pragma once

#include <memory>

#include "host-linux/database/provider/Provider.h"

namespace hostlinux {

// The keys that are ours stay here: Provider, Dialect, Mode, CountsFor, PageReads. All others go to the driver, each with its last
// value; User ID and Password as UID and PWD.
std::u16string OdbcText(const ConnectionString& connection, std::chrono::milliseconds longest = {});

class OdbcSession;
// Of several hosts the first one that answers.
std::unique_ptr<OdbcSession> OpenOdbc(const ConnectionString& connection, const OpenOptions& options);

class OdbcProvider : public IProvider {
 public:
  // Raises ProviderFailure: 80004005 with SQLState 08001 for a connection string that names too little or what isn't known; what
  // the driver tells of a server that can't be reached or doesn't let the user in.
  std::unique_ptr<ISession> Open(const ConnectionString& connection, const OpenOptions& options) override;
};

}  // namespace hostlinux
