// The rewritten texts against the engine: what comes back is what the library's server would have given.
#include "host-fake/ErrorOf.h"
#include "tests/database/TestDatabase.h"

namespace {

using hostfake::NumberOf;

class SqliteLive : public TestDatabase {
 protected:
  SqliteLive() {
    Run(u"CREATE TABLE t (id INT NOT NULL PRIMARY KEY, name VARCHAR(50) COLLATE NOCASE, price REAL, day "
        u"DATETIME, free, "
        u"born DATE, flag BIT)");
    Run(u"INSERT INTO t VALUES (1, 'ant', 0.1, '2001-03-05 14:07:09', 5, '2001-03-05', 1), "
        u"(2, 'Bee', 0.3, '2001-03-06 00:00:00', 40, '2001-03-06', 0), "
        u"(10, 'cat', 2.5, NULL, 'x', NULL, NULL), "
        u"(20, NULL, 10, '2001-12-31 23:59:59', NULL, '2001-12-31', 1)");
    Run(u"CREATE VIEW v AS SELECT name, id * 2 AS twice, SUM(price) AS total FROM t GROUP BY name, id");
  }
};

TEST_F(SqliteLive, TopInPlainDistinctAndNestedForm) {
  EXPECT_EQ("1;2", Rows(u"SELECT TOP 2 id FROM t ORDER BY id ASC"));
  EXPECT_EQ("1;2", Rows(u"SELECT DISTINCT TOP 2 id FROM t ORDER BY id ASC"));
  EXPECT_EQ("", Rows(u"SELECT TOP 0 id FROM t"));
  EXPECT_EQ(
      "10;2",
      Rows(u"SELECT TOP  2 * FROM (SELECT TOP 3 id FROM t ORDER BY id ASC) as OUTPUT  ORDER BY id DESC"));
  EXPECT_EQ("2",
            Rows(u"SELECT TOP  2 * FROM (SELECT TOP 1 id FROM t WHERE id > '1' ORDER BY id ASC) as OUTPUT  "
                 u"ORDER BY id DESC"));
}

TEST_F(SqliteLive, AUnionOfTopsTakesTheNearestRowsOfEachBranch) {
  Run(u"CREATE TABLE u (b INT)");
  Run(u"INSERT INTO u VALUES (30), (3), (2), (7)");
  EXPECT_EQ("2;3;7;10;20", Rows(u"(SELECT TOP 3 id FROM t WHERE id > '1') UNION (SELECT TOP 3 b FROM u WHERE "
                                u"b > '1') ORDER BY id ASC"));
  EXPECT_EQ("30;20;10;7",
            Rows(u"(SELECT TOP 2 t.id FROM t) UNION (SELECT TOP 2 b FROM u) ORDER BY t.id DESC"));
}

TEST_F(SqliteLive, ANestedUnionRuns) {
  EXPECT_EQ("20;10;2", Rows(u"(SELECT TOP  2 * FROM (SELECT TOP 2 id FROM t WHERE id > '1' ORDER BY id ASC) "
                            u"as OUTPUT  ORDER BY id "
                            u"DESC) UNION (SELECT TOP  1 * FROM (SELECT TOP 3 id FROM t ORDER BY id DESC) as "
                            u"OUTPUT  ORDER BY id "
                            u"DESC) ORDER BY id DESC"));
}

// A visitor's sort can name any function of the engine, and one that makes a gigabyte can't be interrupted.
TEST_F(SqliteLive, AValueOfMoreThan8MegabytesIsRefused) {
  EXPECT_EQ("8388608", Rows(u"SELECT length(zeroblob(8388608))"));
  EXPECT_THROW(Rows(u"SELECT id FROM t ORDER BY randomblob(8388609)"), varnel::Error);
  EXPECT_THROW(Rows(u"SELECT length(hex(zeroblob(5000000)))"), varnel::Error);
}

TEST_F(SqliteLive, AQueryWithItsOwnTopIsRefused) {
  EXPECT_EQ(hostlinux::provider_error::kSyntax, NumberOf([&] { Rows(u"SELECT TOP 10 TOP 5 id FROM t"); }));
}

TEST_F(SqliteLive, KeysOfNumbersComeAsText) {
  EXPECT_EQ("10;20", Rows(u"SELECT id FROM t WHERE id > '2' ORDER BY id"));
  EXPECT_EQ("10;20", Rows(u"SELECT id FROM t WHERE price > '0.3' ORDER BY id"));
  EXPECT_EQ("2", Rows(u"SELECT id FROM t WHERE price = '0.3'"));
  EXPECT_EQ("10;20", Rows(u"SELECT id FROM t WHERE id * 1 > '2' ORDER BY id"));
}

TEST_F(SqliteLive, ADoubleMatchesItsTextOfFifteenDigits) {
  Run(u"INSERT INTO t (id, price) VALUES (50, 0.1 + 0.2)");
  EXPECT_EQ("2;50", Rows(u"SELECT id FROM t WHERE price = '0.3' ORDER BY id"));
  EXPECT_EQ("1", Rows(u"SELECT id FROM t WHERE price < '0.3'"));
  EXPECT_EQ("50", Rows(u"SELECT id FROM t WHERE id > '2' AND price * 1 = '0.3'"));
}

TEST_F(SqliteLive, AnUntypedColumnIsComparedAsWhatItHolds) {
  EXPECT_EQ("40", Rows(u"SELECT free FROM t WHERE free > '5' AND free <> 'x'"));
  EXPECT_EQ("x", Rows(u"SELECT free FROM t WHERE free = 'x'"));
}

TEST_F(SqliteLive, AggregatesAndExpressionsOfAViewAreComparedAsNumbers) {
  EXPECT_EQ("cat;-", Rows(u"SELECT name FROM v WHERE total > '0.3' ORDER BY twice"));
  EXPECT_EQ("cat;-", Rows(u"SELECT name FROM v WHERE twice > '4' ORDER BY twice"));
}

TEST_F(SqliteLive, AnExpressionThatIsTextStaysText) {
  Run(u"INSERT INTO t (id, name) VALUES (60, '7'), (61, '70'), (62, '8')");
  EXPECT_EQ("61;62",
            Rows(u"SELECT id FROM t WHERE upper(name) > '7' AND id > '59' AND id < '63' ORDER BY id"));
}

TEST_F(SqliteLive, DateKeysFindTheStoredDates) {
  EXPECT_EQ("2;20", Rows(u"SELECT id FROM t WHERE day > '20010305 14:07:09' ORDER BY id"));
  EXPECT_EQ("1", Rows(u"SELECT id FROM t WHERE day = '20010305 14:07:09'"));
  EXPECT_EQ("1",
            Rows(u"SELECT x.i FROM (SELECT id AS i, day AS d FROM t) x WHERE x.d = '20010305 14:07:09'"));
  EXPECT_EQ("2", Rows(u"SELECT id FROM t WHERE day = {d '2001-03-06'}"));
  EXPECT_EQ("1;2", Rows(u"SELECT id FROM t WHERE (day <= {ts '2001-03-06 00:00:00'}OR id = 0) ORDER BY id"));
}

TEST_F(SqliteLive, ADayWithoutTimeIsMidnight) {
  EXPECT_EQ("2", Rows(u"SELECT id FROM t WHERE born = '20010306 00:00:00'"));
  EXPECT_EQ("20", Rows(u"SELECT id FROM t WHERE born > '20010306 00:00:00'"));
  EXPECT_EQ("1", Rows(u"SELECT id FROM t WHERE born < {d '2001-03-06'}"));
  EXPECT_EQ("2;20", Rows(u"SELECT id FROM t WHERE born >= {d '2001-03-06'} ORDER BY id"));
}

TEST_F(SqliteLive, TruthValuesComeAsTheirNames) {
  EXPECT_EQ("1;20", Rows(u"SELECT id FROM t WHERE flag = 'True' ORDER BY id"));
  EXPECT_EQ("2", Rows(u"SELECT id FROM t WHERE flag < 'True'"));
}

TEST_F(SqliteLive, NullsAreLowest) {
  EXPECT_EQ("-;ant;Bee;cat", Rows(u"SELECT name FROM t ORDER BY name ASC"));
  EXPECT_EQ("cat;Bee;ant;-", Rows(u"SELECT name FROM t ORDER BY name DESC"));
}

TEST_F(SqliteLive, ACollatedColumnComparesAsItSorts) {
  EXPECT_EQ("Bee;cat", Rows(u"SELECT name FROM t WHERE name > 'ANT' ORDER BY name"));
}

TEST_F(SqliteLive, PatternsMatchAsOnTheServer) {
  Run(u"INSERT INTO t (id, name) VALUES (70, '50%[a]_'), (71, '50x[a]y'), (72, 'a\\b')");
  EXPECT_EQ("70", Rows(u"SELECT id FROM t WHERE name LIKE N'50[%]%[[]a][_]'"));
  EXPECT_EQ("72", Rows(u"SELECT id FROM t WHERE name LIKE 'a\\[b]'"));
  EXPECT_EQ("1;2", Rows(u"SELECT id FROM t WHERE name LIKE '[a-b][^x]_' AND id < 50 ORDER BY id"));
  EXPECT_EQ("10", Rows(u"SELECT id FROM t WHERE name NOT LIKE '[a-b]%' AND id < 50"));
}

TEST_F(SqliteLive, CatalogueShapesRun) {
  Run(u"CREATE TABLE fav (USERID VARCHAR(20), PRODUCTID INT, PRESENT INT)");
  Run(u"INSERT INTO fav VALUES ('demo', 2, 1)");
  EXPECT_EQ("10,-;2,1", Rows(u"SELECT DISTINCT TOP 2 P.id , fav.PRESENT FROM t P LEFT OUTER JOIN fav ON "
                             u"fav.USERID= 'demo' AND P.id "
                             u"= fav.PRODUCTID WHERE (  ( P.id > 1 ) AND ( day <= {d '2002-01-01' }OR day IS "
                             u"NULL ) ) AND (P.id < "
                             u"'20' or P.id is null) ORDER BY P.id DESC"));
  EXPECT_EQ(
      "1,1",
      Rows(u"SELECT fav.PRESENT, COUNT ( * ) FROM fav WHERE fav.USERID =N'demo' GROUP BY fav.PRESENT HAVING "
           u"COUNT ( * ) >= '1'"));
}

TEST_F(SqliteLive, ACorrelatedSubqueryKnowsTheOuterColumn) {
  EXPECT_EQ("10;20", Rows(u"SELECT id FROM t WHERE EXISTS (SELECT 1 WHERE t.id > '2') ORDER BY id"));
}

TEST_F(SqliteLive, AWithClauseNamesTablesOfTheStatement) {
  EXPECT_EQ("10;20", Rows(u"WITH w AS (SELECT id AS k FROM t) SELECT k FROM w WHERE k > '2' ORDER BY k"));
}

}  // namespace
