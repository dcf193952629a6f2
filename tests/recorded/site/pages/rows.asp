<%@ Language=JavaScript CodePage=65001 %>
<!--#include file="includes/data.inc"-->
<%
// Rows read past the recordset: a plain connection, all the forms of getting at a field.
var connection = Server.CreateObject("ADODB.Connection");
connection.Open(Application("Data_ConnectionString"));
var plain = Server.CreateObject("ADODB.Recordset");
plain.CursorLocation = 3;
plain.Open("SELECT id, name, price, born FROM person WHERE id <= 40 ORDER BY id", connection, 3);
%><p><%= plain.RecordCount %> rows, <%= plain.Fields.Count %> fields: <% for (var f of plain.Fields) { %><%= f.Name %> <%= f.Type %>; <% } %></p>
<ul>
<% while (!plain.EOF) { %><li><%= plain("id") %> <%= shown(plain("NAME").Value) %> <%= plain(2) + "" %> <%= shown(plain.Fields("born").Value) %> <%= plain.fields.item(3).value === null %></li>
<% plain.MoveNext(); } %></ul>
<%
plain.MoveFirst();
var block = plain.GetRows(5);
for (var row = 0; row < 5; row++) Response.Write("<p>" + shown(block[0][row]) + " " + shown(block[1][row]) + "</p>\r\n");
plain.Close();

var rs = page.DRecordset();
rs.SetPageSize(6);
rs.OpenRS(queries.all.sql, queries.all.key);
var copy = Server.CreateObject("ADODB.Recordset");
guarded(function () { rs.GetDataAsRecordSet(new ByRef(copy)); });
while (copy.State === 1 && !copy.EOF) {
  for (var field of copy.Fields) Response.Write(shown(field.Value) + "|");
  Response.Write("<br>\r\n");
  copy.MoveNext();
}
var total = 0;
while (!rs.EOF) {
  total += rs("id") * 1;
  Response.Write(rs("name") + "," + rs.Fields("price") + "," + rs.Fields.Item(0).GetDefault() + "," + rs.getdefault("TOWN").value + "\r\n");
  rs.movenext();
}
rs.MoveFirst();
%><p><%= total %> <%= rs.eof %> <%= guarded(function () { return rs("nothing").Value; }) %> <%= guarded(function () { return rs(99).Value; }) %>
<%= guarded(function () { return rs.OpenRS(queries.all.sql, "id"); }) %>
<%= guarded(function () { return rs.SetPageSize(3); }) %>
<%= guarded(function () { return page.DRecordset().GetState(); }) %>
<%= guarded(function () { var r = page.DRecordset(); r.SetState("12"); return r.OpenRS(queries.all.sql, "id"); }) %>
<%= guarded(function () { var r = page.DRecordset(); return r.OpenRS("SELECT nothing FROM nowhere", "id") ; }).replace(/near.*|no such.*/g, "") %></p>
<% connection.Close(); %>
