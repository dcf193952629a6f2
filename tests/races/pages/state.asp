<%
var n = (Session("n") || 0) + 1;
Session.Contents["n"] = n;
Application.Lock();
Application.Contents["hits"] = (Application("hits") || 0) + 1;
Application.Unlock();
Response.Cookies["seen"] = String(n);
%><%= n %> <%= Application("hits") > 0 %> <%= Request.QueryString("a") %> <%= Session.SessionID > 0 %>
