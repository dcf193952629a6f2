#include <gmock/gmock.h>

#include "tests/database/TestDatabase.h"

namespace {

using hostlinux::ConnectionString;
using hostlinux::Engines;
using hostlinux::ProviderFailure;
using varnel::String;

std::string FailureOf(const Engines& engines, const String& text) {
  try {
    hostlinux::EngineOf(engines, ConnectionString(text));
  } catch (const ProviderFailure& failure) {
    return varnel::ToUtf8(failure.Error().Description);
  }
  return "none";
}

TEST(Engines, AreFoundByTheirNamesInAnyCase) {
  const Engines engines = {std::make_shared<hostlinux::SqliteEngine>()};
  EXPECT_EQ(&hostlinux::EngineOf(engines, ConnectionString(u"provider=sqlite;Data Source=a.db")),
            engines[0].get());
}

TEST(Engines, OnlyThoseThatWereHandedInAreKnown) {
  const Engines engines = {std::make_shared<hostlinux::SqliteEngine>()};
  EXPECT_EQ(FailureOf({}, u"Provider=SQLite"), "The Provider 'SQLite' is not known.");
  EXPECT_EQ(FailureOf(engines, u"Provider=Other"), "The Provider 'Other' is not known.");
  EXPECT_EQ(FailureOf(engines, u"Data Source=a.db"), "The connection string names no Provider.");
}

class EngineTest : public TestDatabase {
 protected:
  std::vector<std::string> Checked(const String& source) {
    return m_engine.CheckIndexes(ConnectionString(u"Provider=SQLite;Data Source=" + source), m_folder);
  }

  hostlinux::SqliteEngine m_engine;
};

TEST_F(EngineTest, MakesADatabaseByAScript) {
  m_engine.MakeDatabase(ConnectionString(u"Data Source=made.db"), m_folder,
                        "CREATE TABLE t (a INTEGER); INSERT INTO t VALUES (7);");
  const auto connection = Connect(u"Provider=SQLite;Data Source=made.db;Mode=Read");
  EXPECT_EQ(connection->Execute(u"SELECT a FROM t", -1)->FieldValue(0), varnel::Variant(varnel::Long{7}));
  EXPECT_THROW(m_engine.MakeDatabase(ConnectionString(u"Data Source=bad.db"), m_folder, "CREATE NOTHING"),
               std::runtime_error);
}

TEST_F(EngineTest, TellsLargeTablesWithoutAnIndex) {
  Run(u"CREATE TABLE t (a INTEGER PRIMARY KEY, b TEXT)");
  Run(u"INSERT INTO t WITH RECURSIVE n(i) AS (SELECT 1 UNION ALL SELECT i + 1 FROM n WHERE i < 1001)"
      u" SELECT i, 'x' FROM n");
  EXPECT_THAT(Checked(u"test.db"),
              testing::ElementsAre(testing::HasSubstr("table t has more than 1,000 rows")));
  Run(u"CREATE INDEX t_b ON t (b)");
  Run(u"ANALYZE");
  EXPECT_THAT(Checked(u"test.db"), testing::IsEmpty());
}

TEST_F(EngineTest, SaysNothingOfWhatItCantRead) {
  EXPECT_THAT(Checked(u":memory:"), testing::IsEmpty());
  EXPECT_THAT(Checked(u"none.db"), testing::IsEmpty());
}

}  // namespace
