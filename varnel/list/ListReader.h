// Reads one page of a list, and one row more, which tells whether there is another page.
#pragma once

#include <functional>

#include "varnel/list/ListState.h"
#include "varnel/recordset/AdoReading.h"
#include "varnel/recordset/SortFields.h"

namespace varnel {

// What a list reads.
struct ListSource {
  ConnectionPtr connection;
  std::vector<String> branches;
  host::StatementParameters parameters;
  std::vector<SortField> fields;  // the sort and the keys behind it, in the list's own direction

  bool IsUnion() const { return branches.size() > 1; }
};

// How the rows are counted.
struct ListCounting {
  enum class Kind { None, Exact, Capped, Estimated };
  Kind kind = Kind::Exact;
  Integer most = 10000;  // counted at most, of Capped
};

struct ListPage {
  host::RowBlock rows;        // in the list's order
  std::vector<String> names;  // of the columns
  std::vector<Integer> types;
  std::size_t first = 0;  // the rows that are shown
  std::size_t count = 0;
  bool hasPrevious = false;
  bool hasNext = false;
  Long firstRecord = 1;  // 0: nobody knows
  ListTotal total;

  const Variant& At(std::size_t column, std::size_t row) const { return rows.At(column, first + row); }
  // The position of that column, from 0; -1 if there is none.
  int ColumnNamed(StringView name) const;
};

// Called with why a position can't be read, instead of a failure; doesn't return.
using ListRefusal = std::function<void(const String& reason)>;

// Reads the page of `pageSize` rows at `position`. What a position alone can bring about is refused; raises what the
// database raises.
ListPage ReadListPage(const ListSource& source, const ListPosition& position, Long pageSize,
                      const ListCounting& counting, const ListRefusal& refuse);

// The keys of a row of the page, as a position carries them. Raises 3265 for a sort or key column that the result lacks.
std::vector<Variant> KeysOfRow(const ListSource& source, const ListPage& page, std::size_t row);

// The number of all rows. Raises 6 where it is none of a Long.
Long CountListRows(const ListSource& source);

// A closed recordset for the texts of `source`, of at most `rows` rows.
std::shared_ptr<host::IRecordset> NewListRecordset(const ListSource& source, Long rows);

}  // namespace varnel
