#include "host-linux/database/dialect/ColumnFacts.h"

#include "host-linux/database/dialect/SqlLexer.h"

namespace hostlinux {
namespace {

// The word in front of a length or a blank: VARCHAR of "varchar(50)".
std::u16string FirstWord(const std::u16string& upper) { return upper.substr(0, upper.find_first_of(u" (")); }

}  // namespace

ColumnKind KindOfDeclaredType(std::u16string_view declaredType) {
  const std::u16string type = UpperAscii(declaredType);
  const std::u16string word = FirstWord(type);
  const auto has = [&](std::u16string_view part) { return type.find(part) != std::u16string::npos; };
  if (word.empty()) return ColumnKind::Unknown;
  if (word == u"DATE") return ColumnKind::DateOnly;
  if (word.starts_with(u"DATETIME") || word.starts_with(u"TIMESTAMP") || word == u"SMALLDATETIME") {
    return ColumnKind::Date;
  }
  if (word == u"BIT" || word == u"BOOLEAN" || word == u"BOOL") return ColumnKind::Boolean;
  if (has(u"INT")) return ColumnKind::Integer;
  if (has(u"CHAR") || has(u"CLOB") || has(u"TEXT")) return ColumnKind::Text;
  if (has(u"BLOB") || word == u"BINARY" || word == u"VARBINARY" || word == u"IMAGE") return ColumnKind::Blob;
  if (has(u"REAL") || has(u"FLOA") || has(u"DOUB")) return ColumnKind::Real;
  return ColumnKind::Numeric;
}

}  // namespace hostlinux
