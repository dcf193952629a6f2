// Each procedure on a failure's way logs it and wraps its description once more.
#include "tests/catalog/CatalogFixture.h"

namespace varnel {
namespace {

using hostfake::ErrorOf;
using hostfake::Failure;
using hostfake::NumberOf;

const std::string kOwn = "Varnel.CatalogQuery.";

class CatalogFailures : public CatalogTest {
 protected:
  // The number that `call` raises, and the methods that logged it, without their common beginning.
  template <typename F>
  std::vector<std::string> PathOf(Long number, F&& call) {
    m_host.Log().Clear();
    EXPECT_EQ(NumberOf(std::forward<F>(call)), number);
    std::vector<std::string> path = LoggedMethods();
    for (std::string& method : path) {
      if (method.starts_with(kOwn)) method.erase(0, kOwn.size());
    }
    return path;
  }

  // The end of the path alone, which is the operation's own.
  template <typename F>
  std::string LastOf(Long number, F&& call) {
    const auto path = PathOf(number, std::forward<F>(call));
    return path.empty() ? std::string() : path.back();
  }
};

TEST_F(CatalogFailures, OfAStatementAreLoggedWithItsTextFirst) {
  m_host.Database().FailExecute(Failure(-7, u"gone", u"Engine"));
  const ErrInfo error = ErrorOf([&] { m_catalog.GetProductAttachmentData(5); });
  const std::string method =
      kOwn +
      "GetCatalogRecordset (executing SQL query: SELECT ATTACHEDFILE.*, ICON.ICONFILENAME FROM ATTACHEDFILE "
      "INNER JOIN ICON ON ATTACHEDFILE.ICONID = ICON.ICONID WHERE ATTACHEDFILE.PRODUCTID = 5)";
  EXPECT_THAT(LoggedMethods(), ElementsAre(method, kOwn + "GetProductAttachmentData"));
  EXPECT_EQ(error.Number, -7);
  EXPECT_EQ(error.Source, u"Engine");
  EXPECT_EQ(ToUtf8(error.Description),
            "\r\nERROR 0xFFFFFFF9\r\n METHOD: " + kOwn +
                "GetProductAttachmentData\r\n DESC: \r\nERROR 0xFFFFFFF9\r\n METHOD: " + method +
                "\r\n DESC: gone.\r\n.\r\n");
}

TEST_F(CatalogFailures, OfAStatementDropTheConnectionWithoutClosingIt) {
  m_host.Database().FailExecute(Failure(-7, u"gone"));
  EXPECT_EQ(NumberOf([&] { m_catalog.GetProductData(5); }), -7);
  EXPECT_THAT(m_host.Trace().LinesOf("Connection 1: Close"), IsEmpty());
  ExpectAllClosed();
}

TEST_F(CatalogFailures, OfAConnectionPassThreeProcedures) {
  m_host.Database().FailOpen(Failure(-7, u"no server"));
  const auto path = PathOf(-7, [&] { m_catalog.GetProductData(5); });
  ASSERT_EQ(path.size(), 3U);
  EXPECT_EQ(path[0], "GetCatalogConnection");
  EXPECT_TRUE(path[1].starts_with("GetCatalogRecordset (executing SQL query: SELECT DISTINCT "));
  EXPECT_EQ(path[2], "GetProductData");
  ExpectAllClosed();
}

TEST_F(CatalogFailures, OfTheConfigurationPassFourAndAreForgotten) {
  m_host.Configuration().FailGet(Failure(-7, u"no section"));
  const auto path = PathOf(-7, [&] { m_catalog.GetCategoryIDForNode(5); });
  EXPECT_EQ(path.size(), 4U);
  EXPECT_EQ(path[0], "GetCatalogConnectionString");
  EXPECT_EQ(path[1], "GetCatalogConnection");
  EXPECT_EQ(path[3], "GetCategoryIDForNode");
}

TEST_F(CatalogFailures, OfTheConfigurationsPreparationAreThoseOfTheConnectionString) {
  m_host.Configuration().FailPrepare(Failure(-7, u"not now"));
  const auto path = PathOf(-7, [&] { m_catalog.GetSupplierProducts(nullptr, u"", 10, 12, u"", u""); });
  EXPECT_THAT(path, ElementsAre("GetCatalogConnectionString", "GetDRecordset", "GetSupplierProducts"));
  EXPECT_THAT(m_host.Trace().LinesOf("Configuration: Get"), IsEmpty());
}

TEST_F(CatalogFailures, OfAMissingConfigurationComeFromItsCreation) {
  m_host.FailCreation(u"Ostrand.Configuration", Failure(429, u"no such class"));
  const auto path = PathOf(429, [&] { m_catalog.GetProductPriceInfo(5, Day()); });
  ASSERT_EQ(path.size(), 5U);
  EXPECT_EQ(path[0], "Lib_General.Gen_GetComponent");
  EXPECT_EQ(path[1], "GetCatalogConnectionString");
  EXPECT_EQ(path[4], "GetProductPriceInfo");
}

TEST_F(CatalogFailures, LeaveTheKnownConnectionStringAndTheEncoder) {
  m_catalog.GetProductData(5);
  m_host.Database().FailExecute(Failure(-7, u"gone"));
  EXPECT_EQ(NumberOf([&] { m_catalog.GetProductData(5); }), -7);
  m_host.Database().ClearFaults();
  m_catalog.GetProductData(5);
  EXPECT_EQ(m_host.Trace().LinesOf("Configuration: Get").size(), 1U);
}

TEST_F(CatalogFailures, OfAListPassItsOpeningAndItself) {
  const auto page = NewPage();
  m_host.Database().onRun = [](const String& sql) {
    if (sql.starts_with(u"SELECT")) throw Error(Failure(-7, u"gone"));
  };
  const std::string opening = "GetDRecordset";
  EXPECT_THAT(PathOf(-7, [&] { m_catalog.GetCatalogProducts(page, u"", 10, 7, u"demo", Day()); }),
              ElementsAre(opening, "GetCatalogProducts"));
  EXPECT_THAT(PathOf(-7, [&] { m_catalog.GetQuickOrderProducts(page, u"", 10, Day(), u"", u"-1"); }),
              ElementsAre(opening, "GetQuickOrderProducts"));
  EXPECT_THAT(PathOf(-7, [&] { m_catalog.GetSupplierProducts(page, u"", 10, 12, u"", u""); }),
              ElementsAre(opening, "GetSupplierProducts"));
  EXPECT_THAT(PathOf(-7, [&] { m_catalog.GetFavoriteProducts(page, u"", 10, u"demo", Day(), u"-1", -1); }),
              ElementsAre(opening, "GetFavoriteProducts"));
  EXPECT_THAT(
      PathOf(-7, [&] { m_catalog.GetFavoriteProductsEx(page, u"", 10, u"demo", Day(), u"-1", -1, 0); }),
      ElementsAre(opening, "GetFavoriteProductsEx"));
  EXPECT_THAT(PathOf(-7, [&] { m_catalog.GetProductPropertyValues(page, u"", 10, 5); }),
              ElementsAre(opening, "GetProductPropertyValues"));
  EXPECT_THAT(PathOf(-7, [&] { m_catalog.GetProductProcurementPrices(page, u"", 10, 5); }),
              ElementsAre(opening, "GetProductProcurementPrices"));
}

TEST_F(CatalogFailures, OfADamagedStateWithoutAPageAreThoseOfItsOpening) {
  EXPECT_THAT(PathOf(5, [&] { m_catalog.GetProductPropertyValues(nullptr, u"abc", 10, 5); }).size(), 2U);
  EXPECT_THAT(LoggedMethods(), ElementsAre(kOwn + "GetDRecordset", kOwn + "GetProductPropertyValues"));
}

TEST_F(CatalogFailures, OfTheSheetEndInItsOwnOperation) {
  m_host.Database().FailExecute(Failure(-7, u"gone"));
  EXPECT_EQ(LastOf(-7, [&] { m_catalog.GetProductData(5); }), "GetProductData");
  EXPECT_EQ(LastOf(-7, [&] { m_catalog.GetProductPropertyData(5); }), "GetProductPropertyData");
  EXPECT_EQ(LastOf(-7, [&] { m_catalog.GetProductAttachmentData(5); }), "GetProductAttachmentData");
  EXPECT_EQ(LastOf(-7, [&] { m_catalog.GetAlternativeProducts(5, Long{-1}); }), "GetAlternativeProducts");
  EXPECT_EQ(LastOf(-7, [&] { m_catalog.AlternativeProductsPresent(5, Day(), Long{-1}); }),
            "AlternativeProductsPresent");
  EXPECT_EQ(LastOf(-7, [&] { m_catalog.GetCategoryIDForNode(5); }), "GetCategoryIDForNode");
  EXPECT_EQ(LastOf(-7, [&] { m_catalog.CleanupFavorites(u"demo", u"-1", -1, -1); }), "CleanupFavorites");
  EXPECT_EQ(LastOf(-7, [&] { m_catalog.GetProductPriceInfo(5, Day()); }), "GetProductPriceInfo");
}

TEST_F(CatalogFailures, OfAllPropertiesPassBothOperations) {
  m_host.Database().FailExecute(Failure(-7, u"gone"));
  bool sheetOnly = false;
  auto path = PathOf(-7, [&] { m_catalog.GetProductPropertyDataEx(5, sheetOnly); });
  ASSERT_EQ(path.size(), 3U);
  EXPECT_EQ(path[1], "GetProductPropertyData");
  EXPECT_EQ(path[2], "GetProductPropertyDataEx");
  sheetOnly = true;
  path = PathOf(-7, [&] { m_catalog.GetProductPropertyDataEx(5, sheetOnly); });
  ASSERT_EQ(path.size(), 2U);
  EXPECT_EQ(path[1], "GetProductPropertyDataEx");
}

TEST_F(CatalogFailures, OfPricesOfAGroupAreLoggedByThePlainOperationsOnly) {
  m_host.Database().onRun = [](const String& sql) {
    if (sql.starts_with(u"SELECT")) throw Error(Failure(-7, u"gone"));
  };
  EXPECT_EQ(LastOf(-7, [&] { m_catalog.GetProductPriceInfoEx(5, Day(), u"trade"); }), "GetProductPriceInfo");
  EXPECT_THAT(PathOf(-7, [&] { m_catalog.GetProductProcurementPricesEx(nullptr, u"", 10, 5, u"trade"); }),
              ElementsAre("GetDRecordset", "GetProductProcurementPrices"));
}

TEST_F(CatalogFailures, OfArgumentsAreLoggedOnceAndReachNoDatabase) {
  EXPECT_THAT(PathOf(94, [&] { m_catalog.GetQuickOrderProducts(nullptr, u"", 10, Day(), Null(), u"-1"); }),
              ElementsAre("GetQuickOrderProducts"));
  EXPECT_THAT(PathOf(13, [&] { m_catalog.GetAlternativeProducts(5, u"many"); }),
              ElementsAre("GetAlternativeProducts"));
  EXPECT_THAT(PathOf(94, [&] { m_catalog.AlternativeProductsPresent(5, Day(), Null()); }),
              ElementsAre("AlternativeProductsPresent"));
  EXPECT_THAT(PathOf(6, [&] { m_catalog.GetProductPriceInfo(5, Date{1e9}); }),
              ElementsAre("GetProductPriceInfo"));
  EXPECT_THAT(m_host.Database().Lines(), IsEmpty());
}

TEST_F(CatalogFailures, OfAPageWithoutItsConnectionStringAreThoseOfTheDatabase) {
  m_host.Application().Remove(u"QuenbyConnection_ConnectionString");
  m_host.Database().onOpen = [](const String& text) {
    if (text.empty()) throw Error(Failure(-7, u"no connection string"));
  };
  const auto page = NewPage();
  EXPECT_THAT(PathOf(-7, [&] { m_catalog.GetProductPropertyValues(page, u"", 10, 5); }),
              ElementsAre("GetDRecordset", "GetProductPropertyValues"));
}

// A connection whose Close fails, as one that the server has dropped.
class LostConnection : public hostfake::FakeConnection {
 public:
  using FakeConnection::FakeConnection;
  void Close() override { throw Error(Failure(-9, u"lost")); }
};

TEST(CatalogClosing, FailsAsAProcedureOfItsOwn) {
  class LosingHost : public hostfake::FakeHost {
   public:
    std::shared_ptr<host::IConnection> CreateConnection() override {
      return std::make_shared<LostConnection>(m_shared);
    }
    std::shared_ptr<host::IRecordset> CreateRecordset() override {
      return std::make_shared<hostfake::FakeRecordset>(m_shared);
    }
    hostfake::FakeDatabasePtr m_shared =
        std::make_shared<hostfake::FakeDatabase>(std::make_shared<hostfake::Trace>());
  };
  LosingHost host;
  host.m_shared->AnswerWith([](const String&) {
    return hostfake::FakeAnswer{{{u"CATEGORYID", hostfake::kTypeLong}}, {{Long{7}}}, {}, {}};
  });
  CatalogQuery catalog;
  EXPECT_EQ(NumberOf([&] { catalog.GetCategoryIDForNode(9); }), -9);
  ASSERT_EQ(host.Log().Entries().size(), 2U);
  EXPECT_NE(ToUtf8(host.Log().Entries()[0].text).find(" METHOD: " + kOwn + "CloseRecordset\r\n"),
            std::string::npos);
}

// An error of number 0 is none: nothing is logged or raised, and the result is that of the handlers.
TEST_F(CatalogFailures, WithoutANumberGiveTheResultsOfTheHandlers) {
  m_host.Database().FailOpen(Failure(0, u"nothing"));
  EXPECT_EQ(m_catalog.GetProductPropertyValues(nullptr, u"", 10, 5), nullptr);
  EXPECT_EQ(m_catalog.GetSupplierProducts(nullptr, u"", 10, 5, u"", u""), nullptr);
  EXPECT_THAT(LoggedMethods(), IsEmpty());
}

}  // namespace
}  // namespace varnel
