// Walks random tables page by page with the texts that page queries have, and compares every page with a
// slice of the sorted rows.
#include "tests/database/RandomTable.h"
#include "tests/database/TestDatabase.h"

namespace {

using varnel::Long;
using varnel::String;
using varnel::Variant;

struct SortColumn {
  String name;
  String expression;
  bool ascending;
};

// A key as the state text carries it: Null, or the value's text.
using Keys = std::vector<Variant>;

String DateKey(varnel::Date date) {
  const varnel::DateParts parts = varnel::SplitDate(date);
  char text[40];
  std::snprintf(text, sizeof text, "%04d%02d%02d %02d:%02d:%02d", parts.year, parts.month, parts.day,
                parts.hour, parts.minute, parts.second);
  return varnel::FromUtf8(text);
}

String Quoted(const Variant& key) { return u"'" + varnel::Replace(varnel::ToText(key), u"'", u"''") + u"'"; }

// The condition "behind the anchor" from column `i` on.
String Behind(const std::vector<SortColumn>& columns, const Keys& keys, std::size_t i) {
  const String& e = columns[i].expression;
  const bool isNull = keys[i].IsNull();
  String after;
  if (columns[i].ascending)
    after = isNull ? e + u" is not null" : e + u" > " + Quoted(keys[i]);
  else
    after = isNull ? String(u"0=1") : u"(" + e + u" < " + Quoted(keys[i]) + u" or " + e + u" is null)";
  if (i + 1 == columns.size()) return after;
  const String equal = isNull ? e + u" is null" : e + u" = " + Quoted(keys[i]);
  return u"(" + after + u" or (" + equal + u" and " + Behind(columns, keys, i + 1) + u"))";
}

String Order(const std::vector<SortColumn>& columns, bool inverted) {
  String order;
  for (const SortColumn& column : columns) {
    order += (order.empty() ? u" ORDER BY " : u",") + column.name;
    order += column.ascending != inverted ? u" ASC" : u" DESC";
  }
  return order;
}

String Count(std::size_t count) { return varnel::DecimalText(static_cast<std::int64_t>(count)); }

class Walk : public TestDatabase {
 protected:
  void UseTable(const RandomTable& table, const std::vector<bool>& ascending) {
    Run(table.CreateSql());
    if (!table.Rows().empty()) Run(table.InsertSql());
    m_select = table.SelectSql().substr(7);
    m_columns.clear();
    for (std::size_t i = 0; i < table.Columns().size(); ++i) {
      m_columns.push_back({table.Columns()[i].name, table.Columns()[i].expression, ascending[i]});
    }
    m_columns.push_back({u"id", u"id", ascending.back()});
    m_ids.clear();
    for (const RandomTable::Row& row : table.Sorted(ascending))
      m_ids.push_back(static_cast<Long>(*row.back().number));
  }

  std::vector<SortColumn> Columns(bool backward) const {
    std::vector<SortColumn> columns = m_columns;
    for (SortColumn& column : columns) column.ascending = column.ascending != backward;
    return columns;
  }

  // The rows of one read, in sort order, with the keys of each.
  struct Page {
    std::vector<Long> ids;
    std::vector<Keys> keys;
  };

  Page Read(const String& sql, Long maxRecords, bool reversed) {
    hostlinux::AdoRecordset recordset(m_database);
    recordset.SetMaxRecords(maxRecords);
    recordset.SetCursorLocation(3);
    recordset.Open(sql, m_connection, -1, -1, -1);
    Page page;
    for (; !recordset.IsEOF(); recordset.MoveNext()) {
      page.ids.push_back(varnel::ToLong(recordset.FieldValue(0)));
      page.keys.push_back(KeysOfRow(recordset));
    }
    if (reversed) {
      std::reverse(page.ids.begin(), page.ids.end());
      std::reverse(page.keys.begin(), page.keys.end());
    }
    return page;
  }

  // The sort columns follow the id in the select list.
  static Keys KeysOfRow(const hostlinux::AdoRecordset& recordset) {
    Keys keys;
    for (Long i = 1; i < recordset.FieldCount(); ++i) keys.push_back(KeyText(recordset, i));
    keys.push_back(KeyText(recordset, 0));
    return keys;
  }

  static Variant KeyText(const hostlinux::AdoRecordset& recordset, Long column) {
    const Variant value = recordset.FieldValue(column);
    if (value.IsNull()) return value;
    return recordset.FieldType(column) == 135 ? Variant(DateKey(varnel::ToDate(value)))
                                              : Variant(varnel::ToText(value));
  }

  Page First(std::size_t size) {
    return Read(u"SELECT TOP " + Count(size) + u" " + m_select + Order(m_columns, false),
                static_cast<Long>(size), false);
  }

  Page Last(std::size_t size) {
    const std::size_t rest = m_ids.size() % size == 0 ? size : m_ids.size() % size;
    return Read(u"SELECT TOP " + Count(size) + u" " + m_select + Order(m_columns, true),
                static_cast<Long>(rest), true);
  }

  Page Beside(const Keys& anchor, bool backward, std::size_t size) {
    const auto columns = Columns(backward);
    return Read(u"SELECT TOP " + Count(size) + u" " + m_select + u" WHERE " + Behind(columns, anchor, 0) +
                    Order(columns, false),
                static_cast<Long>(size), backward);
  }

  // `distance` pages on, by the nested form.
  Page Jump(const Keys& anchor, bool backward, std::size_t size, std::size_t distance) {
    const auto columns = Columns(backward);
    return Read(u"SELECT TOP  " + Count(size) + u" * FROM (SELECT TOP " + Count(size * distance) + u" " +
                    m_select + u" WHERE " + Behind(columns, anchor, 0) + Order(columns, false) +
                    u") as OUTPUT " + Order(columns, true),
                static_cast<Long>(size), !backward);
  }

  std::vector<Long> Slice(std::size_t begin, std::size_t count) const {
    begin = std::min(begin, m_ids.size());
    const std::size_t end = std::min(begin + count, m_ids.size());
    return {m_ids.begin() + static_cast<std::ptrdiff_t>(begin),
            m_ids.begin() + static_cast<std::ptrdiff_t>(end)};
  }

  void WalkBothWays(std::size_t size) {
    Page page = First(size);
    ASSERT_EQ(Slice(0, size), page.ids);
    std::size_t begin = 0;
    while (begin + size < m_ids.size()) {
      page = Beside(page.keys.back(), false, size);
      begin += size;
      ASSERT_EQ(Slice(begin, size), page.ids) << "next at " << begin;
    }
    if (!m_ids.empty()) {
      ASSERT_TRUE(Beside(page.keys.back(), false, size).ids.empty());
      ASSERT_EQ(Slice(begin, size), Last(size).ids);
    }
    while (begin > 0) {
      page = Beside(page.keys.front(), true, size);
      begin -= size;
      ASSERT_EQ(Slice(begin, size), page.ids) << "previous at " << begin;
    }
  }

  void JumpBothWays(std::size_t size, std::size_t distance) {
    const std::size_t target = size * distance;
    if (target >= m_ids.size() || target + size > m_ids.size()) return;
    const Page first = First(size);
    const Page far = Jump(first.keys.back(), false, size, distance);
    ASSERT_EQ(Slice(target, size), far.ids) << "ahead by " << distance;
    ASSERT_EQ(first.ids, Jump(far.keys.front(), true, size, distance).ids) << "back by " << distance;
  }

  String m_select;  // behind the word SELECT
  std::vector<SortColumn> m_columns;
  std::vector<Long> m_ids;  // in sort order
};

class RandomWalk : public Walk, public testing::WithParamInterface<unsigned> {};

TEST_P(RandomWalk, EveryPageIsASliceOfTheSortedRows) {
  std::mt19937 random(GetParam());
  const auto below = [&](std::size_t limit) {
    return std::uniform_int_distribution<std::size_t>(0, limit - 1)(random);
  };
  const std::size_t size = below(4) == 0 ? 1 + below(3) : 1 + below(50);
  const std::size_t counts[] = {0, 1, size, size * 2, size * 3, 1 + below(90)};
  const RandomTable table(random, std::min<std::size_t>(counts[below(6)], 90));
  std::vector<bool> ascending;
  for (std::size_t i = 0; i <= table.Columns().size(); ++i) ascending.push_back(below(2) == 0);
  UseTable(table, ascending);
  WalkBothWays(size);
  for (std::size_t distance = 2; distance <= 4; ++distance) JumpBothWays(size, distance);
}

INSTANTIATE_TEST_SUITE_P(Seeds, RandomWalk, testing::Range(0u, 150u));

}  // namespace
