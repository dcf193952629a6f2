<%@ Language=JavaScript CodePage=65001 %>
<!--#include file="includes/text.inc"-->
<!--#include file="includes/visitor.inc"-->
<%
// Ends the session, and with it all that it held.
requireOwnPost();
var page = Server.CreateObject("Varnel.Page");
Session.Abandon();
goBack(page);
%>
