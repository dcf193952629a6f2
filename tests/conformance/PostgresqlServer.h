// A PostgreSQL server of the tests' own.
#pragma once

#include "tests/conformance/TestServer.h"

class PostgresqlServer : public TestServer {
 public:
  // The server of this test program, which starts it when first asked; null where PostgreSQL isn't installed.
  static PostgresqlServer* Shared();

  PostgresqlServer();
  void Start() override;
  // With the processes that serve its connections.
  void Pause(bool isPaused) override;
  void Run(const std::string& sql, const std::string& database = "postgres") override;
  std::string NewDatabase() override;

  // A connection string to `database`, as the owner of everything.
  std::u16string Connection(const std::string& database = "postgres") const;
  // The same by the server's ODBC driver.
  std::u16string OdbcConnection(const std::string& database) const;

 private:
  std::string Tool(const std::string& name) const;
};
