<!--#include file="includes/told.inc"--><%
// Every operation of Upload. Not every engine calls an object of its host by its own name, and only some can look into an array of
// bytes: here it is read and let go.
var application = Application;
var upload = Server.CreateObject("Varnel.Upload");
told("GetFormVar", upload.GetFormVar("title"));
told("GetFormVar of a file", upload.GetFormVar("notes"));
told("GetFormVar of nothing", upload.GetFormVar("none"));
told("GetFileContentType", upload.GetFileContentType("NOTES"));
told("GetFileAsString", upload.GetFileAsString("notes"));
upload.GetFileBinary("notes");
upload.WriteFileToFileSystem("notes", application("UploadFolder"));
toldFailure("a file that isn't there", function () { upload.WriteFileToFileSystem("none", application("UploadFolder")); });
%>
