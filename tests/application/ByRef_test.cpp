// Arguments by reference, and errors that scripts catch.

#include <gmock/gmock.h>

#include "tests/application/ServedSite.h"

namespace {

class ByRefTest : public hosttest::PageTest {};

constexpr char kPageWithJump[] = "<% var page = Server.CreateObject('Varnel.Page'); page.ShowPageJump(7); %>";

TEST_F(ByRefTest, ByRefHoldsTheResult) {
  EXPECT_EQ(Output(std::string(kPageWithJump) +
                   "<% var n = new ByRef(0), b = new ByRef(false); page.GetPageJump(n, b); %>"
                   "<%= n.value %> <%= b.value %>"),
            "7 True");
}

TEST_F(ByRefTest, PlainValueMayStandForIt) {
  EXPECT_EQ(Output(std::string(kPageWithJump) + "<% var n = 3; page.GetPageJump(n, false); %><%= n %>"), "3");
}

TEST_F(ByRefTest, CountOfChangedRowsComesBack) {
  site.MakeCustomers(5);
  EXPECT_EQ(
      Output(
          "<% var c = Server.CreateObject('ADODB.Connection'); c.Open('Provider=SQLite;Data Source=demo.db');"
          " var changed = new ByRef(0); c.Execute('UPDATE customer SET active = 0 WHERE id > 3', changed); %>"
          "<%= changed.value %>"),
      "2");
}

constexpr char kOpenList[] =
    "<% var page = Server.CreateObject('Varnel.Page'); page.OpenDatabaseConnection('Demo');"
    " var rs = page.DRecordset(); rs.OpenRS('SELECT id, name FROM customer', 'id'); %>";

TEST_F(ByRefTest, LibraryFillsARecordsetMadeByThePage) {
  site.MakeCustomers(3);
  EXPECT_EQ(Output(std::string(kOpenList) +
                   "<% var target = new ByRef(Server.CreateObject('ADODB.Recordset'));"
                   " rs.GetDataAsRecordSet(target); var made = target.value; made.MoveFirst(); %>"
                   "<%= made.RecordCount %> <%= made('id').Value + 0 === made('id').Value %>"),
            "3 False");  // every column is a text column
}

// The library drives the object by name; what the script's own object throws comes back as it was thrown.
TEST_F(ByRefTest, SortedBytesComeBackInTheSameArray) {
  EXPECT_EQ(Output("<% var b = new Uint8Array([3, 255, 0]); Utilities.QuickSort(b);"
                   " var part = new Uint8Array([9, 3, 1, 2, 8]); Utilities.QuickSort(part.subarray(1, 4));"
                   " var held = new ByRef(new Uint8Array([2, 1])); Utilities.QuickSort(held); %>"
                   "<%= b.join() %> <%= part.join() %> <%= held.value.join() %>"),
            "0,3,255 9,1,2,3,8 1,2");
}

TEST_F(ByRefTest, ErrorOfAScriptObjectComesBackThroughTheLibrary) {
  site.MakeCustomers(3);
  EXPECT_EQ(Output(std::string(kOpenList) +
                   "<% var own = { get Fields() { var e = new Error('No room'); e.number = 1234;"
                   " e.source = 'MyPage'; e.description = 'No room'; throw e; } };"
                   " try { rs.GetDataAsRecordSet(own); } catch (e) { %>"
                   "<%= e.number %>|<%= e.source %>|<%= e.description %><% } %>"),
            "1234|MyPage|No room");
}

TEST_F(ByRefTest, LibraryCallsAScriptObjectByName) {
  site.MakeCustomers(2);
  EXPECT_EQ(Output(std::string(kOpenList) +
                   "<% var calls = [];"
                   " var fields = Object.assign(function (i) { return { set Value(v) { calls.push(v); } }; },"
                   " { Append: function (name, type) { calls.push(name + ':' + type); } });"
                   " rs.GetDataAsRecordSet({ Fields: fields, Open: function () { calls.push('open'); },"
                   " AddNew: function () { calls.push('new'); } }); %><%= calls.slice(0, 5).join(' ') %>"),
            "id:8 name:8 open new 1");
}

}  // namespace
