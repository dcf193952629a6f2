<%@ Language=JavaScript CodePage=65001 %>
<!--#include file="includes/text.inc"-->
<!--#include file="includes/visitor.inc"-->
<%
// Adds a product to the user's favourites, of which there are only so many, or removes it, and leads back.
requireOwnPost();
var page = Server.CreateObject("Varnel.Page");
var added = numberParameter(Request.Form, "add");
var removed = numberParameter(Request.Form, "remove");

var user = "'" + currentUser() + "'";
var connection = Server.CreateObject("ADODB.Connection");
connection.Open(Application("FavoritesConnection_ConnectionString"));
if (added >= 0) {
  connection.Execute("INSERT INTO FAVORITES (USERID, PRODUCTID) SELECT " + user + ", PRODUCTID FROM PRODUCT" +
    " WHERE PRODUCTID = " + added + " AND NOT EXISTS (SELECT 1 FROM FAVORITES WHERE USERID = " + user +
    " AND PRODUCTID = " + added + ") AND (SELECT COUNT(*) FROM FAVORITES WHERE USERID = " + user + ") < " + quota("Favorites"));
}
if (removed >= 0) connection.Execute("DELETE FROM FAVORITES WHERE USERID = " + user + " AND PRODUCTID = " + removed);
connection.Close();
goBack(page);
%>
