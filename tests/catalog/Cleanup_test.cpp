// The removal of favourites that no catalogue reaches any more.
#include "tests/catalog/CatalogFixture.h"

namespace varnel {
namespace {

const String kReachable =
    u"SELECT F.PRODUCTID FROM CATALOG C INNER JOIN CATALOGNODE CN ON C.CATALOGID = CN.CATALOGID INNER JOIN "
    u"PRODUCTSBYCATEGORY PBC ON CN.CATEGORYID = PBC.CATEGORYID INNER JOIN FAVORITES F ON PBC.PRODUCTID = "
    u"F.PRODUCTID WHERE F.USERID = 'demo'";

class CatalogCleanup : public CatalogTest {
 protected:
  CatalogCleanup() { m_host.Database().Answer(u"DELETE FROM FAVORITES " + kAllStale, {{}, {}, {}, {}, 6}); }

  Long Cleanup(Long threshold = -1) { return m_catalog.CleanupFavorites(u"demo", u"-1", -1, threshold); }

  const String kAllStale = u"WHERE USERID = 'demo' AND PRODUCTID NOT IN (" + kReachable + u")";
};

TEST_F(CatalogCleanup, CountsOnOneConnectionAndDeletesOnAnother) {
  AnswerRows(4);
  EXPECT_EQ(Cleanup(), 6);
  const std::string condition = ToUtf8(kAllStale);
  EXPECT_THAT(m_host.Database().Lines(),
              ElementsAre("Connection 1: CursorLocation 2",                    //
                          "Connection 1: Open \"catalogue\", \"\", \"\", -1",  //
                          "Recordset 1: CursorLocation 2",                     //
                          "Recordset 1: Open SELECT PRODUCTID FROM FAVORITES " + condition + " (1, 1, 1)",
                          "Recordset 1: ActiveConnection",                     //
                          "Recordset 1: Close",                                //
                          "Connection 1: Close",                               //
                          "Connection 2: CursorLocation 2",                    //
                          "Connection 2: Open \"catalogue\", \"\", \"\", -1",  //
                          "Connection 2: Execute DELETE FROM FAVORITES " + condition + " (-1)",
                          "Connection 2: Close"));
  ExpectAllClosed();
}

TEST_F(CatalogCleanup, LeavesFewerThanFourAlone) {
  AnswerRows(3);
  EXPECT_EQ(Cleanup(), 0);
  EXPECT_TRUE(LastSql().starts_with(u"SELECT PRODUCTID FROM FAVORITES WHERE"));
  ExpectAllClosed();
}

TEST_F(CatalogCleanup, TakesItsThresholdInclusively) {
  AnswerRows(2);
  EXPECT_EQ(Cleanup(3), 0);
  EXPECT_EQ(Cleanup(2), 6);
}

TEST_F(CatalogCleanup, AlwaysDeletesWithAThresholdOfZeroOrBelowMinusOne) {
  m_host.Database().Answer(u"DELETE FROM FAVORITES " + kAllStale, {{}, {}, {}, {}, 0});
  EXPECT_EQ(Cleanup(0), 0);
  EXPECT_TRUE(LastSql().starts_with(u"DELETE "));
  EXPECT_EQ(Cleanup(-2), 0);
  EXPECT_TRUE(LastSql().starts_with(u"DELETE "));
}

TEST_F(CatalogCleanup, FiltersTheKindOutsideAndTheCataloguesInside) {
  m_catalog.CleanupFavorites(u"demo", u"1,2", WarehouseFavorite, -1);
  EXPECT_EQ(LastSql(),
            u"SELECT PRODUCTID FROM FAVORITES WHERE USERID = 'demo' AND WAREHOUSEFAVORITE=1 AND "
            u"PRODUCTID NOT IN (" +
                kReachable + u" AND (C.CATALOGID IN (1,2)))");
  m_catalog.CleanupFavorites(u"demo", u"  ", DefaultFavorite, -1);
  EXPECT_EQ(LastSql(),
            u"SELECT PRODUCTID FROM FAVORITES WHERE USERID = 'demo' AND WAREHOUSEFAVORITE=0 AND "
            u"PRODUCTID NOT IN (" +
                kReachable + u" AND (0=1))");
}

TEST_F(CatalogCleanup, OfAFailedDeletionDropsTheConnectionWithoutClosingIt) {
  AnswerRows(4);
  hostfake::FakeAnswer failing;
  failing.error = hostfake::Failure(-8, u"locked");
  m_host.Database().Answer(u"DELETE FROM FAVORITES " + kAllStale, failing);
  EXPECT_EQ(hostfake::NumberOf([&] { Cleanup(); }), -8);
  EXPECT_THAT(LoggedMethods(), ElementsAre("Varnel.CatalogQuery.CleanupFavorites"));
  EXPECT_THAT(m_host.Trace().LinesOf("Connection 2: Close"), IsEmpty());
  ExpectAllClosed();
}

}  // namespace
}  // namespace varnel
