<%@ Language=JavaScript CodePage=65001 %>
<!--#include file="includes/text.inc"-->
<!--#include file="includes/frame.inc"-->
<!--#include file="includes/products.inc"-->
<!--#include file="includes/grid.inc"-->
<%
// The page numbers of a grid in a form are script links, so this page must allow scripts in its own text.
Response.AddHeader("Content-Security-Policy", "default-src 'self'; script-src 'self' 'unsafe-inline'; style-src 'self'; " +
  "img-src 'self' data:; object-src 'none'; base-uri 'none'; form-action 'self'; frame-ancestors 'none'");

var page = Server.CreateObject("Varnel.Page");
page.OpenDatabaseConnection("ProductsConnection");
page.SetDGridViaPost();

var rs = page.DRecordset();
rs.SetPageSize(20);
rs.SetRecCountON();

// The grid looks for what was clicked while it is bound, while its columns are declared and while the row of page
// numbers is asked for. All of that comes before the recordset is opened.
var columns = productColumns();
var grid = page.DGrid(rs, "Products", true);
declareColumns(grid, columns);
grid.ShowPageJump(10, 10, "products");
grid.ShowAlternateColors();

// Nothing was posted yet: the list begins at its first page.
if (Request.Form.Count === 0) rs.SetState("");

rs.OpenRS(productQuery(), "PRODUCTID");
fillGrid(grid, rs, columns);
%><!DOCTYPE html>
<html lang="<%= htmlLanguage() %>">
<head>
<%= documentHead(page, "Products in a form") %>
</head>
<body>
<%= siteHeader(page, "products-form.asp") %>
<main id="content">
<form name="products" method="post" action="<%= encode(page.URL("products-form.asp")) %>">
<div class="<%= gridClass(rs) %>">
<% page.Add(grid); %>
</div>
</form>
</main>
<%= siteFooter(page, "products-form.asp") %>
</body>
</html>
