// The types of ODBC as columns and values.
#pragma once

#include <sql.h>
#include <sqlext.h>

#include "host-linux/database/provider/Provider.h"

namespace hostlinux {

// How the values of a column are read.
enum class OdbcKind { Text, NarrowText, Long, BigInt, Double, Boolean, Date, Bytes };

// A column of a statement, as its driver describes it.
struct OdbcColumn {
  varnel::String name;
  SQLSMALLINT type = SQL_VARCHAR;
  SQLULEN size = 0;
  bool isUnsigned = false;
  bool mayBeNull = true;
  bool isNarrow = false;  // its texts travel as UTF-8
};

OdbcKind KindOf(const OdbcColumn& column);

// The type in the words of KindOfDeclaredType: "INT", "DOUBLE", "NUMERIC", "BIT", "DATE", "TIMESTAMP", "BLOB", and "VARCHAR" for
// every other one, which is read as text.
std::u16string DeclaredTypeOf(const OdbcColumn& column);

ResultColumn ResultColumnOf(const OdbcColumn& column);

// The value of `column`, from 1, of the row that `statement` is at. Columns are asked for from left to right. One of more than
// `most` bytes is a failure.
void AddValue(RowStore& rows, SQLHSTMT statement, SQLUSMALLINT column, OdbcKind kind, std::size_t most);

}  // namespace hostlinux
