#include "host-linux/database/postgresql/PostgresqlTypes.h"

#include <charconv>
#include <cstdlib>
#include <limits>

#include "host-linux/database/postgresql/PostgresqlErrors.h"

namespace hostlinux {
namespace {

using varnel::Long;

// Numbers of types, the same in every server.
namespace oid {
constexpr Oid kBool = 16;
constexpr Oid kBytea = 17;
constexpr Oid kInt8 = 20;
constexpr Oid kInt2 = 21;
constexpr Oid kInt4 = 23;
constexpr Oid kOid = 26;
constexpr Oid kFloat4 = 700;
constexpr Oid kFloat8 = 701;
constexpr Oid kBpchar = 1042;
constexpr Oid kVarchar = 1043;
constexpr Oid kDate = 1082;
constexpr Oid kTimestamp = 1114;
constexpr Oid kTimestamptz = 1184;
constexpr Oid kNumeric = 1700;
}  // namespace oid

constexpr int kVarcharHeader = 4;  // within the modifier of a VARCHAR(n)

// The digits at `io_pos`; -1 where there are none.
int TakeNumber(std::string_view text, std::size_t& io_pos) {
  int value = -1;
  const auto end = std::from_chars(text.data() + io_pos, text.data() + text.size(), value).ptr;
  io_pos = static_cast<std::size_t>(end - text.data());
  return value;
}

bool Take(std::string_view text, std::size_t& io_pos, char c) {
  if (io_pos >= text.size() || text[io_pos] != c) return false;
  ++io_pos;
  return true;
}

// "yyyy-mm-dd", and " hh:mm:ss" behind it where there is a time. What a fraction of a second and a time zone add is left
// out: keys of pages are whole seconds. False for any other text, such as "infinity" or a year before Christ.
bool ReadTimestamp(std::string_view text, varnel::Date& o_date) {
  varnel::DateParts parts;
  std::size_t pos = 0;
  if (text.ends_with(" BC")) return false;
  parts.year = TakeNumber(text, pos);
  if (!Take(text, pos, '-')) return false;
  parts.month = TakeNumber(text, pos);
  if (!Take(text, pos, '-')) return false;
  parts.day = TakeNumber(text, pos);
  if (Take(text, pos, ' ')) {
    parts.hour = TakeNumber(text, pos);
    if (!Take(text, pos, ':')) return false;
    parts.minute = TakeNumber(text, pos);
    if (!Take(text, pos, ':')) return false;
    parts.second = TakeNumber(text, pos);
  }
  if (parts.year < 100 || parts.year > 9999 || !varnel::IsValid(parts)) return false;
  o_date = varnel::MakeDate(parts);
  return true;
}

void AddInteger(RowStore& rows, std::string_view text) {
  std::int64_t value = 0;
  std::from_chars(text.data(), text.data() + text.size(), value);
  const bool fits = value >= std::numeric_limits<Long>::min() && value <= std::numeric_limits<Long>::max();
  fits ? rows.AddLong(static_cast<Long>(value)) : rows.AddDouble(static_cast<double>(value));
}

void AddBytes(RowStore& rows, std::string_view hex) {
  std::size_t length = 0;
  const std::unique_ptr<unsigned char, decltype(&PQfreemem)> bytes(
      PQunescapeBytea(reinterpret_cast<const unsigned char*>(hex.data()), &length), &PQfreemem);
  if (bytes == nullptr) throw std::bad_alloc();
  rows.AddBlob({reinterpret_cast<const char*>(bytes.get()), length});
}

}  // namespace

PostgresqlKind KindOfType(Oid type) {
  switch (type) {
    case oid::kBool:
      return PostgresqlKind::Boolean;
    case oid::kBytea:
      return PostgresqlKind::Bytes;
    case oid::kInt2:
    case oid::kInt4:
      return PostgresqlKind::Long;
    case oid::kInt8:
    case oid::kOid:
      return PostgresqlKind::BigInt;
    case oid::kFloat4:
    case oid::kFloat8:
    case oid::kNumeric:
      return PostgresqlKind::Double;
    case oid::kDate:
    case oid::kTimestamp:
    case oid::kTimestamptz:
      return PostgresqlKind::Date;
    default:
      return PostgresqlKind::Text;
  }
}

std::u16string DeclaredTypeOf(Oid type) {
  switch (type) {
    case oid::kBool:
      return u"BOOLEAN";
    case oid::kBytea:
      return u"BLOB";
    case oid::kInt2:
      return u"SMALLINT";
    case oid::kInt4:
    case oid::kOid:
      return u"INT";
    case oid::kInt8:
      return u"BIGINT";
    case oid::kFloat4:
    case oid::kFloat8:
      return u"DOUBLE";
    case oid::kNumeric:
      return u"NUMERIC";
    case oid::kDate:
      return u"DATE";
    case oid::kTimestamp:
    case oid::kTimestamptz:
      return u"TIMESTAMP";
    default:
      return u"VARCHAR";
  }
}

ResultColumn ColumnOf(const PGresult* result, int column) {
  ResultColumn described;
  described.name = varnel::FromUtf8(PQfname(result, column));
  const Oid type = PQftype(result, column);
  switch (KindOfType(type)) {
    case PostgresqlKind::Long:
      described.type = ado_type::kInteger;
      break;
    case PostgresqlKind::BigInt:
      described.type = ado_type::kBigInt;
      break;
    case PostgresqlKind::Double:
      described.type = ado_type::kDouble;
      break;
    case PostgresqlKind::Boolean:
      described.type = ado_type::kBoolean;
      break;
    case PostgresqlKind::Date:
      described.type = ado_type::kTimeStamp;
      break;
    case PostgresqlKind::Bytes:
      described.type = ado_type::kLongVarBinary;
      break;
    case PostgresqlKind::Text: {
      const int modifier = PQfmod(result, column);
      const bool hasLength = (type == oid::kVarchar || type == oid::kBpchar) && modifier > kVarcharHeader;
      described.type = hasLength ? ado_type::kVarWChar : ado_type::kLongVarWChar;
      described.size = hasLength ? modifier - kVarcharHeader : 0;
    }
  }
  return described;
}

void AddValue(RowStore& rows, const PGresult* result, int row, int column, PostgresqlKind kind,
              std::size_t most) {
  if (PQgetisnull(result, row, column)) return rows.AddNull();
  const std::string_view text(PQgetvalue(result, row, column),
                              static_cast<std::size_t>(PQgetlength(result, row, column)));
  // Bytes are written as digits, two for each.
  if (text.size() / (kind == PostgresqlKind::Bytes ? 2 : 1) > most)
    RaisePostgresql(provider_error::kFail, u"A value is larger than a value may be.", u"HY000");
  switch (kind) {
    case PostgresqlKind::Long:
    case PostgresqlKind::BigInt:
      return AddInteger(rows, text);
    case PostgresqlKind::Double:
      return rows.AddDouble(std::strtod(text.data(), nullptr));
    case PostgresqlKind::Boolean:
      return rows.AddBoolean(text == "t");
    case PostgresqlKind::Bytes:
      return AddBytes(rows, text);
    case PostgresqlKind::Date: {
      varnel::Date date;
      if (ReadTimestamp(text, date)) return rows.AddDate(date);
      break;
    }
    case PostgresqlKind::Text:
      break;
  }
  rows.AddText(text);
}

}  // namespace hostlinux
