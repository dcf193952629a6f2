#include "tests/recordset/ModelTable.h"

#include <algorithm>
#include <stdexcept>

#include "varnel/automation/Convert.h"

namespace varnel {

int CompareValues(const Variant& left, const Variant& right) {
  if (left.IsNull() || right.IsNull())
    return static_cast<int>(right.IsNull()) - static_cast<int>(left.IsNull());
  if (left.IsText() && right.IsText()) {
    const int order = left.As<String>()->compare(*right.As<String>());
    return order < 0 ? -1 : (order > 0 ? 1 : 0);
  }
  const double a = ToDouble(left);
  const double b = ToDouble(right);
  return a < b ? -1 : (a > b ? 1 : 0);
}

bool ModelCondition::Holds() {
  const bool holds = Any();
  if (!m_rest.empty()) throw std::runtime_error("not a condition: " + ToUtf8(m_rest));
  return holds;
}

bool ModelCondition::Any() {
  bool holds = All();
  while (Take(u" or ")) {
    const bool next = All();
    holds = holds || next;
  }
  return holds;
}

bool ModelCondition::All() {
  bool holds = One();
  while (Take(u" and ")) {
    const bool next = One();
    holds = holds && next;
  }
  return holds;
}

bool ModelCondition::One() {
  if (Take(u"(")) {
    const bool holds = Any();
    if (!Take(u")")) throw std::runtime_error("open parenthesis: " + ToUtf8(m_rest));
    return holds;
  }
  if (Take(u"0=1")) return false;
  const auto end = m_rest.find(u' ');
  const Variant value = m_valueOf(m_rest.substr(0, end));
  m_rest.remove_prefix(std::min(end, m_rest.size()));
  if (Take(u" is not null")) return !value.IsNull();
  if (Take(u" is null")) return value.IsNull();
  const int wanted = Take(u" > ") ? 1 : (Take(u" < ") ? -1 : (Take(u" = ") ? 0 : 9));
  const String key = TakeQuoted();
  return !value.IsNull() && CompareValues(value, key) == wanted;
}

bool ModelCondition::Take(StringView piece) {
  if (!m_rest.starts_with(piece)) return false;
  m_rest.remove_prefix(piece.size());
  return true;
}

String ModelCondition::TakeQuoted() {
  if (!Take(u"'")) throw std::runtime_error("no literal: " + ToUtf8(m_rest));
  String text;
  while (!m_rest.empty()) {
    if (Take(u"''")) {
      text += u'\'';
    } else if (Take(u"'")) {
      return text;
    } else {
      text += m_rest[0];
      m_rest.remove_prefix(1);
    }
  }
  throw std::runtime_error("open literal");
}

std::size_t ModelTable::ColumnOf(StringView name) const {
  for (std::size_t i = 0; i < m_columns.size(); ++i) {
    if (EqualsNoCase(m_columns[i].name, name)) return i;
  }
  throw std::runtime_error("no column " + ToUtf8(name));
}

std::vector<ModelTable::Row> ModelTable::SortedBy(StringView orderBy, std::vector<Row> rows) const {
  const std::vector<String> entries = Split(orderBy, u",");
  std::stable_sort(rows.begin(), rows.end(), [&](const Row& left, const Row& right) {
    for (const String& entry : entries) {
      const auto blank = entry.rfind(u' ');
      const std::size_t column = ColumnOf(StringView(entry).substr(0, blank));
      const int order = CompareValues(left[column], right[column]);
      if (order != 0) return entry.ends_with(u" ASC") ? order < 0 : order > 0;
    }
    return false;
  });
  return rows;
}

std::vector<ModelTable::Row> ModelTable::Select(StringView sql) const {
  constexpr StringView kNested = u"SELECT TOP  ";
  constexpr StringView kPlain = u"SELECT TOP ";
  const bool nested = sql.starts_with(kNested);
  sql.remove_prefix(nested ? kNested.size() : kPlain.size());
  const auto top = static_cast<std::size_t>(ToLong(String(sql.substr(0, sql.find(u' ')))));
  const auto order = sql.rfind(u" ORDER BY ");
  const StringView orderBy = sql.substr(order + 10);
  std::vector<Row> rows;
  if (nested) {
    const auto from = sql.find(u'(') + 1;
    rows = Select(sql.substr(from, sql.rfind(u") as OUTPUT ") - from));
  } else {
    const auto where = sql.find(u" WHERE ");
    for (const Row& row : m_rows) {
      const auto valueOf = [&](StringView column) { return row[ColumnOf(column)]; };
      const bool taken = where == StringView::npos ||
                         ModelCondition(sql.substr(where + 7, order - where - 7), valueOf).Holds();
      if (taken) rows.push_back(row);
    }
  }
  rows = SortedBy(orderBy, std::move(rows));
  rows.resize(std::min(rows.size(), top));
  return rows;
}

hostfake::FakeAnswer ModelTable::Run(const String& sql) const {
  if (sql == u"SELECT COUNT(*) FROM t") {
    return {{{u"", hostfake::kTypeLong}}, {{static_cast<Long>(m_rows.size())}}, {}, {}};
  }
  return {m_columns, Select(sql), {}, {}};
}

}  // namespace varnel
