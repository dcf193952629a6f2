// A table in memory that answers page queries as a database would: a sorted list, not a script of answers.
#pragma once

#include <functional>

#include "host-fake/FakeDatabase.h"

namespace varnel {

// Answers SELECT TOP, plain and nested, and SELECT COUNT(*) over the table "t"; NULL sorts below every value,
// and a quoted number compares as a number with a column of numbers.
class ModelTable {
 public:
  using Row = std::vector<Variant>;

  ModelTable(std::vector<hostfake::FakeColumn> columns, std::vector<Row> rows)
      : m_columns(std::move(columns)), m_rows(std::move(rows)) {}

  const std::vector<Row>& Rows() const { return m_rows; }
  void DeleteWhere(const std::function<bool(const Row&)>& condition) { std::erase_if(m_rows, condition); }

  hostfake::FakeAnswer Run(const String& sql) const;
  // All rows in the order of `orderBy`, as "name DESC,id ASC".
  std::vector<Row> Sorted(StringView orderBy) const { return SortedBy(orderBy, m_rows); }

 private:
  std::vector<Row> Select(StringView sql) const;
  std::vector<Row> SortedBy(StringView orderBy, std::vector<Row> rows) const;
  std::size_t ColumnOf(StringView name) const;

  std::vector<hostfake::FakeColumn> m_columns;
  std::vector<Row> m_rows;
};

// A condition of comparisons, "and", "or" and parentheses, read and judged for one row.
class ModelCondition {
 public:
  using ValueOf = std::function<Variant(StringView column)>;
  ModelCondition(StringView text, ValueOf valueOf) : m_rest(text), m_valueOf(std::move(valueOf)) {}

  bool Holds();

 private:
  bool Any();
  bool All();
  bool One();
  bool Take(StringView piece);
  String TakeQuoted();

  StringView m_rest;
  ValueOf m_valueOf;
};

// -1, 0 or 1; NULL below every value.
int CompareValues(const Variant& left, const Variant& right);

}  // namespace varnel
