// What becomes of a page's connection when its server, its network or another user gets in the way, whatever the server and
// the way to it.
#include <thread>

#include "tests/conformance/FaultTest.h"

namespace {

using hostfake::NumberOf;
using testing::HasSubstr;
using varnel::Long;
using varnel::String;
namespace provider_error = hostlinux::provider_error;

// How a server is asked, and what it says.
struct ServerWords {
  TestServer& server;
  std::string gone;      // in the message of a server that is gone
  String wrongPassword;  // in the connection string
  std::string refusal;
  std::string full;  // in the message of a server that takes no more connections
  String sleep;      // a statement that runs for a minute
  String sleepers;   // how many of them run
  String lock;       // what another user holds,
  String locked;     // and what waits for it
  String session;    // the server's number of a session
  std::string endSession;
  std::string behindSession;
  String sessions;  // how many there are
  String endless;   // a result without an end
};

ServerWords WordsOf(EngineKind kind) {
  if (kind == EngineKind::Mariadb) {
    return {.server = *MariadbServer::Shared(),
            .gone = "Can't connect",
            .wrongPassword = u"Password=wrong",
            .refusal = "Access denied for user",
            .full = "Too many connections",
            .sleep = u"SELECT SLEEP(60)",
            .sleepers =
                u"SELECT COUNT(*) FROM information_schema.processlist WHERE info LIKE '%SLEEP(6%'"
                u" AND id <> CONNECTION_ID()",
            .lock = u"UPDATE t SET name = 'x' WHERE id = 1",
            .locked = u"UPDATE t SET name = 'y' WHERE id = 1",
            .session = u"SELECT CONNECTION_ID()",
            .endSession = "KILL ",
            .behindSession = "",
            .sessions = u"SELECT COUNT(*) FROM information_schema.processlist WHERE user = 'owner'",
            .endless = u"SELECT REPEAT('x', 100) FROM seq_1_to_1000000000"};
  }
  return {.server = *PostgresqlServer::Shared(),
          .gone = "refused",
          .wrongPassword = kind == EngineKind::Postgresql ? u"Password=wrong" : u"PWD=wrong",
          .refusal = "password authentication failed for user \"owner\"",
          .full = "connection",
          .sleep = u"SELECT pg_sleep(60)",
          .sleepers =
              u"SELECT COUNT(*) FROM pg_stat_activity WHERE state = 'active' AND query LIKE '%pg_sleep(6%'"
              u" AND pid <> pg_backend_pid()",
          .lock = u"LOCK TABLE t",
          .locked = u"SELECT * FROM t",
          .session = u"SELECT pg_backend_pid()",
          .endSession = "SELECT pg_terminate_backend(",
          .behindSession = ")",
          .sessions = u"SELECT COUNT(*) FROM pg_stat_activity WHERE usename = 'owner'",
          .endless = u"SELECT repeat('x', 100), generate_series(1, 1000000000)"};
}

class ServerFaults : public testing::WithParamInterface<EngineKind>, public FaultTest {
 protected:
  ServerFaults() : FaultTest(GetParam()) {}
  void SetUp() override {
    FaultTest::SetUp();
    if (!IsSkipped()) m_words.emplace(WordsOf(GetParam()));
  }

  TestServer& Server() { return m_words->server; }

  std::optional<ServerWords> m_words;
};

TEST_P(ServerFaults, AServerThatIsGoneFailsWithItsNumberAndIsBackByItself) {
  EXPECT_EQ("1;2", Page(u"SELECT id FROM t ORDER BY id"));
  Server().Kill();
  EXPECT_EQ(provider_error::kFail, NumberOf([&] { Page(u"SELECT id FROM t"); }));
  EXPECT_THAT(MessageOf([&] { Page(u"SELECT id FROM t"); }), HasSubstr(m_words->gone));
  m_database->Services()->EndRequest();
  Server().Start();
  EXPECT_EQ("1;2", Page(u"SELECT id FROM t ORDER BY id"));
}

TEST_P(ServerFaults, AServerThatDiesInAReadFailsTheReadAlone) {
  const auto connection = m_database->Connect();
  std::thread killer([&] {
    std::this_thread::sleep_for(std::chrono::milliseconds(300));
    Server().Kill();
  });
  EXPECT_EQ(provider_error::kFail, NumberOf([&] { connection->Execute(m_words->sleep, -1); }));
  killer.join();
  m_database->Services()->EndRequest();
  Server().Start();
  EXPECT_EQ("2", Page(u"SELECT COUNT(*) FROM t"));
}

TEST_P(ServerFaults, AWrongPasswordIsToldAsTheServerTellsIt) {
  const auto connect = [&] { m_database->Connect(m_words->wrongPassword); };
  EXPECT_EQ(provider_error::kFail, NumberOf(connect));
  EXPECT_THAT(MessageOf(connect), HasSubstr(m_words->refusal));
}

TEST_P(ServerFaults, AServerWithoutRoomSaysSo) {
  std::vector<DatabaseUnderTest::ConnectionPtr> connections;
  std::string message;
  for (int i = 0; i < 30 && message.empty(); ++i)
    message = MessageOf([&] { connections.push_back(m_database->Connect()); });
  EXPECT_THAT(message, HasSubstr(m_words->full));
  connections.clear();
  m_database->Services()->EndRequest();
  EXPECT_EQ("2", Page(u"SELECT COUNT(*) FROM t"));
}

TEST_P(ServerFaults, AStatementEndsWithItsTime) {
  const auto connection = m_database->Connect();
  connection->SetCommandTimeout(1);
  const Clock::time_point begin = Clock::now();
  EXPECT_EQ(provider_error::kTimeout, NumberOf([&] { connection->Execute(m_words->sleep, -1); }));
  EXPECT_LT(Clock::now() - begin, std::chrono::seconds(30));
  // Nothing runs on, and the connection is as good as before.
  EXPECT_EQ("0", m_database->Rows(m_words->sleepers));
  connection->SetCommandTimeout(30);
  connection->Execute(u"SELECT 1", -1);
}

TEST_P(ServerFaults, ALockIsWaitedForWithinTheTime) {
  DatabaseUnderTest::BeginTrans(m_database->Connection());
  m_database->Run(m_words->lock);
  const auto other = m_database->Connect();
  other->SetCommandTimeout(1);
  EXPECT_EQ(provider_error::kTimeout, NumberOf([&] { other->Execute(m_words->locked, -1); }));
  DatabaseUnderTest::RollbackTrans(m_database->Connection());
  other->SetCommandTimeout(30);
  other->Execute(m_words->locked, -1);
}

TEST_P(ServerFaults, WhatAPageLeavesBehindIsNoOtherPages) {
  m_database->Connect()->Execute(u"CREATE TEMPORARY TABLE mine (id INT)", -1);
  m_database->Services()->EndRequest();
  const std::string session = Page(m_words->session);
  EXPECT_EQ(provider_error::kNoTable, NumberOf([&] { Page(u"SELECT * FROM mine"); }));
  EXPECT_EQ(session, Page(m_words->session));  // an ordinary one is used again
  {
    const auto connection = m_database->Connect();
    DatabaseUnderTest::BeginTrans(connection);
    connection->Execute(u"DELETE FROM t", -1);
  }
  m_database->Services()->EndRequest();
  EXPECT_EQ("2", Page(u"SELECT COUNT(*) FROM t"));
}

TEST_P(ServerFaults, ResultsAndValuesHaveLimits) {
  ExpectLimits(m_words->endless, u"SELECT REPEAT('x', 5000000)");
}

TEST_P(ServerFaults, ATextKeepsItsCharactersAcrossPieces) {
  for (const String begin : {u"", u"x"}) {
    const auto rows = m_database->Query(u"SELECT CONCAT('" + begin + u"', REPEAT('😀', 5000))");
    String expected = begin;
    for (int i = 0; i < 5000; ++i) expected += u"😀";
    EXPECT_TRUE(expected == varnel::ToText(rows->FieldValue(0)));
  }
}

TEST_P(ServerFaults, ATextWithACharacter0IsRefused) {
  const String zero = String(u"a") + u'\0';
  EXPECT_NE(0, NumberOf([&] { m_database->Run(u"DELETE FROM t WHERE name = '" + zero + u"'"); }));
  EXPECT_EQ("2", Page(u"SELECT COUNT(*) FROM t"));
}

// A server that can't hold one refuses it; none takes what stands in front of it for the whole.
TEST_P(ServerFaults, AValueIsNotCutAtACharacter0) {
  varnel::host::StatementParameters parameters;
  parameters.values.push_back({u"p", varnel::Variant(String(u"a") + u'\0')});
  const auto rows = m_database->NewRecordset();
  rows->SetParameters(parameters);
  const Long failure =
      NumberOf([&] { rows->Open(u"SELECT id FROM t WHERE name = :p", m_database->Connection(), 3, 1, -1); });
  if (failure == 0) {
    EXPECT_TRUE(rows->IsEOF());
  }
  EXPECT_EQ("1", m_database->Rows(u"SELECT id FROM t WHERE name = 'a'"));
}

TEST_P(ServerFaults, ATableThatChangedIsReadAnew) {
  EXPECT_EQ("1,a;2,b", Page(u"SELECT * FROM t ORDER BY id"));
  Server().Run("ALTER TABLE t ADD COLUMN more INT", m_database->Name());
  EXPECT_EQ("1,a,-;2,b,-", Page(u"SELECT * FROM t ORDER BY id"));
}

TEST_P(ServerFaults, NoConnectionIsLeftOver) {
  Page(u"SELECT 1");
  const std::string before = Page(m_words->sessions);
  for (int i = 0; i < 50; ++i)
    NumberOf([&] { Page(i % 2 == 0 ? u"SELECT id FROM t" : u"SELECT none FROM t"); });
  EXPECT_EQ(before, Page(m_words->sessions));
}

TEST_P(ServerFaults, AWaitingConnectionThatTheServerEndedIsReplaced) {
  const std::string session = Page(m_words->session);
  Server().Run(m_words->endSession + session + m_words->behindSession, m_database->Name());
  EXPECT_EQ("2", Page(u"SELECT COUNT(*) FROM t"));
}

TEST_P(ServerFaults, TablesCantBeLimitedHere) {
  EXPECT_THAT(MessageOf([&] { m_database->Connect(u"Tables=t"); }), HasSubstr("granted on the server"));
}

INSTANTIATE_TEST_SUITE_P(Servers, ServerFaults,
                         testing::Values(EngineKind::Postgresql, EngineKind::Mariadb,
                                         EngineKind::PostgresqlByOdbc),
                         [](const auto& info) { return NameOf(info.param); });

// --- PostgreSQL, by either way

class PostgresqlKeys : public ServerFaults {};

TEST_P(PostgresqlKeys, AKeyThatItsColumnCantTakeIsADataFault) {
  const auto connection = m_database->Connect();
  EXPECT_NE(0, NumberOf([&] { connection->Execute(u"SELECT * FROM t WHERE id > 'abc'", -1); }));
  ASSERT_EQ(1U, connection->Errors().size());
  EXPECT_TRUE(connection->Errors()[0].SQLState.starts_with(u"22"))
      << varnel::ToUtf8(connection->Errors()[0].SQLState);
}

INSTANTIATE_TEST_SUITE_P(Servers, PostgresqlKeys,
                         testing::Values(EngineKind::Postgresql, EngineKind::PostgresqlByOdbc),
                         [](const auto& info) { return NameOf(info.param); });

}  // namespace
