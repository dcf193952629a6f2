// The shape of a statement as far as a dialect needs it: which SELECTs stand in it, where their clauses
// begin and end, and which of them are branches of a UNION. Found by keywords and parentheses alone.
#pragma once

#include <array>
#include <vector>

#include "host-linux/database/dialect/SqlLexer.h"

namespace hostlinux {

// Tokens from `begin` up to but not including `end`.
struct SqlSpan {
  size_t begin = 0;
  size_t end = 0;
  bool IsEmpty() const { return begin >= end; }
};

enum class SqlVerb { Select, Delete, Update };

// The clauses, each span beginning with its keyword; that of List begins behind the verb. The From of an
// UPDATE is its table.
enum class SqlClause { List, From, Set, Where, Group, Having, Order, Limit };
constexpr size_t kSqlClauses = 8;

// One SELECT (or the DELETE or UPDATE that the statement is) with the names it sees.
struct SqlScope {
  SqlVerb verb = SqlVerb::Select;
  size_t begin = 0;       // the verb
  size_t end = 0;         // behind the last token
  int parent = -1;        // the scope around it, whose names it sees too
  bool isBranch = false;  // stands bare, without parentheses, beside a UNION, EXCEPT or INTERSECT
  std::array<SqlSpan, kSqlClauses> clauses{};

  const SqlSpan& Clause(SqlClause clause) const { return clauses[static_cast<size_t>(clause)]; }
};

// A branch of a compound: a bare SELECT, or a group in parentheses with its parentheses.
struct SqlBranch {
  SqlSpan span;
  bool inParentheses = false;
  int scope = -1;  // -1 if the group is a compound itself
};

// SELECTs joined by UNION, EXCEPT or INTERSECT, or a whole statement that is one SELECT in parentheses.
struct SqlCompound {
  std::vector<SqlBranch> branches;
  SqlSpan order;  // the ORDER BY of the whole
};

struct SqlStructure {
  static constexpr size_t kNone = static_cast<size_t>(-1);

  std::vector<SqlScope> scopes;
  std::vector<SqlCompound> compounds;
  std::vector<int> scopeOf;         // token to its innermost scope, -1 for none
  std::vector<SqlClause> clauseOf;  // token to the clause of that scope
  std::vector<size_t> partner;      // parenthesis to its partner, kNone without one
  size_t withEnd = 0;               // behind a WITH clause in front of the statement
};

SqlStructure ReadStructure(const std::vector<SqlToken>& tokens);

}  // namespace hostlinux
