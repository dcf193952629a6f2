<%@ Language=JavaScript CodePage=65001 %>
<!--#include file="includes/text.inc"-->
<!--#include file="includes/frame.inc"-->
<!--#include file="includes/grid.inc"-->
<!--#include file="includes/catalogue.inc"-->
<%
var page = Server.CreateObject("Varnel.Page");
var catalog = Server.CreateObject("Varnel.CatalogQuery");
var user = currentUser();
var folder = numberParameter(Request.QueryString, "folder");
var kind = numberParameter(Request.QueryString, "kind");
if (kind !== DefaultFavorite && kind !== WarehouseFavorite) kind = -1;

var folders = rowsOfQuery("SELECT DISTINCT FOLDERID FROM FAVORITES WHERE USERID = '" + user + "' ORDER BY FOLDERID", ["FOLDERID"]);

// What stands in the user's list but in no catalogue any more.
var stale = rowsOfQuery("SELECT COUNT(*) AS N FROM FAVORITES F WHERE F.USERID = '" + user +
  "' AND NOT EXISTS (SELECT 1 FROM PRODUCTSBYCATEGORY B INNER JOIN CATALOGNODE N ON N.CATEGORYID = B.CATEGORYID" +
  " WHERE B.PRODUCTID = F.PRODUCTID)", ["N"])[0].N;

function option(current, value, text) {
  return '<option value="' + value + '"' + (value === current ? " selected" : "") + ">" + encode(text) + "</option>";
}

function productGrid(rs) {
  return catalogueGrid(page, rs, page.I18N("ShopFavourites"), [
    starColumn(page, () => true),
    { title: page.I18N("ShopName"), sort: "P.PRODUCTDESCRIPTION", width: 64, cell: (row) => productLink(page, row) },
    { title: page.I18N("ShopPartNumber"), sort: "P.PARTNUMBER", width: 30, cell: (row) => encode(row("PARTNUMBER").Value) }
  ]);
}

wantPageNumbers(page);
var rs = folder < 0 ? catalog.GetFavoriteProducts(page, "", 20, user, today(), "-1", kind) :
  catalog.GetFavoriteProductsEx(page, "", 20, user, today(), "-1", kind, folder);
var note = textParameter(Request.QueryString, "note");
%><!DOCTYPE html>
<html lang="<%= htmlLanguage() %>">
<head>
<%= documentHead(page, page.I18N("ShopFavourites")) %>
</head>
<body>
<%= siteHeader(page, "favourites.asp") %>
<main id="content">
<h1 class="unseen"><%= say(page, "ShopFavourites") %></h1>
<form class="filter" method="get" action="<%= encode(page.URL("favourites.asp")) %>">
<div><label for="folder"><%= say(page, "ShopFolder") %></label>
<select id="folder" name="folder"><%= option(folder, -1, page.I18N("ShopAll")) %><% for (var each of folders) Response.Write(option(folder, each.FOLDERID, String(each.FOLDERID))); %></select></div>
<div><label for="kind"><%= say(page, "ShopKind") %></label>
<select id="kind" name="kind"><%= option(kind, -1, page.I18N("ShopAll")) %><%= option(kind, DefaultFavorite, page.I18N("ShopOrdinary")) %><%= option(kind, WarehouseFavorite, page.I18N("ShopWarehouse")) %></select></div>
<button type="submit"><%= say(page, "ShopShow") %></button>
<p class="hint"><a href="<%= encode(page.URL("favourites-list.asp")) %>"><%= say(page, "ShopFavouritesList") %></a></p>
</form>
<form class="filter cleanup" method="post" action="<%= encode(page.URL("clean-up.asp")) %>">
<%= formFields(page.URL("favourites.asp")) %>
<p><%= say(page, stale === 1 ? "ShopOneStale" : "ShopStale", stale) %></p>
<div><label for="threshold"><%= say(page, "ShopThreshold") %></label>
<input id="threshold" name="threshold" type="number" min="0" max="1000" value="4"></div>
<button type="submit"><%= say(page, "ShopCleanUp") %></button>
<% if (/^\d{1,9}$/.test(note)) { %>
<p class="note" role="status"><%= say(page, note === "0" ? "ShopNothingCleaned" : "ShopCleaned", note) %></p>
<% } %>
</form>
<form method="post" action="<%= encode(page.URL("favourite.asp")) %>">
<%= formFields(hereAndNow()) %>
<div class="<%= catalogueGridClass(rs) %>">
<% page.Add(productGrid(rs)); %>
</div>
</form>
</main>
<%= siteFooter(page, "favourites.asp") %>
</body>
</html>
