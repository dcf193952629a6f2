<%@ Language=JavaScript CodePage=65001 EnableSessionState=False %>
<%
var page = Server.CreateObject("Varnel.Page");
page.OpenDatabaseConnection("Items");

var columns = [
  { title: "Number", field: "id", sort: "id" },
  { title: "Name", field: "name", sort: "name" },
  { title: "Maker", field: "maker", sort: "maker" },
  { title: "Category", field: "category", sort: "category" },
  { title: "Price", field: "price", sort: "price" },
  { title: "Stock", field: "stock", sort: "stock" }
];

function link(url, text) {
  return url === "" ? "<span>" + text + "</span>" : '<a href="' + Server.HTMLEncode(url) + '">' + text + "</a>";
}

var rs = page.DRecordset();
rs.SetPageSize(10);
rs.SetDefaultSortFields("name");
rs.SetRecCountON();
rs.OpenRS("SELECT id, name, maker, category, price, stock FROM item", "id");

var table = page.Table();
for (var head of columns) table.HeaderCell(link(rs.GetUrlSorted(head.sort), head.title));
table.NewRow();
while (!rs.EOF) {
  for (var column of columns) table.Cell(Server.HTMLEncode(String(rs(column.field).Value)));
  table.NewRow();
  rs.MoveNext();
}
%><!DOCTYPE html>
<html lang="en">
<head><title>Items</title></head>
<body>
<p><%= rs.GetRecordNumberForFirstRecordOnPage() %> - <%= rs.GetRecordNumberForLastRecordOnPage() %> of <%= rs.GetTotalNumberOfRecords() %></p>
<p><%= link(rs.GetUrlFirst(), "First") %> <%= link(rs.GetUrlPrev(), "Previous") %> <%= link(rs.GetUrlNext(), "Next") %> <%= link(rs.GetUrlLast(), "Last") %></p>
<% page.Add(table); %>
</body>
</html>
