<%@ Language=JavaScript CodePage=65001 %>
<!--#include file="includes/data.inc"-->
<%
// Tables of every type, with spans, heights, alignments, titles, nested and ragged ones.
if (asked("user") === "1") page.SetEndUserStyle();
var type = asked("type");

function make() {
  var t = page.Table();
  if (type === "plain") t.SetTableTypePlain();
  if (type === "wizard") t.SetTableTypeWizard();
  if (type === "title") t.SetTableTypeTitle();
  if (type === "property") t.SetTableTypeProperty();
  return t;
}

var ragged = make();
ragged.Cell("a"); ragged.Cell("b"); ragged.Cell("c"); ragged.NewRow();
ragged.Cell("d"); ragged.NewRow();
ragged.SkipCell(); ragged.Cell(null); ragged.Cell(""); ragged.Cell("  "); ragged.Cell(" x ");
if (asked("extend") === "0") ragged.SetAutoCellExtending(false);
page.Add(ragged);
page.Add(ragged);

var spans = make();
spans.SetAlternateColor(true);
spans.SetTableWidth(asked("width") === "" ? 100 : CInt(asked("width")));
spans.SetTableHeight("50%");
spans.SetTableBgImage("images/back.gif");
spans.Title("Spans &amp; \"quotes\"");
spans.HeaderCell("one"); spans.HeaderCell("two"); spans.HeaderCell("three"); spans.HeaderCellInNormalCell("four"); spans.NewRow();
spans.SetColWidth(2, 30); spans.SetColAlign(2, AlignRight); spans.SetColVAlign(3, VAlignBottom); spans.SetColWidth(25, 10);
spans.SetNextCellRowSpan(2); spans.Cell("tall");
spans.SetNextCellColSpan(2); spans.SetNextCellBgColor("#ff0000"); spans.Cell("wide");
spans.SetNextCellHeight(20); spans.SetNextCellNoWrap(); spans.Cell("high"); spans.NewRow();
spans.SetNextCellHeight(-20); spans.SetNextCellBgImage("x.gif"); spans.Cell(CDbl("1.5"));
spans.SetNextCellAlign(AlignCenter); spans.SetNextCellVAlign(VAlignTop); spans.Cell(new Date(2001, 1, 3, 4, 5, 6));
spans.SetNextCellColSpan(-1); spans.Cell(true); spans.NewRow();
spans.CellAt(7, 5, "far"); spans.CellAt(-1, 2, "here"); spans.TitleCell("title"); spans.HeaderCellAt(9, 8, 123);
spans.SetNextCellRowSpan(-1); spans.SetNextCellColSpan(3); spans.CellAt(8, 1, "rest");
page.Add(spans);

var outer = make();
outer.Cell("left");
var inner = page.Table();
inner.SetTableTypePlain();
for (var r = 0; r < 23; r++) {
  for (var c = 0; c < 12; c++) inner.Cell(r * c);
  inner.NewRow();
}
outer.Cell(inner);
outer.NewRow();
var titled = make();
guarded(function () { titled.IncreaseTitleFontSize(); });
titled.Title("Inner title");
titled.Cell("x");
outer.Cell(titled); outer.Cell("ä ö ü \u20ac \ud83d\ude00 \ud800 end");
page.Add(outer);
page.Add(make());
%>
<pre>
<%= guarded(function () { var t = make(); t.CellAt(1, 1, "a"); t.CellAt(1, 1, "b"); return "stored"; }) %>
<%= guarded(function () { var t = make(); t.Cell(page.DRecordset()); return "stored"; }) %>
<%= guarded(function () { make().CellAt(0, 1, "a"); return "stored"; }) %>
<%= guarded(function () { make().Cell(); return "stored"; }) %>
</pre>
<% page.Add("no component"); %>
