#include "host-linux/guard/PlainColumns.h"

#include <gtest/gtest.h>

namespace hostlinux {
namespace {

using varnel::String;

bool Shows(const String& query, const String& column) { return IsPlainColumn(column, {query}); }

constexpr char16_t kProducts[] =
    u"SELECT DISTINCT P.PRODUCTID, P.NAME, M.CITY MAKERCITY, PRICE, [List Price], UPPER(P.CODE) AS CODE, "
    u"P.STOCK AS STOCK, (SELECT MAX(X) FROM Q) BEST, P.[Part No] FROM PRODUCT P, MAKER M WHERE P.MID = M.ID";

TEST(PlainColumns, AColumnOfTheListIsFoundInAnyCaseAndWithAnyQualifierThatFits) {
  for (const char16_t* column :
       {u"NAME", u"name", u"P.NAME", u"p.name", u"dbo.P.NAME", u"[NAME]", u"P.[NAME]", u"PRICE", u"P.PRICE",
        u"[List Price]", u"STOCK", u"P.STOCK", u"[Part No]"}) {
    EXPECT_TRUE(Shows(kProducts, column)) << varnel::ToUtf8(column);
  }
}

TEST(PlainColumns, AQualifierMayNotContradict) {
  EXPECT_FALSE(Shows(kProducts, u"M.NAME"));
  EXPECT_FALSE(Shows(kProducts, u"M.STOCK"));
}

TEST(PlainColumns, WhatTheListDoesNotShowIsNone) {
  for (const char16_t* column : {u"BUYPRICE", u"P.BUYPRICE", u"X", u"Q.X", u"P", u"FROM"}) {
    EXPECT_FALSE(Shows(kProducts, column)) << varnel::ToUtf8(column);
  }
}

TEST(PlainColumns, AComputedColumnAndAnotherNameAreNone) {
  // In a condition these names could be columns of the tables.
  EXPECT_FALSE(Shows(kProducts, u"CODE"));
  EXPECT_FALSE(Shows(kProducts, u"BEST"));
  EXPECT_FALSE(Shows(kProducts, u"MAKERCITY"));
  EXPECT_FALSE(Shows(kProducts, u"CITY"));
}

TEST(PlainColumns, AnythingButANameIsNone) {
  for (const char16_t* column : {u"",
                                 u" ",
                                 u"NAME AS X",
                                 u"NAME DESC",
                                 u"NAME, PRICE",
                                 u"NAME--",
                                 u"NAME/**/",
                                 u"/**/NAME",
                                 u"(NAME)",
                                 u"NAME + 1",
                                 u"1",
                                 u"'NAME'",
                                 u"\"NAME\"",
                                 u"`NAME`",
                                 u"[]",
                                 u"[NAME",
                                 u"[NA'ME]",
                                 u"[NA]]ME]",
                                 u"P. NAME",
                                 u"P .NAME",
                                 u"NAME\n",
                                 u"\tNAME",
                                 u"P.",
                                 u".NAME",
                                 u"P..NAME",
                                 u"*",
                                 u"P.*",
                                 u"NAME;",
                                 u"N'NAME'",
                                 u"NAME COLLATE BINARY",
                                 u"CASE WHEN 1 THEN NAME END",
                                 u"UPPER(NAME)",
                                 u"0 UNION SELECT 1",
                                 u"?1",
                                 u":a",
                                 u"@a",
                                 u"$a",
                                 u"{d '2001-01-01'}",
                                 u"NAME\u00A0"}) {
    EXPECT_FALSE(Shows(kProducts, column)) << varnel::ToUtf8(column);
    EXPECT_FALSE(Shows(u"SELECT * FROM T", column)) << varnel::ToUtf8(column);
  }
}

TEST(PlainColumns, BehindAStarStandsAnyPlainName) {
  EXPECT_TRUE(Shows(u"SELECT * FROM T", u"ANY"));
  EXPECT_TRUE(Shows(u"select top 5 * from T", u"x.[any thing]"));
  EXPECT_TRUE(Shows(u"SELECT P.*, M.NAME FROM P, M", u"P.ANY"));
  EXPECT_TRUE(Shows(u"SELECT P.*, M.NAME FROM P, M", u"ANY"));
  EXPECT_FALSE(Shows(u"SELECT P.*, M.NAME FROM P, M", u"M.ANY"));
  EXPECT_FALSE(Shows(u"SELECT COUNT(*), A FROM T", u"B"));
  EXPECT_FALSE(Shows(u"SELECT 2 * A, C FROM T", u"B"));
}

// The recordset cuts an entry at the word, and half a bracket opens a name that swallows the condition.
TEST(PlainColumns, BracketsDoNotHoldTheWordAs) {
  EXPECT_FALSE(Shows(u"SELECT * FROM T", u"[A AS B]"));
  EXPECT_FALSE(Shows(u"SELECT [A as B] FROM T", u"[A as B]"));
  EXPECT_TRUE(Shows(u"SELECT * FROM T", u"[AS B]"));
  EXPECT_TRUE(Shows(u"SELECT * FROM T", u"[BASE AREA]"));
}

// In a condition SECRET is M's, whom the list doesn't show; in the result the name is there all the same.
TEST(PlainColumns, AnotherItemsNameIsNoColumnOfAStar) {
  EXPECT_FALSE(Shows(u"SELECT P.*, UPPER(P.A) AS SECRET FROM P, M", u"SECRET"));
  EXPECT_FALSE(Shows(u"SELECT P.*, M.CODE [Secret] FROM P, M", u"[secret]"));
  EXPECT_TRUE(Shows(u"SELECT P.*, UPPER(P.A) AS SECRET FROM P, M", u"P.SECRET"));
  EXPECT_TRUE(Shows(u"SELECT *, UPPER(A) AS UA FROM P", u"UA"));
  EXPECT_TRUE(Shows(u"SELECT P.*, M.CITY FROM P, M", u"CITY"));
}

TEST(PlainColumns, EveryBranchOfAUnionShowsIt) {
  const String first = u"SELECT A, B FROM T";
  EXPECT_TRUE(IsPlainColumn(u"A", {first, u"SELECT A, C FROM U"}));
  EXPECT_FALSE(IsPlainColumn(u"B", {first, u"SELECT A, C FROM U"}));
  // A union that isn't cut: the condition would look at its last SELECT.
  EXPECT_FALSE(Shows(u"SELECT A FROM T union SELECT B FROM U", u"A"));
  EXPECT_FALSE(IsPlainColumn(u"A", {first, u"ALL SELECT A FROM U"}));
}

TEST(PlainColumns, CommentsOfTheQueryAreNoColumns) {
  EXPECT_TRUE(Shows(u"SELECT /* the name */ A -- of it\n, B FROM T", u"A"));
  EXPECT_FALSE(Shows(u"SELECT A /* , SECRET */ FROM T", u"SECRET"));
}

TEST(PlainColumns, AQueryThatIsNoneShowsNothing) {
  EXPECT_FALSE(Shows(u"", u"A"));
  EXPECT_FALSE(Shows(u"SELECT", u"A"));
  EXPECT_FALSE(Shows(u"DELETE FROM A", u"A"));
}

}  // namespace
}  // namespace hostlinux
