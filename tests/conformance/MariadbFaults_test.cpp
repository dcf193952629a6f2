// What only MariaDB does when something gets in a page's way: hosts, errors, and settings of its own.
#include "tests/conformance/FaultTest.h"
#include "tests/conformance/SilentPort.h"

namespace {

using hostfake::NumberOf;
using testing::HasSubstr;
using varnel::String;
namespace provider_error = hostlinux::provider_error;

class MariadbFaults : public FaultTest {
 protected:
  MariadbFaults() : FaultTest(EngineKind::Mariadb) {}
};

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
  ExpectRefused(u"Mode=Read",
                {u"SET SESSION TRANSACTION READ WRITE", u"START TRANSACTION READ WRITE", u"DELETE FROM t",
                 u"/*!50000 SET tx_read_only = 0 */", u"DO RELEASE_LOCK('x')"});
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

TEST_F(MariadbFaults, AnUnknownDialectOrDriverIsAnErrorInTheConnectionString) {
  EXPECT_THAT(MessageOf([&] { m_database->Connect(u"Dialect=None"); }), HasSubstr("unknown Dialect"));
  EXPECT_THAT(MessageOf([&] { m_database->Connect(u"Driver=None of these"); }), HasSubstr("None of these"));
}

}  // namespace
