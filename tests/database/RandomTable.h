// A random table with its rows in memory too, sorted the way a server sorts: the model that pages are
// compared with.
#pragma once

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <optional>
#include <random>
#include <string>
#include <vector>

#include "varnel/automation/Convert.h"

// A value of the model: nothing is NULL.
struct ModelValue {
  std::optional<double> number;     // also a date, as its days
  std::optional<std::string> text;  // UTF-8
  bool IsNull() const { return !number && !text; }
};

enum class ColumnFlavour {
  Integer,
  Real,
  Numeric,
  Date,
  Text,
  TextNoCase,
  Untyped,
  UntypedText,
  TextExpression,
  NumberExpression
};

struct ModelColumn {
  std::u16string name;         // in ORDER BY
  std::u16string expression;   // in the key condition; the same as the name for a plain column
  std::u16string declaration;  // in CREATE TABLE; empty for an expression
  std::u16string selected;     // in the select list
  ColumnFlavour flavour;
};

class RandomTable {
 public:
  using Row = std::vector<ModelValue>;

  RandomTable(std::mt19937& random, std::size_t rowCount) : m_random(random) {
    MakeColumns(1 + Below(3));
    for (std::size_t i = 0; i < rowCount; ++i) m_rows.push_back(MakeRow(static_cast<double>(i)));
  }

  // The sort columns; the key column `id` comes last and is not among them.
  const std::vector<ModelColumn>& Columns() const { return m_columns; }
  const std::vector<Row>& Rows() const { return m_rows; }

  std::u16string CreateSql() const {
    std::u16string sql = u"CREATE TABLE t (id INT NOT NULL PRIMARY KEY";
    for (const ModelColumn& column : m_columns) sql += u", " + column.declaration;
    return sql + u")";
  }

  std::u16string InsertSql() const {
    std::u16string sql = u"INSERT INTO t VALUES ";
    for (std::size_t i = 0; i < m_rows.size(); ++i) {
      sql += i == 0 ? u"(" : u", (";
      sql += Literal(m_rows[i].back(), ColumnFlavour::Integer);
      for (std::size_t c = 0; c < m_columns.size(); ++c)
        sql += u", " + Literal(m_rows[i][c], m_columns[c].flavour);
      sql += u")";
    }
    return sql;
  }

  std::u16string SelectSql() const {
    std::u16string sql = u"SELECT id";
    for (const ModelColumn& column : m_columns) sql += u", " + column.selected;
    return sql + u" FROM t";
  }

  // The rows in the order of the columns, each ascending or not, and then of the key.
  std::vector<Row> Sorted(const std::vector<bool>& ascending) const {
    std::vector<Row> rows = m_rows;
    std::sort(rows.begin(), rows.end(), [&](const Row& a, const Row& b) {
      for (std::size_t c = 0; c < a.size(); ++c) {
        const int order =
            Compare(a[c], b[c], c < m_columns.size() ? m_columns[c].flavour : ColumnFlavour::Integer);
        if (order != 0) return ascending[c] ? order < 0 : order > 0;
      }
      return false;
    });
    return rows;
  }

 private:
  std::size_t Below(std::size_t limit) {
    return std::uniform_int_distribution<std::size_t>(0, limit - 1)(m_random);
  }

  void MakeColumns(std::size_t count) {
    for (std::size_t i = 0; i < count; ++i) {
      const auto flavour = static_cast<ColumnFlavour>(Below(10));
      const std::u16string name = u"c" + varnel::DecimalText(static_cast<std::int64_t>(i));
      m_columns.push_back(MakeColumn(name, flavour));
    }
  }

  static ModelColumn MakeColumn(const std::u16string& name, ColumnFlavour flavour) {
    const auto plain = [&](const std::u16string& type) {
      return ModelColumn{name, name, name + u" " + type, name, flavour};
    };
    switch (flavour) {
      case ColumnFlavour::Integer:
        return plain(u"INT");
      case ColumnFlavour::Real:
        return plain(u"REAL");
      case ColumnFlavour::Numeric:
        return plain(u"DECIMAL(18, 6)");
      case ColumnFlavour::Date:
        return plain(u"DATETIME");
      case ColumnFlavour::Text:
        return plain(u"VARCHAR(150)");
      case ColumnFlavour::TextNoCase:
        return plain(u"VARCHAR(150) COLLATE NOCASE");
      case ColumnFlavour::Untyped:
      case ColumnFlavour::UntypedText:
        return plain(u"");
      case ColumnFlavour::TextExpression:
        return {u"x" + name, name + u" || '!'", name + u" TEXT", name + u" || '!' AS x" + name, flavour};
      case ColumnFlavour::NumberExpression:
        break;
    }
    return {u"x" + name, name + u" * 2", name + u" REAL", name + u" * 2 AS x" + name, flavour};
  }

  Row MakeRow(double key) {
    Row row;
    for (const ModelColumn& column : m_columns) row.push_back(MakeValue(column.flavour));
    row.push_back({key * 3 - 40, {}});
    return row;
  }

  // Few different values, so that there are ties, and some NULLs.
  ModelValue MakeValue(ColumnFlavour flavour) {
    if (Below(6) == 0) return {};
    switch (flavour) {
      case ColumnFlavour::Integer:
        return {static_cast<double>(Below(9)) - 4, {}};
      case ColumnFlavour::Date:
        return {static_cast<double>(36000 + Below(3)) + static_cast<double>(Below(4)) * 21600 / 86400, {}};
      case ColumnFlavour::Text:
      case ColumnFlavour::TextNoCase:
      case ColumnFlavour::UntypedText:
      case ColumnFlavour::TextExpression:
        return {{}, MakeText()};
      case ColumnFlavour::Real:
      case ColumnFlavour::Numeric:
      case ColumnFlavour::Untyped:
      case ColumnFlavour::NumberExpression:
        break;
    }
    return {MakeReal(), {}};
  }

  // Up to 15 digits at any size between 1e-6 and 1e9, mostly from a small stock.
  double MakeReal() {
    static const double kStock[] = {0,   0.1, -0.1, 0.3, 2.5, 100, 123456789.012345, -0.000123456789012345,
                                    1e9, 7};
    if (Below(3) != 0) return kStock[Below(10)];
    char digits[40];
    std::snprintf(digits, sizeof digits, "%.*e", static_cast<int>(Below(15)),
                  std::uniform_real_distribution<double>(-1000, 1000)(m_random));
    return std::strtod(digits, nullptr);
  }

  std::string MakeText() {
    static const char* const kStock[] = {"",   "a", "A",  "b",   "O'Brien", "\xC3\xA9t\xC3\xA9",
                                         "42", "5", " x", "[%]_"};
    if (Below(4) != 0) return kStock[Below(10)];
    std::string text;
    const std::size_t length = Below(151);
    for (std::size_t i = 0; i < length; ++i) text += static_cast<char>(' ' + Below(95));
    return text;
  }

  static std::string Folded(std::string text) {
    for (char& c : text) {
      if (c >= 'A' && c <= 'Z') c = static_cast<char>(c + 32);
    }
    return text;
  }

  // NULL, then numbers, then texts. The texts of an expression all have the same end, which may decide.
  static int Compare(const ModelValue& a, const ModelValue& b, ColumnFlavour flavour) {
    if (a.IsNull() || b.IsNull()) return (a.IsNull() ? 0 : 1) - (b.IsNull() ? 0 : 1);
    if (a.number && b.number) return *a.number < *b.number ? -1 : *a.number > *b.number ? 1 : 0;
    if (a.number || b.number) return a.number ? -1 : 1;
    if (flavour == ColumnFlavour::TextNoCase) return Folded(*a.text).compare(Folded(*b.text));
    if (flavour == ColumnFlavour::TextExpression) return (*a.text + "!").compare(*b.text + "!");
    return a.text->compare(*b.text);
  }

  static std::u16string Literal(const ModelValue& value, ColumnFlavour flavour) {
    if (value.IsNull()) return u"NULL";
    if (value.text) return u"N'" + varnel::Replace(varnel::FromUtf8(*value.text), u"'", u"''") + u"'";
    if (flavour == ColumnFlavour::Date) {
      const varnel::DateParts parts = varnel::SplitDate(varnel::Date{*value.number});
      char text[40];
      std::snprintf(text, sizeof text, "'%04d-%02d-%02d %02d:%02d:%02d'", parts.year, parts.month, parts.day,
                    parts.hour, parts.minute, parts.second);
      return varnel::FromUtf8(text);
    }
    char text[40];
    std::snprintf(text, sizeof text, "%.15g", *value.number);
    return varnel::FromUtf8(text);
  }

  std::mt19937& m_random;
  std::vector<ModelColumn> m_columns;
  std::vector<Row> m_rows;
};
