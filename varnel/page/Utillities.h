// Small tools that every class of the library uses.
#pragma once

#include "varnel/automation/Error.h"
#include "varnel/automation/Object.h"
#include "varnel/page/Contracts.h"

namespace varnel {

// Raises at once, unlogged. The library's own parameter errors have number -1 and an empty help file.
[[noreturn]] void Util_Raise(Long iNumber, const String& iSource, const String& iDescription,
                             const String& iHelpFile, Long iHelpContext);

// The current error, unchanged: call it inside a catch clause.
ErrInfo Util_SaveErr();

// The value as a table or a grid; null if it is Empty, a plain value or another object. Raises where the cast
// fails in any other way.
std::shared_ptr<ITable> Util_CastTable(const Variant& iValue);
std::shared_ptr<IDGrid> Util_CastDGrid(const Variant& iValue);

// True only for -1.
bool Util_IsTrue(Long iValue);
// True only for the empty text.
bool Util_IsEmptyString(const String& iValue);

}  // namespace varnel
