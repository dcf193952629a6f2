// The fake host's database, with one in memory behind it that knows the library's SQL: like a host of components it opens
// each read by its text.
#pragma once

#include "tests/conformance/DatabaseUnderTest.h"
#include "tests/model/ModelDatabase.h"

class FakeEngine : public DatabaseUnderTest {
 public:
  FakeEngine() : m_database(std::make_shared<hostfake::FakeDatabase>(std::make_shared<hostfake::Trace>())) {
    m_database->AnswerStatementsWith(
        [this](const hostfake::FakeStatement& statement) -> std::optional<hostfake::FakeAnswer> {
          if (statement.sql.starts_with(u"set TRANSACTION ")) return std::nullopt;
          return m_model.Run(statement);
        });
    m_database->onTransaction = [this](hostfake::FakeTransaction step) { m_model.Take(step); };
  }

  ConnectionPtr NewConnection() override { return std::make_shared<hostfake::FakeConnection>(m_database); }
  RecordsetPtr NewRecordset() override { return std::make_shared<hostfake::FakeRecordset>(m_database); }

 private:
  varnel::String Base() const override { return u"Provider=Model"; }

  model::Database m_model;
  hostfake::FakeDatabasePtr m_database;
};
