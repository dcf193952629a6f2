<!--#include file="includes/told.vbs"--><%
' Every operation of DRecordset, its fields, and DGrid.
Dim page, query, rs, each1, field, rows, copied, copy, own, asked, shown, grid, jumping, jumps, v
Set page = Server.CreateObject("Varnel.Page")
page.OpenDatabaseConnection "Data"
query = "SELECT id, name, town, price FROM person"

Set rs = page.DRecordset()
Told "IsOpen", rs.IsOpen()
On Error Resume Next
v = rs.GetState() : ToldFailure "GetState of a closed one"
On Error Goto 0
rs.SetPageSize 4
Told "GetPageSize", rs.GetPageSize()
rs.SetRecCountOFF
Told "GetIsRecCountON", rs.GetIsRecCountON()
rs.SetRecCountON
Told "GetIsRecCountON", rs.GetIsRecCountON()
rs.SetPageJump True, 5
Told "GetPageJump", rs.GetPageJump()
rs.SetDefaultSortFields "name DESC,id"
Told "GetDefaultSortFields", rs.GetDefaultSortFields()
rs.SetDefaultSortReversed False
rs.SetState ""
rs.SetPageState "", 1
Told "GetRecordsetName", rs.GetRecordsetName()
rs.OpenRS query, "id"
Told "IsOpen", rs.IsOpen()
Told "GetState", rs.GetState()
Told "GetCurrentState", rs.GetCurrentState()
Told "GetCurrentSortOrder", rs.GetCurrentSortOrder("name DESC,id")
Told "GetCurrentSortOrder", rs.GetCurrentSortOrder("id")
Told "GetStateSorted", rs.GetStateSorted("price")
Told "GetStateFirst", rs.GetStateFirst()
Told "GetStatePrev", rs.GetStatePrev()
Told "GetStateNext", rs.GetStateNext()
Told "GetStateLast", rs.GetStateLast()
Told "GetUrlSorted", rs.GetUrlSorted("price")
Told "GetUrlFirst", rs.GetUrlFirst()
Told "GetUrlPrev", rs.GetUrlPrev()
Told "GetUrlNext", rs.GetUrlNext()
Told "GetUrlLast", rs.GetUrlLast()
Told "GetStatePrevPage", rs.GetStatePrevPage()
Told "GetStateNextPage", rs.GetStateNextPage()
Told "GetUrlForPage", rs.GetUrlForPage(2)
Told "GetTotalNumberOfRecords", rs.GetTotalNumberOfRecords()
Told "first", rs.GetRecordNumberForFirstRecordOnPage()
Told "last", rs.GetRecordNumberForLastRecordOnPage()
Told "pages", rs.m_lDisplayPage & " of " & rs.m_lTotalPages & ", " & rs.m_leftPageNumber & " to " & rs.m_rightPageNumber
rs.m_lDisplayPage = 2
rs.m_lTotalPages = 9
rs.m_leftPageNumber = 1
rs.m_rightPageNumber = 3
Told "pages", rs.m_lDisplayPage & " of " & rs.m_lTotalPages & ", " & rs.m_leftPageNumber & " to " & rs.m_rightPageNumber
On Error Resume Next
rs.SetPageSize 3 : ToldFailure "SetPageSize of an open one"
On Error Goto 0

Told "Count", rs.Fields.Count
For Each each1 In rs.Fields
  Told "field", each1.Name
Next
Set field = rs.Fields.Item("NAME")
Told "Hidden_Data_Index_", field.Hidden_Data_Index_
Told "Type_", field.Type_
Told "Name", field.Name
Told "Value", field.Value
Told "the field itself", field
Told "GetDefault", field.GetDefault()
Told "GetDefault", rs.GetDefault("Name")
Told "the default member", rs("id")
Told "by number", rs(0)
Told "through Fields", rs.Fields("[id]")
On Error Resume Next
v = rs("nothing") : ToldFailure "no such field"
v = rs.Fields.Item(99) : ToldFailure "no field at this place"
On Error Goto 0
rows = 0
Do While Not rs.EOF
  Told "row", rs("id") & " " & rs("name")
  rs.MoveNext
  rows = rows + 1
Loop
Told "rows", rows
rs.MoveFirst
Told "EOF", rs.EOF

field.Hidden_Data_Index_ = 7
field.Type_ = 3
field.Name = "another"
field.Value = "mine"
Told "what was put", field.Hidden_Data_Index_ & " " & field.Type_ & " " & field.Name & " " & field.Value

Set copied = page.DRecordset()
copied.SetPageSize 2
copied.SetDefaultSortFields "id"
copied.OpenRS "SELECT id, name FROM person", "id"
Set copy = Server.CreateObject("ADODB.Recordset")
copied.GetDataAsRecordSet copy
copy.MoveFirst
Do While Not copy.EOF
  Told "copied", copy.Fields.Item(0).Value & " " & copy.Fields.Item("name").Value
  copy.MoveNext
Loop
copied.Fields.Initialize Nothing
On Error Resume Next
v = copied.Fields.Count : ToldFailure "fields of nothing"
On Error Goto 0

Set own = Server.CreateObject("Varnel.DRecordset")
own.SetConnection Application.Value("Data_ConnectionString")
own.SetPageSize 1
own.SetDefaultSortFields "id"
own.OpenRS query, "id"
Told "own connection", own("id")
own.Initialize page, 7, Nothing
Told "Initialize", own.GetRecordsetName() & " " & LCase(own.IsOpen())

Set asked = page.DRecordset()
asked.SetParameter "town", "Rome"
asked.SetParameter ":most", 60
asked.SetRecCountON
asked.SetPageSize 2
asked.SetDefaultSortFields "id"
asked.OpenRS "SELECT id, name, town FROM person WHERE town = :town AND id < :most", "id"
Told "by parameters", asked("id") & " of " & asked.GetTotalNumberOfRecords()

Set shown = page.DRecordset()
shown.SetPageSize 3
shown.SetRecCountON
Set grid = page.DGrid(shown, "People")
grid.Col "Number", "id", 20, AlignRight, VAlignTop, 1
grid.Col "Name", "name"
grid.Col "Empty"
grid.ShowAlternateColors
grid.ShowPageJump 5, 7, ""
shown.OpenRS query, "id"
Do While Not shown.EOF
  grid.Cell shown("id")
  grid.Cell shown("name")
  grid.SkipCell
  shown.MoveNext
Loop
Told "GetCurrentState", grid.GetCurrentState()
page.Add grid
Response.Write Chr(10)

Set jumping = page.DRecordset()
jumping.SetPageSize 3
jumping.SetRecCountON
jumping.SetPageJump True, 4
Set jumps = page.DGrid(jumping, "Jumps")
jumps.Col "Number", "id"
jumps.ShowPageJumpFromDRecordset ""
jumping.OpenRS query, "id"
Do While Not jumping.EOF
  jumps.Cell jumping("id")
  jumping.MoveNext
Loop
page.Add jumps
%>
