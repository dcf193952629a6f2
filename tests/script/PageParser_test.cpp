#include "host-linux/script/PageParser.h"

#include <gmock/gmock.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>

#include "tests/script/ScriptFixture.h"

namespace hostlinux {
namespace {

using Kind = PagePiece::Kind;

class PageParserTest : public testing::Test {
 protected:
  ParsedPage Parse(const std::string& text, const std::string& siteRoot = "") {
    files.Set("page.asp", text);
    return ParsePage("page.asp", files, siteRoot);
  }

  // "file:line: message" of the error that the page has.
  std::string ErrorOf(const std::string& text) {
    try {
      Parse(text);
    } catch (const PageError& error) {
      return error.File() + ":" + std::to_string(error.Line()) + ": " + error.what();
    }
    return "no error";
  }

  MemoryPageFiles files;
};

std::string Describe(const ParsedPage& page) {
  std::string text;
  for (const PagePiece& piece : page.pieces) {
    text += piece.kind == Kind::Html         ? "H"
            : piece.kind == Kind::Statements ? "S"
            : piece.kind == Kind::Encoded    ? "C"
                                             : "E";
    text += "@" + page.files[static_cast<std::size_t>(piece.file)] + ":" + std::to_string(piece.line);
    text += "[" + piece.text + "]";
  }
  return text;
}

TEST_F(PageParserTest, TakesHtmlStatementsAndExpressionsApart) {
  EXPECT_EQ(
      Describe(Parse("<p>\n<% var a = 1; %>\n<%= a %></p>")),
      "H@page.asp:1[<p>\n]S@page.asp:2[ var a = 1; ]H@page.asp:2[\n]E@page.asp:3[ a ]H@page.asp:3[</p>]");
}

TEST_F(PageParserTest, AnEmptyPageHasNoPieces) { EXPECT_TRUE(Parse("").pieces.empty()); }

TEST_F(PageParserTest, DropsAByteOrderMark) {
  files.Set("a.inc", "\xEF\xBB\xBFinner");
  EXPECT_EQ(Describe(Parse("\xEF\xBB\xBFouter<!--#include file=\"a.inc\"-->")),
            "H@page.asp:1[outer]H@a.inc:1[inner]");
}

TEST_F(PageParserTest, PercentAndGreaterInsideAStringEndsTheBlock) {
  EXPECT_EQ(Describe(Parse("<% var s = \"%>\"; %>")), "S@page.asp:1[ var s = \"]H@page.asp:1[\"; %>]");
}

TEST_F(PageParserTest, AnyLineEndCounts) {
  EXPECT_EQ(Describe(Parse("a\r\nb\rc\n<% x %>")), "H@page.asp:1[a\r\nb\rc\n]S@page.asp:4[ x ]");
}

TEST_F(PageParserTest, ABlockThatIsNotClosedIsAnErrorWithItsLine) {
  EXPECT_EQ(ErrorOf("one\ntwo <% if (x) {\nmore"),
            "page.asp:2: The script block that begins here is not closed by %>.");
}

TEST_F(PageParserTest, AnExpressionNeedsAText) {
  EXPECT_EQ(ErrorOf("\n<%= %>"), "page.asp:2: An expression is missing after <%=.");
}

TEST_F(PageParserTest, AColonMarksAnExpressionWhoseValueIsEncoded) {
  EXPECT_EQ(Describe(Parse("<p>\n<%: a %></p>")), "H@page.asp:1[<p>\n]C@page.asp:2[ a ]H@page.asp:2[</p>]");
  EXPECT_EQ(ErrorOf("\n<%: %>"), "page.asp:2: An expression is missing after <%:.");
}

TEST_F(PageParserTest, AMinusBehindABlankTakesTheLineBreakBehindTheBlock) {
  EXPECT_EQ(
      Describe(Parse("<% a -%>\nb\n<%= c -%>\r\nd<%: e -%>\rf<%@ LCID=1033 -%>\ng")),
      "S@page.asp:1[ a ]H@page.asp:2[b\n]E@page.asp:3[ c ]H@page.asp:4[d]C@page.asp:4[ e ]H@page.asp:5[f]"
      "H@page.asp:6[g]");
  EXPECT_EQ(Describe(Parse("<% // a\n-%>\n<% b -%>")), "S@page.asp:1[ // a\n]S@page.asp:3[ b ]");
}

TEST_F(PageParserTest, AMinusTakesOneLineBreakOnlyAndOnlyRightBehindTheBlock) {
  EXPECT_EQ(Describe(Parse("<% a -%>\n\nb<% c -%> \nd")),
            "S@page.asp:1[ a ]H@page.asp:2[\nb]S@page.asp:3[ c ]H@page.asp:3[ \nd]");
}

TEST_F(PageParserTest, AMinusWithoutABlankBelongsToTheScript) {
  EXPECT_EQ(Describe(Parse("<% i--%>\nb")), "S@page.asp:1[ i--]H@page.asp:1[\nb]");
  EXPECT_EQ(Describe(Parse("<%-%>\nb")), "S@page.asp:1[-]H@page.asp:1[\nb]");
}

TEST_F(PageParserTest, AnExpressionNeedsMoreThanItsMinus) {
  EXPECT_EQ(ErrorOf("<%= -%>"), "page.asp:1: An expression is missing after <%=.");
}

TEST_F(PageParserTest, TextThatIsNotUtf8IsAnErrorWithItsLine) {
  EXPECT_EQ(ErrorOf("good\nba\xE9 d"), "page.asp:2: The text is not valid UTF-8.");
  EXPECT_EQ(ErrorOf("\xC0\x80"), "page.asp:1: The text is not valid UTF-8.");
  EXPECT_EQ(ErrorOf("\xED\xA0\x80"), "page.asp:1: The text is not valid UTF-8.");
  EXPECT_EQ(ErrorOf("\xF4\x90\x80\x80"), "page.asp:1: The text is not valid UTF-8.");
  EXPECT_EQ(ErrorOf("\xC3\xA9 \xE2\x82\xAC \xF0\x9F\x98\x80"), "no error");
}

TEST_F(PageParserTest, AMissingPageIsAnError) {
  try {
    ParsePage("none.asp", files);
    FAIL() << "no error";
  } catch (const PageError& error) {
    EXPECT_EQ(error.File(), "none.asp");
    EXPECT_EQ(error.Line(), 0);
  }
}

// --- Directives

TEST_F(PageParserTest, KnowsItsDirectives) {
  const ParsedPage page =
      Parse("<%@ Language=JavaScript CodePage=65001 LCID=\"1031\" EnableSessionState = 'False' %>x");
  EXPECT_EQ(page.directives.lcid, 1031);
  EXPECT_FALSE(page.directives.sessionState);
  EXPECT_EQ(Describe(page), "H@page.asp:1[x]");
}

TEST_F(PageParserTest, WithoutDirectivesAPageHasSessionStateAndNoLocaleOfItsOwn) {
  EXPECT_EQ(Parse("x").directives, PageDirectives());
  EXPECT_TRUE(PageDirectives().sessionState);
}

TEST_F(PageParserTest, DirectivesIgnoreTheCaseOfLetters) {
  EXPECT_EQ(Parse("<%@LANGUAGE=\"javascript\" enablesessionstate=TRUE lcid=1033%>").directives.lcid, 1033);
}

TEST_F(PageParserTest, AnyOtherDirectiveIsAnErrorWithItsLine) {
  EXPECT_EQ(ErrorOf("\n<%@ Language=JavaScript\nTransaction=Required %>"),
            "page.asp:3: The directive 'Transaction' is not known.");
  EXPECT_EQ(ErrorOf("<%@ Language=VBScript %>"), "page.asp:1: Language must be JavaScript, not 'VBScript'.");
  EXPECT_EQ(ErrorOf("<%@ CodePage=1252 %>"), "page.asp:1: CodePage must be 65001, not '1252'.");
  EXPECT_EQ(ErrorOf("<%@ LCID=abc %>"), "page.asp:1: LCID must be a locale's number, not 'abc'.");
  EXPECT_EQ(ErrorOf("<%@ EnableSessionState=ReadOnly %>"),
            "page.asp:1: EnableSessionState must be True or False, not 'ReadOnly'.");
  EXPECT_EQ(ErrorOf("<%@ Language %>"), "page.asp:1: A directive needs the form Name=value.");
  EXPECT_EQ(ErrorOf("<%@ LCID=\"1033 %>"),
            "page.asp:1: The value of the directive LCID lacks its closing quote.");
}

// --- Includes

TEST_F(PageParserTest, AnIncludeFileIsRelativeToTheFileThatNamesIt) {
  files.Set("inc/head.inc", "head<!--#include file=\"deep/x.inc\"-->");
  files.Set("inc/deep/x.inc", "deep<!--#include file=\"../../top.inc\"-->");
  files.Set("top.inc", "top");
  EXPECT_EQ(Describe(Parse("<!--#include file=\"inc/head.inc\"-->end")),
            "H@inc/head.inc:1[head]H@inc/deep/x.inc:1[deep]H@top.inc:1[top]H@page.asp:1[end]");
}

TEST_F(PageParserTest, AVirtualIncludeIsRelativeToTheSitesRoot) {
  files.Set("inc/a.inc", "<!--#include virtual=\"/b.inc\"-->");
  files.Set("b.inc", "b");
  EXPECT_EQ(Describe(Parse("<!--#include virtual=\"/inc/a.inc\"-->")), "H@b.inc:1[b]");
  EXPECT_EQ(Describe(Parse("<!--#include virtual=\"inc/a.inc\"-->")), "H@b.inc:1[b]");
  EXPECT_EQ(Describe(Parse("<!--#include virtual=\"/shop/inc/a.inc\"-->", "/shop")), "H@b.inc:1[b]");
}

TEST_F(PageParserTest, AnIncludeMayBeWrittenWithBlanksAndInAnyCase) {
  files.Set("a.inc", "a");
  EXPECT_EQ(Describe(Parse("<!-- #INCLUDE  File = 'a.inc'  -->")), "H@a.inc:1[a]");
  EXPECT_EQ(Describe(Parse("<!--#include file=\".\\a.inc\"-->")), "H@a.inc:1[a]");
}

TEST_F(PageParserTest, OtherCommentsAreHtml) {
  EXPECT_EQ(Describe(Parse("<!-- a --><!--#config-->")), "H@page.asp:1[<!-- a --><!--#config-->]");
}

TEST_F(PageParserTest, TheSameIncludeMayStandTwice) {
  files.Set("a.inc", "a");
  const ParsedPage page = Parse("<!--#include file='a.inc'--><!--#include file='a.inc'-->");
  EXPECT_EQ(Describe(page), "H@a.inc:1[a]H@a.inc:1[a]");
  EXPECT_EQ(page.files, (std::vector<std::string>{"page.asp", "a.inc"}));
}

TEST_F(PageParserTest, AMissingIncludeNamesTheFileAndLineThatAskForIt) {
  EXPECT_EQ(ErrorOf("\n\n<!--#include file=\"none.inc\"-->"),
            "page.asp:3: The include 'none.inc' was not found.");
  files.Set("a.inc", "\n<!--#include file=\"none.inc\"-->");
  EXPECT_EQ(ErrorOf("<!--#include file=\"a.inc\"-->"), "a.inc:2: The include 'none.inc' was not found.");
}

TEST_F(PageParserTest, IncludesThatGoInACircleAreAnError) {
  files.Set("a.inc", "\n<!--#include file=\"b.inc\"-->");
  files.Set("b.inc", "<!--#include file=\"a.inc\"-->");
  EXPECT_EQ(ErrorOf("<!--#include file=\"a.inc\"-->"), "b.inc:1: The include 'a.inc' includes itself.");
  EXPECT_EQ(ErrorOf("<!--#include file=\"page.asp\"-->"),
            "page.asp:1: The include 'page.asp' includes itself.");
}

TEST_F(PageParserTest, IncludesNeverLeaveThePagesFolder) {
  EXPECT_EQ(ErrorOf("<!--#include file=\"../secret\"-->"),
            "page.asp:1: The include '../secret' lies outside the pages folder.");
  EXPECT_EQ(ErrorOf("<!--#include virtual=\"/a/../../secret\"-->"),
            "page.asp:1: The include '/a/../../secret' lies outside the pages folder.");
  EXPECT_EQ(
      ErrorOf("<!--#include file=\"/etc/passwd\"-->"),
      "page.asp:1: The include file '/etc/passwd' must be relative; from the site's root it is virtual.");
}

TEST_F(PageParserTest, AMalformedIncludeIsAnError) {
  const std::string expected =
      "page.asp:1: An include has the form <!--#include file=\"name\"--> or <!--#include "
      "virtual=\"/name\"-->.";
  EXPECT_EQ(ErrorOf("<!--#include file=a.inc-->"), expected);
  EXPECT_EQ(ErrorOf("<!--#include path=\"a.inc\"-->"), expected);
  EXPECT_EQ(ErrorOf("<!--#include file=\"a.inc"), expected);
  EXPECT_EQ(ErrorOf("<!--#include file=\"a.inc\" x-->"), expected);
}

TEST_F(PageParserTest, IncludesThatMultiplyAreStopped) {
  std::string twice;
  for (int i = 0; i < 30; ++i) {
    const std::string next = "<!--#include file=\"" + std::to_string(i + 1) + "\"-->";
    files.Set(std::to_string(i), next + next);
  }
  files.Set("30", "");
  EXPECT_THAT(ErrorOf("<!--#include file=\"0\"-->"),
              testing::EndsWith("The page has more than 10,000 includes."));
}

TEST_F(PageParserTest, IncludesInsideEachOtherHaveALimit) {
  for (int i = 0; i < 101; ++i)
    files.Set(std::to_string(i), "<!--#include file=\"" + std::to_string(i + 1) + "\"-->");
  files.Set("100", "end");
  EXPECT_EQ(ErrorOf("<!--#include file=\"1\"-->"), "no error");
  EXPECT_EQ(ErrorOf("<!--#include file=\"0\"-->"), "99:1: Includes are nested more than 100 deep.");
}

// --- The folder on disk

class DiskPageFilesTest : public testing::Test {
 protected:
  void SetUp() override {
    m_base = std::filesystem::path(testing::TempDir()) / ("varnel_pages_" + std::to_string(::getpid()));
    std::filesystem::remove_all(m_base);
    std::filesystem::create_directories(m_base / "pages/inc");
    std::ofstream(m_base / "pages/inc/a.inc") << "text";
    std::ofstream(m_base / "secret") << "secret";
    std::filesystem::create_symlink(m_base / "secret", m_base / "pages/link");
  }
  void TearDown() override { std::filesystem::remove_all(m_base); }

  std::filesystem::path m_base;
};

TEST_F(DiskPageFilesTest, ReadsFilesInTheFolderOnly) {
  const DiskPageFiles files(m_base / "pages");
  EXPECT_EQ(files.Read("inc/a.inc"), "text");
  EXPECT_EQ(files.Read("inc"), std::nullopt);
  EXPECT_EQ(files.Read("none"), std::nullopt);
  EXPECT_EQ(files.Read("../secret"), std::nullopt);
  EXPECT_EQ(files.Read("link"), std::nullopt);
}

TEST_F(DiskPageFilesTest, AChangedFileHasAnotherStamp) {
  const DiskPageFiles files(m_base / "pages");
  const auto before = files.Stamp("inc/a.inc");
  ASSERT_TRUE(before);
  EXPECT_EQ(files.Stamp("inc/a.inc"), before);
  std::ofstream(m_base / "pages/inc/a.inc") << "longer text";
  EXPECT_NE(files.Stamp("inc/a.inc"), before);
}

}  // namespace
}  // namespace hostlinux
