// How a script reaches the members of an object.

#include <gmock/gmock.h>

#include "tests/application/ServedSite.h"

namespace {

using testing::HasSubstr;

// A page with an open recordset `rs` of two customers.
constexpr char kOpened[] =
    "<% var rs = Server.CreateObject('ADODB.Recordset');"
    " rs.Open('SELECT id, name FROM customer ORDER BY id', 'Provider=SQLite;Data Source=demo.db', 3); %>";

class MembersTest : public hosttest::PageTest {
 protected:
  MembersTest() { site.MakeCustomers(2); }
  std::string OfRecordset(const std::string& page) { return Output(kOpened + page); }
};

TEST_F(MembersTest, NamesAreFoundInAnyCaseForGetSetAndCall) {
  EXPECT_EQ(OfRecordset("<% rs.movenext(); rs.MAXRECORDS = 7; %>"
                        "<%= rs.eof %> <%= rs.maxrecords %> <%= rs.FIELDS('NAME').vALUE %>"),
            "False 7 n02");
}

TEST_F(MembersTest, OperationsAreMethodsAndDataMembersProperties) {
  EXPECT_EQ(OfRecordset("<%= typeof rs.MoveNext %> <%= typeof rs.EOF %> <%= rs.Fields.Count %>"
                        " <%= rs.Fields(1).Name %> <%= rs.Fields(1).Value %> <%= rs.EOF %>"),
            "function boolean 2 name n01 False");
}

TEST_F(MembersTest, LibrarysOwnRecordsetHasTheSameProperties) {
  EXPECT_EQ(Output("<% var page = Server.CreateObject('Varnel.Page'); page.OpenDatabaseConnection('Demo');"
                   " var rs = page.DRecordset(); rs.OpenRS('SELECT id, name FROM customer', 'id'); %>"
                   "<%= rs.EOF %> <%= rs('name') %> <%= rs('name').Value %> <%= rs.Fields.Count %>"
                   " <%= rs.Fields('id').Name %> <%= rs.m_lDisplayPage %>"
                   "<% rs.MoveNext(); rs.MoveNext(); %> <%= rs.eof %>"),
            "False n01 n01 2 id 1 True");
}

// A field that the page has had before comes without the whole call; whatever has none is told by it.
TEST_F(MembersTest, AFieldOfAListIsTheSameObjectInEveryRow) {
  EXPECT_EQ(
      Output(
          "<% var page = Server.CreateObject('Varnel.Page'); page.OpenDatabaseConnection('Demo');"
          " var rs = page.DRecordset(); rs.OpenRS('SELECT id, name FROM customer', 'id'); var first = "
          "rs('name');"
          " for (; !rs.EOF; rs.MoveNext()) { for (var key of ['name', '[NAME]', 'customer.Name', 1, 'gone', "
          "'']) {"
          " try { %><%= rs(key) === first %>:<%= rs(key).Value %> <% } catch (e) { %><%= e.number %> <% } } }"
          " %><%= rs.Fields('Name') === first %> <%= rs.Fields.Item('NAME') === first %>"),
      "True:n01 True:n01 True:n01 True:n01 5 9 True:n02 True:n02 True:n02 True:n02 5 9 True True");
}

TEST_F(MembersTest, AListThatIsNotOpenHasNoFieldByName) {
  EXPECT_EQ(Output("<% var page = Server.CreateObject('Varnel.Page'); page.OpenDatabaseConnection('Demo');"
                   " var rs = page.DRecordset(); for (var i = 0; i < 2; i++) try { rs('name'); }"
                   " catch (e) { %><%= e.number %> <%= e.description %>|<% } %>"),
            "-1 No data available.|-1 No data available.|");
}

TEST_F(MembersTest, DefaultMembersAreCalled) {
  EXPECT_EQ(
      OfRecordset("<%= rs('name') %> <%= rs.Fields('name') %> <%= rs(0) %> <%= Request.QueryString('a') %>"),
      "n01 n01 1 ");
  EXPECT_EQ(Output("<%= Request.QueryString('a') %>|<%= Request('b') %>", "a=1&b=2"), "1|2");
}

TEST_F(MembersTest, ObjectUsedAsAValueGivesItsDefaultValue) {
  EXPECT_EQ(OfRecordset("<%= rs('name') + '' %> <%= rs('id') + 1 %> <%= rs('id') * 3 %>"
                        " <%= `${rs('name')}` %> <%= rs('name') == 'n01' %> <%= rs('id') < 2 %>"),
            "n01 2 3 n01 True True");
}

TEST_F(MembersTest, CollectionsAreWalkedByForOfAndByEnumerator) {
  EXPECT_EQ(OfRecordset("<% for (var f of rs.Fields) { %><%= f.Name %>=<%= f %> <% }"
                        " for (var e = new Enumerator(rs.Fields); !e.atEnd(); e.moveNext()) { %>"
                        "<%= e.item().Name %> <% } %>"),
            "id=1 name=n01 id name ");
}

TEST_F(MembersTest, TheFieldsOfAListAreWalkedByNameToo) {
  EXPECT_EQ(Output("<% var page = Server.CreateObject('Varnel.Page'); page.OpenDatabaseConnection('Demo');"
                   " var rs = page.DRecordset(); rs.OpenRS('SELECT id, name FROM customer', 'id');"
                   " for (var f of rs.Fields.NewEnum) { %><%= f.Name %> <% }"
                   " for (var e = new Enumerator(rs.Fields.NewEnum); !e.atEnd(); e.moveNext()) { %>"
                   "<%= e.item().Name %> <% } %>"),
            "id name id name ");
}

TEST_F(MembersTest, UnknownMemberIsAnErrorThatNamesIt) {
  EXPECT_EQ(
      Output("<% try { Server.CreateObject('Varnel.Page').Nothing(); } catch (e) { %><%= e.number %><% } %>"),
      "438");
  EXPECT_THAT(Failure("<% Server.Reboot(); %>"), HasSubstr("Reboot"));
}

TEST_F(MembersTest, MissingFieldIsAnError) {
  EXPECT_THAT(Failure(std::string(kOpened) + "\n<%= rs('salary') %>"), HasSubstr("page1.asp, line 2: "));
}

}  // namespace
