<%
Dim page, util, t, a(2), v, rs, field, n, wanted, list

Sub Told(what)
  Response.Write what & ": " & Err.Number & " | " & Err.Source & " | " & Err.Description & Chr(10)
  Err.Clear
End Sub

Set util = Server.CreateObject("Varnel.Utilities")
Response.Write util.SQLEncodeStr("O'Hara") & " " & util.SQLEncodeLng(7) & " " & util.SQLEncodeDate(DateSerial(2001, 2, 3)) & Chr(10)
a(0) = "b" : a(1) = "C" : a(2) = "a"
util.QuickSort a
Response.Write a(0) & a(1) & a(2) & Chr(10)
v = "before"
Response.Write util.RetrieveElementFromRequestFormCollection("a=1&b=x%20y", "b=", v) & " " & v & Chr(10)

Set page = Server.CreateObject("Varnel.Page")
Response.Write page.URL("y.asp") & " " & page.URL("y.asp", "a", "1 2") & Chr(10)
page.ShowPageJump 7
n = 0 : wanted = False
page.GetPageJump n, wanted
Response.Write n & " " & wanted & Chr(10)

page.OpenDatabaseConnection "Data"
Set rs = page.DRecordset()
rs.SetPageSize 10
rs.SetRecCountON
rs.SetDefaultSortFields "name"
rs.OpenRS "SELECT id, name, town, price, amount, born, active, note FROM person", "id"
For Each field In rs.Fields
  list = list & field.Name & ","
Next
Response.Write list & " " & rs.Fields.Count & " " & rs("name") & " " & rs.Fields("NAME").Value & Chr(10)
Response.Write rs.GetTotalNumberOfRecords() & " " & rs.m_lDisplayPage & " " & rs.EOF & Chr(10)

On Error Resume Next
util.SQLEncodeLng "many" : Told "type"
util.SQLEncodeLng 1, 2 : Told "count"
util.NoSuchThing : Told "member"
Set v = Server.CreateObject("Varnel.Nothing") : Told "class"
rs.SetPageSize 3 : Told "open"
v = rs("nothing") : Told "field"
page.Table().CellAt 0, 1, "a" : Told "cell"
%>
