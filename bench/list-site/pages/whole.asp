<%@ Language=JavaScript CodePage=65001 EnableSessionState=False %>
<% var connection = "Items"; %><!--#include file="items.inc"-->
