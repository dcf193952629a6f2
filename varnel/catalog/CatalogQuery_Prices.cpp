// Prices by group and period. The `Ex` operations set the group that the plain ones ask for; where a plain
// one raises, the group stays.
#include "varnel/catalog/CatalogQuery.h"
#include "varnel/catalog/QueryTexts.h"
#include "varnel/catalog/Reporting.h"

namespace varnel {

CatalogQuery::List CatalogQuery::GetProductProcurementPrices(const PagePtr& i_oPage,
                                                             const String& i_sPersistedStateInfo,
                                                             Long i_lPageSize, Long i_lProductID) {
  return Reporting(u".GetProductProcurementPrices", nullptr, [&] {
    return GetDRecordset(i_oPage, i_sPersistedStateInfo, i_lPageSize, u"PRICEEFFECTIVEDATE",
                         catalog_text::ProcurementPrices(SQLNumber(i_lProductID), m_sGroup));
  });
}

ObjectPtr CatalogQuery::GetProductPriceInfo(Long i_lProductID, Date i_dDate) {
  return Reporting(u".GetProductPriceInfo", nullptr, [&] {
    const String product = SQLNumber(i_lProductID);
    const String date = SQLDay(i_dDate);
    return QueryForCaller(catalog_text::PricesOfDay(product, m_sGroup, date, date));
  });
}

CatalogQuery::List CatalogQuery::GetProductProcurementPricesEx(const PagePtr& i_oPage,
                                                               const String& i_sPersistedStateInfo,
                                                               Long i_lPageSize, Long i_lProductID,
                                                               const String& i_sGroup) {
  m_sGroup = i_sGroup;
  const List prices = GetProductProcurementPrices(i_oPage, i_sPersistedStateInfo, i_lPageSize, i_lProductID);
  m_sGroup.clear();
  return prices;
}

ObjectPtr CatalogQuery::GetProductPriceInfoEx(Long i_lProductID, Date i_dDate, const String& i_sGroup) {
  m_sGroup = i_sGroup;
  const ObjectPtr prices = GetProductPriceInfo(i_lProductID, i_dDate);
  m_sGroup.clear();
  return prices;
}

}  // namespace varnel
