// Whole lists by page.List, through the real host: pages, choices, seals, refusals.
#include <gmock/gmock.h>

#include <set>

#include "tests/application/ServedSite.h"

namespace {

using hosttest::Answer;
using testing::HasSubstr;
using testing::Not;

constexpr char kPage[] = R"(<%@ Language=JavaScript CodePage=65001 %><%
var page = Server.CreateObject("Varnel.Page");
page.OpenDatabaseConnection("Demo");
var list = page.List("Books", `SELECT B.ID, B.TITLE, B.AUTHOR,
    B.PRICE, B.CATEGORY, B.PUBLISHED FROM BOOK B
  WHERE B.SECRET = 0`, "B.ID");
list.Column("B.TITLE", "Title").Link("book.asp", "ID");
list.Column("B.AUTHOR", "Author");
list.Column("B.PRICE", "Price").Format("number", 2);
list.Column("B.PUBLISHED", "Published").Format("date");
list.Column("STARS", "Stars").Sortable(false).Template(function (row, value) {
  return "<b>" + row("ID") + "</b>" + Server.HTMLEncode(row("author") || "");
});
list.Search("B.TITLE", "B.AUTHOR");
list.Filter("B.CATEGORY", undefined, "Category");
list.PageSizes(3, 5);
page.Add(list);
%>)";

class ListPages : public hosttest::PageTest {
 protected:
  ListPages() {
    site.RunSql(
        "CREATE TABLE BOOK (ID INTEGER NOT NULL PRIMARY KEY, TITLE VARCHAR(60) NOT NULL, AUTHOR VARCHAR(60),"
        " PRICE REAL, CATEGORY VARCHAR(20), PUBLISHED DATETIME, SECRET INT NOT NULL);"
        "WITH RECURSIVE n(i) AS (SELECT 1 UNION ALL SELECT i + 1 FROM n WHERE i < 11)"
        " INSERT INTO BOOK SELECT i, 'Book ' || substr('00' || i, -2), CASE i % 2 WHEN 0 THEN 'M\u00fcller' "
        "ELSE"
        " '<O''Hara>' END, i * 1000 + 0.5, CASE i % 3 WHEN 0 THEN 'Art' ELSE 'Sport & Spiel' END,"
        " '2024-03-' || substr('00' || i, -2) || ' 00:00:00', 0 FROM n;"
        "INSERT INTO BOOK VALUES (99, 'Hidden', 'Nobody', 1, 'Vault', NULL, 1), (98, '100% [sure]_', NULL, "
        "NULL,"
        " NULL, NULL, 0);"
        "CREATE TABLE VAULT (SECRET TEXT); INSERT INTO VAULT VALUES ('xyzzy');");
    site.WritePage("list.asp", kPage);
  }

  void Configure(const std::string& lists) {
    site.Write("site.toml", site.Read("site.toml") + "\n[lists]\n" + lists + "\n");
  }

  static std::string Link(const std::string& html, const std::string& rel) {
    const std::string begin = "rel=\"" + rel + "\" href=\"";
    const auto at = html.find(begin);
    if (at == std::string::npos) return {};
    const auto start = at + begin.size();
    return hosttest::Unescaped(html.substr(start, html.find('"', start) - start));
  }

  // The numbers of the books of a page.
  static std::string Ids(const Answer& answer) {
    EXPECT_EQ(answer.status, 200) << answer.body;
    std::string ids;
    for (auto at = answer.body.find("<b>"); at != std::string::npos; at = answer.body.find("<b>", at + 1))
      ids += (ids.empty() ? "" : " ") + answer.body.substr(at + 3, answer.body.find('<', at + 3) - at - 3);
    return ids;
  }

  void ExpectRefused(const std::string& query) {
    const Answer answer = Get("/shop/list.asp?" + query);
    EXPECT_EQ(answer.status, 400) << query << answer.body;
    EXPECT_THAT(answer.body, HasSubstr("<a href=\"/shop/list.asp")) << query;
    EXPECT_THAT(answer.body, Not(HasSubstr("xyzzy")));
  }
};

TEST_F(ListPages, ShowCellsAsTheirColumnsWant) {
  const std::string html = Get("/shop/list.asp").body;
  EXPECT_THAT(html, HasSubstr("<td data-label=\"Title\"><a href=\"/shop/book.asp?ID=1\">Book 01</a></td>"
                              "<td data-label=\"Author\">&lt;O&#39;Hara&gt;</td>"
                              "<td class=\"vl-end\" data-label=\"Price\">1,000.50</td>"
                              "<td data-label=\"Published\">3/1/2024</td>"
                              "<td data-label=\"Stars\"><b>1</b>&lt;O'Hara&gt;</td>"));
  EXPECT_THAT(html, HasSubstr("<span class=\"vl-count\">1 - 3 of 12</span>"));
}

TEST_F(ListPages, LeadFromOneToTheNext) {
  Answer answer = Get("/shop/list.asp");
  EXPECT_EQ(Ids(answer), "1 2 3");
  answer = Get(Link(answer.body, "next"));
  EXPECT_EQ(Ids(answer), "4 5 6");
  answer = Get(Link(answer.body, "last"));
  EXPECT_EQ(Ids(answer), "10 11 98");
  answer = Get(Link(answer.body, "prev"));
  EXPECT_EQ(Ids(answer), "7 8 9");
  EXPECT_EQ(Ids(Get(Link(answer.body, "first"))), "1 2 3");
}

TEST_F(ListPages, SortBySeveralColumns) {
  EXPECT_EQ(Ids(Get("/shop/list.asp?L1-sort=-AUTHOR,-TITLE&L1-size=5")), "10 8 6 4 2");
  const Answer second = Get(Link(Get("/shop/list.asp?L1-sort=AUTHOR,-PRICE").body, "next"));
  EXPECT_EQ(Ids(second), "7 5 3");
}

TEST_F(ListPages, SearchInAnyCaseAndTakeSignsAsTheyAre) {
  EXPECT_EQ(Ids(Get("/shop/list.asp?L1-q=bOOK+1")), "1 10 11");
  EXPECT_EQ(Ids(Get("/shop/list.asp?L1-q=m%C3%BCller+09")), "");
  EXPECT_EQ(Ids(Get("/shop/list.asp?L1-q=m%C3%BCller+08")), "8");
  EXPECT_EQ(Ids(Get("/shop/list.asp?L1-q=%25+%5Bs+%5D_")), "98");
  EXPECT_EQ(Ids(Get("/shop/list.asp?L1-q=_")), "98");
  EXPECT_EQ(Ids(Get("/shop/list.asp?L1-q=%27+OR+1%3D1+--")), "");
  EXPECT_EQ(Ids(Get("/shop/list.asp?L1-q=hidden")), "");
}

TEST_F(ListPages, FilterByWhatTheRowsHave) {
  const std::string html = Get("/shop/list.asp?L1-f-CATEGORY=Sport+%26+Spiel&L1-size=5").body;
  EXPECT_THAT(html,
              HasSubstr("<option value=\"\">All</option><option value=\"Art\">Art</option>"
                        "<option value=\"Sport &amp; Spiel\" selected>Sport &amp; Spiel</option></select>"));
  EXPECT_THAT(html, HasSubstr("<span class=\"vl-count\">1 - 5 of 8</span>"));
  EXPECT_EQ(Ids(Get(Link(html, "next"))), "8 10 11");
  EXPECT_EQ(Ids(Get("/shop/list.asp?L1-f-CATEGORY=Vault")), "");
}

TEST_F(ListPages, TheFormCarriesWhatWasChosenElsewhere) {
  const std::string html = Get("/shop/list.asp?group=a%22b&L1-sort=-PRICE&L1-q=%22%3E&L1-size=5").body;
  EXPECT_THAT(html,
              HasSubstr("<form class=\"vl-form\" method=\"get\" role=\"search\" aria-label=\"Books: Search\" "
                        "action=\"/shop/list.asp\">\n"
                        "<input type=\"hidden\" name=\"group\" value=\"a&quot;b\">\n"
                        "<input type=\"hidden\" name=\"L1-sort\" value=\"-PRICE\">\n"
                        "<span class=\"vl-field\"><label for=\"L1-q\">Search</label>\n"
                        "<input type=\"search\" id=\"L1-q\" name=\"L1-q\" maxlength=\"200\" "
                        "value=\"&quot;&gt;\"></span>\n"));
  EXPECT_THAT(html,
              HasSubstr("<a class=\"vl-reset\" href=\"/shop/list.asp?group=a%22b&amp;L1-sort=-PRICE&amp;"
                        "L1-size=5\">Reset</a>"));
  EXPECT_THAT(html, HasSubstr("<option value=\"3\">3</option><option value=\"5\" selected>5</option>"));
}

TEST_F(ListPages, RefuseWhatTheyDoNotOffer) {
  for (const char* query :
       {"L1-sort=SECRET", "L1-sort=STARS", "L1-sort=(SELECT+SECRET+FROM+VAULT)", "L1-f-SECRET=1", "L1-size=4",
        "L1-size=999999999999", "L1-at=x", "L1-at=n.0.4.12.00000000.t3.", "L1-at=n.0.4.12.811c9dc5.tx.t.",
        "L1-at=n.99.4.12.811c9dc5.t3."}) {
    ExpectRefused(query);
  }
  EXPECT_THAT(EndedLog(), Not(HasSubstr(" error [")));
}

TEST_F(ListPages, AreSealedWhereTheSiteSeals) {
  Configure("links = \"sealed\"");
  const Answer first = Get("/shop/list.asp?L1-sort=-TITLE");
  EXPECT_EQ(Ids(first), "11 10 9");
  const std::string next = Link(first.body, "next");
  EXPECT_EQ(Ids(Get(next)), "8 7 6");
  const std::string position = next.substr(next.find("L1-at=") + 6);
  for (std::size_t i = 0; i < position.size(); ++i) {
    std::string changed = position;
    changed[i] = changed[i] == '1' ? '2' : '1';
    ExpectRefused("L1-sort=-TITLE&L1-at=" + changed);
  }
  ExpectRefused("L1-sort=TITLE&L1-at=" + position);
  ExpectRefused("L1-at=n.0.4.12.811c9dc5.t3.");
  EXPECT_EQ(Ids(Get("/shop/list.asp?L1-sort=TITLE")), "98 1 2");
}

// A page that nothing keeps, where the request says so.
constexpr char kKeptPage[] = R"(<%@ Language=JavaScript CodePage=65001 EnableSessionState=False %><%
var page = Server.CreateObject("Varnel.Page");
page.OpenDatabaseConnection(Request.Cookies("anew") == "1" ? "Anew" : "Demo");
var list = page.List("Books", "SELECT ID, TITLE, AUTHOR, PRICE, CATEGORY, PUBLISHED FROM BOOK WHERE SECRET = :secret", "ID");
list.Parameter("secret", 0);
list.Column("TITLE", "Title").Link("book.asp", "ID");
list.Column("AUTHOR", "Author");
list.Column("PRICE", "Price").Format("number", 2);
list.Column("PUBLISHED", "Published").Format("date");
list.Search("TITLE", "AUTHOR");
list.Filter("CATEGORY", undefined, "Category");
list.PageSizes(3, 5);
if (Request.QueryString("pick") == "1") list.Selectable();
page.Add(list);
%>)";

class KeptLists : public ListPages {
 protected:
  KeptLists() {
    site.WritePage("list.asp", kKeptPage);
    std::string settings = site.Read("site.toml");
    const std::string demo = "Demo_ConnectionString = \"Provider=SQLite;Data Source=demo.db";
    settings.insert(settings.find(demo),
                    "Anew_ConnectionString = \"Provider=SQLite;Data Source=demo.db;KeptLists=0\"\n");
    settings.replace(settings.find("mode = \"development\""), 20, "mode = \"production\"");
    site.Write("site.toml", settings);
    Configure("links = \"sealed\"");
  }

  std::string Anew(const std::string& target) { return Get(target, "Cookie: anew=1\r\n").body; }

  // The addresses of the list that a page links to.
  static std::set<std::string> Links(const std::string& html) {
    std::set<std::string> links;
    const std::string begin = "href=\"/shop/list.asp";
    for (auto at = html.find(begin); at != std::string::npos; at = html.find(begin, at + 1)) {
      const auto start = at + 6;
      links.insert(hosttest::Unescaped(html.substr(start, html.find('"', start) - start)));
    }
    return links;
  }
};

TEST_F(KeptLists, AreThoseThatWouldBeMadeAnew) {
  std::set<std::string> seen{
      "/shop/list.asp",           "/shop/list.asp?L1-q=book+0",         "/shop/list.asp?L1-f-CATEGORY=Art",
      "/shop/list.asp?L1-size=5", "/shop/list.asp?pick=1&L1-s=t1.,t5.", "/shop/list.asp?L1-q=nothing"};
  std::vector<std::string> open(seen.begin(), seen.end());
  for (std::size_t i = 0; i < open.size() && i < 60; ++i) {
    const std::string first = Get(open[i]).body;
    EXPECT_EQ(Get(open[i]).body, first) << open[i];
    EXPECT_EQ(Anew(open[i]), first) << open[i];
    for (const std::string& link : Links(first)) {
      if (seen.insert(link).second) open.push_back(link);
    }
  }
  EXPECT_GT(open.size(), 60U);
}

TEST_F(KeptLists, ShowWhatAnotherProcessWroteAtOnce) {
  for (int i = 0; i < 3; ++i) {
    for (int repeat = 0; repeat < 2; ++repeat)
      EXPECT_THAT(Get("/shop/list.asp").body, HasSubstr("1 - 3 of " + std::to_string(12 + i) + "<"));
    const std::string id = std::to_string(200 + i);
    site.RunSql("INSERT INTO BOOK VALUES (" + id + ", 'New', NULL, 1, 'New', NULL, 0);");
  }
  site.RunSql("UPDATE BOOK SET TITLE = 'Renamed' WHERE ID = 1;");
  EXPECT_THAT(Get("/shop/list.asp").body, HasSubstr("Renamed"));
}

TEST_F(KeptLists, AreNoWayAroundASeal) {
  const Answer first = Get("/shop/list.asp");
  const std::string next = Link(first.body, "next");
  ASSERT_FALSE(next.empty()) << first.status << first.body;
  for (int repeat = 0; repeat < 2; ++repeat) EXPECT_EQ(Get(next).status, 200);
  for (int repeat = 0; repeat < 2; ++repeat) ExpectRefused(next.substr(next.find('?') + 1) + "0");
  site.WritePage("other.asp", kKeptPage);
  const std::string elsewhere = "/shop/other.asp" + next.substr(next.find('?'));
  for (int repeat = 0; repeat < 2; ++repeat) EXPECT_EQ(Get(elsewhere).status, 400);
}

TEST_F(ListPages, ARefusalLeadsToTheListWithoutItsChoices) {
  const Answer answer = Get("/shop/list.asp?group=5&L1-sort=x&l1-size=5&L12-q=x&Lx-q=1");
  EXPECT_EQ(answer.status, 400);
  EXPECT_THAT(answer.body, HasSubstr("<a href=\"/shop/list.asp?group=5&amp;Lx%2Dq=1\">"));
}

TEST_F(ListPages, AMistakeOfThePageIsAFailureWithItsPlace) {
  EXPECT_THAT(
      Failure("<% var page = Server.CreateObject('Varnel.Page'); page.OpenDatabaseConnection('Demo');\n"
              "page.List('a', 'SELECT ID FROM BOOK', 'ID').Column('ID').Format('money'); %>"),
      HasSubstr("a format is"));
  EXPECT_THAT(Failure("<% Server.CreateObject('Varnel.List').Column('a'); %>"), HasSubstr("Object not set"));
}

TEST_F(ListPages, WriteTheWordsAndNumbersOfTheLanguage) {
  const std::string page = kPage;
  const auto at = page.find("page.Add");
  const auto in = [&](const std::string& lcid) {
    site.WritePage("in" + lcid + ".asp", page.substr(0, at) + "list.Locale(" + lcid + ");" + page.substr(at));
    return Get("/shop/in" + lcid + ".asp").body;
  };
  const std::string german = in("1031");
  EXPECT_THAT(german, HasSubstr("1 - 3 von 12"));
  EXPECT_THAT(german, HasSubstr(">1.000,50<"));
  EXPECT_THAT(german, HasSubstr(">01.03.2024<"));
  EXPECT_THAT(in("1036"), HasSubstr("Rechercher"));
  EXPECT_THAT(in("1045"), HasSubstr("Szukaj"));
  EXPECT_THAT(in("1081"), HasSubstr("\u0916\u094b\u091c\u0947\u0902"));
  EXPECT_THAT(in("2055"), HasSubstr(">1\u2019000.50<"));
}

class ListFiles : public ListPages {
 protected:
  ListFiles() {
    site.RunSql(
        "CREATE TABLE MANY (ID INTEGER NOT NULL PRIMARY KEY, NAME VARCHAR(20), GROUPED INT NOT NULL);"
        "WITH RECURSIVE n(i) AS (SELECT 1 UNION ALL SELECT i + 1 FROM n WHERE i < 1700)"
        " INSERT INTO MANY SELECT i, CASE WHEN i % 2 = 0 THEN '=' || i END, i % 3 FROM n;");
    Write("many.asp", "list.Export('csv', 'json', 'jsonl'); list.Json();");
  }

  void Write(const std::string& page, const std::string& more) {
    site.WritePage(
        page,
        "before<% var page = Server.CreateObject('Varnel.Page'); page.OpenDatabaseConnection('Demo');\n"
        "var list = page.List('Many things', 'SELECT ID, NAME, GROUPED FROM MANY', 'ID');\n"
        "list.Column('ID', 'Number'); list.Column('NAME'); list.Filter('GROUPED', [0, 1]); "
        "list.Sort('GROUPED DESC, "
        "ID');\n" +
            more + "\npage.Add(list); %>behind");
  }

  static int Lines(const std::string& text) {
    return static_cast<int>(std::count(text.begin(), text.end(), '\n'));
  }
};

TEST_F(ListFiles, AllRowsOfTheChoiceGoIntoOneFile) {
  const Answer csv = Get("/shop/many.asp?L1-as=csv");
  EXPECT_EQ(csv.status, 200);
  EXPECT_EQ(csv.headers.Joined("Content-Type"), "text/csv; charset=utf-8");
  EXPECT_THAT(csv.headers.Joined("Content-Disposition"),
              HasSubstr("attachment; filename=\"Many_things.csv\""));
  EXPECT_EQ(Lines(csv.body), 1701);
  EXPECT_THAT(csv.body, testing::StartsWith("Number,NAME\r\n2,'=2\r\n5,\r\n8,'=8\r\n"));
  EXPECT_THAT(csv.body, testing::EndsWith("\r\n1698,'=1698\r\n"));

  const std::string lines = Get("/shop/many.asp?L1-as=jsonl&L1-f-GROUPED=1&L1-sort=-ID").body;
  EXPECT_EQ(Lines(lines), 567);
  EXPECT_THAT(lines, testing::StartsWith("{\"ID\":1699,\"NAME\":null}\n{\"ID\":1696,\"NAME\":\"=1696\"}\n"));

  const Answer json = Get("/shop/many.asp?L1-as=json");
  EXPECT_EQ(json.headers.Joined("Content-Type"), "application/json; charset=utf-8");
  EXPECT_THAT(json.body, testing::StartsWith("[\n{\"ID\":2,\"NAME\":\"=2\"},\n"));
  EXPECT_THAT(json.body, testing::EndsWith("{\"ID\":1698,\"NAME\":\"=1698\"}\n]\n"));
  EXPECT_EQ(Lines(json.body), 1702);
}

TEST_F(ListFiles, AnEmptyOneIsOneToo) {
  site.RunSql("DELETE FROM MANY");
  EXPECT_EQ(Get("/shop/many.asp?L1-as=csv").body, "Number,NAME\r\n");
  EXPECT_EQ(Get("/shop/many.asp?L1-as=json").body, "[\n\n]\n");
  EXPECT_EQ(Get("/shop/many.asp?L1-as=jsonl").body, "");
}

TEST_F(ListFiles, TheirLinksCarryTheChoice) {
  const std::string html = Get("/shop/many.asp?L1-f-GROUPED=1&L1-sort=-ID").body;
  EXPECT_THAT(html,
              HasSubstr("<a download rel=\"nofollow\" "
                        "href=\"/shop/many.asp?L1-f-GROUPED=1&amp;L1-sort=-ID&amp;L1-as=csv\">CSV</a>"));
}

TEST_F(ListFiles, MayBearTheMarkOfSpreadsheets) {
  Write("marked.asp", "list.Export('csv'); list.ExportMark(true);");
  EXPECT_THAT(Get("/shop/marked.asp?L1-as=csv").body, testing::StartsWith("\xEF\xBB\xBFNumber,"));
}

TEST_F(ListFiles, ALongerListThanAllowedIsSaidToBe) {
  Write("limited.asp", "list.Export('csv'); list.ExportLimit(1699);");
  const Answer answer = Get("/shop/limited.asp?L1-as=csv");
  EXPECT_EQ(answer.status, 413);
  EXPECT_EQ(answer.body, "These are 1,700 rows: a file has 1,699 at most.\n");
  EXPECT_EQ(Get("/shop/limited.asp?L1-as=csv&L1-f-GROUPED=1").status, 200);
}

TEST_F(ListFiles, WhatIsNotOfferedIsRefused) {
  Write("none.asp", "");
  for (const char* as : {"csv", "page", "json", "xml"})
    EXPECT_EQ(Get(std::string("/shop/none.asp?L1-as=") + as).status, 400) << as;
  EXPECT_EQ(Get("/shop/many.asp?L1-as=xlsx").status, 400);
  EXPECT_EQ(Get("/shop/many.asp?L1-as=csv&L1-f-GROUPED=7").status, 400);
}

TEST_F(ListFiles, APageIsAnsweredAsJsonToWhomWantsThat) {
  const Answer first = Get("/shop/many.asp", "Accept: application/json\r\n");
  EXPECT_EQ(first.headers.Joined("Content-Type"), "application/json; charset=utf-8");
  EXPECT_EQ(first.headers.Joined("Vary").find("Accept"), 0U);
  EXPECT_THAT(first.body,
              testing::StartsWith("{\"title\":\"Many things\",\"first\":1,\"total\":1700,\"isExact\":true,"
                                  "\"rows\":[\n{\"ID\":2,\"NAME\":\"=2\"},\n"));
  EXPECT_THAT(first.headers.Joined("Link"),
              testing::MatchesRegex("</shop/many.asp\\?L1-at=n[^>]*>; rel=\"next\", "
                                    "</shop/many.asp\\?L1-at=l[^>]*>; rel=\"last\""));
  const std::string link = first.headers.Joined("Link");
  const Answer second = Get(link.substr(1, link.find('>') - 1), "Accept: application/json\r\n");
  EXPECT_THAT(second.body, HasSubstr("\"first\":11,"));
  EXPECT_THAT(second.headers.Joined("Link"), HasSubstr("</shop/many.asp>; rel=\"first\""));
  EXPECT_THAT(Get("/shop/many.asp", "Accept: text/html,application/json\r\n").body, HasSubstr("<table>"));
  const Answer asked = Get("/shop/many.asp?L1-as=page");
  EXPECT_THAT(asked.body, HasSubstr("\"rows\":["));
  EXPECT_THAT(asked.headers.Joined("Link"), HasSubstr("?L1-as=page&L1-at=n"));
}

}  // namespace
