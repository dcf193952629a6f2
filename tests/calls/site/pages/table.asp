<!--#include file="includes/told.inc"--><%
// Every operation of Table.
var page = Server.CreateObject("Varnel.Page");

var table = page.Table();
table.SetTableTypeProperty();
table.SetTableBgImage("back.gif");
table.SetTableHeight("50%");
table.SetTableWidth(80);
table.IncreaseTitleFontSize();
table.SetAlternateColor(true);
table.SetAutoCellExtending(false);
table.SetColWidth(1, 40);
table.SetColAlign(1, AlignRight);
table.SetColVAlign(2, VAlignBottom);
table.Title("A title");
table.HeaderCell("head");
table.HeaderCellInNormalCell("head in a cell");
table.TitleCell("title cell");
table.NewRow();
table.Cell("a");
table.SkipCell();
table.Cell(1.5);
table.SkipCell(2);
table.SetNextCellColSpan(2);
table.SetNextCellRowSpan(2);
table.SetNextCellBgImage("cell.gif");
table.SetNextCellBgColor("#112233");
table.SetNextCellAlign(AlignCenter);
table.SetNextCellVAlign(VAlignTop);
table.SetNextCellNoWrap();
table.SetNextCellHeight(20);
table.Cell("all that a cell can have");
table.NewRow();
table.CellAt(5, 1, "far down");
table.HeaderCellAt(5, 2, "head down there");
table.CellAt(-1, 3, null);
page.Add(table);
Response.Write("\n");

var wizard = page.Table();
wizard.SetTableTypeWizard();
var title = page.Table();
title.SetTableTypeTitle();
title.Cell("inner");
wizard.Cell(title);
page.Add(wizard);
Response.Write("\n");

var direct = page.Table();
direct.SetTableTypePlain();
direct.Cell("before");
direct.Deprecated_TableCellBegin();
Response.Write("written by the page");
direct.Deprecated_TableCellEnd();
direct.NewRow();
page.Add(direct);
Response.Write("\n");

toldFailure("row 0", function () { page.Table().CellAt(0, 1, "a"); });
toldFailure("a taken place", function () { var t = page.Table(); t.CellAt(1, 1, "a"); t.CellAt(1, 1, "b"); });
toldFailure("a text for a number", function () { page.Table().SetTableWidth("wide"); });
toldFailure("a number too large", function () { page.Table().SetTableWidth(100000); });
toldFailure("a table of no page", function () { Server.CreateObject("Varnel.Table").Cell("a"); });
%>
