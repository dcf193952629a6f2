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
};

// How values of a column are stored and compared.
enum class ColumnKind { Unknown, Integer, Real, Numeric, Text, Date, DateOnly, Boolean, Blob };

// The kind of a declared type: DATETIME and TIMESTAMP are Date, DATE is DateOnly, BIT and BOOLEAN are
// Boolean; else by the engine's affinity rules. Letters in any case; an empty type is Unknown.
ColumnKind KindOfDeclaredType(std::u16string_view declaredType);

class IColumnFacts {
 public:
  virtual ~IColumnFacts() = default;

  // The result columns of `select`, a text in the engine's own SQL that is not run. Nothing if the engine
  // refuses it.
  virtual std::optional<std::vector<ColumnFact>> Describe(const std::u16string& select) = 0;

  // True if the engine reads `select` in the order of its leading sort columns and sorts rows only where they
  // are equal in those. False too if it refuses the text.
  virtual bool SortsInPart(const std::u16string& select) = 0;

  // True if an index has a condition: the engine uses it only where it sees the literals of a statement.
  virtual bool HasPartialIndex() = 0;
};

}  // namespace hostlinux
