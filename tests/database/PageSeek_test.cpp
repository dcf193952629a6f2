// Reads behind an anchor row: the text in arms, and the literals that become parameters.
#include <gtest/gtest.h>

#include "host-linux/database/dialect/SqliteDialect.h"
#include "tests/database/FakeFacts.h"
#include "varnel/automation/String.h"

namespace hostlinux {
namespace {

class PageSeek : public testing::Test {
 protected:
  // The id may be the row's number, so that no read is a row value.
  PageSeek() {
    m_facts.types = {
        {u"id", u"INTEGER"}, {u"name", u"VARCHAR(50)"}, {u"price", u"REAL"}, {u"day", u"DATETIME"}};
    m_facts.columns = {{u"id", u"INTEGER"}, {u"name", u"VARCHAR(50)"}};
  }

  std::string InArms(std::u16string_view sql) {
    return varnel::ToUtf8(RewriteForSqlite(sql, m_facts, PageReads::InArms).text);
  }
  void ExpectAsWritten(std::u16string_view sql) {
    EXPECT_EQ(varnel::ToUtf8(RewriteForSqlite(sql, m_facts).text), InArms(sql));
  }

  FakeFacts m_facts;
};

TEST_F(PageSeek, TheNextPageSeeksInTheSameNameAndThenBehindIt) {
  EXPECT_EQ(
      "SELECT * FROM (WITH \"page 0\" AS MATERIALIZED (SELECT id, name FROM customer WHERE (  active = 1) "
      "AND name "
      "= 'Smith' and id > 42 ORDER BY name ASC,id ASC LIMIT 10), \"page 1\" AS MATERIALIZED (SELECT * FROM "
      "\"page "
      "0\" UNION ALL SELECT * FROM (SELECT id, name FROM customer WHERE (  active = 1) AND name > 'Smith' "
      "ORDER "
      "BY name ASC,id ASC LIMIT 10 - (SELECT COUNT(\"id\" IS NULL) FROM \"page 0\"))) SELECT * FROM \"page "
      "1\") "
      "ORDER BY 2 ASC,1 ASC LIMIT 10",
      InArms(
          u"SELECT TOP 10 id, name FROM customer WHERE (  active = 1) AND (name > 'Smith' or (name = 'Smith' "
          u"and id > '42')) ORDER BY name ASC,id ASC"));
}

// The conditions of all arms in their order, and the sort of the whole.
std::string Conditions(const std::string& sql) {
  std::string conditions;
  for (std::size_t where = sql.find(" WHERE "); where != std::string::npos;
       where = sql.find(" WHERE ", where + 1)) {
    conditions += sql.substr(where + 7, sql.find(" ORDER BY ", where) - where - 7) + "; ";
  }
  return conditions + sql.substr(sql.rfind(" ORDER BY ") + 1);
}

TEST_F(PageSeek, ThePreviousPageLooksForNullsLast) {
  EXPECT_EQ(
      "(  active = 1) AND name = 'Jones' and id < 7; (  active = 1) AND name = 'Jones' and id is null; (  "
      "active = "
      "1) AND name < 'Jones'; (  active = 1) AND name is null; ORDER BY 2 DESC,1 DESC LIMIT 10",
      Conditions(
          InArms(u"SELECT TOP 10 id, name FROM customer WHERE (  active = 1) AND ((name < 'Jones' or name is "
                 u"null) or (name = 'Jones' and (id < '7' or id is null))) ORDER BY name DESC,id DESC")));
}

TEST_F(PageSeek, BehindANullComeTheOtherNullsAndThenTheLowestValue) {
  EXPECT_EQ(
      "name is null and id > 42; name >= ''; ORDER BY 2 ASC,1 ASC LIMIT 10",
      Conditions(InArms(u"SELECT TOP 10 id, name FROM customer WHERE (name is not null or (name is null and "
                        u"id > '42')) ORDER BY name ASC,id ASC")));
  m_facts.columns = {{u"id", u"INT"}, {u"day", u"DATETIME"}};
  EXPECT_EQ(
      "day is null and id > 42; day >= -9e999; ORDER BY 2 ASC,1 ASC LIMIT 10",
      Conditions(InArms(u"SELECT TOP 10 id, day FROM customer WHERE (day is not null or (day is null and "
                        u"id > '42')) ORDER BY day ASC,id ASC")));
}

TEST_F(PageSeek, AFirstPageThatIsSortedInPartReadsTheLeadingValueAlone) {
  m_facts.sortsInPart = true;
  EXPECT_EQ(
      "SELECT * FROM (WITH \"page 0\" AS MATERIALIZED (SELECT id, name FROM customer WHERE name is (SELECT "
      "name "
      "FROM customer WHERE (  active = 1) ORDER BY name DESC LIMIT 1) and ( (  active = 1)) ORDER BY name "
      "DESC,id ASC LIMIT 10), \"page 1\" AS MATERIALIZED (SELECT * FROM \"page 0\" UNION ALL SELECT * FROM "
      "(SELECT id, name FROM customer WHERE name is not (SELECT name FROM customer WHERE (  active = 1) "
      "ORDER "
      "BY name DESC LIMIT 1) and ( (  active = 1)) ORDER BY name DESC,id ASC LIMIT 10 - (SELECT COUNT(\"id\" "
      "IS "
      "NULL) FROM \"page 0\"))) SELECT * FROM \"page 1\") ORDER BY 2 DESC,1 ASC LIMIT 10",
      InArms(u"SELECT TOP 10 id, name FROM customer WHERE (  active = 1) ORDER BY name DESC,id ASC"));
}

TEST_F(PageSeek, AFirstPageOfAWholeTable) {
  m_facts.sortsInPart = true;
  EXPECT_EQ(
      "SELECT * FROM (WITH \"page 0\" AS MATERIALIZED (SELECT DISTINCT name, id FROM customer WHERE name is "
      "(SELECT name FROM customer ORDER BY name ASC LIMIT 1) ORDER BY name,id DESC LIMIT 10), \"page 1\" AS "
      "MATERIALIZED (SELECT * FROM \"page 0\" UNION ALL SELECT * FROM (SELECT DISTINCT name, id FROM "
      "customer "
      "WHERE name is not (SELECT name FROM customer ORDER BY name ASC LIMIT 1) ORDER BY name,id DESC LIMIT "
      "10 - "
      "(SELECT COUNT(\"id\" IS NULL) FROM \"page 0\"))) SELECT * FROM \"page 1\") ORDER BY 2,1 DESC LIMIT 10",
      InArms(u"SELECT DISTINCT TOP 10 name, id FROM customer ORDER BY name,id DESC"));
}

TEST_F(PageSeek, OtherFirstPagesStayAsTheyAre) {
  const auto expectAsItIs = [&](std::u16string_view sql, const std::string& expected) {
    EXPECT_EQ(InArms(sql), expected);
  };
  // An index gives the order, or the whole is sorted.
  expectAsItIs(u"SELECT TOP 10 id, name FROM customer ORDER BY name DESC,id ASC",
               "SELECT id, name FROM customer ORDER BY name DESC,id ASC LIMIT 10");
  m_facts.sortsInPart = true;
  expectAsItIs(u"SELECT TOP 10 id, name FROM customer ORDER BY name DESC,id DESC",
               "SELECT id, name FROM customer ORDER BY name DESC,id DESC LIMIT 10");
  // In WHERE the name would be the column's, not the item's.
  expectAsItIs(u"SELECT TOP 10 id, other AS name FROM customer ORDER BY name DESC,id ASC",
               "SELECT id, other AS name FROM customer ORDER BY name DESC,id ASC LIMIT 10");
  expectAsItIs(u"SELECT TOP 10 id, COUNT(*) AS name FROM customer ORDER BY name DESC,id ASC",
               "SELECT id, COUNT(*) AS name FROM customer ORDER BY name DESC,id ASC LIMIT 10");
  expectAsItIs(u"SELECT TOP 10 id, name FROM customer WHERE id > RANDOM() ORDER BY name DESC,id ASC",
               "SELECT id, name FROM customer WHERE id > RANDOM() ORDER BY name DESC,id ASC LIMIT 10");
  expectAsItIs(
      u"SELECT * FROM (SELECT TOP 10 id, name FROM customer ORDER BY name DESC,id ASC) q ORDER BY name",
      "SELECT * FROM (SELECT id, name FROM customer ORDER BY name DESC,id ASC LIMIT 10) q ORDER BY name");
}

TEST_F(PageSeek, BehindANullThatIsReadDescendingOnlyTheSameNullsCome) {
  EXPECT_EQ(
      "name is null and id < 42; name is null and id is null; ORDER BY 2 DESC,1 DESC LIMIT 10",
      Conditions(InArms(u"SELECT TOP 10 id, name FROM customer WHERE (0=1 or (name is null and (id < '42' or "
                        u"id is null))) ORDER BY name DESC,id DESC")));
}

TEST_F(PageSeek, MixedDirections) {
  EXPECT_EQ(
      "name = 'Smith' and id > 42; name < 'Smith'; name is null; ORDER BY 2 DESC,1 ASC LIMIT 10",
      Conditions(InArms(u"SELECT TOP 10 id, name FROM customer WHERE ((name < 'Smith' or name is null) or "
                        u"(name = 'Smith' and id > '42')) ORDER BY name DESC,id ASC")));
}

TEST_F(PageSeek, ThreeKeys) {
  m_facts.columns = {{u"id", u"INT"}, {u"name", u"VARCHAR(50)"}, {u"day", u"DATETIME"}};
  EXPECT_EQ(
      "day = '2001-03-05 14:07:09' and name = 'a' and id > 5; day = '2001-03-05 14:07:09' and name > 'a'; "
      "day > "
      "'2001-03-05 14:07:09'; ORDER BY 3 ASC,2 ASC,1 ASC LIMIT 10",
      Conditions(
          InArms(u"SELECT TOP 10 id, name, day FROM t WHERE (day > '20010305 14:07:09' or (day = '20010305 "
                 u"14:07:09' and (name > 'a' or (name = 'a' and id > '5')))) ORDER BY day ASC,name ASC,id "
                 u"ASC")));
}

TEST_F(PageSeek, TheInnerReadOfAJump) {
  const std::string sql = InArms(
      u"SELECT TOP  10 * FROM (SELECT TOP 30 id, name FROM customer WHERE (name > 'Smith' or (name = 'Smith' "
      u"and id "
      u"> '42')) ORDER BY name ASC,id ASC) as OUTPUT  ORDER BY name DESC,id DESC");
  EXPECT_EQ(0u,
            sql.find("SELECT * FROM (SELECT * FROM (WITH \"page 0\" AS MATERIALIZED (SELECT id, name FROM "
                     "customer WHERE name = 'Smith' and id > 42 ORDER BY name ASC,id ASC LIMIT 30), "))
      << sql;
  EXPECT_TRUE(
      sql.ends_with("SELECT * FROM \"page 1\") ORDER BY 2 ASC,1 ASC LIMIT 30) as OUTPUT  ORDER BY name "
                    "DESC,id DESC LIMIT 10"))
      << sql;
}

TEST_F(PageSeek, BranchesOfAUnionInTheOrderOfTheWhole) {
  m_facts.columns = {{u"a", u"INTEGER"}};
  m_facts.types = {{u"a", u"INTEGER"}};
  const std::u16string branch =
      u"(SELECT TOP 10 a, a FROM t WHERE (a < '5' or a is null))";  // two columns of the name: as written
  ExpectAsWritten(branch + u" UNION " + branch + u" ORDER BY a DESC, b DESC");
  m_facts.types.clear();
  m_facts.columns = {{u"a", u"INTEGER"}};
  const std::string sql = InArms(
      u"(SELECT TOP 10 a FROM t WHERE (a < 'x' or a is null)) UNION (SELECT TOP 10 a FROM u WHERE (a < 'x' "
      u"or a is "
      u"null)) ORDER BY a DESC");
  EXPECT_EQ("a < 'x'; a is null; a < 'x'; a is null; ORDER BY a DESC", Conditions(sql));
  EXPECT_EQ(
      0u, sql.find("SELECT * FROM (SELECT * FROM (WITH \"page 0\" AS MATERIALIZED (SELECT a FROM t WHERE a < "
                   "'x' ORDER BY 1 DESC LIMIT 10), "))
      << sql;
}

TEST_F(PageSeek, DistinctNeedsEveryKeyInTheList) {
  const std::u16string condition =
      u" FROM t WHERE (name > 'a' or (name = 'a' and id > '5')) ORDER BY name ASC,id ASC";
  EXPECT_NE(std::string::npos, InArms(u"SELECT DISTINCT TOP 10 id, name" + condition).find("MATERIALIZED"));
  ExpectAsWritten(u"SELECT DISTINCT TOP 10 id, Upper(name) AS name" + condition);
}

TEST_F(PageSeek, WhatIsNotExactlySuchAReadStays) {
  const std::u16string keys = u"(name > 'a' or (name = 'a' and id > '5'))";
  const std::u16string order = u" ORDER BY name ASC,id ASC";
  ExpectAsWritten(
      u"SELECT TOP 10 id, name FROM t WHERE id > '5' ORDER BY id ASC");  // one arm would be the same
  ExpectAsWritten(u"SELECT TOP 10 id, name FROM t WHERE x = 1 OR " + keys + order);
  ExpectAsWritten(u"SELECT TOP 10 id, name FROM t WHERE x = 1 AND " + keys + order);
  ExpectAsWritten(u"SELECT TOP 10 id, name FROM t WHERE " + keys + u" GROUP BY id" + order);
  ExpectAsWritten(u"SELECT TOP 10 COUNT(id) AS id, name FROM t WHERE " + keys + order);
  ExpectAsWritten(u"SELECT TOP 10 id, name FROM t WHERE " + keys + u" ORDER BY name ASC");
  ExpectAsWritten(u"SELECT TOP 10 id, name FROM t WHERE " + keys + u" ORDER BY Upper(name) ASC,id ASC");
  ExpectAsWritten(u"SELECT TOP 10 id, name FROM t NATURAL JOIN u WHERE " + keys + order);
  ExpectAsWritten(u"SELECT id, name FROM t WHERE " + keys + order);
  ExpectAsWritten(u"SELECT TOP 10 id, name FROM t WHERE (name > 'a' or (name = 'b' and id > '5'))" + order);
  ExpectAsWritten(u"SELECT TOP 10 id, name FROM t WHERE (x or name > 'a' or (x or name = 'a' and id > '5'))" +
                  order);
}

// A column that is sorted by must be the one of that name in the result.
TEST_F(PageSeek, AQualifiedSortColumnMustBeInTheList) {
  const std::u16string condition =
      u" FROM c, o WHERE (c.name > 'a' or (c.name = 'a' and id > '5')) ORDER BY c.name ASC,id ASC";
  EXPECT_NE(std::string::npos, InArms(u"SELECT TOP 10 id, c.name" + condition).find("MATERIALIZED"));
  ExpectAsWritten(u"SELECT TOP 10 id, o.name" + condition);
}

class LiftedLiterals : public PageSeek {
 protected:
  EngineStatement Translate(std::u16string_view sql) { return m_dialect.Translate(sql); }

  SqliteDialect m_dialect{m_facts};
};

TEST_F(LiftedLiterals, ValuesOfComparisonsBecomeParameters) {
  const EngineStatement statement = Translate(
      u"SELECT id FROM t WHERE name = N'O''Brien' AND id > '42' AND day < {d '2024-03-05'} AND x = 7.5");
  EXPECT_EQ("SELECT id FROM t WHERE name = ?1 AND id > ?2 AND day < ?3 AND x = ?4", statement.sql);
  EXPECT_EQ((std::vector<BoundValue>{std::string("O'Brien"), std::int64_t{42},
                                     std::string("2024-03-05 00:00:00"), 7.5}),
            statement.values);
}

TEST_F(LiftedLiterals, TextsThatDifferInValuesShareOneStatement) {
  const EngineStatement first = Translate(u"SELECT id FROM t WHERE name > 'a' AND id > '5'");
  const std::size_t asked = m_facts.asked.size();
  const EngineStatement second = Translate(u"SELECT id FROM t WHERE name > 'it''s' AND id > '1234'");
  EXPECT_EQ(first.sql, second.sql);
  EXPECT_EQ((std::vector<BoundValue>{std::string("it's"), std::int64_t{1234}}), second.values);
  EXPECT_EQ(asked, m_facts.asked.size());
}

TEST_F(LiftedLiterals, AnotherKindOfValueIsAnotherStatement) {
  Translate(u"SELECT id FROM t WHERE id > '5'");
  EXPECT_EQ("SELECT id FROM t WHERE id > ?1", Translate(u"SELECT id FROM t WHERE id > 'x'").sql);
  const EngineStatement real = Translate(u"SELECT id FROM t WHERE price = '0.3'");
  EXPECT_EQ("SELECT id FROM t WHERE (price BETWEEN ?1 AND ?2)", real.sql);
  EXPECT_EQ((std::vector<BoundValue>{0.2999999999999995, 0.3000000000000005}), real.values);
}

TEST_F(LiftedLiterals, FlagsPatternsTopsAndExpressionsStay) {
  const std::string sql =
      "SELECT id, 'a' AS b FROM t WHERE active = 1 AND name LIKE 'x%' AND substr(name, 2) = ?1 AND c IN "
      "('p', 'q') "
      "AND CASE WHEN name = 'k' THEN 2 END = ?2 ORDER BY 1 LIMIT 10";
  const EngineStatement statement = Translate(
      u"SELECT TOP 10 id, 'a' AS b FROM t WHERE active = 1 AND name LIKE 'x%' AND substr(name, 2) = 'y' AND "
      u"c "
      u"IN ('p', 'q') AND CASE WHEN name = 'k' THEN 2 END = 3 ORDER BY 1");
  EXPECT_EQ(sql, statement.sql);
  EXPECT_EQ("SELECT id FROM t WHERE name LIKE 'a%'", Translate(u"SELECT id FROM t WHERE name LIKE 'a%'").sql);
  EXPECT_EQ("SELECT id FROM t WHERE name LIKE 'b%'", Translate(u"SELECT id FROM t WHERE name LIKE 'b%'").sql);
}

TEST_F(LiftedLiterals, WhereAnIndexHasAConditionOnlyKeysAreLifted) {
  m_facts.hasPartialIndex = true;
  EXPECT_EQ("SELECT id FROM t WHERE state = 'open'", Translate(u"SELECT id FROM t WHERE state = 'open'").sql);
  const EngineStatement page = Translate(
      u"SELECT TOP 10 id, name FROM t WHERE (state = 'open') AND (name > 'a' or (name = 'a' and id > '5')) "
      u"ORDER BY "
      u"name ASC,id ASC");
  EXPECT_EQ(
      "(state = 'open') AND name = ?1 and id > ?2; (state = 'open') AND name > ?1; ORDER BY 2 ASC,1 ASC "
      "LIMIT 10",
      Conditions(page.sql));
}

TEST_F(LiftedLiterals, KeysThatDifferWhereTheyMustBeEqualAreNoPage) {
  Translate(
      u"SELECT TOP 10 id, name FROM t WHERE (name > 'a' or (name = 'a' and id > '5')) ORDER BY name ASC,id "
      u"ASC");
  EXPECT_EQ(
      "SELECT id, name FROM t WHERE (name > ?1 or (name = ?2 and id > ?3)) ORDER BY name ASC,id ASC LIMIT 10",
      Translate(
          u"SELECT TOP 10 id, name FROM t WHERE (name > 'a' or (name = 'b' and id > '5')) ORDER BY name "
          u"ASC,id ASC")
          .sql);
}

TEST_F(LiftedLiterals, AParameterWithANumberIsRefused) {
  EXPECT_EQ(u"The parameter ?1 has a number: write ? or :name.",
            Translate(u"SELECT ?1 FROM t WHERE name = 'a'").unbound);
}

TEST_F(LiftedLiterals, AChangedSchemaIsAskedAgain) {
  EXPECT_EQ(std::int64_t{42},
            std::get<std::int64_t>(Translate(u"SELECT id FROM t WHERE id = '42'").values[0]));
  m_facts.types[u"id"] = u"VARCHAR(9)";
  m_dialect.ForgetSchema();
  EXPECT_EQ("42", std::get<std::string>(Translate(u"SELECT id FROM t WHERE id = '42'").values[0]));
}

}  // namespace
}  // namespace hostlinux
