// The fake host with the database under test behind its connections.
#pragma once

#include "host-fake/FakeHost.h"
#include "tests/conformance/DatabaseUnderTest.h"

class LiveHost : public hostfake::FakeHost {
 public:
  explicit LiveHost(DatabaseUnderTest& database) : m_database(database) {
    Request().Variables().Set(u"URL", u"/shop/list.asp");
  }
  std::shared_ptr<varnel::host::IConnection> CreateConnection() override {
    return m_database.NewConnection();
  }
  std::shared_ptr<varnel::host::IRecordset> CreateRecordset() override { return m_database.NewRecordset(); }

 private:
  DatabaseUnderTest& m_database;
};
