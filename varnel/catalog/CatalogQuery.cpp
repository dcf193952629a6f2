// The member table, and the roads to the database. The operations stand in files of their own.
#include "varnel/catalog/CatalogQuery.h"

#include "varnel/automation/Members.h"
#include "varnel/catalog/Reporting.h"
#include "varnel/page/Lib_General.h"
#include "varnel/recordset/Arithmetic.h"
#include "varnel/recordset/Required.h"

namespace varnel {

namespace {

const String kConfigurationSection = u"Quenby";
const String kPageConnection = u"QuenbyConnection";

}  // namespace

const ClassInfo& CatalogQuery::Class() const {
  using C = CatalogQuery;
  const Variant all = u"-1";      // of catalogues
  const Variant none = Long{-1};  // no threshold, no kind, no stock flag
  static const ClassInfo info{
      u"CatalogQuery",
      {
          Method<&C::GetCatalogProducts>(u"GetCatalogProducts")
              .Taking(u"i_oPage, i_sPersistedStateInfo, i_lPageSize, i_lCategoryID, i_sUserID, i_dDate"),
          Method<&C::GetFavoriteProducts>(u"GetFavoriteProducts", {all, none})
              .Taking(u"i_oPage, i_sPersistedStateInfo, i_lPageSize, i_sUserID, i_dDate, i_sCatalogList, "
                      u"i_lFavoriteType"),
          Method<&C::GetQuickOrderProducts>(u"GetQuickOrderProducts", {u"", all})
              .Taking(
                  u"i_oPage, i_sPersistedStateInfo, i_lPageSize, i_dDate, i_sPartNrSearch, i_sCatalogList"),
          Method<&C::CleanupFavorites>(u"CleanupFavorites", {all, none, none})
              .Taking(u"i_sUserID, i_sCatalogList, i_lFavoriteType, i_lThreshold"),
          Method<&C::GetProductData>(u"GetProductData").Taking(u"i_lProductID"),
          Method<&C::GetProductPropertyData>(u"GetProductPropertyData").Taking(u"i_lProductID"),
          Method<&C::GetProductAttachmentData>(u"GetProductAttachmentData").Taking(u"i_lProductID"),
          Method<&C::GetAlternativeProducts>(u"GetAlternativeProducts", {none})
              .Taking(u"i_lProductID, i_lStockItemFlag"),
          Method<&C::AlternativeProductsPresent>(u"AlternativeProductsPresent", {none})
              .Taking(u"i_lProductID, i_dDate, i_lStockItemFlag"),
          Method<&C::GetCategoryIDForNode>(u"GetCategoryIDForNode").Taking(u"i_lNodeID"),
          Method<&C::GetSupplierProducts>(u"GetSupplierProducts", {u"", u""})
              .Taking(u"i_oPage, i_sPersistedStateInfo, i_lPageSize, i_lSupplierID, i_sSearchField, "
                      u"i_sSearchValue"),
          Method<&C::GetProductProcurementPrices>(u"GetProductProcurementPrices")
              .Taking(u"i_oPage, i_sPersistedStateInfo, i_lPageSize, i_lProductID"),
          Method<&C::GetProductPropertyValues>(u"GetProductPropertyValues")
              .Taking(u"i_oPage, i_sPersistedStateInfo, i_lPageSize, i_lProductID"),
          Method<&C::GetProductPriceInfo>(u"GetProductPriceInfo").Taking(u"i_lProductID, i_dDate"),
          Method<&C::GetFavoriteProductsEx>(u"GetFavoriteProductsEx", {all, none, Long{0}})
              .Taking(u"i_oPage, i_sPersistedStateInfo, i_lPageSize, i_sUserID, i_dDate, i_sCatalogList, "
                      u"i_lFavoriteType, i_lFolderID"),
          Method<&C::GetProductProcurementPricesEx>(u"GetProductProcurementPricesEx")
              .Taking(u"i_oPage, i_sPersistedStateInfo, i_lPageSize, i_lProductID, i_sGroup"),
          Method<&C::GetProductPriceInfoEx>(u"GetProductPriceInfoEx")
              .Taking(u"i_lProductID, i_dDate, i_sGroup"),
          Method<&C::GetProductPropertyDataEx>(u"GetProductPropertyDataEx", {false})
              .Taking(u"i_lProductID, i_bShowInProductList"),
      }};
  return info;
}

ObjectPtr MakeCatalogQuery() { return std::make_shared<CatalogQuery>(); }

std::shared_ptr<Utilities> CatalogQuery::GetUtilObj() {
  return Reporting(u".GetUtilObj", nullptr, [&] {
    if (m_oUtil == nullptr) m_oUtil = std::make_shared<Utilities>();
    return m_oUtil;
  });
}

// An empty answer is asked for again.
String CatalogQuery::GetCatalogConnectionString() {
  return Reporting(u".GetCatalogConnectionString", u"", [&] {
    if (!m_sCatalogConnectionString.empty()) return m_sCatalogConnectionString;
    const ObjectPtr configuration = Gen_GetComponent(u"Ostrand.Configuration");
    Required(configuration).CallWith(u"PrepareConfiguration", Long{0});
    m_sCatalogConnectionString =
        ToText(configuration->CallWith(u"GetConfigurationConnectionString", kConfigurationSection));
    return m_sCatalogConnectionString;
  });
}

// Each call makes a new one, and none is kept.
CatalogQuery::ConnectionPtr CatalogQuery::GetCatalogConnection() {
  return Reporting(u".GetCatalogConnection", nullptr, [&] {
    const ConnectionPtr connection = host::Platform().CreateConnection();
    connection->SetCursorLocation(host::ado::kUseServer);
    connection->Open(GetCatalogConnectionString(), u"", u"", host::ado::kUnspecified);
    return connection;
  });
}

CatalogQuery::RecordsetPtr CatalogQuery::GetCatalogRecordset(const String& i_sQuery) {
  using namespace host::ado;
  return Reporting(u".GetCatalogRecordset (executing SQL query: " + i_sQuery + u")", nullptr, [&] {
    const RecordsetPtr recordset = host::Platform().CreateRecordset();
    const ConnectionPtr connection = GetCatalogConnection();
    recordset->SetCursorLocation(kUseServer);
    recordset->Open(i_sQuery, connection, kOpenKeyset, kLockReadOnly, kCommandText);
    return recordset;
  });
}

void CatalogQuery::CloseRecordset(host::IRecordset& io_oRecordset) {
  Reporting(u".CloseRecordset", 0, [&] {
    const ConnectionPtr connection = io_oRecordset.GetActiveConnection();
    io_oRecordset.Close();
    Required(connection).Close();
    return 0;
  });
}

CatalogQuery::List CatalogQuery::GetDRecordset(const PagePtr& i_oPage, const String& i_sPersistedStateInfo,
                                               Long i_lPageSize, const String& i_sKeyFields,
                                               const String& i_sQuery) {
  return Reporting(u".GetDRecordset", nullptr, [&] {
    const List recordset = NewList(i_oPage, i_sPersistedStateInfo);
    recordset->SetPageSize(WrapInteger(i_lPageSize));
    if (i_oPage != nullptr) {
      Integer pages = 0;
      bool wanted = false;
      i_oPage->GetPageJump(pages, wanted);
      if (wanted) {
        recordset->SetRecCountON();
        recordset->SetPageJump(wanted, pages);
      }
    }
    recordset->OpenRS(i_sQuery, i_sKeyFields);
    return recordset;
  });
}

// On the page's connection, where the request holds the state; or on one of its own with the state given.
CatalogQuery::List CatalogQuery::NewList(const PagePtr& i_oPage, const String& i_sPersistedStateInfo) {
  if (i_oPage != nullptr) {
    i_oPage->OpenDatabaseConnection(kPageConnection);
    return members::ToObjectOf<DRecordset>(i_oPage->DRecordset());
  }
  const auto recordset = std::make_shared<DRecordset>();
  recordset->SetConnection(GetCatalogConnectionString());
  recordset->SetState(i_sPersistedStateInfo);
  return recordset;
}

ObjectPtr CatalogQuery::QueryForCaller(const String& i_sQuery) {
  const RecordsetPtr recordset = GetCatalogRecordset(i_sQuery);
  return std::dynamic_pointer_cast<Object>(recordset);
}

Long CatalogQuery::CountRows(const String& i_sQuery) {
  const RecordsetPtr recordset = GetCatalogRecordset(i_sQuery);
  const Long count = Required(recordset).RecordCount();
  CloseRecordset(*recordset);
  return count;
}

Long CatalogQuery::ExecuteChange(const String& i_sStatement) {
  const ConnectionPtr connection = GetCatalogConnection();
  Long affected = 0;
  Required(connection).ExecuteCounting(i_sStatement, affected, host::ado::kUnspecified);
  connection->Close();
  return affected;
}

}  // namespace varnel
