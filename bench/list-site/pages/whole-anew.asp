<%@ Language=JavaScript CodePage=65001 EnableSessionState=False %>
<% var connection = "Anew"; %><!--#include file="items.inc"-->
