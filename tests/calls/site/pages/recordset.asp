<!--#include file="includes/told.inc"--><%
// Every operation of DRecordset, its fields, and DGrid.
// Not every engine calls an object of its host by its own name.
var application = Application;
var page = Server.CreateObject("Varnel.Page");
page.OpenDatabaseConnection("Data");
var query = "SELECT id, name, town, price FROM person";

var rs = page.DRecordset();
told("IsOpen", rs.IsOpen());
toldFailure("GetState of a closed one", function () { rs.GetState(); });
rs.SetPageSize(4);
told("GetPageSize", rs.GetPageSize());
rs.SetRecCountOFF();
told("GetIsRecCountON", rs.GetIsRecCountON());
rs.SetRecCountON();
told("GetIsRecCountON", rs.GetIsRecCountON());
rs.SetPageJump(true, 5);
told("GetPageJump", rs.GetPageJump());
rs.SetDefaultSortFields("name DESC,id");
told("GetDefaultSortFields", rs.GetDefaultSortFields());
rs.SetDefaultSortReversed(false);
rs.SetState("");
rs.SetPageState("", 1);
told("GetRecordsetName", rs.GetRecordsetName());
rs.OpenRS(query, "id");
told("IsOpen", rs.IsOpen());
told("GetState", rs.GetState());
told("GetCurrentState", rs.GetCurrentState());
told("GetCurrentSortOrder", rs.GetCurrentSortOrder("name DESC,id"));
told("GetCurrentSortOrder", rs.GetCurrentSortOrder("id"));
told("GetStateSorted", rs.GetStateSorted("price"));
told("GetStateFirst", rs.GetStateFirst());
told("GetStatePrev", rs.GetStatePrev());
told("GetStateNext", rs.GetStateNext());
told("GetStateLast", rs.GetStateLast());
told("GetUrlSorted", rs.GetUrlSorted("price"));
told("GetUrlFirst", rs.GetUrlFirst());
told("GetUrlPrev", rs.GetUrlPrev());
told("GetUrlNext", rs.GetUrlNext());
told("GetUrlLast", rs.GetUrlLast());
told("GetStatePrevPage", rs.GetStatePrevPage());
told("GetStateNextPage", rs.GetStateNextPage());
told("GetUrlForPage", rs.GetUrlForPage(2));
told("GetTotalNumberOfRecords", rs.GetTotalNumberOfRecords());
told("first", rs.GetRecordNumberForFirstRecordOnPage());
told("last", rs.GetRecordNumberForLastRecordOnPage());
told("pages", rs.m_lDisplayPage + " of " + rs.m_lTotalPages + ", " + rs.m_leftPageNumber + " to " + rs.m_rightPageNumber);
rs.m_lDisplayPage = 2;
rs.m_lTotalPages = 9;
rs.m_leftPageNumber = 1;
rs.m_rightPageNumber = 3;
told("pages", rs.m_lDisplayPage + " of " + rs.m_lTotalPages + ", " + rs.m_leftPageNumber + " to " + rs.m_rightPageNumber);
toldFailure("SetPageSize of an open one", function () { rs.SetPageSize(3); });

told("Count", rs.Fields.Count);
var each = new Enumerator(rs.Fields);
for (; !each.atEnd(); each.moveNext()) told("field", each.item().Name);
var field = rs.Fields.Item("NAME");
told("Hidden_Data_Index_", field.Hidden_Data_Index_);
told("Type_", field.Type_);
told("Name", field.Name);
told("Value", field.Value);
told("the field itself", field);
told("GetDefault", field.GetDefault());
told("GetDefault", rs.GetDefault("Name"));
told("the default member", rs("id"));
told("by number", rs(0));
told("through Fields", rs.Fields("[id]"));
toldFailure("no such field", function () { rs("nothing"); });
toldFailure("no field at this place", function () { rs.Fields.Item(99); });
var rows = 0;
while (!rs.EOF) {
  told("row", rs("id") + " " + rs("name"));
  rs.MoveNext();
  rows++;
}
told("rows", rows);
rs.MoveFirst();
told("EOF", rs.EOF);

field.Hidden_Data_Index_ = 7;
field.Type_ = 3;
field.Name = "another";
field.Value = "mine";
told("what was put", field.Hidden_Data_Index_ + " " + field.Type_ + " " + field.Name + " " + field.Value);

var copied = page.DRecordset();
copied.SetPageSize(2);
copied.SetDefaultSortFields("id");
copied.OpenRS("SELECT id, name FROM person", "id");
var copy = Server.CreateObject("ADODB.Recordset");
copied.GetDataAsRecordSet(copy);
copy.MoveFirst();
for (; !copy.EOF; copy.MoveNext()) told("copied", copy.Fields.Item(0).Value + " " + copy.Fields.Item("name").Value);
copied.Fields.Initialize(null);
toldFailure("fields of nothing", function () { return copied.Fields.Count; });

var own = Server.CreateObject("Varnel.DRecordset");
own.SetConnection(application("Data_ConnectionString"));
own.SetPageSize(1);
own.SetDefaultSortFields("id");
own.OpenRS(query, "id");
told("own connection", own("id"));
own.Initialize(page, 7, null);
told("Initialize", own.GetRecordsetName() + " " + own.IsOpen());

var asked = page.DRecordset();
asked.SetParameter("town", "Rome");
asked.SetParameter(":most", 60);
asked.SetRecCountON();
asked.SetPageSize(2);
asked.SetDefaultSortFields("id");
asked.OpenRS("SELECT id, name, town FROM person WHERE town = :town AND id < :most", "id");
told("by parameters", asked("id") + " of " + asked.GetTotalNumberOfRecords());

var shown = page.DRecordset();
shown.SetPageSize(3);
shown.SetRecCountON();
var grid = page.DGrid(shown, "People");
grid.Col("Number", "id", 20, AlignRight, VAlignTop, 1);
grid.Col("Name", "name");
grid.Col("Empty");
grid.ShowAlternateColors();
grid.ShowPageJump(5, 7, "");
shown.OpenRS(query, "id");
while (!shown.EOF) {
  grid.Cell(shown("id"));
  grid.Cell(shown("name"));
  grid.SkipCell();
  shown.MoveNext();
}
told("GetCurrentState", grid.GetCurrentState());
page.Add(grid);
Response.Write("\n");

var jumping = page.DRecordset();
jumping.SetPageSize(3);
jumping.SetRecCountON();
jumping.SetPageJump(true, 4);
var jumps = page.DGrid(jumping, "Jumps");
jumps.Col("Number", "id");
jumps.ShowPageJumpFromDRecordset("");
jumping.OpenRS(query, "id");
while (!jumping.EOF) {
  jumps.Cell(jumping("id"));
  jumping.MoveNext();
}
page.Add(jumps);
%>
