<%@ Language=JavaScript CodePage=65001 %>
<!--#include file="includes/data.inc"-->
<%
// A grid in link form, with a second one where `two` asks for it.
function makeGrid(title, query, columns) {
  var rs = page.DRecordset();
  rs.SetPageSize(CInt(asked("size") || "8"));
  if (asked("count") !== "0") rs.SetRecCountON();
  var grid = page.DGrid(rs, title);
  for (var n = 0; n < columns.length; n++) {
    var c = columns[n];
    grid.Col(c.title, c.sort, c.width || 0, c.align === undefined ? -2 : c.align, -2, c.span || 1);
  }
  if (asked("colors") === "1") grid.ShowAlternateColors();
  if (asked("jump") !== "") grid.ShowPageJump(new ByRef(CInt(asked("jump"))), new ByRef(CInt(12)), "");
  rs.OpenRS(query.sql, query.key);
  while (!rs.EOF) {
    for (var i = 0; i < columns.length; i++) {
      var shownColumn = columns[i];
      if (shownColumn.skip) grid.SkipCell(); else grid.Cell(shownField(rs(shownColumn.field)));
    }
    rs.MoveNext();
  }
  return grid;
}
var columns = [
  { title: "Number", field: "id", sort: "id", width: 10, align: AlignRight },
  { title: "Name", field: "NAME", sort: "name", width: 40 },
  { title: "Town", field: "town", sort: "town, name DESC" },
  { title: "Price", field: "price", sort: "price DESC, name", align: AlignCenter },
  { title: "Born", field: "born", sort: "born" },
  { title: "Note", field: "note" }
];
if (asked("q") === "none" || asked("q") === "few") columns = columns.slice(0, 3);
if (asked("user") === "1") page.SetEndUserStyle();
var grid = makeGrid("People & towns", queries[asked("q") || "all"], columns);
page.Add(grid);
Response.Write("\r\n<pre>" + Server.HTMLEncode(grid.GetCurrentState()) + "</pre>\r\n");
if (asked("two") === "1") {
  page.Add(makeGrid("Towns", queries.grouped, [
    { title: "Town", field: "town", sort: "town" }, { title: "People", field: "people", sort: "people DESC" }, { title: "Highest", field: "highest" }
  ]));
}
%>
