// Requests that change something: which are taken, and from whom.

#include <gmock/gmock.h>

#include "tests/application/ServedSite.h"

namespace {

using hosttest::Answer;
using testing::HasSubstr;
using testing::Not;

class FormsTest : public hosttest::PageTest {
 protected:
  FormsTest() {
    site.WritePage("form.asp",
                   "<form method=\"post\"><input type=\"hidden\" name=\"FormToken\" value=\"<%: FormToken() "
                   "%>\"></form>");
    site.WritePage("save.asp", "saved <%: Request.Form('a') %>");
  }

  void AskForTokens() { site.Write("site.toml", site.Read("site.toml") + "\n[forms]\ntoken = true\n"); }

  Answer Save(const std::string& headers, const std::string& body = "a=1") {
    return Post("/shop/save.asp", body, "application/x-www-form-urlencoded", headers);
  }

  // The token in a page's hidden field, with the session's cookie as a header line.
  struct Visitor {
    std::string cookie;
    std::string token;
  };
  Visitor Begin() {
    const Answer form = Get("/shop/form.asp");
    const std::string mark = "value=\"";
    const auto begin = form.body.find(mark) + mark.size();
    return {hosttest::CookieLine(form), form.body.substr(begin, form.body.find('"', begin) - begin)};
  }
};

TEST_F(FormsTest, OfAnotherSitesPageAreRefusedByDefault) {
  for (const char* headers : {"Sec-Fetch-Site: cross-site\r\n", "Sec-Fetch-Site: same-site\r\n",
                              "Origin: http://evil.example\r\n", "Origin: null\r\n"}) {
    const Answer answer = Save(headers);
    EXPECT_EQ(answer.status, 403) << headers;
    EXPECT_THAT(answer.body, Not(HasSubstr("saved"))) << headers;
  }
  EXPECT_THAT(
      EndedLog(),
      HasSubstr("Refused: a page of another site sends this request, as http://evil.example says (Origin)"));
}

TEST_F(FormsTest, OfTheSitesOwnPagesAndOfProgramsAreTaken) {
  for (const char* headers : {"", "Sec-Fetch-Site: same-origin\r\nOrigin: http://localhost\r\n",
                              "Origin: http://localhost\r\n", "Sec-Fetch-Site: none\r\n"})
    EXPECT_EQ(Save(headers).body, "saved 1") << headers;
}

TEST_F(FormsTest, AGetOfAnotherSiteIsALink) {
  EXPECT_EQ(Get("/shop/save.asp", "Sec-Fetch-Site: cross-site\r\nOrigin: http://evil.example\r\n").status,
            200);
}

TEST_F(FormsTest, OfANamedSiteAreTaken) {
  site.Write("site.toml", site.Read("site.toml") + "\n[forms]\norigins = [\"https://pay.example\"]\n");
  EXPECT_EQ(Save("Origin: https://pay.example\r\nSec-Fetch-Site: cross-site\r\n").status, 200);
  EXPECT_EQ(Save("Origin: https://evil.example\r\nSec-Fetch-Site: cross-site\r\n").status, 403);
}

TEST_F(FormsTest, ARefusalIsNoPlaceForMarkup) {
  const Answer answer = Save("Origin: http://<script>alert(1)</script>\r\n");
  EXPECT_EQ(answer.status, 403);
  EXPECT_THAT(answer.body, Not(HasSubstr("<script>")));
}

// --- The session's token

TEST_F(FormsTest, NeedNoTokenUnlessTheSiteAsksForIt) { EXPECT_EQ(Save("").body, "saved 1"); }

TEST_F(FormsTest, MustBearTheSessionsTokenWhereTheSiteAsksForIt) {
  AskForTokens();
  const Visitor visitor = Begin();
  EXPECT_EQ(visitor.token.size(), 32u);
  EXPECT_EQ(Save(visitor.cookie, "a=1&FormToken=" + visitor.token).body, "saved 1");
  EXPECT_EQ(Save(visitor.cookie + "X-Form-Token: " + visitor.token + "\r\n").body, "saved 1");
  const Answer refused = Save(visitor.cookie);
  EXPECT_EQ(refused.status, 403);
  EXPECT_THAT(hosttest::Unescaped(refused.body), HasSubstr("value=\"<%: FormToken() %>\""));
}

TEST_F(FormsTest, WithAnyOtherTokenAreRefused) {
  AskForTokens();
  const Visitor visitor = Begin();
  const Visitor other = Begin();
  ASSERT_NE(visitor.token, other.token);
  for (const std::string& body :
       {std::string("FormToken="), "FormToken=" + other.token, "FormToken=" + visitor.token.substr(1),
        "FormToken=" + visitor.token + "0", "Token=" + visitor.token, "FormToken=" + visitor.token + "%00"})
    EXPECT_EQ(Save(visitor.cookie, body).status, 403) << body;
  EXPECT_EQ(Save("", "FormToken=" + visitor.token).status, 403) << "without the session";
  EXPECT_EQ(Save(other.cookie, "FormToken=" + visitor.token).status, 403) << "of another session";
  EXPECT_EQ(Post("/shop/save.asp?FormToken=" + visitor.token, "a=1", "application/x-www-form-urlencoded",
                 visitor.cookie)
                .status,
            403)
      << "in the address";
  EXPECT_EQ(
      Post("/shop/save.asp", "{\"FormToken\":\"" + visitor.token + "\"}", "application/json", visitor.cookie)
          .status,
      403);
}

TEST_F(FormsTest, WithFilesBearItAsAnyField) {
  AskForTokens();
  const Visitor visitor = Begin();
  const auto send = [&](const std::string& token) {
    const std::string body = "--x\r\nContent-Disposition: form-data; name=\"FormToken\"\r\n\r\n" + token +
                             "\r\n--x\r\nContent-Disposition: form-data; name=\"f\"; filename=\"a\"\r\n"
                             "Content-Type: text/plain\r\n\r\ncontent\r\n--x--\r\n";
    return Post("/shop/save.asp", body, "multipart/form-data; boundary=x", visitor.cookie).status;
  };
  EXPECT_EQ(send(visitor.token), 200);
  EXPECT_EQ(send("x"), 403);
  EXPECT_EQ(Post("/shop/save.asp", "--x\r\nbroken", "multipart/form-data; boundary=x", visitor.cookie).status,
            403);
}

TEST_F(FormsTest, APageMayDoWithoutTheToken) {
  AskForTokens();
  site.WritePage("hook.asp", "<%@ FormToken=False %>taken");
  EXPECT_EQ(Post("/shop/hook.asp", "a=1").body, "taken");
  EXPECT_EQ(
      Post("/shop/hook.asp", "a=1", "application/x-www-form-urlencoded", "Sec-Fetch-Site: cross-site\r\n")
          .status,
      403);
}

TEST_F(FormsTest, AnOldTokenEndsWithItsSession) {
  AskForTokens();
  site.WritePage("renew.asp", "<%@ FormToken=False %><% Session.Renew(); %><%: FormToken() %>");
  const Visitor visitor = Begin();
  const Answer renewed = Get("/shop/renew.asp", visitor.cookie);
  EXPECT_EQ(Save(visitor.cookie, "a=1&FormToken=" + visitor.token).status, 403);
  EXPECT_EQ(Save(hosttest::CookieLine(renewed), "a=1&FormToken=" + visitor.token).status, 403);
  EXPECT_EQ(Save(hosttest::CookieLine(renewed), "a=1&FormToken=" + renewed.body).status, 200);
}

TEST_F(FormsTest, AGridsFormBearsTheTokenByItself) {
  const std::string page =
      "<% var p = Server.CreateObject('Varnel.Page'); p.OpenDatabaseConnection('Demo'); var rs = "
      "p.DRecordset();"
      " rs.SetPageSize(2); var g = p.DGrid(rs, 'x', true); g.Col('Name', 'NAME');"
      " rs.OpenRS('SELECT ID, NAME FROM CUSTOMER', 'ID');"
      " while (!rs.EOF) { g.Cell(rs('NAME').Value); rs.MoveNext(); } %>"
      "<form method='post' name='f'><% p.Add(g); %></form>";
  site.MakeCustomers(5);
  site.Write("messages/1033.toml",
             "SLBGE0018 = \"a\"\nSLBGE0019 = \"a\"\nSLBGE0020 = \"a\"\nSLBGE0021 = \"a\"\nSLBGE0032 = \"a\"\n"
             "SLBGE0033 = \"a\"\nSLBGE0034 = \"a\"\nSLBGE0035 = \"a\"\nSLBGE0015 = \"a\"\nSLBGE0016 = "
             "\"a\"\nSLBGE0017 = \"a\"\n");
  site.WritePage("grid.asp", page);
  AskForTokens();
  const Visitor visitor = Begin();
  EXPECT_THAT(Get("/shop/grid.asp", visitor.cookie).body,
              HasSubstr("<input type=\"hidden\" name=\"FormToken\" value=\"" + visitor.token + "\">"));
}

TEST_F(FormsTest, FormTokenNeedsASession) {
  EXPECT_THAT(Failure("<%@ EnableSessionState=False %><%: FormToken() %>"),
              HasSubstr("EnableSessionState=False"));
  EXPECT_EQ(Value("FormToken() === Session.FormToken"), "True");
  EXPECT_EQ(Output("<% let FormToken = 1; %><%= FormToken %>"), "1");
}

}  // namespace
