<%@ Language=JavaScript CodePage=65001 %>
<!--#include file="includes/text.inc"-->
<!--#include file="includes/frame.inc"-->
<!--#include file="includes/catalogue.inc"-->
<!--#include file="includes/tools.inc"-->
<%
// All products of a manufacturer in one table, which goes to the browser while it is made.
Response.Buffer = false;
var page = Server.CreateObject("Varnel.Page");
var maker = numberParameter(Request.QueryString, "manufacturer");
var makers = rowsOfQuery("SELECT M.MANUFACTURERID, M.MANUFACTURERNAME, COUNT(*) AS PRODUCTS FROM MANUFACTURER M" +
  " INNER JOIN PRODUCT P ON P.MANUFACTURERID = M.MANUFACTURERID GROUP BY M.MANUFACTURERID, M.MANUFACTURERNAME" +
  " HAVING COUNT(*) >= 100 OR M.MANUFACTURERID = " + maker + " ORDER BY M.MANUFACTURERID", ["MANUFACTURERID", "MANUFACTURERNAME", "PRODUCTS"]);
var chosen = makers.find((each) => each.MANUFACTURERID === maker);

function option(each) {
  return '<option value="' + each.MANUFACTURERID + '"' + (each.MANUFACTURERID === maker ? " selected" : "") + ">" +
    encode(each.MANUFACTURERNAME) + " (" + formatCount(each.PRODUCTS) + ")</option>";
}

// Opens a cell, writes into it and closes it: so each cell is on its way before the next one is made.
function writeCell(table, html) {
  table.Deprecated_TableCellBegin();
  Response.Write(html);
  table.Deprecated_TableCellEnd();
}

function writeReport() {
  var connection = Server.CreateObject("ADODB.Connection");
  connection.Open(Application("FactsConnection_ConnectionString"));
  var rs = connection.Execute("SELECT PARTNUMBER, PRODUCTDESCRIPTION, CLASSIFICATION FROM PRODUCT WHERE MANUFACTURERID = " + maker +
    " ORDER BY PRODUCTDESCRIPTION");
  var table = page.Table();
  table.SetTableTypePlain();
  for (var head of ["ShopPartNumber", "ShopName", "ShopCategory"]) table.HeaderCell(say(page, head));
  table.NewRow();
  while (!rs.EOF) {
    for (var field of ["PARTNUMBER", "PRODUCTDESCRIPTION", "CLASSIFICATION"]) writeCell(table, encode(rs(field).Value));
    table.NewRow();
    rs.MoveNext();
  }
  page.Add(table);
  rs.Close();
  connection.Close();
}
%><!DOCTYPE html>
<html lang="<%= htmlLanguage() %>">
<head>
<%= documentHead(page, page.I18N("ShopReport")) %>
</head>
<body>
<%= siteHeader(page, "report.asp") %>
<main id="content">
<div class="bar"><h1><%= say(page, "ShopReport") %></h1></div>
<form class="filter" method="get" action="<%= encode(page.URL("report.asp")) %>">
<div><label for="manufacturer"><%= say(page, "ShopManufacturer") %></label>
<select id="manufacturer" name="manufacturer"><% for (var each of makers) Response.Write(option(each)); %></select></div>
<button type="submit"><%= say(page, "ShopShow") %></button>
<p class="hint"><%= say(page, "ShopReportHint") %></p>
</form>
<% if (chosen) { %>
<h2><%= encode(chosen.MANUFACTURERNAME) %></h2>
<div class="rows report">
<% writeReport(); %>
</div>
<% } %>
</main>
<%= siteFooter(page, "report.asp") %>
</body>
</html>
