// A database of each engine, with the ADO objects on it: what the tests of this folder are run with.
#pragma once

#include <gtest/gtest.h>

#include <filesystem>
#include <ostream>

#include "host-linux/database/AdoRecordset.h"
#include "host-linux/database/odbc/OdbcEngine.h"
#include "host-linux/database/postgresql/PostgresqlEngine.h"
#include "host-linux/database/sqlite/SqliteEngine.h"
#include "tests/conformance/MariadbServer.h"
#include "tests/conformance/PostgresqlServer.h"
#include "varnel/automation/Convert.h"
#include "varnel/automation/Error.h"

enum class EngineKind { Sqlite, Postgresql, Mariadb };

inline std::string NameOf(EngineKind kind) {
  switch (kind) {
    case EngineKind::Sqlite:
      return "SQLite";
    case EngineKind::Postgresql:
      return "PostgreSQL";
    case EngineKind::Mariadb:
      return "MariaDB";
  }
  return {};
}
inline void PrintTo(EngineKind kind, std::ostream* stream) { *stream << NameOf(kind); }

// An empty database of one engine.
class EngineDatabase {
 public:
  explicit EngineDatabase(EngineKind kind, hostlinux::AdoOptions options = {}) : m_kind(kind) {
    std::string pattern = (std::filesystem::temp_directory_path() / "varnel-test-XXXXXX").string();
    m_folder = mkdtemp(pattern.data());
    options.engines = {std::make_shared<hostlinux::SqliteEngine>(),
                       std::make_shared<hostlinux::PostgresqlEngine>(),
                       std::make_shared<hostlinux::OdbcEngine>()};
    options.folder = m_folder;
    m_services = hostlinux::AdoDatabase::Make(std::move(options));
    if (kind == EngineKind::Postgresql) m_name = PostgresqlServer::Shared()->NewDatabase();
    if (kind == EngineKind::Mariadb) m_name = MariadbServer::Shared()->NewDatabase();
    m_connection = Connect();
  }
  ~EngineDatabase() {
    m_connection = nullptr;
    m_services = nullptr;
    std::filesystem::remove_all(m_folder);
  }
  EngineDatabase(const EngineDatabase&) = delete;
  EngineDatabase& operator=(const EngineDatabase&) = delete;

  varnel::String Text(const varnel::String& more = {}) const {
    return Base() + (more.empty() ? u"" : u";" + more);
  }
  std::shared_ptr<hostlinux::AdoConnection> Connect(const varnel::String& more = {}) {
    auto connection = std::make_shared<hostlinux::AdoConnection>(m_services);
    connection->Open(Text(more), u"", u"", -1);
    return connection;
  }
  void Run(const varnel::String& sql) { m_connection->Execute(sql, -1); }

  std::shared_ptr<hostlinux::AdoRecordset> Query(const varnel::String& sql) {
    auto recordset = std::make_shared<hostlinux::AdoRecordset>(m_services);
    recordset->Open(sql, m_connection, 3, 1, -1);
    return recordset;
  }

  // All values as text, rows with ";" and columns with "," between, Null as "-".
  static std::string RowsOf(hostlinux::AdoRecordset& recordset) {
    std::string text;
    for (; !recordset.IsEOF(); recordset.MoveNext()) {
      if (!text.empty()) text += ";";
      for (varnel::Long i = 0; i < recordset.FieldCount(); ++i) {
        const varnel::Variant value = recordset.FieldValue(i);
        text +=
            (i == 0 ? "" : ",") + (value.IsNull() ? std::string("-") : varnel::ToUtf8(varnel::ToText(value)));
      }
    }
    return text;
  }
  std::string Rows(const varnel::String& sql) { return RowsOf(*Query(sql)); }

  const std::shared_ptr<hostlinux::AdoConnection>& Connection() const { return m_connection; }
  const std::shared_ptr<hostlinux::AdoDatabase>& Services() const { return m_services; }
  const std::string& Name() const { return m_name; }

 private:
  varnel::String Base() const {
    if (m_kind == EngineKind::Postgresql) return PostgresqlServer::Shared()->Connection(m_name);
    if (m_kind == EngineKind::Mariadb) return MariadbServer::Shared()->Connection(m_name);
    return u"Provider=SQLite;Data Source=test.db";
  }

  EngineKind m_kind;
  std::filesystem::path m_folder;
  std::string m_name;  // on a server
  std::shared_ptr<hostlinux::AdoDatabase> m_services;
  std::shared_ptr<hostlinux::AdoConnection> m_connection;
};

class EveryEngine : public testing::TestWithParam<EngineKind> {
 protected:
  void SetUp() override {
    if (GetParam() == EngineKind::Postgresql && PostgresqlServer::Shared() == nullptr)
      GTEST_SKIP() << "PostgreSQL isn't installed";
    if (GetParam() == EngineKind::Mariadb && MariadbServer::Shared() == nullptr)
      GTEST_SKIP() << "MariaDB or its driver isn't installed";
    m_database = std::make_unique<EngineDatabase>(GetParam());
  }
  void Run(const varnel::String& sql) { m_database->Run(sql); }
  std::string Rows(const varnel::String& sql) { return m_database->Rows(sql); }
  bool IsServer() const { return GetParam() != EngineKind::Sqlite; }

  std::unique_ptr<EngineDatabase> m_database;
};
