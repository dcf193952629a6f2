// A text without the values of its literals: what a dialect's work on it depends on.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "host-linux/database/dialect/SqlLexer.h"

namespace hostlinux {

// A literal as it stands in its text. Valid as long as the text.
struct SqlLiteral {
  SqlTokenKind kind = SqlTokenKind::Text;
  std::u16string_view text;
};

struct SqlShape {
  // The text with a mark for each literal, which tells its kind, its traits and whether it equals an earlier
  // one.
  std::u16string key;
  std::vector<SqlLiteral> literals;  // in the order of the text, as LexSql counts them
  // False for a text with parameters or NUL characters of its own.
  bool mayLift = true;
};

SqlShape ShapeOf(std::u16string_view sql);

// The same of several texts together, which must outlive the shape.
void AddToShape(SqlShape& shape, std::u16string_view sql);

// The value of a literal; that of an escape is the date as it is stored, that of a number its text.
std::u16string ValueOf(SqlTokenKind kind, std::u16string_view text);

// Literals that must be equal for a text to have a certain form are compared over at most this many.
constexpr std::size_t kLiteralsCompared = 32;

}  // namespace hostlinux
