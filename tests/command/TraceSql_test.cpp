// The SQL of each kind of read, as the library hands it over.

#include <gmock/gmock.h>

#include <sstream>

#include "tests/application/TestSite.h"
#include "tests/command/Program.h"

namespace {

using hosttest::Ran;
using hosttest::RunVarnel;
using testing::ElementsAre;

// A text field of a state text: the length in three characters, then the character codes.
std::string Field(const std::string& text) {
  std::string body;
  for (const char c : text) body += (body.empty() ? "" : "+") + std::to_string(static_cast<int>(c));
  const std::string length = std::to_string(body.size());
  return std::string(3 - length.size(), ' ') + length + body;
}

std::string Encoded(const std::string& text) {
  std::string encoded;
  for (const char c : text) encoded += c == ' ' ? "%20" : c == '+' ? "%2B" : std::string(1, c);
  return encoded;
}

// Ten customers before Jones (7), Smith (42) nine behind him, and 37 more: Jones and Smith are the first and
// the last one on page 2 of 6.
std::string Customers() {
  std::string sql =
      "CREATE TABLE customer (id INT NOT NULL PRIMARY KEY, name VARCHAR(40) COLLATE NOCASE, active INT NOT "
      "NULL);";
  const auto add = [&](int id, const std::string& name) {
    sql += "INSERT INTO customer VALUES (" + std::to_string(id) + ", '" + name + "', 1);";
  };
  for (int i = 0; i < 10; ++i) add(100 + i, "A" + std::to_string(i));
  add(7, "Jones");
  for (int i = 0; i < 8; ++i) add(200 + i, "K" + std::to_string(i));
  add(42, "Smith");
  for (int i = 0; i < 37; ++i) add(300 + i, "T" + std::to_string(100 + i));
  return sql + "INSERT INTO customer VALUES (999, 'Zero', 0);";
}

class TraceSqlTest : public testing::Test {
 protected:
  TraceSqlTest() {
    m_site.RunSql("BEGIN;" + Customers() + "COMMIT;");
    m_site.WritePage("list.asp",
                     "<% var page = Server.CreateObject('Varnel.Page'); page.OpenDatabaseConnection('Demo');"
                     " var rs = page.DRecordset(); rs.SetPageSize(10);"
                     " if (Request('jump').Count) rs.SetPageJump(true, 10);"
                     " if (Request('count').Count) rs.SetRecCountON(); else rs.SetRecCountOFF();"
                     " rs.SetDefaultSortFields(String(Request('sort')));"
                     " rs.OpenRS(String(Request('sql')), String(Request('keys')));"
                     " for (; !rs.EOF; rs.MoveNext()) { %><%= rs(0) %> <% } %>");
  }

  // The texts of a list's read from the position that `state` tells, without the one that sets the isolation.
  std::vector<std::string> TextsOf(const std::string& state, const std::string& sql = kQuery,
                                   const std::string& sort = "name", const std::string& keys = "id",
                                   const std::string& more = "") {
    const std::string trace = (m_site.Folder() / "trace").string();
    const Ran ran = RunVarnel(
        {"run", m_site.Folder().string(), "list.asp", "--query",
         "R_1=" + Encoded(state) + "&sql=" + Encoded(sql) + "&sort=" + Encoded(sort) + "&keys=" + keys + more,
         "--trace-sql", trace});
    EXPECT_EQ(ran.err, "");
    m_page = ran.out;
    return Texts(m_site.Read("trace"));
  }

  static std::vector<std::string> Texts(const std::string& trace) {
    std::vector<std::string> texts;
    std::istringstream lines(trace);
    for (std::string line; std::getline(lines, line);) {
      const std::string opening = "{\"sql\": \"";
      EXPECT_EQ(line.substr(0, opening.size()), opening);
      texts.push_back(line.substr(opening.size(), line.find("\", \"sent\": \"") - opening.size()));
    }
    EXPECT_FALSE(texts.empty());
    EXPECT_EQ(texts.front(), "set TRANSACTION ISOLATION LEVEL READ COMMITTED");
    texts.erase(texts.begin());
    return texts;
  }

  static constexpr char kQuery[] = "SELECT id, name FROM customer WHERE active = 1";

  hosttest::TestSite m_site;
  std::string m_page;  // the page of the last run: the first column of its rows
};

TEST_F(TraceSqlTest, FirstPage) {
  EXPECT_THAT(
      TextsOf(""),
      ElementsAre("SELECT TOP 10 id, name FROM customer WHERE (  active = 1) ORDER BY name ASC,id ASC"));
  EXPECT_EQ(m_page, "100 101 102 103 104 105 106 107 108 109 ");
}

TEST_F(TraceSqlTest, NextPage) {
  EXPECT_THAT(
      TextsOf("1x57x21x 14110+97+109+1010x1x 1883+109+105+116+104  552+502x0x0x"),
      ElementsAre("SELECT TOP 10 id, name FROM customer WHERE (  active = 1) AND (name > 'Smith' or (name = "
                  "'Smith' and id > '42')) ORDER BY name ASC,id ASC"));
  EXPECT_EQ(m_page, "300 301 302 303 304 305 306 307 308 309 ");
}

TEST_F(TraceSqlTest, PreviousPage) {
  EXPECT_THAT(
      TextsOf("2x57x1x" + Field("name") + "0x1x" + Field("Jones") + Field("7") + "2x0x0x"),
      ElementsAre("SELECT TOP 10 id, name FROM customer WHERE (  active = 1) AND ((name < 'Jones' or name is "
                  "null) or (name = 'Jones' and (id < '7' or id is null))) ORDER BY name DESC,id DESC"));
  EXPECT_EQ(m_page, "100 101 102 103 104 105 106 107 108 109 ");
}

TEST_F(TraceSqlTest, LastPage) {
  EXPECT_THAT(
      TextsOf("3x57x1x" + Field("name") + "0x2x0x0x"),
      ElementsAre("SELECT TOP 10 id, name FROM customer WHERE (  active = 1) ORDER BY name DESC,id DESC"));
  EXPECT_EQ(m_page, "330 331 332 333 334 335 336 ");
}

TEST_F(TraceSqlTest, NextPageBehindARowWithoutName) {
  EXPECT_THAT(
      TextsOf("1x57x11x" + Field("name") + "0x1x z1" + Field("42") + "1x0x0x"),
      ElementsAre(
          "SELECT TOP 10 id, name FROM customer WHERE (  active = 1) AND (name is not null or (name is "
          "null and id > '42')) ORDER BY name ASC,id ASC"));
}

TEST_F(TraceSqlTest, MixedDirections) {
  EXPECT_THAT(
      TextsOf("1x57x11x" + Field("name DESC") + "0x1x" + Field("Smith") + Field("42") + "1x0x0x",
              "SELECT id, name FROM customer"),
      ElementsAre("SELECT TOP 10 id, name FROM customer WHERE ((name < 'Smith' or name is null) or (name = "
                  "'Smith' and id > '42')) ORDER BY name DESC,id ASC"));
  EXPECT_EQ(m_page, "207 206 205 204 203 202 201 200 7 109 ");
}

TEST_F(TraceSqlTest, JumpOfThreePagesIsNested) {
  EXPECT_THAT(
      TextsOf("1x57x21x" + Field("name") + "0x1x" + Field("Smith") + Field("42") + "2x1x6x5x", kQuery, "name",
              "id", "&jump=1"),
      ElementsAre(
          "SELECT TOP  10 * FROM (SELECT TOP 30 id, name FROM customer WHERE (  active = 1) AND (name > "
          "'Smith' or (name = 'Smith' and id > '42')) ORDER BY name ASC,id ASC) as OUTPUT  ORDER BY name "
          "DESC,id DESC"));
  EXPECT_EQ(m_page, "320 321 322 323 324 325 326 327 328 329 ");
}

TEST_F(TraceSqlTest, TwoBranches) {
  std::string sql = "CREATE TABLE t (a INT NOT NULL); CREATE TABLE u (a INT NOT NULL);";
  for (int i = 1; i <= 30; ++i) {
    sql += "INSERT INTO " + std::string(i % 2 == 0 ? "t" : "u") + " VALUES (" + std::to_string(i) + ");";
  }
  m_site.RunSql(sql);
  EXPECT_THAT(
      TextsOf("1x30x11x" + Field("") + "0x0x" + Field("5") + "1x0x0x",
              "SELECT a FROM t UNION SELECT a FROM u", "", "a"),
      ElementsAre("(SELECT TOP 10 a FROM t WHERE a > '5') UNION (SELECT TOP 10 a FROM u WHERE a > '5') ORDER "
                  "BY a ASC"));
  EXPECT_EQ(m_page, "6 7 8 9 10 11 12 13 14 15 ");
}

TEST_F(TraceSqlTest, CountStandsBeforeTheRead) {
  EXPECT_THAT(
      TextsOf("", kQuery, "name", "id", "&count=1"),
      ElementsAre("SELECT COUNT(*) FROM customer WHERE active = 1",
                  "SELECT TOP 10 id, name FROM customer WHERE (  active = 1) ORDER BY name ASC,id ASC"));
}

TEST_F(TraceSqlTest, EachLineTellsWhatTheEngineGotAndGave) {
  TextsOf("");
  const std::string trace = m_site.Read("trace");
  EXPECT_THAT(trace,
              testing::ContainsRegex("\"sent\": \"[^\"]*LIMIT[^\"]*\", \"rows\": 10, \"us\": [0-9]+\\}\n$"));
}

TEST_F(TraceSqlTest, FailedTextIsTracedToo) {
  const std::string trace = (m_site.Folder() / "trace").string();
  m_site.WritePage("bad.asp",
                   "<% var c = Server.CreateObject('ADODB.Connection');"
                   " c.Open('Provider=SQLite;Data Source=demo.db');"
                   " c.Execute('SELECT \"x\\\\\\n FROM nowhere'); %>");
  EXPECT_EQ(RunVarnel({"run", m_site.Folder().string(), "bad.asp", "--trace-sql", trace}).status, 1);
  EXPECT_THAT(m_site.Read("trace"),
              testing::StartsWith("{\"sql\": \"SELECT \\\"x\\\\\\u000a FROM nowhere\", "));
}

}  // namespace
