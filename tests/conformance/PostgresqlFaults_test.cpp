// What only PostgreSQL by its own library does when something gets in a page's way: hosts, and settings of its own.
#include "tests/conformance/FaultTest.h"
#include "tests/conformance/SilentPort.h"

namespace {

using hostfake::NumberOf;
using testing::HasSubstr;
using varnel::String;
namespace provider_error = hostlinux::provider_error;

// `port` and that of the server, as hosts of one connection string.
String HostsWith(const std::string& before, const std::string& behind = "") {
  const std::string text = "Server=127.0.0.1,127.0.0.1;Port=" + before +
                           std::to_string(PostgresqlServer::Shared()->Port()) + behind;
  return {text.begin(), text.end()};
}

class PostgresqlFaults : public FaultTest {
 protected:
  PostgresqlFaults() : FaultTest(EngineKind::Postgresql) {}
};

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
