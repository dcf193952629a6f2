// What DataFunctions asks a locale for, as text.
#pragma once

#include <array>

#include "varnel/host/Locale.h"

namespace varnel {

// The room that every text of the platform's locale calls gets; NULs at first.
using FormatBuffer = std::array<char16_t, 50>;

// The value of a code of host::locale_code; the empty text for a locale or code that the platform doesn't
// know, and for every other failure.
String GetLocaleValue(Long iLocaleID, Long iCode);

// The text in front of the first NUL, or all of it.
String CutAtNull(StringView iBuffer);

}  // namespace varnel
