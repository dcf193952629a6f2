<!--#include file="includes/told.vbs"--><%
' Page and PageUtil.
Dim page, plain, table, rs, grid, form, formGrid, util, pages, wanted
Set page = Server.CreateObject("Varnel.Page")
On Error Resume Next
page.DRecordset : ToldFailure "DRecordset without a connection"
On Error Goto 0
page.OpenDatabaseConnection "Data"
Told "URLEncode", page.URLEncode("a b&c")
Told "URL", page.URL("y.asp")
Told "URL", page.URL("y.asp", "a", "1 2", "b", 3)
Told "URL", page.URL("y.asp", "a", 1, "b", 2, "c", 3, "d", 4, "e", 5, "f", 6)
Told "I18N", page.I18N("SLBGE0015")
Told "GetDGridViaPost", page.GetDGridViaPost()
page.SetDGridViaPost
Told "GetDGridViaPost", page.GetDGridViaPost()
page.ShowPageJump 7
page.GetPageJump pages, wanted
page.AllowSort "name DESC"
page.AcceptStatesOf "other.asp"
Told "SealState", page.SealState("1x2", "other.asp", "R_1")

Set plain = page.Table()
plain.SetTableTypePlain
plain.Cell "plain"
page.Add plain
page.SetEndUserStyle
Set table = page.Table
table.Cell "end user"
page.Add table
page.Add "no component"
Response.Write Chr(10)

Set rs = page.DRecordset()
rs.SetPageSize 2
rs.SetDefaultSortFields "id"
Set grid = page.DGrid(rs, "Left out")
grid.Col "Number"
rs.OpenRS "SELECT id, name FROM person", "id"
Do While Not rs.EOF
  grid.Cell rs("id")
  rs.MoveNext
Loop
page.Add grid
Response.Write Chr(10)

Set form = page.DRecordset()
form.SetPageSize 2
form.SetDefaultSortFields "id"
Set formGrid = page.DGrid(form, "By a form", True, page.Table())
formGrid.Col "Number", "id", 10, AlignRight
form.OpenRS "SELECT id, name FROM person", "id"
Do While Not form.EOF
  formGrid.Cell form("id")
  form.MoveNext
Loop
page.Add formGrid
Response.Write Chr(10)

Dim list
Set list = page.List("A list", "SELECT id, name FROM person", "id")
list.Column "id", "Number"
list.Column("name").Sortable False
page.Add list
Response.Write Chr(10)

Set util = Server.CreateObject("Varnel.PageUtil")
Told "URL", util.URL("y.asp")
Told "URL", util.URL("y.asp", "a", "1 2", "b", "&")
Told "SURL", util.SURL("y.asp", "a", 1)
Told "URLArgs", util.URLArgs("a", "1 2", "b", 2)
Told "GetOption", util.GetOption("a", "b") & util.GetOption(1, "1")
Told "HTMLEncode", util.HTMLEncode("<a> & ""b""")
On Error Resume Next
util.URLArgs "a", 1, "b" : ToldFailure "an argument without its value"
%>
