// What a site does with the links of its lists, by [lists] of its configuration.

#include <gmock/gmock.h>

#include "tests/application/ServedSite.h"
#include "tests/application/StateTexts.h"

namespace {

using hosttest::Answer;
using hosttest::Encoded;
using hosttest::FirstPageBy;
using hosttest::StateText;
using testing::HasSubstr;
using testing::Not;

// Shows the links of the bar and the rows; what the query names "setup" is done before the list is opened.
constexpr char kList[] = R"(<%
var page = Server.CreateObject("Varnel.Page"); page.OpenDatabaseConnection("Demo");
if (Request.QueryString("allow") + "") page.AllowSort(Request.QueryString("allow") + "");
if (Request.QueryString("accept") + "") page.AcceptStatesOf(Request.QueryString("accept") + "");
var rs = page.DRecordset(); rs.SetPageSize(3); rs.SetPageJump(true, 10); rs.SetRecCountON();
try { rs.OpenRS("SELECT C.id, C.name, 0 - C.id AS minus FROM customer C", "id"); } catch (e) { Response.Write("caught"); }
finally { Response.Write(""); }
for (; !rs.EOF; rs.MoveNext()) Response.Write(rs("id") + " ");
%>
next=<%= rs.GetUrlNext() %>
state=<%= rs.GetStateNext() %>
sorted=<%= rs.GetUrlSorted("name DESC") %>
page=<%= rs.GetUrlForPage(3) %>
)";

// The text behind `name` up to the line's end.
std::string LineOf(const Answer& answer, const std::string& name) {
  const auto begin = answer.body.find(name + "=");
  if (begin == std::string::npos) return "";
  const auto start = begin + name.size() + 1;
  return answer.body.substr(start, answer.body.find('\n', start) - start);
}

class ListLinksTest : public hosttest::PageTest {
 protected:
  ListLinksTest() {
    site.MakeCustomers(10);
    site.RunSql("CREATE TABLE vault (secret TEXT); INSERT INTO vault VALUES ('xyzzy');");
    site.WritePage("list.asp", kList);
    site.WritePage("index.asp", kList);
    site.WritePage("transfer.asp", "<% Server.Transfer('list.asp'); %>");
  }

  void Configure(const std::string& lists) {
    site.Write("site.toml", site.Read("site.toml") + "\n[lists]\n" + lists + "\n");
  }

  Answer List(const std::string& state, const std::string& more = "") {
    return Get("/shop/list.asp?R_1=" + Encoded(state) + more);
  }

  void ExpectRefused(const Answer& answer) {
    EXPECT_EQ(answer.status, 400) << answer.body;
    EXPECT_THAT(answer.body, HasSubstr("<a href=\"/shop/")) << answer.body;
    EXPECT_THAT(answer.body, Not(HasSubstr("caught")));
    EXPECT_THAT(answer.body, Not(HasSubstr("xyzzy")));
  }

  // One line for each refusal, none at the level of errors.
  void ExpectLog(int refusals) {
    const std::string log = EndedLog();
    int lines = 0;
    for (std::size_t at = 0; (at = log.find("Refused: ", at)) != std::string::npos; ++at) ++lines;
    EXPECT_EQ(lines, refusals) << log;
    EXPECT_THAT(log, Not(HasSubstr(" error ["))) << log;
  }
};

TEST_F(ListLinksTest, WithoutAWordInTheConfigurationOnlyShownColumnsSort) {
  EXPECT_THAT(List(FirstPageBy("name DESC")).body, HasSubstr("10 9 8 "));
  EXPECT_THAT(List(FirstPageBy("[name] DESC, C.id")).body, HasSubstr("10 9 8 "));
  for (const char* sort :
       {"active", "C.active", "born DESC", "X.name", "lower(name)", "active AS name",
        "(SELECT secret FROM vault)", "0 UNION SELECT secret, 1 FROM vault WHERE 'z' AS id", "' AS id",
        "name--", "rowid", "1", "name COLLATE BINARY", "name,"}) {
    ExpectRefused(List(FirstPageBy(sort)));
  }
  ExpectLog(14);
}

TEST_F(ListLinksTest, ASortThatThePageAllowsIsItsOwn) {
  EXPECT_THAT(List(FirstPageBy("0 - id AS minus"), "&allow=" + Encoded("0 - id AS minus")).body,
              HasSubstr("next="));
  ExpectRefused(List(FirstPageBy("1 - id AS minus"), "&allow=" + Encoded("0 - id AS minus")));
}

TEST_F(ListLinksTest, LinksOfThePageLeadOnWithPlainColumns) {
  const Answer first = Get("/shop/list.asp");
  EXPECT_THAT(Get(LineOf(first, "next")).body, HasSubstr("4 5 6 "));
  EXPECT_THAT(Get(LineOf(first, "sorted")).body, HasSubstr("10 9 8 "));
  EXPECT_THAT(Get(LineOf(first, "page")).body, HasSubstr("7 8 9 "));
  ExpectLog(0);
}

TEST_F(ListLinksTest, DamageIsRefusedAndCaughtByNoScript) {
  ExpectRefused(List("1x10"));
  ExpectRefused(List("99999999999x"));
  ExpectRefused(List("1x10x4x" + StateText("id") + "0x1x" + StateText("3") + StateText("3") + "1x1x4x"));
  ExpectLog(3);
}

TEST_F(ListLinksTest, TheAnswerLeadsToTheFirstPageWithTheOtherParameters) {
  const Answer answer = Get("/shop/list.asp?group=a%26b&R_1=broken&CHOWC=1&r_2=x&q=1");
  EXPECT_EQ(answer.status, 400);
  EXPECT_THAT(answer.body, HasSubstr("<a href=\"/shop/list.asp?group=a%26b&amp;q=1\">"));
}

TEST_F(ListLinksTest, SealedLinksLeadOn) {
  Configure("links = \"sealed\"");
  const Answer first = Get("/shop/list.asp");
  EXPECT_THAT(first.body, HasSubstr("1 2 3 "));
  EXPECT_THAT(Get(LineOf(first, "next")).body, HasSubstr("4 5 6 "));
  EXPECT_THAT(Get(LineOf(first, "sorted")).body, HasSubstr("10 9 8 "));
  EXPECT_THAT(Get(LineOf(first, "page")).body, HasSubstr("7 8 9 "));
  EXPECT_THAT(List(LineOf(first, "state")).body, HasSubstr("4 5 6 "));
  ExpectLog(0);
}

TEST_F(ListLinksTest, SealedRefusesWhatTheSiteDidNotMake) {
  Configure("links = \"sealed\"");
  ExpectRefused(List(FirstPageBy("name")));
  const std::string state = LineOf(Get("/shop/list.asp"), "state");
  for (std::size_t i = 0; i < state.size(); ++i) {
    std::string changed = state;
    changed[i] = changed[i] == '1' ? '2' : '1';
    ExpectRefused(List(changed));
  }
  ExpectRefused(List(state + "3x"));
  ExpectRefused(Get("/shop/list.asp?R_2=" + Encoded(state) + "&R_1=" + Encoded(FirstPageBy("id"))));
}

TEST_F(ListLinksTest, ASealIsOfOnePageUnlessTheOtherTakesIt) {
  Configure("links = \"sealed\"");
  const std::string state = LineOf(Get("/shop/list.asp"), "state");
  ExpectRefused(Get("/shop/?R_1=" + Encoded(state)));
  EXPECT_THAT(Get("/shop/?accept=list.asp&R_1=" + Encoded(state)).body, HasSubstr("4 5 6 "));
}

TEST_F(ListLinksTest, TheDefaultPageIsOneByBothItsNames) {
  Configure("links = \"sealed\"");
  const std::string state = LineOf(Get("/shop/"), "state");
  EXPECT_THAT(Get("/shop/index.asp?R_1=" + Encoded(state)).body, HasSubstr("4 5 6 "));
}

TEST_F(ListLinksTest, ATransferKeepsThePageThatWasAskedFor) {
  Configure("links = \"sealed\"");
  const Answer first = Get("/shop/transfer.asp");
  EXPECT_THAT(Get(LineOf(first, "next")).body, HasSubstr("4 5 6 "));
  ExpectRefused(List(LineOf(first, "state")));
}

TEST_F(ListLinksTest, ALinkOfYesterdayIsGoodAfterARestartAndOnAnotherServerWithTheKey) {
  Configure("links = \"sealed\"\nkeys = [\"000102030405060708090a0b0c0d0e0f\"]");
  const std::string state = LineOf(Get("/shop/list.asp"), "state");
  EndedLog();
  EXPECT_THAT(List(state).body, HasSubstr("4 5 6 "));
}

TEST_F(ListLinksTest, TheKeyThatWasMadeStays) {
  Configure("links = \"sealed\"");
  const std::string state = LineOf(Get("/shop/list.asp"), "state");
  EndedLog();
  EXPECT_THAT(List(state).body, HasSubstr("4 5 6 "));
}

TEST_F(ListLinksTest, AnythingGoesWhereTheOwnerSaysSo) {
  Configure("links = \"any\"");
  EXPECT_THAT(List(FirstPageBy("0 - id AS minus")).body, HasSubstr("next="));
  EXPECT_THAT(List("1x10").body, HasSubstr("caught"));
}

TEST_F(ListLinksTest, TheSitesOwnPageAnswersARefusal) {
  Configure("refused_page = \"refused.asp\"");
  site.WritePage("refused.asp",
                 "<h1>No.</h1><a href=\"<%= Server.HTMLEncode(Request.ServerVariables(\"REFUSED_LIST\") + "
                 "\"\") %>\">on</a><%= Request.QueryString.Count %>");
  const Answer answer = Get("/shop/list.asp?group=5&R_1=broken");
  EXPECT_EQ(answer.status, 400);
  EXPECT_EQ(answer.body, "<h1>No.</h1><a href=\"/shop/list.asp?group=5\">on</a>0");
}

TEST_F(ListLinksTest, AFailingPageForRefusalsIsReplaced) {
  Configure("refused_page = \"refused.asp\"");
  site.WritePage("refused.asp", "<% nothing.there(); %>");
  const Answer answer = Get("/shop/list.asp?R_1=broken");
  EXPECT_EQ(answer.status, 400);
  EXPECT_THAT(answer.body, HasSubstr("<a href=\"/shop/list.asp\">"));
}

TEST_F(ListLinksTest, AScriptsOwnTextIsJudgedToo) {
  site.WritePage("own.asp", R"(<%
    var page = Server.CreateObject("Varnel.Page"); page.OpenDatabaseConnection("Demo");
    var rs = page.DRecordset();
    rs.SetState(Request.QueryString("s") + "");
    rs.OpenRS("SELECT id FROM customer", "id"); %>shown)");
  EXPECT_EQ(Get("/shop/own.asp?s=" + Encoded(FirstPageBy("id"))).body, "shown");
  ExpectRefused(Get("/shop/own.asp?s=" + Encoded(FirstPageBy("name"))));
}

}  // namespace
