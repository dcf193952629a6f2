#include "host-linux/database/dialect/SqliteDialect.h"

#include <gtest/gtest.h>

#include "tests/database/FakeFacts.h"
#include "varnel/automation/String.h"

namespace hostlinux {
namespace {

class SqliteDialect : public testing::Test {
 protected:
  SqliteDialect() {
    m_facts.types = {{u"id", u"INT"},       {u"name", u"VARCHAR(50)"}, {u"price", u"REAL"},
                     {u"day", u"DATETIME"}, {u"a", u"INTEGER"},        {u"P.PRODUCTID", u"INT"}};
  }

  std::string Rewritten(std::u16string_view sql) {
    return varnel::ToUtf8(RewriteForSqlite(sql, m_facts).text);
  }

  FakeFacts m_facts;
};

TEST_F(SqliteDialect, LeavesItsOwnSqlAlone) {
  const std::u16string sql = u"SELECT a.id, \"top\"  FROM t a WHERE a.n = 'x' -- [it]\n GROUP BY 1 LIMIT 5";
  EXPECT_EQ(varnel::ToUtf8(sql), Rewritten(sql));
}

TEST_F(SqliteDialect, TopBecomesALimitBehindTheOrder) {
  EXPECT_EQ("SELECT id, name FROM customer WHERE (  active = 1) ORDER BY name ASC,id ASC LIMIT 10",
            Rewritten(u"SELECT TOP 10 id, name FROM customer WHERE (  active = 1) ORDER BY name ASC,id ASC"));
}

TEST_F(SqliteDialect, DistinctStandsInFrontOfTop) {
  EXPECT_EQ("SELECT DISTINCT id FROM t LIMIT 10", Rewritten(u"SELECT DISTINCT TOP 10 id FROM t"));
}

TEST_F(SqliteDialect, TopOfZeroIsALimitOfZero) {
  EXPECT_EQ("SELECT id FROM t LIMIT 0", Rewritten(u"SELECT TOP 0 id FROM t"));
  EXPECT_EQ("SELECT id FROM t LIMIT 5", Rewritten(u"SELECT TOP (5) id FROM t"));
}

TEST_F(SqliteDialect, EachTopOfANestedFormEndsItsOwnSelect) {
  EXPECT_EQ(
      "SELECT * FROM (SELECT id, name FROM customer WHERE (  active = 1) AND (name > 'Smith' or (name = "
      "'Smith' "
      "and id > 42)) ORDER BY name ASC,id ASC LIMIT 30) as OUTPUT  ORDER BY name DESC,id DESC LIMIT 10",
      Rewritten(
          u"SELECT TOP  10 * FROM (SELECT TOP 30 id, name FROM customer WHERE (  active = 1) AND (name > "
          u"'Smith' or (name = 'Smith' and id > '42')) ORDER BY name ASC,id ASC) as OUTPUT  ORDER BY name "
          u"DESC,id DESC"));
}

TEST_F(SqliteDialect, BranchesInParenthesesBecomeSubqueriesInTheOrderOfTheWhole) {
  m_facts.columns = {{u"a", u"INTEGER"}};
  EXPECT_EQ(
      "SELECT * FROM (SELECT a FROM t WHERE a > 5 ORDER BY 1 ASC LIMIT 10) UNION SELECT * FROM (SELECT a "
      "FROM u "
      "WHERE a > 5 ORDER BY 1 ASC LIMIT 10) ORDER BY a ASC",
      Rewritten(
          u"(SELECT TOP 10 a FROM t WHERE a > '5') UNION (SELECT TOP 10 a FROM u WHERE a > '5') ORDER BY a "
          u"ASC"));
}

TEST_F(SqliteDialect, ABareBranchWithTopIsWrappedToo) {
  m_facts.columns = {{u"a", u"INTEGER"}};
  EXPECT_EQ(
      "SELECT a FROM t UNION ALL SELECT * FROM (SELECT b FROM u ORDER BY 1 DESC LIMIT 3) ORDER BY a DESC",
      Rewritten(u"SELECT a FROM t UNION ALL SELECT TOP 3 b FROM u ORDER BY a DESC"));
}

TEST_F(SqliteDialect, AnOrderOfTheWholeLosesItsQualifiers) {
  m_facts.columns = {{u"b", u""}, {u"a", u"INTEGER"}};
  EXPECT_EQ(
      "SELECT * FROM (SELECT b, x.a FROM x ORDER BY 2 ASC LIMIT 2) UNION SELECT * FROM (SELECT b, y.a FROM y "
      "ORDER "
      "BY 2 ASC LIMIT 2) ORDER BY a ASC",
      Rewritten(u"(SELECT TOP 2 b, x.a FROM x) UNION (SELECT TOP 2 b, y.a FROM y) ORDER BY x.a ASC"));
}

TEST_F(SqliteDialect, ANestedBranchKeepsItsOwnOrder) {
  EXPECT_EQ(
      "SELECT * FROM (SELECT * FROM (SELECT a FROM t ORDER BY a ASC LIMIT 30) as OUTPUT  ORDER BY a DESC "
      "LIMIT 10) "
      "UNION SELECT * FROM (SELECT a FROM u) ORDER BY a ASC",
      Rewritten(
          u"(SELECT TOP  10 * FROM (SELECT TOP 30 a FROM t ORDER BY a ASC) as OUTPUT  ORDER BY a DESC) UNION "
          u"(SELECT a FROM u) ORDER BY a ASC"));
}

TEST_F(SqliteDialect, ASecondTopIsLeftForTheEngineToRefuse) {
  EXPECT_EQ("SELECT TOP 5 a FROM t LIMIT 10", Rewritten(u"SELECT TOP 10 TOP 5 a FROM t"));
  EXPECT_EQ("SELECT TOP 10 PERCENT a FROM t", Rewritten(u"SELECT TOP 10 PERCENT a FROM t"));
}

TEST_F(SqliteDialect, ALimitStandsInFrontOfATrailingComment) {
  EXPECT_EQ("SELECT a FROM t LIMIT 10 -- all", Rewritten(u"SELECT TOP 10 a FROM t -- all"));
}

TEST_F(SqliteDialect, NationalLiteralsAreTexts) {
  EXPECT_EQ("SELECT a FROM t WHERE b='O''Brien' AND c IN ('x', 'y')",
            Rewritten(u"SELECT a FROM t WHERE b=N'O''Brien' AND c IN (N'x', N'y')"));
}

TEST_F(SqliteDialect, DateEscapesBecomeStoredDatesWithABlankBehind) {
  EXPECT_EQ("SELECT a FROM t WHERE (d <= '2024-03-05 00:00:00' OR e > '2024-03-05 07:08:09' )",
            Rewritten(u"SELECT a FROM t WHERE (d <= {d '2024-03-05'}OR e > {ts '2024-03-05 07:08:09'})"));
}

TEST_F(SqliteDialect, PatternsWithEscapedWildcardsUseABackslash) {
  EXPECT_EQ("SELECT a FROM t WHERE b LIKE '50\\%%[a]\\_' ESCAPE '\\' AND c = 1",
            Rewritten(u"SELECT a FROM t WHERE b LIKE N'50[%]%[[]a][_]' AND c = 1"));
  EXPECT_EQ("SELECT a FROM t WHERE b LIKE 'c:\\x%'", Rewritten(u"SELECT a FROM t WHERE b LIKE 'c:\\x%'"));
}

TEST_F(SqliteDialect, PatternsWithRealClassesGoThroughAFunction) {
  EXPECT_EQ("SELECT a FROM t WHERE b NOT REGEXP '[a-c]%'",
            Rewritten(u"SELECT a FROM t WHERE b NOT LIKE '[a-c]%'"));
  EXPECT_EQ("SELECT a FROM t WHERE b REGEXP '[^x][%]'",
            Rewritten(u"SELECT a FROM t WHERE b LIKE '[^x]!%' ESCAPE '!'"));
}

TEST_F(SqliteDialect, SettingAnIsolationLevelIsNothing) {
  EXPECT_TRUE(RewriteForSqlite(u"set TRANSACTION ISOLATION LEVEL READ COMMITTED", m_facts).isNothing);
  EXPECT_FALSE(RewriteForSqlite(u"SELECT 1", m_facts).isNothing);
}

TEST_F(SqliteDialect, KeysOfAPreviousPageAreReadByTheirColumns) {
  EXPECT_EQ(
      "SELECT id, name FROM customer WHERE (  active = 1) AND ((name < 'Jones' or name is null) or (name = "
      "'Jones' "
      "and (id < 7 or id is null))) ORDER BY name DESC,id DESC LIMIT 10",
      Rewritten(
          u"SELECT TOP 10 id, name FROM customer WHERE (  active = 1) AND ((name < 'Jones' or name is null) "
          u"or (name = 'Jones' and (id < '7' or id is null))) ORDER BY name DESC,id DESC"));
}

TEST_F(SqliteDialect, ADateKeyTakesTheStoredForm) {
  EXPECT_EQ(
      "SELECT day, id FROM t WHERE (day > '2001-03-05 14:07:09' or (day = '2001-03-05 14:07:09' and id > 3))",
      Rewritten(u"SELECT day, id FROM t WHERE (day > '20010305 14:07:09' or (day = '20010305 14:07:09' and "
                u"id > '3'))"));
}

TEST_F(SqliteDialect, AskedColumnsAreThoseOfTheSelectAroundThem) {
  Rewritten(u"SELECT TOP 5 P.PRODUCTID FROM PRODUCT P WHERE P.PRODUCTID > '5'");
  ASSERT_EQ(1u, m_facts.asked.size());
  EXPECT_EQ(u"SELECT P.PRODUCTID FROM PRODUCT P", m_facts.asked[0]);
}

TEST_F(SqliteDialect, AnExpressionOfSeveralWordsIsOneOperand) {
  EXPECT_EQ(
      "SELECT 1 FROM t WHERE (CASE typeof(id + price * 2) WHEN 'text' THEN id + price * 2 > '5' ELSE id + "
      "price * "
      "2 > 5000000000000005e-15 END) AND x = 1",
      Rewritten(u"SELECT 1 FROM t WHERE id + price * 2 > '5' AND x = 1"));
}

TEST_F(SqliteDialect, CallsAndCaseExpressionsAreOneOperand) {
  EXPECT_EQ(
      "SELECT 1 FROM t WHERE (CASE typeof(Length ( name )) WHEN 'text' THEN Length ( name ) < '5' ELSE "
      "Length ( "
      "name ) < 4999999999999995e-15 END)",
      Rewritten(u"SELECT 1 FROM t WHERE Length ( name ) < '5'"));
  EXPECT_EQ(
      "SELECT 1 FROM t WHERE (CASE typeof(CASE WHEN id = 5 THEN 1 ELSE 0 END) WHEN 'text' THEN CASE WHEN id "
      "= 5 "
      "THEN 1 ELSE 0 END > '0' ELSE CASE WHEN id = 5 THEN 1 ELSE 0 END > 0 END)",
      Rewritten(u"SELECT 1 FROM t WHERE CASE WHEN id = '5' THEN 1 ELSE 0 END > '0'"));
}

TEST_F(SqliteDialect, AssignmentsOfAnUpdateStay) {
  EXPECT_EQ("UPDATE t SET x = '5' WHERE id = 42", Rewritten(u"UPDATE t SET x = '5' WHERE id = '42'"));
  EXPECT_EQ("DELETE FROM t WHERE id = 42", Rewritten(u"DELETE FROM t WHERE id = '42'"));
}

TEST_F(SqliteDialect, ACorrelatedColumnIsAskedThroughTheOuterSelect) {
  m_facts.types.clear();
  Rewritten(u"SELECT 1 FROM t WHERE EXISTS (SELECT 1 FROM u WHERE t.z = '5')");
  EXPECT_EQ(u"SELECT t.z FROM u", m_facts.asked[0]);
}

TEST_F(SqliteDialect, NestedComparisonsDoNotGrowWithoutEnd) {
  std::u16string sql = u"x";
  for (int i = 0; i < 40; ++i) sql = u"(" + sql + u" > '1')";
  EXPECT_LT(Rewritten(u"SELECT 1 FROM t WHERE " + sql).size(), 10000u);
}

}  // namespace
}  // namespace hostlinux
