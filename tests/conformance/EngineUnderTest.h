// A database of each engine, with the ADO objects on it: what the tests of this folder are run with.
#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <ostream>

#include "host-linux/database/AdoRecordset.h"
#include "host-linux/database/odbc/OdbcEngine.h"
#include "host-linux/database/postgresql/PostgresqlEngine.h"
#include "host-linux/database/sqlite/SqliteEngine.h"
#include "tests/conformance/FakeEngine.h"
#include "tests/conformance/MariadbServer.h"
#include "tests/conformance/OdbcDrivers.h"
#include "tests/conformance/PostgresqlServer.h"

// Fake: the fake host's database.
enum class EngineKind { Fake, Sqlite, Postgresql, Mariadb, PostgresqlByOdbc, SqliteByOdbc };

inline std::string NameOf(EngineKind kind) {
  switch (kind) {
    case EngineKind::Fake:
      return "Fake";
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
    testing::Values(EngineKind::Fake, EngineKind::Sqlite, EngineKind::Postgresql, EngineKind::Mariadb,
                    EngineKind::PostgresqlByOdbc, EngineKind::SqliteByOdbc);

// What an engine can't do that the others do. docs/databases.md tells of it.
enum class Feature {
  PatternClasses,       // LIKE '[a-c]%'
  DistinctFromAnIndex,  // all rows of a DISTINCT that an index with NULLs in its first column gives
  SpellingOfTheText,    // names in a result as the text spells them
  EstimatesOfRows,      // about how many rows a query gives, without counting
  NumbersOfErrors       // an error's number of the engine's own
};

struct Lack {
  EngineKind kind;
  Feature feature;
};

inline constexpr Lack kLacks[] = {
    // The driver brings no function for them.
    {EngineKind::SqliteByOdbc, Feature::PatternClasses},
    // Version 10.11 itself leaves rows out.
    {EngineKind::Mariadb, Feature::DistinctFromAnIndex},
    // The embedded engine keeps the spelling of the table.
    {EngineKind::Sqlite, Feature::SpellingOfTheText},
    {EngineKind::SqliteByOdbc, Feature::SpellingOfTheText},
    // Only one server has a planner that tells.
    {EngineKind::Fake, Feature::EstimatesOfRows},
    {EngineKind::Sqlite, Feature::EstimatesOfRows},
    {EngineKind::SqliteByOdbc, Feature::EstimatesOfRows},
    {EngineKind::Mariadb, Feature::EstimatesOfRows},
    // The server knows its errors by their states alone.
    {EngineKind::Postgresql, Feature::NumbersOfErrors}};

// An empty database of a real engine.
class EngineDatabase : public DatabaseUnderTest {
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
  }
  ~EngineDatabase() override {
    LetGo();
    m_services = nullptr;
    std::filesystem::remove_all(m_folder);
  }

  ConnectionPtr NewConnection() override { return std::make_shared<hostlinux::AdoConnection>(m_services); }
  RecordsetPtr NewRecordset() override { return std::make_shared<hostlinux::AdoRecordset>(m_services); }

  const std::shared_ptr<hostlinux::AdoDatabase>& Services() const { return m_services; }
  const std::string& Name() const { return m_name; }
  const std::filesystem::path& Folder() const { return m_folder; }

 private:
  varnel::String Base() const override {
    switch (m_kind) {
      case EngineKind::Postgresql:
        return PostgresqlServer::Shared()->Connection(m_name);
      case EngineKind::Mariadb:
        return MariadbServer::Shared()->Connection(m_name);
      case EngineKind::PostgresqlByOdbc:
        return PostgresqlServer::Shared()->OdbcConnection(m_name);
      case EngineKind::SqliteByOdbc:
        return u"Driver={SQLite3};SyncPragma=OFF;Database=" +
               varnel::FromUtf8((m_folder / "test.db").string());
      default:
        return u"Provider=SQLite;Data Source=test.db";
    }
  }

  EngineKind m_kind;
  std::filesystem::path m_folder;
  std::string m_name;  // on a server
  std::shared_ptr<hostlinux::AdoDatabase> m_services;
};

inline std::unique_ptr<DatabaseUnderTest> NewDatabase(EngineKind kind) {
  if (kind == EngineKind::Fake) return std::make_unique<FakeEngine>();
  return std::make_unique<EngineDatabase>(kind);
}

class EveryEngine : public testing::TestWithParam<EngineKind> {
 protected:
  void SetUp() override {
    if (const std::string missing = WhatIsMissing(GetParam()); !missing.empty()) GTEST_SKIP() << missing;
    m_database = NewDatabase(GetParam());
  }
  void Run(const varnel::String& sql) { m_database->Run(sql); }
  std::string Rows(const varnel::String& sql) { return m_database->Rows(sql); }
  static bool Has(Feature feature) {
    return std::none_of(std::begin(kLacks), std::end(kLacks),
                        [&](const Lack& lack) { return lack.kind == GetParam() && lack.feature == feature; });
  }

  std::unique_ptr<DatabaseUnderTest> m_database;
};
