// Every statement of the catalogue as one text, to the last blank.
#include "varnel/catalog/QueryTexts.h"

#include <gtest/gtest.h>

namespace varnel::catalog_text {
namespace {

const String kDay = u"{d '2024-03-05'}";

const String kSelectProduct =
    u"SELECT DISTINCT P.PRODUCTID, P.PROPERTYGROUPID, P.MANUFACTURERID, P.PARTNUMBER, P.PRODUCTDESCRIPTION, "
    u"P.PRODUCTREMARK, P.IMAGEFILENAME,P.TECHNICALIMAGE, P.URL, P.UNITCODE, P.CONFIGURABLE, "
    u"P.COMMODITYCODE, P.CONTRACTCODE, P.NUMBER, P.BUSINESSPARTNERID, P.USERID,  P.PRODUCTEFFECTIVITYDATE, "
    u"P.PRODUCTEXPIRYDATE, P.CLASSCODE, P.SERVICEITEM";

const String kFromCatalogs =
    u"FROM CATALOG C INNER JOIN CATALOGNODE CN ON CN.CATALOGID = C.CATALOGID INNER JOIN PRODUCTSBYCATEGORY "
    u"PBC ON PBC.CATEGORYID = CN.CATEGORYID ";

TEST(CatalogProductsText, JoinsTheFavouritesOfTheUser) {
  EXPECT_EQ(CatalogProducts(u"7", u"demo", kDay),
            kSelectProduct +
                u", FAVORITES.PRESENT, PBC.SEQUENCE FROM PRODUCT P INNER JOIN PRODUCTSBYCATEGORY PBC ON "
                u"PBC.PRODUCTID = P.PRODUCTID LEFT OUTER JOIN FAVORITES ON FAVORITES.USERID='demo' AND "
                u"P.PRODUCTID = FAVORITES.PRODUCTID WHERE (PBC.CATEGORYID = 7) AND (P.DISABLED = 0) AND "
                u"(PRODUCTEFFECTIVITYDATE <= {d '2024-03-05'} OR PRODUCTEFFECTIVITYDATE IS NULL) ");
}

TEST(CatalogProductsText, HoldsAQuoteOfTheUserIdAsItIs) {
  const String text = CatalogProducts(u"7", u"O'Brien", kDay);
  EXPECT_NE(text.find(u"FAVORITES.USERID='O'Brien' AND"), String::npos);
}

const String kQuickOrder =
    kSelectProduct + u" " + kFromCatalogs +
    u"INNER JOIN PRODUCT P ON P.PRODUCTID = PBC.PRODUCTID WHERE (P.DISABLED = 0) AND (PRODUCTEFFECTIVITYDATE "
    u"<= {d '2024-03-05'} OR PRODUCTEFFECTIVITYDATE IS NULL)";

TEST(QuickOrderText, WithoutASearchTakesAllOfAllCatalogues) {
  EXPECT_EQ(QuickOrderProducts(kDay, u"", u"-1"), kQuickOrder);
}

TEST(QuickOrderText, SearchesBothPartNumbersBeforeTheCatalogueClause) {
  EXPECT_EQ(QuickOrderProducts(kDay, u"8086*", u"1,2"),
            kQuickOrder +
                u" AND (PARTNUMBER LIKE '8086%' OR BUYFROMPARTNUMBER LIKE '8086%') AND "
                u"(C.CATALOGID IN (1,2))");
}

TEST(QuickOrderText, EncodesNothingOfTheSearchButTheStar) {
  EXPECT_EQ(QuickOrderProducts(kDay, u"*a'b%*", u"-1"),
            kQuickOrder + u" AND (PARTNUMBER LIKE '%a'b%%' OR BUYFROMPARTNUMBER LIKE '%a'b%%')");
}

TEST(QuickOrderText, ABlankIsASearch) {
  EXPECT_EQ(QuickOrderProducts(kDay, u" ", u"-1"),
            kQuickOrder + u" AND (PARTNUMBER LIKE ' ' OR BUYFROMPARTNUMBER LIKE ' ')");
}

TEST(CatalogueFilter, IsNothingForMinusOneAlone) {
  EXPECT_EQ(QuickOrderProducts(kDay, u"", u" -1"), kQuickOrder + u" AND (C.CATALOGID IN ( -1))");
  EXPECT_EQ(QuickOrderProducts(kDay, u"", u"-1 "), kQuickOrder + u" AND (C.CATALOGID IN (-1 ))");
}

TEST(CatalogueFilter, OfABlankListLetsNothingThrough) {
  EXPECT_EQ(QuickOrderProducts(kDay, u"", u""), kQuickOrder + u" AND (0=1)");
  EXPECT_EQ(QuickOrderProducts(kDay, u"", u"   "), kQuickOrder + u" AND (0=1)");
}

TEST(CatalogueFilter, HoldsTheListAsItStands) {
  EXPECT_EQ(QuickOrderProducts(kDay, u"", u"3, 4 "), kQuickOrder + u" AND (C.CATALOGID IN (3, 4 ))");
}

TEST(SupplierText, TakesAPatternOfOneField) {
  EXPECT_EQ(SupplierProducts(u"12", u"", u""), u"SELECT * FROM PRODUCT WHERE BUSINESSPARTNERID = 12");
  EXPECT_EQ(SupplierProducts(u"12", u"PARTNUMBER", u"8*6"),
            u"SELECT * FROM PRODUCT WHERE BUSINESSPARTNERID = 12 AND PARTNUMBER LIKE '8%6'");
}

TEST(SupplierText, IgnoresAFieldOrAValueAlone) {
  const String all = u"SELECT * FROM PRODUCT WHERE BUSINESSPARTNERID = -3";
  EXPECT_EQ(SupplierProducts(u"-3", u"PARTNUMBER", u""), all);
  EXPECT_EQ(SupplierProducts(u"-3", u"", u"8086"), all);
}

String Favorites(const String& user, const String& folder) {
  return kSelectProduct + u", F.PRESENT " + kFromCatalogs +
         u"INNER JOIN FAVORITES F ON F.PRODUCTID = PBC.PRODUCTID INNER JOIN PRODUCT P ON P.PRODUCTID = "
         u"F.PRODUCTID WHERE (P.DISABLED = 0) AND (PRODUCTEFFECTIVITYDATE <= {d '2024-03-05'} OR "
         u"PRODUCTEFFECTIVITYDATE IS NULL) AND (F.USERID='" +
         user + u"') AND (F.PRESENT = 1)" + folder;
}

TEST(FavoritesText, TakesBothKindsOfAllFolders) {
  EXPECT_EQ(FavoriteProducts(u"demo", kDay, u"", u"-1", -1), Favorites(u"demo", u""));
  EXPECT_EQ(FavoriteProducts(u"O'Brien", kDay, u"", u"-1", -1), Favorites(u"O'Brien", u""));
}

TEST(FavoritesText, FiltersTheKindBehindTheCatalogues) {
  const String inCatalogue = Favorites(u"demo", u"") + u" AND (C.CATALOGID IN (3))";
  EXPECT_EQ(FavoriteProducts(u"demo", kDay, u"", u"3", 1), inCatalogue + u" AND F.WAREHOUSEFAVORITE=1");
  EXPECT_EQ(FavoriteProducts(u"demo", kDay, u"", u"3", 0), inCatalogue + u" AND F.WAREHOUSEFAVORITE=0");
  EXPECT_EQ(FavoriteProducts(u"demo", kDay, u"", u"3", 7), inCatalogue + u" AND F.WAREHOUSEFAVORITE=0");
}

TEST(FavoritesText, NamesTheFolderWithoutABlankBeforeItsNumber) {
  EXPECT_EQ(FavoriteProducts(u"demo", kDay, FolderClause(12), u"", -1),
            Favorites(u"demo", u" AND (F.FOLDERID =12)") + u" AND (0=1)");
}

TEST(StaleFavoritesText, LooksAtTheKindOutsideOnly) {
  const String reachable =
      u"SELECT F.PRODUCTID FROM CATALOG C INNER JOIN CATALOGNODE CN ON C.CATALOGID = CN.CATALOGID INNER JOIN "
      u"PRODUCTSBYCATEGORY PBC ON CN.CATEGORYID = PBC.CATEGORYID INNER JOIN FAVORITES F ON PBC.PRODUCTID = "
      u"F.PRODUCTID WHERE F.USERID = 'demo'";
  EXPECT_EQ(StaleFavoriteCondition(u"demo", u"-1", -1),
            u"WHERE USERID = 'demo' AND PRODUCTID NOT IN (" + reachable + u")");
  EXPECT_EQ(StaleFavoriteCondition(u"demo", u"1,2", 1),
            u"WHERE USERID = 'demo' AND WAREHOUSEFAVORITE=1 AND PRODUCTID NOT IN (" + reachable +
                u" AND (C.CATALOGID IN (1,2)))");
  EXPECT_EQ(
      StaleFavoriteCondition(u"demo", u" ", 7),
      u"WHERE USERID = 'demo' AND WAREHOUSEFAVORITE=0 AND PRODUCTID NOT IN (" + reachable + u" AND (0=1))");
}

TEST(StaleFavoritesText, HoldsAQuoteOfTheUserIdAsItIs) {
  const String text = StaleFavoriteCondition(u"O'Brien", u"-1", -1);
  EXPECT_TRUE(text.starts_with(u"WHERE USERID = 'O'Brien' AND PRODUCTID NOT IN ("));
  EXPECT_TRUE(text.ends_with(u"WHERE F.USERID = 'O'Brien')"));
}

TEST(StaleFavoritesText, IsCountedAndDeletedByOneCondition) {
  EXPECT_EQ(SelectFavorites(u"WHERE x"), u"SELECT PRODUCTID FROM FAVORITES WHERE x");
  EXPECT_EQ(DeleteFavorites(u"WHERE x"), u"DELETE FROM FAVORITES WHERE x");
}

// Many pieces end in two blanks.
TEST(ProductDataText, IsOneWideRow) {
  EXPECT_EQ(
      ProductData(u"5"),
      u"SELECT DISTINCT PRODUCT.PRODUCTID, PRODUCT.TAXCODE, PRODUCT.PROPERTYGROUPID,  "
      u"PRODUCT.MANUFACTURERID, "
      u"PRODUCT.CONTRACTCODE, PRODUCT.NUMBER, PRODUCT.UNITCODE,  PRODUCT.COMMODITYCODE, "
      u"PRODUCT.BUSINESSPARTNERID, PRODUCT.USERID,  PRODUCT.PRODUCTDESCRIPTION, PRODUCT.PRODUCTREMARK, "
      u"PRODUCT.IMAGEFILENAME,  PRODUCT.URL, PRODUCT.PRODUCTXML, PRODUCT.PARTNUMBER, "
      u"PRODUCT.BUYFROMPARTNUMBER,  PRODUCT.BUYFROMCONTACTEMAIL, PRODUCT.PRODUCTEFFECTIVITYDATE,  "
      u"PRODUCT.PRODUCTEXPIRYDATE, PRODUCT.DISABLED, PRODUCT.CONFIGURABLE,  PRODUCT.CLASSIFICATION, "
      u"PRODUCT.MINORDERQTY, PRODUCT.MULTIPLEOF,  PRODUCT.BUYFROMCONTACTINFO, PRODUCT.NONPHYSICAL, "
      u"PRODUCT.DATEUPDATED,  PRODUCT.COMPANYNR, PRODUCT.STOCKITEM, PRODUCT.GTIN, PRODUCT.PRICINGMETHOD,  "
      u"PRODUCT.UNSPSCCODE, PRODUCT.MULTIPLEBUYER, PRODUCT.MFRPARTNUMBER, PRODUCT.LOTSIZE,  "
      u"PRODUCT.DELIVERYLEADTIME, PRODUCT.TECHNICALIMAGE, PRODUCT.CLASSCODE,  PRODUCT.PRICEQUANTITY, "
      u"PRODUCT.VERSION, PRODUCT.SERVICEITEM, PRODUCT.SUPPLIERCATALOGID, UNIT.UNITDESCRIPTION, "
      u"MANUFACTURER.*, ATTACHEDFILE.PRODUCTID AS ATTACHEDID, ALTERNATIVEPRODUCTS.ORIGINALPRODUCT AS "
      u"ALTERNATIVEID, PRODUCTPROPVALUE.PRODUCTID AS PROPVALUEID FROM PRODUCT LEFT OUTER JOIN UNIT ON "
      u"PRODUCT.UNITCODE = UNIT.UNITCODE LEFT OUTER JOIN MANUFACTURER ON PRODUCT.MANUFACTURERID = "
      u"MANUFACTURER.MANUFACTURERID LEFT OUTER JOIN PRODUCTPROPVALUE ON PRODUCT.PRODUCTID = "
      u"PRODUCTPROPVALUE.PRODUCTID LEFT OUTER JOIN ALTERNATIVEPRODUCTS ON PRODUCT.PRODUCTID = "
      u"ALTERNATIVEPRODUCTS.ORIGINALPRODUCT LEFT OUTER JOIN ATTACHEDFILE ON PRODUCT.PRODUCTID = "
      u"ATTACHEDFILE.PRODUCTID WHERE PRODUCT.PRODUCTID = 5");
}

TEST(PropertyText, OrdersAllByTypeAndName) {
  EXPECT_EQ(
      ProductPropertyData(u"5"),
      u"SELECT PRODUCTPROPVALUE.*, PROPERTY.PROPERTYNAME FROM PRODUCTPROPVALUE INNER JOIN PROPERTY ON "
      u"PRODUCTPROPVALUE.PROPERTYID = PROPERTY.PROPERTYID WHERE PRODUCTPROPVALUE.PRODUCTID = 5 ORDER BY "
      u"PROPERTY.DATATYPE DESC, PROPERTY.PROPERTYNAME");
}

TEST(PropertyText, OrdersThoseOfTheSheetAsTheirGroupDoes) {
  EXPECT_EQ(
      ProductSheetPropertyData(u"5"),
      u"SELECT  PRODUCTPROPVALUE.*, PROPERTY.PROPERTYNAME FROM PRODUCT INNER JOIN PROPSBYPROPGROUP ON "
      u"PROPSBYPROPGROUP.PROPERTYGROUPID = PRODUCT.PROPERTYGROUPID INNER JOIN PROPERTY ON "
      u"PROPERTY.PROPERTYID = PROPSBYPROPGROUP.PROPERTYID INNER JOIN PRODUCTPROPVALUE ON "
      u"PRODUCTPROPVALUE.PRODUCTID = PRODUCT.PRODUCTID AND PRODUCTPROPVALUE.PROPERTYID = "
      u"PROPSBYPROPGROUP.PROPERTYID WHERE (PRODUCT.PRODUCTID = 5) AND "
      u"(PROPSBYPROPGROUP.SHOWINPRODUCTSHEET = 1) ORDER BY PROPSBYPROPGROUP.SEQUENCE, PROPERTY.DATATYPE "
      u"DESC, PROPERTY.PROPERTYNAME");
}

TEST(PropertyText, ListsTheValues) {
  EXPECT_EQ(ProductPropertyValues(u"5"), u"SELECT * FROM PRODUCTPROPVALUE WHERE PRODUCTID = 5");
}

TEST(AttachmentText, JoinsTheIcons) {
  EXPECT_EQ(ProductAttachmentData(u"5"),
            u"SELECT ATTACHEDFILE.*, ICON.ICONFILENAME FROM ATTACHEDFILE INNER JOIN ICON ON "
            u"ATTACHEDFILE.ICONID = ICON.ICONID WHERE ATTACHEDFILE.PRODUCTID = 5");
}

TEST(AlternativesText, ListsAllOfThem) {
  EXPECT_EQ(AlternativeProducts(u"5"),
            u"SELECT ALTERNATIVEPRODUCTS.*, PRODUCT.IMAGEFILENAME, PRODUCT.TECHNICALIMAGE, "
            u"PRODUCT.PRODUCTEFFECTIVITYDATE, PRODUCT.PRODUCTEXPIRYDATE, PRODUCT.DISABLED, "
            u"PRODUCT.PRODUCTDESCRIPTION FROM ALTERNATIVEPRODUCTS INNER JOIN PRODUCT ON "
            u"ALTERNATIVEPRODUCTS.ALTERNATIVEPRODUCT = PRODUCT.PRODUCTID WHERE "
            u"ALTERNATIVEPRODUCTS.ORIGINALPRODUCT = 5");
}

TEST(AlternativesText, HasNoBlankBetweenADateAndItsOr) {
  EXPECT_EQ(AlternativesPresent(u"5", kDay, u"{d '2025-01-02'}"),
            u"SELECT P.PRODUCTID FROM ALTERNATIVEPRODUCTS A INNER JOIN PRODUCT P ON A.ALTERNATIVEPRODUCT = "
            u"P.PRODUCTID WHERE A.ORIGINALPRODUCT = 5 AND P.DISABLED = 0 AND (P.PRODUCTEFFECTIVITYDATE <= {d "
            u"'2024-03-05'}OR P.PRODUCTEFFECTIVITYDATE IS NULL) AND (P.PRODUCTEXPIRYDATE >= {d "
            u"'2025-01-02'}OR P.PRODUCTEXPIRYDATE IS NULL)");
}

TEST(AlternativesText, HasAStockFlagAsItWasGiven) {
  EXPECT_EQ(StockItemClause(u"PRODUCT", u"1.0"), u" AND PRODUCT.STOCKITEM = 1.0");
  EXPECT_EQ(StockItemClause(u"P", u"0"), u" AND P.STOCKITEM = 0");
}

TEST(NodeText, AsksForTheCategory) {
  EXPECT_EQ(CategoryOfNode(u"9"), u"SELECT CATEGORYID FROM CATALOGNODE WHERE CATALOGNODE.NODEID = 9");
}

// Two blanks stand before GROUPBY.
TEST(PriceText, AlwaysNamesAGroup) {
  EXPECT_EQ(ProcurementPrices(u"5", u""),
            u"SELECT * FROM CATALOGPRODUCTPRICE WHERE PRODUCTID = 5 AND  GROUPBY =''");
  EXPECT_EQ(ProcurementPrices(u"5", u"it's"),
            u"SELECT * FROM CATALOGPRODUCTPRICE WHERE PRODUCTID = 5 AND  GROUPBY ='it's'");
}

TEST(PriceText, KnowsPricesWithoutAnEndOnly) {
  EXPECT_EQ(PricesOfDay(u"5", u"trade", kDay, u"{d '2025-01-02'}"),
            u"SELECT * FROM CATALOGPRODUCTPRICE WHERE (PRODUCTID = 5) AND  GROUPBY ='trade' AND "
            u"(PRICEEFFECTIVEDATE <= {d '2024-03-05'}) AND (PRICEEXPIRYDATE IS NULL OR PRICEEXPIRYDATE >= {d "
            u"'2025-01-02'})");
}

}  // namespace
}  // namespace varnel::catalog_text
