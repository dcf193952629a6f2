// The class as late-bound callers see it: names, defaults, conversions.
#include "tests/catalog/CatalogFixture.h"
#include "varnel/catalog/FavoriteTypes.h"

namespace varnel {
namespace {

using hostfake::NumberOf;

class CatalogByName : public CatalogTest {
 protected:
  template <typename... T>
  Long NumberOfCall(StringView name, T&&... arguments) {
    return NumberOf([&] { m_object->CallWith(name, std::forward<T>(arguments)...); });
  }

  const ObjectPtr m_object = MakeCatalogQuery();
};

TEST_F(CatalogByName, HasEighteenOperationsInOrder) {
  std::vector<std::string> names;
  for (const Member& member : m_object->Class().members) names.push_back(ToUtf8(member.name));
  EXPECT_THAT(
      names,
      ElementsAre("GetCatalogProducts", "GetFavoriteProducts", "GetQuickOrderProducts", "CleanupFavorites",
                  "GetProductData", "GetProductPropertyData", "GetProductAttachmentData",
                  "GetAlternativeProducts", "AlternativeProductsPresent", "GetCategoryIDForNode",
                  "GetSupplierProducts", "GetProductProcurementPrices", "GetProductPropertyValues",
                  "GetProductPriceInfo", "GetFavoriteProductsEx", "GetProductProcurementPricesEx",
                  "GetProductPriceInfoEx", "GetProductPropertyDataEx"));
}

TEST_F(CatalogByName, FillsInWhatIsLeftOut) {
  const auto page = NewPage();
  m_object->CallWith(u"getquickorderproducts", page, u"", Long{10}, Day());
  EXPECT_EQ(LastSql().find(u"LIKE"), String::npos);
  EXPECT_EQ(LastSql().find(u"C.CATALOGID IN ("), String::npos);
  m_object->CallWith(u"GetFavoriteProducts", page, u"", Long{10}, u"demo", Day());
  EXPECT_EQ(LastSql().find(u"WAREHOUSEFAVORITE"), String::npos);
  EXPECT_EQ(LastSql().find(u"FOLDERID"), String::npos);
  m_object->CallWith(u"GetFavoriteProductsEx", page, u"", Long{10}, u"demo", Day());
  EXPECT_NE(LastSql().find(u"( F.FOLDERID =0 )"), String::npos);
  m_object->CallWith(u"GetSupplierProducts", page, u"", Long{10}, Long{12});
  EXPECT_EQ(LastSql().find(u"LIKE"), String::npos);
  m_object->CallWith(u"GetAlternativeProducts", Long{5});
  EXPECT_EQ(LastSql().find(u"STOCKITEM"), String::npos);
  EXPECT_FALSE(ToBoolean(m_object->CallWith(u"AlternativeProductsPresent", Long{5}, Day())));
  EXPECT_EQ(LastSql().find(u"STOCKITEM"), String::npos);
  m_object->CallWith(u"GetProductPropertyDataEx", Long{5});
  EXPECT_TRUE(LastSql().starts_with(u"SELECT PRODUCTPROPVALUE.*"));
}

TEST_F(CatalogByName, CleansUpFourOfBothKindsInAllCatalogues) {
  AnswerRows(3);
  EXPECT_EQ(ToLong(m_object->CallWith(u"CleanupFavorites", u"demo")), 0);
  AnswerRows(4);
  m_answer.affected = 4;
  EXPECT_EQ(ToLong(m_object->CallWith(u"CleanupFavorites", u"demo")), 4);
  EXPECT_EQ(LastSql().find(u"WAREHOUSEFAVORITE"), String::npos);
}

TEST_F(CatalogByName, ConvertsWhatComes) {
  m_object->CallWith(u"GetProductPriceInfo", u"5", u"2024-03-05");
  EXPECT_NE(LastSql().find(u"(PRODUCTID = 5) AND  GROUPBY ='' AND (PRICEEFFECTIVEDATE <= {d '2024-03-05'})"),
            String::npos);
  m_object->CallWith(u"GetProductPropertyDataEx", Long{5}, Long{1});
  EXPECT_TRUE(LastSql().starts_with(u"SELECT  PRODUCTPROPVALUE.*"));
  m_object->CallWith(u"GetSupplierProducts", Null(), u"", Long{10}, u"12");
  EXPECT_NE(LastSql().find(u"BUSINESSPARTNERID = 12"), String::npos);
}

// Before an operation runs nothing is caught, and nothing is logged.
TEST_F(CatalogByName, RefusesWrongAndMissingArguments) {
  EXPECT_EQ(NumberOfCall(u"GetProductData"), 450);
  EXPECT_EQ(NumberOfCall(u"GetProductData", Long{5}, Long{6}), 450);
  EXPECT_EQ(NumberOfCall(u"GetProductData", u"five"), 13);
  EXPECT_EQ(NumberOfCall(u"GetProductData", Null()), 94);
  EXPECT_EQ(NumberOfCall(u"GetProductData", 3e9), 6);
  EXPECT_EQ(NumberOfCall(u"GetProductPriceInfo", Long{5}), 450);
  EXPECT_EQ(NumberOfCall(u"GetProductPriceInfo", Long{5}, u"one day"), 13);
  EXPECT_EQ(NumberOfCall(u"GetProductPropertyValues", u"page", u"", Long{10}, Long{5}), 13);
  EXPECT_EQ(NumberOfCall(u"GetProductPropertyValues", m_object, u"", Long{10}, Long{5}), 13);
  EXPECT_EQ(NumberOfCall(u"GetUtilObj"), 438);
  EXPECT_THAT(m_host.Database().Lines(), IsEmpty());
  EXPECT_THAT(m_host.Log().Entries(), IsEmpty());
}

TEST_F(CatalogByName, TakesANullSearchIntoItsHandlers) {
  EXPECT_EQ(NumberOfCall(u"GetQuickOrderProducts", Null(), u"", Long{10}, Day(), Null()), 94);
  EXPECT_THAT(LoggedMethods(), ElementsAre("Varnel.CatalogQuery.GetQuickOrderProducts"));
}

TEST(FavoriteTypes, AreNamedForScripts) {
  ASSERT_EQ(FavoriteEnumerationNames().size(), 2U);
  EXPECT_EQ(FavoriteEnumerationNames()[0].name, u"DefaultFavorite");
  EXPECT_EQ(FavoriteEnumerationNames()[0].value, 0);
  EXPECT_EQ(FavoriteEnumerationNames()[1].name, u"WarehouseFavorite");
  EXPECT_EQ(FavoriteEnumerationNames()[1].value, 1);
}

}  // namespace
}  // namespace varnel
