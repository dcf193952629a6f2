#include "host-linux/database/dialect/SqlLexer.h"

#include <gmock/gmock.h>

namespace hostlinux {
namespace {

using testing::ElementsAre;

std::vector<std::u16string> Texts(std::u16string_view sql) {
  std::vector<std::u16string> texts;
  for (const SqlToken& token : LexSql(sql)) {
    if (token.kind != SqlTokenKind::End) texts.push_back(token.text);
  }
  return texts;
}

SqlTokenKind KindOf(std::u16string_view sql) { return LexSql(sql)[0].kind; }

TEST(SqlLexer, SplitsWordsSignsAndLiterals) {
  EXPECT_THAT(Texts(u"SELECT a.b,1.5 FROM t WHERE c>='it''s'"),
              ElementsAre(u"SELECT", u"a", u".", u"b", u",", u"1.5", u"FROM", u"t", u"WHERE", u"c", u">=",
                          u"'it''s'"));
}

TEST(SqlLexer, TellsTheKindsOfQuotes) {
  EXPECT_EQ(SqlTokenKind::Text, KindOf(u"'a'"));
  EXPECT_EQ(SqlTokenKind::WideText, KindOf(u"N'a'"));
  EXPECT_EQ(SqlTokenKind::QuotedName, KindOf(u"\"a b\""));
  EXPECT_EQ(SqlTokenKind::QuotedName, KindOf(u"[a b]"));
  EXPECT_EQ(SqlTokenKind::Word, KindOf(u"Na'a'"));
}

TEST(SqlLexer, TakesAnEscapeWithItsBracesAsOneToken) {
  EXPECT_THAT(Texts(u"{ d '2024-03-05' }OR"), ElementsAre(u"{ d '2024-03-05' }", u"OR"));
  EXPECT_EQ(SqlTokenKind::Escape, KindOf(u"{ts '2024-03-05 07:08:09'}"));
  EXPECT_EQ(SqlTokenKind::Other, KindOf(u"{fn now()}"));
  EXPECT_EQ(SqlTokenKind::Other, KindOf(u"{d '2024"));
}

TEST(SqlLexer, KeepsCommentsWhole) {
  EXPECT_THAT(Texts(u"a -- it's\nb /* 'c */ d"), ElementsAre(u"a", u"-- it's", u"b", u"/* 'c */", u"d"));
}

TEST(SqlLexer, ReadsNumbersWithExponents) {
  EXPECT_THAT(Texts(u"1E+20 2e 3e-4x"), ElementsAre(u"1E+20", u"2", u"e", u"3e-4", u"x"));
}

TEST(SqlLexer, LosesNothing) {
  for (const std::u16string sql : {u"", u"  ", u" a\t'b''", u"[x", u"/* y", u"{d '", u"a\r\n=\u00e9 ]}'"}) {
    const std::vector<SqlToken> tokens = LexSql(sql);
    EXPECT_EQ(sql, PrintSql(tokens, 0, tokens.size()));
  }
}

TEST(SqlLexer, ReadsAndWritesTextLiterals) {
  EXPECT_EQ(u"it's", TextValue(LexSql(u"N'it''s'")[0]));
  EXPECT_EQ(u"", TextValue(LexSql(u"''")[0]));
  EXPECT_EQ(u"'it''s'", TextLiteral(u"it's"));
}

}  // namespace
}  // namespace hostlinux
