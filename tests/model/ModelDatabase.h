// A database in memory that knows the library's SQL: what stands behind the fake host's connections where its answers are to be
// judged like those of a real engine. It goes by the rules of the servers that SQL is written for: NULL sorts below every
// value, a quoted key is taken for what its column holds, more than one statement is refused.
//
// It reads tables whole, joins them in the order of the text, and runs each subquery once, so that none can speak of the
// rows around it. There are no views, no locks, and no functions but LOWER, UPPER and COUNT(*).
#pragma once

#include <map>
#include <optional>

#include "host-fake/FakeDatabase.h"
#include "tests/model/ModelValues.h"

namespace model {

struct Table {
  varnel::String name;
  std::vector<Column> columns;
  std::vector<std::vector<std::size_t>> keys;  // positions of columns that together tell a row
  std::vector<Row> rows;
};

// By the names in lower case.
using Tables = std::map<varnel::String, Table>;

class Database {
 public:
  // What `sql` gives: rows, or an error with its SQLState. After an error nothing has changed.
  hostfake::FakeAnswer Run(const hostfake::FakeStatement& statement);

  // One transaction at a time, of all connections together.
  void Take(hostfake::FakeTransaction step);

 private:
  Tables m_tables;
  std::optional<Tables> m_kept;
};

}  // namespace model
