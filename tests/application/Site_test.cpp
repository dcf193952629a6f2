// What site.toml says is what the pages find.

#include <gmock/gmock.h>

#include <chrono>

#include "tests/application/ServedSite.h"

namespace {

using testing::HasSubstr;

class SiteTest : public hosttest::PageTest {
 protected:
  void Configure(const std::string& more) {
    site.Write("site.toml", "[site]\nroot = \"/shop\"\nmode = \"development\"\n" + more);
  }
  static constexpr char kMessage[] = "Server.CreateObject('Varnel.Page').I18N('SLBGE0015')";
};

TEST_F(SiteTest, PagesFolderRootAndDefaultPageAreItsOwn) {
  site.Write("site.toml",
             "[site]\nroot = \"/a\"\npages = \"web\"\ndefault = \"start.asp\"\n[server]\nthreads = 1\n");
  site.Write("web/start.asp", "<%= Server.CreateObject('Varnel.Page').URL('x.asp') %>");
  site.Write("web/deep/start.asp", "deep");
  EXPECT_EQ(Get("/a/").body, "/a/x.asp");
  EXPECT_EQ(Get("/a/deep/").body, "deep");
  EXPECT_EQ(*Get("/").headers.Find("Location"), "/a/");
  EXPECT_EQ(Get("/shop/").status, 404);
}

TEST_F(SiteTest, NameLongerThanAnyFilesIsNoPage) {
  site.Write("pages/index.asp", "here");
  EXPECT_EQ(Get("/shop/" + std::string(2000, 'a') + ".asp").status, 404);
  EXPECT_EQ(Get("/shop/").body, "here");
}

TEST_F(SiteTest, FilesAreNotCachedForWhoeverDevelops) {
  site.Write("pages/a.css", "a{}");
  Configure("");
  EXPECT_EQ(*Get("/shop/a.css").headers.Find("Cache-Control"), "no-cache");
}

TEST_F(SiteTest, UserReadsHisLanguageAndAnUnknownOneTheSites) {
  site.Write("messages/1031.toml", "SLBGE0015 = \"S\xC3\xA4tze\"\n");
  site.Write("messages/1036.toml", "SLBGE0015 = \"Enregistrements\"\n");
  Configure(
      "lcid = 1036\n[server]\nthreads = 1\n[session]\nREMOTE_USER = \"demo\"\n[users.demo]\nlanguage = "
      "1031\n");
  EXPECT_EQ(Value(kMessage), "S\xC3\xA4tze");
  EXPECT_EQ(Output("<% Session.Contents['REMOTE_USER'] = 'stranger'; %><%= " + std::string(kMessage) + " %>"),
            "Enregistrements");
  EXPECT_EQ(Output("<% Session.Contents.Remove('REMOTE_USER'); %><%= " + std::string(kMessage) + " %>"),
            "Enregistrements");
}

TEST_F(SiteTest, MissingLanguageShowsKeyAndLanguage) {
  Configure("lcid = 1036\n[server]\nthreads = 1\n");
  EXPECT_EQ(Value(kMessage), "SLBGE0015-1036");
}

TEST_F(SiteTest, ApplicationValuesKeepTheirTypes) {
  Configure("[server]\nthreads = 1\n[application]\na = \"1\"\nb = 2\nc = 0.5\nd = true\n");
  EXPECT_EQ(Value("['a', 'b', 'c', 'd'].map(k => typeof Application(k)).join()"),
            "string,number,number,boolean");
}

TEST_F(SiteTest, StatementThatRunsTooLongIsStopped) {
  Configure("[server]\nthreads = 1\nstatement_timeout = \"200ms\"\n");
  site.MakeCustomers(50);
  EXPECT_THAT(
      Failure("<% var c = Server.CreateObject('ADODB.Connection'); c.CommandTimeout = 60;"
              " c.Open('Provider=SQLite;Data Source=demo.db');\n"
              " c.Execute('SELECT COUNT(*) FROM customer a, customer b, customer c, customer d, customer e,"
              " customer f, customer g'); %>"),
      HasSubstr("page1.asp, line 2: "));
  EXPECT_EQ(Value("1"), "1");
}

TEST_F(SiteTest, AStatementDoesNotOutliveItsPage) {
  Configure("[server]\nthreads = 1\nscript_timeout = \"300ms\"\nstatement_timeout = \"60s\"\n");
  site.MakeCustomers(50);
  const auto begin = std::chrono::steady_clock::now();
  EXPECT_THAT(
      Failure("<% var c = Server.CreateObject('ADODB.Connection');"
              " c.Open('Provider=SQLite;Data Source=demo.db');\n"
              " c.Execute('SELECT COUNT(*) FROM customer a, customer b, customer c, customer d, customer e,"
              " customer f, customer g'); %>"),
      HasSubstr("page1.asp"));
  EXPECT_LT(std::chrono::steady_clock::now() - begin, std::chrono::seconds(30));
  EXPECT_EQ(Value("1"), "1");
}

TEST_F(SiteTest, ConnectionForReadingCannotWrite) {
  site.MakeCustomers(1);
  EXPECT_EQ(Output("<% var c = Server.CreateObject('ADODB.Connection');"
                   " c.Open('Provider=SQLite;Data Source=demo.db;Mode=Read');"
                   " try { c.Execute('DELETE FROM customer'); } catch (e) { %>refused <% } %>"
                   "<%= c.Execute('SELECT COUNT(*) FROM customer')(0) %>"),
            "refused 1");
}

}  // namespace
