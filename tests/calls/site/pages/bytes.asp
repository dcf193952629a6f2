<!--#include file="includes/told.inc"--><%
// Bytes of a file. Where an engine can't look into an array of bytes, its host does.
function hex(bytes) {
  if (typeof Basic !== "undefined") return Basic.Hex(bytes);
  var text = "";
  for (var i = 0; i < bytes.length; i++) text += (bytes[i] < 16 ? "0" : "") + bytes[i].toString(16);
  return text;
}
var upload = Server.CreateObject("Varnel.Upload");
told("by name", hex(upload.GetFileBinary("notes")));
told("by number", hex(upload.GetFileBinary(2)));
told("of nothing", hex(upload.GetFileBinary("none")));
%>
