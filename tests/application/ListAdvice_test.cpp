// What lists get wrong is said in development mode, in the browser and in the log, with the line.
#include <gmock/gmock.h>

#include "tests/application/ServedSite.h"

namespace {

using testing::AllOf;
using testing::HasSubstr;
using testing::Not;

class ListAdviceTest : public hosttest::PageTest {
 protected:
  ListAdviceTest() {
    site.RunSql(
        "CREATE TABLE line (orderid INT, line INT, text VARCHAR(20), price REAL, PRIMARY KEY (orderid, "
        "line));"
        "INSERT INTO line VALUES (1, 1, 'a', 2), (1, 2, 'b', 1), (2, 1, 'c', 5);");
  }

  static std::string List(const std::string& open) {
    return "<%\nvar page = Server.CreateObject('Varnel.Page'); page.OpenDatabaseConnection('Demo');\n"
           "var rs = page.DRecordset(); rs.SetPageSize(2);\n" +
           open + "\n%><p>the page</p>";
  }

  std::string Shown(const std::string& open) { return hosttest::Unescaped(Ask(List(open)).body); }
};

TEST_F(ListAdviceTest, ARightListIsShownAsItIs) {
  EXPECT_EQ("<p>the page</p>",
            Output(List("rs.SetDefaultSortFields('price'); rs.OpenRS('SELECT orderid, line, price FROM line',"
                        " 'orderid, line');")));
}

TEST_F(ListAdviceTest, AKeyThatIsNotUnique) {
  EXPECT_THAT(Shown("rs.OpenRS('SELECT orderid, line FROM line', 'orderid');"),
              AllOf(HasSubstr("<p>the page</p>"),
                    HasSubstr("page1.asp, line 4: R_1: The key orderid isn't unique: 2 rows have 1."),
                    HasSubstr("Name all columns that together are unique")));
  EXPECT_THAT(EndedLog(), HasSubstr("page1.asp, line 4: R_1: The key orderid isn't unique"));
}

TEST_F(ListAdviceTest, OfTheRowsThatItShows) {
  EXPECT_EQ("<p>the page</p>",
            Output(List("rs.SetParameter('line', 1); rs.OpenRS('SELECT orderid FROM line WHERE line = :line',"
                        " 'orderid');")));
}

TEST_F(ListAdviceTest, AKeyOrSortThatTheSelectListLacks) {
  EXPECT_THAT(Shown("rs.OpenRS('SELECT orderid, text FROM line', 'orderid, line');"),
              HasSubstr("page1.asp, line 4: R_1: The select list lacks line: every sort and key column"));
}

TEST_F(ListAdviceTest, ALineBreakBesideAKeyword) {
  EXPECT_THAT(Shown("rs.OpenRS('SELECT orderid, line FROM line\\nORDER BY line', 'orderid, line');"),
              HasSubstr("page1.asp, line 4: R_1: A line break stands beside ORDER"));
}

TEST_F(ListAdviceTest, AnOrderOfTheQuerysOwn) {
  EXPECT_THAT(Shown("rs.OpenRS('SELECT orderid, line, price FROM line ORDER BY price', 'orderid, line');"),
              AllOf(HasSubstr("The query's own ORDER BY price is ignored. SetDefaultSortFields("),
                    HasSubstr("price")));
}

TEST_F(ListAdviceTest, ASortByAnAggregateBeforePageTwoFails) {
  EXPECT_THAT(
      Shown("rs.SetDefaultSortFields('n'); rs.OpenRS('SELECT orderid, COUNT(*) AS n FROM line GROUP BY"
            " orderid', 'orderid');"),
      HasSubstr("The sort 'n' is by an aggregate"));
}

TEST_F(ListAdviceTest, TheSameListBehindASubselectIsRight) {
  EXPECT_EQ(
      "<p>the page</p>",
      Output(List(
          "rs.SetDefaultSortFields('n'); rs.OpenRS('SELECT orderid, n FROM (SELECT orderid, COUNT(*) AS n"
          " FROM line GROUP BY orderid) AS t', 'orderid');")));
}

TEST_F(ListAdviceTest, AWithClause) {
  EXPECT_THAT(
      Shown("rs.SetRecCountON(); rs.OpenRS('WITH w AS (SELECT orderid, line FROM line) SELECT orderid, line"
            " FROM w', 'orderid, line');"),
      HasSubstr("page1.asp, line 4: R_1: The query begins with WITH, where a list needs SELECT"));
  EXPECT_EQ(
      "<p>the page</p>",
      Output(List("rs.SetRecCountON(); rs.OpenRS('SELECT orderid, line FROM (WITH w AS (SELECT orderid, line"
                  " FROM line) SELECT orderid, line FROM w) AS t', 'orderid, line');")));
}

TEST_F(ListAdviceTest, ASortTextTooLongForALink) {
  EXPECT_THAT(
      Shown("rs.SetDefaultSortFields('price' + ', price'.repeat(80)); rs.OpenRS('SELECT orderid, line, price"
            " FROM line', 'orderid, line');"),
      HasSubstr("is too long for a link: about 250 characters fit"));
}

TEST_F(ListAdviceTest, TheLogSaysItOnce) {
  site.WritePage("list.asp", List("rs.OpenRS('SELECT orderid, line FROM line', 'orderid');"));
  Get("/shop/list.asp");
  EXPECT_THAT(Get("/shop/list.asp").body, HasSubstr("isn't unique"));
  const std::string log = EndedLog();
  const std::size_t first = log.find("isn't unique");
  EXPECT_NE(std::string::npos, first);
  EXPECT_EQ(std::string::npos, log.find("isn't unique", first + 1));
}

TEST_F(ListAdviceTest, NobodyIsToldInProduction) {
  std::string text = site.Read("site.toml");
  text.replace(text.find("development"), 11, "production");
  site.Write("site.toml", text);
  EXPECT_EQ("<p>the page</p>",
            Output(List("rs.OpenRS('SELECT orderid, line FROM line ORDER BY line', 'orderid');")));
  EXPECT_THAT(EndedLog(), Not(HasSubstr("isn't unique")));
}

TEST_F(ListAdviceTest, OtherTypesOfAnswersStayAsTheyAre) {
  EXPECT_EQ("<p>the page</p>", Output(List("Response.ContentType = 'text/plain';"
                                           "rs.OpenRS('SELECT orderid, line FROM line', 'orderid');")));
}

}  // namespace
