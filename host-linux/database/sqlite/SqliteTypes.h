// The types of the embedded engine's columns: from what a column was declared with to its type code, and from what
// is stored to what readers get. A new type of columns has its kind in dialect/ColumnFacts.h, and all else here.
#pragma once

#include <sqlite3.h>

#include "host-linux/database/dialect/ColumnFacts.h"
#include "host-linux/database/provider/Provider.h"

namespace hostlinux {

// Of an expression without a row.
inline constexpr varnel::Integer kTypeOfNothing = ado_type::kVarWChar;

// Name, type and size by the declared type.
ResultColumn ColumnOf(const ColumnFact& fact);

// The type of a column that is none of a table, by what the engine found in the first row (SQLITE_INTEGER, ...).
varnel::Integer TypeOfStorage(int storage);

// Appends the value at `column`, from 0, of the row that `statement` stands on. A text in a column of dates that is
// no date stays a text.
void AddStored(RowStore& rows, sqlite3_stmt* statement, int column, ColumnKind kind);

}  // namespace hostlinux
