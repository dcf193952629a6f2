// Reads one value out of the raw text of a form or a query.
#pragma once

#include "varnel/automation/String.h"

namespace varnel {

// Decodes "+" and "%XX" as old pages count on it: a text of one character stays as it is, and so does the
// last character of a text in which no "%" came before it ("a+b+" gives "a b+", "%41+" gives "A "). Each
// "%XX" becomes one character by the system's code page; sequences of several bytes aren't put together. A
// "%" without two hexadecimal digits behind it raises 13, reported here and in UrlCharDecode.
String UrlDecode(const String& s);

// The character of the code that the last two characters of `s` are. Raises 13, reported.
String UrlCharDecode(const String& s);

}  // namespace varnel
