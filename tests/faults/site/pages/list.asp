<%@ Language=JavaScript CodePage=65001 EnableSessionState=False %>
<%
// A page of the list, with the link to the next one, for a program to read.
var page = Server.CreateObject("Varnel.Page");
page.OpenDatabaseConnection("Items");
var rs = page.DRecordset();
rs.SetPageSize(20);
rs.SetDefaultSortFields("name");
rs.OpenRS("SELECT id, name FROM item", "id");
var rows = [];
for (; !rs.EOF; rs.MoveNext()) rows.push(rs("id").Value);
Response.Write(JSON.stringify({ rows: rows, next: rs.GetUrlNext() }));
%>
