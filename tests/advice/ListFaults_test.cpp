// What is said of a list by its texts alone.
#include "host-linux/advice/ListFaults.h"

#include <gmock/gmock.h>

namespace hostlinux {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using varnel::String;

std::vector<std::string> Faults(const ListTexts& list) {
  std::vector<std::string> faults;
  for (const String& fault : FindListFaults(list)) faults.push_back(varnel::ToUtf8(fault));
  return faults;
}

std::vector<std::string> FaultsOf(const String& query, const String& sort = u"", bool counts = false) {
  return Faults({query, u"id", sort, {}, counts});
}

TEST(ListFaults, ARightListHasNone) {
  EXPECT_THAT(
      FaultsOf(u"SELECT id, name FROM t WHERE a = 'x\nORDER BY y' AND b IN (SELECT b FROM u ORDER BY b)",
               u"name DESC, id"),
      IsEmpty());
  EXPECT_THAT(FaultsOf(u"SELECT id,\n name FROM t WHERE\ta = 1"), IsEmpty());
  EXPECT_THAT(FaultsOf(u"SELECT id, n FROM (SELECT id, COUNT(*) AS n FROM t GROUP BY id) AS g", u"n DESC"),
              IsEmpty());
  EXPECT_THAT(FaultsOf(u""), IsEmpty());
}

TEST(ListFaults, ALineBreakHidesAKeyword) {
  for (const char16_t* query :
       {u"SELECT id FROM t\nORDER BY id", u"SELECT id\r\nFROM t", u"SELECT id FROM t WHERE\nid > 1",
        u"SELECT id FROM t UNION\nSELECT id FROM u"}) {
    EXPECT_THAT(FaultsOf(query), ElementsAre(HasSubstr("A line break stands beside ")));
  }
  EXPECT_THAT(
      FaultsOf(u"SELECT id FROM t\norder BY id"),
      ElementsAre(
          "A line break stands beside ORDER, which isn't seen as a keyword then: only blanks separate "
          "the words of a list's query. Write it on one line, or join its lines with blanks."));
}

TEST(ListFaults, AnOrderOfTheQuerysOwnIsIgnored) {
  EXPECT_THAT(
      FaultsOf(u"SELECT id FROM t ORDER BY name DESC"),
      ElementsAre("The query's own ORDER BY name DESC is ignored. SetDefaultSortFields(\"name DESC\") before "
                  "OpenRS sorts the list, and so does the first column of a grid."));
}

TEST(ListFaults, AWithClauseBelongsIntoFrom) {
  EXPECT_THAT(
      FaultsOf(u"WITH w AS (SELECT id FROM t) SELECT id FROM w", u"", true),
      ElementsAre("The query begins with WITH, where a list needs SELECT: its reads and its count are cut "
                  "wrongly. Put it into FROM: SELECT ... FROM (WITH ... SELECT ...) AS T."));
}

TEST(ListFaults, AnAggregateCanBeShownButNotSortedBy) {
  const String query = u"SELECT maker, COUNT(*) AS n, SUM(price) total FROM t GROUP BY maker";
  EXPECT_THAT(FaultsOf(query, u"maker"), IsEmpty());
  for (const char16_t* sort : {u"n DESC", u"TOTAL", u"maker, N", u"COUNT(*) AS n"}) {
    EXPECT_THAT(FaultsOf(query, sort),
                ElementsAre(HasSubstr("is by an aggregate, which the next page's condition")));
  }
  EXPECT_THAT(Faults({query, u"maker", u"maker", {u"n"}, false}),
              ElementsAre(HasSubstr("The sort 'n' is by an aggr")));
}

TEST(ListFaults, ASortTextMustFitALink) {
  String sort = u"a";
  while (sort.size() < 200) sort += u", a";
  EXPECT_THAT(FaultsOf(u"SELECT id, a FROM t", sort), IsEmpty());
  while (sort.size() < 400) sort += u", a";
  EXPECT_THAT(FaultsOf(u"SELECT id, a FROM t", sort), ElementsAre(HasSubstr("is too long for a link")));
}

TEST(ListFaults, SortsAndKeysStandInTheSelectList) {
  const std::vector<String> needed =
      ColumnsNeeded({u"", u"P.id, line", u"[list price] DESC", {u"upper(x) AS ux, P.NAME"}, false});
  EXPECT_THAT(needed, ElementsAre(u"ux", u"NAME", u"list price", u"id", u"line"));
  EXPECT_EQ(u"", MissingColumns(needed, {u"ID", u"LINE", u"UX", u"name", u"list price"}));
  EXPECT_EQ(
      u"The select list lacks line: every sort and key column has to stand in it, for the links carry their "
      u"values. "
      u"Did you mean 'lines'?",
      MissingColumns(needed, {u"ID", u"lines", u"UX", u"name", u"list price"}));
}

// A sort may come from a link: one fault is told of it, and not all of its text.
TEST(ListFaults, AnExpressionFromALinkIsToldOfOnceAndShort) {
  EXPECT_THAT(ColumnsNeeded({u"", u"id", u"(SELECT MAX(i) FROM n) DESC", {}, false}), ElementsAre(u"id"));
  const String text = MissingColumns({String(5000, u'x')}, {u"id"});
  EXPECT_NE(text.find(String(60, u'x') + u"...:"), String::npos);
  EXPECT_LT(text.size(), 250U);
}

}  // namespace
}  // namespace hostlinux
