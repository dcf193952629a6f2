// Every list of the catalogue, page by page to its end and back, against a plain query of the same rows.
#include "tests/catalog/ListWalk.h"

#include "tests/conformance/CatalogueUnderTest.h"

namespace {

using varnel::ListWalk;
using varnel::Long;
using varnel::String;
using varnel::StringView;
using varnel::Variant;
using varnel::WarehouseFavorite;

constexpr Long kPageSize = 4;

// On its day, products that are enabled and not still to come.
const String kEffective =
    u"p.DISABLED = 0 AND coalesce(p.PRODUCTEFFECTIVITYDATE, '') < '2024-03-05 00:00:01'";

const String kOfCatalogs =
    u"p.PRODUCTID IN (SELECT b.PRODUCTID FROM PRODUCTSBYCATEGORY b, CATALOGNODE n "
    u"WHERE n.CATEGORYID = b.CATEGORYID)";

class CatalogueLists : public CatalogueOnEveryEngine {
 protected:
  // Walks all ways; `plain` gives `columns` of all rows, in order.
  void Walk(const std::vector<StringView>& columns, const String& plain, const ListWalk::Opener& opener,
            const String& sort = u"") {
    std::vector<std::string> expected;
    const std::string all = m_plain->Rows(plain);
    for (const String& row : varnel::Split(varnel::FromUtf8(all), u";"))
      expected.push_back(varnel::ToUtf8(row));
    m_host = nullptr;  // one host at a time
    const auto newHost = [this] { return NewHost(); };
    for (const auto road : {ListWalk::Road::Page, ListWalk::Road::Jumping, ListWalk::Road::WithoutPage}) {
      ListWalk walk(newHost, kPageSize, DatabaseUnderTest::TextOf);
      ASSERT_NO_FATAL_FAILURE(walk.Walk(road, columns, expected, opener, sort))
          << "road " << static_cast<int>(road);
    }
    m_host = NewHost();
  }

  void RunOnBoth(const String& sql) {
    Run(sql);
    m_plain->Run(sql);
  }
};

TEST_P(CatalogueLists, OfACategoryTellTheUsersFavourites) {
  const String rows =
      u"SELECT p.PRODUCTID, (SELECT f.PRESENT FROM FAVORITES f WHERE f.USERID = 'demo' AND f.PRODUCTID = "
      u"p.PRODUCTID) FROM PRODUCT p, PRODUCTSBYCATEGORY b WHERE b.PRODUCTID = p.PRODUCTID AND b.CATEGORYID = "
      u"1 "
      u"AND " +
      kEffective;
  const auto open = [this](const auto& page, const String& state) {
    return m_catalog.GetCatalogProducts(page, state, kPageSize, 1, u"demo", Day());
  };
  Walk({u"PRODUCTID", u"PRESENT"}, rows + u" ORDER BY b.SEQUENCE, p.PRODUCTID", open);
  Walk({u"PRODUCTID", u"PRESENT"}, rows + u" ORDER BY p.PARTNUMBER DESC", open, u"P.PARTNUMBER DESC");
}

TEST_P(CatalogueLists, OfAQuickOrderShowAProductOfTwoCataloguesOnce) {
  const String rows = u"SELECT p.PRODUCTID FROM PRODUCT p WHERE " + kEffective + u" AND " + kOfCatalogs;
  const auto open = [this](const auto& page, const String& state) {
    return m_catalog.GetQuickOrderProducts(page, state, kPageSize, Day(), u"", u"-1");
  };
  Walk({u"PRODUCTID"}, rows + u" ORDER BY p.PRODUCTDESCRIPTION", open);
  Walk({u"PRODUCTID"}, rows + u" ORDER BY p.MANUFACTURERID, p.PRODUCTDESCRIPTION DESC", open,
       u"P.MANUFACTURERID, P.PRODUCTDESCRIPTION DESC");
}

TEST_P(CatalogueLists, OfAQuickOrderFindBothPartNumbers) {
  const String rows = u"SELECT p.PARTNUMBER FROM PRODUCT p WHERE " + kEffective + u" AND " + kOfCatalogs;
  Walk({u"PARTNUMBER"}, rows + u" AND substr(p.PARTNUMBER, 1, 1) = 'X' ORDER BY p.PRODUCTDESCRIPTION",
       [this](const auto& page, const String& state) {
         return m_catalog.GetQuickOrderProducts(page, state, kPageSize, Day(), u"x*", u"1, 2");
       });
  if (!Has(Feature::PatternClasses)) return;
  Walk({u"PARTNUMBER"}, rows + u" AND p.BUYFROMPARTNUMBER < 'B-120' ORDER BY p.PRODUCTDESCRIPTION",
       [this](const auto& page, const String& state) {
         return m_catalog.GetQuickOrderProducts(page, state, kPageSize, Day(), u"b-1[01]*", u"-1");
       });
}

TEST_P(CatalogueLists, OfFavouritesKnowKindAndCatalogue) {
  const String rows =
      u"SELECT p.PRODUCTID FROM PRODUCT p, FAVORITES f WHERE f.PRODUCTID = p.PRODUCTID AND "
      u"f.USERID = 'demo' AND f.PRESENT = 1 AND " +
      kEffective + u" AND " + kOfCatalogs;
  Walk({u"PRODUCTID"}, rows + u" ORDER BY p.PRODUCTDESCRIPTION",
       [this](const auto& page, const String& state) {
         return m_catalog.GetFavoriteProducts(page, state, kPageSize, u"demo", Day(), u"-1", -1);
       });
  Walk({u"PRODUCTID"}, rows + u" AND f.WAREHOUSEFAVORITE = 1 ORDER BY p.PRODUCTDESCRIPTION",
       [this](const auto& page, const String& state) {
         return m_catalog.GetFavoriteProducts(page, state, kPageSize, u"demo", Day(), u"1,2",
                                              WarehouseFavorite);
       });
}

TEST_P(CatalogueLists, OfAFolderHoldItsFavouritesOnly) {
  RunOnBoth(u"UPDATE FAVORITES SET FOLDERID = 2 WHERE PRODUCTID <> 3");
  Walk(
      {u"PRODUCTID"},
      u"SELECT p.PRODUCTID FROM PRODUCT p, FAVORITES f WHERE f.PRODUCTID = p.PRODUCTID AND f.USERID = 'demo' "
      u"AND f.PRESENT = 1 AND f.FOLDERID = 2 AND " +
          kEffective + u" AND " + kOfCatalogs + u" ORDER BY p.PRODUCTDESCRIPTION",
      [this](const auto& page, const String& state) {
        return m_catalog.GetFavoriteProductsEx(page, state, kPageSize, u"demo", Day(), u"-1", -1, 2);
      });
  const auto list = m_catalog.GetFavoriteProductsEx(nullptr, u"", kPageSize, u"demo", Day(), u"-1", -1, -5);
  Variant id = u"PRODUCTID";
  EXPECT_EQ(list->GetDefault(id)->Value, Variant(Long{3}));
}

TEST_P(CatalogueLists, OfASupplierShowAllItsProducts) {
  const String rows = u"SELECT p.PRODUCTID FROM PRODUCT p WHERE p.BUSINESSPARTNERID = 11";
  const auto open = [this](const auto& page, const String& state) {
    return m_catalog.GetSupplierProducts(page, state, kPageSize, 11, u"", u"");
  };
  Walk({u"PRODUCTID"}, rows + u" ORDER BY p.BUYFROMPARTNUMBER", open);
  Walk({u"PRODUCTID"}, rows + u" ORDER BY p.PRODUCTEFFECTIVITYDATE DESC, p.BUYFROMPARTNUMBER", open,
       u"PRODUCTEFFECTIVITYDATE DESC");
  if (!Has(Feature::PatternClasses)) return;
  Walk({u"PARTNUMBER"},
       rows.substr(0, 7) + u"p.PARTNUMBER" + rows.substr(18) +
           u" AND p.PARTNUMBER GLOB 'X_*' AND p.PRODUCTID > 9 AND p.PARTNUMBER GLOB '*[1-3]?' ORDER BY "
           u"p.BUYFROMPARTNUMBER",
       [this](const auto& page, const String& state) {
         return m_catalog.GetSupplierProducts(page, state, kPageSize, 11, u"PARTNUMBER", u"X[_]*[1-3]_");
       });
}

TEST_P(CatalogueLists, OfPricesComeByTheirBeginning) {
  const String rows = u"SELECT PRICE FROM CATALOGPRODUCTPRICE WHERE PRODUCTID = 5 AND GROUPBY = ";
  Walk({u"PRICE"}, rows + u"'' ORDER BY PRICEEFFECTIVEDATE", [this](const auto& page, const String& state) {
    return m_catalog.GetProductProcurementPrices(page, state, kPageSize, 5);
  });
  Walk({u"PRICE"}, rows + u"'trade' ORDER BY PRICEEFFECTIVEDATE",
       [this](const auto& page, const String& state) {
         return m_catalog.GetProductProcurementPricesEx(page, state, kPageSize, 5, u"trade");
       });
}

TEST_P(CatalogueLists, OfPropertyValuesComeByTheirProperty) {
  RunOnBoth(u"INSERT INTO PROPERTY VALUES (5, 'a', 0), (6, 'b', 0), (7, 'c', 0), (8, 'd', 0), (9, 'e', 0)");
  RunOnBoth(
      u"INSERT INTO PRODUCTPROPVALUE VALUES (5, 5, 'v5'), (5, 6, 'v6'), (5, 7, 'v7'), (5, 8, 'v8'), (5, 9, "
      u"'v9')");
  Walk({u"PROPERTYID", u"PROPERTYVALUE"},
       u"SELECT PROPERTYID, PROPERTYVALUE FROM PRODUCTPROPVALUE WHERE PRODUCTID = 5 ORDER BY PROPERTYID",
       [this](const auto& page, const String& state) {
         return m_catalog.GetProductPropertyValues(page, state, kPageSize, 5);
       });
}

TEST_P(CatalogueLists, WithoutRowsAreAtTheirEnd) {
  EXPECT_TRUE(m_catalog.GetQuickOrderProducts(nullptr, u"", 4, Day(), u"", u"")->IsEOF());
  EXPECT_TRUE(m_catalog.GetQuickOrderProducts(nullptr, u"", 4, Day(), u"", u"3")->IsEOF());
  EXPECT_TRUE(m_catalog.GetQuickOrderProducts(nullptr, u"", 4, Day(), u" ", u"-1")->IsEOF());
  EXPECT_TRUE(m_catalog.GetCatalogProducts(nullptr, u"", 4, 99, u"demo", Day())->IsEOF());
  EXPECT_TRUE(m_catalog.GetFavoriteProducts(nullptr, u"", 4, u"nobody", Day(), u"-1", -1)->IsEOF());
  EXPECT_TRUE(m_catalog.GetProductProcurementPricesEx(nullptr, u"", 4, 5, u"none")->IsEOF());
}

// What no quote closes is a statement that the engine refuses.
TEST_P(CatalogueLists, OfAUserWithAQuoteFail) {
  EXPECT_NE(hostfake::NumberOf([&] { m_catalog.GetCatalogProducts(nullptr, u"", 4, 1, u"O'Brien", Day()); }),
            0);
  EXPECT_EQ(m_host->Log().Entries().size(), 2U);
}

INSTANTIATE_TEST_SUITE_P(Engines, CatalogueLists, kEveryKind,
                         [](const auto& info) { return NameOf(info.param); });

}  // namespace
