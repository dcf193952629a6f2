// The sheet of one product.
#include "varnel/automation/Convert.h"
#include "varnel/catalog/CatalogQuery.h"
#include "varnel/catalog/QueryTexts.h"
#include "varnel/catalog/Reporting.h"
#include "varnel/recordset/Required.h"

namespace varnel {

namespace {

constexpr Long kAnyStock = -1;
constexpr Long kNoCategory = -1;

// The clause of a stock flag, with the flag's text as it was given.
String StockClause(StringView table, const Variant& flag) {
  if (ToLong(flag) == kAnyStock) return {};
  return catalog_text::StockItemClause(table, ToText(flag));
}

}  // namespace

ObjectPtr CatalogQuery::GetProductData(Long i_lProductID) {
  return Reporting(u".GetProductData", nullptr,
                   [&] { return QueryForCaller(catalog_text::ProductData(SQLNumber(i_lProductID))); });
}

ObjectPtr CatalogQuery::GetProductPropertyData(Long i_lProductID) {
  return Reporting(u".GetProductPropertyData", nullptr, [&] {
    return QueryForCaller(catalog_text::ProductPropertyData(SQLNumber(i_lProductID)));
  });
}

ObjectPtr CatalogQuery::GetProductPropertyDataEx(Long i_lProductID, bool& i_bShowInProductList) {
  return Reporting(u".GetProductPropertyDataEx", nullptr, [&] {
    if (!i_bShowInProductList) return GetProductPropertyData(i_lProductID);
    return QueryForCaller(catalog_text::ProductSheetPropertyData(SQLNumber(i_lProductID)));
  });
}

ObjectPtr CatalogQuery::GetProductAttachmentData(Long i_lProductID) {
  return Reporting(u".GetProductAttachmentData", nullptr, [&] {
    return QueryForCaller(catalog_text::ProductAttachmentData(SQLNumber(i_lProductID)));
  });
}

ObjectPtr CatalogQuery::GetAlternativeProducts(Long i_lProductID, const Variant& i_lStockItemFlag) {
  return Reporting(u".GetAlternativeProducts", nullptr, [&] {
    const String query = catalog_text::AlternativeProducts(SQLNumber(i_lProductID));
    return QueryForCaller(query + StockClause(u"PRODUCT", i_lStockItemFlag));
  });
}

bool CatalogQuery::AlternativeProductsPresent(Long i_lProductID, Date i_dDate,
                                              const Variant& i_lStockItemFlag) {
  return Reporting(u".AlternativeProductsPresent", false, [&] {
    const String product = SQLNumber(i_lProductID);
    const String date = SQLDay(i_dDate);
    const String query = catalog_text::AlternativesPresent(product, date, date);
    const RecordsetPtr recordset = GetCatalogRecordset(query + StockClause(u"P", i_lStockItemFlag));
    const bool present = !Required(recordset).IsEOF();
    CloseRecordset(*recordset);
    return present;
  });
}

Long CatalogQuery::GetCategoryIDForNode(Long i_lNodeID) {
  return Reporting(u".GetCategoryIDForNode", kNoCategory, [&] {
    const RecordsetPtr recordset = GetCatalogRecordset(catalog_text::CategoryOfNode(SQLNumber(i_lNodeID)));
    const Variant category = Required(recordset).IsEOF() ? Null() : recordset->FieldValue(0);
    CloseRecordset(*recordset);
    return category.IsNull() ? kNoCategory : ToLong(category);
  });
}

}  // namespace varnel
