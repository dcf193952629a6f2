<!--#include file="includes/told.vbs"--><%
' Every operation of CatalogQuery: lists on a page's connection and on one of their own, recordsets, numbers.
Dim page, catalog, day1
Set page = Server.CreateObject("Varnel.Page")
Set catalog = Server.CreateObject("Varnel.CatalogQuery")
day1 = "3/5/2024"

Sub ToldList(name, list)
  Told name, list.GetPageSize() & " a page, " & list.GetState()
  Do While Not list.EOF
    Told "  row", list(0)
    list.MoveNext
  Loop
End Sub
Sub ToldRows(name, rows, column)
  Told name, rows.Fields.Count
  Do While Not rows.EOF
    Told "  row", rows.Fields.Item(column).Value
    rows.MoveNext
  Loop
End Sub

ToldList "GetCatalogProducts", catalog.GetCatalogProducts(page, "", 3, 1, "demo", day1)
ToldList "GetCatalogProducts without a page", catalog.GetCatalogProducts(Nothing, "", 2, 2, "demo", day1)
ToldList "GetFavoriteProducts", catalog.GetFavoriteProducts(Nothing, "", 3, "demo", day1)
ToldList "GetFavoriteProducts", catalog.GetFavoriteProducts(Nothing, "", 3, "demo", day1, "1,2", WarehouseFavorite)
ToldList "GetFavoriteProductsEx", catalog.GetFavoriteProductsEx(Nothing, "", 3, "demo", day1)
ToldList "GetFavoriteProductsEx", catalog.GetFavoriteProductsEx(Nothing, "", 3, "demo", day1, "-1", DefaultFavorite, 1)
ToldList "GetQuickOrderProducts", catalog.GetQuickOrderProducts(page, "", 3, day1)
ToldList "GetQuickOrderProducts", catalog.GetQuickOrderProducts(page, "", 3, day1, "8086*", "1")
ToldList "GetSupplierProducts", catalog.GetSupplierProducts(page, "", 2, 10)
ToldList "GetSupplierProducts", catalog.GetSupplierProducts(page, "", 2, 10, "PARTNUMBER", "X*")
ToldList "GetProductProcurementPrices", catalog.GetProductProcurementPrices(page, "", 3, 5)
ToldList "GetProductProcurementPricesEx", catalog.GetProductProcurementPricesEx(page, "", 3, 5, "trade")
ToldList "GetProductPropertyValues", catalog.GetProductPropertyValues(page, "", 3, 5)

ToldRows "GetProductData", catalog.GetProductData(5), "PRODUCTDESCRIPTION"
ToldRows "GetProductPropertyData", catalog.GetProductPropertyData(5), "PROPERTYNAME"
ToldRows "GetProductPropertyDataEx", catalog.GetProductPropertyDataEx(5), "PROPERTYNAME"
ToldRows "GetProductPropertyDataEx", catalog.GetProductPropertyDataEx(5, True), "PROPERTYNAME"
ToldRows "GetProductAttachmentData", catalog.GetProductAttachmentData(5), "FILENAME"
ToldRows "GetAlternativeProducts", catalog.GetAlternativeProducts(5), "PRODUCTDESCRIPTION"
ToldRows "GetAlternativeProducts", catalog.GetAlternativeProducts(5, 1), "PRODUCTDESCRIPTION"
ToldRows "GetProductPriceInfo", catalog.GetProductPriceInfo(5, day1), "PRICE"
ToldRows "GetProductPriceInfoEx", catalog.GetProductPriceInfoEx(5, day1, "trade"), "PRICE"

Told "AlternativeProductsPresent", catalog.AlternativeProductsPresent(5, day1)
Told "AlternativeProductsPresent", catalog.AlternativeProductsPresent(6, day1, 1)
Told "GetCategoryIDForNode", catalog.GetCategoryIDForNode(2)
Told "GetCategoryIDForNode", catalog.GetCategoryIDForNode(4)
Told "CleanupFavorites", catalog.CleanupFavorites("other")
Told "CleanupFavorites", catalog.CleanupFavorites("demo", "-1", -1, 2)
%>
