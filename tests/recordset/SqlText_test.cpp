// Taking SQL texts apart: words, clauses, count tails, branches, sort columns.
#include <gtest/gtest.h>

#include "host-fake/ErrorOf.h"
#include "varnel/recordset/CountTail.h"
#include "varnel/recordset/QueryClauses.h"
#include "varnel/recordset/SortFields.h"
#include "varnel/recordset/SqlUtilities.h"
#include "varnel/recordset/UnionBranches.h"

namespace varnel {
namespace {

using Texts = std::vector<String>;

Texts Tokens(String sql) { return SplitSqlTokens(sql); }
QueryClauses Clauses(String sql) { return SplitQueryClauses(sql); }

Long TokenError(String sql) {
  return hostfake::NumberOf([&] { SplitSqlTokens(sql); });
}

TEST(SqlTokens, WordsAndQuotedStringsStandAlone) {
  EXPECT_EQ(Tokens(u"SELECT a FROM t WHERE b='x''y' ORDER BY a"),
            (Texts{u"SELECT", u"a", u"FROM", u"t", u"WHERE", u"b=", u"'x''y'", u"ORDER", u"BY", u"a"}));
}

TEST(SqlTokens, TheNationalPrefixStaysWithItsLiteral) {
  EXPECT_EQ(Tokens(u"SELECT a FROM t WHERE b=N'x'"),
            (Texts{u"SELECT", u"a", u"FROM", u"t", u"WHERE", u"b=N'x'"}));
  EXPECT_EQ(Tokens(u"x N'abc'"), (Texts{u"x", u"N'abc'"}));
  EXPECT_EQ(Tokens(u"a>N'b' c<N'd'"), (Texts{u"a>N'b'", u"c<N'd'"}));
}

TEST(SqlTokens, OtherPrefixesDont) {
  EXPECT_EQ(Tokens(u"n'a'"), (Texts{u"n", u"'a'"}));
  EXPECT_EQ(Tokens(u"b,N'a'"), (Texts{u"b,N", u"'a'"}));
  EXPECT_EQ(Tokens(u"a='b'"), (Texts{u"a=", u"'b'"}));
  EXPECT_EQ(Tokens(u"=n'b'"), (Texts{u"=n", u"'b'"}));
}

TEST(SqlTokens, DoubledQuotesGlueAStringTogether) {
  EXPECT_EQ(Tokens(u"'it''s'"), (Texts{u"'it''s'"}));
  EXPECT_EQ(Tokens(u"'a''''b'"), (Texts{u"'a''''b'"}));
  EXPECT_EQ(Tokens(u"''"), (Texts{u"''"}));
  EXPECT_EQ(Tokens(u"'a' 'b'"), (Texts{u"'a'", u"'b'"}));
  EXPECT_EQ(Tokens(u"N'it''s'"), (Texts{u"N'it''s'"}));
}

TEST(SqlTokens, AnOpenStringIsClosed) { EXPECT_EQ(Tokens(u"a 'b c"), (Texts{u"a", u"'b c'"})); }

TEST(SqlTokens, ParenthesesAndStarsStandAlone) {
  EXPECT_EQ(Tokens(u"COUNT(*),a*b"), (Texts{u"COUNT", u"(", u"*", u")", u",a", u"*", u"b"}));
}

TEST(SqlTokens, TabsBecomeBlanksInTheTextItself) {
  String sql = u"SELECT\ta FROM t WHERE b='x\ty'";
  EXPECT_EQ(SplitSqlTokens(sql), (Texts{u"SELECT", u"a", u"FROM", u"t", u"WHERE", u"b=", u"'x y'"}));
  EXPECT_EQ(sql, u"SELECT a FROM t WHERE b='x y'");
}

TEST(SqlTokens, LineBreaksAreOrdinaryCharacters) {
  EXPECT_EQ(Tokens(u"SELECT a\r\nFROM t"), (Texts{u"SELECT", u"a\r\nFROM", u"t"}));
}

TEST(SqlTokens, BracketsHoldNothingTogether) {
  EXPECT_EQ(Tokens(u"[Order  Date]"), (Texts{u"[Order", u"Date]"}));
}

TEST(SqlTokens, ATextWithoutATokenIsOutOfBounds) {
  EXPECT_EQ(TokenError(u""), 9);
  EXPECT_EQ(TokenError(u"  \t "), 9);
}

TEST(QueryClausesCut, TakesTheClausesApart) {
  EXPECT_EQ(Clauses(u"SELECT a FROM t WHERE b='x''y' ORDER BY a"),
            (QueryClauses{u" SELECT a FROM t", u"  b= 'x''y'", u"", u" ORDER BY a", u""}));
}

TEST(QueryClausesCut, KeepsAllKeywordsButWhere) {
  EXPECT_EQ(Clauses(u"select a from t where b group by a having count(*)>1 order by a compute sum(a)"),
            (QueryClauses{u" select a from t", u"  b", u" group by a having count ( * ) >1", u" order by a",
                          u" compute sum ( a )"}));
}

TEST(QueryClausesCut, SeesNothingInParentheses) {
  EXPECT_EQ(Clauses(u"SELECT (SELECT MAX(x) FROM u WHERE y=1) m FROM t"),
            (QueryClauses{u" SELECT ( SELECT MAX ( x ) FROM u WHERE y=1 ) m FROM t", u"", u"", u"", u""}));
}

TEST(QueryClausesCut, GroupAndOrderNeedTheirBy) {
  EXPECT_EQ(Clauses(u"SELECT order, group FROM t").select, u" SELECT order, group FROM t");
  EXPECT_EQ(Clauses(u"SELECT a FROM t ORDER").select, u" SELECT a FROM t ORDER");
}

TEST(QueryClausesCut, FollowsTheTextInAnyOrder) {
  EXPECT_EQ(Clauses(u"SELECT a ORDER BY a WHERE b"),
            (QueryClauses{u" SELECT a", u"  b", u"", u" ORDER BY a", u""}));
}

TEST(QueryClausesCut, TakesAColumnNamedLikeAKeywordForTheKeyword) {
  EXPECT_EQ(Clauses(u"SELECT HAVING FROM t"), (QueryClauses{u" SELECT", u"", u" HAVING FROM t", u"", u""}));
}

TEST(CountTailCut, HoldsFromAndWhere) {
  EXPECT_EQ(CutCountTail(u"SELECT a, b FROM t WHERE c=1 ORDER BY a"),
            (CountTail{u" FROM t WHERE c=1", false, false}));
}

TEST(CountTailCut, SkipsASelectInTheSelectList) {
  EXPECT_EQ(CutCountTail(u"SELECT (SELECT MAX(x) FROM u WHERE y=1) m FROM t"),
            (CountTail{u" FROM t", false, false}));
}

TEST(CountTailCut, TellsDistinctAndGroup) {
  EXPECT_EQ(CutCountTail(u"select distinct a from t group by a"), (CountTail{u" from t", true, true}));
  EXPECT_EQ(CutCountTail(u"select a from t having a>1"), (CountTail{u" from t", false, false}));
  EXPECT_EQ(CutCountTail(u"select a from t compute sum(a)"), (CountTail{u" from t", false, false}));
}

TEST(CountTailCut, CarriesParenthesesAlong) {
  EXPECT_EQ(CutCountTail(u"SELECT a FROM (SELECT b FROM u ORDER BY b) v WHERE c IN (1)").tail,
            u" FROM ( SELECT b FROM u ORDER BY b ) v WHERE c IN ( 1 )");
}

TEST(CountTailCut, IsEmptyForOneWord) { EXPECT_EQ(CutCountTail(u"GROUP"), CountTail()); }

TEST(UnionBranchesCut, CutsAtTheExactWordOnly) {
  EXPECT_EQ(SplitUnionBranches(u"SELECT a FROM t"), (Texts{u"SELECT a FROM t"}));
  EXPECT_EQ(SplitUnionBranches(u"SELECT a FROM t UNION SELECT a FROM u"),
            (Texts{u"SELECT a FROM t", u"SELECT a FROM u"}));
  EXPECT_EQ(SplitUnionBranches(u"SELECT a union SELECT b"), (Texts{u"SELECT a union SELECT b"}));
  EXPECT_EQ(SplitUnionBranches(u"SELECT a UNION ALL SELECT b"), (Texts{u"SELECT a", u"ALL SELECT b"}));
}

TEST(UnionBranchesCut, CutsInsideAString) {
  EXPECT_EQ(SplitUnionBranches(u"SELECT 'a UNION b'"), (Texts{u"SELECT 'a", u"b'"}));
}

TEST(UnionBranchesCut, UnwrapsABranchOnce) {
  EXPECT_EQ(SplitUnionBranches(u" (SELECT a) UNION  ((SELECT b)) "), (Texts{u"SELECT a", u"(SELECT b)"}));
  EXPECT_EQ(SplitUnionBranches(u"(SELECT a UNION SELECT f(b)"), (Texts{u"SELECT a", u"SELECT f(b)"}));
}

TEST(UnionBranchesCut, TheEmptyTextHasNone) { EXPECT_TRUE(SplitUnionBranches(u"").empty()); }

PersistedState Sorted(StringView sort, bool reversed = false, Integer navType = 0) {
  PersistedState state;
  state.NavType = navType;
  state.SortFields = sort;
  state.SortReversed = reversed;
  return state;
}

using Fields = std::vector<SortField>;

TEST(SortFieldsParse, AKeyThatTheSortNamesIsNotAdded) {
  EXPECT_EQ(ParseSortFields(Sorted(u"name DESC, id"), u"id"),
            (Fields{{u"name", u"name", false}, {u"id", u"id", true}}));
  EXPECT_EQ(ParseSortFields(Sorted(u"ID asc"), u" id "), (Fields{{u"ID", u"ID", true}}));
}

TEST(SortFieldsParse, AnAliasIsTheName) {
  EXPECT_EQ(ParseSortFields(Sorted(u"Upper(x) as ux desc"), u"id"),
            (Fields{{u"ux", u"Upper(x)", false}, {u"id", u"", true}}));
}

TEST(SortFieldsParse, WithoutASortTheKeysAreIt) {
  EXPECT_EQ(ParseSortFields(Sorted(u""), u"a, b"), (Fields{{u"a", u"", true}, {u"b", u"", true}}));
  EXPECT_EQ(ParseSortFields(Sorted(u"   "), u"a,b"), (Fields{{u"a", u"", true}, {u"b", u"", true}}));
}

TEST(SortFieldsParse, AQualifiedSortDoesntAbsorbAKey) {
  EXPECT_EQ(ParseSortFields(Sorted(u"t.a"), u"a"), (Fields{{u"t.a", u"t.a", true}, {u"a", u"", true}}));
}

TEST(SortFieldsParse, ReversedAndBackwardTogetherGoForward) {
  EXPECT_EQ(ParseSortFields(Sorted(u"", true, 3), u"a,b"), (Fields{{u"a", u"", true}, {u"b", u"", true}}));
  EXPECT_EQ(ParseSortFields(Sorted(u"", true, 1), u"a"), (Fields{{u"a", u"", false}}));
  EXPECT_EQ(ParseSortFields(Sorted(u"a DESC", false, 2), u"b"),
            (Fields{{u"a", u"a", true}, {u"b", u"", false}}));
}

TEST(SortFieldsParse, ACommaInAFunctionCutsAllTheSame) {
  EXPECT_EQ(ParseSortFields(Sorted(u"f(a,b) desc"), u"k"),
            (Fields{{u"f(a", u"f(a", true}, {u"b)", u"b)", false}, {u"k", u"", true}}));
}

TEST(SortFieldsParse, ADirectionNeedsItsBlank) {
  EXPECT_EQ(ParseSortFields(Sorted(u"desc, xasc"), u"k"),
            (Fields{{u"desc", u"desc", true}, {u"xasc", u"xasc", true}, {u"k", u"", true}}));
  EXPECT_EQ(ParseSortFields(Sorted(u"a  desc  "), u"a"), (Fields{{u"a", u"a", false}}));
}

// The blank in front of an entry is the one that its direction needs.
TEST(SortFieldsParse, AnEntryOfADirectionAloneHasNoName) {
  EXPECT_EQ(ParseSortFields(Sorted(u"a, desc"), u"k"),
            (Fields{{u"a", u"a", true}, {u"", u"", false}, {u"k", u"", true}}));
}

TEST(SortFieldsParse, AKeyThatIsListedTwiceIsAddedOnce) {
  EXPECT_EQ(ParseSortFields(Sorted(u""), u"a,A"), (Fields{{u"a", u"", true}}));
}

TEST(DateLiteral, IsReadableByEveryServer) {
  EXPECT_EQ(DateToSqlText(MakeDate({2001, 3, 5, 14, 7, 9})), u"20010305 14:07:09");
  EXPECT_EQ(DateToSqlText(MakeDate({476, 9, 4, 0, 0, 0})), u"04760904 00:00:00");
}

TEST(DateLiteral, RoundsToTheWholeSecond) {
  const Date justBelow{MakeDate({2001, 3, 5, 14, 7, 9}).days - 0.0000001};
  EXPECT_EQ(DateToSqlText(justBelow), u"20010305 14:07:09");
}

TEST(PadNumberText, NeverShortens) {
  EXPECT_EQ(PadNumber(5, 2), u"05");
  EXPECT_EQ(PadNumber(12345, 2), u"12345");
  EXPECT_EQ(PadNumber(7, 0), u"7");
}

}  // namespace
}  // namespace varnel
