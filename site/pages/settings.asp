<%@ Language=JavaScript CodePage=65001 %>
<!--#include file="includes/text.inc"-->
<!--#include file="includes/frame.inc"-->
<%
// Chooses the language.
var page = Server.CreateObject("Varnel.Page");
if (isPost()) {
  requireOwnPost();
  var language = numberParameter(Request.Form, "language");
  if (shopLanguages().some((each) => each.lcid === language)) Session.Contents["LanguageID"] = language;
  goBack(page);
}
var back = ownAddress(page, String(Request.QueryString("back")));

function choice(name, value, shown, chosen) {
  return '<label><input type="radio" name="' + name + '" value="' + value + '"' + (chosen ? " checked" : "") + "> " + shown + "</label>";
}
%><!DOCTYPE html>
<html lang="<%= htmlLanguage() %>">
<head>
<%= documentHead(page, page.I18N("ShopLanguage")) %>
</head>
<body>
<%= siteHeader(page, "settings.asp") %>
<main id="content">
<div class="bar"><h1><%= say(page, "ShopLanguage") %></h1></div>
<form class="settings" method="post" action="<%= encode(page.URL("settings.asp")) %>">
<%= formFields(back) %>
<fieldset><legend><%= say(page, "ShopLanguage") %></legend>
<% for (var each of shopLanguages()) Response.Write(choice("language", each.lcid, '<span lang="' + each.tag + '">' + encode(each.name) + "</span>", htmlLanguage() === each.tag) + "\n"); %>
</fieldset>
<button type="submit"><%= say(page, "ShopChoose") %></button>
</form>
</main>
<%= siteFooter(page, "settings.asp") %>
</body>
</html>
