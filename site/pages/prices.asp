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
var dealer = String(Request.QueryString("group")) === "DEALER";

function priceGrid(rs) {
  return catalogueGrid(page, rs, page.I18N(dealer ? "ShopDealerPrice" : "ShopListPrice"), [
    { title: page.I18N("ShopFrom"), sort: "PRICEEFFECTIVEDATE", width: 30, cell: (row) => encode(formatDay(row("PRICEEFFECTIVEDATE").Value)) },
    { title: page.I18N("ShopUntil"), width: 30, cell: (row) => encode(formatDay(row("PRICEEXPIRYDATE").Value)) || say(page, "ShopNoEnd") },
    { title: page.I18N("ShopPrice"), sort: "PRICE", width: 40, align: AlignRight,
      cell: (row) => amountText({ PRICE: row("PRICE").Value, CURRENCYCODE: row("CURRENCYCODE").Value }) }
  ]);
}

function groupLink(group, key, chosen) {
  var address = group === "" ? page.URL("prices.asp", "product", String(id)) : page.URL("prices.asp", "product", String(id), "group", group);
  return '<a href="' + encode(address) + '"' + (chosen ? ' aria-current="true"' : "") + ">" + say(page, key) + "</a>";
}

var rs = null;
if (name !== null) {
  wantPageNumbers(page);
  rs = dealer ? catalog.GetProductProcurementPricesEx(page, "", 5, id, "DEALER") : catalog.GetProductProcurementPrices(page, "", 5, id);
}
%><!DOCTYPE html>
<html lang="<%= htmlLanguage() %>">
<head>
<%= documentHead(page, page.I18N("ShopPriceList")) %>
</head>
<body>
<%= siteHeader(page, "prices.asp") %>
<% if (rs === null) { %>
<%= notFound(page, "ShopNoProduct") %>
<% } else { %>
<main id="content">
<%= trail(page, [[name, page.URL("product.asp", "product", String(id))], [page.I18N("ShopPriceList"), ""]]) %>
<div class="bar"><h1><%= say(page, "ShopPricesOf", name) %></h1>
<nav aria-label="<%= say(page, "ShopGroup") %>"><%= groupLink("", "ShopListPrice", !dealer) %><%= groupLink("DEALER", "ShopDealerPrice", dealer) %></nav></div>
<div class="<%= catalogueGridClass(rs) %>">
<% page.Add(priceGrid(rs)); %>
</div>
<p class="hint"><%= say(page, "ShopPricesMadeUp") %></p>
</main>
<% } %>
<%= siteFooter(page, "prices.asp") %>
</body>
</html>
