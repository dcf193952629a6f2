<!--#include file="includes/told.inc"--><%
// Every operation of Upload. Only some engines can look into an array of bytes: here it is read and let go.
var upload = Server.CreateObject("Varnel.Upload");
told("GetFormVar", upload.GetFormVar("title"));
told("GetFormVar of a file", upload.GetFormVar("notes"));
told("GetFormVar of nothing", upload.GetFormVar("none"));
told("GetFileContentType", upload.GetFileContentType("NOTES"));
told("GetFileAsString", upload.GetFileAsString("notes"));
upload.GetFileBinary("notes");
upload.WriteFileToFileSystem("notes", Application("UploadFolder"));
toldFailure("a file that isn't there", function () { upload.WriteFileToFileSystem("none", Application("UploadFolder")); });
%>
