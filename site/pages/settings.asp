<%@ Language=JavaScript CodePage=65001 %>
<!--#include file="includes/text.inc"-->
<!--#include file="includes/frame.inc"-->
<%
// Chooses the language and the user. There are no passwords: both users are for show.
var page = Server.CreateObject("Varnel.Page");
if (String(Request.ServerVariables("REQUEST_METHOD")) === "POST") {
  requireOwnPost();
  var language = numberParameter(Request.Form, "language");
  var user = String(Request.Form("user"));
  if (shopLanguages().some((each) => each.lcid === language)) Session.Contents["LanguageID"] = language;
  if (user === "demo" || user === "anna") Session.Contents["REMOTE_USER"] = user;
  goBack(page);
}
var back = ownAddress(page, String(Request.QueryString("back")));

function choice(name, value, shown, chosen) {
  return '<label><input type="radio" name="' + name + '" value="' + value + '"' + (chosen ? " checked" : "") + "> " + shown + "</label>";
}
%><!DOCTYPE html>
<html lang="<%= htmlLanguage() %>">
<head>
<%= documentHead(page, page.I18N("ShopSettings")) %>
</head>
<body>
<%= siteHeader(page, "settings.asp") %>
<main id="content">
<div class="bar"><h1><%= say(page, "ShopSettings") %></h1></div>
<form class="settings" method="post" action="<%= encode(page.URL("settings.asp")) %>">
<%= formFields(back) %>
<fieldset><legend><%= say(page, "ShopLanguage") %></legend>
<% for (var each of shopLanguages()) Response.Write(choice("language", each.lcid, '<span lang="' + each.tag + '">' + encode(each.name) + "</span>", htmlLanguage() === each.tag) + "\n"); %>
</fieldset>
<fieldset><legend><%= say(page, "ShopUser") %></legend>
<%= choice("user", "demo", "demo", currentUser() === "demo") %>
<%= choice("user", "anna", "anna", currentUser() === "anna") %>
</fieldset>
<button type="submit"><%= say(page, "ShopChoose") %></button>
</form>
</main>
<%= siteFooter(page, "settings.asp") %>
</body>
</html>
