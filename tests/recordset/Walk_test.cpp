// Walking a list page by page visits every row once, in order: compared with a sorted vector.
#include <random>

#include "tests/recordset/RecordsetFixture.h"

namespace varnel {
namespace {

using Rows = std::vector<ModelTable::Row>;

struct List {
  StringView sort;
  StringView total;  // the whole order, with the key
};

constexpr List kLists[] = {{u"", u"id ASC"},
                           {u"name", u"name ASC,id ASC"},
                           {u"name DESC", u"name DESC,id ASC"},
                           {u"score DESC, name", u"score DESC,name ASC,id ASC"},
                           {u"name, id DESC", u"name ASC,id DESC"}};

class Walk : public RecordsetTest {
 protected:
  // Many ties and many NULLs.
  void FillRandomly(Long count) {
    Rows rows;
    for (Long id = 1; id <= count; ++id) {
      const auto name = m_random() % 4;
      const auto score = static_cast<Long>(m_random() % 3);
      rows.push_back(
          {id, name == 0 ? Variant(Null()) : Variant(u"O'" + DecimalText(static_cast<std::int64_t>(name))),
           score == 0 ? Variant(Null()) : Variant(score * 9)});
    }
    m_table = ModelTable({{u"id", hostfake::kTypeLong}, {u"name"}, {u"score", hostfake::kTypeLong}},
                         std::move(rows));
  }

  std::shared_ptr<DRecordset> Read(StringView state, const List& list) {
    m_host.Request().Query().Set(u"R_1", state);
    auto recordset = New(m_pageSize);
    recordset->SetDefaultSortFields(String(list.sort));
    if (m_counting) recordset->SetRecCountON();
    recordset->OpenRS(u"SELECT id, name, score FROM t", u"id");
    return recordset;
  }

  static Rows RowsOf(DRecordset& recordset) {
    Rows rows;
    for (; !recordset.IsEOF(); recordset.MoveNext()) {
      ModelTable::Row row;
      for (Long k = 0; k < 3; ++k) row.push_back(recordset.Fields()->Item(k)->Value);
      rows.push_back(std::move(row));
    }
    return rows;
  }

  static Rows Slice(const Rows& rows, Long first, Long count) {
    const auto begin = rows.begin() + std::min<std::ptrdiff_t>(first, std::ssize(rows));
    return {begin, begin + std::min<std::ptrdiff_t>(count, rows.end() - begin)};
  }

  void WalkThrough(const List& list) {
    const Rows sorted = m_table.Sorted(list.total);
    const auto total = static_cast<Long>(sorted.size());
    auto recordset = Read(u"", list);
    EXPECT_EQ(RowsOf(*recordset), Slice(sorted, 0, m_pageSize));
    Long first = 0;
    while (first + m_pageSize < total) {
      first += m_pageSize;
      recordset = Read(recordset->GetStateNext(), list);
      EXPECT_EQ(RowsOf(*recordset), Slice(sorted, first, m_pageSize));
      EXPECT_EQ(recordset->GetRecordNumberForFirstRecordOnPage(), first + 1);
    }
    EXPECT_EQ(recordset->GetTotalNumberOfRecords(), total);
    while (first > 0) {
      first -= m_pageSize;
      recordset = Read(recordset->GetStatePrev(), list);
      EXPECT_EQ(RowsOf(*recordset), Slice(sorted, first, m_pageSize));
      EXPECT_EQ(recordset->GetRecordNumberForFirstRecordOnPage(), first + 1);
    }
    EXPECT_EQ(recordset->GetTotalNumberOfRecords(), total);
  }

  std::mt19937 m_random{20240229};
  Integer m_pageSize = 1;
  bool m_counting = false;
};

TEST_F(Walk, ForwardAndBackVisitsEveryRowOnceInOrder) {
  for (const List& list : kLists) {
    for (const Long count : {0, 1, 6, 13}) {
      FillRandomly(count);
      for (const Integer pageSize : {Integer{1}, Integer{3}, Integer{5}, Integer{13}}) {
        m_pageSize = pageSize;
        m_counting = !m_counting;
        SCOPED_TRACE(ToUtf8(list.sort) + " " + std::to_string(count) + " " + std::to_string(pageSize));
        WalkThrough(list);
      }
    }
  }
}

TEST_F(Walk, TheLastPageIsAlignedWithTheFirst) {
  m_counting = true;
  for (const List& list : kLists) {
    for (const Long count : {7, 9, 12}) {
      FillRandomly(count);
      m_pageSize = 3;
      const Rows sorted = m_table.Sorted(list.total);
      const Long first = (count - 1) / m_pageSize * m_pageSize;
      const auto last = Read(Read(u"", list)->GetStateLast(), list);
      EXPECT_EQ(RowsOf(*last), Slice(sorted, first, m_pageSize));
      EXPECT_EQ(RowsOf(*Read(last->GetStatePrev(), list)), Slice(sorted, first - m_pageSize, m_pageSize));
    }
  }
}

}  // namespace
}  // namespace varnel
