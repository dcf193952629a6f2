// `varnel check`: what is wrong with a site, found without serving it.

#include <gmock/gmock.h>

#include "tests/application/TestSite.h"
#include "tests/command/Program.h"

namespace {

using hosttest::Ran;
using hosttest::RunVarnel;
using testing::HasSubstr;

constexpr char kSite[] =
    "[site]\nroot = \"/shop\"\n[application]\nDemo_ConnectionString = \"Provider=SQLite;Data "
    "Source=demo.db\"\n";

// All texts of grids.
std::string Messages() {
  std::string texts;
  for (const char* number : {"15", "16", "17", "18", "19", "20", "21", "32", "33", "34", "35"})
    texts += "SLBGE00" + std::string(number) + " = \"x\"\n";
  return texts;
}

class CheckTest : public testing::Test {
 protected:
  CheckTest() {
    m_site.Write("site.toml", kSite);
    m_site.Write("messages/1033.toml", Messages());
    m_site.WritePage("index.asp", "<p>hello</p>");
    m_site.MakeCustomers(3);
  }

  // The findings, which alone decide about the exit status.
  std::string Findings() const {
    const Ran ran = RunVarnel({"check", m_site.Folder().string()});
    EXPECT_EQ(ran.err, "");
    if (ran.out == "Nothing was found.\n") {
      EXPECT_EQ(ran.status, 0);
      return "";
    }
    EXPECT_EQ(ran.status, 1) << ran.out;
    return ran.out;
  }

  // A grid's eleven images, in the folder where they belong.
  void WriteImages() const {
    for (const char* direction : {"First", "Prev", "Next", "Last"}) {
      m_site.WritePage("images/BtnNavBarNavy" + std::string(direction) + ".gif", "x");
      m_site.WritePage("images/BtnNavBarNavy" + std::string(direction) + "Off.gif", "x");
    }
    for (const char* image : {"Sort.gif", "SortedUp.gif", "SortedDn.gif"})
      m_site.WritePage("images/" + std::string(image), "x");
  }

  hosttest::TestSite m_site;
};

TEST_F(CheckTest, WholeSiteHasNoFindings) { EXPECT_EQ(Findings(), ""); }

TEST_F(CheckTest, NewSiteHasNoFindings) {
  const auto folder = (m_site.Folder() / "fresh").string();
  ASSERT_EQ(RunVarnel({"new", folder}).status, 0);
  const Ran ran = RunVarnel({"check", folder});
  EXPECT_EQ(ran.out + ran.err, "Nothing was found.\n");
  EXPECT_EQ(ran.status, 0);
}

TEST_F(CheckTest, FaultOfTheConfigurationIsTheOnlyFinding) {
  m_site.WritePage("bad.asp", "<% ) %>");
  m_site.Write("site.toml", "[site]\nroot = \"/two/segments\"\n");
  EXPECT_EQ(Findings(), "site.toml:2: root must be exactly one segment such as \"/shop\"\n");
  m_site.Write("site.toml", "[server]\n\nthread = 2\n");
  EXPECT_EQ(Findings(), "site.toml:3: [server] has no key thread\n");
  m_site.Write("site.toml", "[shop]\n");
  EXPECT_THAT(Findings(), HasSubstr("site.toml:1: "));
  m_site.Write("site.toml", "[site\n");
  EXPECT_THAT(Findings(), HasSubstr("site.toml:1: "));
}

TEST_F(CheckTest, UnknownLocaleAndMissingDefaultPageAreNamed) {
  m_site.Write("site.toml", "[site]\nlcid = 99999\ndefault = \"start.asp\"\n");
  EXPECT_EQ(Findings(),
            "site.toml:2: there is no locale 99999\nsite.toml:3: there is no page start.asp\n"
            "messages/99999.toml: this file is missing, and the site's lcid asks for it\n");
}

TEST_F(CheckTest, PagesThatDoNotCompileAreNamedWithTheirLine) {
  m_site.WritePage("deep/er/bad.asp", "\n\n<% var x = ; %>");
  m_site.WritePage("include.asp", "\n<!--#include file=\"none.inc\"-->");
  m_site.WritePage("user.asp", "<!--#include virtual=\"/shop/lib.inc\"-->");
  m_site.WritePage("lib.inc", "\n\n\n<%@ Language=Cobol %>");
  EXPECT_EQ(Findings(),
            "pages/deep/er/bad.asp:3: SyntaxError: Unexpected token ';'\n"
            "pages/include.asp:2: The include 'none.inc' was not found.\n"
            "pages/lib.inc:4: Language must be JavaScript, not 'Cobol'.\n");
}

TEST_F(CheckTest, ImagesThatAreNotThereAreNamedWithTheirLine) {
  m_site.WritePage("images/a.gif", "x");
  m_site.WritePage(
      "sub/page.asp",
      "<img src=\"../images/a.gif\"><img src='/shop/images/a.gif?v=1'>\n"
      "<img alt=\"\"\n src=\"images/a.gif\">\n<img src=\"/images/a.gif\">\n"
      "<img src=\"https://elsewhere.example/a.gif\"><img src=\"//a/b.gif\">"
      "<img src=\"data:image/gif;base64,\"><img src=\"<%= 'any' %>\"><% var s = ' src=\"no\"'; %>");
  EXPECT_EQ(Findings(),
            "pages/sub/page.asp:3: there is no file images/a.gif\n"
            "pages/sub/page.asp:4: there is no file /images/a.gif\n");
}

TEST_F(CheckTest, ImagesAndTextsOfGridsAreAskedForWhereThereAreGrids) {
  m_site.Write("messages/1033.toml", "SLBGE0015 = \"x\"\n");
  EXPECT_EQ(Findings(), "");
  m_site.WritePage("grid.asp", "<% function f(page, rs) { return page.DGrid(rs, 'Title'); } %>");
  WriteImages();
  std::filesystem::remove(m_site.Folder() / "pages/images/Sort.gif");
  std::string missing = "pages/images/Sort.gif: this image of grids is missing\n";
  for (const char* number : {"16", "17", "18", "19", "20", "21", "32", "33", "34", "35"})
    missing += "messages/1033.toml: SLBGE00" + std::string(number) + " is missing\n";
  EXPECT_EQ(Findings(), missing);
  m_site.Write("messages/1033.toml", Messages());
  m_site.Write("site.toml", std::string(kSite) + "BtnSort = \"Mine.gif\"\n");
  EXPECT_EQ(Findings(), "pages/images/Mine.gif: this image of grids is missing\n");
}

TEST_F(CheckTest, TextsThatALanguageLacksAreNamed) {
  m_site.Write("messages/1033.toml", "a = \"1\"\nb = \"2\"\n");
  m_site.Write("messages/1031.toml", "a = \"1\"\nc = \"3\"\n");
  m_site.Write("site.toml", std::string(kSite) + "[users.demo]\nlanguage = 1036\n");
  EXPECT_EQ(Findings(),
            "messages/1031.toml: b is missing\nmessages/1033.toml: c is missing\n"
            "messages/1036.toml: this file is missing, and [users.demo] asks for it\n");
  m_site.Write("messages/1031.toml", "a = 5\n");
  EXPECT_EQ(Findings(), "messages/1031.toml: a must be a text\n");
}

TEST_F(CheckTest, ConnectionsThatDoNotOpenAreNamedAndNothingIsMade) {
  m_site.Write("site.toml",
               "[application]\nA_ConnectionString = \"Provider=SQLite;Data Source=none.db\"\n"
               "B_ConnectionString = \"nonsense\"\n\n[configuration]\nC = \"Provider=Nothing\"\n"
               "D = \"Provider=SQLite;Data Source=text.db\"\n");
  m_site.Write("text.db", std::string(2000, 'x'));
  const std::string findings = Findings();
  EXPECT_THAT(findings, HasSubstr("site.toml:2: A_ConnectionString can't be opened: "));
  EXPECT_THAT(findings, HasSubstr("site.toml:3: B_ConnectionString can't be opened: "));
  EXPECT_THAT(findings, HasSubstr("site.toml:6: C can't be opened: "));
  EXPECT_THAT(findings, HasSubstr("site.toml:7: D can't be opened: "));
  EXPECT_FALSE(std::filesystem::exists(m_site.Folder() / "none.db"));
}

TEST_F(CheckTest, LargeTablesWithoutIndexOrStatisticsAreNamed) {
  const std::string rows = "WITH RECURSIVE n(i) AS (SELECT 1 UNION ALL SELECT i + 1 FROM n WHERE i < 1001) ";
  m_site.RunSql(
      "CREATE TABLE plain (id INT NOT NULL PRIMARY KEY, name TEXT);"
      "CREATE TABLE small (name TEXT); CREATE TABLE indexed (id INT, name TEXT);"
      "CREATE INDEX i ON indexed (name, id);" +
      rows + "INSERT INTO plain SELECT i, 'a' FROM n;" + rows + "INSERT INTO indexed SELECT i, 'a' FROM n;");
  EXPECT_EQ(Findings(),
            "site.toml:4: demo.db: table indexed has more than 1,000 rows and was never analysed: run "
            "ANALYZE, or the "
            "engine guesses which index to take\n"
            "site.toml:4: demo.db: table plain has more than 1,000 rows and no index besides its key: every "
            "sort by "
            "another column reads all of it\n");
  m_site.RunSql("CREATE INDEX p ON plain (name, id); ANALYZE;");
  EXPECT_EQ(Findings(), "");
}

TEST_F(CheckTest, FolderThatIsNoSiteIsNamed) {
  const Ran ran = RunVarnel({"check", (m_site.Folder() / "none").string()});
  EXPECT_EQ(ran.status, 1);
  EXPECT_NE(ran.out + ran.err, "");
}

TEST_F(CheckTest, NamesValuesThatAreWrittenAsTheyCame) {
  m_site.WritePage("a.asp", "<p>\n<%= Request('q') %>\n<!--#include file='b.inc'-->");
  m_site.WritePage("b.inc", "<% var q = Request.Text('q'); %>\n<%: q %><%= q %>");
  m_site.WritePage("c.asp", "<!--#include file='b.inc'-->");
  EXPECT_EQ(Findings(),
            "pages/a.asp:2: <%= Request('q') %> writes what a visitor sent as it stands, marks of HTML too: "
            "<%: Request('q') %> encodes it\n"
            "pages/b.inc:2: <%= q %> writes what a visitor sent as it stands, marks of HTML too: <%: q %> "
            "encodes it\n");
}

}  // namespace
