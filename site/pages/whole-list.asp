<%@ Language=JavaScript CodePage=65001 %>
<!--#include file="includes/text.inc"-->
<!--#include file="includes/frame.inc"-->
<%
var page = Server.CreateObject("Varnel.Page");
page.OpenDatabaseConnection("ProductsConnection");

// Manufacturers are numbered in the order of their names, which an index serves.
var list = page.List(page.I18N("ShopListWhole"), `
  SELECT P.PRODUCTID, P.PARTNUMBER, P.PRODUCTDESCRIPTION, P.MANUFACTURERID, M.MANUFACTURERNAME, P.CLASSIFICATION
  FROM PRODUCT P LEFT JOIN MANUFACTURER M ON M.MANUFACTURERID = P.MANUFACTURERID`, "P.PRODUCTID");
list.Column("P.PARTNUMBER", page.I18N("ShopPartNumber"));
list.Column("P.PRODUCTDESCRIPTION", page.I18N("ShopName")).Link("product.asp", "PRODUCTID", "product");
list.Column("M.MANUFACTURERNAME", page.I18N("ShopManufacturer")).SortBy("P.MANUFACTURERID");
list.Column("P.CLASSIFICATION", page.I18N("ShopCategory"));
list.Sort("P.PRODUCTDESCRIPTION");
list.Search("P.PRODUCTDESCRIPTION", "P.PARTNUMBER");
list.Filter("P.CLASSCODE", ["PCI", "USB"], page.I18N("ShopCatalogue"));
list.PageSizes(20, 50, 100);
list.Locale(visitorLanguage().lcid);
%><!DOCTYPE html>
<html lang="<%= htmlLanguage() %>">
<head>
<%= documentHead(page, page.I18N("ShopListWhole")) %>
<link rel="stylesheet" href="<%= encode(page.URL("styles/varnel-list.css")) %>">
</head>
<body>
<%= siteHeader(page, "whole-list.asp") %>
<main id="content">
<h1 class="unseen"><%= say(page, "ShopListWhole") %></h1>
<% page.Add(list); %>
</main>
<%= siteFooter(page, "whole-list.asp") %>
</body>
</html>
