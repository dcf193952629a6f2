<!--#include file="includes/told.inc"--><%
// Page and PageUtil.
var page = Server.CreateObject("Varnel.Page");
toldFailure("DRecordset without a connection", function () { page.DRecordset(); });
page.OpenDatabaseConnection("Data");
told("URLEncode", page.URLEncode("a b&c"));
told("URL", page.URL("y.asp"));
told("URL", page.URL("y.asp", "a", "1 2", "b", 3));
told("URL", page.URL("y.asp", "a", 1, "b", 2, "c", 3, "d", 4, "e", 5, "f", 6));
told("I18N", page.I18N("SLBGE0015"));
told("GetDGridViaPost", page.GetDGridViaPost());
page.SetDGridViaPost();
told("GetDGridViaPost", page.GetDGridViaPost());
page.ShowPageJump(7);
page.GetPageJump(new ByRef(0), new ByRef(false));
page.AllowSort("name DESC");
page.AcceptStatesOf("other.asp");
told("SealState", page.SealState("1x2", "other.asp", "R_1"));

var plain = page.Table();
plain.SetTableTypePlain();
plain.Cell("plain");
page.Add(plain);
page.SetEndUserStyle();
var table = page.Table();
table.Cell("end user");
page.Add(table);
page.Add("no component");
Response.Write("\n");

var rs = page.DRecordset();
rs.SetPageSize(2);
rs.SetDefaultSortFields("id");
var grid = page.DGrid(rs, "Left out");
grid.Col("Number");
rs.OpenRS("SELECT id, name FROM person", "id");
while (!rs.EOF) {
  grid.Cell(rs("id"));
  rs.MoveNext();
}
page.Add(grid);
Response.Write("\n");

var form = page.DRecordset();
form.SetPageSize(2);
form.SetDefaultSortFields("id");
var formGrid = page.DGrid(form, "By a form", true, page.Table());
formGrid.Col("Number", "id", 10, AlignRight);
form.OpenRS("SELECT id, name FROM person", "id");
while (!form.EOF) {
  formGrid.Cell(form("id"));
  form.MoveNext();
}
page.Add(formGrid);
Response.Write("\n");

var list = page.List("A list", "SELECT id, name FROM person", "id");
list.Column("id", "Number");
list.Column("name").Sortable(false);
page.Add(list);
Response.Write("\n");

var util = Server.CreateObject("Varnel.PageUtil");
told("URL", util.URL("y.asp"));
told("URL", util.URL("y.asp", "a", "1 2", "b", "&"));
told("SURL", util.SURL("y.asp", "a", 1));
told("URLArgs", util.URLArgs("a", "1 2", "b", 2));
told("GetOption", util.GetOption("a", "b") + util.GetOption(1, "1"));
told("HTMLEncode", util.HTMLEncode("<a> & \"b\""));
toldFailure("an argument without its value", function () { util.URLArgs("a", 1, "b"); });
%>
