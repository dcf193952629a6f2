#include "host-linux/database/odbc/OdbcTypes.h"

#include <array>
#include <charconv>
#include <cstdio>
#include <cstdlib>
#include <limits>

#include "host-linux/database/odbc/OdbcErrors.h"

namespace hostlinux {
namespace {

using varnel::Long;

// Characters of a text whose column has no length of its own to speak of.
constexpr SQLULEN kLongestVarchar = 8000;
constexpr std::size_t kFirstPiece = 1024;  // characters that are asked for at once

void Require(SQLRETURN result, SQLHSTMT statement) {
  if (!SQL_SUCCEEDED(result)) RaiseOdbc(SQL_HANDLE_STMT, statement);
}

// A text of pieces of `Unit`, of which the driver ends each text's with a zero. Nothing for NULL.
template <typename Unit>
std::optional<std::basic_string<Unit>> ReadPieces(SQLHSTMT statement, SQLUSMALLINT column, SQLSMALLINT type,
                                                  std::size_t zeros, std::size_t most) {
  std::basic_string<Unit> value;
  std::size_t room = kFirstPiece;
  while (true) {
    const std::size_t begin = value.size();
    value.resize(begin + room + zeros);
    SQLLEN length = 0;
    const SQLRETURN result = SQLGetData(statement, column, type, value.data() + begin,
                                        static_cast<SQLLEN>((room + zeros) * sizeof(Unit)), &length);
    if (result == SQL_NO_DATA) {
      value.resize(begin);
      return value;
    }
    Require(result, statement);
    if (length == SQL_NULL_DATA) return std::nullopt;
    const std::size_t left = length == SQL_NO_TOTAL ? std::numeric_limits<std::size_t>::max()
                                                    : static_cast<std::size_t>(length) / sizeof(Unit);
    const bool isAll = result == SQL_SUCCESS && left <= room;
    value.resize(begin + (isAll ? left : room));
    if (value.size() * sizeof(Unit) > most)
      RaiseOdbc(provider_error::kFail, u"A value is larger than a value may be.", u"HY000");
    if (isAll) return value;
    // The rest in one piece where its length is known: no driver has to divide a character then.
    room = left == std::numeric_limits<std::size_t>::max() ? 2 * room : left - std::min(left, room);
    if (room * sizeof(Unit) > most)
      RaiseOdbc(provider_error::kFail, u"A value is larger than a value may be.", u"HY000");
    if (room == 0) room = kFirstPiece;
  }
}

// Digits and what else a number is written with.
struct NumberText {
  std::array<char, 128> text{};
  std::size_t length = 0;
};

std::optional<NumberText> ReadNumber(SQLHSTMT statement, SQLUSMALLINT column) {
  NumberText number;
  SQLLEN length = 0;
  Require(SQLGetData(statement, column, SQL_C_CHAR, number.text.data(),
                     static_cast<SQLLEN>(number.text.size()), &length),
          statement);
  if (length == SQL_NULL_DATA) return std::nullopt;
  number.length = static_cast<std::size_t>(length);
  return number;
}

void AddWhole(RowStore& rows, std::int64_t value) {
  const bool fits = value >= std::numeric_limits<Long>::min() && value <= std::numeric_limits<Long>::max();
  fits ? rows.AddLong(static_cast<Long>(value)) : rows.AddDouble(static_cast<double>(value));
}

void AddBigInt(RowStore& rows, const NumberText& number) {
  std::int64_t value = 0;
  const char* end = number.text.data() + number.length;
  const auto read = std::from_chars(number.text.data(), end, value);
  if (read.ec == std::errc() && read.ptr == end) return AddWhole(rows, value);
  rows.AddDouble(std::strtod(number.text.data(), nullptr));
}

// Whole seconds, as the keys of pages are.
void AddDate(RowStore& rows, const SQL_TIMESTAMP_STRUCT& time) {
  const varnel::DateParts parts{time.year, time.month, time.day, time.hour, time.minute, time.second};
  if (parts.year >= 100 && varnel::IsValid(parts)) return rows.AddDate(varnel::MakeDate(parts));
  std::array<char, 64> text{};
  std::snprintf(text.data(), text.size(), "%04d-%02d-%02d %02d:%02d:%02d", time.year, time.month, time.day,
                time.hour, time.minute, time.second);
  rows.AddText(text.data());
}

template <typename Value>
bool ReadValue(SQLHSTMT statement, SQLUSMALLINT column, SQLSMALLINT type, Value& o_value) {
  SQLLEN length = 0;
  Require(SQLGetData(statement, column, type, &o_value, sizeof o_value, &length), statement);
  return length != SQL_NULL_DATA;
}

}  // namespace

OdbcKind KindOf(const OdbcColumn& column) {
  switch (column.type) {
    case SQL_BIT:
      return OdbcKind::Boolean;
    case SQL_TINYINT:
    case SQL_SMALLINT:
      return OdbcKind::Long;
    case SQL_INTEGER:
      return column.isUnsigned ? OdbcKind::BigInt : OdbcKind::Long;
    case SQL_BIGINT:
      return OdbcKind::BigInt;
    case SQL_REAL:
    case SQL_FLOAT:
    case SQL_DOUBLE:
    case SQL_DECIMAL:
    case SQL_NUMERIC:
      return OdbcKind::Double;
    case SQL_DATE:
    case SQL_TYPE_DATE:
    case SQL_TIMESTAMP:
    case SQL_TYPE_TIMESTAMP:
      return OdbcKind::Date;
    case SQL_BINARY:
    case SQL_VARBINARY:
    case SQL_LONGVARBINARY:
      return OdbcKind::Bytes;
    default:
      return column.isNarrow ? OdbcKind::NarrowText : OdbcKind::Text;
  }
}

std::u16string DeclaredTypeOf(const OdbcColumn& column) {
  switch (KindOf(column)) {
    case OdbcKind::Boolean:
      return u"BIT";
    case OdbcKind::Long:
    case OdbcKind::BigInt:
      return u"INT";
    case OdbcKind::Double:
      return column.type == SQL_DECIMAL || column.type == SQL_NUMERIC ? u"NUMERIC" : u"DOUBLE";
    case OdbcKind::Date:
      return column.type == SQL_DATE || column.type == SQL_TYPE_DATE ? u"DATE" : u"TIMESTAMP";
    case OdbcKind::Bytes:
      return u"BLOB";
    case OdbcKind::Text:
    case OdbcKind::NarrowText:
      break;
  }
  return u"VARCHAR";
}

ResultColumn ResultColumnOf(const OdbcColumn& column) {
  ResultColumn described;
  described.name = column.name;
  switch (KindOf(column)) {
    case OdbcKind::Long:
      described.type = ado_type::kInteger;
      break;
    case OdbcKind::BigInt:
      described.type = ado_type::kBigInt;
      break;
    case OdbcKind::Double:
      described.type = ado_type::kDouble;
      break;
    case OdbcKind::Boolean:
      described.type = ado_type::kBoolean;
      break;
    case OdbcKind::Date:
      described.type = ado_type::kTimeStamp;
      break;
    case OdbcKind::Bytes:
      described.type = ado_type::kLongVarBinary;
      break;
    case OdbcKind::Text:
    case OdbcKind::NarrowText: {
      const bool isLong =
          column.type == SQL_LONGVARCHAR || column.type == SQL_WLONGVARCHAR || column.size > kLongestVarchar;
      described.type = isLong ? ado_type::kLongVarWChar : ado_type::kVarWChar;
      described.size = isLong ? 0 : static_cast<Long>(column.size);
    }
  }
  return described;
}

void AddValue(RowStore& rows, SQLHSTMT statement, SQLUSMALLINT column, OdbcKind kind, std::size_t most) {
  switch (kind) {
    case OdbcKind::Long: {
      // An engine that holds any value in any column has larger ones, too.
      SQLBIGINT value = 0;
      if (!ReadValue(statement, column, SQL_C_SBIGINT, value)) break;
      return AddWhole(rows, value);
    }
    case OdbcKind::BigInt: {
      const std::optional<NumberText> number = ReadNumber(statement, column);
      if (!number) break;
      return AddBigInt(rows, *number);
    }
    case OdbcKind::Double: {
      const std::optional<NumberText> number = ReadNumber(statement, column);
      if (!number) break;
      return rows.AddDouble(std::strtod(number->text.data(), nullptr));
    }
    case OdbcKind::Boolean: {
      unsigned char value = 0;
      if (!ReadValue(statement, column, SQL_C_BIT, value)) break;
      return rows.AddBoolean(value != 0);
    }
    case OdbcKind::Date: {
      SQL_TIMESTAMP_STRUCT value{};
      if (!ReadValue(statement, column, SQL_C_TYPE_TIMESTAMP, value)) break;
      return AddDate(rows, value);
    }
    case OdbcKind::Bytes: {
      const auto bytes = ReadPieces<char>(statement, column, SQL_C_BINARY, 0, most);
      if (!bytes) break;
      return rows.AddBlob(*bytes);
    }
    case OdbcKind::Text: {
      const auto text = ReadPieces<char16_t>(statement, column, SQL_C_WCHAR, 1, 2 * most);
      if (!text) break;
      return rows.AddText(varnel::ToUtf8(*text));
    }
    case OdbcKind::NarrowText: {
      const auto text = ReadPieces<char>(statement, column, SQL_C_CHAR, 1, most);
      if (!text) break;
      return rows.AddText(*text);
    }
  }
  rows.AddNull();
}

}  // namespace hostlinux
