#include "varnel/list/ListQuery.h"

#include <gtest/gtest.h>

namespace varnel {
namespace {

ListDeclared Books() {
  ListDeclared declared;
  declared.name = u"L1";
  for (const char16_t* name : {u"TITLE", u"P.AUTHOR", u"PRICE"})
    declared.columns.push_back(std::make_shared<ListColumn>(name, name));
  declared.searched = {u"TITLE", u"P.AUTHOR"};
  declared.filters = {{u"CATEGORY", u"P.CATEGORY", u"Category"}, {u"YEAR", u"YEAR", u"Year"}};
  return declared;
}

ListChoice Choice(const String& search, std::vector<String> filters = {u"", u""}) {
  ListChoice choice;
  choice.search = search;
  choice.filters = std::move(filters);
  choice.pageSize = 10;
  return choice;
}

String Parameters(const ListCondition& condition) {
  String text;
  for (const auto& parameter : condition.parameters)
    text += parameter.Name + u"=" + *parameter.Value.As<String>() + u";";
  return text;
}

TEST(ListQuery, NothingChosenIsNoCondition) {
  const ListCondition condition = ConditionOf(Books(), Choice(u""));
  EXPECT_EQ(condition.text, u"");
  EXPECT_TRUE(condition.parameters.empty());
}

TEST(ListQuery, EachWordIsLookedForInEachFieldInLowerCase) {
  const ListCondition condition = ConditionOf(Books(), Choice(u"War  Peace"));
  EXPECT_EQ(condition.text,
            u"(LOWER(TITLE) LIKE :VL_W1 OR LOWER(P.AUTHOR) LIKE :VL_W1) AND "
            u"(LOWER(TITLE) LIKE :VL_W2 OR LOWER(P.AUTHOR) LIKE :VL_W2)");
  EXPECT_EQ(Parameters(condition), u"VL_W1=%war%;VL_W2=%peace%;");
}

TEST(ListQuery, AWordBeyondAsciiIsLookedForAsItWasTypedToo) {
  ListDeclared declared = Books();
  declared.searched = {u"TITLE"};
  const ListCondition condition = ConditionOf(declared, Choice(u"M\u00dcLLER"));
  EXPECT_EQ(condition.text, u"(LOWER(TITLE) LIKE :VL_W1 OR TITLE LIKE :VL_T1)");
  EXPECT_EQ(Parameters(condition), u"VL_W1=%m\u00fcller%;VL_T1=%M\u00dcLLER%;");
}

TEST(ListQuery, WhatWasTypedIsNoPattern) { EXPECT_EQ(ContainsPattern(u"100%_[a]"), u"%100[%][_][[]a]%"); }

TEST(ListQuery, FromTheEighthWordOnItIsOne) {
  const ListCondition condition = ConditionOf(Books(), Choice(u"a b c d e f g h i j"));
  EXPECT_EQ(condition.parameters.size(), 8U);
  EXPECT_EQ(condition.parameters.back().Value, Variant(u"%h i j%"));
}

TEST(ListQuery, FiltersAreEqualToTheirParameters) {
  const ListCondition condition = ConditionOf(Books(), Choice(u"", {u"it's", u"1999"}));
  EXPECT_EQ(condition.text, u"P.CATEGORY = :VL_F1 AND YEAR = :VL_F2");
  EXPECT_EQ(Parameters(condition), u"VL_F1=it's;VL_F2=1999;");
  EXPECT_EQ(ConditionOf(Books(), Choice(u"", {u"", u"1999"})).text, u"YEAR = :VL_F2");
}

TEST(ListQuery, AConditionStandsBesideTheQuerysOwn) {
  EXPECT_EQ(BranchesWith(u"SELECT A FROM T", u"B = :b"),
            std::vector<String>{u"SELECT A FROM T WHERE B = :b"});
  EXPECT_EQ(BranchesWith(u"SELECT A FROM T WHERE C = 1 OR D = 2 ORDER BY A", u"B = :b"),
            std::vector<String>{u"SELECT A FROM T WHERE (C = 1 OR D = 2) AND B = :b"});
  EXPECT_EQ(BranchesWith(u"SELECT A, COUNT(*) AS N FROM T GROUP BY A HAVING COUNT(*) > 1", u"B = :b"),
            std::vector<String>{
                u"SELECT A, COUNT ( * ) AS N FROM T WHERE B = :b GROUP BY A HAVING COUNT ( * ) > 1"});
  EXPECT_EQ(
      BranchesWith(u"SELECT A FROM T UNION SELECT A FROM U WHERE C = 1", u"B = :b"),
      (std::vector<String>{u"SELECT A FROM T WHERE B = :b", u"SELECT A FROM U WHERE (C = 1) AND B = :b"}));
}

TEST(ListQuery, LineEndsAreBlanksButForQuotedOnes) {
  EXPECT_EQ(OneLine(u"\n  SELECT A,\r\n\tB FROM T WHERE C = 'x\ny' AND \"D\nE\" = 'it''s\n'\n"),
            u"SELECT A,   B FROM T WHERE C = 'x\ny' AND \"D\nE\" = 'it''s\n'");
}

TEST(ListQuery, DistinctValuesComeInOrder) {
  EXPECT_EQ(DistinctQuery(u"SELECT A, C FROM T WHERE B = 1", u"C", 201),
            u"SELECT DISTINCT TOP 201 C FROM T WHERE (  B = 1) ORDER BY C ASC");
  EXPECT_EQ(DistinctQuery(u"SELECT A, COUNT(*) AS N FROM T GROUP BY A", u"A", 201), u"");
}

TEST(ListQuery, ACappedCountReadsNoFurther) {
  EXPECT_EQ(CappedCountQuery(u"SELECT A, C FROM T WHERE B = 1", 101),
            u"SELECT COUNT(*) FROM (SELECT TOP 101 1 AS ONE FROM T WHERE (  B = 1)) AS LISTED");
  EXPECT_EQ(CappedCountQuery(u"SELECT DISTINCT A FROM T", 101),
            u"SELECT COUNT(*) FROM (SELECT DISTINCT TOP 101 A FROM T) AS LISTED");
}

}  // namespace
}  // namespace varnel
