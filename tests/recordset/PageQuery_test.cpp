// The SQL of each kind of read, character for character.
#include "varnel/recordset/PageQuery.h"

#include <gtest/gtest.h>

#include "host-fake/ErrorOf.h"
#include "varnel/automation/Convert.h"

namespace varnel {
namespace {

constexpr StringView kQuery = u"SELECT id, name FROM customer WHERE active = 1";

struct Read {
  StringView query = kQuery;
  StringView sort = u"name";
  String keyList = u"id";
  Integer navType = 0;
  std::vector<Variant> keys = {};
  PageTop top = {10, false, -1};
};

String SqlOf(const Read& read) {
  PersistedState state;
  state.NavType = read.navType;
  state.SortFields = read.sort;
  state.KeyValues = read.keys;
  std::vector<String> branches;
  for (const String& branch : Split(read.query, u" UNION ")) branches.push_back(branch);
  return BuildReadQuery(branches, state, ParseSortFields(state, read.keyList), read.top);
}

Long ErrorNumber(const Read& read) {
  return hostfake::NumberOf([&] { SqlOf(read); });
}

const std::vector<Variant> kSmith = {u"Smith", u"42"};

TEST(PageQuery, FirstPage) {
  EXPECT_EQ(SqlOf({}), u"SELECT TOP 10 id, name FROM customer WHERE (  active = 1) ORDER BY name ASC,id ASC");
}

TEST(PageQuery, NextPage) {
  EXPECT_EQ(SqlOf({.navType = 1, .keys = kSmith}),
            u"SELECT TOP 10 id, name FROM customer WHERE (  active = 1) AND (name > 'Smith' or "
            u"(name = 'Smith' and id > '42')) ORDER BY name ASC,id ASC");
}

TEST(PageQuery, PreviousPage) {
  EXPECT_EQ(
      SqlOf({.navType = 2, .keys = {u"Jones", u"7"}}),
      u"SELECT TOP 10 id, name FROM customer WHERE (  active = 1) AND ((name < 'Jones' or name is null) "
      u"or (name = 'Jones' and (id < '7' or id is null))) ORDER BY name DESC,id DESC");
}

TEST(PageQuery, LastPage) {
  EXPECT_EQ(SqlOf({.navType = 3}),
            u"SELECT TOP 10 id, name FROM customer WHERE (  active = 1) ORDER BY name DESC,id DESC");
}

TEST(PageQuery, NextPageBehindANull) {
  EXPECT_EQ(SqlOf({.navType = 1, .keys = {Null(), u"42"}}),
            u"SELECT TOP 10 id, name FROM customer WHERE (  active = 1) AND (name is not null or "
            u"(name is null and id > '42')) ORDER BY name ASC,id ASC");
}

TEST(PageQuery, MixedDirectionsWithoutAWhere) {
  EXPECT_EQ(
      SqlOf({.query = u"SELECT id, name FROM customer", .sort = u"name DESC", .navType = 1, .keys = kSmith}),
      u"SELECT TOP 10 id, name FROM customer WHERE ((name < 'Smith' or name is null) or "
      u"(name = 'Smith' and id > '42')) ORDER BY name DESC,id ASC");
}

TEST(PageQuery, JumpThreePagesAhead) {
  EXPECT_EQ(SqlOf({.navType = 1, .keys = kSmith, .top = {10, true, 30}}),
            u"SELECT TOP  10 * FROM (SELECT TOP 30 id, name FROM customer WHERE (  active = 1) AND "
            u"(name > 'Smith' or (name = 'Smith' and id > '42')) ORDER BY name ASC,id ASC) as OUTPUT  "
            u"ORDER BY name DESC,id DESC");
}

TEST(PageQuery, NextPageOfAUnion) {
  EXPECT_EQ(SqlOf({.query = u"SELECT a FROM t UNION SELECT a FROM u",
                   .sort = u"",
                   .keyList = u"a",
                   .navType = 1,
                   .keys = {u"5"}}),
            u"(SELECT TOP 10 a FROM t WHERE a > '5') UNION (SELECT TOP 10 a FROM u WHERE a > '5') "
            u"ORDER BY a ASC");
}

TEST(PageQuery, ANestedUnionIsSortedOnceMoreOutside) {
  EXPECT_EQ(
      SqlOf({.query = u"SELECT a FROM t UNION SELECT a FROM u",
             .sort = u"",
             .keyList = u"a",
             .navType = 1,
             .keys = {u"5"},
             .top = {10, true, 20}}),
      u"(SELECT TOP  10 * FROM (SELECT TOP 20 a FROM t WHERE a > '5' ORDER BY a ASC) as OUTPUT  ORDER BY "
      u"a DESC) UNION (SELECT TOP  10 * FROM (SELECT TOP 20 a FROM u WHERE a > '5' ORDER BY a ASC) as "
      u"OUTPUT  ORDER BY a DESC) ORDER BY a ASC");
}

TEST(PageQuery, DistinctStaysInFrontOfTheTop) {
  EXPECT_EQ(SqlOf({.query = u"select distinct id, name from customer"}),
            u"SELECT DISTINCT TOP 10 id, name from customer ORDER BY name ASC,id ASC");
  EXPECT_EQ(SqlOf({.query = u"SELECT DISTINCT a FROM t",
                   .sort = u"",
                   .keyList = u"a",
                   .navType = 2,
                   .keys = {u"5"},
                   .top = {10, true, 20}}),
            u"SELECT DISTINCT TOP  10 * FROM (SELECT DISTINCT TOP 20 a FROM t WHERE (a < '5' or a is null) "
            u"ORDER BY a DESC) as OUTPUT  ORDER BY a ASC");
}

// Only 15 characters are looked at, so that a longer word counts too and loses its end.
TEST(PageQuery, AWordThatBeginsLikeDistinctCountsAsDistinct) {
  EXPECT_EQ(SqlOf({.query = u"SELECT DISTINCTa FROM t", .sort = u"", .keyList = u"a"}),
            u"SELECT DISTINCT TOP 10  FROM t ORDER BY a ASC");
}

TEST(PageQuery, AnythingElseLosesItsFirstSevenCharacters) {
  EXPECT_EQ(SqlOf({.query = u"EXECUTE x", .sort = u"", .keyList = u"a"}), u"SELECT TOP 10  x ORDER BY a ASC");
  EXPECT_EQ(SqlOf({.query = u"EXEC", .sort = u"", .keyList = u"a"}), u"SELECT TOP 10  ORDER BY a ASC");
}

TEST(PageQuery, ANullAtTheEndOfADescendingReadEndsIt) {
  EXPECT_EQ(SqlOf({.query = u"SELECT a, b FROM t",
                   .sort = u"a, b DESC",
                   .keyList = u"a,b",
                   .navType = 1,
                   .keys = {u"1", Null()}}),
            u"SELECT TOP 10 a, b FROM t WHERE (a > '1' or (a = '1' and 0=1)) ORDER BY a ASC,b DESC");
}

TEST(PageQuery, ThreeFieldsNest) {
  EXPECT_EQ(
      SqlOf({.query = u"SELECT a, b, c FROM t",
             .sort = u"a, b",
             .keyList = u"c",
             .navType = 1,
             .keys = {u"1", u"2", u"3"}}),
      u"SELECT TOP 10 a, b, c FROM t WHERE (a > '1' or (a = '1' and (b > '2' or (b = '2' and c > '3')))) "
      u"ORDER BY a ASC,b ASC,c ASC");
}

TEST(PageQuery, QuotesInAKeyAreDoubled) {
  EXPECT_EQ(
      SqlOf({.query = u"SELECT a FROM t", .sort = u"", .keyList = u"a", .navType = 1, .keys = {u"O'Brien"}}),
      u"SELECT TOP 10 a FROM t WHERE a > 'O''Brien' ORDER BY a ASC");
}

TEST(PageQuery, AQualifiedSortLosesItsQualifierOutsideOnly) {
  const Read read{.query = u"SELECT c.name FROM c", .sort = u"c.name", .keyList = u"c.name"};
  EXPECT_EQ(SqlOf(read), u"SELECT TOP 10 c.name FROM c ORDER BY c.name ASC");
  EXPECT_EQ(
      SqlOf({.query = u"SELECT d.c.name FROM d.c",
             .sort = u"d.c.name",
             .keyList = u"d.c.name",
             .navType = 1,
             .keys = {u"x"},
             .top = {10, true, 20}}),
      u"SELECT TOP  10 * FROM (SELECT TOP 20 d.c.name FROM d.c WHERE d.c.name > 'x' ORDER BY d.c.name ASC) "
      u"as OUTPUT  ORDER BY c.name DESC");
}

TEST(PageQuery, AnAliasSortsAndItsExpressionCompares) {
  EXPECT_EQ(SqlOf({.query = u"SELECT id, Upper(name) AS un FROM t",
                   .sort = u"Upper(name) AS un",
                   .navType = 1,
                   .keys = kSmith}),
            u"SELECT TOP 10 id, Upper ( name ) AS un FROM t WHERE (Upper(name) > 'Smith' or (Upper(name) = "
            u"'Smith' and id > '42')) ORDER BY un ASC,id ASC");
}

TEST(PageQuery, TheQuerysOwnOrderIsIgnored) {
  EXPECT_EQ(SqlOf({.query = u"SELECT a FROM t ORDER BY z", .sort = u"", .keyList = u"a"}),
            u"SELECT TOP 10 a FROM t ORDER BY a ASC");
}

TEST(PageQuery, TheConditionGoesInFrontOfTheGroups) {
  EXPECT_EQ(SqlOf({.query = u"SELECT a FROM t WHERE b=1 GROUP BY a HAVING c COMPUTE d",
                   .sort = u"",
                   .keyList = u"a",
                   .navType = 1,
                   .keys = {u"5"}}),
            u"SELECT TOP 10 a FROM t WHERE (  b=1) AND a > '5' GROUP BY a HAVING c COMPUTE d ORDER BY a ASC");
}

TEST(PageQuery, AQuerysOwnTopGetsASecondOne) {
  EXPECT_EQ(SqlOf({.query = u"SELECT TOP 5 a FROM t", .sort = u"", .keyList = u"a"}),
            u"SELECT TOP 10 TOP 5 a FROM t ORDER BY a ASC");
}

TEST(PageQuery, AJumpToThePageItselfTakesNothing) {
  EXPECT_EQ(
      SqlOf({.query = u"SELECT a FROM t",
             .sort = u"",
             .keyList = u"a",
             .navType = 1,
             .keys = {u"5"},
             .top = {10, true, 0}}),
      u"SELECT TOP  10 * FROM (SELECT TOP 0 a FROM t WHERE a > '5' ORDER BY a ASC) as OUTPUT  ORDER BY a "
      u"DESC");
}

TEST(PageQuery, TabsAreBlanksAlsoInLiterals) {
  EXPECT_EQ(SqlOf({.query = u"SELECT\ta FROM t WHERE b='x\ty'", .sort = u"", .keyList = u"a"}),
            u"SELECT TOP 10 a FROM t WHERE (  b= 'x y') ORDER BY a ASC");
}

TEST(PageQuery, TooFewKeysAreOutOfBounds) { EXPECT_EQ(ErrorNumber({.navType = 1, .keys = {u"Smith"}}), 9); }

TEST(PageQuery, KeysTooManyDoNoHarm) {
  EXPECT_EQ(SqlOf({.query = u"SELECT a FROM t", .sort = u"", .keyList = u"a", .navType = 1, .keys = kSmith}),
            u"SELECT TOP 10 a FROM t WHERE a > 'Smith' ORDER BY a ASC");
}

TEST(PageQuery, AnEmptyQueryIsOutOfBounds) {
  EXPECT_EQ(ErrorNumber({.query = u""}), 9);
  EXPECT_EQ(ErrorNumber({.query = u"  "}), 9);
}

TEST(KeyTexts, OnlyATimestampGetsTheFixedForm) {
  const Date date = MakeDate({2001, 3, 5, 14, 7, 9});
  EXPECT_EQ(KeyValueToText(date, 135), Variant(u"20010305 14:07:09"));
  EXPECT_EQ(KeyValueToText(date, 7), Variant(u"3/5/2001 2:07:09 PM"));
  EXPECT_EQ(KeyValueToText(Long{42}, 3), Variant(u"42"));
  EXPECT_EQ(KeyValueToText(1.5, 5), Variant(u"1.5"));
  EXPECT_EQ(KeyValueToText(u"x", 202), Variant(u"x"));
}

TEST(KeyTexts, NullStaysNull) {
  EXPECT_EQ(KeyValueToText(Null(), 135), Variant(Null()));
  EXPECT_EQ(KeyValueToText(Null(), 3), Variant(Null()));
}

// Beside the text: what it was made of.
TEST(PageQuery, TheReadAsData) {
  PersistedState state;
  state.NavType = nav_type::kPrevious;
  state.SortFields = u"Upper(name) AS un";
  state.KeyValues = {u"O'BRIEN", Null()};
  std::vector<String> branches = {
      u"SELECT id, Upper(name) AS un FROM c WHERE a=1 GROUP BY id HAVING b ORDER BY x",
      u"SELECT DISTINCT id FROM d"};
  const PageQuery query = BuildRead(branches, state, ParseSortFields(state, u"id"), {10, true, 30});
  EXPECT_EQ(query.text.substr(0, 12), u"(SELECT TOP ");
  const host::PageSpec& page = query.page;
  ASSERT_EQ(page.branches.size(), 2u);
  EXPECT_EQ(page.branches[0].select, u"SELECT id, Upper ( name ) AS un FROM c");
  EXPECT_EQ(page.branches[0].where, u"  a=1");
  EXPECT_EQ(page.branches[0].grouping, u" GROUP BY id HAVING b");
  EXPECT_EQ(page.branches[1].select, u"SELECT DISTINCT id FROM d");
  EXPECT_EQ(page.branches[1].where, u"");
  ASSERT_EQ(page.keys.size(), 2u);
  EXPECT_EQ(page.keys[0].name, u"un");
  EXPECT_EQ(page.keys[0].expression, u"Upper(name)");
  EXPECT_FALSE(page.keys[0].ascending);
  EXPECT_EQ(ToText(page.keys[0].anchor), u"O'BRIEN");
  EXPECT_EQ(page.keys[1].name, u"id");
  EXPECT_EQ(page.keys[1].expression, u"id");
  EXPECT_TRUE(page.keys[1].anchor.IsNull());
  EXPECT_TRUE(page.behindAnchor);
  EXPECT_EQ(page.rows, 10);
  EXPECT_EQ(page.way, 30);
}

TEST(PageQuery, AFirstPageAsDataHasNoAnchor) {
  PersistedState state;
  state.NavType = nav_type::kFirst;
  std::vector<String> branches = {u"SELECT id FROM c"};
  const host::PageSpec page = BuildRead(branches, state, ParseSortFields(state, u"id"), {7}).page;
  EXPECT_FALSE(page.behindAnchor);
  EXPECT_EQ(page.rows, 7);
  EXPECT_EQ(page.way, -1);
}

}  // namespace
}  // namespace varnel
