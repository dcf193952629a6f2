#include "tests/model/ModelDatabase.h"

#include <gtest/gtest.h>

#include "varnel/automation/Convert.h"

namespace model {
namespace {

using varnel::Long;
using varnel::String;
using varnel::Variant;

class ModelDatabase : public testing::Test {
 protected:
  ModelDatabase() {
    Run(u"CREATE TABLE maker (id INT NOT NULL PRIMARY KEY, name VARCHAR(20) COLLATE NOCASE)");
    Run(u"CREATE TABLE item (id INT NOT NULL PRIMARY KEY, maker INT, name VARCHAR(20), made TIMESTAMP)");
    Run(u"INSERT INTO maker VALUES (1, 'Acme'), (2, 'bolt')");
    Run(u"INSERT INTO item VALUES (1, 1, 'a', '2001-03-05 14:07:09'), (2, 2, 'b', NULL), (3, NULL, NULL, "
        u"NULL), (10, 1, 'B', '2001-03-06')");
  }

  hostfake::FakeAnswer Answer(const String& sql, const String& connection = {}) {
    varnel::host::StatementParameters parameters;
    parameters.values.push_back({u"p", Variant(Long{2})});
    return m_database.Run({sql, parameters, connection});
  }
  // The rows, or the SQLState of the error.
  std::string Run(const String& sql, const String& connection = {}) {
    const hostfake::FakeAnswer answer = Answer(sql, connection);
    if (answer.error) return varnel::ToUtf8(answer.providerErrors.at(0).SQLState);
    std::string text;
    for (const auto& row : answer.rows) {
      if (!text.empty()) text += ";";
      for (std::size_t i = 0; i < row.size(); ++i)
        text += (i == 0 ? "" : ",") + (row[i].IsNull() ? "-" : varnel::ToUtf8(varnel::ToText(row[i])));
    }
    return text;
  }

  Database m_database;
};

TEST_F(ModelDatabase, SortsNullsFirstAndTextsByTheirCodes) {
  EXPECT_EQ(Run(u"SELECT id FROM item ORDER BY name, id"), "3;10;1;2");
  EXPECT_EQ(Run(u"SELECT id FROM item ORDER BY name DESC"), "2;1;10;3");
}

TEST_F(ModelDatabase, AnswersAKeysetReadAndAJump) {
  EXPECT_EQ(Run(u"SELECT TOP 9 id, name FROM item WHERE (name > 'B' or (name = 'B' and id > '2')) ORDER BY "
                u"name ASC,id ASC"),
            "10,B;1,a;2,b");
  EXPECT_EQ(Run(u"SELECT TOP  1 * FROM (SELECT TOP 2 id, name FROM item ORDER BY id ASC) as OUTPUT  ORDER BY "
                u"id DESC"),
            "2,b");
  EXPECT_EQ(Run(u"SELECT TOP 5 id FROM item WHERE (id < 9) AND 0=1 ORDER BY id ASC"), "");
}

TEST_F(ModelDatabase, JoinsTables) {
  EXPECT_EQ(Run(u"SELECT i.id, m.name FROM item i INNER JOIN maker m ON m.id = i.maker ORDER BY i.id"),
            "1,Acme;2,bolt;10,Acme");
  EXPECT_EQ(
      Run(u"SELECT item.id, maker.* FROM item LEFT OUTER JOIN maker ON maker.id = item.maker AND maker.id "
          u"= 1 ORDER BY item.id"),
      "1,1,Acme;2,-,-;3,-,-;10,1,Acme");
  EXPECT_EQ(Run(u"SELECT id FROM item i INNER JOIN maker m ON m.id = i.maker"), "42S22");
}

TEST_F(ModelDatabase, UnitesAndTellsEqualRowsOnce) {
  EXPECT_EQ(Run(u"SELECT DISTINCT maker FROM item ORDER BY maker"), "-;1;2");
  EXPECT_EQ(Run(u"SELECT id FROM maker UNION SELECT id FROM item ORDER BY id DESC"), "10;3;2;1");
  EXPECT_EQ(Run(u"(SELECT TOP 1 id FROM item ORDER BY id DESC) UNION ALL (SELECT id FROM maker)"), "10;1;2");
}

TEST_F(ModelDatabase, CountsAndGroups) {
  EXPECT_EQ(Run(u"SELECT COUNT(*) FROM item WHERE id > 99"), "0");
  EXPECT_EQ(Run(u"SELECT maker, COUNT(*) AS n FROM item GROUP BY maker ORDER BY maker"), "-,1;1,2;2,1");
  EXPECT_EQ(Run(u"SELECT COUNT(*) FROM (SELECT TOP 3 1 AS ONE FROM item) AS LISTED"), "3");
}

TEST_F(ModelDatabase, TakesAKeyForWhatItsColumnHolds) {
  EXPECT_EQ(Run(u"SELECT id FROM item WHERE id > '2' ORDER BY id"), "3;10");
  EXPECT_EQ(Run(u"SELECT id FROM item WHERE made = '20010305 14:07:09'"), "1");
  EXPECT_EQ(Run(u"SELECT id FROM item WHERE made > {d '2001-03-05'}OR id = :P"), "1;2;10");
  EXPECT_EQ(Run(u"SELECT id FROM maker WHERE name = 'BOLT'"), "2");
  EXPECT_EQ(Run(u"SELECT id FROM item WHERE id > 'abc'"), "22018");
}

TEST_F(ModelDatabase, KnowsThatNullIsNotKnown) {
  EXPECT_EQ(Run(u"SELECT id FROM item WHERE NOT (maker = 1)"), "2");
  EXPECT_EQ(Run(u"SELECT id FROM item WHERE maker = 1 OR maker IS NULL ORDER BY id"), "1;3;10");
  EXPECT_EQ(Run(u"SELECT id FROM maker WHERE id NOT IN (SELECT maker FROM item WHERE maker = 1)"), "2");
  EXPECT_EQ(Run(u"SELECT id FROM maker WHERE id NOT IN (SELECT maker FROM item WHERE id = 3)"), "");
}

TEST_F(ModelDatabase, KnowsPatterns) {
  EXPECT_EQ(Run(u"SELECT id FROM item WHERE name LIKE '[a-c]'"), "1;2");
  EXPECT_EQ(Run(u"SELECT id FROM item WHERE name NOT LIKE '[^a]%'"), "1");
  EXPECT_EQ(Run(u"SELECT id FROM maker WHERE name LIKE 'B%T'"), "2");
}

TEST_F(ModelDatabase, RefusesWhatABetterOneWould) {
  EXPECT_EQ(Run(u"SELECT id FROM none"), "42S02");
  EXPECT_EQ(Run(u"SELECT none FROM item"), "42S22");
  EXPECT_EQ(Run(u"SELECT 1; DELETE FROM item"), "42000");
  EXPECT_EQ(Run(u"SELECT id FROM item WHERE id = :q"), "07002");
  EXPECT_EQ(Run(u"INSERT INTO item (id) VALUES (7), (1)"), "23000");
  EXPECT_EQ(Run(u"INSERT INTO item (name) VALUES ('x')"), "23000");
  EXPECT_EQ(Run(u"DELETE FROM item", u"Provider=Model;Mode=Read"), "25006");
  EXPECT_EQ(Run(u"SELECT COUNT(*) FROM item"), "4");
}

TEST_F(ModelDatabase, TakesATransactionBack) {
  m_database.Take(hostfake::FakeTransaction::Begin);
  EXPECT_EQ(Answer(u"UPDATE item SET name = 'x' WHERE maker = 1").affected, 2);
  EXPECT_EQ(Answer(u"DELETE FROM item WHERE id > 2").affected, 2);
  m_database.Take(hostfake::FakeTransaction::Rollback);
  EXPECT_EQ(Run(u"SELECT id, name FROM item ORDER BY id"), "1,a;2,b;3,-;10,B");
}

}  // namespace
}  // namespace model
