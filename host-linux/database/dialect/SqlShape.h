// A text without the values of its literals: what a dialect's work on it depends on.
#pragma once

#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "host-linux/database/dialect/ParameterMarkers.h"
#include "host-linux/database/dialect/ParameterValue.h"
#include "host-linux/database/dialect/SqlLexer.h"

namespace hostlinux {

// A literal as it stands in its text, or a parameter. Valid as long as the text.
struct SqlLiteral {
  SqlTokenKind kind = SqlTokenKind::Text;
  std::u16string_view text;
  std::size_t parameter = 0;  // the position of a parameter's value
  std::size_t first = 0;      // which of the literals is the first with that value
  ParameterFacts facts;       // of a parameter's value
};

struct SqlShape {
  // The text with a mark for each literal, which tells its kind, its traits and whether it equals an earlier
  // one, and with one behind each parameter, which tells the kind and the traits of its value.
  std::u16string key;
  std::vector<SqlLiteral> literals;  // and parameters, in the order of the text, as LexSql counts them
  // False for a text with NUL characters, or with parameters of a form that only the engine knows.
  bool mayLift = true;
  std::u16string unbound;  // what a parameter lacks, as a sentence
};

SqlShape ShapeOf(std::u16string_view sql, const varnel::host::StatementParameters& parameters = {});

// The parameters of several texts that make one shape: they are counted, and their values are found, across all of them.
struct ShapeParameters {
  // `parameters` outlive it.
  explicit ShapeParameters(const varnel::host::StatementParameters& parameters)
      : given(parameters), markers(parameters) {}

  const varnel::host::StatementParameters& given;
  ParameterMarkers markers;
  std::unordered_map<std::size_t, std::size_t> firstOf;  // the literal that a value stands at first
};

// The same of several texts together, which must outlive the shape. What a parameter lacks is known after the last one.
void AddToShape(SqlShape& shape, std::u16string_view sql, ShapeParameters& io_parameters);

// The value of a literal; that of an escape is the date as it is stored, that of a number its text.
std::u16string ValueOf(SqlTokenKind kind, std::u16string_view text);

// True for a number of nine digits at most and nothing else, which is an integer to every engine.
bool IsShortWhole(std::u16string_view number);

// Literals that must be equal for a text to have a certain form are compared over at most this many.
constexpr std::size_t kLiteralsCompared = 32;

}  // namespace hostlinux
