#include "host-linux/script/PageCompiler.h"

#include <algorithm>

#include "tests/script/ScriptFixture.h"

namespace hostlinux {
namespace {

class PageCompilerTest : public testing::Test {
 protected:
  PageScript Compile(const std::string& text) {
    files.Set("page.asp", text);
    return CompilePage(ParsePage("page.asp", files));
  }
  MemoryPageFiles files;
};

// Where the line of the source that holds `mark` comes from.
std::string OriginOf(const PageScript& script, const std::string& mark) {
  const auto at = static_cast<std::ptrdiff_t>(script.source.find(mark));
  const auto line = 1 + std::count(script.source.begin(), script.source.begin() + at, '\n');
  const SourceLine& origin = script.Locate(static_cast<int>(line));
  return script.files[static_cast<std::size_t>(origin.file)] + ":" + std::to_string(origin.line);
}

TEST_F(PageCompilerTest, WritesTextsByIndexAndValuesAsTheyCome) {
  const PageScript script = Compile("<p><% f() %><b><%= a %>");
  EXPECT_EQ(script.texts, (std::vector<std::string>{"<p>", "<b>"}));
  EXPECT_EQ(script.source,
            "'use strict';\n"
            "__varnelText(0);\n"
            " f() \n"
            "__varnelText(1);\n"
            "__varnelValue(( a \n"
            "));\n");
}

TEST_F(PageCompilerTest, WritesEncodedValuesByAWriterOfTheirOwn) {
  EXPECT_EQ(Compile("<%: a %>").source, "'use strict';\n__varnelEncoded(( a \n));\n");
}

TEST_F(PageCompilerTest, TextsAroundAnIncludeAreOneText) {
  files.Set("a.inc", "b");
  EXPECT_EQ(Compile("a<!--#include file='a.inc'-->c").texts, std::vector<std::string>{"abc"});
}

TEST_F(PageCompilerTest, EachLineKnowsItsFileAndLine) {
  files.Set("a.inc", "\n<% inInclude();\nlater(); %>\n");
  const PageScript script =
      Compile("x\n<% first();\nsecond(); %>\n<!--#include file='a.inc'-->\n\n<% last(); %>");
  EXPECT_EQ(OriginOf(script, "first"), "page.asp:2");
  EXPECT_EQ(OriginOf(script, "second"), "page.asp:3");
  EXPECT_EQ(OriginOf(script, "inInclude"), "a.inc:2");
  EXPECT_EQ(OriginOf(script, "later"), "a.inc:3");
  EXPECT_EQ(OriginOf(script, "last"), "page.asp:6");
}

TEST_F(PageCompilerTest, TheMapHasALineForEachLineOfTheSource) {
  const PageScript script = Compile("a\r\n<% b;\r\nc;\rd;\xE2\x80\xA8 e; %>\n<%= f\n%>\r<% g;\r%>");
  // Written by hand: 1 strict, 2 text, 3 b, 4 c, 5 d, 6 e, 7 text, 8 f, 9 behind f, 10 brackets, 11 text,
  // 12 g, 13 behind g (its CR and the generator's LF are one line end), that being the page's last line.
  EXPECT_EQ(script.lines.size(), 13u);
  EXPECT_EQ(script.Locate(5), (SourceLine{0, 4}));
  EXPECT_EQ(script.Locate(6), (SourceLine{0, 4}));  // U+2028 ends no line of a file
  EXPECT_EQ(script.Locate(8), (SourceLine{0, 5}));
  EXPECT_EQ(script.Locate(12), (SourceLine{0, 7}));
}

TEST_F(PageCompilerTest, ALineOutOfRangeIsTheNearestOne) {
  const PageScript script = Compile("a\n<% b %>");
  EXPECT_EQ(script.Locate(0), (SourceLine{0, 1}));
  EXPECT_EQ(script.Locate(99), (SourceLine{0, 2}));
}

}  // namespace
}  // namespace hostlinux
