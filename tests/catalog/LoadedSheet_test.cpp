// Product sheets, prices of a day and the clean-up on the shop's whole catalogue, against plain queries.
#include "tests/catalog/LoadedCatalogue.h"

namespace varnel {
namespace {

using Columns = std::vector<StringView>;

std::string Joined(const Columns& columns, const char* table) {
  std::string text;
  for (const StringView column : columns)
    text += (text.empty() ? "" : ", ") + std::string(table) + "." + ToUtf8(column);
  return text;
}

class LoadedSheet : public LoadedCatalogue {
 protected:
  void SetUp() override { m_host = NewHost(); }

  // Some of all kinds: every so many of all, and the first withdrawn ones and those with the most of
  // everything.
  std::vector<Long> Products() const {
    std::vector<Long> ids;
    for (const std::string& id : m_plain.Rows(
             "SELECT PRODUCTID FROM PRODUCT WHERE PRODUCTID % 5003 = 16 UNION SELECT * FROM (SELECT "
             "PRODUCTID "
             "FROM PRODUCT WHERE PRODUCTEXPIRYDATE IS NOT NULL LIMIT 3) UNION SELECT * FROM (SELECT "
             "ORIGINALPRODUCT FROM ALTERNATIVEPRODUCTS GROUP BY 1 ORDER BY COUNT(*) DESC LIMIT 3) UNION "
             "SELECT * FROM (SELECT A.ORIGINALPRODUCT FROM ALTERNATIVEPRODUCTS A JOIN PRODUCT P ON "
             "P.PRODUCTID "
             "= A.ALTERNATIVEPRODUCT WHERE P.PRODUCTEXPIRYDATE IS NOT NULL LIMIT 3)"))
      ids.push_back(static_cast<Long>(std::stol(id)));
    return ids;
  }

  std::unique_ptr<LiveHost> m_host;
};

TEST_F(LoadedSheet, IsOneRowOfTheProductItsUnitAndMakerWithMarks) {
  const Columns product = {u"PRODUCTID",
                           u"TAXCODE",
                           u"PROPERTYGROUPID",
                           u"MANUFACTURERID",
                           u"CONTRACTCODE",
                           u"NUMBER",
                           u"UNITCODE",
                           u"COMMODITYCODE",
                           u"USERID",
                           u"BUSINESSPARTNERID",
                           u"PRODUCTDESCRIPTION",
                           u"PRODUCTREMARK",
                           u"IMAGEFILENAME",
                           u"URL",
                           u"PRODUCTXML",
                           u"PARTNUMBER",
                           u"BUYFROMPARTNUMBER",
                           u"BUYFROMCONTACTEMAIL",
                           u"PRODUCTEFFECTIVITYDATE",
                           u"PRODUCTEXPIRYDATE",
                           u"DISABLED",
                           u"CONFIGURABLE",
                           u"CLASSIFICATION",
                           u"MINORDERQTY",
                           u"MULTIPLEOF",
                           u"BUYFROMCONTACTINFO",
                           u"NONPHYSICAL",
                           u"DATEUPDATED",
                           u"COMPANYNR",
                           u"STOCKITEM",
                           u"GTIN",
                           u"PRICINGMETHOD",
                           u"UNSPSCCODE",
                           u"MULTIPLEBUYER",
                           u"MFRPARTNUMBER",
                           u"LOTSIZE",
                           u"DELIVERYLEADTIME",
                           u"TECHNICALIMAGE",
                           u"CLASSCODE",
                           u"PRICEQUANTITY",
                           u"VERSION",
                           u"SERVICEITEM",
                           u"SUPPLIERCATALOGID"};
  Columns all = product;
  for (const StringView name : {u"UNITDESCRIPTION", u"MANUFACTURERNAME", u"MANUFACTURERCODE", u"ATTACHEDID",
                                u"ALTERNATIVEID", u"PROPVALUEID"})
    all.push_back(name);
  for (const Long id : Products()) {
    const auto expected = m_plain.Rows(
        "SELECT " + Joined(product, "P") +
        ", (SELECT UNITDESCRIPTION FROM UNIT U WHERE U.UNITCODE = P.UNITCODE), M.MANUFACTURERNAME, "
        "M.MANUFACTURERCODE, (SELECT max(PRODUCTID) FROM ATTACHEDFILE WHERE PRODUCTID = P.PRODUCTID), "
        "(SELECT "
        "max(ORIGINALPRODUCT) FROM ALTERNATIVEPRODUCTS WHERE ORIGINALPRODUCT = P.PRODUCTID), (SELECT "
        "max(PRODUCTID) FROM PRODUCTPROPVALUE WHERE PRODUCTID = P.PRODUCTID) FROM PRODUCT P, MANUFACTURER M "
        "WHERE M.MANUFACTURERID = P.MANUFACTURERID AND P.PRODUCTID = " +
        std::to_string(id));
    ASSERT_EQ(expected.size(), 1U);
    EXPECT_EQ(Take(m_catalog.GetProductData(id), all), expected);
  }
}

TEST_F(LoadedSheet, HasItsPropertiesInBothForms) {
  const Columns columns = {u"PRODUCTID", u"PROPERTYID", u"PROPERTYVALUE", u"PROPERTYNAME"};
  const std::string rows =
      "SELECT V.*, (SELECT PROPERTYNAME FROM PROPERTY N WHERE N.PROPERTYID = V.PROPERTYID) AS NAME, (SELECT "
      "DATATYPE FROM PROPERTY N WHERE N.PROPERTYID = V.PROPERTYID) AS TYPE FROM PRODUCTPROPVALUE V WHERE "
      "V.PRODUCTID = ";
  for (const Long id : Products()) {
    const std::string mine = rows + std::to_string(id);
    const std::string group =
        " G, PROPSBYPROPGROUP S WHERE S.PROPERTYID = G.PROPERTYID AND S.SHOWINPRODUCTSHEET = 1 AND "
        "S.PROPERTYGROUPID = (SELECT PROPERTYGROUPID FROM PRODUCT WHERE PRODUCTID = G.PRODUCTID) ORDER BY "
        "S.SEQUENCE, TYPE DESC, NAME";
    const std::string shown = "SELECT G.PRODUCTID, G.PROPERTYID, G.PROPERTYVALUE, NAME FROM (" + mine + ")";
    EXPECT_EQ(Take(m_catalog.GetProductPropertyData(id), columns),
              m_plain.Rows(shown + " G ORDER BY TYPE DESC, NAME COLLATE NOCASE"));
    bool sheetOnly = true;
    EXPECT_EQ(Take(m_catalog.GetProductPropertyDataEx(id, sheetOnly), columns), m_plain.Rows(shown + group));
    sheetOnly = false;
    EXPECT_EQ(Take(m_catalog.GetProductPropertyDataEx(id, sheetOnly), columns),
              Take(m_catalog.GetProductPropertyData(id), columns));
  }
}

std::vector<std::string> Sorted(std::vector<std::string> rows) {
  std::sort(rows.begin(), rows.end());
  return rows;
}

// Neither query has an order.
TEST_F(LoadedSheet, HasItsAttachmentsAndAlternatives) {
  const Columns files = {u"ATTACHEDFILEID", u"PRODUCTID",   u"ICONID",
                         u"FILENAME",       u"DESCRIPTION", u"ICONFILENAME"};
  const Columns others = {u"ORIGINALPRODUCT",    u"ALTERNATIVEPRODUCT", u"SEQUENCE",
                          u"PRODUCTDESCRIPTION", u"DISABLED",           u"PRODUCTEFFECTIVITYDATE",
                          u"PRODUCTEXPIRYDATE"};
  std::size_t found = 0;
  for (const Long id : Products()) {
    const std::string number = std::to_string(id);
    const auto attachments = m_plain.Rows(
        "SELECT F.*, I.ICONFILENAME FROM ATTACHEDFILE F, ICON I WHERE I.ICONID = F.ICONID AND F.PRODUCTID "
        "= " +
        number);
    EXPECT_EQ(Sorted(Take(m_catalog.GetProductAttachmentData(id), files)), Sorted(attachments));
    const std::string rows =
        "SELECT A.*, P.PRODUCTDESCRIPTION, P.DISABLED, P.PRODUCTEFFECTIVITYDATE, P.PRODUCTEXPIRYDATE FROM "
        "PRODUCT P, ALTERNATIVEPRODUCTS A WHERE P.PRODUCTID = A.ALTERNATIVEPRODUCT AND A.ORIGINALPRODUCT = " +
        number;
    const auto alternatives = m_plain.Rows(rows);
    EXPECT_EQ(Sorted(Take(m_catalog.GetAlternativeProducts(id, Long{-1}), others)), Sorted(alternatives));
    EXPECT_EQ(Sorted(Take(m_catalog.GetAlternativeProducts(id, Long{0}), others)),
              Sorted(m_plain.Rows(rows + " AND P.STOCKITEM = 0")));
    const bool present = !m_plain
                              .Rows(rows +
                                    " AND P.DISABLED = 0 AND coalesce(P.PRODUCTEFFECTIVITYDATE, '') < "
                                    "'2090-01-01 00:00:01' AND coalesce(P.PRODUCTEXPIRYDATE, '9') >= "
                                    "'2090-01-01 00:00:00'")
                              .empty();
    EXPECT_EQ(m_catalog.AlternativeProductsPresent(id, Day(), Long{-1}), present) << id;
    found += attachments.size() + alternatives.size();
  }
  EXPECT_GT(found, 20U);
}

TEST_F(LoadedSheet, HasThePricesOfADayForBothGroups) {
  const Columns columns = {u"PRODUCTID",       u"GROUPBY", u"PRICEEFFECTIVEDATE",
                           u"PRICEEXPIRYDATE", u"PRICE",   u"CURRENCYCODE"};
  const auto expected = [&](Long id, const std::string& group, const std::string& day) {
    return m_plain.Rows("SELECT * FROM CATALOGPRODUCTPRICE WHERE PRODUCTID = " + std::to_string(id) +
                        " AND GROUPBY = '" + group + "' AND '" + day +
                        "' BETWEEN date(PRICEEFFECTIVEDATE) AND coalesce(date(PRICEEXPIRYDATE), '9')");
  };
  std::size_t found = 0;
  for (const Long id : Products()) {
    for (const DateParts day : {DateParts{2023, 12, 31}, DateParts{2024, 1, 1}, DateParts{2024, 6, 30},
                                DateParts{2024, 12, 31}, DateParts{2030, 5, 5}}) {
      const Date date = MakeDate(day);
      const std::string text = TextOf(Variant(date)).substr(0, 10);
      const auto plain = expected(id, "", text);
      EXPECT_EQ(Take(m_catalog.GetProductPriceInfo(id, date), columns), plain) << id << " on " << text;
      EXPECT_EQ(Take(m_catalog.GetProductPriceInfoEx(id, date, u"DEALER"), columns),
                expected(id, "DEALER", text));
      found += plain.size();
    }
  }
  EXPECT_GT(found, 20U);
}

TEST_F(LoadedSheet, KnowsTheCategoryOfEachNode) {
  for (const std::string& row : m_plain.Rows("SELECT NODEID, CATEGORYID FROM CATALOGNODE")) {
    const auto comma = row.find(',');
    EXPECT_EQ(std::to_string(m_catalog.GetCategoryIDForNode(static_cast<Long>(std::stol(row)))),
              row.substr(comma + 1));
  }
  EXPECT_EQ(m_catalog.GetCategoryIDForNode(0), -1);
}

TEST_F(LoadedSheet, LosesStaleFavouritesFromFourOn) {
  const std::string stale =
      "SELECT count(*) FROM FAVORITES WHERE PRODUCTID NOT IN (SELECT PRODUCTID FROM PRODUCTSBYCATEGORY) AND "
      "USERID = ";
  const std::string all = "SELECT count(*) FROM FAVORITES WHERE USERID = 'demo'";
  const Long before = m_plain.Number(all);
  ASSERT_EQ(m_plain.Number(stale + "'demo'"), 4);
  ASSERT_EQ(m_plain.Number(stale + "'anna'"), 3);
  EXPECT_EQ(m_catalog.CleanupFavorites(u"anna", u"-1", -1, -1), 0);
  EXPECT_EQ(m_catalog.CleanupFavorites(u"demo", u"-1", -1, -1), 4);
  EXPECT_EQ(m_plain.Number(stale + "'demo'"), 0);
  EXPECT_EQ(m_plain.Number(stale + "'anna'"), 3);
  EXPECT_EQ(m_plain.Number(all), before - 4);
}

}  // namespace
}  // namespace varnel
