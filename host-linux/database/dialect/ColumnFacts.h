// What a dialect asks of the engine about a query: its columns, and how it is sorted.
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace hostlinux {

// A result column: its name, and the type its column was declared with, through aliases and subqueries.
// The type is empty for an expression and for an untyped column.
struct ColumnFact {
  std::u16string name;
  std::u16string declaredType;
  // The table whose column it is, through aliases, views and subqueries; empty for an expression. `isNotNull`: that
  // table's column can't be NULL. An outer join may still make it so.
  std::u16string table = {};
  bool isNotNull = false;
};

// How values of a column are stored and compared.
enum class ColumnKind { Unknown, Integer, Real, Numeric, Text, Date, DateOnly, Boolean, Blob };

// The kind of a declared type: DATETIME and TIMESTAMP are Date, DATE is DateOnly, BIT and BOOLEAN are
// Boolean; else by the engine's affinity rules. Letters in any case; an empty type is Unknown.
ColumnKind KindOfDeclaredType(std::u16string_view declaredType);

// What an engine sorts of a query's rows: nothing, groups of rows that are equal in the leading sort columns, one
// after the other, or all of them before the first one comes.
enum class SortWork { Nothing, Groups, Everything };

class IColumnFacts {
 public:
  virtual ~IColumnFacts() = default;

  // The result columns of `select`, a text in the engine's own SQL that is not run. Nothing if the engine
  // refuses it.
  virtual std::optional<std::vector<ColumnFact>> Describe(const std::u16string& select) = 0;

  // What the engine would do for `select`, which isn't run. Nothing at all if it refuses the text.
  virtual std::optional<SortWork> SortsFor(const std::u16string& select) = 0;

  // True if the engine surely reads the rows of `select`, a text in its own SQL that is not run, in their order and sorts
  // nothing. Asked only where IEngineWords::KnowsNullsAlike is false.
  virtual bool ReadsInOrder(const std::u16string&) { return false; }

  // True if an index has a condition: the engine uses it only where it sees the literals of a statement.
  virtual bool HasPartialIndex() = 0;
};

}  // namespace hostlinux
