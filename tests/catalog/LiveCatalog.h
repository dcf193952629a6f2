// The catalogue on the real provider: the shop's own schema with the small catalogue in it.
#pragma once

#include <gmock/gmock.h>

#include <fstream>
#include <functional>
#include <sstream>

#include "host-fake/ErrorOf.h"
#include "host-fake/FakeHost.h"
#include "tests/database/TestDatabase.h"
#include "varnel/catalog/CatalogQuery.h"

namespace varnel {

// A host whose database is the real one.
class LiveHost : public hostfake::FakeHost {
 public:
  explicit LiveHost(std::shared_ptr<hostlinux::AdoDatabase> database) : m_database(std::move(database)) {
    Application().Set(u"QuenbyConnection_ConnectionString",
                      String(u"Provider=SQLite;Data Source=test.db;Mode=Read"));
    Configuration().SetConnectionString(u"Quenby", u"Provider=SQLite;Data Source=test.db");
    Request().Variables().Set(u"URL", u"/shop/list.asp");
  }
  std::shared_ptr<host::IConnection> CreateConnection() override {
    return std::make_shared<hostlinux::AdoConnection>(m_database);
  }
  std::shared_ptr<host::IRecordset> CreateRecordset() override {
    return std::make_shared<hostlinux::AdoRecordset>(m_database);
  }

 private:
  std::shared_ptr<hostlinux::AdoDatabase> m_database;
};

class LiveCatalog : public TestDatabase {
 protected:
  using List = CatalogQuery::List;

  LiveCatalog() {
    RunFile("site/schema/tables.sql");
    RunFile("tests/catalog/small-catalogue.sql");
    RunFile("site/schema/indexes.sql");
    m_host = std::make_unique<LiveHost>(m_database);
  }
  ~LiveCatalog() override { m_host = nullptr; }

  static Date Day() { return MakeDate({2024, 3, 5}); }

  std::unique_ptr<LiveHost> m_host;
  CatalogQuery m_catalog;

 private:
  void RunFile(const std::string& name) {
    std::ifstream file(std::string(VARNEL_SOURCE_DIR "/") + name);
    ASSERT_TRUE(file.good()) << name;
    std::string statement;
    for (std::string line; std::getline(file, line);) {
      line = line.substr(0, line.find("--"));
      statement += line + "\n";
      if (line.find(';') == std::string::npos) continue;
      Run(FromUtf8(statement));
      statement.clear();
    }
  }
};

}  // namespace varnel
