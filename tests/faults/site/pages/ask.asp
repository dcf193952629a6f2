<%@ Language=JavaScript CodePage=65001 EnableSessionState=False %>
<%
// The first value that a statement gives, on the connection of that name. For this test alone: who may send SQL may do anything.
var connection = Server.CreateObject("ADODB.Connection");
connection.Open(Application(String(Request.QueryString("connection")) + "_ConnectionString"));
var rows = connection.Execute(String(Request.QueryString("sql")));
Response.Write(rows.State === 0 ? "" : String(rows(0).Value));
%>
