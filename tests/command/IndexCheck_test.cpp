// varnel check --indexes: the indexes that the lists of a site lack.
#include "host-linux/command/IndexCheck.h"

#include <gmock/gmock.h>

#include "host-linux/script/ScriptRuntime.h"
#include "tests/application/TestSite.h"

namespace hostlinux {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

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

  // One engine serves a process, and once only.
  std::vector<std::string> Lines() {
    static ScriptRuntime runtime({});
    return AdviseIndexes(m_site.Folder(), runtime, m_lists);
  }

  hosttest::TestSite m_site;
  std::size_t m_lists = 0;
};

TEST_F(IndexCheck, NamesTheListTheSortAndTheIndex) {
  EXPECT_THAT(
      Lines(),
      ElementsAre("list.asp, line 6: R_1 by name: no index serves the first, next, previous and last page: "
                  "CREATE INDEX ix_product_maker_name_id ON product (maker, name, id);",
                  "list.asp, line 6: R_1 by id: no index serves the first, next, previous and last page: "
                  "CREATE INDEX ix_product_maker_id ON product (maker, id);"));
  EXPECT_EQ(1u, m_lists);
}

TEST_F(IndexCheck, IsSilentWhereTheyAreThere) {
  m_site.RunSql(
      "CREATE INDEX ix_product_maker_name_id ON product (maker, name, id);"
      "CREATE INDEX ix_product_maker_id ON product (maker, id); ANALYZE");
  EXPECT_THAT(Lines(), IsEmpty());
}

TEST_F(IndexCheck, PagesChangeNothing) {
  m_site.WritePage(
      "write.asp",
      "<% var c = Server.CreateObject('ADODB.Connection'); c.Open(Application('Demo_ConnectionString'));\n"
      "c.Execute('DELETE FROM product'); %>");
  m_site.WritePage(
      "new.asp",
      "<% var c = Server.CreateObject('ADODB.Connection'); c.Open('Provider=SQLite;Data Source=new.db'); %>");
  EXPECT_EQ(2u, Lines().size());
  EXPECT_EQ(2u, Lines().size());
  EXPECT_FALSE(std::filesystem::exists(m_site.Folder() / "new.db"));
}

}  // namespace
}  // namespace hostlinux
