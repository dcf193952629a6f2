// Walks random SQLite tables page by page with the links that a recordset makes.
#include "host-fake/FakeHost.h"
#include "tests/database/RandomTable.h"
#include "tests/database/TestDatabase.h"
#include "varnel/page/Page.h"
#include "varnel/recordset/DRecordset.h"

namespace varnel {
namespace {

// A fake host with a real database behind it.
class SqliteHost : public hostfake::FakeHost {
 public:
  std::shared_ptr<host::IRecordset> CreateRecordset() override {
    return std::make_shared<hostlinux::AdoRecordset>(m_database);
  }

  std::shared_ptr<hostlinux::AdoDatabase> m_database;
};

class SqliteWalk : public TestDatabase {
 protected:
  SqliteWalk() {
    m_host.m_database = m_database;
    m_host.Request().Variables().Set(u"URL", u"/shop/list.asp");
    m_page = std::make_shared<Page>();
  }

  void UseTable(const RandomTable& table, const std::vector<bool>& ascending) {
    Run(table.CreateSql());
    if (!table.Rows().empty()) Run(table.InsertSql());
    m_query = table.SelectSql();
    m_sort.clear();
    for (std::size_t i = 0; i < table.Columns().size(); ++i) {
      const ModelColumn& column = table.Columns()[i];
      const bool plain = column.name == column.expression;
      m_sort += (i == 0 ? u"" : u", ") + column.expression + (plain ? u"" : u" AS " + column.name);
      if (!ascending[i]) m_sort += u" DESC";
    }
    if (!ascending.back()) m_sort += u", id DESC";
    m_ids.clear();
    for (const RandomTable::Row& row : table.Sorted(ascending))
      m_ids.push_back(static_cast<Long>(*row.back().number));
  }

  std::shared_ptr<DRecordset> Open(StringView state) {
    m_host.Request().Query().Set(u"R_1", state);
    auto recordset = std::make_shared<DRecordset>();
    recordset->Initialize(m_page, 1, m_connection);
    recordset->SetPageSize(m_pageSize);
    recordset->SetDefaultSortFields(m_sort);
    if (m_counting) recordset->SetRecCountON();
    bool jump = m_jumpWidth > 0;
    recordset->SetPageJump(jump, m_jumpWidth);
    recordset->OpenRS(m_query, u"id");
    return recordset;
  }

  // Page `index` from 0, as the sorted rows have it, on the recordset and in its numbers.
  void ExpectPage(DRecordset& recordset, Long index) {
    std::vector<Long> ids;
    for (; !recordset.IsEOF(); recordset.MoveNext()) {
      Variant key = u"id";
      ids.push_back(ToLong(recordset.GetDefault(key)->Value));
    }
    EXPECT_EQ(ids, Slice(index)) << "page " << index;
    EXPECT_EQ(recordset.GetRecordNumberForFirstRecordOnPage(), index * m_pageSize + 1);
    if (m_counting) {
      EXPECT_EQ(recordset.GetTotalNumberOfRecords(), Total());
    }
  }

  Long Total() const { return static_cast<Long>(m_ids.size()); }
  Long LastIndex() const { return m_ids.empty() ? 0 : (Total() - 1) / m_pageSize; }

  std::vector<Long> Slice(Long index) const {
    const auto begin = std::min(m_ids.size(), static_cast<std::size_t>(index * m_pageSize));
    const auto end = std::min(m_ids.size(), begin + static_cast<std::size_t>(m_pageSize));
    return {m_ids.begin() + static_cast<std::ptrdiff_t>(begin),
            m_ids.begin() + static_cast<std::ptrdiff_t>(end)};
  }

  void WalkBothWays() {
    auto recordset = Open(u"");
    ExpectPage(*recordset, 0);
    Long index = 0;
    while (index < LastIndex()) {
      recordset = Open(recordset->GetStateNext());
      ExpectPage(*recordset, ++index);
    }
    EXPECT_EQ(recordset->GetTotalNumberOfRecords(), Total());
    while (index > 0) {
      recordset = Open(recordset->GetStatePrev());
      ExpectPage(*recordset, --index);
    }
  }

  void GoToTheEndAndBack() {
    auto recordset = Open(u"");
    if (recordset->GetStateLast().empty()) return;
    recordset = Open(recordset->GetStateLast());
    ExpectPage(*recordset, LastIndex());
    if (LastIndex() > 0) ExpectPage(*Open(recordset->GetStatePrev()), LastIndex() - 1);
  }

  // To the page with `index` and back, by page links.
  void JumpBothWays(Long index) {
    const auto first = Open(u"");
    const auto far = Open(first->GetStateNextPage() + DecimalText(index + 1) + u"x");
    EXPECT_EQ(far->m_lDisplayPage, index + 1);
    ExpectPage(*far, index);
    if (index > 2) ExpectPage(*Open(far->GetStatePrevPage() + u"2x"), 1);
  }

  SqliteHost m_host;
  std::shared_ptr<Page> m_page;
  String m_query;
  String m_sort;
  std::vector<Long> m_ids;  // in sort order
  Integer m_pageSize = 1;
  Integer m_jumpWidth = 0;
  bool m_counting = false;
};

class RandomSqliteWalk : public SqliteWalk, public testing::WithParamInterface<unsigned> {};

TEST_P(RandomSqliteWalk, EveryPageIsASliceOfTheSortedRows) {
  std::mt19937 random(GetParam());
  const auto below = [&](std::size_t limit) {
    return std::uniform_int_distribution<std::size_t>(0, limit - 1)(random);
  };
  const std::size_t size = below(4) == 0 ? 1 + below(3) : 1 + below(50);
  const std::size_t counts[] = {0, 1, size, size * 2, size * 3, 1 + below(90)};
  const RandomTable table(random, std::min<std::size_t>(counts[below(6)], 90));
  std::vector<bool> ascending;
  for (std::size_t i = 0; i < table.Columns().size(); ++i) ascending.push_back(below(2) == 0);
  ascending.push_back(below(2) == 0);
  m_pageSize = static_cast<Integer>(size);
  UseTable(table, ascending);
  WalkBothWays();
  m_counting = true;
  WalkBothWays();
  GoToTheEndAndBack();
  // The last page has a read of its own, and a page beside the anchor needs no jump.
  m_jumpWidth = 5;
  for (Long index = 2; index < LastIndex(); ++index) JumpBothWays(index);
}

INSTANTIATE_TEST_SUITE_P(Seeds, RandomSqliteWalk, testing::Range(0u, 150u));

}  // namespace
}  // namespace varnel
