// What a dialect makes of one of the library's texts: a text that the engine prepares once and runs often,
// and the values of this run.
#pragma once

#include <cstdint>
#include <string>
#include <variant>
#include <vector>

namespace hostlinux {

struct BoundBytes {
  std::string bytes;
  bool operator==(const BoundBytes&) const = default;
};

// A text in UTF-8; std::monostate is NULL.
using BoundValue = std::variant<std::int64_t, double, std::string, BoundBytes, std::monostate>;

struct EngineStatement {
  std::string sql;                 // UTF-8, with ?1, ?2, ... for the values
  std::vector<BoundValue> values;  // ?1 first
  bool isNothing = false;  // a statement that the engine doesn't know and doesn't need: report success
  std::u16string unbound;  // what a parameter lacks, as a sentence: there is nothing to run then
};

}  // namespace hostlinux
