<%@ Language=JavaScript CodePage=65001 %>
<%
var page = Server.CreateObject("Varnel.Page");
page.OpenDatabaseConnection("Elements");  // Elements_ConnectionString in site.toml

var rs = page.DRecordset();
rs.SetPageSize(12);
rs.SetRecCountON();

// A column with a sort text sorts by its head; the first one is the order of the first visit.
var grid = page.DGrid(rs, "Chemical elements");
grid.Col("No.", "ATOMICNUMBER", 10, AlignRight);
grid.Col("Symbol", "", 15);
grid.Col("Name", "NAME", 30);
grid.Col("Category", "CATEGORY, NAME", 30);
grid.Col("Weight", "WEIGHT", 15, AlignRight);
grid.ShowAlternateColors();
grid.ShowPageJump(8, 8, "");

// The query, and the columns that together are unique. Blanks stand between its words, not line breaks.
rs.OpenRS("SELECT ATOMICNUMBER, SYMBOL, NAME, CATEGORY, WEIGHT FROM ELEMENT", "ATOMICNUMBER");
while (!rs.EOF) {
  grid.Cell(rs("ATOMICNUMBER").Value);
  grid.Cell(Server.HTMLEncode(rs("SYMBOL").Value));
  grid.Cell(Server.HTMLEncode(rs("NAME").Value));
  grid.Cell(Server.HTMLEncode(rs("CATEGORY").Value));
  grid.Cell(rs("WEIGHT").Value);
  rs.MoveNext();
}
%><!DOCTYPE html>
<html lang="en">
<head>
<meta charset="utf-8">
<meta name="viewport" content="width=device-width, initial-scale=1">
<title>Chemical elements - [%Name%]</title>
<link rel="icon" href="data:,">
<link rel="stylesheet" href="<%: page.URL("styles/site.css") %>">
</head>
<body>
<p><a href="<%: page.URL("index.asp") %>">Home</a></p>
<div class="grid">
<% page.Add(grid); %>
</div>
</body>
</html>
