// What visitors send and what pages do in error: an answer each, and the next request is served.

#include <gmock/gmock.h>

#include "tests/application/ServedSite.h"

namespace {

using hosttest::Answer;
using testing::HasSubstr;
using testing::Not;

class GuardsTest : public hosttest::PageTest {
 protected:
  void ExpectServing() { EXPECT_EQ(Output("served"), "served"); }
};

TEST_F(GuardsTest, TooManyParametersAreRefusedInAFewWords) {
  site.WritePage("form.asp", "<%= Request.Form.Count %>");
  std::string body;
  for (int i = 0; i < 100'000; ++i) body += "p" + std::to_string(i) + "=1&";
  const Answer answer = Post("/shop/form.asp", body);
  EXPECT_EQ(answer.status, 400);
  EXPECT_THAT(answer.body, HasSubstr("The request has too many parameters."));
  ExpectServing();
}

// Keys are kept in order, not hashed, so that no choice of them makes looking them up slow.
TEST_F(GuardsTest, ManyKeysWithOneLongBeginningAreRead) {
  site.WritePage("form.asp",
                 "<%= Request.Form.Count %> <%= Request.Form('" + std::string(200, 'k') + "19999') %>");
  std::string body;
  for (int i = 0; i < 20'000; ++i)
    body += std::string(200, 'k') + std::to_string(i) + "=" + std::to_string(i) + "&";
  EXPECT_EQ(Post("/shop/form.asp", body).body, "20000 19999");
}

TEST_F(GuardsTest, OneParameterGivenManyTimesIsOneLongValue) {
  site.WritePage(
      "form.asp",
      "<%= Request.Form.Count %> <%= Request.Form('a').Count %> <%= String(Request.Form('a')).length %>");
  std::string body;
  for (int i = 0; i < 20'000; ++i) body += "a=1&";
  EXPECT_EQ(Post("/shop/form.asp", body).body, "1 20000 " + std::to_string(20'000 + 2 * 19'999));
}

TEST_F(GuardsTest, BadEscapesAndBytesOfAFormAreRefused) {
  site.WritePage("form.asp", "<%= Request.Form('a') %>");
  for (const char* body :
       {"a=%", "a=%4", "a=%zz", "%zz=1", "a=%ff", "a=%C0%AF", "a=%ED%A0%80", "a=\xff", "a=%F5%80%80%80"}) {
    EXPECT_EQ(Post("/shop/form.asp", body).status, 400) << body;
    EXPECT_EQ(Get("/shop/form.asp?" + std::string(body)).status, 400) << body;
  }
  ExpectServing();
}

TEST_F(GuardsTest, NulInAParameterIsACharacterLikeOthers) {
  site.WritePage("form.asp", "<%= String(Request('a')).length %> <%= String(Request('a')).charCodeAt(1) %>");
  EXPECT_EQ(Get("/shop/form.asp?a=x%00y").body, "3 0");
  EXPECT_EQ(Post("/shop/form.asp", "a=x%00y").body, "3 0");
}

TEST_F(GuardsTest, NulAndBackslashInAPathAreRefused) {
  for (const char* path :
       {"/shop/list.asp%00.css", "/shop/%00", "/shop/..%5csite.toml", "/shop/..\\site.toml"}) {
    EXPECT_EQ(Get(path).status, 400) << path;
  }
  for (const char* path :
       {"/shop/%2e%2e/site.toml", "/shop/.%2e/site.toml", "/shop/%252e%252e/site.toml",
        "/shop/..%2fsite.toml", "/shop/....//site.toml", "/shop/site.toml", "/shop/..%c0%afsite.toml"}) {
    const Answer answer = Get(path);
    EXPECT_TRUE(answer.status == 404 || answer.status == 400) << path << " " << answer.status;
    EXPECT_THAT(answer.body, Not(HasSubstr("[site]")));
  }
}

TEST_F(GuardsTest, SessionBegunByAPageThatFailsIsKept) {
  site.WritePage("begin.asp", "<% Session.Contents['a'] = 'kept'; throw new Error('then'); %>");
  site.WritePage("look.asp", "<%= Session('a') %>");
  const Answer failed = Get("/shop/begin.asp");
  EXPECT_EQ(failed.status, 500);
  const std::string cookie = failed.headers.Joined("Set-Cookie");
  EXPECT_THAT(cookie, HasSubstr("HttpOnly"));
  EXPECT_EQ(Get("/shop/look.asp", "Cookie: " + cookie.substr(0, cookie.find(';')) + "\r\n").body, "kept");
}

TEST_F(GuardsTest, SessionThatAVisitorMadeUpIsNotTakenOver) {
  site.WritePage("begin.asp", "<% Session.Contents['a'] = 1; %>");
  const std::string first = Get("/shop/begin.asp").headers.Joined("Set-Cookie");
  const std::size_t equals = first.find('=');
  const std::string madeUp = first.substr(0, equals + 1) + std::string(32, 'a');
  const std::string second =
      Get("/shop/begin.asp", "Cookie: " + madeUp + "\r\n").headers.Joined("Set-Cookie");
  ASSERT_NE(second, "");
  EXPECT_THAT(second, Not(HasSubstr(madeUp)));
  EXPECT_EQ(second.find(';') - equals - 1, 32U);
}

TEST_F(GuardsTest, ValuesOfASessionAreBounded) {
  site.Write("site.toml",
             "[site]\nroot = \"/shop\"\nmode = \"development\"\n[server]\nmax_session = 10000\n[log]\nfile = "
             "\"site.log\"\n");
  EXPECT_EQ(
      Output("<% Session.Contents['a'] = 'x'.repeat(4000); try { Session.Contents['b'] = 'x'.repeat(4000);"
             " } catch (e) { %><%= e.number %> <% } %><%= Session('a').length %> <%= Session('b') %>"),
      "7 4000 ");
  EXPECT_EQ(Output("<% for (var i = 0; i < 100; i++) Session.Contents['a'] = 'x'.repeat(4000);"
                   " Session.Contents.Remove('a'); Session.Contents['b'] = 'x'.repeat(4000); %>fits"),
            "fits");
}

TEST_F(GuardsTest, DeveloperSeesTheLinesAroundAFault) {
  site.WritePage(
      "bad.asp",
      "one\n<p class=\"a\">\n<%\nvar a = 1;\n\nthrow new Error(\"<b>fault</b>\");\n%>\nlast & least\n");
  const std::string body = Get("/shop/bad.asp").body;
  EXPECT_THAT(body, HasSubstr("bad.asp, line 6: &lt;b&gt;fault&lt;/b&gt; (number "));
  EXPECT_THAT(body, HasSubstr(", source Script)"));
  EXPECT_THAT(body,
              HasSubstr("<pre>\n1  one\n2  &lt;p class=&quot;a&quot;&gt;\n3  &lt;%\n4  var a = 1;\n5  \n"
                        "<b>6  throw new Error(&quot;&lt;b&gt;fault&lt;/b&gt;&quot;);</b>\n7  %&gt;\n"
                        "8  last &amp; least\n</pre>"));
}

TEST_F(GuardsTest, DeveloperSeesTheLinesOfTheIncludeThatFailed) {
  site.WritePage("part.inc", "<% throw new Error('inside'); %>");
  site.WritePage("whole.asp", "outside\n<!--#include file=\"part.inc\"-->\n");
  const std::string body = Get("/shop/whole.asp").body;
  EXPECT_THAT(body, HasSubstr("part.inc, line 1: inside"));
  EXPECT_THAT(body, HasSubstr("<pre>\n<b>1  &lt;% throw new Error('inside'); %&gt;</b>\n</pre>"));
}

TEST_F(GuardsTest, ErrorPagesBringTheirOwnPolicy) {
  const Answer answer = Get("/shop/none.asp");
  EXPECT_EQ(answer.status, 404);
  EXPECT_THAT(answer.headers.Joined("Content-Security-Policy"), HasSubstr("default-src 'none'"));
  EXPECT_EQ(answer.headers.Joined("X-Content-Type-Options"), "nosniff");
}

}  // namespace
