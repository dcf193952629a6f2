// Ten mistakes that a page's author makes, through the served site in development mode: what the browser shows of each
// and what the log has. Both say the file, the line, what is wrong and what helps.

#include <gmock/gmock.h>

#include <csignal>
#include <regex>

#include "tests/application/ServedSite.h"
#include "tests/command/Program.h"

namespace {

using hosttest::Answer;
using hosttest::ServingProgram;
using hosttest::TestClient;
using testing::ElementsAre;

constexpr char kSiteToml[] = R"([site]
root = "/shop"
mode = "development"
[server]
threads = 1
script_timeout = "1s"
max_heap = 67108864
[application]
Demo_ConnectionString = "Provider=SQLite;Data Source=demo.db;Mode=Read"
Lost_ConnectionString = "Provider=SQLite;Data Source=dmeo.db;Mode=Read"
[log]
file = "site.log"
)";

std::string Between(const std::string& text, const std::string& before, const std::string& behind) {
  const std::size_t start = text.find(before);
  if (start == std::string::npos) return {};
  const std::size_t end = text.find(behind, start + before.size());
  return text.substr(start + before.size(), end - start - before.size());
}

// A log's entry is one line.
std::string WithoutLineBreaks(std::string text) {
  for (std::size_t at = 0; (at = text.find('\n')) != std::string::npos;) text.replace(at, 1, "\\n");
  return text;
}

class TenMistakes : public testing::Test {
 protected:
  TenMistakes() {
    m_site.Write("site.toml", kSiteToml);
    m_site.MakeCustomers(3);
  }

  // A page whose fifth line opens a list.
  static std::string List(const std::string& open) {
    return "<%\nvar page = Server.CreateObject('Varnel.Page');\npage.OpenDatabaseConnection('Demo');\n"
           "var rs = page.DRecordset();\n" +
           open + "\n%>\n<p>the page</p>\n";
  }

  // Asks for the page, once.
  void Open(const std::string& page, const std::string& text) {
    m_site.WritePage(page, text);
    ServingProgram program(m_site.Folder());
    ASSERT_NE(program.Port(), 0) << program.Words();
    m_answer = TestClient(program.Port()).Get("/shop/" + page, "Connection: close\r\n");
    program.Signal(SIGTERM);
    EXPECT_EQ(program.Wait(), 0) << program.Words();
  }

  // Where the site is, is another place each time.
  std::string Shown(std::string text) const {
    const std::string folder = m_site.Folder().string();
    for (std::size_t at = 0; (at = text.find(folder)) != std::string::npos;)
      text.replace(at, folder.size(), "SITE");
    return text;
  }

  // The sentence of a failed page, and the line of its source that stands out.
  std::string Sentence() const {
    EXPECT_EQ(m_answer.status, 500);
    return Shown(hosttest::Unescaped(Between(m_answer.body, "later.</p>\n<p>", "</p>")));
  }
  std::string Line() const { return hosttest::Unescaped(Between(m_answer.body, "<b>", "</b>")); }

  // What stands below a page whose list is wrong.
  std::string Advice() const { return hosttest::Unescaped(Between(m_answer.body, "<li>", "</li>")); }

  // The log's warnings and errors, without their times and requests. (Root is warned at each start.)
  std::vector<std::string> Log() const {
    static const std::regex kEntry(" (warning|error) (?:\\[[^\\]]*\\] )?(.*)");
    std::vector<std::string> entries;
    std::istringstream lines(m_site.Read("site.log"));
    for (std::string line; std::getline(lines, line);) {
      std::smatch found;
      if (!std::regex_search(line, found, kEntry)) continue;
      const std::string text = found[2];
      if (!text.starts_with("The pages run as root")) entries.push_back(found[1].str() + ": " + Shown(text));
    }
    return entries;
  }

  hosttest::TestSite m_site;
  Answer m_answer;
};

TEST_F(TenMistakes, AMisspeltColumn) {
  Open("list.asp", List("rs.OpenRS('SELECT id, nmae FROM customer', 'id');"));
  const std::string sentence =
      "list.asp, line 5: Varnel.DRecordset: Parameter error: Unable to execute the SQL query: \"SELECT TOP "
      "10 id, "
      "nmae FROM customer ORDER BY id ASC\". ADO Error: 80040E14: no such column: nmae. Did you mean 'name'? "
      "Provider error 1: NativeError: 1. SQLState: 42S22. Number: 80040E14. Source: Varnel SQLite. "
      "Description: no "
      "such column: nmae. Did you mean 'name'? (number -2147217900, source Varnel SQLite)";
  EXPECT_EQ(Sentence(), sentence);
  EXPECT_EQ(Line(), "5  rs.OpenRS('SELECT id, nmae FROM customer', 'id');");
  EXPECT_THAT(Log(), ElementsAre("error: " + sentence));
}

TEST_F(TenMistakes, AMissingKey) {
  Open("list.asp", List("rs.OpenRS('SELECT name FROM customer', 'id');"));
  const std::string sentence =
      "list.asp, line 5: Database field with index or name 'id' not found. Underlying error: 5: Varnel: "
      "Invalid "
      "argument: the collection has no such key (number 5, source ADODB.Fields)";
  const std::string advice =
      "list.asp, line 5: R_1: The select list lacks id: every sort and key column has to stand in it, for "
      "the "
      "links carry their values.";
  EXPECT_EQ(Sentence(), sentence);
  EXPECT_EQ(Line(), "5  rs.OpenRS('SELECT name FROM customer', 'id');");
  EXPECT_EQ(Advice(), advice);
  EXPECT_THAT(Log(), ElementsAre("error: " + sentence, "warning: " + advice));
}

TEST_F(TenMistakes, ASyntaxErrorInAPage) {
  Open("sum.asp", "<%\nvar one = 1;\nvar sum = (one + 2;\n%>\n<%: sum %>\n");
  const std::string sentence =
      "sum.asp, line 3: SyntaxError: Unexpected token ';' (number -2146827286, source Script) The '(' in "
      "line 3 of "
      "sum.asp is never closed.";
  EXPECT_EQ(Sentence(), sentence);
  EXPECT_EQ(Line(), "3  var sum = (one + 2;");
  EXPECT_THAT(Log(), ElementsAre("error: " + sentence));
}

// The compiler notices at the end of the page around it.
TEST_F(TenMistakes, ASyntaxErrorInAnInclude) {
  m_site.WritePage("includes/tools.inc", "<%\nfunction Twice(n) {\n  return 2 * n;\n\n%>\n");
  Open("sum.asp", "<!--#include file=\"includes/tools.inc\"-->\n<%: Twice(2) %>\n");
  const std::string sentence =
      "includes/tools.inc, line 2: SyntaxError: Unexpected end of input (number -2146827286, source Script) "
      "The '{' "
      "in line 2 of includes/tools.inc is never closed.";
  EXPECT_EQ(Sentence(), sentence);
  EXPECT_EQ(Line(), "2  function Twice(n) {");
  EXPECT_THAT(Log(), ElementsAre("error: " + sentence));
}

TEST_F(TenMistakes, AWrongClass) {
  Open("list.asp", "<%\nvar page = Server.CreateObject('Varnel.Pgae');\n%>\n");
  const std::string sentence =
      "list.asp, line 2: There is no class 'Varnel.Pgae' to create. Did you mean 'Varnel.Page'? (number 429, "
      "source Varnel)";
  EXPECT_EQ(Sentence(), sentence);
  EXPECT_EQ(Line(), "2  var page = Server.CreateObject('Varnel.Pgae');");
  EXPECT_THAT(Log(), ElementsAre("error: " + sentence));
}

TEST_F(TenMistakes, AWrongArgument) {
  Open("list.asp", List("rs.SetPageSize('many');"));
  const std::string sentence =
      "list.asp, line 5: Type mismatch (number 13, source Varnel) DRecordset.SetPageSize takes a whole "
      "number as "
      "argument 1, not 'many'.";
  EXPECT_EQ(Sentence(), sentence);
  EXPECT_EQ(Line(), "5  rs.SetPageSize('many');");
  EXPECT_THAT(Log(), ElementsAre("error: " + sentence));
}

TEST_F(TenMistakes, AnEndlessLoop) {
  Open("loop.asp", "<%\nvar n = 0;\nwhile (n < 10) {\n  Response.Write(n);\n}\n%>\n");
  const std::string sentence =
      "loop.asp, line 4: The page ran longer than it may. (number -2146823266, source Script) It may run for "
      "1 s: "
      "script_timeout of [server] in site.toml, or Server.ScriptTimeout for this page.";
  EXPECT_EQ(Sentence(), sentence);
  EXPECT_EQ(Line(), "4    Response.Write(n);");
  EXPECT_THAT(Log(), ElementsAre("error: " + sentence));
}

TEST_F(TenMistakes, AHugeAllocation) {
  Open("rows.asp",
       "<%\nvar rows = [];\nfor (var i = 0; i < 1e9; i++) {\n  rows.push(new Array(1000).fill(i));\n}\n%>\n");
  const std::string sentence =
      "rows.asp, line 4: The page needed more memory than it may use. (number -2146823266, source Script) "
      "Its script "
      "may use 64 MB: max_heap of [server] in site.toml.";
  EXPECT_EQ(Sentence(), sentence);
  EXPECT_EQ(Line(), "4    rows.push(new Array(1000).fill(i));");
  EXPECT_THAT(Log(), ElementsAre("error: " + sentence));
}

TEST_F(TenMistakes, ABrokenConnection) {
  Open("list.asp",
       "<%\nvar page = Server.CreateObject('Varnel.Page');\npage.OpenDatabaseConnection('Lost');\n%>\n");
  const std::string sentence =
      "list.asp, line 3: The database file 'SITE/dmeo.db' does not exist. Lost_ConnectionString of "
      "[application] in "
      "site.toml says so. Did you mean 'demo.db'? (number -2147467259, source Varnel SQLite)";
  EXPECT_EQ(Sentence(), sentence);
  EXPECT_EQ(Line(), "3  page.OpenDatabaseConnection('Lost');");
  EXPECT_THAT(Log(), ElementsAre("error: " + sentence));
}

TEST_F(TenMistakes, AConnectionThatNobodyNamed) {
  Open("list.asp",
       "<%\nvar page = Server.CreateObject('Varnel.Page');\npage.OpenDatabaseConnection('Dem');\n%>\n");
  const std::string sentence =
      "list.asp, line 3: The connection string is empty. [application] in site.toml has no "
      "Dem_ConnectionString. Did "
      "you mean 'Demo'? (number -2147467259, source Varnel.Database)";
  EXPECT_EQ(Sentence(), sentence);
  EXPECT_EQ(Line(), "3  page.OpenDatabaseConnection('Dem');");
  EXPECT_THAT(Log(), ElementsAre("error: " + sentence));
}

TEST_F(TenMistakes, ALineBreakBeforeOrderBy) {
  Open("list.asp", List("rs.OpenRS(`SELECT id, name FROM customer\nORDER BY name`, 'id');"));
  const std::string sentence =
      "list.asp, line 5: Varnel.DRecordset: Parameter error: Unable to execute the SQL query: \"SELECT TOP "
      "10 id, "
      "name FROM customer\nORDER BY name ORDER BY id ASC\". ADO Error: 80040E14: near \"ORDER\": syntax "
      "error "
      "Provider error 1: NativeError: 1. SQLState: 42000. Number: 80040E14. Source: Varnel SQLite. "
      "Description: near "
      "\"ORDER\": syntax error (number -2147217900, source Varnel SQLite)";
  const std::string advice =
      "list.asp, line 5: R_1: A line break stands beside ORDER, which isn't seen as a keyword then: only "
      "blanks "
      "separate the words of a list's query. Write it on one line, or join its lines with blanks.";
  EXPECT_EQ(Sentence(), sentence);
  EXPECT_EQ(Line(), "5  rs.OpenRS(`SELECT id, name FROM customer");
  EXPECT_EQ(Advice(), advice);
  EXPECT_THAT(
      Log(),
      ElementsAre("warning: A line break stands beside a keyword of this SQL text, where only a blank "
                  "separates words: SELECT TOP 10 id, name FROM customer\\nORDER BY name ORDER BY id ASC",
                  "error: " + WithoutLineBreaks(sentence), "warning: " + advice));
}

}  // namespace
