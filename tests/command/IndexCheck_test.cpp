// varnel check --indexes: the indexes that the lists of a site lack.
#include <gmock/gmock.h>

#include <filesystem>

#include "tests/application/TestSite.h"
#include "tests/command/ForgedSite.h"
#include "tests/command/Program.h"

namespace {

using testing::HasSubstr;

constexpr char kList[] =
    "<%\nvar page = Server.CreateObject('Varnel.Page'); page.OpenDatabaseConnection('Demo');\n"
    "var rs = page.DRecordset(); var grid = page.DGrid(rs, 'Products');\n"
    "grid.Col('Name', 'name'); grid.Col('Id', 'id');\n"
    "rs.SetParameter('maker', 'm1');\n"
    "rs.OpenRS('SELECT id, name FROM product WHERE maker = :maker', 'id');\n%>";

class IndexCheck : public testing::Test {
 protected:
  IndexCheck() {
    m_site.RunSql(
        "CREATE TABLE product (id INT NOT NULL PRIMARY KEY, name VARCHAR(40) NOT NULL, maker VARCHAR(10) NOT "
        "NULL);"
        "WITH RECURSIVE n(i) AS (SELECT 1 UNION ALL SELECT i + 1 FROM n WHERE i < 3000)"
        " INSERT INTO product SELECT i, 'n' || i % 100, 'm' || i % 10 FROM n; ANALYZE");
    m_site.WritePage("list.asp", kList);
  }

  std::string Output() const {
    const hosttest::Ran ran = hosttest::RunVarnel({"check", "--indexes", m_site.Folder().string()});
    EXPECT_EQ(ran.err, "");
    return ran.out;
  }

  hosttest::TestSite m_site;
};

TEST_F(IndexCheck, NamesTheListTheSortAndTheIndex) {
  EXPECT_EQ(Output(),
            "list.asp, line 6: R_1 by name: no index serves the first, next, previous and last page: "
            "CREATE INDEX ix_product_maker_name_id ON product (maker, name, id);\n"
            "list.asp, line 6: R_1 by id: no index serves the first, next, previous and last page: "
            "CREATE INDEX ix_product_maker_id ON product (maker, id);\n");
}

TEST_F(IndexCheck, IsSilentWhereTheyAreThere) {
  m_site.RunSql(
      "CREATE INDEX ix_product_maker_name_id ON product (maker, name, id);"
      "CREATE INDEX ix_product_maker_id ON product (maker, id); ANALYZE");
  EXPECT_EQ(Output(), "1 lists were looked at. No index is missing.\n");
}

TEST(IndexCheckOfTheShop, NoneIsMissing) {
  const hosttest::TestSite site;
  hosttest::MakeShop(site, "sealed");
  const hosttest::Ran ran = hosttest::RunVarnel({"check", "--indexes", site.Folder().string()});
  EXPECT_EQ(ran.err, "");
  EXPECT_THAT(ran.out, testing::MatchesRegex("[1-9][0-9]* lists were looked at. No index is missing.\n"));
}

TEST_F(IndexCheck, PagesChangeNothing) {
  m_site.WritePage(
      "write.asp",
      "<% var c = Server.CreateObject('ADODB.Connection'); c.Open(Application('Demo_ConnectionString'));\n"
      "c.Execute('DELETE FROM product'); %>");
  m_site.WritePage(
      "new.asp",
      "<% var c = Server.CreateObject('ADODB.Connection'); c.Open('Provider=SQLite;Data Source=new.db'); %>");
  const std::string first = Output();
  EXPECT_EQ(first, Output());
  EXPECT_THAT(first, HasSubstr("ix_product_maker_id"));
  EXPECT_FALSE(std::filesystem::exists(m_site.Folder() / "new.db"));
}

}  // namespace
