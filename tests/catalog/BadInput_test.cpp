// What nobody encoded: a quote in a user id, a search, a list or a group is a statement that the engine
// refuses. The error reaches the page, each procedure on its way logs it once, and nothing is changed.
#include "tests/catalog/LiveCatalog.h"

namespace varnel {
namespace {

using ::testing::ElementsAre;
using ::testing::EndsWith;
using ::testing::StartsWith;

class BadInput : public LiveCatalog {
 protected:
  // Raises from `call`; the methods that logged it, without their common beginning.
  std::vector<std::string> PathOf(const std::function<void()>& call) {
    const std::string before = Contents();
    m_host->Log().Clear();
    EXPECT_NE(hostfake::NumberOf(call), 0);
    EXPECT_EQ(Contents(), before);
    std::vector<std::string> path;
    for (const hostfake::LogEntry& entry : m_host->Log().Entries()) {
      const std::string text = ToUtf8(entry.text);
      const auto begin = text.find(" METHOD: Varnel.CatalogQuery.") + 29;
      path.push_back(text.substr(begin, text.find("\r\n", begin) - begin));
    }
    return path;
  }

  // All rows of all tables.
  std::string Contents() {
    std::string contents;
    for (const String& table :
         Split(FromUtf8(Rows(u"SELECT name FROM sqlite_master WHERE type = 'table'")), u";"))
      contents += ToUtf8(table) + ":" + Rows(u"SELECT * FROM " + table) + "\n";
    return contents;
  }
};

TEST_F(BadInput, OfAUserFailsEveryListOfTheUsers) {
  EXPECT_THAT(PathOf([&] { m_catalog.GetCatalogProducts(nullptr, u"", 4, 1, u"O'Brien", Day()); }),
              ElementsAre("GetDRecordset", "GetCatalogProducts"));
  EXPECT_THAT(PathOf([&] { m_catalog.GetFavoriteProducts(nullptr, u"", 4, u"O'Brien", Day(), u"-1", -1); }),
              ElementsAre("GetDRecordset", "GetFavoriteProducts"));
  EXPECT_THAT(PathOf([&] { m_catalog.GetFavoriteProductsEx(nullptr, u"", 4, u"'", Day(), u"-1", -1, 0); }),
              ElementsAre("GetDRecordset", "GetFavoriteProductsEx"));
}

TEST_F(BadInput, OfAUserFailsTheCleanUpBeforeItsDeletion) {
  EXPECT_THAT(
      PathOf([&] { m_catalog.CleanupFavorites(u"O'Brien", u"-1", -1, 0); }),
      ElementsAre(StartsWith("GetCatalogRecordset (executing SQL query: SELECT PRODUCTID FROM FAVORITES "
                             "WHERE USERID = 'O'Brien' AND "),
                  "CleanupFavorites"));
}

TEST_F(BadInput, OfASearchFailsItsList) {
  EXPECT_THAT(PathOf([&] { m_catalog.GetQuickOrderProducts(nullptr, u"", 4, Day(), u"80'86*", u"-1"); }),
              ElementsAre("GetDRecordset", "GetQuickOrderProducts"));
  EXPECT_THAT(PathOf([&] { m_catalog.GetQuickOrderProducts(nullptr, u"", 4, Day(), u"", u"1'"); }),
              ElementsAre("GetDRecordset", "GetQuickOrderProducts"));
  EXPECT_THAT(PathOf([&] { m_catalog.GetSupplierProducts(nullptr, u"", 4, 11, u"PARTNUMBER", u"X'Y"); }),
              ElementsAre("GetDRecordset", "GetSupplierProducts"));
  EXPECT_THAT(PathOf([&] { m_catalog.GetSupplierProducts(nullptr, u"", 4, 11, u"NO SUCH FIELD", u"X"); }),
              ElementsAre("GetDRecordset", "GetSupplierProducts"));
}

TEST_F(BadInput, OfAGroupFailsItsPricesAndStays) {
  EXPECT_THAT(PathOf([&] { m_catalog.GetProductPriceInfoEx(5, Day(), u"it's"); }),
              ElementsAre(AllOf(StartsWith("GetCatalogRecordset (executing SQL query: "), EndsWith(")")),
                          "GetProductPriceInfo"));
  EXPECT_THAT(PathOf([&] { m_catalog.GetProductProcurementPrices(nullptr, u"", 4, 5); }),
              ElementsAre("GetDRecordset", "GetProductProcurementPrices"))
      << "the group of the failed call";
}

TEST_F(BadInput, OfAStockFlagFailsTheAlternatives) {
  EXPECT_THAT(PathOf([&] { m_catalog.GetAlternativeProducts(5, Variant()); }),
              ElementsAre(EndsWith("PRODUCT.STOCKITEM = )"), "GetAlternativeProducts"));
}

// On a page that shows page numbers the list is counted first: the count fails as the list does.
TEST_F(BadInput, OfAUserFailsOnAPageWithPageNumbersToo) {
  const auto page = m_host->Create<Page>(u"Varnel.Page");
  page->ShowPageJump(5);
  EXPECT_THAT(PathOf([&] { m_catalog.GetCatalogProducts(page, u"", 4, 1, u"O'Brien", Day()); }),
              ElementsAre("GetDRecordset", "GetCatalogProducts"));
}

// Balanced quotes are no bad text to the engine, and end a user id where its sender wants: pages let none
// through.
TEST_F(BadInput, WithBalancedQuotesReachesTheRowsOfAllUsers) {
  EXPECT_EQ(Rows(u"SELECT count(*) FROM FAVORITES"), "40");
  EXPECT_EQ(m_catalog.CleanupFavorites(u"x' OR '1' = '1", u"", -1, 0), 40);
}

}  // namespace
}  // namespace varnel
