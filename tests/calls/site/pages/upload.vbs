<!--#include file="includes/told.vbs"--><%
' Every operation of Upload.
Dim upload, content
Set upload = Server.CreateObject("Varnel.Upload")
Told "GetFormVar", upload.GetFormVar("title")
Told "GetFormVar of a file", upload.GetFormVar("notes")
Told "GetFormVar of nothing", upload.GetFormVar("none")
Told "GetFileContentType", upload.GetFileContentType("NOTES")
Told "GetFileAsString", upload.GetFileAsString("notes")
content = upload.GetFileBinary("notes")
upload.WriteFileToFileSystem "notes", Application.Value("UploadFolder")
On Error Resume Next
upload.WriteFileToFileSystem "none", Application.Value("UploadFolder") : ToldFailure "a file that isn't there"
%>
