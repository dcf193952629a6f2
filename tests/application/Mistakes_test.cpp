// What a page's author is told of a mistake: the file, the line, what is wrong, and what helps.
#include <gmock/gmock.h>

#include "tests/application/ServedSite.h"

namespace {

using testing::AllOf;
using testing::HasSubstr;

class Mistakes : public hosttest::PageTest {
 protected:
  Mistakes() { site.MakeCustomers(10); }

  void Configure(const std::string& lines) {
    std::string text = site.Read("site.toml");
    text.insert(text.find("[server]\n") + 9, lines);
    site.Write("site.toml", text);
  }

  static std::string List(const std::string& open) {
    return "<%\nvar page = Server.CreateObject('Varnel.Page');\npage.OpenDatabaseConnection('Demo');\n"
           "var rs = page.DRecordset();\n" +
           open + "\n%>";
  }
};

TEST_F(Mistakes, AMisspeltColumn) {
  EXPECT_THAT(
      Failure(List("rs.OpenRS('SELECT id, nmae FROM customer', 'id');")),
      AllOf(HasSubstr("page1.asp, line 5: "), HasSubstr("no such column: nmae. Did you mean 'name'?")));
}

TEST_F(Mistakes, AMisspeltTable) {
  EXPECT_THAT(
      Failure(List("rs.OpenRS('SELECT id, name FROM custmer', 'id');")),
      AllOf(HasSubstr("page1.asp, line 5: "), HasSubstr("no such table: custmer. Did you mean 'customer'?")));
}

TEST_F(Mistakes, ASyntaxErrorInAPageAndInAnInclude) {
  EXPECT_THAT(Failure("<%\nvar a = 1;\nvar b = (2;\n%>"), HasSubstr("page1.asp, line 3: SyntaxError: "));
  site.WritePage("tools.inc", "<%\nvar c = (2;\n%>");
  EXPECT_THAT(Failure("<!--#include file=\"tools.inc\"-->\n<%= 1 %>"),
              HasSubstr("tools.inc, line 2: SyntaxError: "));
}

TEST_F(Mistakes, AWrongClass) {
  EXPECT_THAT(
      Failure("<%\nServer.CreateObject('Varnel.Pgae');\n%>"),
      HasSubstr("page1.asp, line 2: There is no class 'Varnel.Pgae' to create. Did you mean 'Varnel.Page'?"));
  EXPECT_THAT(Failure("<% Server.CreateObject('Recordset'); %>"),
              HasSubstr("Did you mean 'ADODB.Recordset'?"));
}

TEST_F(Mistakes, AWrongMember) {
  EXPECT_THAT(Failure(List("rs.OpenSR('SELECT id FROM customer', 'id');")),
              AllOf(HasSubstr("page1.asp, line 5: "), HasSubstr("Did you mean 'OpenRS'?")));
  EXPECT_THAT(Failure(List("rs.MoveNxet();")), HasSubstr("Did you mean 'MoveNext'?"));
  EXPECT_THAT(Failure("<%\nvar a = Reqest.QueryString('a');\n%>"),
              AllOf(HasSubstr(".asp, line 2: ReferenceError: Reqest is not defined"),
                    HasSubstr("Did you mean 'Request'?")));
}

TEST_F(Mistakes, AWrongArgument) {
  EXPECT_THAT(Failure(List("rs.SetPageSize('many');")),
              AllOf(HasSubstr("page1.asp, line 5: Type mismatch"),
                    HasSubstr("DRecordset.SetPageSize takes a whole number as argument 1, not 'many'.")));
  EXPECT_THAT(Failure(List("rs.SetPageSize(40000);")),
              HasSubstr("DRecordset.SetPageSize takes a whole number as argument 1, not 40000."));
  EXPECT_THAT(Failure(List("rs.OpenRS('SELECT id FROM customer');")),
              HasSubstr("DRecordset.OpenRS takes 2 arguments; 1 was given."));
  EXPECT_THAT(Failure("<%\nvar n = CLng('12 pieces');\n%>"),
              AllOf(HasSubstr(".asp, line 2: Type mismatch"),
                    HasSubstr("CLng takes a whole number as argument 1, not '12 pieces'.")));
  EXPECT_THAT(Failure("<% var c = Server.CreateObject('ADODB.Connection'); c.CommandTimeout = 'soon'; %>"),
              HasSubstr("Connection.CommandTimeout takes a whole number, not 'soon'."));
  EXPECT_THAT(Failure("<% var t = Server.CreateObject('Varnel.Page').DGrid({}, 'Title'); %>"),
              HasSubstr("Page.DGrid takes an object of another class as argument 1"));
}

TEST_F(Mistakes, AScriptSeesTheErrorWithoutTheHint) {
  EXPECT_EQ("13|Type mismatch|number,source,description",
            Output("<% try { CLng('x'); } catch (e) { Response.Write(e.number + '|' + e.description + '|' +"
                   " ['number', 'source', 'description', 'hint'].filter(n => n in e).join()); } %>"));
}

TEST_F(Mistakes, ACaughtErrorThatIsThrownOnKeepsItsHint) {
  EXPECT_THAT(Failure("<%\ntry {\n CLng('x');\n} catch (e) {\n throw e;\n}\n%>"), HasSubstr("not 'x'."));
}

TEST_F(Mistakes, ALongArgumentIsCut) {
  EXPECT_THAT(Failure("<% CLng('x'.repeat(100000)); %>"),
              HasSubstr("not '" + std::string(40, 'x') + "...'."));
}

TEST_F(Mistakes, AnEndlessLoop) {
  Configure("script_timeout = \"1s\"\n");
  EXPECT_THAT(Failure("<%\nvar i = 0;\nfunction work() {\n  while (true) i++;\n}\nwork();\n%>"),
              AllOf(HasSubstr("page1.asp, line 4: The page ran longer than it may."),
                    HasSubstr("It may run for 1 s: script_timeout of [server] in site.toml")));
}

TEST_F(Mistakes, AnEndlessLoopInAnIncludeAndAroundTheLibrary) {
  Configure("script_timeout = \"1s\"\n");
  site.WritePage("loop.inc", "<%\nfunction turn() {\n  for (;;) Server.HTMLEncode('x');\n}\n%>");
  EXPECT_THAT(Failure("<!--#include file=\"loop.inc\"-->\n<% turn(); %>"),
              HasSubstr("loop.inc, line 3: The page ran longer than it may."));
}

TEST_F(Mistakes, AStatementThatRunsTooLong) {
  Configure("statement_timeout = \"100ms\"\n");
  EXPECT_THAT(
      Failure(
          "<%\nvar c = Server.CreateObject('ADODB.Connection'); "
          "c.Open(Application('Demo_ConnectionString'));\n"
          "c.Execute('WITH n AS (SELECT 1 AS i UNION ALL SELECT i + 1 FROM n) SELECT COUNT(*) FROM n');\n%>"),
      AllOf(HasSubstr("page1.asp, line 3: Query timeout expired"),
            HasSubstr(
                "A statement may run for 100 ms: statement_timeout of [server] in site.toml, or a shorter "
                "CommandTimeout. An index may serve it.")));
}

TEST_F(Mistakes, AHugeAllocation) {
  Configure("max_heap = 67108864\n");
  EXPECT_THAT(Failure("<%\nvar rows = [];\n\nfor (;;) rows.push(new Array(100).fill('x'));\n%>"),
              AllOf(HasSubstr("page1.asp, line 4: The page needed more memory than it may use."),
                    HasSubstr("64 MB: max_heap of [server] in site.toml.")));
}

TEST_F(Mistakes, AnUnknownConnection) {
  EXPECT_THAT(
      Failure("<%\nvar page = Server.CreateObject('Varnel.Page');\npage.OpenDatabaseConnection('Dem');\n%>"),
      AllOf(HasSubstr("page1.asp, line 3: "),
            HasSubstr("[application] in site.toml has no Dem_ConnectionString. Did you mean 'Demo'?")));
}

TEST_F(Mistakes, ABrokenConnection) {
  EXPECT_THAT(
      Failure(
          "<%\nvar page = Server.CreateObject('Varnel.Page');\npage.OpenDatabaseConnection('Broken');\n%>"),
      AllOf(HasSubstr("page1.asp, line 3: "), HasSubstr("missing/none.db' does not exist.")));
}

}  // namespace
