<%@ Language=JavaScript CodePage=65001 %>
<%
var page = Server.CreateObject("Varnel.Page");
page.OpenDatabaseConnection("Elements");  // Elements_ConnectionString in site.toml

// The list reads, sorts, searches and pages by itself, and refuses what isn't declared here.
var list = page.List("Chemical elements", `
  SELECT ATOMICNUMBER, SYMBOL, NAME, CATEGORY, WEIGHT
  FROM ELEMENT`, "ATOMICNUMBER");
list.Column("ATOMICNUMBER", "No.");
list.Column("SYMBOL", "Symbol");
list.Column("NAME", "Name");
list.Column("CATEGORY", "Category");
list.Column("WEIGHT", "Weight").Format("number", 3);
list.Search("NAME", "SYMBOL");
list.Filter("CATEGORY");
list.PageSizes(12, 25, 100);
list.Export("csv");
%><!DOCTYPE html>
<html lang="en">
<head>
<meta charset="utf-8">
<meta name="viewport" content="width=device-width, initial-scale=1">
<title>Chemical elements - [%Name%]</title>
<link rel="icon" href="data:,">
<link rel="stylesheet" href="<%: page.URL("styles/site.css") %>">
<link rel="stylesheet" href="<%: page.URL("styles/varnel-list.css") %>">
</head>
<body class="either-scheme">
<p><a href="<%: page.URL("index.asp") %>">Home</a></p>
<main>
<h1>Chemical elements</h1>
<% page.Add(list); %>
</main>
</body>
</html>
