// The count of a text is kept as long as the database is surely unchanged, and the text is one that then gives the same.
#include "host-fake/ErrorOf.h"
#include "tests/database/TestDatabase.h"

namespace {

using varnel::Long;
using varnel::String;

class KeptCounts : public TestDatabase {
 protected:
  KeptCounts() {
    hostlinux::AdoOptions options;
    options.onStatement = [this](const hostlinux::SqlTraceEntry& entry) { m_sent = entry.sent; };
    MakeDatabase(std::move(options));
    Run(u"CREATE TABLE t (id INT NOT NULL PRIMARY KEY, name VARCHAR(20), day DATETIME)");
    Run(u"INSERT INTO t VALUES (1, 'a', '2024-03-05 00:00:00'), (2, 'b', NULL), (3, 'b', NULL)");
  }

  Long Count(const String& sql) { return varnel::ToLong(Query(sql)->FieldValue(0)); }
  // Nothing reaches the engine for a kept one.
  bool WasKept() const { return m_sent.empty(); }

  Long CountRows(const String& sql) {
    return hostlinux::AdoRecordset(m_database).CountRows(sql, m_connection);
  }

  // With the value as :name, :most and :v.
  static varnel::host::StatementParameters Values(const varnel::Variant& value) {
    return {{{u"name", value}, {u"most", value}, {u"v", value}}, false};
  }
  Long CountWith(const String& sql, const varnel::Variant& value) {
    hostlinux::AdoRecordset recordset(m_database);
    recordset.SetParameters(Values(value));
    recordset.Open(sql, m_connection, 3, 1, -1);
    return varnel::ToLong(recordset.FieldValue(0));
  }
  Long CountRowsWith(const String& sql, const varnel::Variant& value) {
    hostlinux::AdoRecordset recordset(m_database);
    recordset.SetParameters(Values(value));
    return recordset.CountRows(sql, m_connection);
  }

  String m_sent;
};

constexpr const char16_t* kCount = u"SELECT COUNT(*) FROM t WHERE id > 0";

TEST_F(KeptCounts, TheSecondVisitorGetsTheNumberOfTheFirst) {
  EXPECT_EQ(3, Count(kCount));
  EXPECT_FALSE(WasKept());
  EXPECT_EQ(3, Count(kCount));
  EXPECT_TRUE(WasKept());
}

// The engine names no database for a table of which no column is read.
TEST_F(KeptCounts, SoDoesTheOneOfAWholeTable) {
  Run(u"CREATE VIEW v AS SELECT * FROM t");
  for (const char16_t* sql :
       {u"SELECT COUNT(*) FROM t", u"SELECT COUNT(*) FROM t, t AS t2", u"SELECT COUNT(*) FROM v"}) {
    Count(sql);
    EXPECT_FALSE(WasKept()) << varnel::ToUtf8(sql);
    Count(sql);
    EXPECT_TRUE(WasKept()) << varnel::ToUtf8(sql);
  }
  Run(u"INSERT INTO t VALUES (4, 'c', NULL)");
  EXPECT_EQ(4, Count(u"SELECT COUNT(*) FROM t"));
}

// A table of the connection alone goes before one of the file.
TEST_F(KeptCounts, ATableOfTheConnectionIsCountedAgain) {
  EXPECT_EQ(3, Count(u"SELECT COUNT(*) FROM t"));
  Run(u"CREATE TEMP TABLE t (id INT)");
  EXPECT_EQ(0, Count(u"SELECT COUNT(*) FROM t"));
  Count(u"SELECT COUNT(*) FROM t");
  EXPECT_FALSE(WasKept());
}

TEST_F(KeptCounts, AKeptNumberIsTheSameResult) {
  const auto first = Query(kCount);
  const auto second = Query(kCount);
  EXPECT_EQ(first->FieldName(0), second->FieldName(0));
  EXPECT_EQ(first->FieldType(0), second->FieldType(0));
  EXPECT_EQ(1, second->RecordCount());
}

TEST_F(KeptCounts, EachValueHasItsOwn) {
  EXPECT_EQ(1, Count(u"SELECT COUNT(*) FROM t WHERE name = 'a'"));
  EXPECT_EQ(2, Count(u"SELECT COUNT(*) FROM t WHERE name = 'b'"));
  EXPECT_FALSE(WasKept());
  EXPECT_EQ(1, Count(u"SELECT COUNT(*) FROM t WHERE name = 'a'"));
  EXPECT_TRUE(WasKept());
}

TEST_F(KeptCounts, EachValueOfAParameterHasItsOwn) {
  const String named = u"SELECT COUNT(*) FROM t WHERE name = :name OR :name IS NULL";
  EXPECT_EQ(1, CountWith(named, String(u"a")));
  EXPECT_EQ(2, CountWith(named, String(u"b")));
  EXPECT_EQ(3, CountWith(named, varnel::Null()));
  EXPECT_EQ(0, CountWith(named, String()));
  EXPECT_EQ(0, CountWith(named, std::make_shared<const varnel::Bytes>(varnel::Bytes{'a'})));
  EXPECT_FALSE(WasKept());
  EXPECT_EQ(1, CountWith(named, String(u"a")));
  EXPECT_TRUE(WasKept());
  EXPECT_EQ(3, CountWith(named, varnel::Null()));
  EXPECT_TRUE(WasKept());
}

TEST_F(KeptCounts, SoHaveTheRowsOfATextWithOnes) {
  const String named = u"SELECT DISTINCT name FROM t WHERE id < :most";
  EXPECT_EQ(1, CountRowsWith(named, Long{2}));
  EXPECT_EQ(2, CountRowsWith(named, Long{3}));
  EXPECT_FALSE(WasKept());
  EXPECT_EQ(1, CountRowsWith(named, Long{2}));
}

TEST_F(KeptCounts, AParameterThatNobodyBoundIsAnError) {
  for (const char16_t* sql :
       {u"SELECT COUNT(*) FROM t WHERE name = :nme", u"SELECT COUNT(*) FROM t WHERE name = @v"}) {
    CountWith(u"SELECT COUNT(*) FROM t WHERE name = :v", String(u"a"));
    EXPECT_EQ(hostlinux::provider_error::kNoValue, hostfake::NumberOf([&] { CountWith(sql, String(u"a")); }));
    EXPECT_EQ(hostlinux::provider_error::kNoValue,
              hostfake::NumberOf([&] { CountRowsWith(sql, String(u"a")); }));
  }
}

TEST_F(KeptCounts, OwnChangesAreCounted) {
  Count(kCount);
  Run(u"INSERT INTO t VALUES (4, 'c', NULL)");
  EXPECT_EQ(4, Count(kCount));
  Run(u"DELETE FROM t");
  EXPECT_EQ(0, Count(kCount));
  Run(u"DROP TABLE t");
  Run(u"CREATE TABLE t (id INT)");
  Run(u"INSERT INTO t VALUES (1)");
  EXPECT_EQ(1, Count(kCount));
}

TEST_F(KeptCounts, ChangesOfOthersAreCounted) {
  Count(kCount);
  const auto other = Connect(u"Provider=SQLite;Data Source=test.db");
  other->Execute(u"INSERT INTO t VALUES (4, 'c', NULL)", -1);
  EXPECT_EQ(4, Count(kCount));
  EXPECT_EQ(4, Count(kCount));
  EXPECT_TRUE(WasKept());
  other->BeginTrans();
  other->Execute(u"INSERT INTO t VALUES (5, 'c', NULL)", -1);
  EXPECT_EQ(4, Count(kCount));  // not yet
  other->CommitTrans();
  EXPECT_EQ(5, Count(kCount));
}

TEST_F(KeptCounts, InATransactionItsOwnRowsCount) {
  EXPECT_EQ(3, Count(kCount));
  m_connection->BeginTrans();
  Run(u"INSERT INTO t VALUES (4, 'c', NULL)");
  EXPECT_EQ(4, Count(kCount));
  m_connection->RollbackTrans();
  EXPECT_EQ(3, Count(kCount));
  m_connection->BeginTrans();
  Run(u"INSERT INTO t VALUES (4, 'c', NULL)");
  EXPECT_EQ(4, Count(kCount));
  m_connection->CommitTrans();
  EXPECT_EQ(4, Count(kCount));
}

TEST_F(KeptCounts, AClockOrChanceIsAskedAgain) {
  Run(u"CREATE VIEW v AS SELECT * FROM t WHERE day < datetime('now')");
  Run(u"CREATE VIEW w AS SELECT * FROM v");
  for (const char16_t* sql :
       {u"SELECT COUNT(*) FROM t WHERE day < datetime('now')",
        u"SELECT COUNT(*) FROM t WHERE day < CURRENT_TIMESTAMP",
        u"SELECT COUNT(*) FROM t WHERE id > random()", u"SELECT COUNT(*) FROM v", u"SELECT COUNT(*) FROM w",
        u"SELECT COUNT(*) FROM t WHERE id > last_insert_rowid() - 9",
        u"SELECT COUNT(*) FROM t WHERE id > changes() - 9"}) {
    Count(sql);
    Count(sql);
    EXPECT_FALSE(WasKept()) << varnel::ToUtf8(sql);
  }
}

TEST_F(KeptCounts, WhatDoesNotLieInTheFileIsCountedAgain) {
  Run(u"CREATE TEMP TABLE u (id INT)");
  for (const char16_t* sql :
       {u"SELECT COUNT(*) FROM u", u"SELECT COUNT(*) FROM t, u", u"SELECT COUNT(*) FROM pragma_function_list",
        u"SELECT COUNT(*) FROM json_each('[1,2]')"}) {
    Count(sql);
    Count(sql);
    EXPECT_FALSE(WasKept()) << varnel::ToUtf8(sql);
  }
}

TEST_F(KeptCounts, RowsThatAListWouldReadAreCountedAlike) {
  constexpr const char16_t* kDistinct = u"SELECT DISTINCT name FROM t";
  EXPECT_EQ(2, CountRows(kDistinct));
  EXPECT_FALSE(WasKept());
  EXPECT_EQ(2, CountRows(kDistinct));
  EXPECT_TRUE(WasKept());
  Run(u"INSERT INTO t VALUES (4, 'c', NULL)");
  EXPECT_EQ(3, CountRows(kDistinct));
  EXPECT_EQ(4, CountRows(u"SELECT id, random() FROM t"));
  EXPECT_EQ(2, CountRows(u"SELECT name FROM t WHERE id > 1 GROUP BY name"));
  EXPECT_THROW(CountRows(u"SELECT nothing FROM t"), varnel::Error);
}

TEST_F(KeptCounts, MoreThanANumberIsNoCount) {
  EXPECT_EQ("2,b;1,a", Rows(u"SELECT COUNT(*), name FROM t GROUP BY name ORDER BY 1 DESC"));
  Run(u"UPDATE t SET name = 'a'");
  EXPECT_EQ("3,a", Rows(u"SELECT COUNT(*), name FROM t GROUP BY name ORDER BY 1 DESC"));
}

TEST_F(KeptCounts, AndIsReadInBatches) {
  Run(u"INSERT INTO t SELECT value, value, NULL FROM (WITH RECURSIVE n(value) AS (SELECT 4 UNION ALL SELECT "
      u"value + 1 FROM n "
      u"WHERE value < 1000) SELECT value FROM n)");
  const auto result = m_connection->Run(u"SELECT COUNT(*), name FROM t GROUP BY name", {},
                                        {0, hostlinux::AdoConnection::kBatchRows});
  EXPECT_EQ(hostlinux::AdoConnection::kBatchRows, result.rows.Rows());
  EXPECT_NE(nullptr, result.rest);
}

TEST_F(KeptCounts, AReaderThatIsStillReadingSeesItsOwnState) {
  Run(u"INSERT INTO t SELECT value, 'x', NULL FROM (WITH RECURSIVE n(value) AS (SELECT 4 UNION ALL SELECT "
      u"value + 1 FROM n "
      u"WHERE value < 1000) SELECT value FROM n)");
  const auto reading = Query(u"SELECT a.id FROM t a, t b");
  EXPECT_EQ(1000, Count(kCount));
  Connect(u"Provider=SQLite;Data Source=test.db")->Execute(u"DELETE FROM t WHERE id > 500", -1);
  EXPECT_EQ(1000, Count(kCount));
  reading->Close();
  EXPECT_EQ(500, Count(kCount));
}

}  // namespace
