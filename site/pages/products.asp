<%@ Language=JavaScript CodePage=65001 %>
<!--#include file="includes/text.inc"-->
<!--#include file="includes/frame.inc"-->
<!--#include file="includes/products.inc"-->
<!--#include file="includes/grid.inc"-->
<%
var page = Server.CreateObject("Varnel.Page");
page.OpenDatabaseConnection("ProductsConnection");

var rs = page.DRecordset();
rs.SetPageSize(20);
rs.SetRecCountON();

var columns = productColumns();
var grid = page.DGrid(rs, "Products");
declareColumns(grid, columns);
grid.ShowPageJump(10, 10, "");
grid.ShowAlternateColors();

rs.OpenRS(productQuery(), "PRODUCTID");
fillGrid(grid, rs, columns);
%><!DOCTYPE html>
<html lang="<%= htmlLanguage() %>">
<head>
<%= documentHead(page, "Products") %>
</head>
<body>
<%= siteHeader(page, "products.asp") %>
<main id="content">
<div class="<%= gridClass(rs) %>">
<% page.Add(grid); %>
</div>
</main>
<%= siteFooter(page, "products.asp") %>
</body>
</html>
