<%@ Language=JavaScript CodePage=65001 %>
<!--#include file="includes/text.inc"-->
<!--#include file="includes/frame.inc"-->
<!--#include file="includes/catalogue.inc"-->
<!--#include file="includes/csv.inc"-->
<!--#include file="includes/tools.inc"-->
<%
// Reads a price list from a file: order number, group, first day, price. Shows what it would do, and does it when told to;
// what was shown comes back with the form, so that nobody has to choose the file again.
var page = Server.CreateObject("Varnel.Page");
requireEditor(page, "import.asp");
var mostLines = 1000;

function productOf(orderNumber) {
  var rows = rowsOfQuery("SELECT PRODUCTID, PRODUCTDESCRIPTION FROM PRODUCT WHERE BUYFROMPARTNUMBER = '" + quoted(orderNumber) + "'",
    ["PRODUCTID", "PRODUCTDESCRIPTION"]);
  return rows.length > 0 ? rows[0] : null;
}

function isDay(text) {
  var parts = /^(\d{4})-(\d{2})-(\d{2})$/.exec(text);
  if (parts === null) return false;
  var day = new Date(Number(parts[1]), Number(parts[2]) - 1, Number(parts[3]));
  return day.getMonth() === Number(parts[2]) - 1 && day.getDate() === Number(parts[3]);
}

// What one line says, with the key of a message where it can't be taken.
function priceOfLine(line) {
  var fields = line.fields.map((field) => field.trim());
  var entry = { line: line.number, number: fields[0], group: fields[1], day: fields[2], amount: fields[3], name: "", problem: "" };
  if (line.broken) entry.problem = "ShopCsvQuote";
  else if (fields.length !== 4) entry.problem = "ShopCsvFields";
  else if (entry.group !== "" && entry.group !== "DEALER") entry.problem = "ShopCsvGroup";
  else if (!isDay(entry.day)) entry.problem = "ShopCsvDay";
  else if (!/^\d{1,7}([.,]\d{1,2})?$/.test(entry.amount)) entry.problem = "ShopCsvPrice";
  if (entry.problem !== "") return entry;
  var product = productOf(entry.number);
  if (product === null) entry.problem = "ShopCsvNumber";
  else { entry.productId = product.PRODUCTID; entry.name = product.PRODUCTDESCRIPTION; }
  return entry;
}

// This day, as every database is told of one.
function startOfToday() {
  var now = new Date();
  function two(number) { return (number < 10 ? "0" : "") + number; }
  return now.getFullYear() + "-" + two(now.getMonth() + 1) + "-" + two(now.getDate()) + " 00:00:00";
}

// Notes that the user brings in so many prices today. Whether he may is asked behind it: by then nobody else can write.
function fitsQuota(connection, count) {
  var day = startOfToday();
  var todays = "USERID = '" + currentUser() + "' AND IMPORTDAY = '" + day + "'";
  connection.Execute("UPDATE IMPORTEDPRICES SET PRICES = PRICES + " + count + " WHERE " + todays);
  var rs = connection.Execute("SELECT PRICES FROM IMPORTEDPRICES WHERE " + todays);
  if (!rs.EOF) return rs("PRICES").Value <= quota("Prices");
  connection.Execute("INSERT INTO IMPORTEDPRICES (USERID, IMPORTDAY, PRICES) VALUES ('" + currentUser() + "', '" + day + "', " + count + ")");
  return count <= quota("Prices");
}

// All or nothing. Tells whether they were stored.
function store(entries) {
  var connection = Server.CreateObject("ADODB.Connection");
  connection.Open(Application("EditorConnection_ConnectionString"));
  connection.BeginTrans();
  if (!fitsQuota(connection, entries.length)) {
    connection.RollbackTrans();
    connection.Close();
    return false;
  }
  for (var entry of entries) {
    var day = entry.day + " 00:00:00";
    connection.Execute("DELETE FROM CATALOGPRODUCTPRICE WHERE PRODUCTID = " + entry.productId + " AND GROUPBY = '" + entry.group +
      "' AND PRICEEFFECTIVEDATE = '" + day + "'");
    connection.Execute("INSERT INTO CATALOGPRODUCTPRICE (PRODUCTID, GROUPBY, PRICEEFFECTIVEDATE, PRICE, CURRENCYCODE) VALUES (" +
      entry.productId + ", '" + entry.group + "', '" + day + "', " + entry.amount.replace(",", ".") + ", 'EUR')");
  }
  connection.CommitTrans();
  connection.Close();
  return true;
}

// The lines as they were shown, each field quoted.
function listOf(entries) {
  function quotedField(field) { return '"' + field.replace(/"/g, '""') + '"'; }
  return entries.map((entry) => [entry.number, entry.group, entry.day, entry.amount].map(quotedField).join(";")).join("\n");
}

var entries = null;
var sound = false;
var stored = false;
var full = false;
var notice = "";
if (isPost()) {
  var upload = Server.CreateObject("Varnel.Upload");
  requireOwnUpload(upload);
  var lines = csvLines(upload.GetFormVar("shown") || upload.GetFileAsString("list"));
  if (lines.length > 0 && lines[0].fields[0].trim().toLowerCase() === "number") lines.shift();
  if (lines.length === 0) notice = "ShopCsvEmpty";
  else if (lines.length > mostLines) notice = "ShopCsvLong";
  else {
    entries = lines.map(priceOfLine);
    sound = entries.every((entry) => entry.problem === "");
    if (upload.GetFormVar("do") === "import" && sound) {
      stored = store(entries);
      full = !stored;
    }
    notice = stored ? "ShopCsvStored" : full ? "ShopCsvQuota" : sound ? "ShopCsvSound" : "ShopCsvBroken";
  }
}

function preview() {
  var table = page.Table();
  table.SetTableTypePlain();
  for (var head of ["ShopCsvLine", "ShopOrderNumber", "ShopName", "ShopGroup", "ShopFrom", "ShopPrice", "ShopCsvResult"]) table.HeaderCell(say(page, head));
  table.NewRow();
  for (var entry of entries) {
    for (var value of [entry.line, entry.number, entry.name, entry.group, entry.day, entry.amount]) table.Cell(encode(value));
    table.Cell(entry.problem === "" ? say(page, "ShopCsvGood") : '<span class="tag">' + say(page, entry.problem) + "</span>");
    table.NewRow();
  }
  return table;
}
%><!DOCTYPE html>
<html lang="<%= htmlLanguage() %>">
<head>
<%= documentHead(page, page.I18N("ShopImport")) %>
</head>
<body>
<%= siteHeader(page, "import.asp") %>
<main id="content">
<div class="bar"><h1><%= say(page, "ShopImport") %></h1></div>
<form class="filter" method="post" enctype="multipart/form-data" action="<%= encode(page.URL("import.asp")) %>">
<%= formFields(page.URL("import.asp")) %>
<div><label for="list"><%= say(page, "ShopCsvFile") %></label>
<input id="list" name="list" type="file" accept=".csv,text/csv" required aria-describedby="hint"></div>
<button type="submit" name="do" value="preview"><%= say(page, "ShopCsvPreview") %></button>
<button type="submit" name="do" value="import"><%= say(page, "ShopCsvImport") %></button>
<p id="hint" class="hint"><%= say(page, "ShopCsvHint") %></p>
<% if (notice !== "") { %><p class="note<%= sound && !full ? "" : " bad" %>" role="status"><%= say(page, notice, full ? quota("Prices") : entries === null ? mostLines : entries.length) %></p><% } %>
</form>
<% if (entries !== null) { %>
<div class="rows pricelist">
<% page.Add(preview()); %>
</div>
<% if (sound && !stored && !full) { %>
<form class="go" method="post" enctype="multipart/form-data" action="<%= encode(page.URL("import.asp")) %>">
<%= formFields(page.URL("import.asp")) %>
<input type="hidden" name="shown" value="<%= encode(listOf(entries)) %>">
<button type="submit" name="do" value="import"><%= say(page, "ShopCsvTake", entries.length) %></button>
</form>
<% } } %>
</main>
<%= siteFooter(page, "import.asp") %>
</body>
</html>
