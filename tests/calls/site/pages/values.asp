<!--#include file="includes/told.inc"--><%
// What only some engines can do: results by reference, arrays, dates as values, the source of an error.
var util = Server.CreateObject("Varnel.Utilities");
var data = Server.CreateObject("Varnel.DataFunctions");
var page = Server.CreateObject("Varnel.Page");

var list = ["b", "C", "a"];
util.QuickSort(list);
told("QuickSort", list.join(" "));
list = [5, 4, 3, 2, 1];
util.QuickSortPart(list, 1, 3);
told("QuickSortPart", list.join(" "));
var found = new ByRef("before");
told("RetrieveElementFromRequestFormCollection", util.RetrieveElementFromRequestFormCollection("a=1&b=x%20y", "b=", found));
told("by reference", found.value);
page.ShowPageJump(7);
var pages = new ByRef(0), wanted = new ByRef(false);
page.GetPageJump(pages, wanted);
told("GetPageJump", pages.value);
told("GetPageJump", wanted.value);
told("ConvertDateString", util.SQLEncodeDate(data.ConvertDateString("3/5/2024", 1033)));
told("SQLEncodeDate", util.SQLEncodeDate(new Date(2001, 1, 3)));
told("ValidateDateTime", data.ValidateDateTime(new Date(2001, 1, 3), new Date(2001, 1, 1), new Date(2001, 1, 3)));
told("DateTime", data.DateTime(new Date(2001, 1, 3), 1033));

function toldError(name, body) {
  try {
    body();
  } catch (e) {
    told(name, e.number + " | " + e.source + " | " + e.description);
  }
}
page.OpenDatabaseConnection("Data");
var rs = page.DRecordset();
rs.SetPageSize(2);
rs.SetDefaultSortFields("id");
toldError("closed", function () { rs.GetState(); });
rs.OpenRS("SELECT id, name, born FROM person", "id");
told("a date of the rows", util.SQLEncodeDate(rs("born")));
toldError("open", function () { rs.SetPageSize(3); });
toldError("field", function () { rs("nothing"); });
toldError("type", function () { util.SQLEncodeLng("many"); });
toldError("cell", function () { page.Table().CellAt(0, 1, "a"); });
toldError("connection", function () { Server.CreateObject("Varnel.Page").DRecordset(); });
%>
