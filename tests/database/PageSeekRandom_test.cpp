// Pages of random tables, read as data and by the library's text: the same rows in the same order. VARNEL_SEEDS=20000 in the environment makes a long run of it.
#include <cstdlib>

#include "tests/database/RandomTable.h"
#include "tests/database/TestDatabase.h"
#include "varnel/recordset/PageQuery.h"
#include "varnel/recordset/UnionBranches.h"

namespace {

using varnel::PersistedState;
using varnel::String;

constexpr int kReadsOfATable = 20;

int Seeds() {
  const char* text = std::getenv("VARNEL_SEEDS");
  return text == nullptr ? 40 : std::atoi(text);
}

class PageSeekRandom : public TestDatabase {
 protected:
  std::size_t Below(std::size_t limit) {
    return std::uniform_int_distribution<std::size_t>(0, limit - 1)(m_random);
  }
  bool OneIn(std::size_t count) { return Below(count) == 0; }

  void UseSeed(unsigned seed) {
    m_random.seed(seed);
    m_arms = nullptr;
    m_plain = nullptr;
    hostlinux::AdoOptions options;
    options.onStatement = [this](const hostlinux::SqlTraceEntry& entry) { m_sent = entry.sent; };
    MakeDatabase(std::move(options));
    m_table = std::make_unique<RandomTable>(m_random, Below(60));
    Run(u"PRAGMA synchronous = OFF");
    Run(u"DROP TABLE IF EXISTS t");
    Run(u"DROP TABLE IF EXISTS u");
    Run(m_table->CreateSql());
    if (!m_table->Rows().empty()) Run(m_table->InsertSql());
    Run(u"CREATE TABLE u (uid INTEGER PRIMARY KEY, owner INT, note VARCHAR(10))");
    Run(u"INSERT INTO u (owner, note) SELECT id, 'a' FROM t WHERE id % 3 = 0 UNION ALL SELECT id, NULL FROM "
        u"t "
        u"WHERE id % 2 = 0");
    if (m_firstPages || OneIn(2)) Run(u"CREATE INDEX i ON t (c0, id)");
    if (OneIn(4)) Run(u"CREATE INDEX p ON t (c0) WHERE id > 0");
    m_arms = Connect(u"Provider=SQLite;Data Source=test.db;Mode=Read");
    m_plain = Connect(u"Provider=SQLite;Data Source=test.db;Mode=Read;PageReads=AsWritten");
  }

  // The select list of the table's columns, with or without DISTINCT, from one table or two.
  void MakeQuery() {
    m_joined = OneIn(3);
    m_keys = m_joined ? u"id,uid" : u"id";
    String select = OneIn(3) ? u"SELECT DISTINCT " : u"SELECT ";
    select += OneIn(3) ? u"t.id" : u"id";
    if (m_joined) select += u", uid, note";
    for (const ModelColumn& column : m_table->Columns()) select += u", " + column.selected;
    select += u" FROM t";
    if (m_joined) select += OneIn(2) ? u" LEFT OUTER JOIN u ON owner = id" : u" INNER JOIN u ON owner = t.id";
    const String wheres[] = {u"", u" WHERE id > 7", u" WHERE id > '-20' OR c0 IS NULL",
                             u" WHERE (c0 <> N'a' OR id < 30)"};
    m_query = select + wheres[Below(4)];
    if (!OneIn(5)) return;
    m_query = select + u" WHERE id % 2 = 0 UNION " + select + u" WHERE id % 2 <> 0";
  }

  static bool IsWholeOrText(const ModelColumn& column) {
    return column.flavour == ColumnFlavour::Integer || column.flavour == ColumnFlavour::Text ||
           column.flavour == ColumnFlavour::TextNoCase;
  }

  static String Entry(const ModelColumn& column) {
    return column.expression == column.name ? column.name : column.expression + u" AS " + column.name;
  }

  // In mixed directions, most of them.
  String MakeFirstSort() {
    const std::vector<ModelColumn>& columns = m_table->Columns();
    String sort = Entry(columns[0]) + (OneIn(2) ? u" DESC" : u"");
    if (columns.size() > 1 && OneIn(3)) sort += u"," + Entry(columns[1]) + (OneIn(2) ? u" DESC" : u"");
    return OneIn(2) ? sort : sort + u",id DESC";
  }

  // Half of them such as a row value can be read by.
  String MakeSort() {
    if (m_firstPages) return MakeFirstSort();
    const bool upward = OneIn(2);
    std::vector<String> entries;
    for (const ModelColumn& column : m_table->Columns()) {
      if (upward ? !IsWholeOrText(column) : OneIn(4)) continue;
      entries.push_back(Entry(column));
    }
    if (!upward && m_joined && OneIn(2)) entries.push_back(u"note");
    if (OneIn(3)) entries.push_back(u"id");
    std::shuffle(entries.begin(), entries.end(), m_random);
    String sort;
    for (const String& entry : entries)
      sort += (sort.empty() ? u"" : u",") + entry + (!upward && OneIn(2) ? u" DESC" : u"");
    return sort;
  }

  // The keys of a row of the query, or values that may be no row's.
  bool TakeKeys(PersistedState& state, const std::vector<varnel::SortField>& fields) {
    const auto rows = Open(m_query, m_plain);
    if (rows->IsEOF()) return false;
    for (std::size_t skip = Below(40); skip > 0; --skip) {
      rows->MoveNext();
      if (rows->IsEOF()) rows->MoveFirst();
    }
    const bool odd = OneIn(10);
    for (const varnel::SortField& field : fields) {
      varnel::Long column = 0;
      while (!varnel::EqualsNoCase(rows->FieldName(column), field.Name)) ++column;
      const String values[] = {u"5", u"x", u"20010305 00:00:00", u"-0.25", u""};
      const varnel::Variant key = varnel::KeyValueToText(rows->FieldValue(column), rows->FieldType(column));
      state.KeyValues.push_back(odd && OneIn(3) ? varnel::Variant(values[Below(5)]) : key);
    }
    return true;
  }

  // Without a text where there is no row to go on from.
  varnel::PageQuery MakePage() {
    PersistedState state;
    state.NavType = static_cast<varnel::Integer>(m_firstPages || OneIn(8) ? 3 * Below(2) : 1 + Below(2));
    state.SortFields = MakeSort();
    state.SortReversed = OneIn(4);
    const std::vector<varnel::SortField> fields = varnel::ParseSortFields(state, m_keys);
    if (!TakeKeys(state, fields)) return {};
    varnel::PageTop top{static_cast<varnel::Integer>(1 + Below(8))};
    top.nested = state.HasKeys() && OneIn(3);
    top.rows = static_cast<varnel::Long>(Below(4)) * top.pageSize;
    std::vector<String> branches = varnel::SplitUnionBranches(m_query);
    return varnel::BuildRead(branches, state, fields, top);
  }

  std::shared_ptr<hostlinux::AdoRecordset> Open(const String& sql,
                                                const std::shared_ptr<hostlinux::AdoConnection>& connection) {
    auto recordset = std::make_shared<hostlinux::AdoRecordset>(m_database);
    recordset->Open(sql, connection, 3, 1, -1);
    return recordset;
  }

  // As the library opens a page.
  std::shared_ptr<hostlinux::AdoRecordset> OpenPage(
      const varnel::PageQuery& query, const std::shared_ptr<hostlinux::AdoConnection>& connection) {
    auto recordset = std::make_shared<hostlinux::AdoRecordset>(m_database);
    recordset->SetCursorLocation(3);
    recordset->SetMaxRecords(query.page.rows);
    recordset->OpenPage(query.text, query.page, connection);
    return recordset;
  }

  // Names, types and values of a result.
  std::string Result(const varnel::PageQuery& query,
                     const std::shared_ptr<hostlinux::AdoConnection>& connection) {
    const auto rows = OpenPage(query, connection);
    std::string text;
    const varnel::Long count = rows->FieldCount();
    for (varnel::Long i = 0; i < count; ++i)
      text += varnel::ToUtf8(rows->FieldName(i)) + ":" + std::to_string(rows->FieldType(i)) + " ";
    for (; !rows->IsEOF(); rows->MoveNext()) {
      text += "\n";
      for (varnel::Long i = 0; i < count; ++i) {
        const varnel::Variant value = rows->FieldValue(i);
        text += (value.IsNull() ? std::string("-") : varnel::ToUtf8(varnel::ToText(value))) + "|";
      }
    }
    return text;
  }

  void CompareReads() {
    for (int read = 0; read < kReadsOfATable; ++read) {
      MakeQuery();
      const varnel::PageQuery query = MakePage();
      if (query.text.empty()) continue;
      const std::string asData = Result(query, m_arms);
      const String sent = m_sent;
      const std::string byText = Result(query, m_plain);
      ++m_reads;
      if (sent != m_sent) ++m_readsInArms;
      if (sent.find(u") > (") != String::npos) ++m_readsAsRows;
      if (sent.find(u") < (") != String::npos) ++m_readsAsRows;
      ASSERT_EQ(byText, asData) << varnel::ToUtf8(query.text) << "\n" << varnel::ToUtf8(sent);
    }
  }

  void CompareTables() {
    const auto seeds = static_cast<unsigned>(Seeds());
    for (unsigned seed = 0; seed < seeds; ++seed) {
      UseSeed(seed);
      ASSERT_NO_FATAL_FAILURE(CompareReads()) << "seed " << seed;
    }
    RecordProperty("reads", m_reads);
    RecordProperty("in_arms", m_readsInArms);
    std::printf("%d reads, %d of them in arms, %d as row values\n", m_reads, m_readsInArms, m_readsAsRows);
  }

  std::mt19937 m_random;
  std::unique_ptr<RandomTable> m_table;
  std::shared_ptr<hostlinux::AdoConnection> m_arms;
  std::shared_ptr<hostlinux::AdoConnection> m_plain;
  String m_sent;
  String m_query;
  String m_keys;
  bool m_joined = false;
  bool m_firstPages = false;  // and last ones, but no others
  int m_reads = 0;
  int m_readsInArms = 0;
  int m_readsAsRows = 0;
};

TEST_F(PageSeekRandom, TheSameRowsInTheSameOrder) {
  CompareTables();
  EXPECT_GT(m_readsInArms, m_reads / 2);
  EXPECT_GT(m_readsAsRows, m_reads / 50);
}

// The view gives NULLs in a column that the table beside it never has.
TEST_F(PageSeekRandom, AViewBesideTheTableThatItReads) {
  UseSeed(1);
  Run(u"CREATE TABLE a (id INT NOT NULL PRIMARY KEY)");
  Run(u"CREATE TABLE b (bid INT NOT NULL PRIMARY KEY, owner INT)");
  Run(u"INSERT INTO a SELECT 1 UNION SELECT 2");
  Run(u"INSERT INTO b SELECT 1, 1 UNION SELECT 2, 2 UNION SELECT 3, 7 UNION SELECT 4, NULL");
  Run(u"CREATE VIEW v AS SELECT b.bid, a.id AS aid FROM b LEFT JOIN a ON a.id = b.owner");
  for (const char16_t* list : {u"SELECT a.id, bid, aid FROM a, v WHERE a.id = 1",
                               u"SELECT a.id, bid, v.aid FROM a INNER JOIN v ON a.id = 1"}) {
    PersistedState state;
    state.NavType = varnel::nav_type::kPrevious;
    state.SortFields = String(list).find(u"v.aid") == String::npos ? u"aid" : u"v.aid";
    state.KeyValues = {varnel::Variant(String(u"2")), varnel::Variant(String(u"2"))};
    const std::vector<varnel::SortField> fields = varnel::ParseSortFields(state, u"bid");
    std::vector<String> branches = varnel::SplitUnionBranches(list);
    const varnel::PageQuery query = varnel::BuildRead(branches, state, fields, {10});
    const std::string asData = Result(query, m_arms);
    EXPECT_EQ(Result(query, m_plain), asData);
    EXPECT_NE(std::string::npos, asData.find("\n1|4|-|")) << asData;
  }
}

TEST_F(PageSeekRandom, TheSameFirstAndLastPages) {
  m_firstPages = true;
  CompareTables();
  EXPECT_GT(m_readsInArms, m_reads / 10);
}

}  // namespace
