// A site's own pages for what went wrong, which must not make it worse.

#include <gmock/gmock.h>

#include "tests/application/ServedSite.h"

namespace {

using hosttest::Answer;
using testing::HasSubstr;
using testing::Not;

class ErrorPagesTest : public hosttest::PageTest {
 protected:
  void SetMode(const std::string& mode) {
    std::string text = site.Read("site.toml");
    text.replace(text.find("development"), 11, mode);
    site.Write("site.toml", text);
  }

  static constexpr char kPage[] =
      "<%: Request.ServerVariables('ERROR_STATUS') %> of <%: Request.ServerVariables('ERROR_PATH') %>, "
      "<%: Request.ServerVariables('REQUEST_METHOD') %> <%: Request.ServerVariables('ERROR_ID').Count %>";
};

TEST_F(ErrorPagesTest, AnswerWhatIsMissing) {
  site.WritePage("errors/404.asp", kPage);
  for (const char* target :
       {"/shop/none.asp", "/shop/none.html", "/shop/a/b/", "/shop/.hidden", "/shop/site.toml"}) {
    const Answer answer = Get(target);
    EXPECT_EQ(answer.status, 404) << target;
    EXPECT_THAT(answer.body, HasSubstr("404 of " + std::string(target))) << target;
    EXPECT_THAT(answer.body, HasSubstr("GET 1")) << target;
  }
  EXPECT_THAT(Get("/elsewhere").body, HasSubstr("404 of /elsewhere"));
}

TEST_F(ErrorPagesTest, AreHtmlTextOfWhatAVisitorAskedFor) {
  site.WritePage("errors/404.asp", kPage);
  EXPECT_THAT(Get("/shop/%3Cb%3E.asp").body, HasSubstr("404 of /shop/&lt;b&gt;.asp"));
}

TEST_F(ErrorPagesTest, AreForPagesNotForImages) {
  site.WritePage("errors/404.asp", "own");
  EXPECT_THAT(Get("/shop/none.png", "Accept: image/avif,image/webp,*/*;q=0.8\r\n").body,
              Not(HasSubstr("own")));
  EXPECT_EQ(Get("/shop/none.png", "Accept: text/html,*/*;q=0.8\r\n").body, "own");
}

TEST_F(ErrorPagesTest, WithoutOneTheServersStands) {
  const Answer answer = Get("/shop/none.asp");
  EXPECT_EQ(answer.status, 404);
  EXPECT_THAT(answer.body, HasSubstr("There is nothing at this address."));
}

TEST_F(ErrorPagesTest, AnswerAPageThatFailsInProduction) {
  SetMode("production");
  site.WritePage("errors/500.asp", kPage);
  site.WritePage("bad.asp", "text <% throw new Error('secret'); %>");
  const Answer answer = Post("/shop/bad.asp", "a=1");
  EXPECT_EQ(answer.status, 500);
  EXPECT_EQ(answer.body, "500 of /shop/bad.asp, GET 1");
  EXPECT_THAT(EndedLog(), HasSubstr("bad.asp, line 1: secret"));
}

TEST_F(ErrorPagesTest, LeaveTheDevelopersViewAlone) {
  site.WritePage("errors/500.asp", "own");
  EXPECT_THAT(Failure("<% throw new Error('told'); %>"), HasSubstr("told"));
}

TEST_F(ErrorPagesTest, ThatFailThemselvesAreNotAskedAgain) {
  SetMode("production");
  site.WritePage("errors/500.asp",
                 "<% Application.Contents['runs'] = (Application('runs') || 0) + 1; none(); %>");
  site.WritePage("errors/404.asp",
                 "<% Application.Contents['runs'] = (Application('runs') || 0) + 1; none(); %>");
  site.WritePage("bad.asp", "<% none(); %>");
  site.WritePage("runs.asp", "<%= Application('runs') %>");
  EXPECT_THAT(Get("/shop/bad.asp").body, HasSubstr("The page could not be made."));
  EXPECT_EQ(Get("/shop/runs.asp").body, "1");
  EXPECT_THAT(Get("/shop/none.asp").body, HasSubstr("There is nothing at this address."));
  EXPECT_EQ(Get("/shop/runs.asp").body, "2");
  const Answer asked = Get("/shop/errors/500.asp");
  EXPECT_EQ(asked.status, 500);
  EXPECT_EQ(Get("/shop/runs.asp").body, "3") << "a failing error page is one more failure, not two";
}

TEST_F(ErrorPagesTest, ThatAskForMissingPagesDoNotLoop) {
  site.WritePage("errors/404.asp",
                 "own <% try { Server.Execute('none.asp'); } catch (e) { Response.Write('no'); } %>");
  const Answer answer = Get("/shop/x.asp");
  EXPECT_EQ(answer.status, 404);
  EXPECT_EQ(answer.body, "own no");
}

TEST_F(ErrorPagesTest, KeepTheStatusWhateverTheySay) {
  site.WritePage("errors/404.asp", "<% Response.Status = '200 OK'; Response.Flush(); %>own");
  EXPECT_EQ(Get("/shop/none.asp").status, 404);
  site.WritePage("errors/404.asp", "<% Response.Redirect('/shop/none.asp'); %>");
  EXPECT_EQ(Get("/shop/other.asp").status, 404);
}

TEST_F(ErrorPagesTest, CanNotBeToldWhatHappenedByAVisitor) {
  site.WritePage("errors/404.asp", kPage);
  const Answer answer = Get("/shop/none.asp?ERROR_STATUS=1", "ERROR_STATUS: 2\r\nERROR-STATUS: 3\r\n");
  EXPECT_THAT(answer.body, testing::StartsWith("404 of /shop/none.asp"));
}

TEST_F(ErrorPagesTest, DoNotOutliveTheFailureByMuch) {
  SetMode("production");
  site.Write("site.toml", site.Read("site.toml") + "\n[forms]\ntoken = false\n");
  site.WritePage("errors/500.asp", "<% while (true); %>");
  site.WritePage("bad.asp", "<% none(); %>");
  EXPECT_THAT(Get("/shop/bad.asp").body, HasSubstr("The page could not be made."));
}

TEST_F(ErrorPagesTest, TellTheVisitorOfASessionThatTheFailedPageBegan) {
  SetMode("production");
  site.WritePage("errors/500.asp", "own");
  site.WritePage("bad.asp", "<% Session.Contents['a'] = 1; none(); %>");
  EXPECT_NE(hosttest::CookieLine(Get("/shop/bad.asp")), "");
}

TEST_F(ErrorPagesTest, AnswerARefusedForm) {
  site.WritePage("errors/403.asp", "own <%: Request.ServerVariables('ERROR_STATUS') %>");
  site.WritePage("save.asp", "saved");
  const Answer answer =
      Post("/shop/save.asp", "a=1", "application/x-www-form-urlencoded", "Sec-Fetch-Site: cross-site\r\n");
  EXPECT_EQ(answer.status, 403);
  EXPECT_EQ(answer.body, "own 403");
}

TEST_F(ErrorPagesTest, AnswerAPageThatSaysSoByItsStatusAlone) {
  site.WritePage("errors/404.asp", kPage);
  site.WritePage(
      "book.asp",
      "\n\r\n<% Session.Contents['a'] = 1; Response.Status = '404 Not Found'; Response.End(); %>rest");
  for (const char* mode : {"development", "production"}) {
    if (mode != std::string("development")) SetMode(mode);
    const Answer answer = Get("/shop/book.asp?id=7");
    EXPECT_EQ(answer.status, 404);
    EXPECT_THAT(answer.body, HasSubstr("404 of /shop/book.asp, GET 1"));
    EXPECT_NE(hosttest::CookieLine(answer), "");
  }
}

TEST_F(ErrorPagesTest, LeaveAPagesOwnTextAlone) {
  site.WritePage("errors/404.asp", kPage);
  site.WritePage("own.asp", "<% Response.Status = '404 Not Found'; %>no such book");
  EXPECT_EQ(Get("/shop/own.asp").body, "no such book");
  site.WritePage("flushed.asp",
                 "<% Response.Status = '404 Not Found'; Response.Write('sent'); Response.Flush(); %>");
  EXPECT_EQ(Get("/shop/flushed.asp").body, "sent");
  site.WritePage("gone.asp", "<% Response.Status = '410 Gone'; %>");
  const Answer gone = Get("/shop/gone.asp");
  EXPECT_EQ(gone.status, 410);
  EXPECT_EQ(gone.body, "");
}

TEST_F(ErrorPagesTest, WithoutATextAreNotAskedAgain) {
  site.WritePage("errors/404.asp", "<% Response.Status = '404 Not Found'; %>");
  EXPECT_EQ(Get("/shop/errors/404.asp").status, 404);
  EXPECT_EQ(Get("/shop/none.asp").status, 404);
}

TEST_F(ErrorPagesTest, OfAHeadHasNoBody) {
  site.WritePage("errors/404.asp", "own");
  Client().Send("HEAD /shop/none.asp HTTP/1.1\r\nHost: localhost\r\n\r\n");
  const Answer answer = Client().ReadAnswer(true);
  EXPECT_EQ(answer.status, 404);
  EXPECT_EQ(answer.body, "");
  EXPECT_EQ(Get("/shop/none.asp").body, "own");
}

}  // namespace
