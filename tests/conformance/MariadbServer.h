// A MariaDB server of the tests' own.
#pragma once

#include "tests/conformance/TestServer.h"

class MariadbServer : public TestServer {
 public:
  // The server of this test program, which starts it when first asked; null where MariaDB or its driver isn't installed.
  static MariadbServer* Shared();

  MariadbServer();
  void Start() override;
  void Run(const std::string& sql, const std::string& database = "mysql") override;
  // Texts are told apart by their codes in it.
  std::string NewDatabase() override;

  // A connection string to `database`, as a user who may do everything.
  std::u16string Connection(const std::string& database) const;
};
