// The shop's own schema with the small catalogue in it, on every engine: to the servers the shop's loader brings it, from a
// file of the embedded engine, whose plain queries tell the expected rows.
#pragma once

#include <gmock/gmock.h>

#include <fstream>

#include "host-fake/ErrorOf.h"
#include "site/loader/ServerWriter.h"
#include "tests/conformance/EngineUnderTest.h"
#include "tests/conformance/LiveHost.h"
#include "varnel/catalog/CatalogQuery.h"
#include "varnel/recordset/PageQuery.h"

class CatalogueOnEveryEngine : public EveryEngine {
 protected:
  using List = varnel::CatalogQuery::List;

  void SetUp() override {
    EveryEngine::SetUp();
    if (IsSkipped()) return;
    m_plain = std::make_unique<EngineDatabase>(EngineKind::Sqlite);
    RunFiles(*m_plain);
    Load();
    m_host = NewHost();
  }

  // What a request finds; there is one at a time.
  std::unique_ptr<LiveHost> NewHost() {
    auto host = std::make_unique<LiveHost>(*m_database);
    host->Application().Set(u"QuenbyConnection_ConnectionString", m_database->Text(u"Mode=Read"));
    host->Configuration().SetConnectionString(u"Quenby", m_database->Text());
    return host;
  }

  static varnel::Date Day() { return varnel::MakeDate({2024, 3, 5}); }

  // The rows that are left of a plain recordset; both it and its connection are closed.
  static std::string Take(const varnel::ObjectPtr& answer) {
    auto& rows = Recordset(answer);
    std::string text = DatabaseUnderTest::RowsOf(rows);
    const auto connection = rows.GetActiveConnection();
    rows.Close();
    connection->Close();
    return text;
  }

  // One field of the current row.
  static std::string FieldOf(const varnel::ObjectPtr& answer, varnel::StringView name) {
    auto& rows = Recordset(answer);
    for (varnel::Long i = 0; i < rows.FieldCount(); ++i) {
      if (varnel::EqualsNoCase(rows.FieldName(i), name)) return DatabaseUnderTest::TextOf(rows.FieldValue(i));
    }
    return "no such field";
  }

  static varnel::host::IRecordset& Recordset(const varnel::ObjectPtr& answer) {
    return dynamic_cast<varnel::host::IRecordset&>(*answer);
  }

  std::unique_ptr<EngineDatabase> m_plain;
  std::unique_ptr<LiveHost> m_host;
  varnel::CatalogQuery m_catalog;

 private:
  void Load() {
    if (IsSqlite(GetParam())) return RunFiles(*m_database);
    if (GetParam() == EngineKind::Fake) return CopyToFake();
    shop::WriteToServer(m_plain->Folder() / "test.db", varnel::ToUtf8(ForLoader()));
  }

  // The loader knows PostgreSQL by its own library.
  varnel::String ForLoader() {
    if (GetParam() != EngineKind::PostgresqlByOdbc) return m_database->Text();
    return PostgresqlServer::Shared()->Connection(dynamic_cast<EngineDatabase&>(*m_database).Name());
  }

  void CopyToFake() {
    RunFile("site/schema/tables.sql", *m_database);
    RunFile("site/schema/indexes.sql", *m_database);
    const auto tables = m_plain->Query(u"SELECT name FROM sqlite_schema WHERE type = 'table'");
    for (; !tables->IsEOF(); tables->MoveNext()) {
      const varnel::String table = varnel::ToText(tables->FieldValue(0));
      const auto rows = m_plain->Query(u"SELECT * FROM " + table);
      for (; !rows->IsEOF(); rows->MoveNext())
        Run(u"INSERT INTO " + table + u" VALUES (" + LiteralsOf(*rows) + u")");
    }
  }

  static varnel::String LiteralsOf(varnel::host::IRecordset& row) {
    varnel::String literals;
    for (varnel::Long i = 0; i < row.FieldCount(); ++i) {
      const varnel::Variant value = varnel::KeyValueToText(row.FieldValue(i), row.FieldType(i));
      literals += i == 0 ? u"" : u", ";
      literals += value.IsNull() ? varnel::String(u"NULL")
                                 : u"'" + varnel::ToText(varnel::QuoteSqlText(value)) + u"'";
    }
    return literals;
  }

  static void RunFiles(DatabaseUnderTest& database) {
    RunFile("site/schema/tables.sql", database);
    RunFile("tests/catalog/small-catalogue.sql", database);
    RunFile("site/schema/indexes.sql", database);
  }

  static void RunFile(const std::string& name, DatabaseUnderTest& database) {
    std::ifstream file(std::string(VARNEL_SOURCE_DIR "/") + name);
    ASSERT_TRUE(file.good()) << name;
    std::string statement;
    for (std::string line; std::getline(file, line);) {
      line = line.substr(0, line.find("--"));
      const auto end = line.find(';');
      statement += line.substr(0, end) + "\n";
      if (end == std::string::npos) continue;
      database.Run(varnel::FromUtf8(statement));
      statement.clear();
    }
  }
};
