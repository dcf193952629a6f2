// How a procedure with a handler ends: the error is logged, its description rewritten, and it is raised
// again. The current error is the exception in flight, so these are called inside a catch clause.
#pragma once

#include "varnel/automation/Error.h"
#include "varnel/automation/Variant.h"

namespace varnel {

// Logs the current error and raises it again with the formatted description; all else of it stays. Does
// nothing where there is no error. `iMethod` is the class-qualified name of the procedure; `iInfo` a short
// text on the failure, or left out. A log that fails doesn't change what is raised.
void Err_ReportAndRaise(const String& iMethod, const Variant& iInfo = Missing());

// The current error with its description formatted.
ErrInfo Err_Capture(const String& iMethod, const Variant& iInfo = Missing());

// Writes the current error to the log at `iLevel`; without one, the text "Not an actual error" at level 1.
void Err_LogCurrent(Long iLevel, const String& iMethod, const Variant& iInfo = Missing());

// The text of an error: a line each for number, method, description and, if it is given, info. It begins with
// a line break of its own.
String Err_FormatText(const String& iDesc, Long iNumber, const String& iMethod,
                      const Variant& iInfo = Missing());

}  // namespace varnel
