// The lists that page: what is sent for the first page, and the two roads to a database.
#include "tests/catalog/CatalogFixture.h"

namespace varnel {
namespace {

using hostfake::NumberOf;

// As a paged list sends them: runs of blanks collapsed.
const String kColumns =
    u"P.PRODUCTID, P.PROPERTYGROUPID, P.MANUFACTURERID, P.PARTNUMBER, P.PRODUCTDESCRIPTION, P.PRODUCTREMARK, "
    u"P.IMAGEFILENAME,P.TECHNICALIMAGE, P.URL, P.UNITCODE, P.CONFIGURABLE, P.COMMODITYCODE, P.CONTRACTCODE, "
    u"P.NUMBER, P.BUSINESSPARTNERID, P.USERID, P.PRODUCTEFFECTIVITYDATE, P.PRODUCTEXPIRYDATE, P.CLASSCODE, "
    u"P.SERVICEITEM";

const String kFromCatalogs =
    u" FROM CATALOG C INNER JOIN CATALOGNODE CN ON CN.CATALOGID = C.CATALOGID INNER JOIN PRODUCTSBYCATEGORY "
    u"PBC ON PBC.CATEGORYID = CN.CATEGORYID";

const String kEffective =
    u"( PRODUCTEFFECTIVITYDATE <= {d '2024-03-05' } OR PRODUCTEFFECTIVITYDATE IS NULL )";

using CatalogLists = CatalogTest;

TEST_F(CatalogLists, OfACategoryComeInItsOrder) {
  m_catalog.GetCatalogProducts(NewPage(), u"", 10, 7, u"demo", Day());
  EXPECT_EQ(LastSql(),
            u"SELECT DISTINCT TOP 10 " + kColumns +
                u", FAVORITES.PRESENT, PBC.SEQUENCE FROM PRODUCT P INNER JOIN PRODUCTSBYCATEGORY PBC ON "
                u"PBC.PRODUCTID = P.PRODUCTID LEFT OUTER JOIN FAVORITES ON FAVORITES.USERID= 'demo' AND "
                u"P.PRODUCTID = FAVORITES.PRODUCTID WHERE (  ( PBC.CATEGORYID = 7 ) AND ( P.DISABLED = 0 ) "
                u"AND " +
                kEffective + u") ORDER BY PBC.SEQUENCE ASC,P.PRODUCTID ASC");
}

// The quote opens a string that no quote closes; the blank at the end of the text, which would stand in it,
// is trimmed away before.
TEST_F(CatalogLists, OfAUserWithAQuoteLoseTheLastBlank) {
  m_catalog.GetCatalogProducts(NewPage(), u"", 10, 7, u"O'Brien", Day());
  EXPECT_EQ(LastSql(),
            u"SELECT DISTINCT TOP 10 " + kColumns +
                u", FAVORITES.PRESENT, PBC.SEQUENCE FROM PRODUCT P INNER JOIN PRODUCTSBYCATEGORY PBC ON "
                u"PBC.PRODUCTID = P.PRODUCTID LEFT OUTER JOIN FAVORITES ON FAVORITES.USERID= 'O' Brien ' AND "
                u"P.PRODUCTID = FAVORITES.PRODUCTID WHERE (PBC.CATEGORYID = 7) AND (P.DISABLED = 0) AND "
                u"(PRODUCTEFFECTIVITYDATE <= {d ' 2024-03-05 '} OR PRODUCTEFFECTIVITYDATE IS NULL)' ORDER BY "
                u"PBC.SEQUENCE ASC,P.PRODUCTID ASC");
}

TEST_F(CatalogLists, OfAQuickOrderComeByDescription) {
  m_catalog.GetQuickOrderProducts(NewPage(), u"", 25, Day(), u"80*", u"1,2");
  EXPECT_EQ(LastSql(),
            u"SELECT DISTINCT TOP 25 " + kColumns + kFromCatalogs +
                u" INNER JOIN PRODUCT P ON P.PRODUCTID = PBC.PRODUCTID WHERE (  ( P.DISABLED = 0 ) "
                u"AND " +
                kEffective +
                u" AND ( PARTNUMBER LIKE '80%' OR BUYFROMPARTNUMBER LIKE '80%' ) AND ( "
                u"C.CATALOGID IN ( 1,2 ) )) ORDER BY P.PRODUCTDESCRIPTION ASC");
}

TEST_F(CatalogLists, OfAQuickOrderTakeWhateverGivesAText) {
  m_catalog.GetQuickOrderProducts(NewPage(), u"", 10, Day(), Long{80}, u"-1");
  EXPECT_NE(LastSql().find(u"PARTNUMBER LIKE '80' OR"), String::npos);
  m_catalog.GetQuickOrderProducts(NewPage(), u"", 10, Day(), Variant(), u"-1");
  EXPECT_EQ(LastSql().find(u"LIKE"), String::npos);
}

TEST_F(CatalogLists, OfASupplierComeByTheBuyersNumber) {
  m_catalog.GetSupplierProducts(NewPage(), u"", 10, 12, u"PARTNUMBER", u"8*");
  EXPECT_EQ(
      LastSql(),
      u"SELECT TOP 10 * FROM PRODUCT WHERE (  BUSINESSPARTNERID = 12 AND PARTNUMBER LIKE '8%') ORDER BY "
      u"BUYFROMPARTNUMBER ASC");
}

TEST_F(CatalogLists, OfFavouritesComeByDescription) {
  const String favourites =
      u"SELECT DISTINCT TOP 10 " + kColumns + u", F.PRESENT" + kFromCatalogs +
      u" INNER JOIN FAVORITES F ON F.PRODUCTID = PBC.PRODUCTID INNER JOIN PRODUCT P ON P.PRODUCTID = "
      u"F.PRODUCTID WHERE (  ( P.DISABLED = 0 ) AND " +
      kEffective + u" AND ( F.USERID= 'demo' ) AND ( F.PRESENT = 1 )";
  m_catalog.GetFavoriteProducts(NewPage(), u"", 10, u"demo", Day(), u"-1", WarehouseFavorite);
  EXPECT_EQ(LastSql(), favourites + u" AND F.WAREHOUSEFAVORITE=1) ORDER BY P.PRODUCTDESCRIPTION ASC");
  m_catalog.GetFavoriteProductsEx(NewPage(), u"", 10, u"demo", Day(), u"3", -1, 12);
  EXPECT_EQ(LastSql(), favourites +
                           u" AND ( F.FOLDERID =12 ) AND ( C.CATALOGID IN ( 3 ) )) ORDER BY "
                           u"P.PRODUCTDESCRIPTION ASC");
}

TEST_F(CatalogLists, OfFavouritesTakeANegativeFolderAsFolderZero) {
  m_catalog.GetFavoriteProductsEx(NewPage(), u"", 10, u"demo", Day(), u"-1", -1, -5);
  EXPECT_NE(LastSql().find(u"( F.FOLDERID =0 )"), String::npos);
}

TEST_F(CatalogLists, OfPropertyValuesComeByPropertyAndOfPricesByTheirBeginning) {
  m_catalog.GetProductPropertyValues(NewPage(), u"", 10, 5);
  EXPECT_EQ(LastSql(),
            u"SELECT TOP 10 * FROM PRODUCTPROPVALUE WHERE (  PRODUCTID = 5) ORDER BY PROPERTYID ASC");
  m_catalog.GetProductProcurementPrices(NewPage(), u"", 10, 5);
  EXPECT_EQ(LastSql(),
            u"SELECT TOP 10 * FROM CATALOGPRODUCTPRICE WHERE (  PRODUCTID = 5 AND GROUPBY = '') "
            u"ORDER BY PRICEEFFECTIVEDATE ASC");
}

TEST_F(CatalogLists, OnAPageUseItsConnectionAndCountNothing) {
  const auto page = NewPage();
  m_host.Trace().Clear();
  const auto list = m_catalog.GetSupplierProducts(page, u"", 10, 12, u"", u"");
  EXPECT_TRUE(list->IsOpen());
  EXPECT_FALSE(list->GetIsRecCountON());
  EXPECT_FALSE(list->GetPageJump());
  EXPECT_THAT(m_host.Trace().LinesOf("Configuration"), IsEmpty());
  EXPECT_THAT(m_host.Trace().LinesOf("Connection 1: Open"),
              ElementsAre("Connection 1: Open \"pages\", \"\", \"\", -1"));
  m_catalog.GetSupplierProducts(page, u"", 10, 13, u"", u"");
  EXPECT_THAT(m_host.Trace().LinesOf("Connection 2"), IsEmpty());
}

TEST_F(CatalogLists, OnAPageThatShowsAJumpCountAndNumberTheirPages) {
  AnswerRows(3);
  m_host.Database().Answer(u"SELECT COUNT(*) FROM PRODUCT WHERE BUSINESSPARTNERID = 12",
                           {{{u"", hostfake::kTypeLong}}, {{Long{3}}}, {}, {}});
  const auto page = NewPage();
  page->ShowPageJump(5);
  const auto list = m_catalog.GetSupplierProducts(page, u"", 2, 12, u"", u"");
  EXPECT_TRUE(list->GetIsRecCountON());
  EXPECT_TRUE(list->GetPageJump());
  EXPECT_EQ(list->GetTotalNumberOfRecords(), 3);
  EXPECT_EQ(list->m_lTotalPages, 2);
  EXPECT_EQ(list->m_rightPageNumber, 2);
}

TEST_F(CatalogLists, OnAPageTakeTheirStateFromTheRequestOnly) {
  AnswerRows(2);
  const auto plain = m_catalog.GetSupplierProducts(NewPage(), u"", 2, 12, u"", u"");
  const String next = plain->GetStateNext();
  ASSERT_FALSE(next.empty());
  const String first = LastSql();
  m_catalog.GetSupplierProducts(NewPage(), next, 2, 12, u"", u"");
  EXPECT_EQ(LastSql(), first);
  m_catalog.GetSupplierProducts(NewPage(), u"no state at all", 2, 12, u"", u"");
  EXPECT_EQ(LastSql(), first);
}

TEST_F(CatalogLists, WithoutAPageStandWhereTheStateTextSays) {
  AnswerRows(2);
  const auto first = m_catalog.GetSupplierProducts(nullptr, u"", 2, 12, u"", u"");
  EXPECT_EQ(LastSql(),
            u"SELECT TOP 2 * FROM PRODUCT WHERE (  BUSINESSPARTNERID = 12) ORDER BY BUYFROMPARTNUMBER ASC");
  m_catalog.GetSupplierProducts(nullptr, first->GetStateNext(), 2, 12, u"", u"");
  EXPECT_EQ(LastSql(),
            u"SELECT TOP 2 * FROM PRODUCT WHERE (  BUSINESSPARTNERID = 12) AND BUYFROMPARTNUMBER > "
            u"'B-5' ORDER BY BUYFROMPARTNUMBER ASC");
}

TEST_F(CatalogLists, WithoutAPageConnectByTheConfigurationAndCountNothing) {
  m_host.SetHasContext(false);
  const auto list = m_catalog.GetSupplierProducts(nullptr, u"", 10, 12, u"", u"");
  EXPECT_FALSE(list->GetIsRecCountON());
  EXPECT_FALSE(list->GetPageJump());
  EXPECT_THAT(m_host.Trace().LinesOf("Platform"),
              ElementsAre("Platform: CreateObject Ostrand.Configuration"));
  EXPECT_THAT(m_host.Trace().LinesOf("Configuration"),
              ElementsAre("Configuration: PrepareConfiguration 0",
                          "Configuration: GetConfigurationConnectionString Quenby"));
  EXPECT_THAT(m_host.Trace().LinesOf("Connection 1: Open"),
              ElementsAre("Connection 1: Open \"catalogue\", \"\", \"\", -1"));
}

TEST_F(CatalogLists, CutTheirPageSizeToItsLowSixteenBits) {
  m_catalog.GetSupplierProducts(NewPage(), u"", 65546, 12, u"", u"");
  EXPECT_TRUE(LastSql().starts_with(u"SELECT TOP 10 "));
  m_catalog.GetSupplierProducts(NewPage(), u"", 40000, 12, u"", u"");
  EXPECT_TRUE(LastSql().starts_with(u"SELECT TOP -25536 "));
}

TEST_F(CatalogLists, ComeThroughTheContextOfTheRequestWithItsConfiguration) {
  m_catalog.GetSupplierProducts(nullptr, u"", 10, 12, u"", u"");
  EXPECT_THAT(m_host.Trace().LinesOf("Context"),
              ElementsAre("Context: CreateInstance Ostrand.Configuration"));
}

}  // namespace
}  // namespace varnel
