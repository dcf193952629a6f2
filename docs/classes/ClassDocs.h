// The page docs/classes.md, as text.
#pragma once

#include <map>
#include <string>
#include <string_view>
#include <vector>

#include "docs/classes/PublicClasses.h"

namespace classdocs {

// What a person has written about one class or operation.
struct Line {
  std::vector<std::string> arguments;  // their names; of an operation only
  std::string text;
};

// By "Class" or "Class.Operation".
using Lines = std::map<std::string, Line>;

// Reads classes.tsv. Raises std::runtime_error for a line that has another form, or that comes twice.
Lines ReadLines(std::string_view text);

// What doesn't fit together, a sentence each: an operation without a line, a line without an operation, a
// line with another number of arguments.
std::vector<std::string> Mismatches(const std::vector<PublicClass>& classes, const Lines& lines);

// The page. The lines fit the classes.
std::string WritePage(const std::vector<PublicClass>& classes, const Lines& lines);

}  // namespace classdocs
