// A statement's tokens in the words of an engine: TOP, unions, orders, comparisons.
#pragma once

#include <vector>

#include "host-linux/database/dialect/ColumnFacts.h"
#include "host-linux/database/dialect/EngineWords.h"
#include "host-linux/database/dialect/StatementForm.h"

namespace hostlinux {

// Tokens [begin, end) won't be printed.
void DropTokens(std::vector<SqlToken>& io_tokens, size_t begin, size_t end);

// Rewrites what depends on more than a token: the statement is `io_tokens`, which the words have been at, with four
// empty ones behind. With `o_lifted`, literals become parameters, which are put there, as are those that the text has.
void RewriteStatement(std::vector<SqlToken>& io_tokens, IColumnFacts& facts, const IEngineWords& words,
                      const ParametersInUse& parameters, std::vector<StatementForm::Parameter>* o_lifted);

}  // namespace hostlinux
