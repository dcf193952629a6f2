// The library's recordset on the real provider: each page read in a request of its own, as links do it, must
// be a slice of the sorted rows.
#include "host-fake/FakeHost.h"
#include "tests/database/RandomTable.h"
#include "tests/database/TestDatabase.h"
#include "varnel/recordset/DRecordset.h"

namespace {

using varnel::DRecordset;
using varnel::Long;
using varnel::Page;
using varnel::String;

// A host whose database is the real one.
class LiveHost : public hostfake::FakeHost {
 public:
  explicit LiveHost(std::shared_ptr<hostlinux::AdoDatabase> database) : m_database(std::move(database)) {
    Application().Set(u"Live_ConnectionString", String(u"Provider=SQLite;Data Source=test.db;Mode=Read"));
    Request().Variables().Set(u"URL", u"/shop/list.asp");
  }
  std::shared_ptr<varnel::host::IConnection> CreateConnection() override {
    return std::make_shared<hostlinux::AdoConnection>(m_database);
  }
  std::shared_ptr<varnel::host::IRecordset> CreateRecordset() override {
    return std::make_shared<hostlinux::AdoRecordset>(m_database);
  }

 private:
  std::shared_ptr<hostlinux::AdoDatabase> m_database;
};

String Decoded(const String& url) {
  const std::string text = varnel::ToUtf8(url.substr(url.rfind(u'=') + 1));
  std::string result;
  for (std::size_t i = 0; i < text.size(); ++i) {
    if (text[i] == '%') {
      result += static_cast<char>(std::strtol(text.substr(i + 1, 2).c_str(), nullptr, 16));
      i += 2;
    } else {
      result += text[i] == '+' ? ' ' : text[i];
    }
  }
  return varnel::FromUtf8(result);
}

class DRecordsetWalk : public TestDatabase {
 protected:
  void UseTable(const RandomTable& table, const std::vector<bool>& ascending, bool keyNamed) {
    Run(table.CreateSql());
    if (!table.Rows().empty()) Run(table.InsertSql());
    m_query = table.SelectSql() + u" WHERE id > -1000 ORDER BY 1";
    for (std::size_t i = 0; i < table.Columns().size(); ++i) {
      const ModelColumn& column = table.Columns()[i];
      m_sort += column.expression == column.name ? column.name : column.expression + u" AS " + column.name;
      m_sort += ascending[i] ? u"," : u" DESC,";
    }
    // A key that isn't named is the last column all the same, and ascends.
    if (!ascending.back())
      m_sort += u"id DESC";
    else if (keyNamed)
      m_sort += u"id";
    else
      m_sort.pop_back();
    for (const RandomTable::Row& row : table.Sorted(ascending))
      m_ids.push_back(static_cast<Long>(*row.back().number));
  }

  // Opens the page of `state` in a request of its own; the state comes as the request's parameter.
  std::shared_ptr<DRecordset> Open(const String& state) {
    m_host = nullptr;
    m_host = std::make_unique<LiveHost>(m_database);
    if (!state.empty()) m_host->Request().Query().Set(u"R_1", state);
    const auto page = m_host->Create<Page>(u"Varnel.Page");
    page->OpenDatabaseConnection(u"Live");
    const auto recordset = varnel::CastObject<DRecordset>(page->DRecordset());
    recordset->SetPageSize(m_size);
    recordset->SetDefaultSortFields(m_sort);
    if (m_counting) recordset->SetRecCountON();
    varnel::Integer width = 5;
    if (m_jumping) recordset->SetPageJump(m_jumping, width);
    recordset->OpenRS(m_query, u"id");
    return recordset;
  }

  static std::vector<Long> Ids(DRecordset& recordset) {
    std::vector<Long> ids;
    for (; !recordset.IsEOF(); recordset.MoveNext()) {
      varnel::Variant name(u"id");
      ids.push_back(varnel::ToLong(varnel::Variant(recordset.GetDefault(name))));
    }
    return ids;
  }

  std::vector<Long> Slice(std::size_t begin) const {
    begin = std::min(begin, m_ids.size());
    const std::size_t end = std::min(begin + Size(), m_ids.size());
    return {m_ids.begin() + static_cast<std::ptrdiff_t>(begin),
            m_ids.begin() + static_cast<std::ptrdiff_t>(end)};
  }

  std::size_t Size() const { return static_cast<std::size_t>(m_size); }
  Long Total() const { return static_cast<Long>(m_ids.size()); }
  std::size_t LastBegin() const { return m_ids.empty() ? 0 : (m_ids.size() - 1) / Size() * Size(); }

  void ExpectPage(DRecordset& recordset, std::size_t begin, const char* way) {
    ASSERT_EQ(Slice(begin), Ids(recordset)) << way << " at " << begin;
    EXPECT_EQ(static_cast<Long>(begin) + 1, recordset.GetRecordNumberForFirstRecordOnPage()) << way;
    if (m_counting) {
      EXPECT_EQ(Total(), recordset.GetTotalNumberOfRecords()) << way;
    }
  }

  void WalkBothWays() {
    auto recordset = Open(u"");
    ASSERT_NO_FATAL_FAILURE(ExpectPage(*recordset, 0, "first"));
    std::size_t begin = 0;
    while (begin + Size() < m_ids.size()) {
      recordset = Open(recordset->GetStateNext());
      begin += Size();
      ASSERT_NO_FATAL_FAILURE(ExpectPage(*recordset, begin, "next"));
    }
    EXPECT_EQ(Total(), recordset->GetTotalNumberOfRecords());
    while (begin > 0) {
      recordset = Open(recordset->GetStatePrev());
      begin -= Size();
      ASSERT_NO_FATAL_FAILURE(ExpectPage(*recordset, begin, "previous"));
    }
  }

  void LastAndFirst() {
    if (m_ids.size() <= Size()) return;
    const auto last = Open(Open(u"")->GetStateLast());
    ASSERT_NO_FATAL_FAILURE(ExpectPage(*last, LastBegin(), "last"));
    ASSERT_NO_FATAL_FAILURE(ExpectPage(*Open(last->GetStatePrev()), LastBegin() - Size(), "before the last"));
    ASSERT_NO_FATAL_FAILURE(ExpectPage(*Open(last->GetStateFirst()), 0, "first"));
  }

  // By page links to every page but the first, in no order.
  void JumpAround(std::mt19937& random) {
    std::vector<std::size_t> targets;
    for (std::size_t page = 2; page <= LastBegin() / Size() + 1; ++page) targets.push_back(page);
    std::shuffle(targets.begin(), targets.end(), random);
    auto recordset = Open(u"");
    std::size_t current = 1;
    for (const std::size_t target : targets) {
      Long position = static_cast<Long>(target) * (target < current ? -1 : 1);
      recordset = Open(Decoded(recordset->GetUrlForPage(position)));
      ASSERT_EQ(Slice((target - 1) * Size()), Ids(*recordset)) << "from page " << current << " to " << target;
      EXPECT_EQ(static_cast<Long>(target), recordset->m_lDisplayPage);
      current = target;
    }
  }

  varnel::Integer m_size = 10;
  bool m_counting = false;
  bool m_jumping = false;
  String m_query;
  String m_sort;
  std::vector<Long> m_ids;
  std::unique_ptr<LiveHost> m_host;
};

class RandomDRecordsetWalk : public DRecordsetWalk, public testing::WithParamInterface<unsigned> {};

TEST_P(RandomDRecordsetWalk, EveryPageIsASliceOfTheSortedRows) {
  std::mt19937 random(GetParam());
  const auto below = [&](std::size_t limit) {
    return std::uniform_int_distribution<std::size_t>(0, limit - 1)(random);
  };
  const std::size_t size = below(2) == 0 ? 1 + below(6) : 1 + below(50);
  m_size = static_cast<varnel::Integer>(size);
  const std::size_t counts[] = {0, 1, size, size * 2, size * 3, 1 + below(90)};
  const RandomTable table(random, std::min<std::size_t>(counts[below(6)], 150));
  std::vector<bool> ascending;
  for (std::size_t i = 0; i <= table.Columns().size(); ++i) ascending.push_back(below(2) == 0);
  UseTable(table, ascending, below(2) == 0);
  ASSERT_NO_FATAL_FAILURE(WalkBothWays());
  m_counting = true;
  ASSERT_NO_FATAL_FAILURE(WalkBothWays());
  ASSERT_NO_FATAL_FAILURE(LastAndFirst());
  m_jumping = true;
  ASSERT_NO_FATAL_FAILURE(WalkBothWays());
  ASSERT_NO_FATAL_FAILURE(JumpAround(random));
}

INSTANTIATE_TEST_SUITE_P(Seeds, RandomDRecordsetWalk, testing::Range(0u, 150u));

}  // namespace
