<%@ Language=JavaScript CodePage=65001 %>
<!--#include file="includes/text.inc"-->
<!--#include file="includes/frame.inc"-->
<!--#include file="includes/catalogue.inc"-->
<%
var page = Server.CreateObject("Varnel.Page");

// The categories of each catalogue with the number of their products.
function catalogues() {
  var rows = rowsOfQuery("SELECT C.CATALOGID, C.CATALOGNAME, N.NODEID, K.CATEGORYNAME, COUNT(*) AS PRODUCTS" +
    " FROM CATALOG C INNER JOIN CATALOGNODE N ON N.CATALOGID = C.CATALOGID" +
    " INNER JOIN CATEGORY K ON K.CATEGORYID = N.CATEGORYID" +
    " INNER JOIN PRODUCTSBYCATEGORY P ON P.CATEGORYID = N.CATEGORYID" +
    " GROUP BY C.CATALOGID, C.CATALOGNAME, N.NODEID, K.CATEGORYNAME ORDER BY C.CATALOGID, N.NODEID",
    ["CATALOGNAME", "NODEID", "CATEGORYNAME", "PRODUCTS"]);
  var all = [];
  for (var row of rows) {
    var last = all[all.length - 1];
    if (last === undefined || last.name !== row.CATALOGNAME) all.push(last = { name: row.CATALOGNAME, categories: [] });
    last.categories.push(row);
  }
  return all;
}

// "network adapters" of "PCI network adapters": the catalogue's name stands above.
function shortName(catalogue, name) {
  var short = name.indexOf(catalogue.name + " ") === 0 ? name.slice(catalogue.name.length + 1) : name;
  return short.charAt(0).toUpperCase() + short.slice(1);
}

function categoryCard(catalogue, category) {
  return '<li><a href="' + encode(page.URL("category.asp", "node", String(category.NODEID))) + '"><span class="title">' +
    encode(shortName(catalogue, category.CATEGORYNAME)) + '</span><span class="count">' + formatCount(category.PRODUCTS) +
    "</span></a></li>";
}

var all = catalogues();
%><!DOCTYPE html>
<html lang="<%= htmlLanguage() %>">
<head>
<%= documentHead(page, page.I18N("ShopHome")) %>
</head>
<body>
<%= siteHeader(page, "index.asp") %>
<main id="content">
<section class="search">
<h1><%= say(page, "ShopWelcome") %></h1>
<form method="get" action="<%= encode(page.URL("quick-order.asp")) %>" role="search" aria-label="<%= say(page, "ShopPartNumber") %>">
<label for="search"><%= say(page, "ShopPartNumber") %></label>
<input id="search" name="search" placeholder="8086*" autocomplete="off">
<button type="submit"><%= say(page, "ShopSearch") %></button>
</form>
<form method="get" action="<%= encode(page.URL("whole-list.asp")) %>" role="search" aria-label="<%= say(page, "ShopProductName") %>">
<label for="name"><%= say(page, "ShopProductName") %></label>
<input id="name" type="search" name="L1-q" maxlength="200" autocomplete="off">
<button type="submit"><%= say(page, "ShopSearch") %></button>
</form>
</section>
<% if (all.length === 0) Response.Write(emptyLine(page)); %>
<% for (var catalogue of all) { %>
<section aria-labelledby="catalogue-<%= encode(catalogue.name) %>">
<h2 id="catalogue-<%= encode(catalogue.name) %>"><%= encode(catalogue.name) %></h2>
<ul class="cards">
<% for (var category of catalogue.categories) Response.Write(categoryCard(catalogue, category) + "\n"); %>
</ul>
</section>
<% } %>
</main>
<%= siteFooter(page, "index.asp") %>
</body>
</html>
