<!--#include file="includes/told.inc"--><%
// What only some engines can do: arrays of bytes.
var upload = Server.CreateObject("Varnel.Upload");
var content = upload.GetFileBinary("notes");
told("size", content.length);
told("bytes", content[0] + " " + content[content.length - 1]);
Utilities.QuickSort(content);
told("sorted", content[0] + " " + content[content.length - 1]);
told("by number", upload.GetFileBinary(2).length);
told("of nothing", upload.GetFileBinary("none").length);
%>
