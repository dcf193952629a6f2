<%@ Language=JavaScript CodePage=65001 %>
<!--#include file="includes/data.inc"-->
<%
// A form-based grid: what was pressed comes back in the form's fields.
page.SetDGridViaPost();
var rs = page.DRecordset();
rs.SetPageSize(CInt(asked("size") || "9"));
rs.SetRecCountON();
var grid = page.DGrid(rs, "People", true);
grid.Col("Number", "id", 10, AlignRight);
grid.Col("Name", "name", 50, AlignLeft, VAlignTop);
grid.Col("Town", "town DESC, name", 0, AlignCenter, VAlignMiddle);
grid.Col("Price", "price");
grid.Col("Since", "born DESC");
grid.ShowPageJump(new ByRef(CInt(asked("jump") || "5")), new ByRef(CInt(10)), "people");
grid.ShowAlternateColors();
if (Request.Form.Count === 0) rs.SetState("");
rs.OpenRS(queries.all.sql, queries.all.key);
while (!rs.EOF) {
  grid.Cell(rs("id").Value);
  grid.Cell(shownField(rs("name")));
  grid.Cell(shownField(rs("town")));
  grid.Cell(rs("price").Value);
  grid.Cell(held(rs("born")));
  rs.MoveNext();
}
%><form name="people" method="post" action="<%= page.URL("form.asp", "size", asked("size")) %>">
<% page.Add(grid); %>
<p><%= Request.Form.Count %> fields: <% for (var i = 1; i <= Request.Form.Count; i++) { %><%= Request.Form.Key(i) %> <% } %></p>
</form>
