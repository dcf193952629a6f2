<!--#include file="includes/told.vbs"--><%
' Every operation of Table.
Dim page, table, wizard, title, direct, t
Set page = Server.CreateObject("Varnel.Page")

Set table = page.Table()
table.SetTableTypeProperty
table.SetTableBgImage "back.gif"
table.SetTableHeight "50%"
table.SetTableWidth 80
table.IncreaseTitleFontSize
table.SetAlternateColor True
table.SetAutoCellExtending False
table.SetColWidth 1, 40
table.SetColAlign 1, AlignRight
table.SetColVAlign 2, VAlignBottom
table.Title "A title"
table.HeaderCell "head"
table.HeaderCellInNormalCell "head in a cell"
table.TitleCell "title cell"
table.NewRow
table.Cell "a"
table.SkipCell
table.Cell 1.5
table.SkipCell 2
table.SetNextCellColSpan 2
table.SetNextCellRowSpan 2
table.SetNextCellBgImage "cell.gif"
table.SetNextCellBgColor "#112233"
table.SetNextCellAlign AlignCenter
table.SetNextCellVAlign VAlignTop
table.SetNextCellNoWrap
table.SetNextCellHeight 20
table.Cell "all that a cell can have"
table.NewRow
table.CellAt 5, 1, "far down"
table.HeaderCellAt 5, 2, "head down there"
table.CellAt -1, 3, Null
page.Add table
Response.Write Chr(10)

Set wizard = page.Table()
wizard.SetTableTypeWizard
Set title = page.Table()
title.SetTableTypeTitle
title.Cell "inner"
wizard.Cell title
page.Add wizard
Response.Write Chr(10)

Set direct = page.Table()
direct.SetTableTypePlain
direct.Cell "before"
direct.Deprecated_TableCellBegin
Response.Write "written by the page"
direct.Deprecated_TableCellEnd
direct.NewRow
page.Add direct
Response.Write Chr(10)

On Error Resume Next
page.Table().CellAt 0, 1, "a" : ToldFailure "row 0"
Set t = page.Table()
t.CellAt 1, 1, "a"
t.CellAt 1, 1, "b" : ToldFailure "a taken place"
t.SetTableWidth "wide" : ToldFailure "a text for a number"
t.SetTableWidth 100000 : ToldFailure "a number too large"
Set t = Server.CreateObject("Varnel.Table")
t.Cell "a" : ToldFailure "a table of no page"
%>
