// One page without a server.

#include <gmock/gmock.h>

#include "tests/application/TestSite.h"
#include "tests/command/Program.h"

namespace {

using hosttest::Ran;
using hosttest::RunVarnel;
using testing::HasSubstr;
using testing::StartsWith;

class RunTest : public testing::Test {
 protected:
  Ran Run(std::vector<std::string> more, const std::string& page = "a.asp") {
    std::vector<std::string> arguments = {"run", m_site.Folder().string(), page};
    arguments.insert(arguments.end(), more.begin(), more.end());
    return RunVarnel(arguments);
  }

  hosttest::TestSite m_site;
};

TEST_F(RunTest, TextOfThePageGoesToStandardOutput) {
  m_site.WritePage("deep/a.asp",
                   "<%= Server.CreateObject('Varnel.Page').URL('b.asp') %> <%= Request('URL') %>\r\n");
  const Ran ran = Run({}, "deep/a.asp");
  EXPECT_EQ(ran.out, "/shop/b.asp /shop/deep/a.asp\r\n");
  EXPECT_EQ(ran.err, "");
  EXPECT_EQ(ran.status, 0);
}

TEST_F(RunTest, QueryMethodAndServerVariablesAreThePages) {
  m_site.WritePage(
      "a.asp",
      "<%= Request.QueryString('a') %>|<% for (var n of ['REQUEST_METHOD', 'QUERY_STRING', 'HTTP_X',"
      " 'REMOTE_ADDR']) { %><%= Request.ServerVariables(n) %>|<% } %>");
  EXPECT_EQ(Run({"--query", "a=1+2&a=%33", "--method", "PUT", "--server-variable", "HTTP_X=a=b",
                 "--server-variable", "REMOTE_ADDR=10.0.0.1"})
                .out,
            "1 2, 3|PUT|a=1+2&a=%33|a=b|10.0.0.1|");
}

TEST_F(RunTest, FormIsPosted) {
  m_site.WritePage("a.asp",
                   "<%= Request.ServerVariables('REQUEST_METHOD') %> <%= Request.Form('a') %>"
                   " <%= Request.ServerVariables('CONTENT_TYPE') %>");
  EXPECT_EQ(Run({"--form", "a=1%202"}).out, "POST 1 2 application/x-www-form-urlencoded");
}

TEST_F(RunTest, BodyOfAFileIsPostedWithItsType) {
  m_site.Write("body", std::string("\0\r\n\xFF", 4));
  m_site.WritePage("a.asp",
                   "<%= Request.ServerVariables('CONTENT_TYPE') %> <%= Request.TotalBytes %>"
                   " <%= Request.BinaryRead(9).join() %>");
  EXPECT_EQ(Run({"--body", (m_site.Folder() / "body").string(), "--content-type", "image/x"}).out,
            "image/x 4 0,13,10,255");
}

TEST_F(RunTest, SessionStartsWithTheGivenValues) {
  m_site.WritePage("a.asp", "<%= Session('user') %> <%= Session('REMOTE_USER') %>");
  EXPECT_EQ(Run({"--session", "User=x=y", "--session", "REMOTE_USER=other"}).out, "x=y other");
}

TEST_F(RunTest, HeadersStandBeforeTheBodyOnRequest) {
  m_site.WritePage("a.asp", "<% Response.Status = '404 Not Here'; Response.AddHeader('X-A', 'b'); %>body");
  const Ran ran = Run({"--headers"});
  EXPECT_THAT(ran.out, StartsWith("HTTP/1.1 404 Not Here\r\n"));
  EXPECT_THAT(ran.out, HasSubstr("\r\nX-A: b\r\n"));
  EXPECT_THAT(ran.out, testing::EndsWith("\r\n\r\nbody"));
}

TEST_F(RunTest, StatusThatThePageSetsIsNoFailureOfTheRun) {
  m_site.WritePage("a.asp", "<% Response.Status = '404 Not Here'; %>body");
  const Ran ran = Run({});
  EXPECT_EQ(ran.out, "body");
  EXPECT_EQ(ran.err, "");
  EXPECT_EQ(ran.status, 0);
}

TEST_F(RunTest, UncaughtErrorIsNumberSourceAndDescription) {
  m_site.WritePage("a.asp",
                   "lost <% var e = new Error(); e.number = -7; e.source = 'a\\\\b';"
                   " e.description = 'one\\r\\ntwo|three'; throw e; %>");
  const Ran ran = Run({});
  EXPECT_EQ(ran.out, "");
  EXPECT_EQ(ran.err, "-7|a\\\\b|one\\r\\ntwo|three\n");
  EXPECT_EQ(ran.status, 1);
}

TEST_F(RunTest, ErrorOfTheLibraryKeepsItsFacts) {
  m_site.WritePage("a.asp", "<% Server.CreateObject('Varnel.Page').DRecordset(); %>");
  EXPECT_EQ(
      Run({}).err,
      "-1|Varnel.Page|Parameter error: Page.OpenDatabaseConnection() should be called before creating a "
      "DRecordset\n");
}

TEST_F(RunTest, ErrorOfTheCompilerIsOneToo) {
  m_site.WritePage("a.asp", "<% var = 1; %>");
  const Ran ran = Run({});
  EXPECT_THAT(ran.err, StartsWith("-2146827286|"));
  EXPECT_EQ(ran.status, 1);
}

TEST_F(RunTest, MissingPageIsNamed) {
  const Ran ran = Run({}, "none.asp");
  EXPECT_EQ(ran.out, "");
  EXPECT_EQ(ran.err, "varnel: there is no page none.asp\n");
  EXPECT_EQ(ran.status, 1);
  EXPECT_EQ(Run({}, "../../etc/passwd").status, 1);
}

TEST_F(RunTest, BadSiteIsNamed) {
  const Ran none = RunVarnel({"run", (m_site.Folder() / "none").string(), "a.asp"});
  EXPECT_THAT(none.err, HasSubstr("site.toml can't be read: is this a site's folder?"));
  EXPECT_EQ(none.status, 1);
  m_site.Write("site.toml", "[site]\n\ncolour = 1\n");
  EXPECT_EQ(Run({}).err, "varnel: site.toml, line 3: [site] has no key colour\n");
  m_site.Write("site.toml", "[site]\nlcid = 99999\n");
  EXPECT_EQ(Run({}).err, "varnel: site.toml: there is no locale 99999\n");
}

TEST_F(RunTest, LinkMayCarryAnAddressOfItsOwn) {
  // A server refuses such a request: whoever makes the link would choose where all links of the page lead.
  m_site.WritePage("a.asp", "<%= Server.CreateObject('Varnel.Page').URL('b.asp') %>");
  EXPECT_EQ(Run({"--query", "URL=/other/x"}).out, "/other/b.asp");
  EXPECT_THAT(Run({"--query", "URL=x"}).err, StartsWith("9|"));
}

}  // namespace
