<%@ Language=JavaScript CodePage=65001 %>
<!--#include file="includes/text.inc"-->
<!--#include file="includes/frame.inc"-->
<!--#include file="includes/products.inc"-->
<!--#include file="includes/grid.inc"-->
<%
var page = Server.CreateObject("Varnel.Page");
page.OpenDatabaseConnection("ProductsConnection");

// Each recordset has a parameter of its own in the links, and each link keeps that of the other one.
function openList(title, query, key, columns) {
  var rs = page.DRecordset();
  rs.SetPageSize(10);
  rs.SetRecCountON();
  var grid = page.DGrid(rs, title);
  declareColumns(grid, columns);
  grid.ShowAlternateColors();
  rs.OpenRS(query, key);
  fillGrid(grid, rs, columns);
  return grid;
}

var manufacturers = openList("Manufacturers",
  "SELECT MANUFACTURERID, MANUFACTURERNAME, MANUFACTURERCODE FROM MANUFACTURER", "MANUFACTURERID", [
    { title: "Manufacturer", field: "MANUFACTURERNAME", sort: "MANUFACTURERNAME", width: 70 },
    { title: "Code", field: "MANUFACTURERCODE", sort: "MANUFACTURERCODE", width: 30 }
  ]);
var products = openList("Products",
  "SELECT PRODUCTID, PRODUCTDESCRIPTION, CLASSIFICATION FROM PRODUCT", "PRODUCTID", [
    { title: "Name", field: "PRODUCTDESCRIPTION", sort: "PRODUCTDESCRIPTION", width: 70 },
    { title: "Category", field: "CLASSIFICATION", sort: "CLASSIFICATION, PRODUCTDESCRIPTION", width: 30 }
  ]);
%><!DOCTYPE html>
<html lang="<%= htmlLanguage() %>">
<head>
<%= documentHead(page, "Manufacturers and products") %>
</head>
<body>
<%= siteHeader(page, "two-lists.asp") %>
<main class="side-by-side">
<div class="grid" id="manufacturers">
<% page.Add(manufacturers); %>
</div>
<div class="grid" id="products">
<% page.Add(products); %>
</div>
</main>
<%= siteFooter(page, "two-lists.asp") %>
</body>
</html>
