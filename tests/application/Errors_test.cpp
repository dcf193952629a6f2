// Errors of the library and the database as scripts, visitors and the log see them.

#include <gmock/gmock.h>

#include "tests/application/ServedSite.h"

namespace {

using hosttest::Answer;
using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;

class ErrorsTest : public hosttest::PageTest {
 protected:
  int CountInLog(const std::string& log, const std::string& text) {
    int count = 0;
    for (std::size_t at = 0; (at = log.find(text, at)) != std::string::npos; at += text.size()) ++count;
    return count;
  }
};

TEST_F(ErrorsTest, RaisedErrorIsAScriptErrorWithItsFacts) {
  EXPECT_EQ(
      Output("<% try { Server.CreateObject('Varnel.Page').DRecordset(); } catch (e) { %>"
             "<%= e instanceof Error %>|<%= e.number %>|<%= e.source %>|<%= e.description %>|"
             "<%= e.message === e.description %>|<%= e.helpFile %>|<%= e.helpContext %><% } %>"),
      "True|-1|Varnel.Page|Parameter error: Page.OpenDatabaseConnection() should be called before creating a "
      "DRecordset|True||0");
}

TEST_F(ErrorsTest, ErrorOfTheDatabaseIsCaughtToo) {
  site.MakeCustomers(1);
  EXPECT_EQ(
      Output(
          "<% var c = Server.CreateObject('ADODB.Connection'); c.Open('Provider=SQLite;Data Source=demo.db');"
          " try { c.Execute('SELECT nothing FROM nowhere'); } catch (e) { %>"
          "<%= e.number < 0 %> <%= c.Errors.Count %> <%= c.Errors(0).Number === e.number %><% } %>"),
      "True 1 True");
}

TEST_F(ErrorsTest, DamagedStateTextIsTheRunTimeErrorOfItsStep) {
  site.Write("site.toml", site.Read("site.toml") + "\n[lists]\nlinks = \"any\"\n");
  site.MakeCustomers(3);
  site.WritePage(
      "list.asp",
      "<% var page = Server.CreateObject('Varnel.Page'); page.OpenDatabaseConnection('Demo');"
      " var rs = page.DRecordset();\nrs.OpenRS('SELECT id, name FROM customer', 'id'); %><%= rs('id') %>");
  const Answer answer = Get("/shop/list.asp?R_1=1x57");
  EXPECT_EQ(answer.status, 500);
  EXPECT_THAT(answer.body, HasSubstr("list.asp, line 2: "));
  EXPECT_THAT(answer.body, HasSubstr("(number 5, "));
  EXPECT_EQ(Get("/shop/list.asp").body, "1");
  const std::string log = EndedLog();
  EXPECT_EQ(CountInLog(log, "(number 5, "), 1) << log;
}

TEST_F(ErrorsTest, LogAndErrorPageNameTheSameRequest) {
  const Answer answer = Ask("<% nothing(); %>");
  const std::string mark = "<small>Request ";
  const std::string id = answer.body.substr(answer.body.find(mark) + mark.size(), 16);
  EXPECT_THAT(EndedLog(), HasSubstr("[" + id + "] page1.asp, line 1: "));
}

TEST_F(ErrorsTest, ProductionTellsVisitorsNothingButTheRequest) {
  site.Write(
      "site.toml",
      "[site]\nroot = \"/shop\"\nmode = \"production\"\n[server]\nthreads = 1\n[log]\nfile = \"site.log\"\n");
  const Answer answer = Ask("secret text <% var password = 'hunter2'; throw new Error('hunter2'); %>");
  EXPECT_EQ(answer.status, 500);
  for (const char* leak : {"secret", "hunter2", "page1.asp", "line", "number"}) {
    EXPECT_THAT(answer.body, Not(HasSubstr(leak)));
  }
  EXPECT_THAT(answer.body, HasSubstr("Request "));
  EXPECT_THAT(EndedLog(), HasSubstr("page1.asp, line 1: hunter2"));
}

TEST_F(ErrorsTest, MissingDatabaseFailsThePageAndTheNextOneRuns) {
  EXPECT_THAT(
      Failure("<% var page = Server.CreateObject('Varnel.Page');\npage.OpenDatabaseConnection('Broken'); %>"),
      StartsWith("page1.asp, line 2: "));
  EXPECT_THAT(Failure("<% Server.CreateObject('Varnel.Page').OpenDatabaseConnection('Unknown'); %>"),
              HasSubstr("The connection string is empty."));
  EXPECT_EQ(Value("6 * 7"), "42");
}

TEST_F(ErrorsTest, LineBreakBesideAKeywordIsWarnedOfOnce) {
  site.MakeCustomers(3);
  site.WritePage(
      "list.asp",
      "<% var page = Server.CreateObject('Varnel.Page'); page.OpenDatabaseConnection('Demo');"
      " var c = Server.CreateObject('ADODB.Connection'); c.Open('Provider=SQLite;Data Source=demo.db');"
      " c.Execute('SELECT id\\nFROM customer'); %>ok");
  EXPECT_EQ(Get("/shop/list.asp").body, "ok");
  EXPECT_EQ(Get("/shop/list.asp").body, "ok");
  const std::string log = EndedLog();
  EXPECT_EQ(CountInLog(log, "A line break stands beside a keyword"), 1) << log;
}

}  // namespace
