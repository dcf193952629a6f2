#include "host-linux/database/dialect/StatementForm.h"

#include "host-linux/database/dialect/ParameterValue.h"

namespace hostlinux {

using varnel::host::StatementParameters;

EngineStatement StatementForm::With(const SqlShape& shape, const StatementParameters& given) const {
  EngineStatement statement{sql, {}, isNothing, {}};
  statement.values.reserve(parameters.size());
  for (const Parameter& parameter : parameters) {
    const SqlLiteral& literal = shape.literals[parameter.literal];
    statement.values.push_back(
        literal.kind == SqlTokenKind::Parameter
            ? ParameterValue(given.values[literal.parameter].Value, parameter.form, parameter.escape)
            : LiteralValue(ValueOf(literal.kind, literal.text), parameter.form));
  }
  return statement;
}

}  // namespace hostlinux
