<%@ Language=JavaScript CodePage=65001 %>
<!--#include file="includes/text.inc"-->
<!--#include file="includes/frame.inc"-->
<!--#include file="includes/catalogue.inc"-->
<%
// Reads a price and a day as the visitor's language writes them, and says what it could not read.
var page = Server.CreateObject("Varnel.Page");
var priceText = textParameter(Request.QueryString, "price");
var dayText = textParameter(Request.QueryString, "day");
var asked = Request.QueryString("price").Count > 0;

var least = 0.01;
var most = 9999999;
var firstDay = new Date(2020, 0, 1);
var lastDay = new Date(2039, 11, 31);

function priceProblem(price) {
  if (price === null) return say(page, "ShopOfferNoPrice", formatAmount(1234.5));
  if (!locale().ValidateFloat(price, least, most)) return say(page, "ShopOfferPriceRange", formatAmount(least) + " \u2013 " + formatAmount(most));
  return "";
}

function dayProblem(day) {
  if (day === null) return say(page, "ShopOfferNoDate", formatDay(new Date(2026, 0, 31)));
  if (!locale().ValidateDateTime(day, firstDay, lastDay)) return say(page, "ShopOfferDateRange", formatDay(firstDay) + " \u2013 " + formatDay(lastDay));
  return "";
}

// A Double stays one on its way through the script, so that a whole price is a number to the check too.
var price = asked ? readAmount(priceText) : null;
var day = asked ? readDay(dayText) : null;
var problems = asked ? { price: priceProblem(price), day: dayProblem(day) } : { price: "", day: "" };

function field(name, label, text) {
  var bad = problems[name] !== "";
  return '<div><label for="' + name + '">' + label + '</label><input id="' + name + '" name="' + name + '" required autocomplete="off" value="' +
    encode(text) + '"' + (bad ? ' aria-invalid="true"' : "") + ' aria-describedby="' + (bad ? name + "-problem" : "hint") + '">' +
    (bad ? '<span class="problem" id="' + name + '-problem">' + problems[name] + "</span>" : "") + "</div>";
}

var good = asked && problems.price === "" && problems.day === "";
%><!DOCTYPE html>
<html lang="<%= htmlLanguage() %>">
<head>
<%= documentHead(page, page.I18N("ShopOffer")) %>
</head>
<body>
<%= siteHeader(page, "offer.asp") %>
<main id="content">
<div class="bar"><h1><%= say(page, "ShopOffer") %></h1></div>
<form class="filter offer" method="get" action="<%= encode(page.URL("offer.asp")) %>">
<%= field("price", say(page, "ShopOfferPrice") + " (" + locale().GetEuroSymbol() + ")", asked ? priceText : formatAmount(1234.5)) %>
<%= field("day", say(page, "ShopOfferFrom"), asked ? dayText : formatDay(today())) %>
<button type="submit"><%= say(page, "ShopOfferRead") %></button>
<p id="hint" class="hint"><%= say(page, "ShopOfferHint") %></p>
<% if (good) { %><p class="note" role="status"><%= say(page, "ShopOfferDone", formatAmount(price) + "\u00a0" + locale().GetEuroSymbol() + ", " + formatDay(day)) %></p><% } %>
</form>
</main>
<%= siteFooter(page, "offer.asp") %>
</body>
</html>
