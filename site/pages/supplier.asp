<%@ Language=JavaScript CodePage=65001 %>
<!--#include file="includes/text.inc"-->
<!--#include file="includes/frame.inc"-->
<!--#include file="includes/grid.inc"-->
<!--#include file="includes/catalogue.inc"-->
<%
var page = Server.CreateObject("Varnel.Page");
var catalog = Server.CreateObject("Varnel.CatalogQuery");
var supplier = numberParameter(Request.QueryString, "supplier");
var named = rowsOfQuery("SELECT MANUFACTURERNAME FROM MANUFACTURER WHERE MANUFACTURERID = " + supplier, ["MANUFACTURERNAME"]);
var name = named.length > 0 ? named[0].MANUFACTURERNAME : "";
var search = textParameter(Request.QueryString, "search");

// The field is joined into the query as it stands: only these are.
var fields = { name: "PRODUCTDESCRIPTION", number: "BUYFROMPARTNUMBER" };
var field = String(Request.QueryString("field")) === "number" ? "number" : "name";

function option(value, key) {
  return '<option value="' + value + '"' + (value === field ? " selected" : "") + ">" + say(page, key) + "</option>";
}

function state(row) {
  return row("PRODUCTEXPIRYDATE").Value === null ? "" : '<span class="tag">' + say(page, "ShopWithdrawn") + "</span> ";
}

function productGrid(rs) {
  return catalogueGrid(page, rs, name, [
    { title: page.I18N("ShopOrderNumber"), sort: "BUYFROMPARTNUMBER", width: 28, cell: (row) => encode(row("BUYFROMPARTNUMBER").Value) },
    { title: page.I18N("ShopName"), sort: "PRODUCTDESCRIPTION", width: 50, cell: (row) => state(row) + productLink(page, row) },
    { title: page.I18N("ShopCategory"), sort: "CLASSIFICATION", width: 22, cell: (row) => encode(row("CLASSIFICATION").Value) }
  ]);
}

var rs = null;
if (name !== "") {
  wantPageNumbers(page);
  rs = catalog.GetSupplierProducts(page, "", 20, supplier, fields[field], searchPattern(search));
}
%><!DOCTYPE html>
<html lang="<%= htmlLanguage() %>">
<head>
<%= documentHead(page, name === "" ? page.I18N("ShopNoSupplier") : name) %>
</head>
<body>
<%= siteHeader(page, "supplier.asp") %>
<% if (rs === null) { %>
<%= notFound(page, "ShopNoSupplier") %>
<% } else { %>
<main id="content">
<%= trail(page, [[page.I18N("ShopSupplier"), ""], [name, ""]]) %>
<h1 class="unseen"><%= encode(name) %></h1>
<form class="filter" method="get" action="<%= encode(page.URL("supplier.asp")) %>" role="search">
<input type="hidden" name="supplier" value="<%= supplier %>">
<div><label for="field"><%= say(page, "ShopSearchIn") %></label>
<select id="field" name="field"><%= option("name", "ShopName") %><%= option("number", "ShopOrderNumber") %></select></div>
<div><label for="search"><%= say(page, "ShopSearchFor") %></label>
<input id="search" name="search" value="<%= encode(search) %>" autocomplete="off" aria-describedby="hint"></div>
<button type="submit"><%= say(page, "ShopSearch") %></button>
<p id="hint" class="hint"><%= say(page, "ShopSearchHint") %></p>
</form>
<div class="<%= catalogueGridClass(rs) %>">
<% page.Add(productGrid(rs)); %>
</div>
</main>
<% } %>
<%= siteFooter(page, "supplier.asp") %>
</body>
</html>
