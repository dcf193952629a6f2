// What becomes of a page's connection when its server, its network or another user gets in the way.
#include <gmock/gmock.h>

#include <thread>

#include "host-fake/ErrorOf.h"
#include "tests/conformance/EngineUnderTest.h"
#include "tests/conformance/SilentPort.h"

namespace {

using hostfake::NumberOf;
using testing::HasSubstr;
using varnel::Long;
using varnel::String;
namespace provider_error = hostlinux::provider_error;
using Clock = std::chrono::steady_clock;

std::string MessageOf(const std::function<void()>& action) {
  try {
    action();
  } catch (const varnel::Error& error) {
    return varnel::ToUtf8(error.Info().Description);
  }
  return {};
}

// `port` and that of the server, as hosts of one connection string.
String HostsWith(const std::string& before, const std::string& behind = "") {
  const std::string text = "Server=127.0.0.1,127.0.0.1;Port=" + before +
                           std::to_string(PostgresqlServer::Shared()->Port()) + behind;
  return {text.begin(), text.end()};
}

class PostgresqlFaults : public testing::Test {
 protected:
  void SetUp() override {
    if (PostgresqlServer::Shared() == nullptr) GTEST_SKIP() << "PostgreSQL isn't installed";
    m_database = std::make_unique<EngineDatabase>(EngineKind::Postgresql);
    m_database->Run(u"CREATE TABLE t (id INT NOT NULL PRIMARY KEY, name VARCHAR(20))");
    m_database->Run(u"INSERT INTO t VALUES (1, 'a'), (2, 'b')");
  }

  // A page's work: a connection from the pool, a statement, and the end of the request.
  std::string Page(const String& sql) {
    std::string text;
    {
      const auto connection = m_database->Connect();
      auto rows = std::make_shared<hostlinux::AdoRecordset>(m_database->Services());
      rows->Open(sql, connection, 3, 1, -1);
      text = EngineDatabase::RowsOf(*rows);
    }
    m_database->Services()->EndRequest();
    return text;
  }

  std::unique_ptr<EngineDatabase> m_database;
};

TEST_F(PostgresqlFaults, AServerThatIsGoneFailsWithItsNumberAndIsBackByItself) {
  EXPECT_EQ("1;2", Page(u"SELECT id FROM t ORDER BY id"));
  PostgresqlServer::Shared()->Kill();
  EXPECT_EQ(provider_error::kFail, NumberOf([&] { Page(u"SELECT id FROM t"); }));
  EXPECT_THAT(MessageOf([&] { Page(u"SELECT id FROM t"); }), HasSubstr("refused"));
  m_database->Services()->EndRequest();
  PostgresqlServer::Shared()->Start();
  EXPECT_EQ("1;2", Page(u"SELECT id FROM t ORDER BY id"));
}

TEST_F(PostgresqlFaults, AServerThatDiesInAReadFailsTheReadAlone) {
  const auto connection = m_database->Connect();
  std::thread killer([] {
    std::this_thread::sleep_for(std::chrono::milliseconds(300));
    PostgresqlServer::Shared()->Kill();
  });
  EXPECT_EQ(provider_error::kFail, NumberOf([&] { connection->Execute(u"SELECT pg_sleep(60)", -1); }));
  killer.join();
  m_database->Services()->EndRequest();
  PostgresqlServer::Shared()->Start();
  EXPECT_EQ("2", Page(u"SELECT COUNT(*) FROM t"));
}

TEST_F(PostgresqlFaults, AWrongPasswordIsToldAsTheServerTellsIt) {
  const auto connect = [&] { m_database->Connect(u"Password=wrong"); };
  EXPECT_EQ(provider_error::kFail, NumberOf(connect));
  EXPECT_THAT(MessageOf(connect), HasSubstr("password authentication failed for user \"owner\""));
}

TEST_F(PostgresqlFaults, AServerWithoutRoomSaysSo) {
  std::vector<std::shared_ptr<hostlinux::AdoConnection>> connections;
  std::string message;
  for (int i = 0; i < 30 && message.empty(); ++i)
    message = MessageOf([&] { connections.push_back(m_database->Connect()); });
  EXPECT_THAT(message, HasSubstr("connection"));
  connections.clear();
  m_database->Services()->EndRequest();
  EXPECT_EQ("2", Page(u"SELECT COUNT(*) FROM t"));
}

TEST_F(PostgresqlFaults, AStatementEndsWithItsTime) {
  const auto connection = m_database->Connect();
  connection->SetCommandTimeout(1);
  const Clock::time_point begin = Clock::now();
  EXPECT_EQ(provider_error::kTimeout, NumberOf([&] { connection->Execute(u"SELECT pg_sleep(60)", -1); }));
  EXPECT_LT(Clock::now() - begin, std::chrono::seconds(30));
  // The connection is as good as before, and nothing runs on.
  EXPECT_EQ("0",
            m_database->Rows(
                u"SELECT COUNT(*) FROM pg_stat_activity WHERE state = 'active' AND query LIKE '%pg_sleep(6%'"
                u" AND pid <> pg_backend_pid()"));
  connection->Execute(u"SELECT 1", -1);
}

TEST_F(PostgresqlFaults, ALockedTableIsWaitedForWithinTheTime) {
  m_database->Connection()->BeginTrans();
  m_database->Run(u"LOCK TABLE t");
  const auto other = m_database->Connect();
  other->SetCommandTimeout(1);
  EXPECT_EQ(provider_error::kTimeout, NumberOf([&] { other->Execute(u"SELECT * FROM t", -1); }));
  m_database->Connection()->RollbackTrans();
  other->Execute(u"SELECT * FROM t", -1);
}

TEST_F(PostgresqlFaults, WhatAPageLeavesBehindIsNoOtherPages) {
  const auto sees = [&] {
    return Page(u"SELECT COUNT(*) FROM pg_class WHERE relname = 'mine' AND pg_table_is_visible(oid)");
  };
  m_database->Connect()->Execute(u"CREATE TEMPORARY TABLE mine (id INT)", -1);
  m_database->Services()->EndRequest();
  const std::string pid = Page(u"SELECT pg_backend_pid()");
  EXPECT_EQ("0", sees());
  EXPECT_EQ(pid, Page(u"SELECT pg_backend_pid()"));  // an ordinary one is used again
  {
    const auto connection = m_database->Connect();
    connection->BeginTrans();
    connection->Execute(u"DELETE FROM t", -1);
  }
  m_database->Services()->EndRequest();
  EXPECT_EQ("2", Page(u"SELECT COUNT(*) FROM t"));
}

TEST_F(PostgresqlFaults, SettingsThatEscapingDependsOnCantBeChanged) {
  for (const String sql :
       {u"SET standard_conforming_strings = off", u"SELECT set_config('client_encoding', 'LATIN1', false)"}) {
    const auto connection = m_database->Connect();
    EXPECT_EQ(provider_error::kPermission, NumberOf([&] { connection->Execute(sql, -1); }))
        << varnel::ToUtf8(sql);
    m_database->Services()->EndRequest();
    EXPECT_EQ("on", Page(u"SHOW standard_conforming_strings"));
  }
  const auto reader = m_database->Connect(u"Mode=Read");
  EXPECT_EQ(provider_error::kPermission, NumberOf([&] {
              reader->Execute(u"SELECT set_config('default_transaction_read_only', 'off', false)", -1);
            }));
  EXPECT_NE(0, NumberOf([&] { reader->Execute(u"DELETE FROM t", -1); }));
}

TEST_F(PostgresqlFaults, AReaderBeginsNoTransactionThatWrites) {
  const auto reader = m_database->Connect(u"Mode=Read");
  EXPECT_EQ(provider_error::kPermission, NumberOf([&] { reader->Execute(u"BEGIN READ WRITE", -1); }));
  EXPECT_EQ(provider_error::kPermission, NumberOf([&] { reader->Execute(u"DELETE FROM t", -1); }));
  EXPECT_EQ("2", Page(u"SELECT COUNT(*) FROM t"));
}

TEST_F(PostgresqlFaults, AKeyThatItsColumnCantTakeIsADataFault) {
  const auto connection = m_database->Connect();
  EXPECT_NE(0, NumberOf([&] { connection->Execute(u"SELECT * FROM t WHERE id > 'abc'", -1); }));
  ASSERT_EQ(1U, connection->Errors().size());
  EXPECT_TRUE(connection->Errors()[0].SQLState.starts_with(u"22"))
      << varnel::ToUtf8(connection->Errors()[0].SQLState);
}

TEST_F(PostgresqlFaults, AnEndlessResultStopsAtItsLimit) {
  hostlinux::AdoOptions options;
  options.limits.maxResult = 1 << 20;
  EngineDatabase small(EngineKind::Postgresql, options);
  EXPECT_THAT(MessageOf([&] {
                auto rows = std::make_shared<hostlinux::AdoRecordset>(small.Services());
                rows->Open(u"SELECT repeat('x', 1000), generate_series(1, 1000000000)", small.Connection(), 3,
                           1, -1);
                while (!rows->IsEOF()) rows->MoveNext();
              }),
              HasSubstr("larger than a result may be"));
  EXPECT_EQ("1", small.Rows(u"SELECT 1"));
}

TEST_F(PostgresqlFaults, ATextWithACharacter0IsRefused) {
  EXPECT_NE(0, NumberOf([&] { m_database->Run(String(u"DELETE FROM t WHERE name = 'a") + u'\0' + u"'"); }));
  EXPECT_EQ("2", Page(u"SELECT COUNT(*) FROM t"));
}

TEST_F(PostgresqlFaults, ATableThatChangedIsReadAnew) {
  EXPECT_EQ("1,a;2,b", Page(u"SELECT * FROM t ORDER BY id"));
  PostgresqlServer::Shared()->Run("ALTER TABLE t ADD COLUMN more INT", m_database->Name());
  EXPECT_EQ("1,a,-;2,b,-", Page(u"SELECT * FROM t ORDER BY id"));
}

TEST_F(PostgresqlFaults, NoConnectionIsLeftOver) {
  const auto count = [&] {
    return Page(u"SELECT COUNT(*) FROM pg_stat_activity WHERE application_name = 'varnel'");
  };
  Page(u"SELECT 1");
  const std::string before = count();
  for (int i = 0; i < 50; ++i)
    NumberOf([&] { Page(i % 2 == 0 ? u"SELECT id FROM t" : u"SELECT none FROM t"); });
  EXPECT_EQ(before, count());
}

TEST_F(PostgresqlFaults, TablesCantBeLimitedHere) {
  EXPECT_THAT(MessageOf([&] { m_database->Connect(u"Tables=t"); }), HasSubstr("granted on the server"));
}

TEST_F(PostgresqlFaults, AServerThatHangsCostsAStatementItsTimeAlone) {
  const auto connection = m_database->Connect();
  connection->SetCommandTimeout(1);
  PostgresqlServer::Shared()->Pause(true);
  const Clock::time_point begin = Clock::now();
  EXPECT_EQ(provider_error::kTimeout, NumberOf([&] { connection->Execute(u"SELECT 1", -1); }));
  EXPECT_LT(Clock::now() - begin, std::chrono::seconds(30));
  PostgresqlServer::Shared()->Pause(false);
  m_database->Services()->EndRequest();
  EXPECT_EQ("2", Page(u"SELECT COUNT(*) FROM t"));
}

TEST_F(PostgresqlFaults, AReadGoesToAHostThatIsThere) {
  m_database->Connect(HostsWith("1,") + u";Mode=Read")->Execute(u"SELECT 1", -1);
}

TEST_F(PostgresqlFaults, AHostThatHangsIsLeftOut) {
  const SilentPort silent;
  const std::string port = std::to_string(silent.Port());
  for (const String mode : {u";Mode=Read", u";Mode=ReadWrite"}) {
    m_database->Connect(HostsWith(port + ",") + mode)->Execute(u"SELECT 1", -1);
    m_database->Connect(HostsWith("", "," + port) + mode)->Execute(u"SELECT 1", -1);
  }
}

TEST_F(PostgresqlFaults, WhereAllHostsHangThePageHearsOfIt) {
  const SilentPort one;
  const SilentPort other;
  const std::string ports = std::to_string(one.Port()) + "," + std::to_string(other.Port());
  hostlinux::AdoOptions options;
  options.statementTimeout = std::chrono::seconds(5);
  EngineDatabase patient(EngineKind::Postgresql, options);
  const auto connect = [&] {
    patient.Connect(u"Server=127.0.0.1,127.0.0.1;Port=" + String(ports.begin(), ports.end()));
  };
  EXPECT_THAT(MessageOf(connect), HasSubstr("Login timeout expired"));
}

}  // namespace
