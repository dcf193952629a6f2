// The statements of a page's read, and the literals that become parameters.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "host-linux/database/dialect/SqliteDialect.h"
#include "tests/database/FakeFacts.h"
#include "varnel/recordset/PageQuery.h"
#include "varnel/recordset/UnionBranches.h"

namespace hostlinux {
namespace {

using varnel::Null;
using varnel::PageTop;
using varnel::String;
using varnel::Variant;
using Texts = std::vector<std::string>;

// What a list asks for: the next page behind the row of `keys`, where nothing else is said.
struct Read {
  String query = u"SELECT id, name FROM customer WHERE active = 1";
  String sort = u"name";
  std::vector<Variant> keys = {u"Smith", u"42"};
  varnel::Integer navType = varnel::nav_type::kNext;
  PageTop top = {10, false, -1};
  String keyList = u"id";
};

varnel::host::PageSpec PageOf(const Read& read) {
  varnel::PersistedState state;
  state.NavType = read.navType;
  state.SortFields = read.sort;
  state.KeyValues = read.keys;
  std::vector<String> branches = varnel::SplitUnionBranches(read.query);
  return varnel::BuildRead(branches, state, varnel::ParseSortFields(state, read.keyList), read.top).page;
}

class PageSeek : public testing::Test {
 protected:
  // The id may be the row's number, so that no read is a row value.
  PageSeek() {
    m_facts.types = {
        {u"id", u"INTEGER"}, {u"name", u"VARCHAR(50)"}, {u"price", u"REAL"}, {u"day", u"DATETIME"}};
    m_facts.columns = {{u"id", u"INTEGER"}, {u"name", u"VARCHAR(50)"}};
  }

  Texts Steps(const Read& read) {
    Texts texts;
    for (const std::u16string& text : RewritePageForSqlite(PageOf(read), m_facts))
      texts.push_back(varnel::ToUtf8(text));
    return texts;
  }

  // Of each statement what stands between the last WHERE and ORDER BY.
  Texts Conditions(const Read& read) {
    Texts conditions;
    for (const std::string& text : Steps(read)) {
      const std::size_t where = text.find(" WHERE ") + 7;
      conditions.push_back(text.substr(where, text.rfind(" ORDER BY ") - where));
    }
    return conditions;
  }

  FakeFacts m_facts;
};

TEST_F(PageSeek, TheNextPageSeeksInTheSameNameAndThenBehindIt) {
  EXPECT_EQ(
      (Texts{"SELECT id, name FROM customer WHERE (  active = 1) AND name = 'Smith' and id > 42 ORDER BY "
             "name ASC,id ASC LIMIT 10",
             "SELECT id, name FROM customer WHERE (  active = 1) AND name > 'Smith' ORDER BY name ASC,id "
             "ASC LIMIT 10"}),
      Steps({}));
}

TEST_F(PageSeek, ThePreviousPageLooksForNullsLast) {
  EXPECT_EQ((Texts{"(  active = 1) AND name = 'Jones' and id < 7",
                   "(  active = 1) AND name = 'Jones' and id is null", "(  active = 1) AND name < 'Jones'",
                   "(  active = 1) AND name is null"}),
            Conditions({.keys = {u"Jones", u"7"}, .navType = 2}));
}

TEST_F(PageSeek, NobodyLooksForNullsWhereThereAreNone) {
  m_facts.notNull = {u"id", u"name"};
  const Read previous = {.query = u"SELECT id, name FROM customer", .keys = {u"Jones", u"7"}, .navType = 2};
  EXPECT_EQ((Texts{"name = 'Jones' and id < 7", "name < 'Jones'"}), Conditions(previous));
  m_facts.notNull = {u"id"};
  EXPECT_EQ((Texts{"name = 'Jones' and id < 7", "name < 'Jones'", "name is null"}), Conditions(previous));
}

TEST_F(PageSeek, AnOuterJoinOrAViewMayGiveNullsAllTheSame) {
  m_facts.notNull = {u"id", u"name"};
  Read previous = {.keys = {u"Jones", u"7"}, .navType = 2};
  for (const char16_t* from : {u"orders LEFT OUTER JOIN customer ON owner = id", u"customers",
                               u"(SELECT * FROM customers) customer", u"v customer"}) {
    previous.query = u"SELECT id, name FROM " + String(from);
    EXPECT_EQ(4u, Steps(previous).size()) << varnel::ToUtf8(from);
  }
  previous.query = u"SELECT id, name FROM orders INNER JOIN customer ON owner = id";
  EXPECT_EQ(2u, Steps(previous).size());
}

TEST_F(PageSeek, AnOuterJoinGivesNoNullsToTheTablesBeforeIt) {
  m_facts.notNull = {u"id", u"name"};
  m_facts.types[u"c.id"] = u"INTEGER";
  m_facts.types[u"c.name"] = u"VARCHAR(50)";
  m_facts.notNull.insert({u"c.id", u"c.name"});
  Read previous = {.keys = {u"Jones", u"7"}, .navType = 2};
  for (const char16_t* from :
       {u"customer LEFT JOIN orders ON owner = id", u"orders, customer LEFT OUTER JOIN city ON (home = city)",
        u"orders LEFT JOIN city ON town = city INNER JOIN customer ON owner = id"}) {
    previous.query = u"SELECT id, name FROM " + String(from);
    EXPECT_EQ(2u, Steps(previous).size()) << varnel::ToUtf8(from);
  }
  for (const char16_t* from :
       {u"customer FULL JOIN orders ON owner = id", u"customer RIGHT JOIN orders ON owner = id",
        u"orders LEFT JOIN (customer) ON owner = id", u"customer, (SELECT * FROM customers) other",
        u"customer LEFT JOIN customer AS parent ON parent.child = id", u"orders, main.customer"}) {
    previous.query = u"SELECT id, name FROM " + String(from);
    EXPECT_EQ(4u, Steps(previous).size()) << varnel::ToUtf8(from);
  }
  const Read called = {
      .query = u"SELECT c.id, c.name FROM customer AS c LEFT JOIN orders o ON o.owner = c.id",
      .sort = u"c.name",
      .keys = {u"Jones", u"7"},
      .navType = 2,
      .keyList = u"c.id"};
  EXPECT_EQ(2u, Steps(called).size());
}

TEST_F(PageSeek, BehindANullComeTheOtherNullsAndThenTheLowestValue) {
  EXPECT_EQ((Texts{"name is null and id > 42", "name >= ''"}),
            Conditions({.query = u"SELECT id, name FROM customer", .keys = {Null(), u"42"}}));
  m_facts.columns = {{u"id", u"INT"}, {u"day", u"DATETIME"}};
  EXPECT_EQ((Texts{"day is null and id > 42", "day >= -9e999"}),
            Conditions({.query = u"SELECT id, day FROM customer", .sort = u"day", .keys = {Null(), u"42"}}));
}

TEST_F(PageSeek, BehindANullThatIsReadDownwardOnlyTheSameNullsCome) {
  EXPECT_EQ(
      (Texts{"name is null and id > 10"}),
      Conditions({.query = u"SELECT id, name FROM customer", .sort = u"name DESC", .keys = {Null(), u"10"}}));
  EXPECT_EQ((Texts{"name is null and id < 10", "name is null and id is null"}),
            Conditions({.query = u"SELECT id, name FROM customer", .keys = {Null(), u"10"}, .navType = 2}));
}

TEST_F(PageSeek, BehindTheLastNullsComesNothing) {
  EXPECT_EQ((Texts{"(  active = 1) AND 0=1"}), Conditions({.keys = {Null(), Null()}, .navType = 2}));
}

TEST_F(PageSeek, MixedDirections) {
  EXPECT_EQ((Texts{"name = 'Smith' and id > 42", "name < 'Smith'", "name is null"}),
            Conditions({.query = u"SELECT id, name FROM customer", .sort = u"name DESC"}));
}

TEST_F(PageSeek, WhereTheEngineSortsGroupByGroupTheNearestGroupIsReadAlone) {
  m_facts.sorts = SortWork::Groups;
  const Texts steps = Steps({.query = u"SELECT id, name FROM customer", .sort = u"name DESC"});
  // Behind the name of the anchor row, and among the NULLs, one order is left.
  ASSERT_EQ(4u, steps.size());
  EXPECT_EQ(
      "SELECT id, name FROM customer WHERE name = 'Smith' and id > 42 ORDER BY name DESC,id ASC LIMIT 10",
      steps[0]);
  EXPECT_EQ(
      "SELECT id, name FROM customer WHERE name < 'Smith' and name = (SELECT name FROM customer WHERE name < "
      "'Smith' ORDER BY name DESC LIMIT 1) ORDER BY name DESC,id ASC LIMIT 10",
      steps[1]);
  EXPECT_EQ(
      "SELECT id, name FROM customer WHERE name < 'Smith' and name < (SELECT name FROM customer WHERE name < "
      "'Smith' ORDER BY name DESC LIMIT 1) ORDER BY name DESC,id ASC LIMIT 10",
      steps[2]);
  EXPECT_EQ("SELECT id, name FROM customer WHERE name is null ORDER BY name DESC,id ASC LIMIT 10", steps[3]);
}

const Read kFirst = {.sort = u"name DESC", .keys = {}, .navType = 0};

TEST_F(PageSeek, AFirstPageThatIsSortedInPartReadsTheLeadingValueAlone) {
  m_facts.sorts = SortWork::Groups;
  EXPECT_EQ(
      (Texts{
          "SELECT id, name FROM customer WHERE (  active = 1) and name = (SELECT name FROM customer WHERE ( "
          " active = 1) and name >= '' ORDER BY name DESC LIMIT 1) ORDER BY name DESC,id ASC LIMIT 10",
          "SELECT id, name FROM customer WHERE (  active = 1) and name < (SELECT name FROM customer WHERE ( "
          " active = 1) and name >= '' ORDER BY name DESC LIMIT 1) ORDER BY name DESC,id ASC LIMIT 10",
          "SELECT id, name FROM customer WHERE (  active = 1) and name is null ORDER BY name DESC,id ASC "
          "LIMIT 10"}),
      Steps(kFirst));
  Read whole = kFirst;
  whole.query = u"SELECT DISTINCT name, id FROM customer";
  m_facts.notNull = {u"id", u"name"};
  EXPECT_EQ(
      (Texts{"SELECT DISTINCT name, id FROM customer WHERE name = (SELECT name FROM customer ORDER BY name "
             "DESC LIMIT 1) ORDER BY name DESC,id ASC LIMIT 10",
             "SELECT DISTINCT name, id FROM customer WHERE name < (SELECT name FROM customer ORDER BY name "
             "DESC LIMIT 1) ORDER BY name DESC,id ASC LIMIT 10"}),
      Steps(whole));
}

TEST_F(PageSeek, ALastPageBeginsWithTheNulls) {
  m_facts.sorts = SortWork::Groups;
  Read last = kFirst;
  last.query = u"SELECT id, name FROM customer";
  last.navType = 3;
  EXPECT_EQ((Texts{"SELECT id, name FROM customer WHERE name is null ORDER BY name ASC,id DESC LIMIT 10",
                   "SELECT id, name FROM customer WHERE name = (SELECT name FROM customer WHERE name >= '' "
                   "ORDER BY name ASC LIMIT 1) ORDER BY name ASC,id DESC LIMIT 10",
                   "SELECT id, name FROM customer WHERE name > (SELECT name FROM customer WHERE name >= '' "
                   "ORDER BY name ASC LIMIT 1) ORDER BY name ASC,id DESC LIMIT 10"}),
            Steps(last));
}

TEST_F(PageSeek, OtherFirstPagesAreOneStatement) {
  // An index gives the order, or the whole is sorted.
  EXPECT_EQ((Texts{"SELECT id, name FROM customer WHERE (  active = 1) ORDER BY name DESC,id ASC LIMIT 10"}),
            Steps(kFirst));
  m_facts.sorts = SortWork::Groups;
  Read oneWay = kFirst;
  oneWay.sort = u"name DESC,id DESC";
  EXPECT_EQ((Texts{"SELECT id, name FROM customer WHERE (  active = 1) ORDER BY name DESC,id DESC LIMIT 10"}),
            Steps(oneWay));
  // No two reads are alike.
  Read random = kFirst;
  random.query = u"SELECT id, name FROM customer WHERE id > RANDOM()";
  EXPECT_EQ(1u, Steps(random).size());
}

TEST_F(PageSeek, ThreeKeys) {
  m_facts.columns = {{u"id", u"INT"}, {u"name", u"VARCHAR(50)"}, {u"day", u"DATETIME"}};
  EXPECT_EQ((Texts{"day = '2001-03-05 14:07:09' and name = 'a' and id > 5",
                   "day = '2001-03-05 14:07:09' and name > 'a'", "day > '2001-03-05 14:07:09'"}),
            Conditions({.query = u"SELECT id, name, day FROM t",
                        .sort = u"day,name",
                        .keys = {u"20010305 14:07:09", u"a", u"5"}}));
}

TEST_F(PageSeek, AJumpTakesAllRowsOfItsWay) {
  EXPECT_EQ(
      (Texts{
          "SELECT id, name FROM customer WHERE name = 'Smith' and id > 42 ORDER BY name ASC,id ASC LIMIT 30",
          "SELECT id, name FROM customer WHERE name > 'Smith' ORDER BY name ASC,id ASC LIMIT 30"}),
      Steps({.query = u"SELECT id, name FROM customer", .top = {10, true, 30}}));
  // The names of a result that has two of one name are no longer those of its columns.
  m_facts.columns = {{u"name", u"VARCHAR(50)"}, {u"name", u"VARCHAR(50)"}};
  EXPECT_EQ(Texts(), Steps({.query = u"SELECT id, name FROM customer", .top = {10, true, 30}}));
  EXPECT_EQ(Texts(), Steps({.top = {10, true, 0}}));
}

TEST_F(PageSeek, AnArmOfAUnionIsTheUnionOfItsBranchesArms) {
  EXPECT_EQ(
      (Texts{
          "SELECT * FROM (SELECT id, name FROM a WHERE name = 'Smith' and id > 42 ORDER BY 2 ASC,1 ASC LIMIT "
          "10) "
          "UNION SELECT * FROM (SELECT id, name FROM b WHERE (  x= 'y') AND name = 'Smith' and id > 42 ORDER "
          "BY "
          "2 ASC,1 ASC LIMIT 10) ORDER BY 2 ASC,1 ASC LIMIT 10",
          "SELECT * FROM (SELECT id, name FROM a WHERE name > 'Smith' ORDER BY 2 ASC,1 ASC LIMIT 10) UNION "
          "SELECT "
          "* FROM (SELECT id, name FROM b WHERE (  x= 'y') AND name > 'Smith' ORDER BY 2 ASC,1 ASC LIMIT 10) "
          "ORDER BY 2 ASC,1 ASC LIMIT 10"}),
      Steps({.query = u"SELECT id, name FROM a UNION SELECT id, name FROM b WHERE x='y'"}));
  // In the second branch the name of the result is another column.
  EXPECT_EQ(Texts(), Steps({.query = u"SELECT id, name FROM a UNION SELECT id, town AS name FROM b"}));
}

TEST_F(PageSeek, DistinctNeedsEveryKeyInTheList) {
  EXPECT_EQ(2u, Steps({.query = u"SELECT DISTINCT id, name FROM t"}).size());
  EXPECT_EQ(Texts(), Steps({.query = u"SELECT DISTINCT id FROM t"}));
}

TEST_F(PageSeek, WhatIsSortedByMustBeWhatIsCompared) {
  // In WHERE the name is the column's, in ORDER BY the item's.
  EXPECT_EQ(Texts(), Steps({.query = u"SELECT id, Upper(name) AS name FROM t"}));
  EXPECT_EQ(Texts(), Steps({.query = u"SELECT id, other name FROM t"}));
  EXPECT_EQ(2u, Steps({.query = u"SELECT id, c.name AS name FROM t c"}).size());
  EXPECT_EQ(2u,
            Steps({.query = u"SELECT id, Upper(name) AS un FROM t", .sort = u"Upper(name) AS un"}).size());
  EXPECT_EQ(Texts(), Steps({.query = u"SELECT id, Lower(name) AS un FROM t", .sort = u"Upper(name) AS un"}));
  EXPECT_EQ(2u, Steps({.query = u"SELECT id, o.name FROM c, o", .sort = u"c.name"}).size());
}

TEST_F(PageSeek, WhatIsNoPlainSelectIsReadByItsText) {
  for (const char16_t* query :
       {u"SELECT id, name FROM t GROUP BY id", u"SELECT COUNT(id) AS id, name FROM t",
        u"SELECT id, name FROM t NATURAL JOIN u", u"SELECT id, name FROM t WHERE a = 1) OR (b = 2",
        u"SELECT TOP 5 id, name FROM t", u"SELECT id, name FROM t except SELECT id, name FROM u",
        u"SELECT id, name FROM t -- all", u"WITH t AS (SELECT 1 id, 2 name) SELECT id, name FROM t",
        u"SELECT id, name FROM t LIMIT 3", u"SELECT id, name FROM t; DELETE FROM t"}) {
    EXPECT_EQ(Texts(), Steps({.query = query})) << varnel::ToUtf8(query);
  }
}

TEST_F(PageSeek, WhatIsNoPlainSortIsReadByTheText) {
  for (const char16_t* sort :
       {u"1", u"name collate NOCASE", u"name) or (1=1", u"name--", u"Upper(name)", u"name;"}) {
    EXPECT_EQ(Texts(), Steps({.sort = sort})) << varnel::ToUtf8(sort);
  }
  EXPECT_EQ(Texts(), Steps({.query = u"SELECT id, x FROM t", .sort = u"a or b AS x"}));
}

class Walks : public PageSeek {
 protected:
  Walks() {
    m_facts.sorts = SortWork::Everything;
    m_facts.types[u"c.name"] = u"VARCHAR(50)";
    m_facts.types[u"c.id"] = u"INTEGER";
    m_facts.types[u"o.state"] = u"VARCHAR(50)";
  }

  // The last statement, which is a walk where there is one.
  std::string Last(const Read& read) {
    const Texts steps = Steps(read);
    return steps.empty() ? std::string() : steps.back();
  }
  bool HasWalk(const String& query) {
    return Last({.query = query}).find("\"page key\"") != std::string::npos;
  }
};

TEST_F(Walks, WhereTheEngineWouldSortTheOrderCanBeWalkedThrough) {
  EXPECT_EQ(
      (Texts{
          "SELECT id, name FROM customer WHERE (  active = 1) AND name = 'Smith' and id > 42 ORDER BY name "
          "ASC,id ASC LIMIT 10",
          "SELECT id, name FROM customer WHERE (  active = 1) AND name > 'Smith' ORDER BY name ASC,id ASC "
          "LIMIT 10",
          "SELECT id, name FROM (SELECT _rowid_ AS \"page row\", name AS \"page key\", id AS \"page key 2\" "
          "FROM customer) AS \"page\" CROSS JOIN customer WHERE customer._rowid_ = +\"page row\" AND (  "
          "active = "
          "1) AND \"page key\" > 'Smith' ORDER BY \"page key\" ASC, \"page key 2\" ASC LIMIT 10"}),
      Steps({}));
}

TEST_F(Walks, OfAFirstPageAndInAJoin) {
  EXPECT_EQ(
      "SELECT DISTINCT c.id, c.name FROM (SELECT _rowid_ AS \"page row\", name AS \"page key\", id AS \"page "
      "key "
      "2\" FROM customer) AS "
      "\"page\" CROSS JOIN orders o INNER JOIN customer AS c ON o.owner = c.id LEFT JOIN notes n ON n.id = "
      "c.id WHERE "
      "c._rowid_ = +\"page row\" AND (  o.state = 'x') ORDER BY \"page key\" DESC, \"page key 2\" ASC LIMIT "
      "10",
      Last({.query = u"SELECT DISTINCT c.id, c.name FROM orders o INNER JOIN customer AS c ON o.owner = c.id "
                     u"LEFT JOIN "
                     u"notes n ON n.id = c.id WHERE o.state = 'x'",
            .sort = u"c.name DESC",
            .keys = {},
            .navType = 0,
            .keyList = u"c.id"}));
}

// An index that goes on with them gives the whole order: rows of the same name needn't be sorted.
TEST_F(Walks, TheFrontGivesTheSortColumnsOfItsTableUpToAnotherOnes) {
  m_facts.types[u"c.city"] = u"VARCHAR(50)";
  EXPECT_THAT(
      Last({.query =
                u"SELECT c.id, c.name, c.city, o.state FROM orders o INNER JOIN customer c ON o.owner = c.id "
                u"WHERE o.total > 5",
            .sort = u"c.name,c.city DESC,o.state",
            .keys = {},
            .navType = 0,
            .keyList = u"c.id"}),
      testing::HasSubstr("name AS \"page key\", city AS \"page key 2\" FROM customer) AS"));
}

TEST_F(Walks, NotInFrontOfATableWhoseColumnASubqueryHasToo) {
  m_facts.types[u"s.name"] = u"VARCHAR(50)";
  EXPECT_EQ(
      std::string::npos,
      Last({.query = u"SELECT s.id, s.name FROM customer c INNER JOIN (SELECT id, name FROM customer) s "
                     u"ON s.id = c.boss WHERE c.active = 1",
            .sort = u"s.name",
            .keys = {},
            .navType = 0,
            .keyList = u"s.id"})
          .find("\"page key\""));
}

TEST_F(Walks, AllColumnsOfOneTable) {
  EXPECT_NE(std::string::npos, Last({.query = u"SELECT * FROM customer WHERE active = 1"})
                                   .find("SELECT customer. * FROM (SELECT _rowid_"));
  EXPECT_FALSE(HasWalk(u"SELECT * FROM customer, orders WHERE active = 1"));
}

TEST_F(Walks, OnlyWhereTheTableIsSurelyThatOfTheSortAndKeepsItsRows) {
  EXPECT_TRUE(HasWalk(u"SELECT id, name FROM orders, customer WHERE active = 1"));
  EXPECT_FALSE(
      HasWalk(u"SELECT id, name FROM orders LEFT OUTER JOIN customer ON owner = id WHERE active = 1"));
  EXPECT_FALSE(HasWalk(u"SELECT id, name FROM customer FULL JOIN orders ON owner = id WHERE active = 1"));
  EXPECT_FALSE(HasWalk(u"SELECT id, name FROM customer a, customer b WHERE active = 1"));
  EXPECT_FALSE(HasWalk(u"SELECT id, name FROM customers WHERE active = 1"));
  EXPECT_FALSE(HasWalk(u"SELECT id, name FROM (SELECT * FROM customer) c WHERE active = 1"));
  EXPECT_FALSE(HasWalk(u"SELECT id, name FROM customer"));  // all rows are read either way
  EXPECT_FALSE(HasWalk(u"SELECT id, name FROM customer WHERE random() > 0"));
}

class RowValues : public PageSeek {
 protected:
  RowValues() {
    m_facts.types = {{u"name", u"VARCHAR(60)"}, {u"id", u"INT"}};
    m_facts.table = u"item";
    m_read.query = u"SELECT id, name FROM item i WHERE active = 1";
  }

  Read m_read;
};

TEST_F(RowValues, KeysOfOneTableThatAreAllReadUpward) {
  EXPECT_EQ(
      (Texts{"SELECT id, name FROM item i WHERE (  active = 1) AND (name, id) > ('Smith', 42) ORDER BY name "
             "ASC,id ASC LIMIT 10"}),
      Steps(m_read));
}

TEST_F(RowValues, OrDownwardWhereNoneCanBeNull) {
  m_read.navType = 2;
  EXPECT_EQ(4u, Steps(m_read).size());
  m_facts.notNull = {u"name", u"id"};
  EXPECT_EQ(
      (Texts{"SELECT id, name FROM item i WHERE (  active = 1) AND (name, id) < ('Smith', 42) ORDER BY name "
             "DESC,id DESC LIMIT 10"}),
      Steps(m_read));
}

// SQL compares a row with a NULL in it neither as less nor as greater; they lie behind all others, in order.
TEST_F(RowValues, DownwardTheNullsOfTheFirstKeyAreReadBehindTheRow) {
  m_read.navType = 2;
  m_facts.notNull = {u"id"};
  EXPECT_EQ((Texts{"(  active = 1) AND (name, id) < ('Smith', 42)", "(  active = 1) AND name is null"}),
            Conditions(m_read));
}

TEST_F(RowValues, NullsOfAKeyBehindTheFirstOneLieWithinTheRow) {
  m_facts.types[u"city"] = u"VARCHAR(20)";
  m_facts.notNull = {u"city", u"id"};
  m_read = {.query = u"SELECT id, name, city FROM item",
            .sort = u"city,name",
            .keys = {u"Ulm", u"Smith", u"42"},
            .navType = 2};
  EXPECT_EQ(
      (Texts{"city = 'Ulm' and (name, id) < ('Smith', 42)", "city = 'Ulm' and name is null", "city < 'Ulm'"}),
      Conditions(m_read));
}

TEST_F(RowValues, OfTheKeysAtTheEndThatAreReadOneWay) {
  m_facts.types[u"city"] = u"VARCHAR(20)";
  m_facts.notNull = {u"city"};
  m_read = {.query = u"SELECT id, name, city FROM item",
            .sort = u"city DESC,name",
            .keys = {u"Ulm", u"Smith", u"42"}};
  EXPECT_EQ((Texts{"city = 'Ulm' and (name, id) > ('Smith', 42)", "city < 'Ulm'"}), Conditions(m_read));
  m_read.keys[1] = varnel::Null();
  EXPECT_EQ(
      (Texts{"city = 'Ulm' and name is null and id > 42", "city = 'Ulm' and name >= ''", "city < 'Ulm'"}),
      Conditions(m_read));
}

TEST_F(RowValues, TheWalkThroughTheOrderComparesTheRowInItsFront) {
  m_facts.sorts = SortWork::Everything;
  const Texts steps = Steps(m_read);
  ASSERT_EQ(2u, steps.size());
  EXPECT_EQ(
      "SELECT id, name FROM (SELECT _rowid_ AS \"page row\", name AS \"page key\", id AS \"page key 2\" FROM "
      "item) AS "
      "\"page\" CROSS JOIN item i WHERE i._rowid_ = +\"page row\" AND (  active = 1) AND (\"page key\", "
      "\"page key 2\") > "
      "('Smith', 42) ORDER BY \"page key\" ASC, \"page key 2\" ASC LIMIT 10",
      steps[1]);
}

TEST_F(RowValues, NotWithAKeyThatMayBeTheRowsNumber) {
  m_facts.types[u"id"] = u"integer";
  EXPECT_EQ((Texts{"(  active = 1) AND name = 'Smith' and id > 42", "(  active = 1) AND name > 'Smith'"}),
            Conditions(m_read));
}

TEST_F(RowValues, NotWithRealKeysOrTwoTables) {
  m_read.query = u"SELECT id, name FROM item, other";
  EXPECT_EQ(2u, Steps(m_read).size());
  m_read.query = u"SELECT id, name FROM item";
  m_facts.types[u"name"] = u"REAL";
  m_read.keys = {u"1", u"42"};
  EXPECT_EQ(2u, Steps(m_read).size());
}

class LiftedLiterals : public PageSeek {
 protected:
  EngineStatement Translate(std::u16string_view sql) { return m_dialect.Translate(sql); }

  std::vector<EngineStatement> TranslatePage(const Read& read) {
    std::vector<EngineStatement> statements;
    const auto page = m_dialect.TranslatePage(PageOf(read));
    for (std::size_t i = 0; page && i < page->Count(); ++i) statements.push_back(page->Statement(i));
    return statements;
  }

  SqliteDialect m_dialect{m_facts};
};

TEST_F(LiftedLiterals, PagesThatDifferInAnchorsShareTheirStatements) {
  const auto first = TranslatePage({.query = u"SELECT id, name FROM t WHERE a = 'x'"});
  const std::size_t asked = m_facts.asked.size();
  const auto second =
      TranslatePage({.query = u"SELECT id, name FROM t WHERE a = 'O''Y'", .keys = {u"it's", u"1234"}});
  ASSERT_EQ(2u, second.size());
  EXPECT_EQ(
      "SELECT id, name FROM t WHERE (  a = ?1) AND name = ?2 and id > ?3 ORDER BY name ASC,id ASC LIMIT 10",
      second[0].sql);
  EXPECT_EQ((std::vector<BoundValue>{std::string("O'Y"), std::string("it's"), std::int64_t{1234}}),
            second[0].values);
  EXPECT_EQ("SELECT id, name FROM t WHERE (  a = ?1) AND name > ?2 ORDER BY name ASC,id ASC LIMIT 10",
            second[1].sql);
  EXPECT_EQ(first[1].sql, second[1].sql);
  EXPECT_EQ(asked, m_facts.asked.size());
}

TEST_F(LiftedLiterals, TheParametersOfATextHaveTheirValuesInAllStatementsOfItsPage) {
  const varnel::host::StatementParameters given{{{u"w", varnel::Long{5}}, {u"A", String(u"O'Y")}}, false};
  const auto page = m_dialect.TranslatePage(PageOf({.query = u"SELECT id, name FROM t WHERE a = :a"}), given);
  const auto literal = TranslatePage({.query = u"SELECT id, name FROM t WHERE a = 'O''Y'"});
  ASSERT_TRUE(page);
  ASSERT_EQ(literal.size(), page->Count());
  for (std::size_t i = 0; i < literal.size(); ++i) {
    EXPECT_EQ(literal[i].sql, page->Statement(i).sql);
    EXPECT_EQ(literal[i].values, page->Statement(i).values);
  }
}

TEST_F(LiftedLiterals, QuestionMarksAreCountedThroughAllBranches) {
  varnel::host::PageSpec page = PageOf({.query = u"SELECT id, name FROM t WHERE a = ?"});
  page.branches.push_back(page.branches.front());
  varnel::host::StatementParameters given{{{u"", String(u"x")}, {u"", String(u"y")}}, true};
  const auto statements = m_dialect.TranslatePage(page, given);
  ASSERT_TRUE(statements);
  const auto values = statements->Statement(0).values;
  for (const auto* value : {"x", "y"})
    EXPECT_EQ(1, std::count(values.begin(), values.end(), BoundValue(std::string(value)))) << value;
  given.values.pop_back();
  EXPECT_FALSE(m_dialect.TranslatePage(page, given));
}

TEST_F(LiftedLiterals, APageWhoseParametersNobodyBoundIsRunAsItsText) {
  EXPECT_FALSE(m_dialect.TranslatePage(PageOf({.query = u"SELECT id, name FROM t WHERE a = :a"})));
}

TEST_F(LiftedLiterals, AnotherWayOrSizeIsAnotherPage) {
  const Read read;
  Read other = read;
  TranslatePage(read);
  other.top.pageSize = 11;
  EXPECT_TRUE(TranslatePage(other)[0].sql.ends_with(" LIMIT 11"));
  other = read;
  other.sort = u"name DESC";
  EXPECT_NE(std::string::npos, TranslatePage(other)[1].sql.find("name < ?1"));
  other = read;
  other.keys[0] = Null();
  EXPECT_NE(std::string::npos, TranslatePage(other)[0].sql.find("name is null and id > ?1"));
}

TEST_F(LiftedLiterals, APageAsWrittenHasNoStatements) {
  SqliteDialect asWritten(m_facts, PageReads::AsWritten);
  EXPECT_FALSE(asWritten.TranslatePage(PageOf({})));
}

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
  const auto page = TranslatePage({.query = u"SELECT id, name FROM t WHERE state = 'open'"});
  ASSERT_EQ(2u, page.size());
  EXPECT_EQ(
      "SELECT id, name FROM t WHERE (  state = 'open') AND name = ?1 and id > ?2 ORDER BY name ASC,id ASC "
      "LIMIT 10",
      page[0].sql);
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
