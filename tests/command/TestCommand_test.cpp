// `varnel test`: a site's own tests, run on a copy of it.

#include <gmock/gmock.h>

#include <filesystem>

#include "tests/application/TestSite.h"
#include "tests/command/Program.h"

namespace {

using hosttest::Ran;
using hosttest::RunVarnel;
using testing::HasSubstr;

class TestCommandTest : public testing::Test {
 protected:
  TestCommandTest() {
    m_site.MakeCustomers(3);
    m_site.WritePage(
        "index.asp",
        "<title>First</title><a href='form.asp'>Form</a> <a href=\"/shop/\"><img alt='Home'></a>");
    m_site.WritePage(
        "form.asp",
        "<form method=post action='save.asp?a=1'><input name=who value='x&amp;y'><input type=checkbox "
        "name=box>"
        "<select name=s><option>one<option selected value=2>two</select><textarea name=t>\nlong</textarea>"
        "<button name=b value=ok>Go</button></form>");
    m_site.WritePage("save.asp",
                     "<table><tr><th>name<th>value<% for (var k of Request.Form) { %><tr><td><%: k "
                     "%></td><td><%: Request.Form(k) %>"
                     "</td></tr><% } %></table>");
    m_site.WritePage(
        "write.asp",
        "<% var c = Server.CreateObject('ADODB.Connection'); c.Open(Application('Demo_ConnectionString'));"
        " c.Execute(\"DELETE FROM customer\"); var rs = c.Execute('SELECT COUNT(*) AS n FROM customer'); "
        "%><%= rs('n').Value %>");
    m_site.WritePage(
        "back.asp", "<% Session.Contents['n'] = (Session('n') || 0) + 1; Response.Redirect('count.asp'); %>");
    m_site.WritePage("count.asp", "<%= Session('n') || 0 %>");
  }

  Ran Run(const std::string& test) const {
    m_site.Write("tests/a.js", test);
    return RunVarnel({"test", m_site.Folder().string()});
  }
  // The output of tests that must pass.
  std::string Passed(const std::string& test) const {
    const Ran ran = Run(test);
    EXPECT_EQ(ran.status, 0) << ran.out << ran.err;
    return ran.out;
  }

  hosttest::TestSite m_site;
};

TEST_F(TestCommandTest, WalksThroughPagesAsAVisitorDoes) {
  EXPECT_EQ(Passed("test('walk', () => {\n"
                   "  const page = site.get('');\n"
                   "  assert.equal(page.title, 'First');\n"
                   "  assert.equal(page.click('Home').title, 'First');\n"
                   "  const form = page.click('Form').fill({who: 'a<b', box: true});\n"
                   "  const rows = form.submit('Go').rows();\n"
                   "  assert.equal(rows, [['name', 'value'], ['who', 'a<b'], ['s', '2'], ['t', 'long'], "
                   "['box', 'on'], ['b', 'ok']]);\n"
                   "});\n"
                   "test('cookies', async () => {\n"
                   "  assert.equal(site.get('back.asp').text, '1');\n"
                   "  assert.equal((await site.get('back.asp')).text, '2');\n"
                   "  site.forget();\n"
                   "  assert.equal(site.get('count.asp').text, '0');\n"
                   "});\n"),
            "ok   tests/a.js: walk\nok   tests/a.js: cookies\n2 tests, 0 failed\n");
}

TEST_F(TestCommandTest, NamesFileLineAndReasonOfAFailedTest) {
  m_site.WritePage("bad.asp", "\n<% none(); %>");
  const Ran ran =
      Run("test('passes', () => {});\n"
          "test('fails', () => {\n"
          "  const page = site.get('bad.asp');\n"
          "  assert.equal(page.status, 200, 'status');\n"
          "});\n"
          "function later() { null.x; }\n"
          "test('throws', () => later());\n"
          "test('misses', () => site.get('form.asp').click('none'));\n");
  EXPECT_EQ(ran.status, 1);
  EXPECT_THAT(ran.out, HasSubstr("ok   tests/a.js: passes\nFAIL tests/a.js:4: fails: status: it is 500, not "
                                 "200\n     log: error: [test-1] "
                                 "bad.asp, line 2: ReferenceError: none is not defined"));
  EXPECT_THAT(ran.out, HasSubstr("FAIL tests/a.js:6: throws: TypeError: "));
  EXPECT_THAT(ran.out,
              HasSubstr("FAIL tests/a.js:8: misses: /shop/form.asp has no link or button \"none\"\n"));
  EXPECT_THAT(ran.out, HasSubstr("\n     There are: \"Go\"\n"));
  EXPECT_THAT(ran.out, HasSubstr("4 tests, 3 failed\n"));
}

TEST_F(TestCommandTest, NamesTheLineOfAFileThatDoesNotCompile) {
  const Ran ran = Run("test('a', () => {\n  var = 1;\n});\n");
  EXPECT_EQ(ran.status, 1);
  EXPECT_THAT(ran.out, HasSubstr("FAIL tests/a.js:2: SyntaxError: "));
}

TEST_F(TestCommandTest, LeavesTheSiteAsItIs) {
  Passed("test('writes', () => assert.equal(site.get('write.asp').text, '0'));");
  EXPECT_THAT(
      Passed("test('sees the old rows', () => {\n assert.equal(site.get('count.asp').text, '0');\n});"),
      HasSubstr("ok"));
  m_site.WritePage(
      "rows.asp",
      "<% var c = Server.CreateObject('ADODB.Connection'); c.Open(Application('Demo_ConnectionString'));"
      " var rs = c.Execute('SELECT COUNT(*) AS n FROM customer'); %><%= rs('n').Value %>");
  EXPECT_EQ(RunVarnel({"run", m_site.Folder().string(), "rows.asp"}).out, "3");
}

TEST_F(TestCommandTest, CopiesADatabaseThatLiesElsewhere) {
  const hosttest::TestSite other;
  other.MakeCustomers(2);
  std::string toml = m_site.Read("site.toml");
  const std::string mark = "Data Source=demo.db";
  toml.replace(toml.find(mark), mark.size(), "Data Source=" + (other.Folder() / "demo.db").string());
  m_site.Write("site.toml", toml);
  Passed("test('writes', () => assert.equal(site.get('write.asp').text, '0'));");
  m_site.WritePage(
      "rows.asp",
      "<% var c = Server.CreateObject('ADODB.Connection'); c.Open(Application('Demo_ConnectionString'));"
      " var rs = c.Execute('SELECT COUNT(*) AS n FROM customer'); %><%= rs('n').Value %>");
  EXPECT_EQ(RunVarnel({"run", m_site.Folder().string(), "rows.asp"}).out, "2");
}

TEST_F(TestCommandTest, RunsTheFilesThatAreAskedFor) {
  m_site.Write("tests/b.js", "test('b', () => {});");
  m_site.Write("tests/a.js", "test('a', () => { throw 'no'; });");
  EXPECT_EQ(RunVarnel({"test", m_site.Folder().string(), "b"}).out,
            "ok   tests/b.js: b\n1 tests, 0 failed\n");
}

TEST_F(TestCommandTest, SaysThatThereIsNoTest) {
  const Ran none = RunVarnel({"test", m_site.Folder().string()});
  EXPECT_EQ(none.status, 1);
  EXPECT_THAT(none.err, HasSubstr("there is no test"));
  EXPECT_THAT(Run("var a = 1;").err, HasSubstr("have no test(name, function)"));
}

TEST_F(TestCommandTest, ComesThroughHtmlThatIsNone) {
  m_site.WritePage(
      "odd.asp",
      "<a href=x>a</b></a><table><td>1<td>2<tr><td>3</table></p><!-- <a --><i<%= '<'.repeat(20000) %>");
  Passed(
      "test('odd', () => {\n"
      "  const page = site.get('odd.asp');\n"
      "  assert.equal(page.links(), [{text: 'a', href: 'x'}]);\n"
      "  assert.contains(page.rows(), ['3']);\n"
      "});");
}

TEST_F(TestCommandTest, PagesThatNeverEndEndWithTheirTime) {
  std::string toml = m_site.Read("site.toml");
  toml.replace(toml.find("threads = 1"), 11, "script_timeout = 1");
  m_site.Write("site.toml", toml);
  m_site.WritePage("loop.asp", "<% while (true); %>");
  Passed("test('ends', () => assert.equal(site.get('loop.asp').status, 500));");
}

}  // namespace
