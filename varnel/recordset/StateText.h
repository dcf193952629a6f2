// The state text: a recordset's whole position, as it travels in links and forms.
// Grammar, limits and examples: docs/formats/state-text.md.
#pragma once

#include "varnel/recordset/PersistedState.h"

namespace varnel {

// The text of `iState`, in field order, without its JumpPage.
// A sort text or key whose encoded body exceeds 999 characters is written with a longer length part and can't
// be read back.
String SerializeState(const PersistedState& iState);

// Reads `iText` back. `iWithJumpPage` also takes the page number that page links append.
// Text behind the last field is ignored.
// Raises 5 where an "x" is missing, a length is negative or a field begins behind character 32767, 13 for a
// field that is no number, 6 for one out of range, 9 for a key index below 0, 94 for a Null sort text;
// nothing is returned then.
PersistedState ParseState(StringView iText, bool iWithJumpPage);

// A number field: the decimal text `iText` with "z" for "-", and an "x" behind it.
String EncodeNumber(StringView iText);

// A text field: the length part and the body, or " z1" for Null.
String EncodeValue(const Variant& iValue);

// The text of a body: character codes from -32768 to 65535 with "+" between. Raises 13 and 6.
String DecodeChars(StringView iBody);

}  // namespace varnel
