// What a dialect keeps of a text that it has rewritten: the engine's text, and where its values come from.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "host-linux/database/dialect/EngineStatement.h"
#include "host-linux/database/dialect/KeyLiteral.h"
#include "host-linux/database/dialect/SqlShape.h"

namespace hostlinux {

// A statement whose values come from the literals of a shape, and from beside it.
struct StatementForm {
  // A parameter: the value of a literal or a parameter of the library's text, in a form.
  struct Parameter {
    std::size_t literal = 0;
    LiteralForm form = LiteralForm::Text;
    char16_t escape = 0;  // of a pattern: what escapes in it
    bool operator==(const Parameter&) const = default;
  };
  std::string sql;
  std::vector<Parameter> parameters;
  bool isNothing = false;
  std::shared_ptr<const StatementForm> walk;  // of a page: another statement for the same rows; may be null

  EngineStatement With(const SqlShape& shape, const varnel::host::StatementParameters& given) const;
};
using StatementForms = std::vector<StatementForm>;

}  // namespace hostlinux
