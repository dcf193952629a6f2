#include "varnel/catalog/FavoriteTypes.h"
#include "varnel/catalog/ListClauses.h"
#include "varnel/catalog/QueryTexts.h"

namespace varnel::catalog_text {

namespace {

String KindFilter(StringView column, Long type) {
  if (type == kAllFavoriteTypes) return {};
  return u" AND " + String(column) + (type == WarehouseFavorite ? u"=1" : u"=0");
}

// The user's favourites that some catalogue of the list reaches, whatever their kind.
String ReachableFavorites(const String& user, const String& catalogList) {
  return u"SELECT F.PRODUCTID FROM CATALOG C "
         u"INNER JOIN CATALOGNODE CN ON C.CATALOGID = CN.CATALOGID "
         u"INNER JOIN PRODUCTSBYCATEGORY PBC ON CN.CATEGORYID = PBC.CATEGORYID "
         u"INNER JOIN FAVORITES F ON PBC.PRODUCTID = F.PRODUCTID "
         u"WHERE F.USERID = " +
         user + CatalogFilter(catalogList);
}

}  // namespace

String FavoriteProducts(const String& iUserID, const String& iDate, const String& iFolderClause,
                        const String& iCatalogList, Long iFavoriteType) {
  return SelectProduct() + u", F.PRESENT " + FromCatalogToCategory() +
         u"INNER JOIN FAVORITES F ON F.PRODUCTID = PBC.PRODUCTID "
         u"INNER JOIN PRODUCT P ON P.PRODUCTID = F.PRODUCTID "
         u"WHERE (P.DISABLED = 0) AND " +
         EffectiveBy(iDate) + u" AND (F.USERID='" + iUserID + u"') AND (F.PRESENT = 1)" + iFolderClause +
         CatalogFilter(iCatalogList) + KindFilter(u"F.WAREHOUSEFAVORITE", iFavoriteType);
}

String FolderClause(Long iFolderID) { return u" AND (F.FOLDERID =" + DecimalText(iFolderID) + u")"; }

String StaleFavoriteCondition(const String& iUserID, const String& iCatalogList, Long iFavoriteType) {
  const String user = u"'" + iUserID + u"'";
  return u"WHERE USERID = " + user + KindFilter(u"WAREHOUSEFAVORITE", iFavoriteType) +
         u" AND PRODUCTID NOT IN (" + ReachableFavorites(user, iCatalogList) + u")";
}

String SelectFavorites(const String& iCondition) { return u"SELECT PRODUCTID FROM FAVORITES " + iCondition; }

String DeleteFavorites(const String& iCondition) { return u"DELETE FROM FAVORITES " + iCondition; }

}  // namespace varnel::catalog_text
