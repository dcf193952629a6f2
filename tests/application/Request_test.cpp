// What a page reads of its request.

#include <gmock/gmock.h>

#include "tests/application/ServedSite.h"

namespace {

using hosttest::Answer;
class RequestTest : public hosttest::PageTest {};

TEST_F(RequestTest, QueryIsReadByKeyInAnyCaseAndByPosition) {
  EXPECT_EQ(
      Output("<% var q = Request.QueryString; %><%= q('NAME') %>|<%= q(2) %>|<%= q.Count %>|<%= q.Key(1) %>|"
             "<%= q('none') %>|<%= q('none').Count %>",
             "name=a+b%21&n=2"),
      "a b!|2|2|name||0");
}

TEST_F(RequestTest, ParameterThatOccursTwiceIsOneWithItsValuesJoined) {
  EXPECT_EQ(
      Output("<% var a = Request.QueryString.Item('a'); %><%= a %>|<%= a.Count %>|<%= a(1) %>|<%= a(2) %>|"
             "<%= Request.QueryString.Count %>",
             "a=1&b=2&A=3"),
      "1, 3|2|1|3|2");
}

TEST_F(RequestTest, CollectionsAreWalked) {
  EXPECT_EQ(Output("<% for (var k of Request.QueryString) { %><%= k %>=<%= Request.QueryString(k) %>;<% }"
                   " for (var e = new Enumerator(Request.QueryString('a')); !e.atEnd(); e.moveNext()) { %>"
                   "<%= e.item() %>;<% } %>",
                   "a=1&b=2&a=3"),
            "a=1, 3;b=2;1;3;");
}

TEST_F(RequestTest, FormOfAPostIsRead) {
  site.WritePage("a.asp",
                 "<%= Request.Form('name') %>|<%= Request.Form.Count %>|<%= Request.TotalBytes %>|"
                 "<%= Request.ServerVariables('CONTENT_TYPE') %>");
  EXPECT_EQ(Post("/shop/a.asp", "name=%C3%A4+b&x=1").body,
            "\xC3\xA4 b|2|17|application/x-www-form-urlencoded");
}

TEST_F(RequestTest, MultipartBodyIsNoFormAndIsReadAsBytes) {
  site.WritePage(
      "a.asp",
      "<%= Request.Form.Count %>|<% var b = Request.BinaryRead(Request.TotalBytes); %>"
      "<%= b instanceof Uint8Array %> <%= b.length %> <%= String.fromCharCode(b[0], b[1], b[2]) %>");
  EXPECT_EQ(Post("/shop/a.asp", "--x\r\nname=1\r\n--x--", "multipart/form-data; boundary=x").body,
            "0|True 18 --x");
}

TEST_F(RequestTest, LookUpGoesThroughQueryFormCookiesAndServerVariables) {
  site.WritePage("a.asp",
                 "<%= Request('both') %>|<%= Request('f') %>|<%= Request('c') %>|"
                 "<%= Request('REQUEST_METHOD') %>|<%= Request('none') %>");
  EXPECT_EQ(Post("/shop/a.asp?both=query", "both=form&f=1", "application/x-www-form-urlencoded",
                 "Cookie: both=cookie; f=cookie; c=2\r\n")
                .body,
            "query|1|2|POST|");
}

TEST_F(RequestTest, ServerVariablesTellOfTheRequest) {
  site.WritePage(
      "deep/er.asp",
      "<% for (var n of ['URL', 'SCRIPT_NAME', 'REQUEST_METHOD', 'QUERY_STRING', 'SERVER_NAME', 'HTTPS',"
      " 'REMOTE_ADDR', 'HTTP_X_WORD', 'http_host']) { %><%= Request.ServerVariables(n) %>;<% } %>");
  EXPECT_EQ(Get("/shop/./deep//e%72.asp?a=%41&b", "X-Word: hello\r\n").body,
            "/shop/deep/er.asp;/shop/deep/er.asp;GET;a=%41&b;localhost;off;127.0.0.1;hello;localhost;");
}

TEST_F(RequestTest, ParameterThatWouldChangeEveryLinkIsRefused) {
  site.WritePage("a.asp", "<%= Server.CreateObject('Varnel.Page').URL('b.asp') %>");
  EXPECT_EQ(Get("/shop/a.asp?URL=/evil/x").status, 400);
  EXPECT_EQ(Get("/shop/a.asp?url=x").status, 400);
  EXPECT_EQ(Post("/shop/a.asp", "Url=x").status, 400);
  EXPECT_EQ(Get("/shop/a.asp").body, "/shop/b.asp");
}

TEST_F(RequestTest, SiteMayAllowThatParameter) {
  site.Write("site.toml", "[site]\nroot = \"/shop\"\n[server]\nthreads = 1\nrefuse_parameters = []\n");
  site.WritePage("a.asp", "<%= Server.CreateObject('Varnel.Page').URL('b.asp') %>");
  EXPECT_EQ(Get("/shop/a.asp?URL=/evil/x").body, "/evil/b.asp");
  EXPECT_EQ(Get("/shop/a.asp?URL=x").status, 500);
}

TEST_F(RequestTest, HeadOfAPageHasItsHeadersOnly) {
  site.WritePage("a.asp",
                 "<% Response.AddHeader('X-Method', Request.ServerVariables('REQUEST_METHOD')); %>12345");
  Client().Send("HEAD /shop/a.asp HTTP/1.1\r\nHost: localhost\r\n\r\n");
  const Answer answer = Client().ReadAnswer(true);
  EXPECT_EQ(answer.status, 200);
  EXPECT_EQ(*answer.headers.Find("X-Method"), "HEAD");
  EXPECT_EQ(*answer.headers.Find("Content-Length"), "5");
  EXPECT_EQ(Get("/shop/a.asp").body, "12345");
}

TEST_F(RequestTest, OtherMethodsOfAPageAreRefused) {
  site.WritePage("a.asp", "x");
  Client().Send("DELETE /shop/a.asp HTTP/1.1\r\nHost: localhost\r\n\r\n");
  const Answer answer = Client().ReadAnswer();
  EXPECT_EQ(answer.status, 405);
  EXPECT_EQ(*answer.headers.Find("Allow"), "GET, HEAD, POST");
}

TEST_F(RequestTest, BadEscapeAndMissingPageAreNoErrorsOfTheServer) {
  site.WritePage("a.asp", "x");
  EXPECT_EQ(Get("/shop/a.asp?a=%zz").status, 400);
  EXPECT_EQ(Get("/shop/b.asp").status, 404);
  EXPECT_EQ(Get("/elsewhere/a.asp").status, 404);
  EXPECT_EQ(Get("/shop/.a.asp").status, 404);
  site.WritePage("index.asp", "default");
  EXPECT_EQ(Get("/shop/").body, "default");
  EXPECT_EQ(*Get("/shop").headers.Find("Location"), "/shop/");
}

TEST_F(RequestTest, TextNumberAndDateAreValuesNotObjects) {
  EXPECT_EQ(
      Output(
          "<%= typeof Request.Text('a') %>|<%= Request.Text('none', '-') %>|<%= Request.Text('none') === '' "
          "%>|"
          "<%= Request.Number('n') + 1 %>|<%= Request.Number('none') === null %>|"
          "<% var d = Request.Date('d'); %><%= d.getFullYear() %>-<%= d.getMonth() + 1 %>-<%= d.getDate() %>|"
          "<%= Request.Date('a') === null %>",
          "a=x&n=1%2C234.5&d=2024-03-05"),
      "string|-|True|1235.5|True|2024-3-5|True");
}

TEST_F(RequestTest, NumbersAreReadByTheLocaleOfThePageOrTheSession) {
  EXPECT_EQ(Output("<%@ LCID=1031 %><%= Request.Number('n') %>|<%= Request.Number('m') === null %>",
                   "n=12%2C34&m=12.34"),
            "12.34|True");
  EXPECT_EQ(Output("<%@ LCID=1031 EnableSessionState=False %><%= Request.Number('n') %>", "n=12%2C34"),
            "12.34");
  EXPECT_EQ(Output("<% Session.LCID = 1031; %><%= Request.Number('n') %>", "n=12%2C34"), "12.34");
  EXPECT_EQ(Output("<%= Request.Number('n') === null %>", "n=12%2C34"), "True");
}

}  // namespace
