// The catalogue and the encoders, as pages use them.

#include <gmock/gmock.h>

#include <fstream>
#include <sstream>

#include "tests/application/ServedSite.h"

namespace {

using testing::HasSubstr;

class UtilitiesTest : public hosttest::PageTest {};

TEST_F(UtilitiesTest, ArePredeclaredInEveryPage) {
  EXPECT_EQ(Value("Utilities.SQLEncodeStr(\"O'Brien\")"), "N'O''Brien'");
}

TEST_F(UtilitiesTest, AreMadeByNameToo) {
  EXPECT_EQ(Value("Server.CreateObject('Varnel.Utilities').SQLEncodeStrForLIKE('50%*')"), "N'50[%]%'");
}

TEST_F(UtilitiesTest, TakeTheScriptsValues) {
  EXPECT_EQ(Value("'[' + Utilities.SQLEncodeDbl(255) + '][' + Utilities.SQLEncodeLng(255) + ']'"),
            "[ 255][255]");
  EXPECT_EQ(Value("Utilities.SQLEncodeDate(new Date(2024, 2, 5, 23, 59))"), "{d '2024-03-05'}");
  EXPECT_EQ(Value("Utilities.SQLEncodeDateTime(new Date(2024, 2, 5, 7, 8, 9))"),
            "{ts '2024-03-05 07:08:09'}");
  EXPECT_EQ(
      Output("<% try { Utilities.SQLEncodeDate(new Date(NaN)); } catch (e) { Response.Write(e.number); } %>"),
      "13");
  EXPECT_EQ(Value("Utilities.LDAPEncodeStr('a*(b)\\\\\\'')"), "a\\2a\\28b\\29\\5c\\27");
  EXPECT_EQ(Value("Utilities.SQLEncodeStr(undefined)"), "N''");
}

TEST_F(UtilitiesTest, RefuseWhatIsNoValueOfTheirs) {
  const auto numberOf = [this](const std::string& call) {
    return Output("<% try { " + call + "; } catch (e) { Response.Write(e.number); } %>");
  };
  EXPECT_EQ(numberOf("Utilities.SQLEncodeStr()"), "450");
  EXPECT_EQ(numberOf("Utilities.SQLEncodeStr(null)"), "94");
  EXPECT_EQ(numberOf("Utilities.SQLEncodeLng('x')"), "13");
  EXPECT_EQ(numberOf("Utilities.SQLEncodeByte(256)"), "6");
  EXPECT_EQ(numberOf("Utilities.SQLEncodeAll('x')"), "438");
}

class CatalogPageTest : public hosttest::PageTest {
 protected:
  CatalogPageTest() {
    site.Write(
        "site.toml",
        "[site]\nroot = \"/shop\"\nmode = \"development\"\n[server]\nthreads = 1\n[application]\n"
        "QuenbyConnection_ConnectionString = \"Provider=SQLite;Data Source=shop.db;Mode=Read\"\n"
        "[configuration]\nQuenby = \"Provider=SQLite;Data Source=shop.db\"\n[log]\nfile = \"site.log\"\n");
    for (const char* file :
         {"site/schema/tables.sql", "tests/catalog/small-catalogue.sql", "site/schema/indexes.sql"}) {
      std::ostringstream text;
      text << std::ifstream(std::string(VARNEL_SOURCE_DIR "/") + file).rdbuf();
      site.RunSql(text.str(), "shop.db");
    }
  }

  // What a page writes that begins with a catalogue `q`, a page object and a day.
  std::string Catalog(const std::string& script) {
    return Output(
        "<% var q = Server.CreateObject('Varnel.CatalogQuery'); var page = "
        "Server.CreateObject('Varnel.Page');"
        " var day = new Date(2024, 2, 5); " +
        script + " %>");
  }

  // The number of the error that the script raises.
  std::string NumberOf(const std::string& script) {
    return Catalog("try { " + script + "; } catch (e) { Response.Write(e.number); }");
  }
};

constexpr char kWriteIds[] = "; for (; !rs.EOF; rs.MoveNext()) Response.Write('[' + rs('PRODUCTID') + ']');";

TEST_F(CatalogPageTest, ListsComeOpenWithOrWithoutAPage) {
  const std::string first = "[5][25][2][7]";  // by their place in the category, then by number
  EXPECT_EQ(Catalog(std::string("var rs = q.GetCatalogProducts(page, '', 4, 1, 'demo', day)") + kWriteIds),
            first);
  EXPECT_EQ(Catalog(std::string("var rs = q.GetCatalogProducts(null, '', 4, 1, 'demo', day)") + kWriteIds),
            first);
  EXPECT_EQ(Catalog(std::string("var rs = q.getquickorderproducts(null, '', 3, day, '8086-4')") + kWriteIds),
            "[4]");
  EXPECT_EQ(Catalog(std::string("var rs = q.GetQuickOrderProducts(null, '', 3, day, undefined, '3')") +
                    kWriteIds + " Response.Write(rs.GetTotalNumberOfRecords());"),
            "0");
}

TEST_F(CatalogPageTest, RecordsetsAreClosedByThePage) {
  EXPECT_EQ(Catalog("var rs = q.GetProductData(5); Response.Write(rs('PRODUCTDESCRIPTION')); var c = "
                    "rs.ActiveConnection; rs.Close(); c.Close(); Response.Write(c.State);"),
            "Device 1030");
  EXPECT_EQ(Catalog("Response.Write([q.GetCategoryIDForNode(3), q.AlternativeProductsPresent(5, day), "
                    "q.AlternativeProductsPresent(5, day, 1)].join());"),
            "2,true,false");
  EXPECT_EQ(
      Catalog("var rs = q.GetProductPropertyDataEx(5, new ByRef(true)); Response.Write(rs.RecordCount);"),
      "2");
}

TEST_F(CatalogPageTest, FavouritesAreCleanedUpThroughTheConfiguration) {
  EXPECT_EQ(Catalog("Response.Write([q.CleanupFavorites('other'), q.CleanupFavorites('demo')].join());"),
            "0,4");
  EXPECT_EQ(Catalog("Response.Write(q.CleanupFavorites('demo', '-1', WarehouseFavorite, 0));"), "0");
  EXPECT_EQ(Value("[DefaultFavorite, WarehouseFavorite].join()"), "0,1");
}

TEST_F(CatalogPageTest, WrongAndMissingArgumentsAreErrorsOfTheCall) {
  EXPECT_EQ(NumberOf("q.GetProductData()"), "450");
  EXPECT_EQ(NumberOf("q.GetProductData(1, 2)"), "450");
  EXPECT_EQ(NumberOf("q.GetProductData('five')"), "13");
  EXPECT_EQ(NumberOf("q.GetProductData(null)"), "94");
  EXPECT_EQ(NumberOf("q.GetProductData(1e12)"), "6");
  EXPECT_EQ(NumberOf("q.GetSupplierProducts({}, '', 10, 12)"), "13");
  EXPECT_EQ(NumberOf("q.GetSupplierProducts(q, '', 10, 12)"), "13");
  EXPECT_EQ(NumberOf("q.GetProductPriceInfo(5, 'some day')"), "13");
  EXPECT_EQ(NumberOf("q.GetCatalogRecordset('SELECT 1')"), "438");
}

TEST_F(CatalogPageTest, FailuresReachThePageAndAreLoggedByEachProcedure) {
  EXPECT_EQ(NumberOf("q.GetQuickOrderProducts(page, '', 10, day, null)"), "94");
  EXPECT_EQ(Catalog("try { q.CleanupFavorites(\"O'Brien\"); } catch (e) { Response.Write(e.description); }")
                .find("\r\nERROR 0x"),
            0U);
  const std::string log = EndedLog();
  EXPECT_THAT(log, HasSubstr("Varnel.CatalogQuery.GetQuickOrderProducts"));
  EXPECT_THAT(log, HasSubstr("Varnel.CatalogQuery.GetCatalogRecordset (executing SQL query: SELECT PRODUCTID "
                             "FROM FAVORITES WHERE USERID = 'O'Brien' AND PRODUCTID NOT IN ("));
  EXPECT_THAT(log, HasSubstr("Varnel.CatalogQuery.CleanupFavorites"));
}

TEST_F(CatalogPageTest, ConfigurationAnswersBySection) {
  const std::string answer =
      "var c = Server.CreateObject('Ostrand.Configuration'); c.PrepareConfiguration(new ByRef(0)); "
      "Response.Write('[' + c.GetConfigurationConnectionString('QUENBY') + '][' + "
      "c.GetConfigurationConnectionString('Other') + ']');";
  EXPECT_EQ(Catalog(answer), "[Provider=SQLite;Data Source=shop.db][]");
}

TEST_F(CatalogPageTest, WithoutItsSectionFailsAsADatabaseDoes) {
  site.Write("site.toml", "[site]\nroot = \"/shop\"\nmode = \"development\"\n[server]\nthreads = 1\n");
  EXPECT_NE(NumberOf("q.GetProductData(5)"), "");
}

}  // namespace
