// What a visitor has typed into a form, read strictly by his locale: what another reader could take for
// another value is nothing.
#pragma once

#include <optional>

#include "varnel/automation/Date.h"
#include "varnel/automation/LocaleFacts.h"

namespace hostlinux {

// The number that `text` is in that locale: digits, its decimal separator and digits behind it, a minus or
// plus sign in front (behind, where the locale writes it there). Separators of thousands stand in all places
// where they belong, or in none. A locale's no-break blank may be any blank, its curved apostrophe a straight
// one. Blanks at both ends don't count. Nothing for any other text, and for a number that is out of range.
std::optional<double> ReadTypedNumber(varnel::StringView text, const varnel::LocaleFacts& locale);

// The day that `text` is: year, month and day in the order and with the separator of the locale's short date,
// or as 2026-11-22, which browsers send for their own date fields whatever the locale, and then perhaps with
// a time behind it, T17:30 or T17:30:15. Years have four digits. Nothing for any other text, and for a day
// that isn't there.
std::optional<varnel::Date> ReadTypedDate(varnel::StringView text, const varnel::LocaleFacts& locale);

}  // namespace hostlinux
