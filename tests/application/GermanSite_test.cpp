// A site whose own locale is German: texts are read by it, and what gets into SQL stays plain.

#include "tests/application/ServedSite.h"

namespace {

constexpr const char* kGerman =
    "[site]\nroot = \"/shop\"\nlcid = 1031\nmode = \"development\"\n[server]\nthreads = 1\n[application]\n"
    "Demo_ConnectionString = \"Provider=SQLite;Data Source=demo.db\"\n";

class GermanSiteTest : public hosttest::PageTest {
 protected:
  GermanSiteTest() {
    site.Write("site.toml", kGerman);
    site.Write("messages/1031.toml", "SLBGE0015 = \"Datensätze\"\n");
    site.RunSql("CREATE TABLE item (id INT NOT NULL PRIMARY KEY, price DOUBLE, since DATETIME);");
    for (int i = 1; i <= 7; ++i) {
      const std::string id = std::to_string(i);
      site.RunSql("INSERT INTO item VALUES (" + id + ", " + std::to_string(8 - i) + ".5, '2001-12-1" + id +
                  " 10:30:00');");
    }
  }

  // The items' ids on the three pages of a list that is sorted by `key`, three on each.
  std::string Walked(const std::string& key) {
    const std::string page =
        "<% var page = Server.CreateObject('Varnel.Page'); page.OpenDatabaseConnection('Demo');"
        " var rs = page.DRecordset(); rs.SetPageSize(3); rs.SetDefaultSortFields('" +
        key +
        "'); rs.OpenRS('SELECT id, price, since FROM item', 'id');"
        " for (; !rs.EOF; rs.MoveNext()) Response.Write(rs('id').Value + ' '); %>;<%= rs.GetStateNext() %>";
    std::string ids;
    std::string query;
    for (int i = 0; i < 3; ++i) {
      const std::string text = Output(page, query);
      ids += text.substr(0, text.find(';'));
      query = "R_1=" + Escaped(text.substr(text.find(';') + 1));
    }
    return ids;
  }

 private:
  // A state text holds blanks and signs.
  static std::string Escaped(const std::string& text) {
    std::string escaped;
    for (const char c : text) {
      escaped += c == ' ' ? "%20" : c == '+' ? "%2B" : std::string(1, c);
    }
    return escaped;
  }
};

TEST_F(GermanSiteTest, TextIsReadByItsLocale) {
  EXPECT_EQ(Value("CDbl('1.234,5')"), "1234.5");
  EXPECT_EQ(Value("CLng('1.234')"), "1234");
  EXPECT_EQ(Value("CDate('31.12.2001 17:30:00')"), "31.12.2001 17:30:00");
}

TEST_F(GermanSiteTest, ANumberBecomesTextWithAPoint) {
  EXPECT_EQ(Value("1.5"), "1.5");
  EXPECT_EQ(Value("CStr(1.5)"), "1.5");
  EXPECT_EQ(Value("CDbl('1,5')"), "1.5");
  EXPECT_EQ(Value("'price = ' + CDbl('-1234,5')"), "price = -1234.5");
  EXPECT_EQ(Value("Utilities.SQLEncodeDbl(CDbl('1,5'))"), " 1.5");
  EXPECT_EQ(Value("Utilities.SQLEncodeDbl('0,5')"), " .5");
  EXPECT_EQ(Value("Utilities.SQLEncodeDate('31.12.2001')"), "{d '2001-12-31'}");
}

// Written "1,5", the price would be two values.
TEST_F(GermanSiteTest, ANumberInAQueryIsOneValue) {
  EXPECT_EQ(Output("<% var c = Server.CreateObject('ADODB.Connection');"
                   " c.Open('Provider=SQLite;Data Source=demo.db');"
                   " var price = Server.CreateObject('Varnel.DataFunctions').ConvertFloatString('2,5', 1031);"
                   " c.Execute('INSERT INTO item VALUES (8, ' + price + ', NULL)');"
                   " var rs = c.Execute('SELECT COUNT(*) AS n FROM item WHERE price = ' + price);"
                   " Response.Write(rs('n').Value + ' ');"
                   " rs = c.Execute('SELECT id FROM item WHERE price =' + Utilities.SQLEncodeDbl('5,5'));"
                   " Response.Write(rs('id').Value); %>"),
            "2 3");
}

// The state text carries the last row's keys into the next page's SQL.
TEST_F(GermanSiteTest, AListSortedByNumbersOrDaysGoesOnWhereItWas) {
  EXPECT_EQ(Walked("price, id"), "7 6 5 4 3 2 1 ");
  EXPECT_EQ(Walked("since DESC, id DESC"), "7 6 5 4 3 2 1 ");
  EXPECT_EQ(Walked("since, id"), "1 2 3 4 5 6 7 ");
}

}  // namespace
