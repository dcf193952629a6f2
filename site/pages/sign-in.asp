<%@ Language=JavaScript CodePage=65001 %>
<!--#include file="includes/text.inc"-->
<!--#include file="includes/frame.inc"-->
<%
// Signs a user in by name and password, and leads back to where he came from.
var page = Server.CreateObject("Varnel.Page");
var back = ownAddress(page, String(isPost() ? Request.Form("back") : Request.QueryString("back")));
var name = textParameter(Request.Form, "name");
var problem = "";
var wait = 0;

// The session begins anew: an id that somebody else has learned or planted before is of no use to him.
function enter() {
  Session.Renew();
  Session.Contents["REMOTE_USER"] = name;
  Session.Contents["SignedIn"] = true;
  goBack(page);
}

// Too many attempts, or one under way: the password wasn't looked at.
function refuse(seconds) {
  Response.Status = "503 Service Unavailable";
  Response.AddHeader("Retry-After", String(seconds));
  problem = "ShopSignInLater";
  wait = seconds;
}

if (isPost()) {
  requireOwnPost();
  var accounts = Server.CreateObject("Host.Accounts");
  if (accounts.Check(name, String(Request.Form("password")))) enter();
  if (accounts.RetryAfter > 0) refuse(accounts.RetryAfter);
  else problem = "ShopSignInWrong";
}
var wrong = problem === "ShopSignInWrong" ? ' aria-invalid="true" aria-describedby="problem"' : "";
%><!DOCTYPE html>
<html lang="<%= htmlLanguage() %>">
<head>
<%= documentHead(page, page.I18N("ShopSignIn")) %>
</head>
<body>
<%= siteHeader(page, "sign-in.asp") %>
<main id="content">
<div class="bar"><h1><%= say(page, "ShopSignIn") %></h1></div>
<form class="signin" method="post" action="<%= encode(page.URL("sign-in.asp")) %>">
<%= formFields(back) %>
<% if (problem !== "") { %><p id="problem" class="note bad" role="alert"><%= say(page, problem, wait) %></p><% } %>
<div><label for="name"><%= say(page, "ShopUser") %></label>
<input id="name" name="name" required maxlength="30" autocomplete="username" autocapitalize="none" spellcheck="false" value="<%= encode(name) %>"<%= wrong %>></div>
<div><label for="password"><%= say(page, "ShopPassword") %></label>
<input id="password" name="password" type="password" required maxlength="256" autocomplete="current-password"<%= wrong %>></div>
<button type="submit"><%= say(page, "ShopSignIn") %></button>
<p class="hint"><%= say(page, "ShopSignInHint") %></p>
</form>
</main>
<%= siteFooter(page, "sign-in.asp") %>
</body>
</html>
