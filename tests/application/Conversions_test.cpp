// Values on their way from a script to the library and the database, and back. `Page.Add` names the type of
// what it can't add.

#include <gmock/gmock.h>

#include "tests/application/ServedSite.h"

namespace {

using testing::HasSubstr;

class ConversionsTest : public hosttest::PageTest {
 protected:
  // The type that the library sees.
  std::string TypeOf(const std::string& expression) {
    const std::string text = Output("<% Server.CreateObject('Varnel.Page').Add(" + expression + "); %>");
    const std::string before = "<h1>Parameter error: invalid component added to Page object. ";
    const std::string after = "</h1>";
    if (!text.starts_with(before) || !text.ends_with(after)) return text;
    return text.substr(before.size(), text.size() - before.size() - after.size());
  }

  // What a page with a column `v` of the first row writes.
  std::string OfColumn(const std::string& sqlValue, const std::string& type, const std::string& page) {
    site.RunSql("DROP TABLE IF EXISTS t; CREATE TABLE t (v " + type + "); INSERT INTO t VALUES (" + sqlValue +
                ");");
    return Output(
        "<% var rs = Server.CreateObject('ADODB.Recordset');"
        " rs.Open('SELECT v FROM t', 'Provider=SQLite;Data Source=demo.db'); var v = rs('v').Value; %>" +
        page);
  }
};

TEST_F(ConversionsTest, PlainValuesBecomeTheirType) {
  EXPECT_EQ(TypeOf("null"), "Null");
  EXPECT_EQ(TypeOf("undefined"), "Empty");
  EXPECT_EQ(TypeOf("1"), "Long");
  EXPECT_EQ(TypeOf("-2147483648"), "Long");
  EXPECT_EQ(TypeOf("2147483648"), "Double");
  EXPECT_EQ(TypeOf("0.5"), "Double");
  EXPECT_EQ(TypeOf("'text'"), "String");
  EXPECT_EQ(TypeOf("true"), "Boolean");
  EXPECT_EQ(TypeOf("new Date()"), "Date");
  EXPECT_EQ(TypeOf("new Uint8Array(3)"), "Byte()");
  EXPECT_EQ(TypeOf("[1, 'a']"), "Variant()");
  EXPECT_EQ(TypeOf("Request"), "Request");
}

TEST_F(ConversionsTest, TypedValuesHaveExactlyTheirType) {
  EXPECT_EQ(TypeOf("CInt(1)"), "Integer");
  EXPECT_EQ(TypeOf("CLng('1')"), "Long");
  EXPECT_EQ(TypeOf("CDbl(1)"), "Double");
  EXPECT_EQ(TypeOf("CByte(1)"), "Byte");
  EXPECT_EQ(TypeOf("CDate('1/2/2003')"), "Date");
  EXPECT_EQ(TypeOf("CStr(1)"), "String");
  EXPECT_EQ(TypeOf("CBool(1)"), "Boolean");
}

TEST_F(ConversionsTest, TypedValuesFollowTheUsersLocale) {
  site.Write("site.toml",
             "[site]\nroot = \"/shop\"\nlcid = 1031\nmode = \"development\"\n[server]\nthreads = 1\n");
  EXPECT_EQ(Value("CDbl('1,5')"), "1.5");
  EXPECT_EQ(Value("CDate('31.12.2001')"), "31.12.2001");
}

TEST_F(ConversionsTest, UndefinedIsALeftOutArgument) {
  // Without a table of its own the grid makes one; a title is needed.
  site.MakeCustomers(1);
  EXPECT_THAT(
      Output("<% var page = Server.CreateObject('Varnel.Page'); page.OpenDatabaseConnection('Demo');"
             " var rs = page.DRecordset(); var grid = page.DGrid(rs, 'Title', undefined, undefined);"
             " grid.Col('Id', undefined, undefined, AlignRight); rs.OpenRS('SELECT id FROM customer', 'id');"
             " grid.Cell(rs('id')); page.Add(grid); %>"),
      HasSubstr(" nowrap align=\"right\""));
}

TEST_F(ConversionsTest, NullIsNothingWhereAnObjectIsExpected) {
  site.MakeCustomers(1);
  EXPECT_EQ(Output("<% var rs = Server.CreateObject('ADODB.Recordset'); rs.CursorLocation = 3;"
                   " rs.Open('SELECT id FROM customer', 'Provider=SQLite;Data Source=demo.db');"
                   " rs.ActiveConnection = null; %><%= rs.ActiveConnection === null %> <%= rs('id') %>"),
            "True 1");
}

TEST_F(ConversionsTest, ValuesOfTheDatabaseComeBackAsTheScriptsOwn) {
  EXPECT_EQ(OfColumn("NULL", "VARCHAR(9)", "<%= v === null %>"), "True");
  EXPECT_EQ(OfColumn("42", "INT", "<%= typeof v %> <%= v + 1 %>"), "number 43");
  EXPECT_EQ(OfColumn("1.25", "DOUBLE", "<%= typeof v %> <%= v * 2 %>"), "number 2.5");
  EXPECT_EQ(OfColumn("'a'", "VARCHAR(9)", "<%= typeof v %> <%= v.length %>"), "string 1");
  EXPECT_EQ(OfColumn("'2001-02-03 04:05:06'", "DATETIME",
                     "<%= v instanceof Date %> <%= v.getFullYear() %>-<%= v.getMonth() %>-<%= v.getDate() %>"
                     " <%= v.getHours() %>:<%= v.getMinutes() %>:<%= v.getSeconds() %>"),
            "True 2001-1-3 4:5:6");
  EXPECT_EQ(OfColumn("x'00ff10'", "BLOB", "<%= v instanceof Uint8Array %> <%= v.join() %>"), "True 0,255,16");
  EXPECT_EQ(Value("Session('nothing there') === undefined"), "True");
}

TEST_F(ConversionsTest, ValuesAreWrittenAsTheLibraryWritesThem) {
  EXPECT_EQ(Value("1e15"), "1000000000000000");
  EXPECT_EQ(Value("-0.000125"), "-0.000125");
  EXPECT_EQ(Value("true"), "True");
  EXPECT_EQ(Value("new Date(2001, 1, 3)"), "2/3/2001");
  EXPECT_EQ(Value("new Date(2001, 1, 3, 16, 5, 6)"), "2/3/2001 4:05:06 PM");
  EXPECT_EQ(Value("null") + Value("undefined"), "");
}

TEST_F(ConversionsTest, ObjectOfTheScriptIsWrittenAsItsOwnText) {
  EXPECT_EQ(Output("<% try { nothing(); } catch (e) { %><%= e %><% } %>"),
            "ReferenceError: nothing is not defined");
  EXPECT_EQ(Value("{ toString() { return 'mine'; } }"), "mine");
  EXPECT_EQ(Value("{ valueOf() { return 0.5; } }"), "0.5");
  EXPECT_EQ(Value("/a+/g"), "/a+/g");
  EXPECT_EQ(Value("Server.HTMLEncode(new Error('<'))"), "Error: &lt;");
}

TEST_F(ConversionsTest, TextKeepsEveryCharacter) {
  EXPECT_EQ(OfColumn("'\xC3\xA4 \xE2\x82\xAC \xF0\x9F\x98\x80'", "VARCHAR(9)", "<%= v %> <%= v.length %>"),
            "\xC3\xA4 \xE2\x82\xAC \xF0\x9F\x98\x80 6");
}

}  // namespace
