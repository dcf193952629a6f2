#include "tests/model/ModelStatement.h"

#include <algorithm>

#include "varnel/automation/Convert.h"

namespace model {

using hostfake::FakeAnswer;
using varnel::EqualsNoCase;
using varnel::Integer;
using varnel::Long;
using varnel::Null;
using varnel::String;
using varnel::StringView;
using varnel::Variant;

namespace {

Integer TypeNamed(const String& name) {
  static const std::map<String, Integer> kTypes = {
      {u"int", Integer{3}},     {u"integer", Integer{3}},     {u"smallint", Integer{3}},
      {u"bigint", Integer{20}}, {u"double", Integer{5}},      {u"numeric", Integer{5}},
      {u"decimal", Integer{5}}, {u"timestamp", Integer{135}}, {u"datetime", Integer{135}},
      {u"date", Integer{135}},  {u"boolean", Integer{11}},    {u"varchar", Integer{202}},
      {u"text", Integer{203}},  {u"blob", Integer{205}}};
  const auto found = kTypes.find(varnel::ToLower(name));
  if (found == kTypes.end()) throw Failure::Syntax(u"the type " + name);
  return found->second;
}

bool IsTrue(const Variant& value) { return value.Is<bool>() && *value.As<bool>(); }

Variant Negated(const Variant& truth) { return truth.IsNull() ? truth : Variant(!IsTrue(truth)); }

// Of two truth values: NULL where it depends on what isn't known.
Variant Both(const Variant& left, const Variant& right) {
  if (left.Is<bool>() && !IsTrue(left)) return false;
  if (right.Is<bool>() && !IsTrue(right)) return false;
  return left.IsNull() || right.IsNull() ? Variant(Null()) : Variant(true);
}

Column Typed(Integer type) { return {.name = {}, .type = type}; }

Expression Constant(Variant value, Integer type) {
  return {[value = std::move(value)](const Row&) { return value; }, {}, Typed(type)};
}

template <typename F>
Expression Truth(F ofRow) {
  return {std::move(ofRow), {}, Typed(11)};
}

Expression Literal(const Token& token) {
  if (token.kind == TokenKind::Text) return Constant(token.text, 202);
  if (token.kind == TokenKind::Date) return Constant(Stored(Typed(135), Variant(token.text)), 135);
  const Variant number = Stored(Typed(20), Variant(token.text));
  const bool isWhole = token.text.find(u'.') == String::npos;
  return isWhole ? Constant(number, 3) : Constant(Stored(Typed(5), Variant(token.text)), 5);
}

bool HaveSameValues(const Row& left, const Row& right, const std::vector<Column>& columns) {
  for (std::size_t i = 0; i < columns.size(); ++i) {
    if (SortOrder(left[i], right[i], columns[i].ignoresCase) != 0) return false;
  }
  return true;
}

template <typename T>
std::vector<T> OneEach(std::vector<T> rows, const std::function<bool(const T&, const T&)>& areSame) {
  std::vector<T> each;
  for (T& row : rows) {
    if (std::none_of(each.begin(), each.end(), [&](const T& other) { return areSame(other, row); }))
      each.push_back(std::move(row));
  }
  return each;
}

void CheckKeys(const Table& table) {
  for (const auto& key : table.keys) {
    std::vector<const Row*> rows;
    rows.reserve(table.rows.size());
    for (const Row& row : table.rows) rows.push_back(&row);
    const auto order = [&](const Row* left, const Row* right) {
      for (const std::size_t i : key) {
        const int order = SortOrder((*left)[i], (*right)[i], table.columns[i].ignoresCase);
        if (order != 0) return order;
      }
      return 0;
    };
    std::sort(rows.begin(), rows.end(),
              [&](const Row* left, const Row* right) { return order(left, right) < 0; });
    const auto twice = std::adjacent_find(
        rows.begin(), rows.end(), [&](const Row* left, const Row* right) { return order(left, right) == 0; });
    if (twice != rows.end()) throw Failure::Integrity(u"A key of " + table.name + u" is taken");
  }
}

std::size_t PositionOf(const Table& table, const String& column) {
  for (std::size_t i = 0; i < table.columns.size(); ++i) {
    if (EqualsNoCase(table.columns[i].name, column)) return i;
  }
  throw Failure::NoColumn(column);
}

}  // namespace

// --- words

bool Statement::IsWord(const Token& token, StringView wordOrSign) const {
  return (token.kind == TokenKind::Word || token.kind == TokenKind::Sign) &&
         EqualsNoCase(token.text, wordOrSign);
}

bool Statement::Take(StringView wordOrSign) {
  if (!IsAt(wordOrSign)) return false;
  ++m_at;
  return true;
}

void Statement::Require(StringView wordOrSign) {
  if (!Take(wordOrSign))
    throw Failure::Syntax(String(wordOrSign) + u" is missing in front of " + Next().text);
}

String Statement::TakeName() {
  if (Next().kind != TokenKind::Word && Next().kind != TokenKind::QuotedName)
    throw Failure::Syntax(u"a name is missing in front of " + Next().text);
  return m_tokens[m_at++].text;
}

// Empty where there is none.
String Statement::TakeAlias() {
  if (Take(u"AS")) return TakeName();
  if (Next().kind == TokenKind::QuotedName) return TakeName();
  if (Next().kind != TokenKind::Word) return {};
  for (const StringView word :
       {u"FROM", u"WHERE", u"GROUP", u"ORDER", u"UNION", u"INNER", u"LEFT", u"JOIN", u"ON"}) {
    if (IsAt(word)) return {};
  }
  return TakeName();
}

std::size_t Statement::TakeNumber() {
  if (Next().kind != TokenKind::Number) throw Failure::Syntax(u"a number is missing");
  return static_cast<std::size_t>(varnel::ToLong(Variant(m_tokens[m_at++].text)));
}

void Statement::SkipParentheses() {
  int depth = 0;
  do {
    if (Next().kind == TokenKind::End) throw Failure::Syntax(u"a parenthesis is open");
    depth += IsAt(u"(") ? 1 : (IsAt(u")") ? -1 : 0);
    ++m_at;
  } while (depth > 0);
}

FakeAnswer Statement::Run() {
  FakeAnswer answer;
  if (IsAt(u"SELECT") || IsAt(u"(")) {
    Relation result = Query({});
    for (const Column& column : result.columns) answer.columns.push_back({column.name, column.type});
    answer.rows = std::move(result.rows);
  } else {
    answer = Change();
  }
  if (Next().kind != TokenKind::End) throw Failure::Syntax(u"more than one statement, or what is none");
  return answer;
}

// --- changes

FakeAnswer Statement::Change() {
  std::size_t rows = 0;
  const bool isKnown =
      IsAt(u"CREATE") || IsAt(u"DROP") || IsAt(u"INSERT") || IsAt(u"DELETE") || IsAt(u"UPDATE");
  if (isKnown && !m_mayWrite) throw Failure::ReadsOnly();
  if (Take(u"CREATE")) {
    IsAt(u"TABLE") ? CreateTable() : CreateIndex();
  } else if (Take(u"DROP")) {
    DropTable();
  } else if (Take(u"INSERT")) {
    rows = Insert();
  } else if (Take(u"DELETE")) {
    rows = Delete();
  } else if (Take(u"UPDATE")) {
    rows = Update();
  } else {
    throw Failure::Syntax(Next().text);
  }
  FakeAnswer answer;
  answer.affected = static_cast<Long>(rows);
  return answer;
}

Table& Statement::TableNamed(const String& name) {
  const auto found = m_tables.find(varnel::ToLower(name));
  if (found == m_tables.end()) throw Failure::NoTable(name);
  return found->second;
}

void Statement::CreateTable() {
  Require(u"TABLE");
  Table table;
  table.name = TakeName();
  Require(u"(");
  do {
    IsAt(u"PRIMARY") ? CreateKey(table) : CreateColumn(table);
  } while (Take(u","));
  Require(u")");
  if (!m_tables.emplace(varnel::ToLower(table.name), table).second)
    throw Failure::Syntax(u"there is a table " + table.name);
}

void Statement::CreateColumn(Table& io_table) {
  Column column;
  column.name = TakeName();
  column.type = TypeNamed(TakeName());
  Take(u"PRECISION");
  if (IsAt(u"(")) SkipParentheses();
  while (!IsAt(u",") && !IsAt(u")")) {
    if (Take(u"NOT")) {
      Require(u"NULL");
      column.isNotNull = true;
    } else if (Take(u"COLLATE")) {
      column.ignoresCase = EqualsNoCase(TakeName(), u"NOCASE");
    } else if (Take(u"DEFAULT")) {
      column.fallback = Stored(column, Literal(m_tokens[m_at++]).ofRow({}));
    } else if (Take(u"REFERENCES")) {
      TakeName();
    } else {
      Require(u"PRIMARY");
      Require(u"KEY");
      io_table.keys.push_back({io_table.columns.size()});
    }
  }
  io_table.columns.push_back(column);
}

void Statement::CreateKey(Table& io_table) {
  Require(u"PRIMARY");
  Require(u"KEY");
  Require(u"(");
  std::vector<std::size_t> key;
  do {
    key.push_back(PositionOf(io_table, TakeName()));
  } while (Take(u","));
  Require(u")");
  io_table.keys.push_back(std::move(key));
}

// An index changes no rows: it only has to be one of a table.
void Statement::CreateIndex() {
  Take(u"UNIQUE");
  Require(u"INDEX");
  TakeName();
  Require(u"ON");
  TableNamed(TakeName());
  SkipParentheses();
}

void Statement::DropTable() {
  Require(u"TABLE");
  const String name = TakeName();
  TableNamed(name);
  m_tables.erase(varnel::ToLower(name));
}

std::size_t Statement::Insert() {
  Require(u"INTO");
  Table& table = TableNamed(TakeName());
  std::vector<std::size_t> positions;
  if (Take(u"(")) {
    do {
      positions.push_back(PositionOf(table, TakeName()));
    } while (Take(u","));
    Require(u")");
  } else {
    for (std::size_t i = 0; i < table.columns.size(); ++i) positions.push_back(i);
  }
  Require(u"VALUES");
  std::size_t count = 0;
  do {
    Row row;
    for (const Column& column : table.columns) row.push_back(column.fallback);
    Require(u"(");
    for (std::size_t i = 0; i < positions.size(); ++i) {
      if (i > 0) Require(u",");
      row[positions[i]] = Any().ofRow({});
    }
    Require(u")");
    for (std::size_t i = 0; i < row.size(); ++i) row[i] = Stored(table.columns[i], row[i]);
    table.rows.push_back(std::move(row));
    ++count;
  } while (Take(u","));
  CheckKeys(table);
  return count;
}

void Statement::See(const Table& table) {
  m_seen.clear();
  for (const Column& column : table.columns) m_seen.push_back({table.name, column});
}

std::function<bool(const Row&)> Statement::WhereIn(const Table& table) {
  See(table);
  if (!Take(u"WHERE")) return [](const Row&) { return true; };
  return [condition = Any()](const Row& row) { return IsTrue(condition.ofRow(row)); };
}

std::size_t Statement::Delete() {
  Require(u"FROM");
  Table& table = TableNamed(TakeName());
  return std::erase_if(table.rows, WhereIn(table));
}

std::size_t Statement::Update() {
  Table& table = TableNamed(TakeName());
  See(table);
  std::vector<std::pair<std::size_t, Expression>> changes;
  Require(u"SET");
  do {
    const std::size_t position = PositionOf(table, TakeName());
    Require(u"=");
    changes.emplace_back(position, Sum());
  } while (Take(u","));
  const auto isMeant = WhereIn(table);
  std::size_t count = 0;
  for (Row& row : table.rows) {
    if (!isMeant(row)) continue;
    const Row before = row;
    for (const auto& [i, expression] : changes) row[i] = Stored(table.columns[i], expression.ofRow(before));
    ++count;
  }
  CheckKeys(table);
  return count;
}

// --- queries

// `order`: where the order of the union stands that this is a part of.
Relation Statement::Query(Position order) {
  const Position outside = std::exchange(m_order, IsUnion() ? OrderBehind() : order);
  Relation result = Operand();
  while (Take(u"UNION")) Unite(result);
  m_order = outside;
  if (!IsAt(u"ORDER")) return result;
  std::vector<ResultRow> rows;
  rows.reserve(result.rows.size());
  for (Row& row : result.rows) rows.push_back({std::move(row), {}});
  Sort(rows, result.columns);
  for (std::size_t i = 0; i < rows.size(); ++i) result.rows[i] = std::move(rows[i].values);
  return result;
}

// The sign or word at which the query that begins here ends, or `word` in front of that.
std::size_t Statement::Find(StringView word) const {
  int depth = 0;
  std::size_t at = m_at;
  for (; m_tokens[at].kind != TokenKind::End; ++at) {
    if (depth == 0 && (IsWord(m_tokens[at], word) || IsWord(m_tokens[at], u")"))) return at;
    depth += IsWord(m_tokens[at], u"(") ? 1 : (IsWord(m_tokens[at], u")") ? -1 : 0);
  }
  return at;
}

Statement::Position Statement::OrderBehind() const {
  const std::size_t at = Find(u"ORDER");
  return IsWord(m_tokens[at], u"ORDER") ? Position(at) : std::nullopt;
}

Relation Statement::Operand() {
  if (!Take(u"(")) return Select();
  Relation result = Query(m_order);
  Require(u")");
  return result;
}

void Statement::Unite(Relation& io_first) {
  const bool isAll = Take(u"ALL");
  Relation next = Operand();
  if (next.columns.size() != io_first.columns.size()) throw Failure::Syntax(u"a union of different columns");
  std::move(next.rows.begin(), next.rows.end(), std::back_inserter(io_first.rows));
  if (isAll) return;
  io_first.rows = OneEach<Row>(std::move(io_first.rows), [&](const Row& left, const Row& right) {
    return HaveSameValues(left, right, io_first.columns);
  });
}

// An order behind the last SELECT of a union is the whole's, and what the TOP of each goes by.
Relation Statement::Select() {
  Require(u"SELECT");
  const bool isDistinct = Take(u"DISTINCT");
  std::optional<std::size_t> top;
  if (Take(u"TOP")) top = TakeNumber();
  const std::size_t list = m_at;
  SkipSelectList();
  const std::size_t listEnd = m_at;

  const std::vector<Seen> outside = std::exchange(m_seen, {});
  std::vector<Row> rows = Take(u"FROM") ? From() : std::vector<Row>(1);
  if (Take(u"WHERE")) {
    const Expression condition = Any();
    std::erase_if(rows, [&](const Row& row) { return !IsTrue(condition.ofRow(row)); });
  }
  const std::vector<Expression> grouping = GroupBy();
  const std::size_t behind = std::exchange(m_at, list);
  const std::vector<Expression> items = SelectList();
  if (m_at != listEnd) throw Failure::Syntax(u"the list of columns ends at " + Next().text);
  m_at = behind;

  Relation result;
  for (const Expression& item : items) result.columns.push_back(item.column);
  std::vector<ResultRow> found;
  for (const auto& group : Groups(std::move(rows), grouping, items)) {
    ResultRow row{{}, group.empty() ? Row(m_seen.size(), Null()) : group.front()};
    for (const Expression& item : items)
      row.values.push_back(item.ofGroup ? item.ofGroup(group) : item.ofRow(row.source));
    found.push_back(std::move(row));
  }
  if (IsAt(u"ORDER") && m_order != m_at) {
    Sort(found, result.columns);
  } else if (m_order) {
    const std::size_t end = std::exchange(m_at, *m_order);
    Sort(found, result.columns);
    m_at = end;
  }
  if (isDistinct) {
    found = OneEach<ResultRow>(std::move(found), [&](const ResultRow& left, const ResultRow& right) {
      return HaveSameValues(left.values, right.values, result.columns);
    });
  }
  if (top && found.size() > *top) found.resize(*top);
  for (ResultRow& row : found) result.rows.push_back(std::move(row.values));
  m_seen = outside;
  return result;
}

// It is read when the tables behind it are known.
void Statement::SkipSelectList() {
  while (Next().kind != TokenKind::End && !IsAt(u"FROM") && !IsAt(u"UNION") && !IsAt(u")") &&
         !IsAt(u"ORDER")) {
    if (IsAt(u"(")) {
      SkipParentheses();
    } else {
      ++m_at;
    }
  }
}

std::vector<Row> Statement::From() {
  std::vector<Row> rows = Join(std::vector<Row>(1), Joining::All);
  while (true) {
    if (Take(u",")) {
      rows = Join(rows, Joining::All);
    } else if (Take(u"LEFT")) {
      Take(u"OUTER");
      Require(u"JOIN");
      rows = Join(rows, Joining::Outer);
    } else if (IsAt(u"INNER") || IsAt(u"JOIN")) {
      Take(u"INNER");
      Require(u"JOIN");
      rows = Join(rows, Joining::Inner);
    } else {
      return rows;
    }
  }
}

// The rows of the next table behind those of the tables in front of it.
std::vector<Row> Statement::Join(const std::vector<Row>& left, Joining how) {
  String name;
  const Relation right = Source(name);
  for (const Column& column : right.columns) m_seen.push_back({name, column});
  Expression condition = Constant(true, 11);
  if (how != Joining::All) {
    Require(u"ON");
    condition = Any();
  }
  std::vector<Row> rows;
  for (const Row& row : left) {
    const std::size_t before = rows.size();
    for (const Row& more : right.rows) {
      Row both = row;
      both.insert(both.end(), more.begin(), more.end());
      if (IsTrue(condition.ofRow(both))) rows.push_back(std::move(both));
    }
    if (how != Joining::Outer || rows.size() > before) continue;
    rows.push_back(row);
    rows.back().resize(m_seen.size(), Null());
  }
  return rows;
}

Relation Statement::Source(String& o_name) {
  Relation source;
  if (Take(u"(")) {
    source = Query({});
    Require(u")");
  } else {
    o_name = TakeName();
    const Table& table = TableNamed(o_name);
    source = {table.columns, table.rows};
  }
  if (const String alias = TakeAlias(); !alias.empty()) o_name = alias;
  return source;
}

std::vector<Expression> Statement::GroupBy() {
  std::vector<Expression> grouping;
  if (!Take(u"GROUP")) return grouping;
  Require(u"BY");
  do {
    grouping.push_back(Sum());
  } while (Take(u","));
  return grouping;
}

std::vector<std::vector<Row>> Statement::Groups(std::vector<Row> rows,
                                                const std::vector<Expression>& grouping,
                                                const std::vector<Expression>& items) {
  std::vector<std::vector<Row>> groups;
  const bool isOne = grouping.empty() && std::any_of(items.begin(), items.end(),
                                                     [](const Expression& item) { return item.ofGroup; });
  if (isOne) return {std::move(rows)};
  const auto belongs = [&](const Row& row, const std::vector<Row>& group) {
    return !grouping.empty() && std::all_of(grouping.begin(), grouping.end(), [&](const Expression& by) {
      return SortOrder(by.ofRow(row), by.ofRow(group.front()), by.column.ignoresCase) == 0;
    });
  };
  for (Row& row : rows) {
    const auto group =
        std::find_if(groups.begin(), groups.end(), [&](const auto& each) { return belongs(row, each); });
    if (grouping.empty() || group == groups.end()) {
      groups.push_back({std::move(row)});
    } else {
      group->push_back(std::move(row));
    }
  }
  return groups;
}

std::vector<Expression> Statement::SelectList() {
  std::vector<Expression> items;
  do {
    AddItems(items);
  } while (Take(u","));
  return items;
}

// One expression, or all columns of a table or of all.
void Statement::AddItems(std::vector<Expression>& io_items) {
  const bool isOfTable =
      m_at + 2 < m_tokens.size() && IsWord(m_tokens[m_at + 1], u".") && IsWord(m_tokens[m_at + 2], u"*");
  if (!isOfTable && !IsAt(u"*")) {
    io_items.push_back(Sum());
    if (const String alias = TakeAlias(); !alias.empty()) io_items.back().column.name = alias;
    return;
  }
  const String table = isOfTable ? TakeName() : String();
  if (isOfTable) ++m_at;
  ++m_at;
  for (std::size_t i = 0; i < m_seen.size(); ++i) {
    if (isOfTable && !EqualsNoCase(m_seen[i].table, table)) continue;
    io_items.push_back({[i](const Row& row) { return row[i]; }, {}, m_seen[i].column});
  }
}

void Statement::Sort(std::vector<ResultRow>& io_rows, const std::vector<Column>& columns) {
  Require(u"ORDER");
  Require(u"BY");
  std::vector<SortKey> keys;
  do {
    keys.push_back(KeyOf(columns));
    keys.back().isDescending = Take(u"DESC");
    if (!keys.back().isDescending) Take(u"ASC");
  } while (Take(u","));
  std::stable_sort(io_rows.begin(), io_rows.end(), [&](const ResultRow& left, const ResultRow& right) {
    for (const SortKey& key : keys) {
      const int order = SortOrder(key.value(left), key.value(right), key.ignoresCase);
      if (order != 0) return key.isDescending ? order > 0 : order < 0;
    }
    return false;
  });
}

// A bare name is first of all one of the result's.
Statement::SortKey Statement::KeyOf(const std::vector<Column>& columns) {
  const bool isBare = Next().kind != TokenKind::End && !IsWord(m_tokens[m_at + 1], u".");
  for (std::size_t i = 0; isBare && i < columns.size(); ++i) {
    if (!EqualsNoCase(columns[i].name, Next().text)) continue;
    ++m_at;
    return {[i](const ResultRow& row) { return row.values[i]; }, columns[i].ignoresCase};
  }
  Expression by = Sum();
  const bool ignoresCase = by.column.ignoresCase;
  return {[by = std::move(by.ofRow)](const ResultRow& row) { return by(row.source); }, ignoresCase};
}

// --- expressions

Expression Statement::Any() {
  Expression left = All();
  while (Take(u"OR")) {
    left = Truth([left = left.ofRow, right = All().ofRow](const Row& row) {
      return Negated(Both(Negated(left(row)), Negated(right(row))));
    });
  }
  return left;
}

Expression Statement::All() {
  Expression left = Not();
  while (Take(u"AND")) {
    left = Truth(
        [left = left.ofRow, right = Not().ofRow](const Row& row) { return Both(left(row), right(row)); });
  }
  return left;
}

Expression Statement::Not() {
  if (!Take(u"NOT")) return Predicate();
  return Truth([inner = Not().ofRow](const Row& row) { return Negated(inner(row)); });
}

Expression Statement::Predicate() {
  const Expression left = Sum();
  if (Take(u"IS")) {
    const bool isNot = Take(u"NOT");
    Require(u"NULL");
    return Truth([left = left.ofRow, isNot](const Row& row) { return Variant(left(row).IsNull() != isNot); });
  }
  const bool isNegated = Take(u"NOT");
  if (isNegated || IsAt(u"IN") || IsAt(u"LIKE")) {
    const Expression found = Take(u"IN") ? In(left) : Like(left);
    if (!isNegated) return found;
    return Truth([found = found.ofRow](const Row& row) { return Negated(found(row)); });
  }
  static const std::map<StringView, std::function<bool(int)>> kComparisons = {
      {u"=", [](int order) { return order == 0; }},  {u"<>", [](int order) { return order != 0; }},
      {u"<", [](int order) { return order < 0; }},   {u">", [](int order) { return order > 0; }},
      {u"<=", [](int order) { return order <= 0; }}, {u">=", [](int order) { return order >= 0; }}};
  const auto comparison = kComparisons.find(Next().text);
  if (Next().kind != TokenKind::Sign || comparison == kComparisons.end()) return left;
  ++m_at;
  const Expression right = Sum();
  const bool ignoresCase = left.column.ignoresCase || right.column.ignoresCase;
  return Truth(
      [left = left.ofRow, right = right.ofRow, ignoresCase, holds = &comparison->second](const Row& row) {
        const std::optional<int> order = Compare(left(row), right(row), ignoresCase);
        return order ? Variant((*holds)(*order)) : Variant(Null());
      });
}

// A list of values, or the one column of a query.
Expression Statement::In(const Expression& left) {
  Require(u"(");
  std::vector<Variant> values;
  if (IsAt(u"SELECT")) {
    for (const Row& row : Query({}).rows) values.push_back(row.at(0));
  } else {
    do {
      values.push_back(Sum().ofRow({}));
    } while (Take(u","));
  }
  Require(u")");
  const bool ignoresCase = left.column.ignoresCase;
  return Truth([left = left.ofRow, values = std::move(values), ignoresCase](const Row& row) {
    const Variant value = left(row);
    Variant result = false;
    for (const Variant& each : values) {
      const std::optional<int> order = Compare(value, each, ignoresCase);
      if (order && *order == 0) return Variant(true);
      if (!order) result = Null();
    }
    return result;
  });
}

Expression Statement::Like(const Expression& left) {
  Require(u"LIKE");
  const Expression pattern = Sum();
  char16_t escape = 0;
  if (Take(u"ESCAPE")) escape = m_tokens[m_at++].text.at(0);
  const bool ignoresCase = left.column.ignoresCase;
  return Truth([left = left.ofRow, pattern = pattern.ofRow, escape, ignoresCase](const Row& row) {
    const Variant text = left(row);
    const Variant wanted = pattern(row);
    if (text.IsNull() || wanted.IsNull()) return Variant(Null());
    return Variant(IsLike(varnel::ToText(text), varnel::ToText(wanted), escape, ignoresCase));
  });
}

Expression Statement::Sum() {
  Expression left = Primary();
  while (IsAt(u"+") || IsAt(u"-")) {
    const double sign = Take(u"-") ? -1 : (Require(u"+"), 1);
    const Expression right = Primary();
    const bool isWhole = left.column.type == 3 && right.column.type == 3;
    left = {[left = left.ofRow, right = right.ofRow, sign, isWhole](const Row& row) {
              const Variant a = left(row);
              const Variant b = right(row);
              if (a.IsNull() || b.IsNull()) return Variant(Null());
              return Stored(Typed(isWhole ? 20 : 5), varnel::ToDouble(a) + sign * varnel::ToDouble(b));
            },
            {},
            Typed(isWhole ? 3 : 5)};
  }
  return left;
}

Expression Statement::Primary() {
  const Token token = Next();
  ++m_at;
  switch (token.kind) {
    case TokenKind::Number:
    case TokenKind::Text:
    case TokenKind::Date:
      return Literal(token);
    case TokenKind::Parameter:
      return Parameter(token.text);
    case TokenKind::Word:
      if (EqualsNoCase(token.text, u"NULL")) return Constant(Null(), 202);
      if (Take(u"(")) return Function(token.text);
      [[fallthrough]];
    case TokenKind::QuotedName:
      if (Take(u".")) return ColumnNamed(token.text, TakeName());
      return ColumnNamed({}, token.text);
    default:
      break;
  }
  if (IsWord(token, u"?")) throw Failure::NoParameter(token.text);
  if (!IsWord(token, u"(")) throw Failure::Syntax(u"an expression is missing in front of " + token.text);
  Expression inner = Any();
  Require(u")");
  return inner;
}

Expression Statement::Function(const String& name) {
  if (EqualsNoCase(name, u"COUNT") && Take(u"*")) {
    Require(u")");
    return {
        {}, [](const std::vector<Row>& group) { return Variant(static_cast<Long>(group.size())); }, Typed(3)};
  }
  const bool isLower = EqualsNoCase(name, u"LOWER");
  if (!isLower && !EqualsNoCase(name, u"UPPER")) throw Failure::Syntax(u"the function " + name);
  const Expression text = Sum();
  Require(u")");
  return {[text = text.ofRow, isLower](const Row& row) {
            const Variant value = text(row);
            if (value.IsNull()) return value;
            return Variant(isLower ? varnel::ToLower(varnel::ToText(value))
                                   : varnel::ToUpper(varnel::ToText(value)));
          },
          {},
          Typed(202)};
}

// As the text spells it.
Expression Statement::ColumnNamed(const String& table, const String& name) const {
  std::optional<std::size_t> found;
  for (std::size_t i = 0; i < m_seen.size(); ++i) {
    if (!EqualsNoCase(m_seen[i].column.name, name)) continue;
    if (!table.empty() && !EqualsNoCase(m_seen[i].table, table)) continue;
    if (found) throw Failure::NoColumn(name);
    found = i;
  }
  if (!found) throw Failure::NoColumn(name);
  Column column = m_seen[*found].column;
  column.name = name;
  return {[i = *found](const Row& row) { return row[i]; }, {}, std::move(column)};
}

Expression Statement::Parameter(const String& name) const {
  for (const auto& parameter : m_parameters.values) {
    if (EqualsNoCase(parameter.Name, name)) return Constant(parameter.Value, 202);
  }
  throw Failure::NoParameter(name);
}

}  // namespace model
