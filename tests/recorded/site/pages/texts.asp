<%@ Language=JavaScript CodePage=65001 %>
<!--#include file="includes/data.inc"-->
<pre>
<%= page.URL("a.asp") %>
<%= page.URL("a b.asp", "x", "1 2", "ü", "ä&=?", "n", 3, "d", 1.5, "b", true, "e", "") %>
<%= page.URL("images/first.gif") %>
<%= page.URLEncode("a b&c=ü€/\u{1f600}") %> <%= Server.URLEncode("~-_.!*'()") %> <%= Server.HTMLEncode("<a href=\"x\">'&amp;") %>
<%= page.I18N("SLBGE0015") %> <%= page.i18n("SLBGE0016") %> <%= guarded(function () { return page.I18N("none"); }) %>
<%= Request.ServerVariables("URL") %> <%= Request.ServerVariables("REQUEST_METHOD") %> <%= Request.ServerVariables("QUERY_STRING") %>
<%= Request.QueryString.Count %> <%= Request.QueryString("a") %> <%= Request.QueryString("A").Count %> <%= Request("b") %> <%= Request.QueryString("none").Count %>
<% for (var k of Request.QueryString) { %><%= Server.HTMLEncode(k) %>=<%= Server.HTMLEncode(String(Request.QueryString(k))) %>
<% } %><% for (var f = 1; f <= Request.Form.Count; f++) { %><%= Request.Form.Key(f) %>:<% for (var v = 1; v <= Request.Form(f).Count; v++) { %>[<%= Server.HTMLEncode(Request.Form(f)(v)) %>]<% } %>
<% } %>
<%= guarded(function () { return CInt("32768"); }) %>
<%= guarded(function () { return CLng(2.5) + " " + CLng("3.5") + " " + CByte(255) + " " + CDbl("1e3") + " " + CBool("true") + " " + CStr(1.25) + " " + CStr(1e21); }) %>
<%= guarded(function () { return CDate("12/31/1999").getTime() - new Date(1999, 11, 31).getTime(); }) %>
<%= guarded(function () { return CStr(new Date(1999, 11, 31, 13, 5, 9)) + " " + CStr(new Date(2020, 0, 2)); }) %>
<%= guarded(function () { return page.Nothing(); }) %>
<%= guarded(function () { return page.URL(); }) %>
<%= guarded(function () { return page.Add(); }) %>
<%= guarded(function () { page.x = 1; return "set"; }) %>
<%= guarded(function () { return Server.CreateObject("None.Such"); }) %>
<%= guarded(function () { page.ShowPageJump(20); var n = new ByRef(0), w = new ByRef(false); page.GetPageJump(n, w); return n.value + " " + w.value; }) %>
<%= page.GetDGridViaPost() %> <%= Application("TableBorderWidth") %> <%= Application("none") %> <%= Session("REMOTE_USER") %>
</pre><%= "one byte: äöü ÿ" %> <%= "two bytes: €łŻ日本" %> <%= 12 %> <%= 1.5 %> <%= null %> <%= undefined %> <%= true %> <%= new Date(2001, 1, 3) %>
<% Response.Write("x"); Response.Write(1); Response.Write(0.1 + 0.2); Response.Write(1e-7); Response.Write(null); Response.Write("\u00e9\u20ac\ud83d\ude00\udc00"); Response.write(false); Response.BinaryWrite(new Uint8Array([65, 66, 0xc3, 0xa4])); %>
