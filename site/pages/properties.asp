<%@ Language=JavaScript CodePage=65001 %>
<!--#include file="includes/text.inc"-->
<!--#include file="includes/frame.inc"-->
<!--#include file="includes/grid.inc"-->
<!--#include file="includes/catalogue.inc"-->
<!--#include file="includes/sheet.inc"-->
<%
var page = Server.CreateObject("Varnel.Page");
var catalog = Server.CreateObject("Varnel.CatalogQuery");
var id = numberParameter(Request.QueryString, "product");
var name = productName(id);

var names = {};
for (var row of rowsOfQuery("SELECT PROPERTYID, PROPERTYNAME FROM PROPERTY", ["PROPERTYID", "PROPERTYNAME"])) names[row.PROPERTYID] = row.PROPERTYNAME;

function propertyGrid(rs) {
  return catalogueGrid(page, rs, page.I18N("ShopPropertyList"), [
    { title: page.I18N("ShopProperty"), sort: "PROPERTYID", width: 40, cell: (row) => encode(names[row("PROPERTYID").Value]) },
    { title: page.I18N("ShopValue"), sort: "PROPERTYVALUE", width: 60, cell: (row) => encode(row("PROPERTYVALUE").Value) }
  ]);
}

var rs = null;
if (name !== null) {
  wantPageNumbers(page);
  rs = catalog.GetProductPropertyValues(page, "", 5, id);
}
%><!DOCTYPE html>
<html lang="<%= htmlLanguage() %>">
<head>
<%= documentHead(page, page.I18N("ShopPropertyList")) %>
</head>
<body>
<%= siteHeader(page, "properties.asp") %>
<% if (rs === null) { %>
<%= notFound(page, "ShopNoProduct") %>
<% } else { %>
<main id="content">
<%= trail(page, [[name, page.URL("product.asp", "product", String(id))], [page.I18N("ShopPropertyList"), ""]]) %>
<h1 class="unseen"><%= say(page, "ShopPropertiesOf", name) %></h1>
<div class="<%= catalogueGridClass(rs) %>">
<% page.Add(propertyGrid(rs)); %>
</div>
</main>
<% } %>
<%= siteFooter(page, "properties.asp") %>
</body>
</html>
