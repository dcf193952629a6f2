// The lists that page.
#include "varnel/automation/Convert.h"
#include "varnel/catalog/CatalogQuery.h"
#include "varnel/catalog/QueryTexts.h"
#include "varnel/catalog/Reporting.h"

namespace varnel {

CatalogQuery::List CatalogQuery::GetCatalogProducts(const PagePtr& i_oPage,
                                                    const String& i_sPersistedStateInfo, Long i_lPageSize,
                                                    Long i_lCategoryID, const String& i_sUserID,
                                                    Date i_dDate) {
  return Reporting(u".GetCatalogProducts", nullptr, [&] {
    const String category = SQLNumber(i_lCategoryID);
    const String date = SQLDay(i_dDate);
    return GetDRecordset(i_oPage, i_sPersistedStateInfo, i_lPageSize, u"PBC.SEQUENCE, P.PRODUCTID",
                         catalog_text::CatalogProducts(category, i_sUserID, date));
  });
}

CatalogQuery::List CatalogQuery::GetQuickOrderProducts(const PagePtr& i_oPage,
                                                       const String& i_sPersistedStateInfo, Long i_lPageSize,
                                                       Date i_dDate, const Variant& i_sPartNrSearch,
                                                       const String& i_sCatalogList) {
  return Reporting(u".GetQuickOrderProducts", nullptr, [&] {
    const String date = SQLDay(i_dDate);
    const String search = ToText(i_sPartNrSearch);
    return GetDRecordset(i_oPage, i_sPersistedStateInfo, i_lPageSize, u"P.PRODUCTDESCRIPTION",
                         catalog_text::QuickOrderProducts(date, search, i_sCatalogList));
  });
}

CatalogQuery::List CatalogQuery::GetSupplierProducts(const PagePtr& i_oPage,
                                                     const String& i_sPersistedStateInfo, Long i_lPageSize,
                                                     Long i_lSupplierID, const String& i_sSearchField,
                                                     const String& i_sSearchValue) {
  return Reporting(u".GetSupplierProducts", nullptr, [&] {
    const String supplier = SQLNumber(i_lSupplierID);
    return GetDRecordset(i_oPage, i_sPersistedStateInfo, i_lPageSize, u"BUYFROMPARTNUMBER",
                         catalog_text::SupplierProducts(supplier, i_sSearchField, i_sSearchValue));
  });
}

CatalogQuery::List CatalogQuery::GetProductPropertyValues(const PagePtr& i_oPage,
                                                          const String& i_sPersistedStateInfo,
                                                          Long i_lPageSize, Long i_lProductID) {
  return Reporting(u".GetProductPropertyValues", nullptr, [&] {
    return GetDRecordset(i_oPage, i_sPersistedStateInfo, i_lPageSize, u"PROPERTYID",
                         catalog_text::ProductPropertyValues(SQLNumber(i_lProductID)));
  });
}

}  // namespace varnel
