// Ways round the guard of lists that somebody may think of, and what is left of a refusal: its page, its
// link, its line in the log.

#include <gmock/gmock.h>

#include "tests/application/ServedSite.h"
#include "tests/application/StateTexts.h"

namespace {

using hosttest::Answer;
using hosttest::Encoded;
using hosttest::FirstPageBy;
using testing::HasSubstr;
using testing::Not;

constexpr char kList[] = R"(<%
var page = Server.CreateObject("Varnel.Page"); page.OpenDatabaseConnection("Demo");
var rs = page.DRecordset(); rs.SetPageSize(3);
rs.OpenRS("SELECT id, name FROM customer", "id");
for (; !rs.EOF; rs.MoveNext()) Response.Write(rs("id") + " ");
%>)";

constexpr char kForm[] = R"(<%
var page = Server.CreateObject("Varnel.Page"); page.OpenDatabaseConnection("Demo"); page.SetDGridViaPost();
var rs = page.DRecordset(); rs.SetPageSize(3);
rs.OpenRS("SELECT id, name FROM customer", "id");
for (; !rs.EOF; rs.MoveNext()) Response.Write(rs("id") + " ");
%>)";

class ListBordersTest : public hosttest::PageTest {
 protected:
  ListBordersTest() {
    site.MakeCustomers(10);
    site.WritePage("list.asp", kList);
    site.WritePage("form.asp", kForm);
  }

  static std::string Bad() { return Encoded(FirstPageBy("born")); }
  static std::string Good() { return Encoded(FirstPageBy("name DESC")); }

  std::string Log() {
    EndedLog();
    return site.Read("site.log");
  }
};

TEST_F(ListBordersTest, AParameterThatComesTwiceIsOneText) {
  EXPECT_EQ(Get("/shop/list.asp?R_1=" + Bad() + "&R_1=" + Good()).status, 400);
  EXPECT_EQ(Get("/shop/list.asp?R_1=&R_1=" + Bad()).status, 400);
  EXPECT_NE(Get("/shop/list.asp?R_1=" + Good() + "&r_1=" + Bad()).status, 500);
  EXPECT_EQ(Get("/shop/list.asp?r_1=" + Bad()).status, 400);
  EXPECT_EQ(Get("/shop/list.asp?R%5f1=" + Bad()).status, 400);
}

TEST_F(ListBordersTest, OnlyItsOwnPlaceGivesAListItsState) {
  EXPECT_EQ(Get("/shop/list.asp", "Cookie: R_1=" + Bad() + "\r\n").body, "1 2 3 ");
  EXPECT_EQ(Post("/shop/list.asp", "R_1=" + Bad()).body, "1 2 3 ");
  EXPECT_EQ(Post("/shop/list.asp?R_1=" + Bad(), "R_1=" + Good()).status, 400);
  EXPECT_EQ(Post("/shop/form.asp?R_1=" + Bad() + "&CHOWC=1&CTATEC=" + Bad(), "").status, 200);
  EXPECT_EQ(Get("/shop/form.asp?CHOWC=1&CTATEC=" + Bad()).status, 400);
  EXPECT_EQ(Post("/shop/form.asp", "R_10.x=1&R_10d=" + Good() + "&CHOWC=1&CTATEC=" + Bad()).body, "10 9 8 ");
  EXPECT_EQ(Post("/shop/form.asp", "R_10.x=1&R_10d=&R_13.x=1&R_13d=" + Bad()).status, 400);
}

TEST_F(ListBordersTest, TextsThatAreNoneAreRefused) {
  for (const char* text : {"%00", "%20", "0x10x1x%00", "%EF%BC%90x10x1x%20%2000x1x0x0x", "0%C2%A0x10x1x"})
    EXPECT_EQ(Get(std::string("/shop/list.asp?R_1=") + text).status, 400) << text;
  EXPECT_EQ(Post("/shop/form.asp", "R_10.x=1&R_10d=" + std::string(1000000, '1')).status, 400);
  EXPECT_EQ(Post("/shop/form.asp", "R_10.x=1&R_10d=" + FirstPageBy("") + std::string(900000, 'x')).status,
            200);
}

TEST_F(ListBordersTest, HeadIsAnsweredWithoutABody) {
  Client().Send("HEAD /shop/list.asp?R_1=" + Bad() + " HTTP/1.1\r\nHost: localhost\r\n\r\n");
  EXPECT_EQ(Client().ReadAnswer(true).status, 400);
  EXPECT_EQ(Get("/shop/list.asp").body, "1 2 3 ");
}

TEST_F(ListBordersTest, ARefusalEndsThePagesAround) {
  site.WritePage("outer.asp",
                 "<% Response.Write('before'); Server.Execute('list.asp'); Response.Write('behind'); %>");
  const Answer answer = Get("/shop/outer.asp?R_1=" + Bad());
  EXPECT_EQ(answer.status, 400);
  EXPECT_THAT(answer.body, Not(HasSubstr("behind")));
  EXPECT_THAT(answer.body, Not(HasSubstr("before")));
}

// The status has left; what follows doesn't.
TEST_F(ListBordersTest, BehindWhatHasLeftNothingFollows) {
  site.WritePage("begun.asp",
                 "<% Response.Write('begun'); Response.Flush(); %>" + std::string(kList) + "behind");
  const Answer answer = Get("/shop/begun.asp?R_1=" + Bad(), "Connection: close\r\n");
  EXPECT_THAT(answer.body, Not(HasSubstr("behind")));
  EXPECT_THAT(answer.body, Not(HasSubstr("1 2 3")));
  EXPECT_THAT(Log(), HasSubstr("Refused: "));
}

TEST_F(ListBordersTest, TheLinkOfARefusalIsOfThisSiteAndHoldsNoMarkup) {
  site.WritePage("a\"b'<c>.asp", kList);
  const Answer named = Get("/shop/a%22b'%3Cc%3E.asp?R_1=" + Bad() + "&q=%22%3E%3Cscript%3E'");
  EXPECT_EQ(named.status, 400);
  EXPECT_THAT(named.body, Not(HasSubstr("<c>")));
  EXPECT_THAT(named.body, Not(HasSubstr("<script>")));
  EXPECT_THAT(named.body, HasSubstr("href=\"/shop/a"));
  for (const char* path : {"//evil.example/shop/list.asp", "/shop//list.asp", "/shop/../shop/list.asp",
                           "/%2F/evil.example/../shop/list.asp", "http://evil.example/shop/list.asp"}) {
    const Answer answer = Get(std::string(path) + "?R_1=" + Bad());
    EXPECT_THAT(answer.body, Not(HasSubstr("href=\"//"))) << path;
    EXPECT_THAT(answer.body, Not(HasSubstr("evil.example"))) << path;
  }
}

TEST_F(ListBordersTest, AHeaderIsNotMadeOfTheParameters) {
  const Answer answer = Get("/shop/list.asp?R_1=" + Bad() + "&q=a%0D%0ASet-Cookie:%20x=1");
  EXPECT_EQ(answer.status, 400);
  EXPECT_THAT(answer.body, Not(HasSubstr("\nSet-Cookie")));
}

TEST_F(ListBordersTest, ARefusalIsOneLineOfTheLog) {
  const std::string forged = "x\r\n2026-01-01 error [1] planted\x1b[31m";
  EXPECT_EQ(Get("/shop/list.asp?R_1=" + Encoded(FirstPageBy(forged))).status, 400);
  // A surrogate without its partner, and half of a pair where the name is cut.
  EXPECT_EQ(Get("/shop/list.asp?R_1=" + Encoded("0x10x1x  6z102400x1x0x0x")).status, 400);
  EXPECT_EQ(Get("/shop/list.asp?R_1=" + Encoded("0x10x1x  5552960x1x0x0x")).status, 400);
  const std::string log = Log();
  EXPECT_THAT(log, Not(HasSubstr("\n2026-01-01 error"))) << log;
  EXPECT_THAT(log, Not(HasSubstr("\x1b"))) << log;
  EXPECT_THAT(log, HasSubstr("planted"));
}

TEST_F(ListBordersTest, AListThatAnswersRefusalsBeginsAtItsFirstPage) {
  site.Write("site.toml", site.Read("site.toml") + "\n[lists]\nrefused_page = \"form.asp\"\n");
  const Answer answer = Post("/shop/form.asp", "R_10.x=1&R_10d=" + Bad());
  EXPECT_EQ(answer.status, 400);
  EXPECT_EQ(answer.body, "1 2 3 ");
}

TEST_F(ListBordersTest, ASealIsInItsOwnLetters) {
  site.Write("site.toml", site.Read("site.toml") + "\n[lists]\nlinks = \"sealed\"\n");
  site.WritePage("state.asp", std::string(kList) + "<%= rs.GetStateNext() %>");
  const std::string body = Get("/shop/state.asp").body;
  const std::string state = body.substr(6);
  EXPECT_EQ(Get("/shop/state.asp?R_1=" + Encoded(state)).status, 200);
  std::string upper = state;
  for (char& c : upper) c = c >= 'a' && c <= 'f' ? static_cast<char>(c - 32) : c;
  EXPECT_NE(upper, state);
  EXPECT_EQ(Get("/shop/state.asp?R_1=" + Encoded(upper)).status, 400);
  for (const std::string& text : {state + " ", " " + state, state + state, state + ", ", state + "%00"})
    EXPECT_EQ(Get("/shop/state.asp?R_1=" + Encoded(text)).status, 400) << text;
  EXPECT_EQ(Get("/shop/state.asp?R_1=" + Encoded(state) + "&R_1=").status, 400);
  EXPECT_EQ(Post("/shop/form.asp", "R_10.x=1&R_10d=" + Encoded(state)).status, 400) << "another page's";
}

}  // namespace
