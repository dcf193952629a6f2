// One product's sheet, its prices and the clean-up of favourites, on real tables.
#include "tests/conformance/CatalogueUnderTest.h"

namespace {

using hostfake::NumberOf;
using varnel::Long;
using varnel::MakeDate;
using varnel::ObjectPtr;
using varnel::String;
using varnel::Variant;
using varnel::WarehouseFavorite;

class CatalogueSheet : public CatalogueOnEveryEngine {};

TEST_P(CatalogueSheet, IsOneRowWithMarksOfWhatThereIs) {
  const ObjectPtr product = m_catalog.GetProductData(5);
  EXPECT_EQ(FieldOf(product, u"PRODUCTDESCRIPTION"), "Device 103");
  EXPECT_EQ(FieldOf(product, u"UNITDESCRIPTION"), "Piece");
  EXPECT_EQ(FieldOf(product, u"MANUFACTURERNAME"), "Bolt");
  EXPECT_EQ(FieldOf(product, u"ATTACHEDID"), "5");
  EXPECT_EQ(FieldOf(product, u"ALTERNATIVEID"), "5");
  EXPECT_EQ(FieldOf(product, u"PROPVALUEID"), "5");
  EXPECT_EQ(Recordset(product).RecordCount(), 1);
}

TEST_P(CatalogueSheet, OfAProductWithNothingHasNoMarks) {
  const ObjectPtr product = m_catalog.GetProductData(7);
  EXPECT_EQ(FieldOf(product, u"ATTACHEDID"), "-");
  EXPECT_EQ(FieldOf(product, u"ALTERNATIVEID"), "-");
  EXPECT_EQ(FieldOf(product, u"PROPVALUEID"), "-");
  EXPECT_EQ(Recordset(product).RecordCount(), 1);
}

TEST_P(CatalogueSheet, ShowsDisabledProductsToo) {
  EXPECT_EQ(FieldOf(m_catalog.GetProductData(10), u"DISABLED"), "1");
}

TEST_P(CatalogueSheet, OfAnUnknownProductIsEmpty) {
  EXPECT_EQ(Take(m_catalog.GetProductData(99)), "");
  EXPECT_EQ(Take(m_catalog.GetProductPropertyData(99)), "");
  EXPECT_EQ(Take(m_catalog.GetProductAttachmentData(99)), "");
  EXPECT_EQ(Take(m_catalog.GetAlternativeProducts(99, Long{-1})), "");
  EXPECT_EQ(Take(m_catalog.GetProductPriceInfo(99, Day())), "");
  EXPECT_FALSE(m_catalog.AlternativeProductsPresent(99, Day(), Long{-1}));
}

TEST_P(CatalogueSheet, OrdersPropertiesInBothForms) {
  EXPECT_EQ(Take(m_catalog.GetProductPropertyData(5)),
            "5,3,PCI,Bus;5,2,Bridge,Class;5,4,07,Revision;5,1,12 mm,Width");
  bool sheetOnly = true;
  EXPECT_EQ(Take(m_catalog.GetProductPropertyDataEx(5, sheetOnly)), "5,3,PCI,Bus;5,1,12 mm,Width");
}

TEST_P(CatalogueSheet, ListsAttachmentsThatHaveAnIcon) {
  EXPECT_EQ(Take(m_catalog.GetProductAttachmentData(5)),
            "1,5,1,sheet.pdf,Data sheet,pdf.gif;3,5,1,guide.pdf,Guide,pdf.gif");
}

TEST_P(CatalogueSheet, ListsAlternativesWhateverTheirState) {
  const auto count = [&](const Variant& flag) {
    return Recordset(m_catalog.GetAlternativeProducts(5, flag)).RecordCount();
  };
  EXPECT_EQ(count(Long{-1}), 4);
  EXPECT_EQ(count(Long{0}), 3);
  EXPECT_EQ(count(Long{1}), 1);
  EXPECT_EQ(count(u"1.0"), 1);
}

TEST_P(CatalogueSheet, KnowsWhetherAnAlternativeIsGoodOnTheDay) {
  EXPECT_TRUE(m_catalog.AlternativeProductsPresent(5, Day(), Long{-1}));
  EXPECT_TRUE(m_catalog.AlternativeProductsPresent(5, Day(), Long{0}));
  EXPECT_FALSE(m_catalog.AlternativeProductsPresent(5, Day(), Long{1}));
  EXPECT_FALSE(m_catalog.AlternativeProductsPresent(6, Day(), Long{-1}));
  EXPECT_EQ(Recordset(m_catalog.GetAlternativeProducts(6, Long{-1})).RecordCount(), 2);
  // 25 expires on the first day of 2021, that day included.
  EXPECT_TRUE(m_catalog.AlternativeProductsPresent(6, MakeDate({2021, 1, 1}), Long{-1}));
  EXPECT_FALSE(m_catalog.AlternativeProductsPresent(6, MakeDate({2021, 1, 2}), Long{-1}));
}

TEST_P(CatalogueSheet, FindsTheCategoryOfANode) {
  EXPECT_EQ(m_catalog.GetCategoryIDForNode(3), 2);
  EXPECT_EQ(m_catalog.GetCategoryIDForNode(4), -1);  // a node without one
  EXPECT_EQ(m_catalog.GetCategoryIDForNode(99), -1);
}

TEST_P(CatalogueSheet, KnowsThePriceOfADayWithBothEndsOfItsPeriod) {
  const auto priceOn = [&](int month, int day) {
    return Take(m_catalog.GetProductPriceInfo(5, MakeDate({2024, month, day})));
  };
  const std::string march = Take(m_catalog.GetProductPriceInfo(5, Day()));
  EXPECT_NE(march.find(",31.5,EUR"), std::string::npos);
  EXPECT_EQ(march.find(';'), std::string::npos);
  EXPECT_EQ(priceOn(3, 1), march);
  EXPECT_EQ(priceOn(3, 20), march);
  EXPECT_EQ(priceOn(3, 21), "");
  EXPECT_EQ(priceOn(2, 29), "");
  EXPECT_NE(Take(m_catalog.GetProductPriceInfo(5, MakeDate({2031, 1, 1}))).find(",126,EUR"),
            std::string::npos);
  EXPECT_NE(Take(m_catalog.GetProductPriceInfoEx(5, Day(), u"trade")).find(",24,EUR"), std::string::npos);
}

TEST_P(CatalogueSheet, FindsNoPriceWithoutABeginning) {
  Run(u"DROP TABLE CATALOGPRODUCTPRICE");
  Run(u"CREATE TABLE CATALOGPRODUCTPRICE (PRODUCTID INT, GROUPBY VARCHAR(40), PRICEEFFECTIVEDATE TIMESTAMP, "
      u"PRICEEXPIRYDATE TIMESTAMP)");
  Run(u"INSERT INTO CATALOGPRODUCTPRICE VALUES (5, '', NULL, NULL)");
  EXPECT_EQ(Take(m_catalog.GetProductPriceInfo(5, Day())), "");
  const auto list = m_catalog.GetProductProcurementPrices(nullptr, u"", 4, 5);
  EXPECT_FALSE(list->IsEOF());
}

class CatalogueCleanup : public CatalogueOnEveryEngine {
 protected:
  // How many there are, and how many of them are stale.
  std::string FavoritesOf(const String& user) {
    const String count = u"SELECT COUNT(*) FROM FAVORITES WHERE USERID = '" + user + u"'";
    return Rows(count) + "," + Rows(count + u" AND PRODUCTID > 34");
  }
};

TEST_P(CatalogueCleanup, TakesFourStaleFavouritesAndLeavesThree) {
  EXPECT_EQ(FavoritesOf(u"demo"), "36,4");
  EXPECT_EQ(m_catalog.CleanupFavorites(u"demo", u"-1", -1, -1), 4);
  EXPECT_EQ(FavoritesOf(u"demo"), "32,0");
  EXPECT_EQ(m_catalog.CleanupFavorites(u"other", u"-1", -1, -1), 0);
  EXPECT_EQ(FavoritesOf(u"other"), "4,3");
}

TEST_P(CatalogueCleanup, CountsTheKindOutsideOnly) {
  EXPECT_EQ(m_catalog.CleanupFavorites(u"demo", u"-1", WarehouseFavorite, 3), 0);
  EXPECT_EQ(m_catalog.CleanupFavorites(u"demo", u"-1", WarehouseFavorite, 2), 2);
  EXPECT_EQ(FavoritesOf(u"demo"), "34,2");
}

TEST_P(CatalogueCleanup, OfAnEmptyListTakesAll) {
  EXPECT_EQ(m_catalog.CleanupFavorites(u"demo", u"", -1, -1), 36);
  EXPECT_EQ(FavoritesOf(u"demo"), "0,0");
  EXPECT_EQ(FavoritesOf(u"other"), "4,3");
}

TEST_P(CatalogueCleanup, OfOneCatalogueTakesWhatOnlyOthersReach) {
  // Catalogue 2 reaches products 20 to 34 only.
  EXPECT_EQ(m_catalog.CleanupFavorites(u"demo", u"2", -1, -1), 22);
  EXPECT_EQ(FavoritesOf(u"demo"), "14,0");
}

TEST_P(CatalogueCleanup, WithAThresholdOfZeroDeletesWhatThereIs) {
  EXPECT_EQ(m_catalog.CleanupFavorites(u"nobody", u"-1", -1, 0), 0);
  EXPECT_EQ(m_catalog.CleanupFavorites(u"other", u"-1", -1, -2), 3);
  EXPECT_EQ(FavoritesOf(u"other"), "1,0");
}

TEST_P(CatalogueCleanup, OfAUserWithAQuoteFailsAndChangesNothing) {
  EXPECT_NE(NumberOf([&] { m_catalog.CleanupFavorites(u"O'Brien", u"-1", -1, 0); }), 0);
  EXPECT_EQ(m_host->Log().Entries().size(), 2U);
  EXPECT_EQ(FavoritesOf(u"demo"), "36,4");
}

TEST_P(CatalogueCleanup, OnAReadOnlyConnectionFailsAndChangesNothing) {
  m_host->Configuration().SetConnectionString(u"Quenby", m_database->Text(u"Mode=Read"));
  EXPECT_NE(NumberOf([&] { m_catalog.CleanupFavorites(u"demo", u"-1", -1, -1); }), 0);
  EXPECT_EQ(m_host->Log().Entries().size(), 1U);
  EXPECT_EQ(FavoritesOf(u"demo"), "36,4");
}

INSTANTIATE_TEST_SUITE_P(Engines, CatalogueSheet, kEveryKind,
                         [](const auto& info) { return NameOf(info.param); });
INSTANTIATE_TEST_SUITE_P(Engines, CatalogueCleanup, kEveryKind,
                         [](const auto& info) { return NameOf(info.param); });

}  // namespace
