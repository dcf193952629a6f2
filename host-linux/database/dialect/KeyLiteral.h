// Text literals as the values that a server with implicit conversion would take them for.
#pragma once

#include <functional>
#include <optional>
#include <string>
#include <string_view>

#include "host-linux/database/dialect/ColumnFacts.h"
#include "host-linux/database/dialect/EngineStatement.h"

namespace hostlinux {

// The bounds, as SQL numbers, of all doubles whose text of 15 significant digits is that of a numeral.
// Both are the numeral itself where there is no such spread: for 0 and for more than 15 digits.
struct NumeralBounds {
  std::u16string low;
  std::u16string high;
  bool isInteger = false;  // digits only, at most 15 of them
};

// The bounds of `text` (blanks around it, a sign, a point and an exponent are taken). Nothing if it is no
// numeral.
std::optional<NumeralBounds> BoundsOfNumeral(std::u16string_view text);

// A date literal, 'yyyymmdd', 'yyyymmdd hh:mm:ss', 'yyyy-m-d' or 'yyyy-m-d h:m:s' (a fraction of a second is
// dropped), as it is stored: "yyyy-mm-dd hh:mm:ss". Nothing if it is none.
std::optional<std::u16string> StoredDate(std::u16string_view text);

// All that the form of a comparison depends on in a literal's value.
struct LiteralTraits {
  bool isNumeral = false;
  bool isInteger = false;  // of a numeral: digits only, at most 15 of them
  bool hasSpread = false;  // of a numeral: its bounds differ
  bool isDate = false;
  bool isMidnight = false;  // of a date
  bool isStored = false;    // of a date: the value is its stored form
  bool isTrue = false;
  bool isFalse = false;
};
LiteralTraits TraitsOf(std::u16string_view value);

// The forms in which a literal's value reaches the engine; Regex is that of a LIKE pattern.
enum class LiteralForm { Text, Number, Low, High, Stored, Day, Regex };

// `value` in a form that its traits allow: as SQL, and as the value of a parameter.
std::u16string LiteralSql(std::u16string_view value, LiteralForm form);
BoundValue LiteralValue(std::u16string_view value, LiteralForm form);

// A comparison with a text literal in the form that is right for the column.
struct KeyComparison {
  bool whole = false;   // `text` takes the place of operand, operator and literal; else of the literal alone
  std::u16string text;  //
};

// `operand` `op` 'value' for a column of `kind`; `op` is one of = == <> != < <= > >=. Nothing if it is right
// as it stands.
std::optional<KeyComparison> CompareWithText(ColumnKind kind, const std::u16string& operand,
                                             const std::u16string& op, std::u16string_view value);

// The same with a literal that `write` puts down in the form it is asked for.
std::optional<KeyComparison> CompareWithText(ColumnKind kind, const std::u16string& operand,
                                             const std::u16string& op, const LiteralTraits& traits,
                                             const std::function<std::u16string(LiteralForm)>& write);

}  // namespace hostlinux
