// Parameters as pages use them: lists with named ones through all their reads, and commands.
#include <gmock/gmock.h>

#include "tests/application/ServedSite.h"

namespace {

using testing::HasSubstr;

class PageParameters : public hosttest::PageTest {
 protected:
  PageParameters() {
    site.RunSql(
        "CREATE TABLE product (id INT NOT NULL PRIMARY KEY, name VARCHAR(40), maker VARCHAR(40), price REAL);"
        "CREATE INDEX ix_name ON product (name, id);"
        "CREATE TABLE vault (secret TEXT); INSERT INTO vault VALUES ('xyzzy');"
        "WITH RECURSIVE n(i) AS (SELECT 1 UNION ALL SELECT i + 1 FROM n WHERE i < 60)"
        " INSERT INTO product SELECT i, 'p' || substr('00' || i, -2), CASE i % 2 WHEN 0 THEN 'Ac''me' ELSE "
        "'Bolt'"
        " END, i FROM n;");
  }

  // A list of products of the maker in the address, three on a page.
  static std::string List(const std::string& query, const std::string& more = "") {
    return "<% var page = Server.CreateObject('Varnel.Page'); page.OpenDatabaseConnection('Demo');\n"
           "var rs = page.DRecordset(); rs.SetPageSize(3); rs.SetRecCountON(); rs.SetPageJump(true, 20);\n"
           "rs.SetDefaultSortFields('name');\n"
           "rs.SetParameter('maker', Request.QueryString('maker')); rs.SetParameter('least', 4);\n" +
           more + "rs.OpenRS(\"" + query +
           "\", 'id');\n"
           "for (; !rs.EOF; rs.MoveNext()) Response.Write(rs('id') + ' ');\n"
           "Response.Write('of ' + rs.GetTotalNumberOfRecords() + '|' + rs.GetUrlFirst() + '|' + "
           "rs.GetUrlPrev() + '|'"
           " + rs.GetUrlNext() + '|' + rs.GetUrlLast() + '|' + rs.GetUrlForPage(5) + '|'); %>";
  }

  // What stands before the first "|", and what between the others.
  static std::vector<std::string> Parts(const std::string& body) {
    std::vector<std::string> parts;
    for (std::size_t begin = 0, end; (end = body.find('|', begin)) != std::string::npos; begin = end + 1)
      parts.push_back(body.substr(begin, end - begin));
    return parts;
  }

  std::vector<std::string> Show(const std::string& target) {
    const hosttest::Answer answer = Get(target);
    EXPECT_EQ(200, answer.status) << answer.body;
    return Parts(answer.body);
  }
};

TEST_F(PageParameters, AListKeepsThemInItsCountAndAllItsReads) {
  site.WritePage("list.asp", List("SELECT id, name FROM product WHERE maker = :maker AND price > :least"));
  const auto first = Show("/shop/list.asp?maker=Ac%27me");
  ASSERT_EQ(6u, first.size());
  EXPECT_EQ("6 8 10 of 28", first[0]);
  const auto second = Show(first[3]);
  EXPECT_EQ("12 14 16 of 28", second[0]);
  EXPECT_EQ("6 8 10 of 28", Show(second[2])[0]);
  EXPECT_EQ("60 of 28", Show(first[4])[0]);
  EXPECT_EQ("30 32 34 of 28", Show(first[5])[0]);
}

TEST_F(PageParameters, AListSortedBothWaysIsPagedForwardAndBackWithEachVisitorsValues) {
  site.WritePage("list.asp",
                 List("SELECT id, name, price FROM product WHERE maker LIKE :maker AND id > :least",
                      "rs.SetDefaultSortFields('price DESC, name');"));
  for (int visit = 0; visit < 2; ++visit) {
    const auto even = Show("/shop/list.asp?maker=Ac%25");
    ASSERT_EQ(6u, even.size());
    EXPECT_EQ("60 58 56 of 28", even[0]);
    const auto second = Show(even[3]);
    EXPECT_EQ("54 52 50 of 28", second[0]);
    EXPECT_EQ("60 58 56 of 28", Show(second[2])[0]);
    EXPECT_EQ("36 34 32 of 28", Show(even[5])[0]);
    const auto odd = Show("/shop/list.asp?maker=Bolt");
    EXPECT_EQ("59 57 55 of 28", odd[0]);
    const auto last = Show(odd[4]);
    EXPECT_EQ("5 of 28", last[0]);
    EXPECT_EQ("11 9 7 of 28", Show(last[2])[0]);
  }
}

TEST_F(PageParameters, AUnionKnowsThemInAllItsBranches) {
  site.WritePage("list.asp", List("SELECT id, name FROM product WHERE maker = :maker AND id < 10 UNION "
                                  "SELECT id, name FROM product WHERE maker = :maker AND id > 50 + :least"));
  const auto first = Show("/shop/list.asp?maker=Bolt");
  EXPECT_EQ("1 3 5 of 8", first[0]);
  EXPECT_EQ("7 9 55 of 8", Show(first[3])[0]);
  EXPECT_EQ("57 59 of 8", Show(first[4])[0]);
}

TEST_F(PageParameters, TheSelectListMayHaveOnes) {
  site.WritePage("list.asp",
                 List("SELECT DISTINCT id, name, price * :least AS total FROM product WHERE id <= :least"));
  EXPECT_EQ("1 2 3 of 4", Show("/shop/list.asp")[0]);
}

TEST_F(PageParameters, AForgedValueFindsNothingAndBreaksNothing) {
  site.WritePage("list.asp", List("SELECT id, name FROM product WHERE maker = :maker"));
  for (const char* forged : {"x%27+OR+%271%27%3D%271", "%27%29+UNION+SELECT+secret%2C1+FROM+vault+--+",
                             "%27%3BDROP+TABLE+product%3B--", "%3Aleast", "Bolt%00%27"}) {
    EXPECT_EQ("of 0", Show(std::string("/shop/list.asp?maker=") + forged)[0]);
  }
  EXPECT_EQ("1 3 5 of 30", Show("/shop/list.asp?maker=Bolt")[0]);
}

TEST_F(PageParameters, AMissingParameterOfTheAddressIsTheEmptyText) {
  site.WritePage("list.asp", List("SELECT id, name FROM product WHERE :maker = '' OR maker = :maker"));
  EXPECT_EQ("1 2 3 of 60", Show("/shop/list.asp")[0]);
  EXPECT_EQ("1 3 5 of 30", Show("/shop/list.asp?maker=Bolt")[0]);
}

TEST_F(PageParameters, OneThatNobodyBoundIsAnErrorWithItsName) {
  site.WritePage("list.asp", List("SELECT id, name FROM product WHERE maker = :makers"));
  const auto answer = Get("/shop/list.asp?maker=Bolt");
  EXPECT_EQ(500, answer.status);
  EXPECT_THAT(answer.body, HasSubstr("Nobody gave the parameter :makers a value."));
  EXPECT_THAT(answer.body, HasSubstr("Did you mean 'maker'?"));
  EXPECT_THAT(answer.body, HasSubstr("list.asp, line 5"));
}

TEST_F(PageParameters, WhatIsNoValueIsAnErrorWithTheParametersName) {
  EXPECT_THAT(
      Failure(
          "<% var rs = Server.CreateObject('Varnel.DRecordset'); rs.SetParameter('maker', undefined); %>"),
      HasSubstr("SetParameter: maker: Invalid argument: a parameter is a text"));
  EXPECT_THAT(Failure("<% var rs = Server.CreateObject('Varnel.DRecordset'); rs.SetParameter('a b', 1); %>"),
              HasSubstr("SetParameter: 'a b' is no name of a parameter"));
}

TEST_F(PageParameters, ACommandReadsAndWrites) {
  EXPECT_EQ(
      "2 Ac'me|gone 1|59",
      Output(
          "<% var cmd = Server.CreateObject('ADODB.Command');\n"
          "cmd.ActiveConnection = Application('Demo_ConnectionString');\n"
          "cmd.CommandText = 'SELECT id, maker FROM product WHERE maker = ? AND id < ?';\n"
          "cmd.Parameters.Append(cmd.CreateParameter('maker', 202, 1, 40, \"Ac'me\"));\n"
          "cmd.Parameters.Append(cmd.CreateParameter('most', 3, 1, 0, '3'));\n"
          "for (var rs = cmd.Execute(); !rs.EOF; rs.MoveNext()) Response.Write(rs('id') + ' ' + "
          "rs('maker'));\n"
          "cmd.CommandText = 'DELETE FROM product WHERE maker = :maker AND id < :most';\n"
          "var gone = new ByRef(0); cmd.Execute(gone); Response.Write('|gone ' + gone.value + '|');\n"
          "rs = Server.CreateObject('ADODB.Recordset'); var count = Server.CreateObject('ADODB.Command');\n"
          "count.ActiveConnection = cmd.ActiveConnection;\n"
          "count.CommandText = 'SELECT COUNT(*) AS n FROM product WHERE id > ?';\n"
          "count.Parameters.Append(count.CreateParameter('least', 3)); count.Parameters('least').Value = 0;\n"
          "rs.Open(count); Response.Write(rs('n').Value); %>"));
}

}  // namespace
