<%@ Language=JavaScript CodePage=65001 %>
<!--#include file="includes/text.inc"-->
<!--#include file="includes/frame.inc"-->
<!--#include file="includes/products.inc"-->
<!--#include file="includes/list.inc"-->
<%
var page = Server.CreateObject("Varnel.Page");
page.OpenDatabaseConnection("ProductsConnection");

var columns = productColumns();
var rs = page.DRecordset();
rs.SetPageSize(20);
rs.SetDefaultSortFields("PRODUCTDESCRIPTION");
rs.SetRecCountON();
rs.SetPageJump(true, 10);
rs.OpenRS(productQuery(), "PRODUCTID");
%><!DOCTYPE html>
<html lang="<%= htmlLanguage() %>">
<head>
<%= documentHead(page, "Products") %>
</head>
<body>
<%= siteHeader(page, "list.asp") %>
<main id="content">
<div class="bar">
<h1>Products</h1>
<p class="counter"><%= counterText(page, rs) %></p>
<%= navigationBar(page, rs) %>
</div>
<div class="products">
<% page.Add(productTable(page, rs, columns)); %>
</div>
<%= pageNumbers(rs) %>
</main>
<%= siteFooter(page, "list.asp") %>
</body>
</html>
