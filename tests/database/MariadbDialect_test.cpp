// The library's SQL in MariaDB's words, as text.
#include "host-linux/database/dialect/MariadbDialect.h"

#include <gtest/gtest.h>

#include "tests/database/FakeFacts.h"
#include "varnel/automation/String.h"

namespace {

using hostlinux::BoundValue;
using hostlinux::EngineStatement;
using varnel::String;
using varnel::Variant;
using varnel::host::PageSpec;

class MariadbDialect : public testing::Test {
 protected:
  MariadbDialect() {
    m_facts.types = {{u"id", u"INT"},         {u"name", u"VARCHAR"},   {u"city", u"VARCHAR"},
                     {u"price", u"DOUBLE"},   {u"amount", u"NUMERIC"}, {u"active", u"BIT"},
                     {u"made", u"TIMESTAMP"}, {u"day", u"DATE"}};
    m_facts.notNull = {u"id", u"city"};
  }

  std::string Rewrite(const String& sql) {
    return varnel::ToUtf8(hostlinux::RewriteForMariadb(sql, m_facts).text);
  }
  EngineStatement Translate(const String& sql, const varnel::host::StatementParameters& parameters = {}) {
    return hostlinux::SqlDialect(m_facts, hostlinux::WordsOfMariadb(), hostlinux::PageReads::InArms)
        .Translate(sql, parameters);
  }
  // The one statement of a page of 10 rows.
  std::string Page(PageSpec page) {
    page.branches = {{u"SELECT id, name FROM customer", u"", u""}};
    page.rows = 10;
    page.behindAnchor = true;
    const std::vector<std::u16string> texts = hostlinux::RewritePageForMariadb(page, m_facts);
    return texts.size() == 1 ? varnel::ToUtf8(texts[0]) : std::to_string(texts.size()) + " statements";
  }

  FakeFacts m_facts;
};

TEST_F(MariadbDialect, TopIsALimitAndNullsSortLowByThemselves) {
  EXPECT_EQ("SELECT id, name FROM customer ORDER BY name LIMIT 10",
            Rewrite(u"SELECT TOP 10 id, name FROM customer ORDER BY name"));
}

TEST_F(MariadbDialect, LiteralsAndNamesAreTheServersOwn) {
  EXPECT_EQ(
      "SELECT 'it''s' FROM t WHERE made > TIMESTAMP '2001-03-05 00:00:00' OR made = TIMESTAMP '2001-03-05 "
      "14:07:09' ",
      Rewrite(u"SELECT N'it''s' FROM t WHERE made > {d '2001-03-05'} OR made = {ts '2001-03-05 14:07:09'} "));
  EXPECT_EQ("SELECT \"order no\", `x`, \"a\"\"b\" FROM t WHERE id = id",
            Rewrite(u"SELECT [order no], `x`, [a\"b] FROM t WHERE id == id"));
}

TEST_F(MariadbDialect, TextsBecomeWhatTheColumnHolds) {
  EXPECT_EQ("SELECT id FROM t WHERE id > 42 AND amount >= 1.25 AND price < 2499999999999995e-15",
            Rewrite(u"SELECT id FROM t WHERE id > '42' AND amount >= '1.25' AND price < '2.5'"));
  EXPECT_EQ("SELECT id FROM t WHERE made = '2001-03-05 14:07:09' AND day > '2001-03-05 00:00:00'",
            Rewrite(u"SELECT id FROM t WHERE made = '20010305 14:07:09' AND day > '20010305'"));
  EXPECT_EQ("SELECT id FROM t WHERE active = 1 AND active <> 0",
            Rewrite(u"SELECT id FROM t WHERE active = 'True' AND active <> '0'"));
}

TEST_F(MariadbDialect, ANumberBesideATextGetsQuotes) {
  EXPECT_EQ("SELECT id FROM t WHERE name = '5' AND id = 5",
            Rewrite(u"SELECT id FROM t WHERE name = 5 AND id = 5"));
}

TEST_F(MariadbDialect, PatternsAreEscapedOrRegularExpressions) {
  EXPECT_EQ("SELECT id FROM t WHERE name LIKE '50\\%' ESCAPE '\\'",
            Rewrite(u"SELECT id FROM t WHERE name LIKE '50[%]'"));
  EXPECT_EQ("SELECT id FROM t WHERE name LIKE 'a\\\\b%' ESCAPE '\\'",
            Rewrite(u"SELECT id FROM t WHERE name LIKE 'a\\b%'"));
  EXPECT_EQ("SELECT id FROM t WHERE name NOT REGEXP '(?s)^[a-c].*.$(?!\\n)'",
            Rewrite(u"SELECT id FROM t WHERE name NOT LIKE '[a-c]%_'"));
}

TEST_F(MariadbDialect, AReadLevelIsNothing) {
  EXPECT_TRUE(
      hostlinux::RewriteForMariadb(u"set TRANSACTION ISOLATION LEVEL READ COMMITTED", m_facts).isNothing);
  EXPECT_FALSE(
      hostlinux::RewriteForMariadb(u"set TRANSACTION ISOLATION LEVEL SERIALIZABLE", m_facts).isNothing);
}

TEST_F(MariadbDialect, BranchesStandInParentheses) {
  m_facts.columns = {{u"id", u"INT", u"customer", true}, {u"name", u"VARCHAR"}};
  EXPECT_EQ(
      "(SELECT id, name FROM a ORDER BY 2 ASC,1 ASC LIMIT 5) UNION (SELECT id, name FROM b ORDER BY 2 ASC,1 "
      "ASC LIMIT 5) ORDER BY name ASC,id ASC",
      Rewrite(
          u"(SELECT TOP 5 id, name FROM a) UNION (SELECT TOP 5 id, name FROM b) ORDER BY name ASC,id ASC"));
}

// --- values lifted out

TEST_F(MariadbDialect, ValuesComeInTheOrderOfTheirMarks) {
  const EngineStatement statement = Translate(
      u"SELECT id FROM t WHERE name = 'a' AND id > '42' AND price = '2.5' AND name = 7 AND id < 77");
  EXPECT_EQ("SELECT id FROM t WHERE name = ? AND id > ? AND (price BETWEEN ? AND ?) AND name = ? AND id < ?",
            statement.sql);
  ASSERT_EQ(6U, statement.values.size());
  EXPECT_EQ(BoundValue(std::string("a")), statement.values[0]);
  EXPECT_EQ(BoundValue(std::int64_t{42}), statement.values[1]);
  EXPECT_LT(std::get<double>(statement.values[2]), std::get<double>(statement.values[3]));
  EXPECT_EQ(BoundValue(std::string("7")), statement.values[4]);
  EXPECT_EQ(BoundValue(std::int64_t{77}), statement.values[5]);
}

TEST_F(MariadbDialect, AValueThatStandsTwiceIsSentTwice) {
  varnel::host::StatementParameters parameters;
  parameters.values.push_back({u"p", Variant(String(u"x"))});
  const EngineStatement statement =
      Translate(u"SELECT :p FROM t WHERE name = :p AND '?1' = name", parameters);
  EXPECT_EQ("SELECT ? FROM t WHERE name = ? AND '?1' = name", statement.sql);
  EXPECT_EQ(2U, statement.values.size());
}

TEST_F(MariadbDialect, APatternOfAParameterIsARegularExpression) {
  varnel::host::StatementParameters parameters;
  parameters.values.push_back({u"p", Variant(String(u"a\\%"))});
  EXPECT_EQ("SELECT id FROM t WHERE name LIKE ? ESCAPE '\x01'",
            Translate(u"SELECT id FROM t WHERE name LIKE :p", parameters).sql);
  parameters.values[0].Value = Variant(String(u"[a-c]%"));
  const EngineStatement statement = Translate(u"SELECT id FROM t WHERE name LIKE :p", parameters);
  EXPECT_EQ("SELECT id FROM t WHERE name REGEXP CONCAT('(?s)', ?, '(?!\\n)')", statement.sql);
  EXPECT_EQ(BoundValue(std::string("^[a-c].*$")), statement.values.at(0));
}

// --- pages

TEST_F(MariadbDialect, APageByTwoKeysUpwardIsReadInItsParts) {
  PageSpec page;
  page.keys = {{u"city", u"city", true, String(u"Ulm")}, {u"id", u"id", true, String(u"42")}};
  EXPECT_EQ(
      "(SELECT id, name FROM customer WHERE city = 'Ulm' and id > 42 ORDER BY city ASC,id ASC LIMIT 10)"
      " UNION ALL (SELECT id, name FROM customer WHERE city > 'Ulm' ORDER BY city ASC,id ASC LIMIT 10)"
      " LIMIT 10",
      Page(page));
}

TEST_F(MariadbDialect, NullsLieBehindWhatIsReadDownward) {
  PageSpec page;
  page.keys = {{u"name", u"name", false, String(u"Ulm")}, {u"id", u"id", false, String(u"42")}};
  EXPECT_EQ(
      "(SELECT id, name FROM customer WHERE name = 'Ulm' and id < 42 ORDER BY name DESC,id DESC LIMIT 10)"
      " UNION ALL (SELECT id, name FROM customer WHERE name < 'Ulm' ORDER BY name DESC,id DESC LIMIT 10)"
      " UNION ALL (SELECT id, name FROM customer WHERE name is null ORDER BY name DESC,id DESC LIMIT 10)"
      " LIMIT 10",
      Page(page));
}

}  // namespace
