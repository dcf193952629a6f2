// A database file of its own for a test, with the ADO objects on it.
#pragma once

#include <gtest/gtest.h>
#include <stdlib.h>

#include <filesystem>

#include "host-linux/database/AdoRecordset.h"
#include "host-linux/database/sqlite/SqliteEngine.h"
#include "varnel/automation/Convert.h"
#include "varnel/automation/Error.h"

class TestDatabase : public testing::Test {
 protected:
  TestDatabase() {
    std::string pattern = (std::filesystem::temp_directory_path() / "varnel-test-XXXXXX").string();
    m_folder = mkdtemp(pattern.data());
    MakeDatabase({});
  }
  ~TestDatabase() override {
    m_connection = nullptr;
    m_database = nullptr;
    std::filesystem::remove_all(m_folder);
  }

  // A new set of shared services with an open, writing connection.
  void MakeDatabase(hostlinux::AdoOptions options) {
    m_connection = nullptr;
    options.engines = {std::make_shared<hostlinux::SqliteEngine>()};
    options.folder = m_folder;
    m_database = hostlinux::AdoDatabase::Make(std::move(options));
    m_connection = Connect(u"Provider=SQLite;Data Source=test.db");
  }

  std::shared_ptr<hostlinux::AdoConnection> Connect(const varnel::String& text) {
    auto connection = std::make_shared<hostlinux::AdoConnection>(m_database);
    connection->Open(text, u"", u"", -1);
    return connection;
  }

  void Run(const varnel::String& sql) { m_connection->Execute(sql, -1); }

  std::shared_ptr<hostlinux::AdoRecordset> Query(const varnel::String& sql) {
    auto recordset = std::make_shared<hostlinux::AdoRecordset>(m_database);
    recordset->Open(sql, m_connection, 3, 1, -1);
    return recordset;
  }

  // All values as text, rows with ";" and columns with "," between, Null as "-".
  std::string Rows(const varnel::String& sql) {
    const auto recordset = Query(sql);
    std::string text;
    for (; !recordset->IsEOF(); recordset->MoveNext()) {
      if (!text.empty()) text += ";";
      for (varnel::Long i = 0; i < recordset->FieldCount(); ++i) {
        const varnel::Variant value = recordset->FieldValue(i);
        text +=
            (i == 0 ? "" : ",") + (value.IsNull() ? std::string("-") : varnel::ToUtf8(varnel::ToText(value)));
      }
    }
    return text;
  }

  std::filesystem::path m_folder;
  std::shared_ptr<hostlinux::AdoDatabase> m_database;
  std::shared_ptr<hostlinux::AdoConnection> m_connection;
};
