<%@ Language=JavaScript CodePage=65001 %>
<!--#include file="includes/text.inc"-->
<!--#include file="includes/frame.inc"-->
<!--#include file="includes/catalogue.inc"-->
<!--#include file="includes/tools.inc"-->
<%
// Whole addresses and option lists, without a Page's help.
var page = Server.CreateObject("Varnel.Page");
var util = Server.CreateObject("Varnel.PageUtil");
var catalog = textParameter(Request.QueryString, "catalog");
var catalogues = rowsOfQuery("SELECT CATALOGID, CATALOGNAME FROM CATALOG ORDER BY CATALOGID", ["CATALOGID", "CATALOGNAME"]);

var addresses = [
  ["URL(\"index.asp\")", util.URL("index.asp")],
  ["URL(\"quick-order.asp\", \"search\", \"8086*\", \"catalog\", 1)", util.URL("quick-order.asp", "search", "8086*", "catalog", 1)],
  ["URL(\"quick-order.asp\", \"search\", null)", util.URL("quick-order.asp", "search", null)],
  ["SURL(\"settings.asp\")", util.SURL("settings.asp")]
];
%><!DOCTYPE html>
<html lang="<%= htmlLanguage() %>">
<head>
<%= documentHead(page, page.I18N("ShopLinks")) %>
</head>
<body>
<%= siteHeader(page, "links.asp") %>
<main id="content">
<div class="bar"><h1><%= say(page, "ShopLinks") %></h1></div>
<section class="rows">
<table class="facts">
<% for (var address of addresses) { %>
<tr><th scope="row"><code><%= util.HTMLEncode(address[0]) %></code></th><td><a href="<%= util.HTMLEncode(address[1]) %>"><%= util.HTMLEncode(address[1]) %></a></td></tr>
<% } %>
<tr><th scope="row"><code>URLArgs("a", 1, "b", "x y")</code></th><td><%= util.HTMLEncode(util.URLArgs("a", 1, "b", "x y")) %></td></tr>
</table>
</section>
<form class="filter" method="get" action="<%= encode(page.URL("links.asp")) %>">
<div><label for="catalog"><%= say(page, "ShopCatalogue") %></label>
<select id="catalog" name="catalog"><% for (var each of catalogues) { %><%= util.GetOption(each.CATALOGID, catalog) %><%= util.HTMLEncode(each.CATALOGNAME) %></option><% } %></select></div>
<button type="submit"><%= say(page, "ShopShow") %></button>
</form>
</main>
<%= siteFooter(page, "links.asp") %>
</body>
</html>
