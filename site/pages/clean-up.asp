<%@ Language=JavaScript CodePage=65001 %>
<!--#include file="includes/text.inc"-->
<!--#include file="includes/visitor.inc"-->
<%
// Deletes the user's favourites that stand in no catalogue any more, if there are as many as the threshold says.
requireOwnPost();
var page = Server.CreateObject("Varnel.Page");
var threshold = numberParameter(Request.Form, "threshold");
var deleted = Server.CreateObject("Varnel.CatalogQuery").CleanupFavorites(currentUser(), "-1", -1, threshold);
goBack(page, deleted);
%>
