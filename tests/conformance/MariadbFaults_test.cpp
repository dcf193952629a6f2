// What becomes of a page's connection by ODBC when its server, its network or another user gets in the way.
#include <gmock/gmock.h>

#include <thread>

#include "host-fake/ErrorOf.h"
#include "tests/conformance/EngineUnderTest.h"
#include "tests/conformance/SilentPort.h"

namespace {

using hostfake::NumberOf;
using testing::HasSubstr;
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

class MariadbFaults : public testing::Test {
 protected:
  void SetUp() override {
    if (MariadbServer::Shared() == nullptr) GTEST_SKIP() << "MariaDB or its driver isn't installed";
    m_database = std::make_unique<EngineDatabase>(EngineKind::Mariadb);
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

TEST_F(MariadbFaults, AServerThatIsGoneFailsWithItsNumberAndIsBackByItself) {
  EXPECT_EQ("1;2", Page(u"SELECT id FROM t ORDER BY id"));
  MariadbServer::Shared()->Kill();
  EXPECT_EQ(provider_error::kFail, NumberOf([&] { Page(u"SELECT id FROM t"); }));
  EXPECT_THAT(MessageOf([&] { Page(u"SELECT id FROM t"); }), HasSubstr("Can't connect"));
  m_database->Services()->EndRequest();
  MariadbServer::Shared()->Start();
  EXPECT_EQ("1;2", Page(u"SELECT id FROM t ORDER BY id"));
}

TEST_F(MariadbFaults, AServerThatDiesInAReadFailsTheReadAlone) {
  const auto connection = m_database->Connect();
  std::thread killer([] {
    std::this_thread::sleep_for(std::chrono::milliseconds(300));
    MariadbServer::Shared()->Kill();
  });
  EXPECT_EQ(provider_error::kFail, NumberOf([&] { connection->Execute(u"SELECT SLEEP(60)", -1); }));
  killer.join();
  m_database->Services()->EndRequest();
  MariadbServer::Shared()->Start();
  EXPECT_EQ("2", Page(u"SELECT COUNT(*) FROM t"));
}

TEST_F(MariadbFaults, AWrongPasswordIsToldAsTheServerTellsIt) {
  EXPECT_THAT(MessageOf([&] { m_database->Connect(u"Password=wrong"); }),
              HasSubstr("Access denied for user"));
}

TEST_F(MariadbFaults, AServerWithoutRoomSaysSo) {
  std::vector<std::shared_ptr<hostlinux::AdoConnection>> connections;
  std::string message;
  for (int i = 0; i < 30 && message.empty(); ++i)
    message = MessageOf([&] { connections.push_back(m_database->Connect()); });
  EXPECT_THAT(message, HasSubstr("Too many connections"));
  connections.clear();
  m_database->Services()->EndRequest();
  EXPECT_EQ("2", Page(u"SELECT COUNT(*) FROM t"));
}

TEST_F(MariadbFaults, AStatementEndsWithItsTime) {
  const auto connection = m_database->Connect();
  connection->SetCommandTimeout(1);
  const Clock::time_point begin = Clock::now();
  EXPECT_EQ(provider_error::kTimeout, NumberOf([&] { connection->Execute(u"SELECT SLEEP(60)", -1); }));
  EXPECT_LT(Clock::now() - begin, std::chrono::seconds(30));
  EXPECT_EQ("0", m_database->Rows(u"SELECT COUNT(*) FROM information_schema.processlist"
                                  u" WHERE info LIKE '%SLEEP(6%' AND id <> CONNECTION_ID()"));
}

TEST_F(MariadbFaults, ALockedTableIsWaitedForWithinTheTime) {
  m_database->Connection()->BeginTrans();
  m_database->Run(u"UPDATE t SET name = 'x' WHERE id = 1");
  const auto other = m_database->Connect();
  other->SetCommandTimeout(1);
  EXPECT_EQ(provider_error::kTimeout,
            NumberOf([&] { other->Execute(u"UPDATE t SET name = 'y' WHERE id = 1", -1); }));
  m_database->Connection()->RollbackTrans();
  other->SetCommandTimeout(30);
  other->Execute(u"UPDATE t SET name = 'y' WHERE id = 1", -1);
  EXPECT_EQ("y", Page(u"SELECT name FROM t WHERE id = 1"));
}

TEST_F(MariadbFaults, WhatAPageLeavesBehindIsNoOtherPages) {
  m_database->Connect()->Execute(u"CREATE TEMPORARY TABLE mine (id INT)", -1);
  m_database->Services()->EndRequest();
  const std::string id = Page(u"SELECT CONNECTION_ID()");
  EXPECT_EQ(provider_error::kNoTable, NumberOf([&] { Page(u"SELECT * FROM mine"); }));
  EXPECT_EQ(id, Page(u"SELECT CONNECTION_ID()"));  // an ordinary one is used again
  {
    const auto connection = m_database->Connect();
    connection->BeginTrans();
    connection->Execute(u"DELETE FROM t", -1);
  }
  m_database->Services()->EndRequest();
  EXPECT_EQ("2", Page(u"SELECT COUNT(*) FROM t"));
}

TEST_F(MariadbFaults, SettingsThatEscapingDependsOnCantBeChanged) {
  for (const String sql : {u"SET sql_mode = ''", u"SET character_set_client = 'latin1'"}) {
    const auto connection = m_database->Connect();
    EXPECT_EQ(provider_error::kPermission, NumberOf([&] { connection->Execute(sql, -1); }))
        << varnel::ToUtf8(sql);
    m_database->Services()->EndRequest();
    EXPECT_EQ("1", Page(u"SELECT @@sql_mode LIKE '%NO_BACKSLASH_ESCAPES%'"));
  }
}

TEST_F(MariadbFaults, AReaderGetsRoundNothing) {
  const auto reader = m_database->Connect(u"Mode=Read");
  for (const String sql : {u"SET SESSION TRANSACTION READ WRITE", u"START TRANSACTION READ WRITE",
                           u"DELETE FROM t", u"/*!50000 SET tx_read_only = 0 */", u"DO RELEASE_LOCK('x')"}) {
    EXPECT_EQ(provider_error::kPermission, NumberOf([&] { reader->Execute(sql, -1); }))
        << varnel::ToUtf8(sql);
  }
  EXPECT_EQ("2", Page(u"SELECT COUNT(*) FROM t"));
}

TEST_F(MariadbFaults, AnEndlessResultStopsAtItsLimit) {
  hostlinux::AdoOptions options;
  options.limits.maxResult = 1 << 20;
  EngineDatabase small(EngineKind::Mariadb, options);
  EXPECT_THAT(MessageOf([&] {
                auto rows = std::make_shared<hostlinux::AdoRecordset>(small.Services());
                rows->Open(u"SELECT REPEAT('x', 100) FROM seq_1_to_1000000000", small.Connection(), 3, 1, -1);
                while (!rows->IsEOF()) rows->MoveNext();
              }),
              HasSubstr("larger than a result may be"));
  EXPECT_EQ("1", small.Rows(u"SELECT 1"));
}

TEST_F(MariadbFaults, AValueHasALimitToo) {
  hostlinux::AdoOptions options;
  options.limits.maxValue = 1 << 20;
  EngineDatabase small(EngineKind::Mariadb, options);
  EXPECT_THAT(MessageOf([&] { small.Rows(u"SELECT REPEAT('x', 5000000)"); }),
              HasSubstr("larger than a value may be"));
  EXPECT_EQ("1", small.Rows(u"SELECT 1"));
}

TEST_F(MariadbFaults, ATextKeepsItsCharactersAcrossPieces) {
  for (const String begin : {u"", u"x"}) {
    EXPECT_EQ("1", m_database->Rows(u"SELECT CHAR_LENGTH('x')"));
    const auto rows = m_database->Query(u"SELECT CONCAT('" + begin + u"', REPEAT('😀', 5000))");
    String expected = begin;
    for (int i = 0; i < 5000; ++i) expected += u"😀";
    EXPECT_TRUE(expected == varnel::ToText(rows->FieldValue(0)));
  }
}

TEST_F(MariadbFaults, EachDiagnosticRecordIsAnError) {
  const auto connection = m_database->Connect();
  EXPECT_NE(0, NumberOf([&] { connection->Execute(u"INSERT INTO t VALUES (1, 'x')", -1); }));
  ASSERT_EQ(1U, connection->Errors().size());
  EXPECT_EQ(provider_error::kIntegrity, connection->Errors()[0].Number);
  EXPECT_EQ(1062, connection->Errors()[0].NativeError);
  EXPECT_EQ(u"23000", connection->Errors()[0].SQLState);
  EXPECT_EQ(u"Varnel ODBC", connection->Errors()[0].Source);
}

TEST_F(MariadbFaults, ATextWithACharacter0IsRefused) {
  EXPECT_NE(0, NumberOf([&] { m_database->Run(String(u"DELETE FROM t WHERE name = 'a") + u'\0' + u"'"); }));
  EXPECT_EQ("2", Page(u"SELECT COUNT(*) FROM t"));
}

TEST_F(MariadbFaults, ATableThatChangedIsReadAnew) {
  EXPECT_EQ("1,a;2,b", Page(u"SELECT * FROM t ORDER BY id"));
  MariadbServer::Shared()->Run("ALTER TABLE t ADD COLUMN more INT", m_database->Name());
  EXPECT_EQ("1,a,-;2,b,-", Page(u"SELECT * FROM t ORDER BY id"));
}

TEST_F(MariadbFaults, NoConnectionIsLeftOver) {
  const auto count = [&] {
    return Page(u"SELECT COUNT(*) FROM information_schema.processlist WHERE user = 'owner'");
  };
  Page(u"SELECT 1");
  const std::string before = count();
  for (int i = 0; i < 50; ++i)
    NumberOf([&] { Page(i % 2 == 0 ? u"SELECT id FROM t" : u"SELECT none FROM t"); });
  EXPECT_EQ(before, count());
}

TEST_F(MariadbFaults, AWaitingConnectionThatTheServerEndedIsReplaced) {
  const std::string id = Page(u"SELECT CONNECTION_ID()");
  MariadbServer::Shared()->Run("KILL " + id);
  EXPECT_EQ("2", Page(u"SELECT COUNT(*) FROM t"));
}

TEST_F(MariadbFaults, AServerThatHangsCostsAStatementItsTimeAlone) {
  hostlinux::AdoOptions options;
  options.statementTimeout = std::chrono::seconds(3);
  EngineDatabase patient(EngineKind::Mariadb, options);
  const auto connection = patient.Connect();
  MariadbServer::Shared()->Pause(true);
  const Clock::time_point begin = Clock::now();
  EXPECT_NE(0, NumberOf([&] { connection->Execute(u"SELECT 1", -1); }));
  EXPECT_LT(Clock::now() - begin, std::chrono::seconds(30));
  MariadbServer::Shared()->Pause(false);
  patient.Services()->EndRequest();
  EXPECT_EQ("2", Page(u"SELECT COUNT(*) FROM t"));
}

TEST_F(MariadbFaults, AHostThatIsGoneOrHangsIsLeftOut) {
  const SilentPort silent;
  const std::string there = "127.0.0.1:" + std::to_string(MariadbServer::Shared()->Port());
  const std::string hangs = "127.0.0.1:" + std::to_string(silent.Port());
  for (const std::string& hosts :
       {hangs + "," + there, there + "," + hangs, "127.0.0.1:1, " + there, there + ",127.0.0.1:1"}) {
    const Clock::time_point begin = Clock::now();
    m_database->Connect(u"Server=" + String(hosts.begin(), hosts.end()))->Execute(u"SELECT 1", -1);
    EXPECT_LT(Clock::now() - begin, std::chrono::seconds(12)) << hosts;
  }
}

TEST_F(MariadbFaults, WhereNoHostAnswersThePageHearsOfAll) {
  const SilentPort silent;
  const std::string hosts = "127.0.0.1:" + std::to_string(silent.Port()) + ",127.0.0.1:1";
  hostlinux::AdoOptions options;
  options.statementTimeout = std::chrono::seconds(4);
  EngineDatabase patient(EngineKind::Mariadb, options);
  const Clock::time_point begin = Clock::now();
  try {
    patient.Connect(u"Server=" + String(hosts.begin(), hosts.end()));
    ADD_FAILURE();
  } catch (const varnel::Error&) {
  }
  EXPECT_LT(Clock::now() - begin, std::chrono::seconds(30));
}

TEST_F(MariadbFaults, AUserWhomOneHostRefusesIsRefused) {
  const std::string there = "127.0.0.1:" + std::to_string(MariadbServer::Shared()->Port());
  const std::string hosts = there + ",127.0.0.1:1";
  EXPECT_THAT(
      MessageOf([&] { m_database->Connect(u"Password=wrong;Server=" + String(hosts.begin(), hosts.end())); }),
      HasSubstr("Access denied for user"));
}

TEST_F(MariadbFaults, WhatTheServerGrantsIsAnErrorInTheConnectionString) {
  EXPECT_THAT(MessageOf([&] { m_database->Connect(u"Tables=t"); }), HasSubstr("granted on the server"));
  EXPECT_THAT(MessageOf([&] { m_database->Connect(u"Dialect=None"); }), HasSubstr("unknown Dialect"));
  EXPECT_THAT(MessageOf([&] { m_database->Connect(u"Driver=None of these"); }), HasSubstr("None of these"));
}

}  // namespace
