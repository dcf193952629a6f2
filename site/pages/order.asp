<%@ Language=JavaScript CodePage=65001 %>
<!--#include file="includes/text.inc"-->
<!--#include file="includes/frame.inc"-->
<!--#include file="includes/catalogue.inc"-->
<%
// A quick order: products are found by number or name and chosen, page after page; what is chosen is a list of its own
// below, which can be downloaded.
var page = Server.CreateObject("Varnel.Page");
page.OpenDatabaseConnection("QuenbyConnection");

function productList(title, where) {
  var list = page.List(title, "SELECT P.PRODUCTID, P.PARTNUMBER, P.PRODUCTDESCRIPTION, P.CLASSCODE FROM PRODUCT P" + where, "P.PRODUCTID");
  list.Column("P.PARTNUMBER", page.I18N("ShopPartNumber"));
  list.Column("P.PRODUCTDESCRIPTION", page.I18N("ShopName")).Link("product.asp", "PRODUCTID", "product");
  list.Column("P.CLASSCODE", page.I18N("ShopCatalogue")).Sortable(false);
  list.Sort("P.PRODUCTDESCRIPTION");
  list.Locale(visitorLanguage().lcid);
  return list;
}

var products = productList(page.I18N("ShopQuickOrder"), "");
products.Search("P.PARTNUMBER", "P.PRODUCTDESCRIPTION");
products.Filter("P.CLASSCODE", ["PCI", "USB"], page.I18N("ShopCatalogue"));
products.PageSizes(20, 50);
products.Selectable(50);

// What is selected comes from the link: numbers, and as parameters.
function orderOf(ids) {
  var order = productList(page.I18N("ShopOrder"), " WHERE P.PRODUCTID IN (" + ids.map((id, i) => ":id" + i).join(", ") + ")");
  ids.forEach((id, i) => order.Parameter("id" + i, id));
  order.PageSizes(50);
  order.Export("csv", "json");
  return order;
}

var ids = products.Selected().filter((id) => /^\d{1,9}$/.test(id)).map(Number);
%><!DOCTYPE html>
<html lang="<%= htmlLanguage() %>">
<head>
<%= documentHead(page, page.I18N("ShopQuickOrder")) %>
<link rel="stylesheet" href="<%= encode(page.URL("styles/varnel-list.css")) %>">
</head>
<body>
<%= siteHeader(page, "quick-order.asp") %>
<main id="content">
<h1 class="unseen"><%= say(page, "ShopQuickOrder") %></h1>
<% page.Add(products); %>
<% if (ids.length > 0) page.Add(orderOf(ids)); %>
</main>
<%= siteFooter(page, "quick-order.asp") %>
</body>
</html>
