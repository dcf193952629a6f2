<%@ Language=JavaScript CodePage=65001 %>
<!--#include file="includes/text.inc"-->
<!--#include file="includes/frame.inc"-->
<!--#include file="includes/grid.inc"-->
<!--#include file="includes/catalogue.inc"-->
<%
var page = Server.CreateObject("Varnel.Page");
var catalog = Server.CreateObject("Varnel.CatalogQuery");
var search = textParameter(Request.QueryString, "search");
var chosen = numberParameter(Request.QueryString, "catalog");
var catalogues = rowsOfQuery("SELECT CATALOGID, CATALOGNAME FROM CATALOG ORDER BY CATALOGID", ["CATALOGID", "CATALOGNAME"]);

function option(value, text) {
  return '<option value="' + value + '"' + (value === chosen ? " selected" : "") + ">" + encode(text) + "</option>";
}

function productGrid(rs) {
  return catalogueGrid(page, rs, page.I18N("ShopQuickOrder"), [
    { title: page.I18N("ShopPartNumber"), sort: "P.PARTNUMBER", width: 26, cell: (row) => encode(row("PARTNUMBER").Value) },
    { title: page.I18N("ShopName"), sort: "P.PRODUCTDESCRIPTION", width: 56, cell: (row) => productLink(page, row) },
    { title: page.I18N("ShopCatalogue"), sort: "P.CLASSCODE", width: 18, cell: (row) => encode(row("CLASSCODE").Value) }
  ]);
}

wantPageNumbers(page);
var rs = catalog.GetQuickOrderProducts(page, "", 20, today(), searchPattern(search), chosen < 0 ? "-1" : String(chosen));
%><!DOCTYPE html>
<html lang="<%= htmlLanguage() %>">
<head>
<%= documentHead(page, page.I18N("ShopQuickOrder")) %>
</head>
<body>
<%= siteHeader(page, "quick-order.asp") %>
<main id="content">
<h1 class="unseen"><%= say(page, "ShopQuickOrder") %></h1>
<form class="filter" method="get" action="<%= encode(page.URL("quick-order.asp")) %>" role="search">
<div><label for="search"><%= say(page, "ShopPartNumber") %></label>
<input id="search" name="search" value="<%= encode(search) %>" placeholder="8086*" autocomplete="off" aria-describedby="hint"></div>
<div><label for="catalog"><%= say(page, "ShopCatalogue") %></label>
<select id="catalog" name="catalog"><%= option(-1, page.I18N("ShopAll")) %><% for (var each of catalogues) Response.Write(option(each.CATALOGID, each.CATALOGNAME)); %></select></div>
<button type="submit"><%= say(page, "ShopSearch") %></button>
<p id="hint" class="hint"><%= say(page, "ShopSearchHint") %></p>
<p class="hint"><a href="<%= encode(page.URL("order.asp")) %>"><%= say(page, "ShopOrderList") %></a></p>
</form>
<div class="<%= catalogueGridClass(rs) %>">
<% page.Add(productGrid(rs)); %>
</div>
</main>
<%= siteFooter(page, "quick-order.asp") %>
</body>
</html>
