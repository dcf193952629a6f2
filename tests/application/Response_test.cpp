// What a page says of its response.

#include <gmock/gmock.h>

#include "tests/application/ServedSite.h"

namespace {

using hosttest::Answer;
using testing::HasSubstr;
using testing::Not;

class ResponseTest : public hosttest::PageTest {
 protected:
  static std::string HeaderOf(const Answer& answer, const std::string& name) {
    const std::string* value = answer.headers.Find(name);
    return value == nullptr ? "(none)" : *value;
  }
};

TEST_F(ResponseTest, PageAndItsWritesStandInOrderInUtf8) {
  const Answer answer =
      Ask("a<% Response.Write('\xC3\xA4'); %>b<% Response.BinaryWrite(new Uint8Array([99, 100])); %>e");
  EXPECT_EQ(answer.body,
            "a\xC3\xA4"
            "bcde");
  EXPECT_EQ(HeaderOf(answer, "Content-Type"), "text/html; charset=utf-8");
}

TEST_F(ResponseTest, RedirectSendsThereAndEndsThePage) {
  const Answer answer =
      Ask("lost <% try { Response.Redirect('b.asp?x=1&y=2'); } catch (e) {} finally {}"
          " Application.Contents['ran'] = 1; %>lost");
  EXPECT_EQ(answer.status, 302);
  EXPECT_EQ(HeaderOf(answer, "Location"), "b.asp?x=1&y=2");
  EXPECT_THAT(answer.body, Not(HasSubstr("lost")));
  EXPECT_EQ(Value("Application('ran')"), "");
}

TEST_F(ResponseTest, EndKeepsWhatIsWrittenAndNothingAfterRuns) {
  EXPECT_EQ(Output("kept<% function inner() { try { Response.End(); } finally { Response.Write('no'); } }"
                   " inner(); %>lost"),
            "kept");
}

TEST_F(ResponseTest, ClearDropsWhatIsNotSent) {
  EXPECT_EQ(Output("gone<% Response.Clear(); %>kept"), "kept");
}

TEST_F(ResponseTest, FailedPageAnswersACleanErrorBecauseItsTextWasBuffered) {
  const Answer answer =
      Ask("<%= 'ha' + 'lf' %> a page <% Response.ContentType = 'text/plain'; nothing(); %>");
  EXPECT_EQ(answer.status, 500);
  EXPECT_THAT(answer.body, Not(HasSubstr("half")));
  EXPECT_EQ(HeaderOf(answer, "Content-Type"), "text/html; charset=utf-8");
  EXPECT_EQ(Value("Response.Buffer"), "True");
}

TEST_F(ResponseTest, FlushSendsAndTheRestFollows) {
  const Answer answer = Ask("first <% Response.Flush(); %>second<% Response.Clear(); %>third");
  EXPECT_EQ(answer.body, "first third");
  EXPECT_EQ(answer.status, 200);
}

TEST_F(ResponseTest, PageThatFailsAfterFlushIsBrokenOff) {
  site.WritePage("a.asp", "sent <% Response.Flush(); nothing(); %>");
  Client().Send("GET /shop/a.asp HTTP/1.1\r\nHost: localhost\r\n\r\n");
  const std::string all = Client().ReadToEnd();
  EXPECT_THAT(all, HasSubstr("sent "));
  EXPECT_THAT(all, Not(HasSubstr("500")));
  EXPECT_THAT(all, Not(testing::EndsWith("0\r\n\r\n")));
  EXPECT_THAT(EndedLog(), HasSubstr("nothing is not defined"));
}

TEST_F(ResponseTest, HeadIsClosedOnceItIsSent) {
  EXPECT_EQ(Output("<% Response.Flush(); try { Response.Status = '404 Not Found'; } catch (e) { %>"
                   "<%= e.description %><% } %>"),
            "The head of the response was sent already.");
}

TEST_F(ResponseTest, WithoutBufferEachWriteIsSent) {
  site.WritePage("a.asp", "<% Response.Buffer = false; %>one<% Response.Write('two'); nothing(); %>");
  Client().Send("GET /shop/a.asp HTTP/1.1\r\nHost: localhost\r\n\r\n");
  const std::string all = Client().ReadToEnd();
  EXPECT_THAT(all, HasSubstr("one"));
  EXPECT_THAT(all, HasSubstr("two"));
}

TEST_F(ResponseTest, PageThatWritesTooMuchFails) {
  site.Write("site.toml",
             "[site]\nroot = \"/shop\"\nmode = \"development\"\n[server]\nthreads = 1\nmax_response_buffer = "
             "1000\n");
  EXPECT_EQ(Output("<% Response.Write('x'.repeat(1000)); %>").size(), 1000U);
  EXPECT_EQ(Ask("<% Response.Write('x'.repeat(1001)); %>").status, 500);
  EXPECT_EQ(Ask("<% try { Response.Write('x'.repeat(1001)); } catch (e) {} %>small").status, 500);
}

TEST_F(ResponseTest, StatusTypeAndHeadersAreThePages) {
  const Answer answer =
      Ask("<% Response.Status = '410 Gone for good'; Response.ContentType = 'text/csv';"
          " Response.Charset = 'utf-8'; Response.AddHeader('X-A', '1'); Response.CacheControl ="
          " 'public'; Response.Expires = -1; %>a;b");
  EXPECT_EQ(answer.status, 410);
  EXPECT_EQ(HeaderOf(answer, "Content-Type"), "text/csv; charset=utf-8");
  EXPECT_EQ(HeaderOf(answer, "X-A"), "1");
  EXPECT_EQ(HeaderOf(answer, "Cache-Control"), "public");
  EXPECT_THAT(HeaderOf(answer, "Expires"), HasSubstr(" GMT"));
  EXPECT_EQ(answer.body, "a;b");
}

TEST_F(ResponseTest, CookieIsSetAndComesBack) {
  const Answer answer = Ask("<% Response.Cookies['last seen'] = 'a;b'; %>");
  EXPECT_THAT(HeaderOf(answer, "Set-Cookie"), HasSubstr("Path=/shop"));
  EXPECT_EQ(Ask("<%= Request.Cookies('LAST SEEN') %>", "", hosttest::CookieLine(answer)).body, "a;b");
}

TEST_F(ResponseTest, ClientIsConnected) { EXPECT_EQ(Value("Response.IsClientConnected"), "True"); }

}  // namespace
