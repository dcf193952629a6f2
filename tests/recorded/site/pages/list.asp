<%@ Language=JavaScript CodePage=65001 %>
<!--#include file="includes/data.inc"-->
<%
// A list without a grid: all texts of the recordset, its rows, and links to every page it knows.
var query = queries[asked("q") || "all"];
var rs = page.DRecordset();
rs.SetPageSize(CInt(asked("size") || "10"));
if (asked("count") === "1") rs.SetRecCountON();
if (asked("jump") !== "") rs.SetPageJump(true, CInt(asked("jump")));
rs.SetDefaultSortFields(asked("sort") || query.key);
if (asked("reversed") === "1") rs.SetDefaultSortReversed(true);
rs.OpenRS(query.sql, query.key);

function link(name, url) {
  return url === "" ? "<p>" + name + ": none</p>\r\n" :
    '<p>' + name + ': <a href="' + Server.HTMLEncode(url) + '">' + Server.HTMLEncode(url) + "</a></p>\r\n";
}
%>
<h1><%= rs.GetRecordsetName() %> <%= rs.GetDefaultSortFields() %></h1>
<p><%= rs.GetRecordNumberForFirstRecordOnPage() %>-<%= rs.GetRecordNumberForLastRecordOnPage() %> of
<%= rs.GetTotalNumberOfRecords() %>, <%= rs.GetPageSize() %> a page, counting <%= rs.GetIsRecCountON() %>, jump <%= rs.GetPageJump() %></p>
<p>page <%= rs.m_lDisplayPage %> of <%= rs.m_lTotalPages %>, <%= rs.m_leftPageNumber %>..<%= rs.m_rightPageNumber %></p>
<pre>
<%= guarded(function () { return Server.HTMLEncode(rs.GetState()); }) %>
<%= guarded(function () { return Server.HTMLEncode(rs.GetCurrentState()); }) %>
</pre>
<%= link("first", rs.GetUrlFirst()) %><%= link("previous", rs.GetUrlPrev()) %><%= link("next", rs.GetUrlNext()) %><%= link("last", rs.GetUrlLast()) %>
<%
var sorts = (asked("sorts") || query.key).split(";");
for (var s = 0; s < sorts.length; s++) {
  Response.Write(link(sorts[s] + " " + rs.GetCurrentSortOrder(sorts[s]), rs.GetUrlSorted(sorts[s])));
}
if (rs.GetPageJump()) {
  for (var n = rs.m_leftPageNumber; n <= rs.m_rightPageNumber; n++) {
    if (n !== rs.m_lDisplayPage) Response.Write(link("page " + n, rs.GetUrlForPage(n < rs.m_lDisplayPage ? -n : n)));
  }
}
%>
<table>
<% if (!rs.EOF) { %><tr><% for (var h = 0; h < rs.Fields.Count; h++) { var head = rs.Fields.Item(h); %><th><%= head.Name %> <%= head.Type_ %></th><% } %></tr><% } %>
<% while (!rs.EOF) { %>
<tr><% for (var i = 0; i < rs.Fields.Count; i++) { %><td><%= shownField(rs(i)) %></td><% } %></tr>
<% rs.MoveNext(); } %>
</table>
