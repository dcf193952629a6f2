// How a page file becomes a page.

#include <gmock/gmock.h>

#include "tests/application/ServedSite.h"

namespace {

using hosttest::Answer;
using testing::HasSubstr;
using testing::StartsWith;

class PagesTest : public hosttest::PageTest {};

TEST_F(PagesTest, PageIsHtmlWithStatementsExpressionsDirectivesAndIncludes) {
  site.WritePage("parts/head.inc", "<% function shout(s) { return s + '!'; } %>");
  site.WritePage("parts/foot.inc", "<i><%= shout('end') %></i>");
  EXPECT_EQ(Output("<%@ Language=JavaScript CodePage=65001 LCID=1033 EnableSessionState=True %>"
                   "<!--#include file=\"parts/head.inc\"-->"
                   "<% for (var i = 1; i <= 2; i++) { %><b><%= shout(i) %></b><% } %>"
                   "<!--#include virtual=\"/shop/parts/foot.inc\"-->"),
            "<b>1!</b><b>2!</b><i>end!</i>");
}

TEST_F(PagesTest, ScriptsRunInStrictMode) {
  EXPECT_EQ(Value("(function () { return this === undefined; })()"), "True");
  EXPECT_THAT(Failure("<% var a = { get b() { return 1; } };\na.b = 2; %>"), HasSubstr("line 2: "));
}

TEST_F(PagesTest, ChangedPageOrIncludeIsCompiledAgain) {
  site.WritePage("part.inc", "one");
  site.WritePage("a.asp", "<!--#include file=\"part.inc\"-->, first");
  EXPECT_EQ(Get("/shop/a.asp").body, "one, first");
  site.WritePage("part.inc", "three");
  EXPECT_EQ(Get("/shop/a.asp").body, "three, first");
  site.WritePage("a.asp", "<!--#include file=\"part.inc\"-->, second");
  EXPECT_EQ(Get("/shop/a.asp").body, "three, second");
}

TEST_F(PagesTest, TopLevelNamesAreTheRequestsOwn) {
  site.WritePage(
      "a.asp",
      "<% var seen; let also; %><%= seen === undefined && also === undefined %><% seen = also = 1; %>");
  EXPECT_EQ(Get("/shop/a.asp").body, "True");
  EXPECT_EQ(Get("/shop/a.asp").body, "True");
}

TEST_F(PagesTest, UndeclaredNameCannotBeAssigned) {
  EXPECT_THAT(Failure("<% undeclared = 1; %>"), HasSubstr("undeclared is not defined"));
}

TEST_F(PagesTest, NothingLeaksIntoTheNextRequest) {
  const char* attempts[] = {
      "globalThis.leak = 1",     "Array.prototype.leak = 1", "Math.leak = 1", "Object.prototype.leak = 1",
      "Response.Write.leak = 1", "JSON.parse = 1",           "CStr.leak = 1", "String.prototype.trim = 1"};
  for (const std::string attempt : attempts) {
    EXPECT_THAT(Failure("<%\n" + attempt + ";\n%>"), HasSubstr("line 2: ")) << attempt;
  }
  EXPECT_EQ(Output("<% 'secret'.match(/s(.)/); %><%= RegExp.$1 %><%= RegExp.lastMatch %>"), "");
}

TEST_F(PagesTest, PrototypeNamesStayAssignableOnOwnObjects) {
  EXPECT_EQ(Output("<% var a = {}; a.toString = function () { return 'mine'; }; a.name = 'n';"
                   " function F() {} F.prototype.toString = function () { return 'f'; }; %>"
                   "<%= String(a) %> <%= a.name %> <%= '' + new F() %>"),
            "mine n f");
}

TEST_F(PagesTest, MicrotasksRunBeforeThePageEndsAndItsObjectsAreReleased) {
  EXPECT_EQ(Output("<% var page = Server.CreateObject('Varnel.Page');"
                   "Promise.resolve().then(function () { Response.Write(page.URL('x.asp')); }); %>first "),
            "first /shop/x.asp");
}

TEST_F(PagesTest, MicrotasksEndAtThePagesTimeLimit) {
  EXPECT_THAT(Failure("<% Server.ScriptTimeout = 1;"
                      " function again() { return Promise.resolve().then(again); } again(); %>"),
              StartsWith("page1.asp"));
  EXPECT_EQ(Value("1"), "1");
}

TEST_F(PagesTest, OtherDirectivesAreErrorsOfTheCompilerWithTheirLine) {
  EXPECT_THAT(Failure("<html>\n<%@ Trace=True %>"), StartsWith("page1.asp, line 2: "));
  EXPECT_THAT(Failure("<%@ Language=VBScript %>"), StartsWith("page2.asp, line 1: "));
  EXPECT_THAT(Failure("\n\n<%@ CodePage=1252 %>"), StartsWith("page3.asp, line 3: "));
}

TEST_F(PagesTest, LocaleDirectiveIsThePagesLcid) {
  EXPECT_EQ(Output("<%@ LCID=1031 %><%= Session.LCID %>"), "1031");
  EXPECT_EQ(Value("Session.LCID"), "1033");
}

TEST_F(PagesTest, ErrorsNameThePageOrTheIncludeAndTheLine) {
  site.WritePage("parts/bad.inc", "\n\n<% throw new Error('broken part'); %>");
  site.WritePage("parts/worse.inc", "\n<% var = ; %>");
  EXPECT_THAT(Failure("\n<% nothing.there(); %>"), StartsWith("page1.asp, line 2: "));
  EXPECT_THAT(Failure("\n<!--#include file=\"parts/bad.inc\"-->"),
              StartsWith("parts/bad.inc, line 3: broken part (number "));
  EXPECT_THAT(Failure("<!--#include file=\"parts/worse.inc\"-->"), StartsWith("parts/worse.inc, line 2: "));
  EXPECT_THAT(Failure("<% if (true) {\n%>"), StartsWith("page4.asp, line "));
}

TEST_F(PagesTest, PageWithoutSessionStateHasPageTableAndMessages) {
  EXPECT_EQ(Output("<%@ EnableSessionState=False %>"
                   "<% var page = Server.CreateObject('Varnel.Page'); var t = page.Table(); %>"
                   "<%= typeof Session %> <%= page.I18N('SLBGE0015') %> <%= page.I18N('NONE') %>"),
            "undefined Records NONE-1033");
}

TEST_F(PagesTest, PageWithoutSessionStateReadsListsAndSetsNoCookie) {
  site.MakeCustomers(3);
  const Answer answer =
      Ask("<%@ EnableSessionState=False %>"
          "<% var page = Server.CreateObject('Varnel.Page'); page.OpenDatabaseConnection('Demo');"
          " var rs = page.DRecordset(); var grid = page.DGrid(rs, 'Customers'); grid.Col('Id', 'id');"
          " rs.OpenRS('SELECT id, name FROM customer', 'id'); grid.Cell(1); %><%= rs('name') %>");
  EXPECT_EQ(answer.body, "n01");
  EXPECT_EQ(answer.headers.Find("Set-Cookie"), nullptr);
}

TEST_F(PagesTest, AnEncodedExpressionIsHtmlTextInElementsAndInAnyQuotes) {
  EXPECT_EQ(Output("<p title='<%: Request('q') %>'><%: Request('q') %></p>", "q=%3Cb%3E%26%22%27x"),
            "<p title='&lt;b&gt;&amp;&quot;&#39;x'>&lt;b&gt;&amp;&quot;&#39;x</p>");
  EXPECT_EQ(Output("<%: null %><%: undefined %>|<%: 1.5 %>|<%: true %>|<%: '\u20AC<' %>"),
            "|1.5|True|\xE2\x82\xAC&lt;");
}

TEST_F(PagesTest, AnEncodedExpressionOfAFieldIsItsValue) {
  site.MakeCustomers(1);
  site.RunSql("UPDATE CUSTOMER SET NAME = '<i>'");
  EXPECT_EQ(Output("<% var p = Server.CreateObject('Varnel.Page'); p.OpenDatabaseConnection('Demo');"
                   " var rs = p.DRecordset(); rs.OpenRS('SELECT ID, NAME FROM CUSTOMER', 'ID'); %>"
                   "<%: rs('NAME') %> <%: rs('NAME').Value %> <%= rs('NAME') %>"),
            "&lt;i&gt; &lt;i&gt; <i>");
}

TEST_F(PagesTest, HalvesOfACharacterWrittenOneByOneMakeIt) {
  EXPECT_EQ(Output("<%: '\\uD83D' -%>\n<%: '\\uDE00' %>"), "\xF0\x9F\x98\x80");
}

TEST_F(PagesTest, LineBreaksBehindBlocksThatEndWithAMinusAreNotWritten) {
  EXPECT_EQ(Output("<% for (var i = 0; i < 2; i++) { -%>\n<li><%= i %>\n<% } -%>\nend"), "<li>0\n<li>1\nend");
}

}  // namespace
