#include "host-linux/database/sqlite/SqliteTypes.h"

#include <cstdlib>
#include <limits>

namespace hostlinux {
namespace {

using varnel::Integer;
using varnel::Long;
using varnel::String;

// The first number in parentheses of a declared type: 50 of VARCHAR(50).
Long DeclaredSize(const String& type) {
  const std::size_t open = type.find(u'(');
  if (open == String::npos) return 0;
  return static_cast<Long>(std::strtol(varnel::ToUtf8(type.substr(open + 1)).c_str(), nullptr, 10));
}

Integer TypeOfKind(ColumnKind kind, const String& declaredType) {
  switch (kind) {
    case ColumnKind::Integer:
      return varnel::EqualsNoCase(declaredType, u"BIGINT") ? ado_type::kBigInt : ado_type::kInteger;
    case ColumnKind::Real:
    case ColumnKind::Numeric:
      return ado_type::kDouble;
    case ColumnKind::Date:
    case ColumnKind::DateOnly:
      return ado_type::kTimeStamp;
    case ColumnKind::Boolean:
      return ado_type::kBoolean;
    case ColumnKind::Blob:
      return ado_type::kLongVarBinary;
    case ColumnKind::Text:
      return DeclaredSize(declaredType) > 0 ? ado_type::kVarWChar : ado_type::kLongVarWChar;
    case ColumnKind::Unknown:
      break;
  }
  return kTypeOfNothing;
}

// Reads `count` digits at `pos`; -1 if there are none.
int Digits(std::string_view text, std::size_t pos, std::size_t count) {
  int value = 0;
  for (std::size_t i = pos; i < pos + count; ++i) {
    if (i >= text.size() || text[i] < '0' || text[i] > '9') return -1;
    value = value * 10 + (text[i] - '0');
  }
  return value;
}

// "yyyy-mm-dd", with " hh:mm", ":ss" and a fraction behind it where there is one. False for any other text.
bool ReadStoredDate(std::string_view text, varnel::Date& date) {
  varnel::DateParts parts;
  parts.year = Digits(text, 0, 4);
  parts.month = Digits(text, 5, 2);
  parts.day = Digits(text, 8, 2);
  if (text.size() < 10 || text[4] != '-' || text[7] != '-') return false;
  const bool hasTime = text.size() > 10;
  if (hasTime && (text.size() < 16 || (text[10] != ' ' && text[10] != 'T') || text[13] != ':')) return false;
  if (hasTime) {
    parts.hour = Digits(text, 11, 2);
    parts.minute = Digits(text, 14, 2);
    if (text.size() > 16) parts.second = text[16] == ':' ? Digits(text, 17, 2) : -1;
  }
  double fraction = 0;
  if (text.size() > 19) {
    if (text[19] != '.' || text.find_first_not_of("0123456789", 20) != std::string_view::npos) return false;
    fraction = std::strtod(("0" + std::string(text.substr(19))).c_str(), nullptr);
  }
  if (parts.year < 100 || !varnel::IsValid(parts)) return false;
  date = varnel::MakeDate(parts);
  date.days += (date.days < 0 ? -fraction : fraction) / 86400;
  return true;
}

}  // namespace

ResultColumn ColumnOf(const ColumnFact& fact) {
  const ColumnKind kind = KindOfDeclaredType(fact.declaredType);
  const Long size = kind == ColumnKind::Text ? DeclaredSize(fact.declaredType) : 0;
  return {fact.name, TypeOfKind(kind, fact.declaredType), size};
}

Integer TypeOfStorage(int storage) {
  switch (storage) {
    case SQLITE_INTEGER:
      return ado_type::kInteger;
    case SQLITE_FLOAT:
      return ado_type::kDouble;
    case SQLITE_BLOB:
      return ado_type::kLongVarBinary;
    default:
      return ado_type::kVarWChar;
  }
}

void AddStored(RowStore& rows, sqlite3_stmt* statement, int column, ColumnKind kind) {
  const auto bytes = [&](const void* data) {
    const auto size = static_cast<std::size_t>(sqlite3_column_bytes(statement, column));
    return data == nullptr ? std::string_view() : std::string_view(static_cast<const char*>(data), size);
  };
  switch (sqlite3_column_type(statement, column)) {
    case SQLITE_NULL:
      return rows.AddNull();
    case SQLITE_BLOB:
      return rows.AddBlob(bytes(sqlite3_column_blob(statement, column)));
    case SQLITE_FLOAT:
      return rows.AddDouble(sqlite3_column_double(statement, column));
    case SQLITE_INTEGER: {
      const sqlite3_int64 value = sqlite3_column_int64(statement, column);
      if (kind == ColumnKind::Boolean) return rows.AddBoolean(value != 0);
      const bool fits =
          value >= std::numeric_limits<Long>::min() && value <= std::numeric_limits<Long>::max();
      return fits ? rows.AddLong(static_cast<Long>(value)) : rows.AddDouble(static_cast<double>(value));
    }
    default:
      break;
  }
  const std::string_view text = bytes(sqlite3_column_text(statement, column));
  varnel::Date date;
  const bool isDate = kind == ColumnKind::Date || kind == ColumnKind::DateOnly;
  if (isDate && ReadStoredDate(text, date)) return rows.AddDate(date);
  rows.AddText(text);
}

}  // namespace hostlinux
