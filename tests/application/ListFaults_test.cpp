// What a visitor can do to a list by its link or its form: a state text is damaged, lies or asks for what
// there isn't. As the site's owner says nothing, damage is refused. Where he lets anything through, each
// request fails with the run-time error of its step. Both ways it may show a page; the data stay as they are,
// and the next request is served.

#include <gmock/gmock.h>

#include "host-linux/intrinsics/FormFields.h"
#include "tests/application/ServedSite.h"
#include "tests/application/StateTexts.h"

namespace {

using hosttest::Answer;
using hosttest::Encoded;
using hosttest::FirstPageBy;
using hosttest::StateText;
using testing::HasSubstr;

constexpr char kList[] =
    "<% var page = Server.CreateObject('Varnel.Page'); page.OpenDatabaseConnection('Demo');\n"
    "var rs = page.DRecordset(); rs.SetPageSize(3); rs.SetRecCountON(); rs.SetPageJump(true, 10);\n"
    "rs.OpenRS('SELECT id, name FROM customer', 'id');\n"
    "for (; !rs.EOF; rs.MoveNext()) { %><%= rs('id') %> <% } %>";

constexpr char kForm[] =
    "<% var page = Server.CreateObject('Varnel.Page'); page.OpenDatabaseConnection('Demo');\n"
    "page.SetDGridViaPost(); var rs = page.DRecordset(); rs.SetPageSize(3); rs.SetRecCountON();\n"
    "var grid = page.DGrid(rs, 'Customers', true); grid.Col('Id', 'id'); grid.ShowPageJump(5, 5, 'form');\n"
    "if (Request.Form.Count === 0) rs.SetState('');\n"
    "rs.OpenRS('SELECT id, name FROM customer', 'id');\n"
    "for (; !rs.EOF; rs.MoveNext()) { %><%= rs('id') %> <% } %>";

constexpr char kGrid[] =
    "<% var page = Server.CreateObject('Varnel.Page'); page.OpenDatabaseConnection('Demo');\n"
    "var rs = page.DRecordset(); rs.SetPageSize(3);\n"
    "var grid = page.DGrid(rs, 'Customers'); grid.Col('Id', 'id'); grid.ShowPageJump(5, 5, '');\n"
    "rs.OpenRS('SELECT id, name FROM customer', 'id'); page.Add(grid); %>";

constexpr char kMessages[] =
    "SLBGE0015 = \"Records\"\nSLBGE0016 = \"x\"\nSLBGE0017 = \"none\"\nSLBGE0018 = \"x\"\nSLBGE0019 = \"x\"\n"
    "SLBGE0020 = \"x\"\nSLBGE0021 = \"x\"\nSLBGE0032 = \"x\"\nSLBGE0034 = \"x\"\nSLBGE0035 = \"x\"\n";

// Page 2 of 10 rows, behind the row 3, which "n03" and 3 are the keys of; `total` rows are claimed.
std::string SecondPage(const std::string& total = "10", const std::string& first = "4") {
  return "1x" + total + "x" + first + "x" + StateText("id") + "0x0x" + StateText("3") + "1x1x4x";
}

class ListFaultsTest : public hosttest::PageTest {
 protected:
  explicit ListFaultsTest(const std::string& lists = "links = \"any\"") {
    site.Write("site.toml", site.Read("site.toml") + "\n[lists]\n" + lists + "\n");
    site.MakeCustomers(10);
    site.Write("messages/1033.toml", kMessages);
    site.WritePage("list.asp", kList);
    site.WritePage("form.asp", kForm);
  }

  Answer List(const std::string& state) { return Get("/shop/list.asp?R_1=" + Encoded(state)); }

  // The request fails with this run-time error.
  void ExpectError(const Answer& answer, int number, const std::string& what) {
    ++m_errors;
    EXPECT_EQ(answer.status, 500) << what;
    EXPECT_THAT(answer.body, HasSubstr("(number " + std::to_string(number) + ", ")) << what;
    ExpectServed();
  }

  // The request fails with an error of the database: its number is below 0.
  void ExpectDatabaseError(const Answer& answer, const std::string& what) {
    ++m_errors;
    EXPECT_EQ(answer.status, 500) << what;
    EXPECT_THAT(answer.body, HasSubstr("(number -")) << what;
    ExpectServed();
  }

  // The request is answered with these rows.
  void ExpectRows(const Answer& answer, const std::string& rows) {
    EXPECT_EQ(answer.status, 200) << answer.body;
    EXPECT_EQ(answer.body, rows);
  }

  void ExpectServed() { EXPECT_EQ(Get("/shop/list.asp").body, "1 2 3 "); }

  // Every failure left one entry, and the data are what they were.
  void TearDown() override {
    EXPECT_EQ(
        Output("<% var c = Server.CreateObject('ADODB.Connection');"
               " c.Open('Provider=SQLite;Data Source=demo.db');"
               " var rs = c.Execute(\"SELECT COUNT(*), MIN(name), MAX(name), SUM(id) FROM customer\"); %>"
               "<%= rs(0) %> <%= rs(1) %> <%= rs(2) %> <%= rs(3) %>"),
        "10 n01 n10 55");
    const std::string log = EndedLog();
    int entries = 0;
    for (std::size_t at = 0; (at = log.find(" error [", at)) != std::string::npos; ++at) ++entries;
    EXPECT_EQ(entries, m_errors) << log;
  }

  int m_errors = 0;
};

// The same, judged by what the site's defaults say.
class RefusedLinksTest : public ListFaultsTest {
 protected:
  RefusedLinksTest() : ListFaultsTest("") {}

  void ExpectRefused(const Answer& answer, const std::string& what) {
    EXPECT_EQ(answer.status, 400) << what << ": " << answer.body;
    EXPECT_THAT(answer.body, HasSubstr("To the first page of the list")) << what;
    ExpectServed();
  }
};

TEST_F(ListFaultsTest, WholeStateTextIsTheNextPage) { ExpectRows(List(SecondPage()), "4 5 6 "); }

TEST_F(ListFaultsTest, StateTextCutShortIsRefusedWhereverItIsCut) {
  const std::string whole = SecondPage();
  for (std::size_t length = 1; length + 1 < whole.size(); ++length) {
    const Answer answer = List(whole.substr(0, length));
    EXPECT_EQ(answer.status, 500) << whole.substr(0, length);
    EXPECT_THAT(answer.body, testing::ContainsRegex("list.asp, line 3: .*\\(number (5|6|9|13|94), "));
    ++m_errors;
  }
  ExpectServed();
}

TEST_F(ListFaultsTest, LettersForNumbersAreATypeMismatch) {
  ExpectError(List("ax10x4x" + StateText("id") + "0x0x" + StateText("3") + "1x1x4x"), 13, "the read");
  ExpectError(List("1xtenx4x" + StateText("id") + "0x0x" + StateText("3") + "1x1x4x"), 13, "the total");
  ExpectError(List("1x10xfourx" + StateText("id") + "0x0x" + StateText("3") + "1x1x4x"), 13, "the record");
  ExpectError(List("1x10x4xabcd0x"), 13, "a length");
  ExpectError(List("1x10x4x  3abc0x0x" + StateText("3") + "1x1x4x"), 13, "a character");
  ExpectError(List("1x10x4x" + StateText("id") + "0xbx" + StateText("3") + "1x1x4x"), 13, "the keys");
}

TEST_F(ListFaultsTest, NumbersOutOfRangeOverflow) {
  ExpectError(List("40000x10x4x" + StateText("id") + "0x0x" + StateText("3") + "1x1x4x"), 6, "the read");
  ExpectError(List(SecondPage("99999999999")), 6, "the total");
  ExpectError(List(SecondPage("10", "2147483648")), 6, "the record");
  ExpectError(List("1x10x4x" + StateText("id") + "0x32768x" + StateText("3") + "1x1x4x"), 6, "the keys");
  ExpectError(List("1x10x4x  565536" + std::string("0x0x") + StateText("3") + "1x1x4x"), 6, "a character");
  ExpectError(List("1x10x4x" + StateText("id") + "0xz2x" + StateText("3") + "1x1x4x"), 9, "the highest key");
}

TEST_F(ListFaultsTest, ClaimOfThirtyThousandKeysIsRefusedAtTheirEnd) {
  ExpectError(List("1x10x4x" + StateText("id") + "0x29999x" + StateText("3")), 13, "keys");
  std::string keys;
  for (int i = 0; i < 1000; ++i) keys += " z1";
  ExpectError(List("1x10x4x" + StateText("id") + "0x29999x" + keys), 13, "many keys");
}

TEST_F(ListFaultsTest, FewerKeysThanTheSortHasIsASubscriptError) {
  ExpectError(List("1x10x4x" + StateText("name, id") + "0x0x" + StateText("3") + "1x1x4x"), 9, "keys");
}

TEST_F(ListFaultsTest, TotalsThatLieShowRowsAllTheSame) {
  ExpectRows(List(SecondPage("2000000000")), "4 5 6 ");
  ExpectRows(List(SecondPage("z5")), "4 5 6 ");
  ExpectRows(List(SecondPage("2")), "4 5 6 ");
  ExpectRows(List(SecondPage("10", "1000000")), "4 5 6 ");
}

TEST_F(ListFaultsTest, UnknownReadIsNoError) {
  EXPECT_EQ(List("7x10x4x" + StateText("id") + "0x1x1x4x").status, 200);
}

TEST_F(ListFaultsTest, UnknownSortColumnIsAnErrorOfTheDatabase) {
  ExpectDatabaseError(List(FirstPageBy("nothing")), "a column");
  ExpectDatabaseError(List(FirstPageBy("name,, id")), "an empty column");
  ExpectDatabaseError(List(FirstPageBy("name SIDEWAYS")), "a direction");
  ExpectDatabaseError(List(FirstPageBy("'")), "a quote");
}

TEST_F(ListFaultsTest, StatementsInTheSortTextAreNotRun) {
  ExpectDatabaseError(List(FirstPageBy("1; DROP TABLE customer")), "a second statement");
  ExpectDatabaseError(List(FirstPageBy("id; DELETE FROM customer; --")), "a comment behind it");
  ExpectDatabaseError(List(FirstPageBy("id UNION SELECT 1, 2")), "a union");
}

// --- Jumps, by link and by form

TEST_F(ListFaultsTest, JumpsToPagesThatThereArentShowAPage) {
  for (const char* page : {"0", "z5", "1000000000", "2147483647", "z2147483648"}) {
    EXPECT_EQ(List(SecondPage() + page + "x").status, 200) << page;
    ExpectServed();
  }
  ExpectError(List(SecondPage() + "99999999999x"), 6, "a page out of range");
  ExpectError(List(SecondPage() + "twox"), 13, "a page of letters");
}

TEST_F(ListFaultsTest, PostedJumpsToPagesThatThereArentShowAPage) {
  const std::string previous = "&R_1_jp=" + Encoded("0x10x1x  00x1x1x4x");
  const std::string next =
      "&R_1_jn=" + Encoded("1x10x4x" + StateText("id") + "0x0x" + StateText("3") + "1x1x4x");
  for (const char* page : {"0", "-5", "1000000000", "two"}) {
    EXPECT_EQ(Post("/shop/form.asp", "R_1_jv=" + Encoded(page) + previous + next).status, 200) << page;
    ExpectServed();
  }
  ExpectError(Post("/shop/form.asp", "R_1_jv=99999999999" + previous + next), 6, "a page out of range");
}

TEST_F(ListFaultsTest, PressedButtonWithoutItsHiddenFieldIsNoClick) {
  for (const char* button : {"R_10", "R_11", "R_12", "R_13", "R_14"}) {
    EXPECT_EQ(Post("/shop/form.asp", std::string(button) + ".x=3&" + button + ".y=4").status, 200) << button;
  }
  ExpectServed();
}

TEST_F(ListFaultsTest, PressedButtonWithADamagedHiddenFieldIsTheErrorOfItsStep) {
  ExpectError(Post("/shop/form.asp", "R_12.x=3&R_12.y=4&R_12d=1x10"), 5, "cut short");
  ExpectError(Post("/shop/form.asp", "R_12.x=3&R_12.y=4&R_12d=ax10x"), 13, "letters");
}

// --- With a guard

TEST_F(RefusedLinksTest, StateTextCutShortIsRefusedWhereverItIsCut) {
  const std::string whole = SecondPage();
  for (std::size_t length = 1; length + 1 < whole.size(); ++length) {
    EXPECT_EQ(List(whole.substr(0, length)).status, 400) << whole.substr(0, length);
  }
  ExpectServed();
}

TEST_F(RefusedLinksTest, LettersAndNumbersOutOfRangeAreRefused) {
  ExpectRefused(List("ax10x4x" + StateText("id") + "0x0x" + StateText("3") + "1x1x4x"), "the read");
  ExpectRefused(List("1x10x4xabcd0x"), "a length");
  ExpectRefused(List("1x10x4x  3abc0x0x" + StateText("3") + "1x1x4x"), "a character");
  ExpectRefused(List(SecondPage("99999999999")), "the total");
  ExpectRefused(List("1x10x4x" + StateText("id") + "0xz2x" + StateText("3") + "1x1x4x"), "the highest key");
  ExpectRefused(List("1x10x4x" + StateText("id") + "0x29999x" + StateText("3")), "thirty thousand keys");
}

TEST_F(RefusedLinksTest, AWrongNumberOfKeysIsRefused) {
  ExpectRefused(List("1x10x4x" + StateText("name, id") + "0x0x" + StateText("3") + "1x1x4x"), "too few");
  ExpectRefused(List("1x10x4x" + StateText("id") + "0x1x" + StateText("3") + StateText("3") + "1x1x4x"),
                "too many");
}

TEST_F(RefusedLinksTest, SortsThatAreNoColumnAreRefused) {
  for (const char* sort : {"nothing", "name,, id", "name SIDEWAYS", "'", "1; DROP TABLE customer",
                           "id; DELETE FROM customer; --", "id UNION SELECT 1, 2"}) {
    ExpectRefused(List(FirstPageBy(sort)), sort);
  }
}

TEST_F(RefusedLinksTest, NumbersThatLieAreUsedAsTheyStand) {
  ExpectRows(List(SecondPage("2000000000")), "4 5 6 ");
  ExpectRows(List(SecondPage("z5")), "4 5 6 ");
  ExpectRows(List(SecondPage("10", "1000000")), "4 5 6 ");
  EXPECT_EQ(List("7x10x4x" + StateText("id") + "0x1x1x4x").status, 200);
  for (const char* page : {"0", "z5", "1000000000", "2147483647", "z2147483648"}) {
    EXPECT_EQ(List(SecondPage() + page + "x").status, 200) << page;
  }
}

TEST_F(RefusedLinksTest, OverflowingPageNumbersAreRefused) {
  ExpectRefused(List(SecondPage() + "99999999999x"), "by link");
  ExpectRefused(List(SecondPage() + "twox"), "letters");
  const std::string next =
      "&R_1_jn=" + Encoded("1x10x4x" + StateText("id") + "0x0x" + StateText("3") + "1x1x4x");
  ExpectRefused(Post("/shop/form.asp", "R_1_jv=99999999999" + next), "by form");
}

TEST_F(RefusedLinksTest, MorePageNumbersThanAPageHoldsAreRefused) {
  site.WritePage("grid.asp", kGrid);
  ExpectRefused(Get("/shop/grid.asp?R_1=" +
                    Encoded("1x10x4x" + StateText("id") + "0x0x" + StateText("3") + "1x1x2000000000x")),
                "a window of two thousand million numbers");
}

TEST_F(RefusedLinksTest, DamagedHiddenFieldsAreRefused) {
  ExpectRefused(Post("/shop/form.asp", "R_12.x=3&R_12.y=4&R_12d=1x10"), "cut short");
  ExpectRefused(Post("/shop/form.asp", "R_14.x=3&R_14.y=4&R_14d=ax10x"), "a head's");
  ExpectRefused(Post("/shop/form.asp", "CHOWC=1&CTATEC=" + Encoded(FirstPageBy("nothing"))), "submitted");
}

}  // namespace
