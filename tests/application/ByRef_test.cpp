// Arguments by reference, and errors that scripts catch.

#include <gmock/gmock.h>

#include "tests/application/ServedSite.h"

namespace {

using testing::HasSubstr;

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

}  // namespace
