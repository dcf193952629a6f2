// Favourites: two lists, and the removal of those that no catalogue reaches any more.
#include <algorithm>

#include "varnel/catalog/CatalogQuery.h"
#include "varnel/catalog/QueryTexts.h"
#include "varnel/catalog/Reporting.h"

namespace varnel {

namespace {

const String kKeyFields = u"P.PRODUCTDESCRIPTION";

constexpr Long kDefaultThreshold = 4;

}  // namespace

CatalogQuery::List CatalogQuery::GetFavoriteProducts(const PagePtr& i_oPage,
                                                     const String& i_sPersistedStateInfo, Long i_lPageSize,
                                                     const String& i_sUserID, Date i_dDate,
                                                     const String& i_sCatalogList, Long i_lFavoriteType) {
  return Reporting(u".GetFavoriteProducts", nullptr, [&] {
    const String query =
        catalog_text::FavoriteProducts(i_sUserID, SQLDay(i_dDate), u"", i_sCatalogList, i_lFavoriteType);
    return GetDRecordset(i_oPage, i_sPersistedStateInfo, i_lPageSize, kKeyFields, query);
  });
}

CatalogQuery::List CatalogQuery::GetFavoriteProductsEx(const PagePtr& i_oPage,
                                                       const String& i_sPersistedStateInfo, Long i_lPageSize,
                                                       const String& i_sUserID, Date i_dDate,
                                                       const String& i_sCatalogList, Long i_lFavoriteType,
                                                       Long i_lFolderID) {
  return Reporting(u".GetFavoriteProductsEx", nullptr, [&] {
    const String folder = catalog_text::FolderClause(std::max(i_lFolderID, Long{0}));
    const String query =
        catalog_text::FavoriteProducts(i_sUserID, SQLDay(i_dDate), folder, i_sCatalogList, i_lFavoriteType);
    return GetDRecordset(i_oPage, i_sPersistedStateInfo, i_lPageSize, kKeyFields, query);
  });
}

// The count and the deletion judge by the same condition, on two connections and in no transaction: a
// favourite may come or go in between.
Long CatalogQuery::CleanupFavorites(const String& i_sUserID, const String& i_sCatalogList,
                                    Long i_lFavoriteType, Long i_lThreshold) {
  return Reporting(u".CleanupFavorites", Long{-1}, [&] {
    const Long threshold = i_lThreshold == -1 ? kDefaultThreshold : i_lThreshold;
    const String stale = catalog_text::StaleFavoriteCondition(i_sUserID, i_sCatalogList, i_lFavoriteType);
    if (CountRows(catalog_text::SelectFavorites(stale)) < threshold) return Long{0};
    return ExecuteChange(catalog_text::DeleteFavorites(stale));
  });
}

}  // namespace varnel
