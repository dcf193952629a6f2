<%@ Language=JavaScript CodePage=65001 %>
<!--#include file="includes/text.inc"-->
<!--#include file="includes/frame.inc"-->
<!--#include file="includes/grid.inc"-->
<!--#include file="includes/catalogue.inc"-->
<%
var page = Server.CreateObject("Varnel.Page");
var catalog = Server.CreateObject("Varnel.CatalogQuery");
var node = numberParameter(Request.QueryString, "node");
var categoryId = node < 0 ? -1 : catalog.GetCategoryIDForNode(node);
var named = rowsOfQuery("SELECT CATEGORYNAME FROM CATEGORY WHERE CATEGORYID = " + categoryId, ["CATEGORYNAME"]);
var name = named.length > 0 ? named[0].CATEGORYNAME : "";

// Places are numbered in the order of the names, and unlike the names they lie in one index with the category.
function productGrid(rs) {
  return catalogueGrid(page, rs, name, [
    starColumn(page, (row) => row("PRESENT").Value === 1),
    { title: page.I18N("ShopName"), sort: "PBC.SEQUENCE", width: 58, cell: (row) => productLink(page, row) },
    { title: page.I18N("ShopPartNumber"), sort: "P.PARTNUMBER", width: 24, cell: (row) => encode(row("PARTNUMBER").Value) },
    { title: page.I18N("ShopPlace"), width: 12, align: AlignRight, cell: (row) => formatCount(row("SEQUENCE").Value) }
  ]);
}

var rs = null;
if (name !== "") {
  wantPageNumbers(page);
  rs = catalog.GetCatalogProducts(page, "", 20, categoryId, currentUser(), today());
}
%><!DOCTYPE html>
<html lang="<%= htmlLanguage() %>">
<head>
<%= documentHead(page, name === "" ? page.I18N("ShopNoCategory") : name) %>
</head>
<body>
<%= siteHeader(page, "category.asp") %>
<% if (rs === null) { %>
<%= notFound(page, "ShopNoCategory") %>
<% } else { %>
<main id="content">
<%= trail(page, [[name, ""]]) %>
<h1 class="unseen"><%= encode(name) %></h1>
<form method="post" action="<%= encode(page.URL("favourite.asp")) %>">
<%= formFields(hereAndNow()) %>
<div class="<%= catalogueGridClass(rs) %>">
<% page.Add(productGrid(rs)); %>
</div>
</form>
</main>
<% } %>
<%= siteFooter(page, "category.asp") %>
</body>
</html>
