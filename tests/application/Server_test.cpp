// The server object, and what is left when a request has ended.

#include <gmock/gmock.h>

#include "tests/application/ServedSite.h"

namespace {

using testing::HasSubstr;
using testing::StartsWith;

class ServerTest : public hosttest::PageTest {};

TEST_F(ServerTest, UrlEncodeKeepsLettersAndDigitsOnly) {
  EXPECT_EQ(Value("Server.URLEncode('aZ09 -_.~/\xC3\xA4')"), "aZ09+%2D%5F%2E%7E%2F%C3%A4");
}

TEST_F(ServerTest, HtmlEncodeKnowsFourCharacters) {
  EXPECT_EQ(Value("Server.HTMLEncode('<a href=\"x\">&\\'')"), "&lt;a href=&quot;x&quot;&gt;&amp;'");
}

// A short text without such a character never leaves the script; all else is the server's own answer.
TEST_F(ServerTest, HtmlEncodeGivesWhateverItIsGivenAsText) {
  EXPECT_EQ(Value("Server.HTMLEncode('Gr\\u00f6\\u00dfe = x;')"),
            "Gr\xC3\xB6\xC3\x9F"
            "e = x;");
  EXPECT_EQ(Value("Server.HTMLEncode('')"), "");
  const std::vector<std::pair<std::string, std::string>> marks = {
      {"38", "&amp;"}, {"60", "&lt;"}, {"62", "&gt;"}, {"34", "&quot;"}};
  for (const auto& [code, name] : marks) {
    const std::string mark = "String.fromCharCode(" + code + ")";
    EXPECT_EQ(Value("Server.HTMLEncode('ab' + " + mark + ")"), "ab" + name);
    EXPECT_EQ(Value("Server.HTMLEncode('x'.repeat(500) + " + mark + ")"), std::string(500, 'x') + name);
  }
  EXPECT_EQ(Value("Server.HTMLEncode('x'.repeat(500))"), std::string(500, 'x'));
  EXPECT_EQ(Value("Server.HTMLEncode('a<b>c & \\\"d\\\" \\u00e4')"),
            "a&lt;b&gt;c &amp; &quot;d&quot; \xC3\xA4");
  EXPECT_EQ(Value("Server.HTMLEncode('<\\u20ac>')"), "&lt;\xE2\x82\xAC&gt;");
  for (const int length : {399, 400, 401}) {
    std::string quotes;
    for (int i = 0; i < length; ++i) quotes += "&quot;";
    EXPECT_EQ(Value("Server.HTMLEncode(String.fromCharCode(34).repeat(" + std::to_string(length) + "))"),
              quotes);
  }
  EXPECT_EQ(Value("Server.HTMLEncode(1.5) + Server.HTMLEncode(true) + Server.HTMLEncode({valueOf() { return "
                  "'<'; }})"),
            "1.5True&lt;");
  EXPECT_EQ(Value("Server.htmlencode('a<b') + Server.HtmlEncode('ab')"), "a&lt;bab");
}

TEST_F(ServerTest, HtmlEncodeRefusesAWrongNumberOfArguments) {
  EXPECT_THAT(Failure("<% Server.HTMLEncode(); %>"),
              HasSubstr("page1.asp, line 1: Wrong number of arguments: "));
  EXPECT_THAT(Failure("\n<% Server.HTMLEncode('a', 'b'); %>"),
              HasSubstr("line 2: Wrong number of arguments: "));
  EXPECT_THAT(Failure("<% Server.HTMLEncode(null); %>"), HasSubstr("(number 94, "));
}

TEST_F(ServerTest, MapPathIsTheFileOfAPath) {
  const std::string pages = (site.Folder() / "pages").string();
  EXPECT_EQ(Value("Server.MapPath('/shop/a/b.txt')"), pages + "/a/b.txt");
  EXPECT_EQ(Value("Server.MapPath('b.txt')"), pages + "/b.txt");
  EXPECT_THAT(Failure("<% Server.MapPath('../../secret'); %>"), HasSubstr("(number 5, "));
}

TEST_F(ServerTest, ExecuteRunsAPageInsideThisOne) {
  site.WritePage("parts/inner.asp", "<i><%= Request.QueryString('a') %><% var x = 'inner'; %></i>");
  EXPECT_EQ(
      Output("<% var x = 'outer'; %>before <% Server.Execute('parts/inner.asp'); %> after <%= x %>", "a=1"),
      "before <i>1</i> after outer");
}

TEST_F(ServerTest, TransferGoesThereAndDoesNotComeBack) {
  site.WritePage("inner.asp", "there");
  EXPECT_EQ(
      Output("from <% try { Server.Transfer('/shop/inner.asp'); } finally { Response.Write('no'); } %>lost"),
      "from there");
}

TEST_F(ServerTest, FailureOfAnExecutedPageNamesItsPlace) {
  site.WritePage("inner.asp", "\n\n<% throw new Error('deep'); %>");
  EXPECT_THAT(Failure("<% Server.Execute('inner.asp'); %>"), HasSubstr("inner.asp, line 3: deep"));
  EXPECT_EQ(Output("<% try { Server.Execute('inner.asp'); } catch (e) { %>caught<% } %>"), "\n\ncaught");
  EXPECT_THAT(Failure("<% Server.Execute('missing.asp'); %>"), HasSubstr("missing.asp"));
}

TEST_F(ServerTest, EndInsideAnExecutedPageEndsBoth) {
  site.WritePage("inner.asp", "inner<% Response.End(); %>");
  EXPECT_EQ(Output("a <% Server.Execute('inner.asp'); %> lost"), "a inner");
}

TEST_F(ServerTest, ScriptTimeoutStopsThePage) {
  EXPECT_EQ(Value("Server.ScriptTimeout"), "30");
  EXPECT_THAT(Failure("<% Server.ScriptTimeout = 1; while (true) {} %>"), StartsWith("page2.asp"));
  EXPECT_EQ(Value("Server.ScriptTimeout"), "30");
}

class ReleaseTest : public hosttest::PageTest {
 protected:
  // How many times this process has the database open.
  std::size_t OpenDatabases() {
    std::size_t count = 0;
    for (const auto& entry : std::filesystem::directory_iterator("/proc/self/fd")) {
      std::error_code gone;
      const auto target = std::filesystem::read_symlink(entry.path(), gone);
      if (!gone && target.filename() == "demo.db") ++count;
    }
    return count;
  }
};

TEST_F(ReleaseTest, ConnectionsGoBackToTheirPoolWithTheRequest) {
  site.MakeCustomers(1);
  site.WritePage(
      "a.asp",
      "<% var page = Server.CreateObject('Varnel.Page'); page.OpenDatabaseConnection('Demo');"
      " var rs = page.DRecordset(); rs.OpenRS('SELECT id FROM customer', 'id'); %><%= rs('id') %>");
  for (int request = 0; request < 5; ++request) {
    EXPECT_EQ(Get("/shop/a.asp").body, "1");
    EXPECT_EQ(OpenDatabases(), 1U);
  }
}

TEST_F(ReleaseTest, FailedAndEndedPagesGiveTheirConnectionsBackToo) {
  site.MakeCustomers(1);
  const std::string open =
      "<% var c = Server.CreateObject('ADODB.Connection'); c.Open("
      "'Provider=SQLite;Data Source=demo.db'); c.BeginTrans(); c.Execute('UPDATE customer SET active = 7'); ";
  EXPECT_EQ(Ask(open + "nothing(); %>").status, 500);
  EXPECT_EQ(Ask(open + "Response.End(); %>").status, 200);
  EXPECT_EQ(Ask(open + "Response.Redirect('b.asp'); %>").status, 302);
  EXPECT_EQ(OpenDatabases(), 1U);
  EXPECT_EQ(
      Output("<% var rs = Server.CreateObject('ADODB.Recordset'); rs.Open('SELECT active FROM customer',"
             " 'Provider=SQLite;Data Source=demo.db'); %><%= rs(0) %>"),
      "1");
}

TEST_F(ReleaseTest, UnfinishedTransactionBlocksNoOtherRequest) {
  site.MakeCustomers(1);
  const std::string write =
      "<% var c = Server.CreateObject('ADODB.Connection'); c.Open('Provider=SQLite;Data "
      "Source=demo.db'); c.BeginTrans(); c.Execute('UPDATE customer SET active = active + 1'); ";
  EXPECT_EQ(Ask(write + "%>").status, 200);
  EXPECT_EQ(Ask(write + "c.CommitTrans(); %><%= c.Execute('SELECT active FROM customer')(0) %>").body, "2");
}

}  // namespace
