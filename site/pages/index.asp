<%@ Language=JavaScript CodePage=65001 %>
<!--#include file="includes/text.inc"-->
<!--#include file="includes/list.inc"-->
<%
var page = Server.CreateObject("Varnel.Page");
page.OpenDatabaseConnection("QuenbyConnection");

// Blanks, not line breaks, stand between the words of the query: it is taken apart at its blanks.
var query = "SELECT PRODUCTID, PARTNUMBER, PRODUCTDESCRIPTION, P.MANUFACTURERID, MANUFACTURERNAME, CLASSIFICATION" +
  " FROM PRODUCT P LEFT JOIN MANUFACTURER M ON M.MANUFACTURERID = P.MANUFACTURERID";

// What the columns show and how they sort. Manufacturers are numbered in the order of their names.
var columns = [
  { title: "Part number", field: "PARTNUMBER", sort: "PARTNUMBER" },
  { title: "Name", field: "PRODUCTDESCRIPTION", sort: "PRODUCTDESCRIPTION" },
  { title: "Manufacturer", field: "MANUFACTURERNAME", sort: "P.MANUFACTURERID, PRODUCTDESCRIPTION" },
  { title: "Category", field: "CLASSIFICATION", sort: "CLASSIFICATION, PRODUCTDESCRIPTION" }
];

var rs = page.DRecordset();
rs.SetPageSize(20);
rs.SetDefaultSortFields("PRODUCTDESCRIPTION");
rs.SetRecCountON();
rs.SetPageJump(true, 10);
rs.OpenRS(query, "PRODUCTID");
%><!DOCTYPE html>
<html lang="en">
<head>
<meta charset="utf-8">
<meta name="viewport" content="width=device-width, initial-scale=1">
<title>Products - Varnel shop</title>
<link rel="icon" href="data:,">
<link rel="stylesheet" href="<%= encode(page.URL("styles/shop.css")) %>">
</head>
<body>
<header class="site">
<a class="brand" href="<%= encode(page.URL("index.asp")) %>">Varnel shop</a>
<span class="tagline">Everything that plugs into PCI or USB</span>
</header>
<main>
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
<footer>The products are the devices and boards in the PCI and USB ID lists. Their categories are guessed from their
names.</footer>
</body>
</html>
