// Names in a SELECT: the rows it gives at most, the terms of an ORDER BY, the items of its list.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "host-linux/database/dialect/SqlStructure.h"

namespace hostlinux {

// `TOP n` behind the verb: all its tokens, and the one of the number.
struct SelectTop {
  SqlSpan span;
  size_t number = 0;
};

// Nothing for a SELECT without TOP, and for the forms that SQLite can't say (PERCENT, WITH TIES), which stay
// for it to refuse.
std::optional<SelectTop> FindTop(const std::vector<SqlToken>& tokens, const SqlScope& scope);

// A term of an ORDER BY that is a plain column: where it begins, its name without qualifiers, its direction
// (with a blank in front, or empty).
struct OrderTerm {
  size_t begin = 0;
  size_t name = 0;
  std::u16string direction;
};

// The terms of `order`; nothing if one of them is more than a column and a direction.
std::optional<std::vector<OrderTerm>> ReadOrder(const std::vector<SqlToken>& tokens, const SqlSpan& order);

// One item of a select list. The expression goes without the alias.
struct SelectItem {
  SqlSpan expression;
  bool isStar = false;                 // * or t.*
  size_t alias = SqlStructure::kNone;  // the token of the alias
};

std::vector<SelectItem> ReadItems(const std::vector<SqlToken>& tokens, const std::vector<size_t>& partner,
                                  SqlSpan list);

// The name of a Word or QuotedName token in upper case, without its quotes.
std::u16string PlainName(const SqlToken& token);

}  // namespace hostlinux
