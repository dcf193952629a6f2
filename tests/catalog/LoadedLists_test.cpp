// Every list on the shop's whole catalogue, page by page to its end and back, against plain queries of the
// engine's own.
#include "tests/catalog/ListWalk.h"
#include "tests/catalog/LoadedCatalogue.h"

namespace varnel {
namespace {

using Columns = std::vector<StringView>;
using Road = ListWalk::Road;

const std::string kInEffect =
    " P.DISABLED = 0 AND coalesce(P.PRODUCTEFFECTIVITYDATE, '') < '2090-01-01 00:00:01' ";

// Products that stand in a category of a catalogue, each once.
std::string OfCatalogues(const std::string& catalogues) {
  return "SELECT P.PRODUCTID, P.PARTNUMBER, P.PRODUCTDESCRIPTION FROM "
         "PRODUCT P WHERE" +
         kInEffect +
         "AND P.PRODUCTID IN (SELECT B.PRODUCTID FROM PRODUCTSBYCATEGORY B, CATALOGNODE N WHERE "
         "N.CATEGORYID = B.CATEGORYID AND N.CATALOGID IN (" +
         catalogues + "))";
}

const Columns kProduct = {u"PRODUCTID", u"PARTNUMBER", u"PRODUCTDESCRIPTION"};

// As LIKE compares: A to Z without regard to case.
std::string NumberBeginsWith(const std::string& text) {
  const std::string length = std::to_string(text.size());
  return " AND (lower(substr(P.PARTNUMBER, 1, " + length + ")) = '" + text +
         "' OR lower(substr(P.BUYFROMPARTNUMBER, 1, " + length + ")) = '" + text + "')";
}

class LoadedLists : public LoadedCatalogue {
 protected:
  void Walk(Road road, Long pageSize, const Columns& columns, const std::string& plain,
            const ListWalk::Opener& opener, const String& sort = u"") {
    ListWalk walk([this] { return NewHost(); }, pageSize, TextOf);
    walk.Walk(road, columns, m_plain.Rows(plain), opener, sort);
  }

  void WalkAllRoads(Long pageSize, const Columns& columns, const std::string& plain,
                    const ListWalk::Opener& opener, const String& sort = u"") {
    for (const Road road : {Road::Page, Road::Jumping, Road::WithoutPage})
      ASSERT_NO_FATAL_FAILURE(Walk(road, pageSize, columns, plain, opener, sort));
  }

  ListWalk::Opener QuickOrder(Long pageSize, const String& search, const String& catalogues) {
    return [=, this](const auto& page, const String& state) {
      return m_catalog.GetQuickOrderProducts(page, state, pageSize, Day(), search, catalogues);
    };
  }

  ListWalk::Opener Category(Long pageSize, Long category) {
    return [=, this](const auto& page, const String& state) {
      return m_catalog.GetCatalogProducts(page, state, pageSize, category, u"demo", Day());
    };
  }

  ListWalk::Opener Supplier(Long pageSize, Long supplier, const String& field = u"",
                            const String& value = u"") {
    return [=, this](const auto& page, const String& state) {
      return m_catalog.GetSupplierProducts(page, state, pageSize, supplier, field, value);
    };
  }

  static std::string InCategory(Long category) {
    return "SELECT P.PRODUCTID, P.PARTNUMBER, (SELECT F.PRESENT FROM FAVORITES F WHERE F.USERID = 'demo' AND "
           "F.PRODUCTID = P.PRODUCTID), B.SEQUENCE FROM PRODUCTSBYCATEGORY B, PRODUCT P WHERE P.PRODUCTID = "
           "B.PRODUCTID AND B.CATEGORYID = " +
           std::to_string(category) + " AND" + kInEffect;
  }

  // The category whose number of products comes next below `size`.
  Long CategoryBelow(Long size) {
    return m_plain.Number("SELECT CATEGORYID FROM PRODUCTSBYCATEGORY GROUP BY CATEGORYID HAVING COUNT(*) < " +
                          std::to_string(size) + " ORDER BY COUNT(*) DESC LIMIT 1");
  }
  Long SupplierBelow(Long size) {
    return m_plain.Number("SELECT BUSINESSPARTNERID FROM PRODUCT GROUP BY 1 HAVING COUNT(*) < " +
                          std::to_string(size) + " ORDER BY COUNT(*) DESC, 1 LIMIT 1");
  }
};

const Columns kPlaced = {u"PRODUCTID", u"PARTNUMBER", u"PRESENT", u"SEQUENCE"};

TEST_F(LoadedLists, OfASmallCategory) {
  const Long category = CategoryBelow(150);
  WalkAllRoads(20, kPlaced, InCategory(category) + "ORDER BY B.SEQUENCE, P.PRODUCTID",
               Category(20, category));
  Walk(Road::Jumping, 20, kPlaced, InCategory(category) + "ORDER BY P.PARTNUMBER DESC, B.SEQUENCE",
       Category(20, category), u"P.PARTNUMBER DESC");
}

TEST_F(LoadedLists, OfTheLargestCategory) {
  const Long category = CategoryBelow(1000000);
  Walk(Road::Page, 200, kPlaced, InCategory(category) + "ORDER BY B.SEQUENCE, P.PRODUCTID",
       Category(200, category));
  Walk(Road::WithoutPage, 1000, kPlaced, InCategory(category) + "ORDER BY P.PRODUCTDESCRIPTION DESC",
       Category(1000, category), u"P.PRODUCTDESCRIPTION DESC");
}

// Sorting by name is sorting by place: the places of a category are numbered so.
TEST_F(LoadedLists, OfACategoryAreInTheOrderOfTheNames) {
  const std::string category = std::to_string(CategoryBelow(1000000));
  const std::string rows =
      "SELECT P.PRODUCTID FROM PRODUCT P JOIN PRODUCTSBYCATEGORY B USING (PRODUCTID) WHERE B.CATEGORYID = " +
      category;
  EXPECT_EQ(m_plain.Rows(rows + " ORDER BY B.SEQUENCE"),
            m_plain.Rows(rows + " ORDER BY P.PRODUCTDESCRIPTION"));
}

TEST_F(LoadedLists, OfAQuickOrderFromTheFirstProductToTheLastAndBack) {
  Walk(Road::Page, 1000, kProduct, OfCatalogues("1, 2") + " ORDER BY P.PRODUCTDESCRIPTION",
       QuickOrder(1000, u"", u"-1"));
}

TEST_F(LoadedLists, OfAQuickOrderForAStarHaveAllProductsOfTheCatalogue) {
  Walk(Road::Jumping, 1000, kProduct,
       OfCatalogues("2") + " ORDER BY P.MANUFACTURERID DESC, P.PRODUCTDESCRIPTION",
       QuickOrder(1000, u"*", u"2"), u"P.MANUFACTURERID DESC");
}

TEST_F(LoadedLists, OfAQuickOrderForTheNumbersOfAMaker) {
  const std::string rows = OfCatalogues("1, 2") + NumberBeginsWith("8086");
  Walk(Road::Jumping, 500, kProduct, rows + " ORDER BY P.PRODUCTDESCRIPTION",
       QuickOrder(500, u"8086*", u"-1"));
  Walk(Road::Page, 1000, kProduct, rows + " ORDER BY P.PARTNUMBER DESC, P.PRODUCTDESCRIPTION",
       QuickOrder(1000, u"8086*", u"1,2"), u"P.PARTNUMBER DESC");
}

TEST_F(LoadedLists, OfAQuickOrderForFewNumbersByTens) {
  WalkAllRoads(10, kProduct,
               OfCatalogues("1") + NumberBeginsWith("pci 8086:15") + " ORDER BY P.PRODUCTDESCRIPTION",
               QuickOrder(10, u"PCI 8086:15*", u"1"));
}

TEST_F(LoadedLists, OfTheLargestSupplier) {
  const Long supplier = SupplierBelow(1000000);
  const std::string rows =
      "SELECT P.PRODUCTID, P.BUYFROMPARTNUMBER, P.CLASSIFICATION, P.PRODUCTEXPIRYDATE FROM PRODUCT P WHERE "
      "P.BUSINESSPARTNERID = " +
      std::to_string(supplier);
  const Columns columns = {u"PRODUCTID", u"BUYFROMPARTNUMBER", u"CLASSIFICATION", u"PRODUCTEXPIRYDATE"};
  Walk(Road::Page, 500, columns, rows + " ORDER BY P.BUYFROMPARTNUMBER", Supplier(500, supplier));
  Walk(Road::Jumping, 1000, columns, rows + " ORDER BY P.CLASSIFICATION, P.BUYFROMPARTNUMBER",
       Supplier(1000, supplier), u"CLASSIFICATION");
  Walk(Road::WithoutPage, 50, columns,
       rows + " AND instr(lower(P.PRODUCTDESCRIPTION), 'adapter') > 0 ORDER BY P.BUYFROMPARTNUMBER",
       Supplier(50, supplier, u"PRODUCTDESCRIPTION", u"*adapter*"));
}

TEST_F(LoadedLists, OfASmallSupplierByTens) {
  const Long supplier = SupplierBelow(200);
  WalkAllRoads(10, {u"PRODUCTID", u"NUMBER"},
               "SELECT P.PRODUCTID, P.NUMBER FROM PRODUCT P WHERE P.BUSINESSPARTNERID = " +
                   std::to_string(supplier) + " ORDER BY P.PRODUCTDESCRIPTION DESC",
               Supplier(10, supplier), u"PRODUCTDESCRIPTION DESC");
}

// Four of the favourites are in no category any more.
TEST_F(LoadedLists, OfFavourites) {
  const std::string rows =
      OfCatalogues("1, 2") +
      " AND P.PRODUCTID IN (SELECT F.PRODUCTID FROM FAVORITES F WHERE F.USERID = 'demo' AND F.PRESENT = 1";
  WalkAllRoads(4, kProduct, rows + ") ORDER BY P.PRODUCTDESCRIPTION",
               [this](const auto& page, const String& state) {
                 return m_catalog.GetFavoriteProducts(page, state, 4, u"demo", Day(), u"-1", -1);
               });
  WalkAllRoads(2, kProduct, rows + " AND F.WAREHOUSEFAVORITE = 1) ORDER BY P.PRODUCTDESCRIPTION",
               [this](const auto& page, const String& state) {
                 return m_catalog.GetFavoriteProducts(page, state, 2, u"demo", Day(), u"1,2",
                                                      WarehouseFavorite);
               });
  WalkAllRoads(
      2, kProduct, rows + " AND F.FOLDERID = 1) ORDER BY P.PARTNUMBER, P.PRODUCTDESCRIPTION",
      [this](const auto& page, const String& state) {
        return m_catalog.GetFavoriteProductsEx(page, state, 2, u"demo", Day(), u"-1", DefaultFavorite, 1);
      },
      u"P.PARTNUMBER");
}

TEST_F(LoadedLists, OfPrices) {
  const Long product = m_plain.Number(
      "SELECT PRODUCTID FROM CATALOGPRODUCTPRICE GROUP BY 1 ORDER BY COUNT(*) DESC, 1 LIMIT 1");
  const Columns columns = {u"PRODUCTID",       u"GROUPBY", u"PRICEEFFECTIVEDATE",
                           u"PRICEEXPIRYDATE", u"PRICE",   u"CURRENCYCODE"};
  const std::string rows = "SELECT * FROM CATALOGPRODUCTPRICE WHERE PRODUCTID = " + std::to_string(product);
  WalkAllRoads(3, columns, rows + " AND GROUPBY = '' ORDER BY PRICEEFFECTIVEDATE",
               [&](const auto& page, const String& state) {
                 return m_catalog.GetProductProcurementPrices(page, state, 3, product);
               });
  WalkAllRoads(
      3, columns, rows + " AND GROUPBY = 'DEALER' ORDER BY PRICE DESC",
      [&](const auto& page, const String& state) {
        return m_catalog.GetProductProcurementPricesEx(page, state, 3, product, u"DEALER");
      },
      u"PRICE DESC");
}

TEST_F(LoadedLists, OfPropertyValues) {
  const Long product =
      m_plain.Number("SELECT PRODUCTID FROM PRODUCTPROPVALUE GROUP BY 1 ORDER BY COUNT(*) DESC, 1 LIMIT 1");
  const std::string rows = "SELECT * FROM PRODUCTPROPVALUE WHERE PRODUCTID = " + std::to_string(product);
  const Columns columns = {u"PRODUCTID", u"PROPERTYID", u"PROPERTYVALUE"};
  const auto open = [&](const auto& page, const String& state) {
    return m_catalog.GetProductPropertyValues(page, state, 3, product);
  };
  WalkAllRoads(3, columns, rows + " ORDER BY PROPERTYID", open);
  WalkAllRoads(3, columns, rows + " ORDER BY PROPERTYVALUE DESC, PROPERTYID", open, u"PROPERTYVALUE DESC");
}

}  // namespace
}  // namespace varnel
