// A list with a condition of its own: where the engine would sort all that the condition lets through, its pages may also
// come from a walk through the order. The same rows either way.
#include <random>

#include "tests/database/TestDatabase.h"
#include "varnel/recordset/PageQuery.h"
#include "varnel/recordset/UnionBranches.h"

namespace {

using varnel::Long;
using varnel::String;

constexpr Long kRows = 20000;

// Products of which every second one is in category 1, every thousandth in category 2, and some in fifty more, so that a
// category seems to have few.
class LongLists : public TestDatabase {
 protected:
  LongLists() {
    hostlinux::AdoOptions options;
    options.onStatement = [this](const hostlinux::SqlTraceEntry& entry) { m_sent = entry.sent; };
    MakeDatabase(std::move(options));
    Run(u"CREATE TABLE product (id INT NOT NULL PRIMARY KEY, part VARCHAR(20) COLLATE NOCASE, price REAL)");
    Run(u"CREATE TABLE member (category INT NOT NULL, id INT NOT NULL, PRIMARY KEY (category, id))");
    Run(u"CREATE TABLE favourite (id INT NOT NULL PRIMARY KEY, present INT NOT NULL)");
    Run(u"WITH RECURSIVE n(i) AS (SELECT 1 UNION ALL SELECT i + 1 FROM n WHERE i < " +
        varnel::DecimalText(kRows) +
        u") INSERT INTO product SELECT i, CASE WHEN i % 11 = 0 THEN NULL ELSE printf('%c%05d', 65 + i % 50, "
        u"i * 7919 "
        u"% 5003) END, i % 97 FROM n");
    Run(u"INSERT INTO member SELECT 1, id FROM product WHERE id % 2 = 0");
    Run(u"INSERT INTO member SELECT 2, id FROM product WHERE id % 1000 = 0");
    Run(u"INSERT INTO member SELECT 4 + id / 20 % 50, id FROM product WHERE id % 20 = 1");
    Run(u"INSERT INTO favourite SELECT id, 1 FROM product WHERE id % 7 = 0");
    Run(u"CREATE INDEX product_part ON product (part, id)");
    Run(u"CREATE INDEX member_id ON member (id, category)");
    Run(u"ANALYZE");
    m_asData = Connect(u"Provider=SQLite;Data Source=test.db;Mode=Read");
    m_byText = Connect(u"Provider=SQLite;Data Source=test.db;Mode=Read;PageReads=AsWritten");
  }

  static String List(int category) {
    return u"SELECT DISTINCT P.id, P.part, F.present FROM product P INNER JOIN member M ON M.id = P.id LEFT "
           u"OUTER JOIN "
           u"favourite F ON F.id = P.id WHERE M.category = " +
           varnel::DecimalText(category);
  }

  varnel::PageQuery PageOf(const String& list, varnel::Integer navType,
                           std::vector<varnel::Variant> keys = {}, const String& sort = u"P.part",
                           bool jumps = false) {
    varnel::PersistedState state;
    state.NavType = navType;
    state.SortFields = sort;
    state.KeyValues = std::move(keys);
    std::vector<String> branches = varnel::SplitUnionBranches(list);
    return varnel::BuildRead(branches, state, varnel::ParseSortFields(state, u"P.id"), {10, jumps, 30});
  }

  std::string RowsOf(const varnel::PageQuery& query,
                     const std::shared_ptr<hostlinux::AdoConnection>& connection) {
    hostlinux::AdoRecordset recordset(m_database);
    recordset.SetCursorLocation(3);
    recordset.SetMaxRecords(query.page.rows);
    recordset.OpenPage(query.text, query.page, connection);
    std::string text;
    for (; !recordset.IsEOF(); recordset.MoveNext()) {
      for (Long i = 0; i < recordset.FieldCount(); ++i) {
        const varnel::Variant value = recordset.FieldValue(i);
        text += (value.IsNull() ? std::string("-") : varnel::ToUtf8(varnel::ToText(value))) + ",";
      }
      text += ";";
    }
    return text;
  }

  void ExpectTheSame(const varnel::PageQuery& query) {
    const std::string asData = RowsOf(query, m_asData);
    const String sent = m_sent;
    EXPECT_EQ(RowsOf(query, m_byText), asData) << varnel::ToUtf8(query.text) << "\n" << varnel::ToUtf8(sent);
    m_sent = sent;
  }
  bool Walked() const { return m_sent.find(u"\"page key\"") != String::npos; }

  std::shared_ptr<hostlinux::AdoConnection> m_asData;
  std::shared_ptr<hostlinux::AdoConnection> m_byText;
  String m_sent;
};

TEST_F(LongLists, TheFirstPageOfManyIsWalkedTo) {
  ExpectTheSame(PageOf(List(1), 0));
  EXPECT_TRUE(Walked());
  ExpectTheSame(PageOf(List(1), 3));
  EXPECT_TRUE(Walked());
}

// Half the parts are NULL: an index tells their order as well.
TEST_F(LongLists, RowsWithoutAPartAreNotSortedForAPage) {
  Run(u"UPDATE product SET part = NULL WHERE id % 2 = 0");
  ExpectTheSame(PageOf(List(1), 0));
  EXPECT_TRUE(Walked());
  const auto plan = Query(u"EXPLAIN QUERY PLAN " + m_sent);
  ASSERT_FALSE(plan->IsEOF());
  for (; !plan->IsEOF(); plan->MoveNext())
    EXPECT_EQ(String::npos, varnel::ToText(plan->FieldValue(3)).find(u"ORDER BY"))
        << varnel::ToUtf8(varnel::ToText(plan->FieldValue(3)));
}

TEST_F(LongLists, OfFewTheEngineSortsAll) {
  ExpectTheSame(PageOf(List(2), 0));
  EXPECT_FALSE(Walked());
}

// What was quicker for one category is tried first for the next one, and not held to where it isn't.
TEST_F(LongLists, TheOneWayAfterTheOther) {
  for (const int category : {1, 2, 1, 1, 2, 2, 3, 1}) ExpectTheSame(PageOf(List(category), 0));
  ExpectTheSame(PageOf(List(1), 0));
  EXPECT_TRUE(Walked());
}

TEST_F(LongLists, PagesFromAnyPlaceAreTheSame) {
  std::mt19937 random(7);
  const auto below = [&](Long limit) { return std::uniform_int_distribution<Long>(0, limit - 1)(random); };
  int walked = 0;
  for (int read = 0; read < 60; ++read) {
    const Long id = 1 + below(kRows);
    hostlinux::AdoRecordset row(m_database);
    row.Open(u"SELECT part FROM product WHERE id = " + varnel::DecimalText(id), m_connection, 3, 1, -1);
    const varnel::Variant part = row.FieldValue(0);
    const String sort = below(2) == 0 ? u"P.part" : u"P.part DESC";
    ExpectTheSame(PageOf(List(1 + static_cast<int>(below(2))), static_cast<varnel::Integer>(1 + below(2)),
                         {part, varnel::DecimalText(id)}, sort, below(3) == 0));
    if (Walked()) ++walked;
  }
  EXPECT_GT(walked, 5);
}

// Its keys are compared as a row, in the walk's front, too.
TEST_F(LongLists, PagesOfOneTableFromAnyPlaceAreTheSame) {
  Run(u"ALTER TABLE product ADD COLUMN kind INT");
  Run(u"UPDATE product SET kind = CASE WHEN id % 2 = 0 THEN 1 ELSE 2 + id / 20 % 500 END");
  Run(u"CREATE INDEX product_kind ON product (kind)");
  Run(u"ANALYZE");
  std::mt19937 random(11);
  const auto below = [&](Long limit) { return std::uniform_int_distribution<Long>(0, limit - 1)(random); };
  int walkedByRow = 0;
  for (int read = 0; read < 60; ++read) {
    const Long id = 1 + below(kRows);
    hostlinux::AdoRecordset row(m_database);
    row.Open(u"SELECT part FROM product WHERE id = " + varnel::DecimalText(id), m_connection, 3, 1, -1);
    const String sort = below(2) == 0 ? u"P.part,P.id" : u"P.part DESC,P.id DESC";
    const String list =
        u"SELECT P.id, P.part, P.price FROM product P WHERE P.kind = " + varnel::DecimalText(1 + below(2));
    ExpectTheSame(PageOf(list, static_cast<varnel::Integer>(1 + below(2)),
                         {row.FieldValue(0), varnel::DecimalText(id)}, sort, below(3) == 0));
    if (m_sent.find(u"(\"page key\", \"page key 2\")") != String::npos) ++walkedByRow;
  }
  EXPECT_GT(walkedByRow, 5);
}

}  // namespace
