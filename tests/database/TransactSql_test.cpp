// What a T-SQL server is sent by its ODBC driver, as text: no such server runs here.
#include <gtest/gtest.h>

#include "host-fake/ErrorOf.h"
#include "host-linux/database/dialect/QueryText.h"
#include "host-linux/database/odbc/OdbcGuard.h"
#include "host-linux/database/odbc/OdbcProvider.h"
#include "varnel/recordset/PageQuery.h"
#include "varnel/recordset/UnionBranches.h"

namespace {

using hostlinux::BoundValue;
using hostlinux::ConnectionString;
using hostlinux::EngineLimits;
using hostlinux::EngineStatement;
using hostlinux::OdbcServer;
using varnel::Null;
using varnel::PersistedState;
using varnel::String;
using varnel::Variant;

constexpr OdbcServer kServer = OdbcServer::TransactSql;

struct Read {
  String query = u"SELECT id, name FROM customer WHERE active = 1";
  String sort = u"name";
  String keyList = u"id";
  varnel::Integer navType = 0;
  std::vector<Variant> keys = {};
  varnel::PageTop top = {10, false, -1};
};

// What the server gets of a page's read, which has to pass for one statement that only reads.
std::string Sent(const Read& read) {
  PersistedState state;
  state.NavType = read.navType;
  state.SortFields = read.sort;
  state.KeyValues = read.keys;
  std::vector<String> branches = varnel::SplitUnionBranches(read.query);
  const String text =
      varnel::BuildRead(branches, state, varnel::ParseSortFields(state, read.keyList), read.top).text;
  const std::vector<hostlinux::SqlToken> tokens = hostlinux::LexSql(text);
  EXPECT_FALSE(hostlinux::IsBatch(kServer, tokens)) << varnel::ToUtf8(text);
  EXPECT_TRUE(hostlinux::OnlyReads(tokens)) << varnel::ToUtf8(text);
  EXPECT_FALSE(hostlinux::LeavesSomething(kServer, tokens)) << varnel::ToUtf8(text);
  const EngineStatement statement = hostlinux::AsItStands(text, {});
  EXPECT_TRUE(statement.values.empty());
  return statement.sql;
}

bool IsBatch(const String& sql) { return hostlinux::IsBatch(kServer, hostlinux::LexSql(sql)); }
bool OnlyReads(const String& sql) { return hostlinux::OnlyReads(hostlinux::LexSql(sql)); }

TEST(TransactSql, TheServerHasNoWordsOfItsOwn) {
  EXPECT_EQ(nullptr, hostlinux::WordsOf(kServer));
  EXPECT_EQ(std::nullopt, hostlinux::LimitedText(kServer, "SELECT a FROM t", 5));
  EXPECT_EQ("", hostlinux::TimeLimitText(kServer, std::chrono::seconds(5)));
}

TEST(TransactSql, FirstAndLastPage) {
  EXPECT_EQ("SELECT TOP 10 id, name FROM customer WHERE (  active = 1) ORDER BY name ASC,id ASC", Sent({}));
  EXPECT_EQ("SELECT TOP 10 id, name FROM customer WHERE (  active = 1) ORDER BY name DESC,id DESC",
            Sent({.navType = 3}));
}

TEST(TransactSql, NextAndPreviousPage) {
  EXPECT_EQ(
      "SELECT TOP 10 id, name FROM customer WHERE (  active = 1) AND (name > 'O''Neill' or "
      "(name = 'O''Neill' and id > '42')) ORDER BY name ASC,id ASC",
      Sent({.navType = 1, .keys = {u"O'Neill", u"42"}}));
  EXPECT_EQ(
      "SELECT TOP 10 id, name FROM customer WHERE (  active = 1) AND ((name < 'Jones' or name is null) "
      "or (name = 'Jones' and (id < '7' or id is null))) ORDER BY name DESC,id DESC",
      Sent({.navType = 2, .keys = {u"Jones", u"7"}}));
}

TEST(TransactSql, ThePageBehindANull) {
  EXPECT_EQ(
      "SELECT TOP 10 id, name FROM customer WHERE (  active = 1) AND (name is not null or "
      "(name is null and id > '42')) ORDER BY name ASC,id ASC",
      Sent({.navType = 1, .keys = {Null(), u"42"}}));
}

TEST(TransactSql, AJumpOfThreePages) {
  EXPECT_EQ(
      "SELECT TOP  10 * FROM (SELECT TOP 30 id, name FROM customer WHERE (  active = 1) AND "
      "(name > 'Smith' or (name = 'Smith' and id > '42')) ORDER BY name ASC,id ASC) as OUTPUT  "
      "ORDER BY name DESC,id DESC",
      Sent({.navType = 1, .keys = {u"Smith", u"42"}, .top = {10, true, 30}}));
}

TEST(TransactSql, SeveralKeysInBothDirections) {
  EXPECT_EQ(
      "SELECT TOP 10 a, b, c FROM t WHERE ((b < '2' or b is null) or (b = '2' and (a > '1' or (a = '1' "
      "and c > '3')))) ORDER BY b DESC,a ASC,c ASC",
      Sent({.query = u"SELECT a, b, c FROM t",
            .sort = u"b DESC",
            .keyList = u"a,c",
            .navType = 1,
            .keys = {u"2", u"1", u"3"}}));
}

TEST(TransactSql, DistinctRows) {
  EXPECT_EQ("SELECT DISTINCT TOP 10 id, name from customer ORDER BY name ASC,id ASC",
            Sent({.query = u"select distinct id, name from customer"}));
}

TEST(TransactSql, Unions) {
  EXPECT_EQ(
      "(SELECT TOP 10 a FROM t WHERE a > '5') UNION (SELECT TOP 10 a FROM u WHERE a > '5') ORDER BY a ASC",
      Sent({.query = u"SELECT a FROM t UNION SELECT a FROM u",
            .sort = u"",
            .keyList = u"a",
            .navType = 1,
            .keys = {u"5"}}));
}

TEST(TransactSql, TheNumberOfRowsIsCountedWithoutTheOrder) {
  EXPECT_EQ("SELECT COUNT(*) FROM (SELECT id, name FROM customer\n) AS \"counted rows\"",
            hostlinux::CountingText(
                varnel::ToUtf8(hostlinux::WithoutOrder(u"SELECT id, name FROM customer ORDER BY name"))));
}

TEST(TransactSql, LiteralsNamesAndPatternsStayAsTheyStand) {
  const String sql =
      u"SELECT [order no], N'it''s' FROM t WHERE made > {d '2001-03-05'} AND name LIKE '[a-c]%' -- x";
  EXPECT_EQ(varnel::ToUtf8(sql), hostlinux::AsItStands(sql, {}).sql);
}

TEST(TransactSql, AParameterIsAMarkInItsPlace) {
  varnel::host::StatementParameters parameters;
  parameters.values.push_back({u"maker", Variant(String(u"a' OR 'a' = 'a"))});
  const EngineStatement statement =
      hostlinux::AsItStands(u"SELECT id FROM t WHERE a = :maker OR b = :Maker AND c = ':maker'", parameters);
  EXPECT_EQ("SELECT id FROM t WHERE a = ? OR b = ? AND c = ':maker'", statement.sql);
  EXPECT_EQ((std::vector<BoundValue>{"a' OR 'a' = 'a", "a' OR 'a' = 'a"}), statement.values);
  EXPECT_NE(u"", hostlinux::AsItStands(u"SELECT id FROM t WHERE a = :none", parameters).unbound);
}

// --- the session

TEST(TransactSql, ASessionBeginsWithWhatReadingDependsOn) {
  EngineLimits limits;
  limits.maxValue = 1000;
  EXPECT_EQ((std::vector<std::string>{"SET QUOTED_IDENTIFIER ON", "SET ANSI_NULLS ON",
                                      "SET CONCAT_NULL_YIELDS_NULL ON", "SET ANSI_PADDING ON",
                                      "SET ANSI_WARNINGS ON", "SET TEXTSIZE 2002"}),
            hostlinux::SettingsOf(kServer, true, limits));
}

TEST(TransactSql, TheServerIsKnownByItsDriverOrByTheDialect) {
  EXPECT_EQ(kServer, hostlinux::ServerOf(u"", u"Some Server", u"libtdsodbc.so"));
  EXPECT_EQ(kServer, hostlinux::ServerOf(u"t-sql", u"Some Server", u"libother.so"));
  EXPECT_EQ(OdbcServer::Mariadb, hostlinux::ServerOf(u"", u"MariaDB", u"libmaodbc.so"));
  EXPECT_EQ(OdbcServer::Postgresql, hostlinux::ServerOf(u"", u"PostgreSQL", u"psqlodbcw.so"));
  EXPECT_EQ(OdbcServer::Sqlite, hostlinux::ServerOf(u"", u"SQLite", u"libsqlite3odbc.so"));
}

TEST(TransactSql, ADriverThatIsntKnownNeedsADialect) {
  const auto unknown = [](const String& dialect) {
    try {
      hostlinux::ServerOf(dialect, u"Some Server", u"libother.so");
    } catch (const hostlinux::ProviderFailure& failure) {
      EXPECT_EQ(u"08001", failure.Error().SQLState);
      return varnel::ToUtf8(failure.Error().Description);
    }
    return std::string();
  };
  EXPECT_EQ(
      "The driver serves 'Some Server', whose words aren't known: the connection string needs a Dialect.",
      unknown(u""));
  EXPECT_EQ("The connection string has an unknown Dialect: 'Some'.", unknown(u"Some"));
}

TEST(TransactSql, TheDriverGetsItsKeysAndNoneOfOurs) {
  const ConnectionString connection(
      u"Driver={FreeTDS};Server=db1;Database=shop;User ID=web;Password='a}b';Dialect=T-SQL;Mode=Read");
  EXPECT_EQ("Driver={FreeTDS};Server=db1;Database=shop;UID=web;PWD={a}}b};",
            varnel::ToUtf8(hostlinux::OdbcText(connection)));
}

// --- more than one statement, between which nothing need stand

TEST(TransactSql, OneCallIsOneStatement) {
  for (const String sql : {u"SELECT 1; DELETE FROM t",
                           u"SELECT 1 DELETE FROM t",
                           u"SELECT 1 SELECT 2",
                           u"SELECT a FROM t ORDER BY a EXEC p",
                           u"SELECT a FROM (SELECT 1 AS a) x DROP TABLE t",
                           u"SELECT 1 /* /* */ '*/ DELETE FROM t --'",
                           u"SELECT 1 -- \r DELETE FROM t",
                           u"SELECT 1 WAITFOR DELAY '1:0'",
                           u"UPDATE t SET a = 1 SET NOCOUNT ON",
                           u"UPDATE t SET a = 1 DELETE FROM t",
                           u"DELETE FROM t DELETE FROM u",
                           u"INSERT INTO t SELECT 1 SELECT 2",
                           u"INSERT INTO t VALUES (1) UPDATE t SET a = 2",
                           u"SET TRANSACTION ISOLATION LEVEL READ COMMITTED DELETE FROM t",
                           u"EXEC p 1 SELECT 2",
                           u"DECLARE @a INT SELECT @a",
                           u"SELECT 1 BEGIN TRAN",
                           u"SELECT 1 COMMIT",
                           u"SELECT 1 IF 1 = 1 DELETE FROM t",
                           u"WITH c AS (SELECT 1 AS a) SELECT a FROM c SELECT 2"}) {
    EXPECT_TRUE(IsBatch(sql)) << varnel::ToUtf8(sql);
  }
}

TEST(TransactSql, OneStatementMayHaveMoreVerbs) {
  for (const String sql :
       {u"SELECT 1;", u"SELECT a FROM t WHERE a IN (SELECT b FROM u) UNION ALL SELECT c FROM v",
        u"SELECT 'a DELETE FROM t' AS [select] FROM t -- DROP TABLE t", u"INSERT INTO t (a) SELECT b FROM u",
        u"INSERT INTO t EXEC p", u"UPDATE t SET a = (SELECT MAX(b) FROM u) WHERE a > 1",
        u"DELETE FROM t WHERE a IN (SELECT b FROM u)", u"WITH c AS (SELECT 1 AS a) SELECT a FROM c",
        u"WITH c AS (SELECT 1 AS a) UPDATE c SET a = 2",
        u"WITH c AS (SELECT 1 AS a) INSERT INTO t SELECT a FROM c",
        u"MERGE t USING u ON t.a = u.a WHEN MATCHED THEN UPDATE SET b = 1 WHEN NOT MATCHED THEN INSERT (a) "
        u"VALUES (1) WHEN NOT MATCHED BY SOURCE THEN DELETE",
        u"SELECT a FROM t INNER MERGE JOIN u ON t.a = u.a OPTION (USE HINT ('x'))", u"DROP TABLE IF EXISTS t",
        u"SET TRANSACTION ISOLATION LEVEL READ COMMITTED", u"EXEC p 1, 'x'",
        u"CREATE PROCEDURE p AS BEGIN SELECT 1 DELETE FROM t END"}) {
    EXPECT_FALSE(IsBatch(sql)) << varnel::ToUtf8(sql);
  }
}

TEST(TransactSql, AReaderGetsNoMoreThanAQueryThrough) {
  for (const String sql : {u"SELECT a FROM t", u"(SELECT a FROM t) UNION (SELECT a FROM u)",
                           u"WITH c AS (SELECT 1 AS a) SELECT a FROM c"}) {
    EXPECT_TRUE(OnlyReads(sql)) << varnel::ToUtf8(sql);
  }
  for (const String sql :
       {u"DELETE FROM t", u"SELECT a INTO u FROM t", u"WITH c AS (SELECT 1 AS a) DELETE FROM c", u"EXEC p",
        u"p", u"SELECT a FROM OPENQUERY(other, 'DELETE FROM t')", u"SELECT a FROM OPENROWSET('x', 'y', 'z')",
        u"/* SELECT */ DROP TABLE t"}) {
    EXPECT_FALSE(OnlyReads(sql)) << varnel::ToUtf8(sql);
  }
}

}  // namespace
