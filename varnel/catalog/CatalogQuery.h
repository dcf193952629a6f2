// The questions that the pages of a product catalogue ask, one operation each. A list that pages comes as an
// open DRecordset; facts about one product come as a plain read-only Recordset on a connection of its own,
// which the caller closes, the recordset first.
//
// A list with a page reads the page's connection "QuenbyConnection", and its position from the request;
// without one (Nothing) it connects by the configuration's section "Quenby", as all others do, and its
// position is the state text. User ids, search texts, catalogue lists and groups stand in the SQL as they
// are: the caller encodes or checks them.
//
// Every failure is logged and raised again by each procedure that it leaves, as "Varnel.CatalogQuery." and
// the procedure's name; the `Ex` operations on prices alone let it pass.
#pragma once

#include "varnel/catalog/FavoriteTypes.h"
#include "varnel/host/Ado.h"
#include "varnel/page/Page.h"
#include "varnel/recordset/DRecordset.h"
#include "varnel/utilities/Utilities.h"

namespace varnel {

// ProgID "Varnel.CatalogQuery". An instance serves one call at a time.
class CatalogQuery : public Object {
 public:
  using PagePtr = std::shared_ptr<Page>;
  using List = std::shared_ptr<DRecordset>;

  const ClassInfo& Class() const override;

  // The category's products on that day, in their order there, with the user's favourite mark.
  List GetCatalogProducts(const PagePtr& i_oPage, const String& i_sPersistedStateInfo, Long i_lPageSize,
                          Long i_lCategoryID, const String& i_sUserID, Date i_dDate);
  // A user's shown favourites, by description. `i_sCatalogList` holds catalogue ids separated by commas, "-1"
  // for all and nothing for none; `i_lFavoriteType` is one of FavoriteTypes, or -1 for both kinds.
  List GetFavoriteProducts(const PagePtr& i_oPage, const String& i_sPersistedStateInfo, Long i_lPageSize,
                           const String& i_sUserID, Date i_dDate, const String& i_sCatalogList,
                           Long i_lFavoriteType);
  // The products of catalogues, by description. `i_sPartNrSearch` is looked for in both part numbers, with
  // "*" as wildcard; empty: all. Raises 94 for Null.
  List GetQuickOrderProducts(const PagePtr& i_oPage, const String& i_sPersistedStateInfo, Long i_lPageSize,
                             Date i_dDate, const Variant& i_sPartNrSearch, const String& i_sCatalogList);
  // Deletes the user's favourites whose product no catalogue of the list reaches, if there are at least
  // `i_lThreshold` of them (-1: 4). Returns how many went.
  Long CleanupFavorites(const String& i_sUserID, const String& i_sCatalogList, Long i_lFavoriteType,
                        Long i_lThreshold);

  // One row, also of a disabled product. ATTACHEDID, ALTERNATIVEID and PROPVALUEID are NULL where the product
  // has no attachment, alternative or property value.
  ObjectPtr GetProductData(Long i_lProductID);
  ObjectPtr GetProductPropertyData(Long i_lProductID);
  ObjectPtr GetProductAttachmentData(Long i_lProductID);
  // All alternatives, whatever their state; of one stock flag only where `i_lStockItemFlag` isn't -1.
  ObjectPtr GetAlternativeProducts(Long i_lProductID, const Variant& i_lStockItemFlag);
  // Whether one of them is enabled and in its period on that day.
  bool AlternativeProductsPresent(Long i_lProductID, Date i_dDate, const Variant& i_lStockItemFlag);
  // -1 for an unknown node and for one without a category.
  Long GetCategoryIDForNode(Long i_lNodeID);

  // All of a supplier's products, by the buyer's part number; the disabled ones too. The value is a pattern
  // with "*" as wildcard; a field without a value, or the other way around, counts for nothing.
  List GetSupplierProducts(const PagePtr& i_oPage, const String& i_sPersistedStateInfo, Long i_lPageSize,
                           Long i_lSupplierID, const String& i_sSearchField, const String& i_sSearchValue);
  // All periods of a product's prices of the group with the empty name, by their beginning.
  List GetProductProcurementPrices(const PagePtr& i_oPage, const String& i_sPersistedStateInfo,
                                   Long i_lPageSize, Long i_lProductID);
  List GetProductPropertyValues(const PagePtr& i_oPage, const String& i_sPersistedStateInfo, Long i_lPageSize,
                                Long i_lProductID);
  // The prices whose period holds that day, both ends included, in no particular order.
  ObjectPtr GetProductPriceInfo(Long i_lProductID, Date i_dDate);

  // The favourites of one folder; a negative number stands for folder 0.
  List GetFavoriteProductsEx(const PagePtr& i_oPage, const String& i_sPersistedStateInfo, Long i_lPageSize,
                             const String& i_sUserID, Date i_dDate, const String& i_sCatalogList,
                             Long i_lFavoriteType, Long i_lFolderID);
  // Prices of any group. Where one of these fails, its group stays for the next plain call.
  List GetProductProcurementPricesEx(const PagePtr& i_oPage, const String& i_sPersistedStateInfo,
                                     Long i_lPageSize, Long i_lProductID, const String& i_sGroup);
  ObjectPtr GetProductPriceInfoEx(Long i_lProductID, Date i_dDate, const String& i_sGroup);
  // True: only what the product's property group shows in the sheet, in its order.
  ObjectPtr GetProductPropertyDataEx(Long i_lProductID, bool& i_bShowInProductList);

 private:
  using RecordsetPtr = std::shared_ptr<host::IRecordset>;
  using ConnectionPtr = std::shared_ptr<host::IConnection>;

  RecordsetPtr GetCatalogRecordset(const String& i_sQuery);
  String GetCatalogConnectionString();
  ConnectionPtr GetCatalogConnection();
  void CloseRecordset(host::IRecordset& io_oRecordset);
  List GetDRecordset(const PagePtr& i_oPage, const String& i_sPersistedStateInfo, Long i_lPageSize,
                     const String& i_sKeyFields, const String& i_sQuery);
  std::shared_ptr<Utilities> GetUtilObj();

  // The steps of the above, which have no handlers of their own.
  List NewList(const PagePtr& i_oPage, const String& i_sPersistedStateInfo);
  String SQLNumber(Long i_lValue) { return GetUtilObj()->SQLEncodeLng(i_lValue); }
  String SQLDay(Date i_dValue) { return GetUtilObj()->SQLEncodeDate(i_dValue); }
  ObjectPtr QueryForCaller(const String& i_sQuery);
  Long CountRows(const String& i_sQuery);
  Long ExecuteChange(const String& i_sStatement);

  String m_sCatalogConnectionString;  // empty until it was asked for
  std::shared_ptr<Utilities> m_oUtil;
  String m_sGroup;  // empty but for the length of an `Ex` call on prices, or after a failed one
};

ObjectPtr MakeCatalogQuery();

}  // namespace varnel
