<!--#include file="includes/told.vbs"--><%
' What only some engines can do: results by reference, arrays, dates as values, the source of an error.
Dim util, data, page, list(2), numbers, found, pages, wanted, rs, v, t
Set util = Server.CreateObject("Varnel.Utilities")
Set data = Server.CreateObject("Varnel.DataFunctions")
Set page = Server.CreateObject("Varnel.Page")

list(0) = "b" : list(1) = "C" : list(2) = "a"
util.QuickSort list
Told "QuickSort", list(0) & " " & list(1) & " " & list(2)
numbers = Array(5, 4, 3, 2, 1)
util.QuickSortPart numbers, 1, 3
Told "QuickSortPart", numbers(0) & " " & numbers(1) & " " & numbers(2) & " " & numbers(3) & " " & numbers(4)
found = "before"
Told "RetrieveElementFromRequestFormCollection", util.RetrieveElementFromRequestFormCollection("a=1&b=x%20y", "b=", found)
Told "by reference", found
page.ShowPageJump 7
pages = 0 : wanted = False
page.GetPageJump pages, wanted
Told "GetPageJump", pages
Told "GetPageJump", wanted
Told "ConvertDateString", util.SQLEncodeDate(data.ConvertDateString("3/5/2024", 1033))
Told "SQLEncodeDate", util.SQLEncodeDate(DateSerial(2001, 2, 3))
Told "ValidateDateTime", data.ValidateDateTime(DateSerial(2001, 2, 3), DateSerial(2001, 2, 1), DateSerial(2001, 2, 3))
Told "DateTime", data.DateTime(DateSerial(2001, 2, 3), 1033)

Sub ToldError(name)
  If Err.Number <> 0 Then Told name, Err.Number & " | " & Err.Source & " | " & Err.Description
  Err.Clear
End Sub
page.OpenDatabaseConnection "Data"
Set rs = page.DRecordset()
rs.SetPageSize 2
rs.SetDefaultSortFields "id"
On Error Resume Next
v = rs.GetState() : ToldError "closed"
rs.OpenRS "SELECT id, name, born FROM person", "id"
Told "a date of the rows", util.SQLEncodeDate(rs("born"))
rs.SetPageSize 3 : ToldError "open"
v = rs("nothing") : ToldError "field"
v = util.SQLEncodeLng("many") : ToldError "type"
page.Table().CellAt 0, 1, "a" : ToldError "cell"
Set t = Server.CreateObject("Varnel.Page")
t.DRecordset : ToldError "connection"
%>
