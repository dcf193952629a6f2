<!--#include file="includes/told.inc"--><%
// Every operation of CatalogQuery: lists on a page's connection and on one of their own, recordsets, numbers.
var page = Server.CreateObject("Varnel.Page");
var catalog = Server.CreateObject("Varnel.CatalogQuery");
var day = "3/5/2024";

function toldList(name, list) {
  told(name, list.GetPageSize() + " a page, " + list.GetState());
  for (; !list.EOF; list.MoveNext()) told("  row", list(0));
}
function toldRows(name, rows, column) {
  told(name, rows.Fields.Count);
  for (; !rows.EOF; rows.MoveNext()) told("  row", rows.Fields.Item(column).Value);
}

toldList("GetCatalogProducts", catalog.GetCatalogProducts(page, "", 3, 1, "demo", day));
toldList("GetCatalogProducts without a page", catalog.GetCatalogProducts(null, "", 2, 2, "demo", day));
toldList("GetFavoriteProducts", catalog.GetFavoriteProducts(null, "", 3, "demo", day));
toldList("GetFavoriteProducts", catalog.GetFavoriteProducts(null, "", 3, "demo", day, "1,2", WarehouseFavorite));
toldList("GetFavoriteProductsEx", catalog.GetFavoriteProductsEx(null, "", 3, "demo", day));
toldList("GetFavoriteProductsEx", catalog.GetFavoriteProductsEx(null, "", 3, "demo", day, "-1", DefaultFavorite, 1));
toldList("GetQuickOrderProducts", catalog.GetQuickOrderProducts(page, "", 3, day));
toldList("GetQuickOrderProducts", catalog.GetQuickOrderProducts(page, "", 3, day, "8086*", "1"));
toldList("GetSupplierProducts", catalog.GetSupplierProducts(page, "", 2, 10));
toldList("GetSupplierProducts", catalog.GetSupplierProducts(page, "", 2, 10, "PARTNUMBER", "X*"));
toldList("GetProductProcurementPrices", catalog.GetProductProcurementPrices(page, "", 3, 5));
toldList("GetProductProcurementPricesEx", catalog.GetProductProcurementPricesEx(page, "", 3, 5, "trade"));
toldList("GetProductPropertyValues", catalog.GetProductPropertyValues(page, "", 3, 5));

toldRows("GetProductData", catalog.GetProductData(5), "PRODUCTDESCRIPTION");
toldRows("GetProductPropertyData", catalog.GetProductPropertyData(5), "PROPERTYNAME");
toldRows("GetProductPropertyDataEx", catalog.GetProductPropertyDataEx(5), "PROPERTYNAME");
toldRows("GetProductPropertyDataEx", catalog.GetProductPropertyDataEx(5, true), "PROPERTYNAME");
toldRows("GetProductAttachmentData", catalog.GetProductAttachmentData(5), "FILENAME");
toldRows("GetAlternativeProducts", catalog.GetAlternativeProducts(5), "PRODUCTDESCRIPTION");
toldRows("GetAlternativeProducts", catalog.GetAlternativeProducts(5, 1), "PRODUCTDESCRIPTION");
toldRows("GetProductPriceInfo", catalog.GetProductPriceInfo(5, day), "PRICE");
toldRows("GetProductPriceInfoEx", catalog.GetProductPriceInfoEx(5, day, "trade"), "PRICE");

told("AlternativeProductsPresent", catalog.AlternativeProductsPresent(5, day));
told("AlternativeProductsPresent", catalog.AlternativeProductsPresent(6, day, 1));
told("GetCategoryIDForNode", catalog.GetCategoryIDForNode(2));
told("GetCategoryIDForNode", catalog.GetCategoryIDForNode(4));
told("CleanupFavorites", catalog.CleanupFavorites("other"));
told("CleanupFavorites", catalog.CleanupFavorites("demo", "-1", -1, 2));
%>
