// Pages of random tables, read as text and as data on every engine: the rows that the embedded engine gives for the library's text.
// VARNEL_SEEDS=2000 in the environment makes a long run of it.
#include <cstdlib>
#include <random>

#include "tests/conformance/EngineUnderTest.h"
#include "varnel/recordset/AdoReading.h"
#include "varnel/recordset/PageQuery.h"
#include "varnel/recordset/UnionBranches.h"

namespace {

using varnel::PersistedState;
using varnel::String;

constexpr int kReadsOfATable = 25;

unsigned Seeds() {
  const char* text = std::getenv("VARNEL_SEEDS");
  return text == nullptr ? 12 : static_cast<unsigned>(std::atoi(text));
}

String Digits(std::size_t number) {
  const std::string digits = std::to_string(number);
  return String(digits.begin(), digits.end());
}

struct SortColumn {
  String name;
  String type;
  bool isNotNull = false;
};

class Pages : public EveryEngine {
 protected:
  std::size_t Below(std::size_t limit) {
    return std::uniform_int_distribution<std::size_t>(0, limit - 1)(m_random);
  }
  bool OneIn(std::size_t count) { return Below(count) == 0; }

  String ValueOf(const String& type) {
    if (type == u"INT") return Digits(Below(6));
    if (type == u"BIGINT") return Digits(Below(3)) + u"000000000";
    if (type == u"DOUBLE PRECISION") return Digits(Below(5)) + u".1";
    if (type == u"NUMERIC(10,2)") return Digits(Below(5)) + u".25";
    if (type == u"TIMESTAMP")
      return u"'2001-03-0" + Digits(1 + Below(4)) + u" 1" + Digits(Below(3)) + u":00:05'";
    const String texts[] = {u"''", u"'a'", u"'B'", u"'b'", u"'ü'", u"'it''s'", u"'a\\b'"};
    return texts[Below(std::size(texts))];
  }

  void RunOnBoth(const String& sql) {
    Run(sql);
    m_model->Run(sql);
  }

  void MakeTables(unsigned seed) {
    m_random.seed(seed);
    m_columns.clear();
    const String types[] = {u"INT",           u"VARCHAR(20)", u"TIMESTAMP", u"BIGINT", u"DOUBLE PRECISION",
                            u"NUMERIC(10,2)", u"VARCHAR(20)", u"INT"};
    if (!m_table.empty()) RunOnBoth(u"DROP TABLE " + m_table);
    m_table = u"t" + Digits(seed);
    String create = u"CREATE TABLE " + m_table + u" (id INT NOT NULL PRIMARY KEY";
    for (std::size_t i = 0; i < 1 + Below(4); ++i) {
      const SortColumn column{u"c" + Digits(i), types[Below(std::size(types))], OneIn(2)};
      create += u", " + column.name + u" " + column.type + (column.isNotNull ? u" NOT NULL" : u"");
      m_columns.push_back(column);
    }
    RunOnBoth(create + u")");
    const std::size_t rows = Below(50);
    for (std::size_t row = 0; row < rows; ++row) {
      String values = Digits(row);
      for (const SortColumn& column : m_columns)
        values += u", " + (!column.isNotNull && OneIn(3) ? String(u"NULL") : ValueOf(column.type));
      RunOnBoth(u"INSERT INTO " + m_table + u" VALUES (" + values + u")");
    }
    const bool isIndexed = OneIn(2);
    if (isIndexed) RunOnBoth(u"CREATE INDEX i ON " + m_table + u" (c0, id)");
    m_mayBeDistinct = Has(Feature::DistinctFromAnIndex) || !isIndexed || m_columns[0].isNotNull;
  }

  void MakeQuery() {
    const bool isDistinct = OneIn(4) && m_mayBeDistinct;
    String columns = u"id";
    for (const SortColumn& column : m_columns) columns += u", " + column.name;
    const String select = (isDistinct ? u"SELECT DISTINCT " : u"SELECT ") + columns + u" FROM " + m_table;
    const String wheres[] = {u"", u" WHERE id > 7", u" WHERE id > '20' OR c0 IS NULL",
                             u" WHERE (id <> 5 OR id < 30)"};
    m_query = select + wheres[Below(4)];
    if (OneIn(5)) m_query = select + u" WHERE id < 20 UNION " + select + u" WHERE id >= 20";
    if (!isDistinct && OneIn(6)) m_query = select + wheres[Below(4)] + u" GROUP BY " + columns;
  }

  String MakeSort() {
    std::vector<String> entries;
    const bool upward = OneIn(3);
    for (const SortColumn& column : m_columns) {
      if (OneIn(4)) continue;
      entries.push_back(column.name + (!upward && OneIn(2) ? u" DESC" : u""));
    }
    if (OneIn(3)) entries.push_back(u"id DESC");
    std::shuffle(entries.begin(), entries.end(), m_random);
    String sort;
    for (const String& entry : entries) sort += (sort.empty() ? u"" : u",") + entry;
    return sort;
  }

  bool TakeKeys(PersistedState& state, const std::vector<varnel::SortField>& fields) {
    const auto rows = m_model->Query(m_query);
    if (rows->IsEOF()) return false;
    const auto count = static_cast<std::size_t>(rows->RecordCount());
    for (std::size_t skip = Below(40) % count; skip > 0; --skip) rows->MoveNext();
    for (const varnel::SortField& field : fields) {
      varnel::Long column = 0;
      while (!varnel::EqualsNoCase(rows->FieldName(column), field.Name)) ++column;
      state.KeyValues.push_back(varnel::KeyValueToText(rows->FieldValue(column), rows->FieldType(column)));
    }
    return true;
  }

  // Without a text where there is no row to go on from.
  varnel::PageQuery MakePage() {
    PersistedState state;
    state.NavType = static_cast<varnel::Integer>(OneIn(5) ? 3 * Below(2) : 1 + Below(2));
    state.SortFields = MakeSort();
    state.SortReversed = OneIn(4);
    const std::vector<varnel::SortField> fields = varnel::ParseSortFields(state, u"id");
    if (!TakeKeys(state, fields)) return {};
    varnel::PageTop top{static_cast<varnel::Integer>(1 + Below(8))};
    top.nested = state.HasKeys() && OneIn(3);
    top.rows = static_cast<varnel::Long>(Below(4)) * top.pageSize;
    std::vector<String> branches = varnel::SplitUnionBranches(m_query);
    return varnel::BuildRead(branches, state, fields, top);
  }

  // As data, where the host takes it so.
  static std::string Result(DatabaseUnderTest& database, const DatabaseUnderTest::ConnectionPtr& connection,
                            const varnel::PageQuery& query) {
    const auto rows = database.NewRecordset();
    rows->SetCursorLocation(3);
    rows->SetMaxRecords(query.page.rows);
    SCOPED_TRACE(varnel::ToUtf8(query.text));
    try {
      varnel::OpenDisconnected(connection, *rows, query.text, &query.page);
    } catch (const varnel::Error& error) {
      ADD_FAILURE() << varnel::ToUtf8(error.Info().Description);
      throw;
    }
    return DatabaseUnderTest::RowsOf(*rows);
  }

  std::mt19937 m_random;
  std::unique_ptr<EngineDatabase> m_model;
  std::vector<SortColumn> m_columns;
  bool m_mayBeDistinct = true;
  String m_table;
  String m_query;
};

TEST_P(Pages, TheSameRowsInTheSameOrderOnEveryEngine) {
  m_model = std::make_unique<EngineDatabase>(EngineKind::Sqlite);
  int reads = 0;
  for (unsigned seed = 0; seed < Seeds(); ++seed) {
    MakeTables(seed);
    const auto asData = m_database->Connect(u"Mode=Read");
    const auto asText = m_database->Connect(u"Mode=Read;PageReads=AsWritten");
    const auto model = m_model->Connect(u"Mode=Read;PageReads=AsWritten");
    for (int read = 0; read < kReadsOfATable; ++read) {
      MakeQuery();
      const varnel::PageQuery query = MakePage();
      if (query.text.empty()) continue;
      ++reads;
      const std::string expected = Result(*m_model, model, query);
      ASSERT_EQ(expected, Result(*m_database, asText, query))
          << "seed " << seed << ", as text: " << varnel::ToUtf8(query.text);
      ASSERT_EQ(expected, Result(*m_database, asData, query))
          << "seed " << seed << ", as data: " << varnel::ToUtf8(query.text);
    }
  }
  EXPECT_GT(reads, static_cast<int>(Seeds()) * 10);
}

INSTANTIATE_TEST_SUITE_P(Engines, Pages, kEveryKind, [](const auto& info) { return NameOf(info.param); });

}  // namespace
