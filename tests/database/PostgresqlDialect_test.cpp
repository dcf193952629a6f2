// The library's SQL in PostgreSQL's words, as text.
#include "host-linux/database/dialect/PostgresqlDialect.h"

#include <gtest/gtest.h>

#include <algorithm>

#include "tests/database/FakeFacts.h"
#include "varnel/automation/String.h"

namespace {

using hostlinux::EngineStatement;
using varnel::String;
using varnel::host::PageKey;
using varnel::host::PageSpec;

class PostgresqlDialect : public testing::Test {
 protected:
  PostgresqlDialect() {
    m_facts.types = {{u"id", u"INT"},       {u"name", u"VARCHAR"},   {u"city", u"VARCHAR"},
                     {u"price", u"DOUBLE"}, {u"active", u"BOOLEAN"}, {u"made", u"TIMESTAMP"}};
    m_facts.notNull = {u"id", u"city"};
  }

  std::string Rewrite(const String& sql) {
    return varnel::ToUtf8(hostlinux::RewriteForPostgresql(sql, m_facts).text);
  }
  EngineStatement Translate(const String& sql) {
    return hostlinux::SqlDialect(m_facts, hostlinux::WordsOfPostgresql(), hostlinux::PageReads::InArms)
        .Translate(sql);
  }
  // The one statement of a page of 10 rows of `name`, `id`.
  std::string Page(PageSpec page) {
    if (page.branches.empty()) page.branches = {{u"SELECT id, name FROM customer", u"", u""}};
    page.rows = 10;
    page.behindAnchor = std::any_of(page.keys.begin(), page.keys.end(),
                                    [](const PageKey& key) { return !key.anchor.IsEmpty(); });
    const std::vector<std::u16string> texts = hostlinux::RewritePageForPostgresql(page, m_facts);
    return texts.size() == 1 ? varnel::ToUtf8(texts[0]) : std::to_string(texts.size()) + " statements";
  }

  FakeFacts m_facts;
};

TEST_F(PostgresqlDialect, TopIsALimitAndNullsSortLow) {
  EXPECT_EQ("SELECT id, name FROM customer ORDER BY name NULLS FIRST LIMIT 10",
            Rewrite(u"SELECT TOP 10 id, name FROM customer ORDER BY name"));
  EXPECT_EQ("SELECT id FROM customer ORDER BY name DESC NULLS LAST,id DESC",
            Rewrite(u"SELECT id FROM customer ORDER BY name DESC,id DESC"));
}

TEST_F(PostgresqlDialect, AnOuterJoinMakesNulls) {
  EXPECT_EQ("SELECT id FROM a LEFT JOIN customer ON a.x = id ORDER BY id ASC NULLS FIRST",
            Rewrite(u"SELECT id FROM a LEFT JOIN customer ON a.x = id ORDER BY id ASC"));
}

TEST_F(PostgresqlDialect, LiteralsAreTheEnginesOwn) {
  EXPECT_EQ(
      "SELECT 'it''s' FROM t WHERE made > TIMESTAMP '2001-03-05 00:00:00' OR made = TIMESTAMP '2001-03-05 "
      "14:07:09' ",
      Rewrite(u"SELECT N'it''s' FROM t WHERE made > {d '2001-03-05'} OR made = {ts '2001-03-05 14:07:09'} "));
  EXPECT_EQ("SELECT \"order no\", t.\"name\", a[1] FROM t",
            Rewrite(u"SELECT [order no], t.[Name], a[1] FROM t"));
  EXPECT_EQ("SELECT id::text FROM t WHERE id = id", Rewrite(u"SELECT id::text FROM t WHERE id == id"));
}

TEST_F(PostgresqlDialect, NumbersBesideTextsAndTruthValuesGetQuotes) {
  EXPECT_EQ("SELECT id FROM t WHERE name = '5' AND active = '1' AND id = 5",
            Rewrite(u"SELECT id FROM t WHERE name = 5 AND active = 1 AND id = 5"));
}

TEST_F(PostgresqlDialect, ADoubleIsComparedWithWhatPrintsSo) {
  EXPECT_EQ("SELECT id FROM t WHERE price > 2500000000000005e-15",
            Rewrite(u"SELECT id FROM t WHERE price > '2.5'"));
  EXPECT_EQ("SELECT id FROM t WHERE id > '42'", Rewrite(u"SELECT id FROM t WHERE id > '42'"));
}

TEST_F(PostgresqlDialect, PatternsAreEscapedOrRegularExpressions) {
  EXPECT_EQ("SELECT id FROM t WHERE name LIKE '50\\%'", Rewrite(u"SELECT id FROM t WHERE name LIKE '50[%]'"));
  EXPECT_EQ("SELECT id FROM t WHERE name LIKE 'a\\\\b%'",
            Rewrite(u"SELECT id FROM t WHERE name LIKE 'a\\b%'"));
  EXPECT_EQ("SELECT id FROM t WHERE name ~ '^[a-c][^0-9]\\..*.$'",
            Rewrite(u"SELECT id FROM t WHERE name LIKE '[a-c][^0-9].%_'"));
  EXPECT_EQ("SELECT id FROM t WHERE name !~ '^[0-9]x$'",
            Rewrite(u"SELECT id FROM t WHERE name NOT LIKE '[0-9]x'"));
}

TEST_F(PostgresqlDialect, AReadLevelIsNothing) {
  EXPECT_TRUE(
      hostlinux::RewriteForPostgresql(u"set TRANSACTION ISOLATION LEVEL READ COMMITTED", m_facts).isNothing);
  EXPECT_FALSE(
      hostlinux::RewriteForPostgresql(u"set TRANSACTION ISOLATION LEVEL SERIALIZABLE", m_facts).isNothing);
}

TEST_F(PostgresqlDialect, BranchesStandInParentheses) {
  m_facts.columns = {{u"id", u"INT", u"customer", true}, {u"name", u"VARCHAR"}};
  EXPECT_EQ(
      "(SELECT id, name FROM a ORDER BY 2 ASC NULLS FIRST,1 ASC LIMIT 5) UNION (SELECT id, name FROM b ORDER "
      "BY 2 ASC NULLS FIRST,1 ASC LIMIT 5) "
      "ORDER BY name ASC NULLS FIRST,id ASC",
      Rewrite(
          u"(SELECT TOP 5 id, name FROM a) UNION (SELECT TOP 5 id, name FROM b) ORDER BY name ASC,id ASC"));
}

// --- values lifted out

TEST_F(PostgresqlDialect, ValuesTakeTheTypeOfTheirPlace) {
  const EngineStatement statement =
      Translate(u"SELECT id FROM t WHERE name = 'a' AND id > '42' AND id < 77 AND active = 3");
  EXPECT_EQ("SELECT id FROM t WHERE name = $1 AND id > $2 AND id < $3::int4 AND active = $4", statement.sql);
  ASSERT_EQ(4U, statement.values.size());
  EXPECT_EQ(hostlinux::BoundValue(std::string("42")), statement.values[1]);
  EXPECT_EQ(hostlinux::BoundValue(std::int64_t{77}), statement.values[2]);
}

TEST_F(PostgresqlDialect, ANumberThatIsNoIntegerStays) {
  EXPECT_EQ("SELECT id FROM t WHERE id > 2.5 AND id < 12345678901",
            Translate(u"SELECT id FROM t WHERE id > 2.5 AND id < 12345678901").sql);
}

// --- pages

TEST_F(PostgresqlDialect, APageByTwoKeysUpwardIsARowValue) {
  PageSpec page;
  page.keys = {{u"city", u"city", true, String(u"Ulm")}, {u"id", u"id", true, String(u"42")}};
  EXPECT_EQ("SELECT id, name FROM customer WHERE (city, id) > ('Ulm', 42) ORDER BY city ASC,id ASC LIMIT 10",
            Page(page));
}

TEST_F(PostgresqlDialect, APageInMixedDirectionsIsReadInItsParts) {
  PageSpec page;
  page.keys = {{u"name", u"name", false, String(u"Ulm")}, {u"id", u"id", true, String(u"42")}};
  EXPECT_EQ(
      "(SELECT id, name FROM customer WHERE name = 'Ulm' and id > '42' ORDER BY name DESC NULLS LAST,id ASC "
      "LIMIT 10)"
      " UNION ALL (SELECT id, name FROM customer WHERE name < 'Ulm' ORDER BY name DESC NULLS LAST,id ASC "
      "LIMIT 10)"
      " UNION ALL (SELECT id, name FROM customer WHERE name is null ORDER BY name ASC NULLS FIRST,id ASC "
      "LIMIT 10)"
      " LIMIT 10",
      Page(page));
}

// The server doesn't see that NULLs are all alike, so it would sort them by what comes behind the name, though an index
// that is read the other way has them in this order.
TEST_F(PostgresqlDialect, NullsAreReadInTheDirectionOfTheNextKey) {
  PageSpec page;
  page.keys = {{u"name", u"name", false, varnel::Null()}, {u"id", u"id", true, String(u"42")}};
  EXPECT_EQ(
      "SELECT id, name FROM customer WHERE name is null and id > '42' ORDER BY name ASC NULLS FIRST,id ASC "
      "LIMIT 10",
      Page(page));
}

TEST_F(PostgresqlDialect, ALastPageBeginsWithNullsInTheirOwnDirection) {
  m_facts.sorts = hostlinux::SortWork::Groups;
  PageSpec page;
  page.keys = {{u"name", u"name", true, {}}, {u"id", u"id", false, {}}};
  EXPECT_EQ(
      "(SELECT id, name FROM customer WHERE name is null ORDER BY name DESC NULLS LAST,id DESC LIMIT 10)"
      " UNION ALL (SELECT id, name FROM customer WHERE name = (SELECT name FROM customer WHERE name is not "
      "null"
      " ORDER BY name ASC NULLS FIRST LIMIT 1) ORDER BY name ASC NULLS FIRST,id DESC LIMIT 10)"
      " UNION ALL (SELECT id, name FROM customer WHERE name > (SELECT name FROM customer WHERE name is not "
      "null"
      " ORDER BY name ASC NULLS FIRST LIMIT 1) ORDER BY name ASC NULLS FIRST,id DESC LIMIT 10)"
      " LIMIT 10",
      Page(page));
}

TEST_F(PostgresqlDialect, NullsStayAsWrittenWhereAnIndexHasThemSo) {
  m_facts.readsInOrder = true;
  PageSpec page;
  page.keys = {{u"name", u"name", false, varnel::Null()}, {u"id", u"id", true, String(u"42")}};
  const std::string text =
      "SELECT id, name FROM customer WHERE name is null and id > '42' ORDER BY name DESC NULLS LAST,id ASC "
      "LIMIT 10";
  EXPECT_EQ(text, Page(page));
  ASSERT_EQ(1U, m_facts.askedForOrder.size());
  EXPECT_EQ(text, varnel::ToUtf8(m_facts.askedForOrder[0]));
}

TEST_F(PostgresqlDialect, NullsInTheSameDirectionNeedNoQuestion) {
  PageSpec page;
  page.keys = {{u"name", u"name", false, varnel::Null()}, {u"id", u"id", false, String(u"42")}};
  EXPECT_EQ(
      "SELECT id, name FROM customer WHERE name is null and id < '42' ORDER BY name DESC NULLS LAST,id DESC "
      "LIMIT 10",
      Page(page));
  EXPECT_TRUE(m_facts.askedForOrder.empty());
}

// A text with parameters of the page's own can't be asked about.
TEST_F(PostgresqlDialect, NullsOfAParameterizedListAreTurnedWithoutAQuestion) {
  PageSpec page;
  page.branches = {{u"SELECT id, name FROM customer", u"city = :city", u""}};
  page.keys = {{u"name", u"name", false, varnel::Null()}, {u"id", u"id", true, String(u"42")}};
  EXPECT_NE(std::string::npos, Page(page).find("ORDER BY name ASC NULLS FIRST,id ASC"));
  EXPECT_TRUE(m_facts.askedForOrder.empty());
}

// The nearest city among the rows without a name is found by an index on (name, city, id).
TEST_F(PostgresqlDialect, TheNearestValueBesideNullsIsAskedForInTheOrderOfAnIndex) {
  m_facts.sorts = hostlinux::SortWork::Groups;
  PageSpec page;
  page.keys = {{u"name", u"name", false, varnel::Null()},
               {u"city", u"city", true, String(u"Ulm")},
               {u"id", u"id", false, String(u"42")}};
  EXPECT_EQ(
      "(SELECT id, name FROM customer WHERE name is null and city = 'Ulm' and id < '42'"
      " ORDER BY name DESC NULLS LAST,city ASC,id DESC LIMIT 10)"
      " UNION ALL (SELECT id, name FROM customer WHERE name is null and city > 'Ulm' and city = (SELECT city "
      "FROM"
      " customer WHERE name is null and city > 'Ulm' ORDER BY name ASC NULLS FIRST, city ASC LIMIT 1)"
      " ORDER BY name DESC NULLS LAST,city ASC,id DESC LIMIT 10)"
      " UNION ALL (SELECT id, name FROM customer WHERE name is null and city > 'Ulm' and city > (SELECT city "
      "FROM"
      " customer WHERE name is null and city > 'Ulm' ORDER BY name ASC NULLS FIRST, city ASC LIMIT 1)"
      " ORDER BY name ASC NULLS FIRST,city ASC,id DESC LIMIT 10)"
      " LIMIT 10",
      Page(page));
}

TEST_F(PostgresqlDialect, ASortIsAStepOfAPlanAndNoName) {
  EXPECT_TRUE(hostlinux::IsSortOfPlan("Sort  (cost=1.00..2.00 rows=10 width=25)"));
  EXPECT_TRUE(hostlinux::IsSortOfPlan("   ->  Incremental Sort  (cost=0.95..84406.39 rows=199800 width=25)"));
  EXPECT_FALSE(hostlinux::IsSortOfPlan(
      "  ->  Index Scan using \"Sort  (x\" on item  (cost=0.43..1.0 rows=1 width=25)"));
  EXPECT_FALSE(hostlinux::IsSortOfPlan("        Sort Key: name NULLS FIRST, id DESC"));
  EXPECT_FALSE(hostlinux::IsSortOfPlan("Limit  (cost=0.43..4.29 rows=10 width=25)"));
  EXPECT_FALSE(hostlinux::IsSortOfPlan(""));
}

TEST_F(PostgresqlDialect, NamesAreSpelledAsInTheText) {
  const auto names =
      hostlinux::SpelledNames(u"SELECT TOP 5 t.Id, Price AS [The Sum], COUNT(*) AS N, \"Kept\" FROM t");
  EXPECT_EQ(u"Id", names.at(u"id"));
  EXPECT_EQ(u"The Sum", names.at(u"the sum"));
  EXPECT_EQ(u"N", names.at(u"n"));
  EXPECT_EQ(3U, names.size());
}

}  // namespace
