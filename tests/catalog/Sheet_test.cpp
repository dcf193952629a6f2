// The sheet of one product: plain recordsets on connections of their own.
#include "tests/catalog/CatalogFixture.h"

namespace varnel {
namespace {

using hostfake::FakeRecordset;

using CatalogSheet = CatalogTest;

TEST_F(CatalogSheet, OpensARecordsetOnAConnectionOfItsOwn) {
  const ObjectPtr product = m_catalog.GetProductAttachmentData(5);
  const std::string sql =
      "SELECT ATTACHEDFILE.*, ICON.ICONFILENAME FROM ATTACHEDFILE INNER JOIN ICON ON ATTACHEDFILE.ICONID = "
      "ICON.ICONID WHERE ATTACHEDFILE.PRODUCTID = 5";
  EXPECT_THAT(m_host.Trace().Lines(),
              ElementsAre("Connection 1: CursorLocation 2", "Context: CreateInstance Ostrand.Configuration",
                          "Configuration: PrepareConfiguration 0",
                          "Configuration: GetConfigurationConnectionString Quenby",
                          "Connection 1: Open \"catalogue\", \"\", \"\", -1", "Recordset 1: CursorLocation 2",
                          "Recordset 1: Open " + sql + " (1, 1, 1)"));
}

TEST_F(CatalogSheet, LeavesTheRecordsetAndItsConnectionToTheCaller) {
  {
    const auto recordset = CastObject<FakeRecordset>(m_catalog.GetProductData(5));
    EXPECT_TRUE(recordset->IsOpen());
    EXPECT_TRUE(recordset->IsEOF());
    EXPECT_EQ(m_host.Database().LiveConnections(), 1);
    const auto connection = recordset->GetActiveConnection();
    recordset->Close();
    connection->Close();
  }
  ExpectAllClosed();
}

TEST_F(CatalogSheet, OfAnUnknownProductIsEmptyAndNoError) {
  for (const ObjectPtr& answer :
       {m_catalog.GetProductData(-1), m_catalog.GetProductPropertyData(-1),
        m_catalog.GetProductAttachmentData(-1), m_catalog.GetAlternativeProducts(-1, Long{-1}),
        m_catalog.GetProductPriceInfo(-1, Day())}) {
    EXPECT_TRUE(CastObject<FakeRecordset>(answer)->IsEOF());
  }
  EXPECT_THAT(LoggedMethods(), IsEmpty());
}

TEST_F(CatalogSheet, ShowsAllPropertiesOrThoseOfTheSheet) {
  bool sheetOnly = false;
  m_catalog.GetProductPropertyData(5);
  const String all = LastSql();
  EXPECT_TRUE(all.starts_with(u"SELECT PRODUCTPROPVALUE.*, "));
  m_catalog.GetProductPropertyDataEx(5, sheetOnly);
  EXPECT_EQ(LastSql(), all);
  sheetOnly = true;
  m_catalog.GetProductPropertyDataEx(5, sheetOnly);
  EXPECT_TRUE(LastSql().starts_with(u"SELECT  PRODUCTPROPVALUE.*, "));
  EXPECT_TRUE(sheetOnly);
}

TEST_F(CatalogSheet, LeavesTheStockClauseOutForMinusOneOnly) {
  const auto clauseOf = [&](const Variant& flag) {
    m_catalog.GetAlternativeProducts(5, flag);
    return LastSql().substr(LastSql().find(u"ORIGINALPRODUCT = 5") + 19);
  };
  EXPECT_EQ(clauseOf(Long{-1}), u"");
  EXPECT_EQ(clauseOf(u"-1"), u"");
  EXPECT_EQ(clauseOf(true), u"");  // True is -1
  EXPECT_EQ(clauseOf(Long{0}), u" AND PRODUCT.STOCKITEM = 0");
  EXPECT_EQ(clauseOf(Long{1}), u" AND PRODUCT.STOCKITEM = 1");
  EXPECT_EQ(clauseOf(u"1.0"), u" AND PRODUCT.STOCKITEM = 1.0");
  EXPECT_EQ(clauseOf(Variant()), u" AND PRODUCT.STOCKITEM = ");
}

TEST_F(CatalogSheet, KnowsWhetherAlternativesArePresentAndClosesBoth) {
  EXPECT_FALSE(m_catalog.AlternativeProductsPresent(5, Day(), Long{-1}));
  AnswerRows(1);
  EXPECT_TRUE(m_catalog.AlternativeProductsPresent(5, Day(), u"1.0"));
  EXPECT_TRUE(LastSql().ends_with(
      u"AND (P.PRODUCTEFFECTIVITYDATE <= {d '2024-03-05'}OR P.PRODUCTEFFECTIVITYDATE IS NULL) AND "
      u"(P.PRODUCTEXPIRYDATE >= {d '2024-03-05'}OR P.PRODUCTEXPIRYDATE IS NULL) AND P.STOCKITEM = 1.0"));
  EXPECT_THAT(m_host.Trace().LinesOf("Recordset 2: A"), ElementsAre("Recordset 2: ActiveConnection"));
  EXPECT_EQ(m_host.Trace().Lines().at(m_host.Trace().Lines().size() - 2), "Recordset 2: Close");
  EXPECT_EQ(m_host.Trace().Lines().back(), "Connection 2: Close");
  ExpectAllClosed();
}

TEST_F(CatalogSheet, FindsTheCategoryOfANode) {
  m_answer = {{{u"CATEGORYID", hostfake::kTypeLong}}, {{Long{7}}}, {}, {}};
  EXPECT_EQ(m_catalog.GetCategoryIDForNode(9), 7);
  EXPECT_EQ(LastSql(), u"SELECT CATEGORYID FROM CATALOGNODE WHERE CATALOGNODE.NODEID = 9");
  m_answer.rows = {{Null()}};
  EXPECT_EQ(m_catalog.GetCategoryIDForNode(9), -1);
  m_answer.rows.clear();
  EXPECT_EQ(m_catalog.GetCategoryIDForNode(9), -1);
  EXPECT_THAT(m_host.Trace().LinesOf("Connection 3: Close"), ElementsAre("Connection 3: Close"));
  ExpectAllClosed();
}

TEST_F(CatalogSheet, AsksTheConfigurationOnceUnlessItsAnswerWasEmpty) {
  m_host.Configuration().SetConnectionString(u"Quenby", u"");
  m_catalog.GetProductData(5);
  m_catalog.GetProductData(5);
  const auto asked = [&] { return m_host.Trace().LinesOf("Configuration: Get").size(); };
  EXPECT_EQ(asked(), 2U);
  m_host.Configuration().SetConnectionString(u"Quenby", u"catalogue");
  m_catalog.GetProductData(5);
  m_catalog.GetProductData(5);
  EXPECT_EQ(asked(), 3U);
  EXPECT_EQ(m_host.Trace().LinesOf("Connection 4: Open").size(), 1U);
  CatalogQuery other;
  other.GetProductData(5);
  EXPECT_EQ(asked(), 4U);
}

TEST_F(CatalogSheet, AsksForThePricesOfADay) {
  m_catalog.GetProductPriceInfo(5, Day());
  EXPECT_EQ(LastSql(),
            u"SELECT * FROM CATALOGPRODUCTPRICE WHERE (PRODUCTID = 5) AND  GROUPBY ='' AND "
            u"(PRICEEFFECTIVEDATE <= {d '2024-03-05'}) AND (PRICEEXPIRYDATE IS NULL OR PRICEEXPIRYDATE >= {d "
            u"'2024-03-05'})");
}

TEST_F(CatalogSheet, AsksForAGroupOfPricesOnlyForTheLengthOfACall) {
  m_catalog.GetProductPriceInfo(5, Day());
  const String plain = LastSql();
  m_catalog.GetProductPriceInfoEx(5, Day(), u"it's");
  EXPECT_NE(LastSql().find(u" GROUPBY ='it's' AND"), String::npos);
  m_catalog.GetProductPriceInfoEx(5, Day(), u"");
  EXPECT_EQ(LastSql(), plain);
  m_catalog.GetProductProcurementPricesEx(NewPage(), u"", 10, 5, u"trade");
  EXPECT_NE(LastSql().find(u" GROUPBY = 'trade'"), String::npos);
  m_catalog.GetProductPriceInfo(5, Day());
  EXPECT_EQ(LastSql(), plain);
}

TEST_F(CatalogSheet, KeepsTheGroupOfAFailedCall) {
  m_host.Database().FailExecute(hostfake::Failure(-7, u"gone"));
  EXPECT_EQ(hostfake::NumberOf([&] { m_catalog.GetProductPriceInfoEx(5, Day(), u"trade"); }), -7);
  m_host.Database().ClearFaults();
  m_catalog.GetProductPriceInfo(5, Day());
  EXPECT_NE(LastSql().find(u" GROUPBY ='trade' AND"), String::npos);
  m_catalog.GetProductPriceInfoEx(5, Day(), u"trade");
  m_catalog.GetProductPriceInfo(5, Day());
  EXPECT_NE(LastSql().find(u" GROUPBY ='' AND"), String::npos);
}

}  // namespace
}  // namespace varnel
