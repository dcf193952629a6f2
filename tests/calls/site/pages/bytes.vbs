<!--#include file="includes/told.vbs"--><%
' What only some engines can do: arrays of bytes.
Dim upload, content
Set upload = Server.CreateObject("Varnel.Upload")
content = upload.GetFileBinary("notes")
Told "size", UBound(content) + 1
Told "bytes", content(0) & " " & content(UBound(content))
Utilities.QuickSort content
Told "sorted", content(0) & " " & content(UBound(content))
Told "by number", UBound(upload.GetFileBinary(2)) + 1
Told "of nothing", UBound(upload.GetFileBinary("none")) + 1
%>
