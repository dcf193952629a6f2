#include "host-linux/script/SourceMap.h"

#include <gtest/gtest.h>

#include "tests/script/ScriptFixture.h"

namespace hostlinux {
namespace {

class SourceMapTest : public testing::Test {
 protected:
  PageScript Compile(const std::string& page) {
    m_files.Set("page.asp", page);
    return CompilePage(ParsePage("page.asp", m_files), PageLayout::KeepLines);
  }

  MemoryPageFiles m_files;
};

TEST_F(SourceMapTest, StatementsStayOnTheirLines) {
  const PageScript script = Compile("<p>\n\n<% a();\nb(); %>\n<%= c %> <%= d %>\n</p>");
  EXPECT_EQ(script.source,
            "'use strict';__varnelText(0);\n\n a();\nb(); \n__varnelText(1);__varnelValue(( c ));"
            "__varnelText(2);__varnelValue(( d ));__varnelText(3);\n");
  EXPECT_TRUE(KeepsItsLines(script));
}

TEST_F(SourceMapTest, CommentAtTheEndOfAnExpressionEndsItsLine) {
  const PageScript script = Compile("<%= a // the first %>");
  EXPECT_EQ(script.source, "'use strict';__varnelValue(( a // the first \n));");
}

TEST_F(SourceMapTest, StatementsBehindEachOtherCannotKeepTheirLine) {
  EXPECT_FALSE(KeepsItsLines(Compile("<% a %><% b %>\n<% c %>")));
  EXPECT_TRUE(KeepsItsLines(Compile("<% a %>\n\n<% b %>\n<% c %>")));
}

TEST_F(SourceMapTest, IncludesNeedAMap) {
  m_files.Set("lib.inc", "<% one();\ntwo(); %>");
  EXPECT_FALSE(KeepsItsLines(Compile("<!--#include file=\"lib.inc\"-->\n<% three(); %>")));
}

// Lines 1 and 2 of file 0, line 1 of file 1, line 3 of file 0. A place is four numbers, each counted from the
// place before; 0 is A, 1 is C, -1 is D, 2 is E.
TEST_F(SourceMapTest, MapNamesFilesTextsAndPlaces) {
  m_files.Set("a b.asp", "x");
  m_files.Set("c.inc", "\"");
  PageScript script;
  script.files = {"a b.asp", "c.inc"};
  script.lines = {{0, 1}, {0, 2}, {1, 1}, {0, 3}};
  // {"version":3,"sources":["file:///p/a%20b.asp","file:///p/c.inc"],"sourcesContent":["x","\""],"names":[],
  // "mappings":"AAAA;AACA;ACDA;ADEA"}
  EXPECT_EQ(SourceMapUrl(script, m_files, "file:///p/"),
            "data:application/json;charset=utf-8;base64,"
            "eyJ2ZXJzaW9uIjozLCJzb3VyY2VzIjpbImZpbGU6Ly8vcC9hJTIwYi5hc3AiLCJmaWxlOi8vL3AvYy5pbmMiXSwic291cmNl"
            "c0NvbnRlbnQiOlsieCIsIlwiIl0sIm5hbWVzIjpbXSwibWFwcGluZ3MiOiJBQUFBO0FBQ0E7QUNEQTtBREVBIn0=");
}

TEST_F(SourceMapTest, UrlOfAPathHoldsPlainBytesOnly) {
  EXPECT_EQ(UrlOfPath("/a b/c#d?e%\xC3\xA9.asp"), "/a%20b/c%23d%3Fe%25%C3%A9.asp");
}

}  // namespace
}  // namespace hostlinux
