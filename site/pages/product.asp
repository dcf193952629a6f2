<%@ Language=JavaScript CodePage=65001 %>
<!--#include file="includes/text.inc"-->
<!--#include file="includes/frame.inc"-->
<!--#include file="includes/catalogue.inc"-->
<!--#include file="includes/sheet.inc"-->
<%
var page = Server.CreateObject("Varnel.Page");
var catalog = Server.CreateObject("Varnel.CatalogQuery");
var id = numberParameter(Request.QueryString, "product");
var found = id < 0 ? [] : rowsOf(catalog.GetProductData(id), ["PRODUCTID", "PRODUCTDESCRIPTION", "PRODUCTREMARK", "IMAGEFILENAME",
  "PARTNUMBER", "BUYFROMPARTNUMBER", "MFRPARTNUMBER", "CLASSIFICATION", "UNITDESCRIPTION", "BUSINESSPARTNERID",
  "MANUFACTURERNAME", "PRODUCTEFFECTIVITYDATE", "PRODUCTEXPIRYDATE", "STOCKITEM", "ATTACHEDID", "ALTERNATIVEID", "PROPVALUEID"]);
var product = found.length > 0 ? found[0] : null;

function supplierLink() {
  var supplier = rowsOfQuery("SELECT MANUFACTURERNAME FROM MANUFACTURER WHERE MANUFACTURERID = " + product.BUSINESSPARTNERID,
    ["MANUFACTURERNAME"]);
  if (supplier.length === 0) return "";
  return '<a href="' + encode(page.URL("supplier.asp", "supplier", String(product.BUSINESSPARTNERID))) + '">' +
    encode(supplier[0].MANUFACTURERNAME) + "</a>";
}

function nodeLink() {
  var nodes = rowsOfQuery("SELECT N.NODEID, K.CATEGORYNAME FROM PRODUCTSBYCATEGORY B INNER JOIN CATALOGNODE N ON N.CATEGORYID =" +
    " B.CATEGORYID INNER JOIN CATEGORY K ON K.CATEGORYID = B.CATEGORYID WHERE B.PRODUCTID = " + id, ["NODEID", "CATEGORYNAME"]);
  return nodes.length === 0 ? [page.I18N("ShopWithdrawn"), page.URL("index.asp")] :
    [nodes[0].CATEGORYNAME, page.URL("category.asp", "node", String(nodes[0].NODEID))];
}

function isFavourite() {
  return rowsOfQuery("SELECT PRODUCTID FROM FAVORITES WHERE USERID = '" + currentUser() + "' AND PRODUCTID = " + id, ["PRODUCTID"]).length > 0;
}

// What the sheet's own table tells.
function facts() {
  return [
    [page.I18N("ShopPartNumber"), encode(product.PARTNUMBER)],
    [page.I18N("ShopOrderNumber"), encode(product.BUYFROMPARTNUMBER)],
    [page.I18N("ShopMakersNumber"), encode(product.MFRPARTNUMBER)],
    [page.I18N("ShopManufacturer"), encode(product.MANUFACTURERNAME)],
    [page.I18N("ShopSupplier"), supplierLink()],
    [page.I18N("ShopUnit"), encode(product.UNITDESCRIPTION)],
    [page.I18N("ShopSince"), encode(formatDay(product.PRODUCTEFFECTIVITYDATE))],
    [page.I18N("ShopRemark"), encode(product.PRODUCTREMARK)]
  ].filter((fact) => fact[1] !== "");
}

function properties(onlySheet) {
  return rowsOf(catalog.GetProductPropertyDataEx(id, onlySheet), ["PROPERTYNAME", "PROPERTYVALUE"])
    .map((row) => [row.PROPERTYNAME, encode(row.PROPERTYVALUE)]);
}

function attachments() {
  return rowsOf(catalog.GetProductAttachmentData(id), ["FILENAME", "DESCRIPTION", "ICONFILENAME"]).map((row) =>
    '<li><img src="' + encode(page.URL("images/" + row.ICONFILENAME)) + '" alt="" width="20" height="20"> <a href="' + encode(row.FILENAME) +
    '" rel="noreferrer">' + encode(row.DESCRIPTION) + "</a></li>").join("");
}

// An alternative that can be had today is told from one that can't.
function alternatives() {
  return rowsOf(catalog.GetAlternativeProducts(id), ["ALTERNATIVEPRODUCT", "PRODUCTDESCRIPTION", "PRODUCTEXPIRYDATE", "DISABLED"])
    .map((row) => "<li>" + (row.PRODUCTEXPIRYDATE !== null || row.DISABLED !== 0 ? '<span class="tag">' + say(page, "ShopWithdrawn") +
      "</span> " : "") + '<a href="' + encode(page.URL("product.asp", "product", String(row.ALTERNATIVEPRODUCT))) + '">' +
      encode(row.PRODUCTDESCRIPTION) + "</a></li>").join("");
}
%><!DOCTYPE html>
<html lang="<%= htmlLanguage() %>">
<head>
<%= documentHead(page, product === null ? page.I18N("ShopNoProduct") : product.PRODUCTDESCRIPTION) %>
</head>
<body>
<%= siteHeader(page, "product.asp") %>
<% if (product === null) { %>
<%= notFound(page, "ShopNoProduct") %>
<% } else { %>
<main id="content">
<%= trail(page, [nodeLink(), [product.PRODUCTDESCRIPTION, ""]]) %>
<div class="bar">
<h1><%= encode(product.PRODUCTDESCRIPTION) %></h1>
<% if (product.PRODUCTEXPIRYDATE !== null) { %><span class="tag"><%= say(page, "ShopWithdrawn") %></span><% } %>
<form method="post" action="<%= encode(page.URL("favourite.asp")) %>">
<%= formFields(hereAndNow()) %><%= starButton(page, id, product.PRODUCTDESCRIPTION, isFavourite()) %>
</form>
</div>
<ul class="marks">
<%= mark(page, product.PROPVALUEID, "ShopProperties", "#properties") %>
<%= mark(page, product.ATTACHEDID, "ShopAttachments", "#attachments") %>
<%= mark(page, product.ALTERNATIVEID, "ShopAlternatives", "#alternatives") %>
</ul>
<div class="sheet">
<section aria-labelledby="sheet"><h2 id="sheet"><%= say(page, "ShopSheet") %></h2>
<% if (product.IMAGEFILENAME !== null) { %><img class="picture" src="<%= encode(page.URL("images/" + product.IMAGEFILENAME.split("/").map(encodeURIComponent).join("/"))) %>" alt="<%= encode(product.PRODUCTDESCRIPTION) %>"><% } %>
<%= factTable(facts().concat(properties(true))) %>
</section>
<section aria-labelledby="price"><h2 id="price"><%= say(page, "ShopPriceToday") %></h2>
<%= factTable([
  [page.I18N("ShopListPrice"), priceText(page, rowsOf(catalog.GetProductPriceInfo(id, today()), priceFields()))],
  [page.I18N("ShopDealerPrice"), priceText(page, rowsOf(catalog.GetProductPriceInfoEx(id, today(), "DEALER"), priceFields()))]
]) %>
<p><a href="<%= encode(page.URL("prices.asp", "product", String(id))) %>"><%= say(page, "ShopPriceList") %></a></p>
<p class="hint"><%= say(page, "ShopPricesMadeUp") %></p>
</section>
<% if (product.PROPVALUEID !== null) { %>
<section aria-labelledby="properties"><h2 id="properties"><%= say(page, "ShopProperties") %></h2>
<%= factTable(properties(false)) %>
<p><a href="<%= encode(page.URL("properties.asp", "product", String(id))) %>"><%= say(page, "ShopPropertyList") %></a></p>
</section>
<% } %>
<% if (product.ATTACHEDID !== null) { %>
<section aria-labelledby="attachments"><h2 id="attachments"><%= say(page, "ShopAttachments") %></h2>
<ul class="plain"><%= attachments() %></ul>
</section>
<% } %>
<% if (product.ALTERNATIVEID !== null) { %>
<section aria-labelledby="alternatives"><h2 id="alternatives"><%= say(page, "ShopAlternatives") %></h2>
<p><%= say(page, catalog.AlternativeProductsPresent(id, today()) ? "ShopAlternativesToday" : "ShopNoAlternativesToday") %></p>
<ul class="plain"><%= alternatives() %></ul>
</section>
<% } %>
</div>
</main>
<% } %>
<%= siteFooter(page, "product.asp") %>
</body>
</html>
