<%@ Language=JavaScript CodePage=65001 %>
<!--#include file="includes/text.inc"-->
<!--#include file="includes/frame.inc"-->
<!--#include file="includes/catalogue.inc"-->
<%
// The user's favourites as a list that is searched, filtered and downloaded.
var page = Server.CreateObject("Varnel.Page");
page.OpenDatabaseConnection("QuenbyConnection");

var kinds = [[DefaultFavorite, page.I18N("ShopOrdinary")], [WarehouseFavorite, page.I18N("ShopWarehouse")]];

function star(row) {
  return starButton(page, row("PRODUCTID"), row("PRODUCTDESCRIPTION"), true, "stars");
}

var list = page.List(page.I18N("ShopFavourites"), `
  SELECT F.PRODUCTID, P.PARTNUMBER, P.PRODUCTDESCRIPTION, F.FOLDERID, F.WAREHOUSEFAVORITE
  FROM FAVORITES F INNER JOIN PRODUCT P ON P.PRODUCTID = F.PRODUCTID
  WHERE F.USERID = :user`, "F.PRODUCTID");
list.Parameter("user", currentUser());
list.Column("F.PRODUCTID", page.I18N("ShopMark")).Sortable(false).Align("center").Template(star);
list.Column("P.PRODUCTDESCRIPTION", page.I18N("ShopName")).Link("product.asp", "PRODUCTID", "product");
list.Column("P.PARTNUMBER", page.I18N("ShopPartNumber"));
list.Column("F.FOLDERID", page.I18N("ShopFolder"));
list.Sort("P.PRODUCTDESCRIPTION");
list.Search("P.PRODUCTDESCRIPTION", "P.PARTNUMBER");
list.Filter("F.FOLDERID", undefined, page.I18N("ShopFolder"));
list.Filter("F.WAREHOUSEFAVORITE", kinds, page.I18N("ShopKind"));
list.PageSizes(20, 50, 100);
list.Export("csv", "json");
list.Locale(visitorLanguage().lcid);
%><!DOCTYPE html>
<html lang="<%= htmlLanguage() %>">
<head>
<%= documentHead(page, page.I18N("ShopFavourites")) %>
<link rel="stylesheet" href="<%= encode(page.URL("styles/varnel-list.css")) %>">
</head>
<body>
<%= siteHeader(page, "favourites.asp") %>
<main id="content">
<h1 class="unseen"><%= say(page, "ShopFavourites") %></h1>
<form id="stars" method="post" action="<%= encode(page.URL("favourite.asp")) %>"><%= formFields(hereAndNow()) %></form>
<% page.Add(list); %>
</main>
<%= siteFooter(page, "favourites.asp") %>
</body>
</html>
