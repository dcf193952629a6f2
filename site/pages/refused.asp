<%@ Language=JavaScript CodePage=65001 %>
<!--#include file="includes/text.inc"-->
<!--#include file="includes/frame.inc"-->
<%
// Answers a list's link that the server doesn't take: one that was changed, cut, or made for another page. The server
// tells where the list begins; whoever comes here by himself is led to the front page.
var page = Server.CreateObject("Varnel.Page");
var first = String(Request.ServerVariables("REFUSED_LIST"));
if (first === "") first = page.URL("index.asp");
%><!DOCTYPE html>
<html lang="<%= htmlLanguage() %>">
<head>
<%= documentHead(page, page.I18N("ShopRefused")) %>
</head>
<body>
<%= siteHeader(page, "refused.asp") %>
<main id="content">
<div class="bar"><h1><%= say(page, "ShopRefused") %></h1></div>
<p><%= say(page, "ShopRefusedWhy") %></p>
<p><a href="<%= encode(first) %>"><%= say(page, "ShopRefusedFirst") %></a></p>
</main>
<%= siteFooter(page, "refused.asp") %>
</body>
</html>
