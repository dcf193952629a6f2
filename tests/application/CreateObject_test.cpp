// Objects by the names of their classes.

#include <gmock/gmock.h>

#include "tests/application/ServedSite.h"

namespace {

using testing::HasSubstr;

class CreateObjectTest : public hosttest::PageTest {};

TEST_F(CreateObjectTest, LibraryClassesAreMadeByNameInAnyCase) {
  EXPECT_EQ(Value("Server.CreateObject('Varnel.Page').URL('a.asp')"), "/shop/a.asp");
  EXPECT_EQ(Value("Server.CreateObject('varnel.PAGE').URL('a.asp')"), "/shop/a.asp");
  EXPECT_EQ(Output("<% for (const c of ['Varnel.Table', 'Varnel.DRecordset', 'Varnel.DGrid'])"
                   " Response.Write(Server.CreateObject(c) !== null); %>"),
            "TrueTrueTrue");
}

TEST_F(CreateObjectTest, DatabaseClassesAreMade) {
  site.MakeCustomers(2);
  EXPECT_EQ(Output("<% var c = Server.CreateObject('adodb.connection');"
                   " c.Open('Provider=SQLite;Data Source=demo.db');"
                   " var rs = Server.CreateObject('ADODB.Recordset');"
                   " rs.Open('SELECT name FROM customer ORDER BY id', c);"
                   " for (; !rs.EOF; rs.MoveNext()) { %>[<%= rs('name') %>]<% } rs.Close(); c.Close(); %>"),
            "[n01][n02]");
}

TEST_F(CreateObjectTest, SitesServiceComponentsAreMade) {
  EXPECT_EQ(Output("<% var u = Server.CreateObject('Tolvane.User'); u.BindAs('nobody', '', ''); %><%= "
                   "u.LanguageID %>"),
            "1033");
  Output("<% Server.CreateObject('Ostrand.Log').WriteEntry('Shop', 'a word for the log', 0); %>");
  EXPECT_THAT(EndedLog(), HasSubstr("Shop: a word for the log"));
}

TEST_F(CreateObjectTest, UnknownClassIsAnErrorThatNamesIt) {
  EXPECT_EQ(
      Output(
          "<% try { Server.CreateObject('No.Such'); } catch (e) { %><%= e.number %> <%= e.message %><% } %>"),
      "429 There is no class 'No.Such' to create");
}

TEST_F(CreateObjectTest, ObjectIsActivatedAgainInItsContextWithoutHarm) {
  // A page object binds the request when it is made, and once more when its context activates it.
  EXPECT_EQ(
      Output("<% var page = Server.CreateObject('Varnel.Page'); page.Add('x'); %><%= page.URL('a.asp') %>"),
      "<h1>Parameter error: invalid component added to Page object. String</h1>/shop/a.asp");
}

TEST_F(CreateObjectTest, PagesRecordsetsAreNumberedInTheOrderOfTheirMaking) {
  site.MakeCustomers(1);
  EXPECT_EQ(Output("<% var page = Server.CreateObject('Varnel.Page'); page.OpenDatabaseConnection('Demo'); %>"
                   "<%= page.DRecordset().GetRecordsetName() %> <%= page.DRecordset().GetRecordsetName() %>"),
            "R_1 R_2");
}

}  // namespace
