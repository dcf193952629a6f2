<!--#include file="includes/told.vbs"--><%
' Bytes of a file. The engine can't look into an array of bytes, its host can.
Dim upload
Set upload = Server.CreateObject("Varnel.Upload")
Told "by name", Basic.Hex(upload.GetFileBinary("notes"))
Told "by number", Basic.Hex(upload.GetFileBinary(2))
Told "of nothing", Basic.Hex(upload.GetFileBinary("none"))
%>
