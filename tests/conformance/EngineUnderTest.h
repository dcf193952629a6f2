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
#include "tests/conformance/OdbcDrivers.h"
#include "tests/conformance/PostgresqlServer.h"
#include "varnel/automation/Convert.h"
#include "varnel/automation/Error.h"

enum class EngineKind { Sqlite, Postgresql, Mariadb, PostgresqlByOdbc, SqliteByOdbc };

inline std::string NameOf(EngineKind kind) {
  switch (kind) {
    case EngineKind::Sqlite:
      return "SQLite";
    case EngineKind::Postgresql:
      return "PostgreSQL";
    case EngineKind::Mariadb:
      return "MariaDB";
    case EngineKind::PostgresqlByOdbc:
      return "PostgreSQLByODBC";
    case EngineKind::SqliteByOdbc:
      return "SQLiteByODBC";
  }
  return {};
}
inline void PrintTo(EngineKind kind, std::ostream* stream) { *stream << NameOf(kind); }

inline bool IsPostgresql(EngineKind kind) {
  return kind == EngineKind::Postgresql || kind == EngineKind::PostgresqlByOdbc;
}
inline bool IsSqlite(EngineKind kind) {
  return kind == EngineKind::Sqlite || kind == EngineKind::SqliteByOdbc;
}

// Why a database of `kind` can't be had on this machine; empty where it can.
inline std::string WhatIsMissing(EngineKind kind) {
  if (IsPostgresql(kind) && PostgresqlServer::Shared() == nullptr) return "PostgreSQL isn't installed";
  if (kind == EngineKind::PostgresqlByOdbc && !HasOdbcDriver("PostgreSQL Unicode"))
    return "the ODBC driver of PostgreSQL isn't installed";
  if (kind == EngineKind::SqliteByOdbc && !HasOdbcDriver("SQLite3"))
    return "the ODBC driver of SQLite isn't installed";
  if (kind == EngineKind::Mariadb && MariadbServer::Shared() == nullptr)
    return "MariaDB or its driver isn't installed";
  return {};
}

inline const auto kEveryKind =
    testing::Values(EngineKind::Sqlite, EngineKind::Postgresql, EngineKind::Mariadb,
                    EngineKind::PostgresqlByOdbc, EngineKind::SqliteByOdbc);

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
    if (IsPostgresql(kind)) m_name = PostgresqlServer::Shared()->NewDatabase();
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
    switch (m_kind) {
      case EngineKind::Sqlite:
        break;
      case EngineKind::Postgresql:
        return PostgresqlServer::Shared()->Connection(m_name);
      case EngineKind::Mariadb:
        return MariadbServer::Shared()->Connection(m_name);
      case EngineKind::PostgresqlByOdbc:
        return PostgresqlServer::Shared()->OdbcConnection(m_name);
      case EngineKind::SqliteByOdbc:
        return u"Driver={SQLite3};SyncPragma=OFF;Database=" +
               varnel::FromUtf8((m_folder / "test.db").string());
    }
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
    if (const std::string missing = WhatIsMissing(GetParam()); !missing.empty()) GTEST_SKIP() << missing;
    m_database = std::make_unique<EngineDatabase>(GetParam());
  }
  void Run(const varnel::String& sql) { m_database->Run(sql); }
  std::string Rows(const varnel::String& sql) { return m_database->Rows(sql); }
  bool IsServer() const { return !IsSqlite(GetParam()); }

  std::unique_ptr<EngineDatabase> m_database;
};
