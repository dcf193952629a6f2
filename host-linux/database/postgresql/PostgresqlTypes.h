// The server's types as columns and values.
#pragma once

#include <libpq-fe.h>

#include "host-linux/database/provider/Provider.h"

namespace hostlinux {

// How the values of a column are read.
enum class PostgresqlKind { Text, Long, BigInt, Double, Boolean, Date, Bytes };

PostgresqlKind KindOfType(Oid type);

// The type in the words of KindOfDeclaredType: "INT", "SMALLINT", "DOUBLE", "NUMERIC", "BOOLEAN", "DATE", "TIMESTAMP", "BLOB", and
// "VARCHAR" for every other one, which is written as text.
std::u16string DeclaredTypeOf(Oid type);

// A column of a result: its name, type code and, of a VARCHAR(n), its length.
ResultColumn ColumnOf(const PGresult* result, int column);

// A value of a result, in text form. Raises ProviderFailure for a text or bytes of more than `most` bytes.
void AddValue(RowStore& rows, const PGresult* result, int row, int column, PostgresqlKind kind,
              std::size_t most);

}  // namespace hostlinux
