<%@ Language=JavaScript CodePage=65001 EnableSessionState=False %>
<%
var page = Server.CreateObject("Varnel.Page");
page.OpenDatabaseConnection("Items");

var list = page.List("Items", "SELECT id, name, maker, category, price, stock FROM item", "id");
list.Column("id", "Number");
list.Column("name", "Name");
list.Column("maker", "Maker");
list.Column("category", "Category");
list.Column("price", "Price");
list.Column("stock", "Stock");
list.Sort("name");
list.PageSizes(10);
list.PageNumbers(0);
%><!DOCTYPE html>
<html lang="en">
<head><title>Items</title></head>
<body>
<% page.Add(list); %>
</body>
</html>
