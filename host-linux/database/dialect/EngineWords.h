// How one engine says what a rewriter has found in a text.
#pragma once

#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "host-linux/database/dialect/KeyLiteral.h"
#include "host-linux/database/dialect/ParameterValue.h"
#include "host-linux/database/dialect/SqlShape.h"
#include "host-linux/database/dialect/SqlStructure.h"

namespace hostlinux {

// What is known of the values of a text's parameters.
class ParametersInUse {
 public:
  ParametersInUse() = default;
  // `literals` outlive it.
  explicit ParametersInUse(const std::vector<SqlLiteral>& literals) : m_literals(&literals) {}

  // Null for a token that is none, or one without a value.
  const ParameterFacts* Of(const SqlToken& token) const;
  // The literal whose value stands for the token's: one value is handed over once, however often it is named.
  std::size_t LiteralOf(const SqlToken& token) const;

 private:
  const std::vector<SqlLiteral>* m_literals = nullptr;
};

class IEngineWords {
 public:
  virtual ~IEngineWords() = default;

  // True for a statement that the engine doesn't know and doesn't need: it succeeds without being run.
  virtual bool IsNothing(const std::vector<SqlToken>& tokens) const = 0;

  // What can be rewritten token by token: the forms of literals, patterns, names. Four empty tokens stand behind the last
  // one, for looking ahead.
  virtual void RewriteTokens(std::vector<SqlToken>& io_tokens, const ParametersInUse& parameters) const = 0;

  // The mark of the statement's value `number`, from 1. `facts`: of the page's own parameter, where it is one's.
  virtual std::u16string Mark(std::size_t number, const ParameterFacts* facts) const = 0;

  // `operand` `op` a text literal that `write` puts down, for a column of `kind`. Nothing if it is right as it stands.
  virtual std::optional<KeyComparison> Compare(
      ColumnKind kind, const std::u16string& operand, const std::u16string& op, const LiteralTraits& traits,
      const std::function<std::u16string(LiteralForm)>& write) const = 0;

  // A number that a column is compared with, in other words or as a parameter, which `write` puts down where it `mayLift`;
  // nothing if it stays as it is. `kindOf` tells the kind of the column, for the price of a question to the engine.
  virtual std::optional<std::u16string> Number(
      const SqlToken& number, bool mayLift, const std::function<ColumnKind()>& kindOf,
      const std::function<std::u16string(LiteralForm)>& write) const = 0;

  // A value may take one type in one place and another one in the next: its mark stands for both. Else a value that stands in
  // two conditions has two marks.
  virtual bool SharesMarks() const = 0;

  // Marks stand for values by their place alone: `Mark` numbers them (?1), and the text that is sent has a bare ? for each,
  // with the values in the order of the text.
  virtual bool MarksByPlace() const { return false; }

  // An index finds the rows behind a row value, (a, b) > (1, 2).
  virtual bool SeeksRows() const { return true; }

  // NULLs sort below every value without a word of the statement.
  virtual bool SortsNullsLow() const = 0;

  // In an order, a column that a condition says is NULL is nothing to sort by, as one that equals a value is for every engine.
  // Where it isn't, IColumnFacts::ReadsInOrder is asked.
  virtual bool KnowsNullsAlike() const { return true; }

  // A branch of a union that has an order of its own is SELECT * FROM ( ... ); else it stands in parentheses.
  virtual bool WrapsBranches() const = 0;

  // The statements of a page are one, which the engine reads only so far as it is asked; else each is run by itself.
  virtual bool JoinsSteps() const = 0;

  // The condition behind a column by which an index passes over its NULLs.
  virtual std::u16string PastNulls(ColumnKind kind) const = 0;
};

}  // namespace hostlinux
