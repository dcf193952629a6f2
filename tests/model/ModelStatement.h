// One statement, run while it is read.
#pragma once

#include <functional>

#include "tests/model/ModelDatabase.h"
#include "tests/model/ModelTokens.h"

namespace model {

// Rows with the columns that they have.
struct Relation {
  std::vector<Column> columns;
  std::vector<Row> rows;
};

// A value of each row, or of a group of rows.
struct Expression {
  std::function<varnel::Variant(const Row&)> ofRow;
  std::function<varnel::Variant(const std::vector<Row>&)> ofGroup;  // of an aggregate only
  Column column;  // as what it stands in a result; without a name where it has none
};

class Statement {
 public:
  // Changes are made in `io_tables`, also by a statement that fails later.
  Statement(Tables& io_tables, const hostfake::FakeStatement& statement, bool mayWrite)
      : m_tables(io_tables),
        m_parameters(statement.parameters),
        m_tokens(TokensOf(statement.sql)),
        m_mayWrite(mayWrite) {}

  // Raises Failure.
  hostfake::FakeAnswer Run();

 private:
  // A column of the rows that expressions see, with the name of its table there.
  struct Seen {
    varnel::String table;
    Column column;
  };
  enum class Joining { All, Inner, Outer };
  using Position = std::optional<std::size_t>;  // of a token
  // A row of a result, and those that it was made of.
  struct ResultRow {
    Row values;
    Row source;
  };
  struct SortKey {
    std::function<varnel::Variant(const ResultRow&)> value;
    bool ignoresCase = false;
    bool isDescending = false;
  };

  const Token& Next() const { return m_tokens[m_at]; }
  bool IsWord(const Token& token, varnel::StringView wordOrSign) const;
  bool IsAt(varnel::StringView wordOrSign) const { return IsWord(Next(), wordOrSign); }
  bool Take(varnel::StringView wordOrSign);
  void Require(varnel::StringView wordOrSign);
  varnel::String TakeName();
  varnel::String TakeAlias();
  std::size_t TakeNumber();
  void SkipParentheses();

  hostfake::FakeAnswer Change();
  Table& TableNamed(const varnel::String& name);
  void CreateTable();
  void CreateColumn(Table& io_table);
  void CreateKey(Table& io_table);
  void CreateIndex();
  void DropTable();
  std::size_t Insert();
  std::size_t Delete();
  std::size_t Update();
  void See(const Table& table);
  std::function<bool(const Row&)> WhereIn(const Table& table);

  Relation Query(Position order);
  std::size_t Find(varnel::StringView word) const;
  bool IsUnion() const { return IsWord(m_tokens[Find(u"UNION")], u"UNION"); }
  Position OrderBehind() const;
  Relation Operand();
  void Unite(Relation& io_first);
  Relation Select();
  void SkipSelectList();
  std::vector<Row> From();
  std::vector<Row> Join(const std::vector<Row>& left, Joining how);
  Relation Source(varnel::String& o_name);
  std::vector<Expression> GroupBy();
  static std::vector<std::vector<Row>> Groups(std::vector<Row> rows, const std::vector<Expression>& grouping,
                                              const std::vector<Expression>& items);
  std::vector<Expression> SelectList();
  void AddItems(std::vector<Expression>& io_items);
  void Sort(std::vector<ResultRow>& io_rows, const std::vector<Column>& columns);
  SortKey KeyOf(const std::vector<Column>& columns);

  Expression Any();
  Expression All();
  Expression Not();
  Expression Predicate();
  Expression In(const Expression& left);
  Expression Like(const Expression& left);
  Expression Sum();
  Expression Primary();
  Expression Function(const varnel::String& name);
  Expression ColumnNamed(const varnel::String& table, const varnel::String& name) const;
  Expression Parameter(const varnel::String& name) const;

  Tables& m_tables;
  const varnel::host::StatementParameters& m_parameters;
  std::vector<Token> m_tokens;
  std::size_t m_at = 0;
  std::vector<Seen> m_seen;
  Position m_order;  // the ORDER BY of the union whose part is read
  bool m_mayWrite;
};

}  // namespace model
