<%@ Language=JavaScript CodePage=65001 %>
<%
// JavaScript between these signs runs on the server. With a colon its value is written into the page as text.
var page = Server.CreateObject("Varnel.Page");
var visitor = Request.Text("name", "world");
%><!DOCTYPE html>
<html lang="en">
<head>
<meta charset="utf-8">
<meta name="viewport" content="width=device-width, initial-scale=1">
<title>[%Name%]</title>
<link rel="icon" href="data:,">
<link rel="stylesheet" href="<%: page.URL("styles/site.css") %>">
</head>
<body>
<h1>Hello, <%: visitor %>!</h1>
<p>This page is <code>pages/index.asp</code>. Change it and load it again.</p>
<ul>
<li><a href="<%: page.URL("index.asp", "name", "reader") %>">The same page with a parameter</a></li>
<li><a href="<%: page.URL("list.asp") %>">A table as a grid</a></li>
<li><a href="<%: page.URL("search.asp") %>">The same table as a list to search in</a></li>
</ul>
</body>
</html>
