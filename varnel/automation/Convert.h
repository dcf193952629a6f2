// Every conversion between values, with its rounding, overflow and Null rules, in one place.
//
// Empty is 0, False, the empty text and day 0. Null raises 94. An object gives its default value first, and
// Nothing raises 91; one whose default value is an object again, and so on for more than kMostDefaultSteps
// objects, raises 13. Text is read by the user's locale (LocaleFacts.h). What can't be converted, an invalid
// date among it, raises 13, what is out of range 6. A left-out argument counts as Empty.
#pragma once

#include "varnel/automation/Object.h"

namespace varnel {

// So many objects may lead from one to the next until there is a plain value.
inline constexpr int kMostDefaultSteps = 16;

// A half is rounded to the even neighbour.
Integer ToInteger(const Variant& value);
Long ToLong(const Variant& value);
Byte ToByte(const Variant& value);
double ToDouble(const Variant& value);  // True is -1; a date its days

// Any number but 0 is True; the texts True and False are read in any case of letters.
bool ToBoolean(const Variant& value);

// A number counts days. Text is a date in the order of the user's locale or year first, with or without a
// time.
Date ToDate(const Variant& value);

// A number is plain decimal with "." and up to 15 significant digits, never an exponent; a Boolean True or
// False; a date the user's short date, with the time unless it is midnight.
String ToText(const Variant& value);

// The value itself, or what stands for it where it is an object: its default value, which may be Null.
Variant ToPlain(const Variant& value);

// The object, or null for Nothing and for Null. Raises 13 for a plain value.
ObjectPtr ToObject(const Variant& value);

// Number and date texts alone.
String NumberText(double value);
String DateText(Date value);
// A number with a place for its sign, a blank or "-", whatever the locale: "." without a digit before it
// below 1 (" .5"), up to 15 significant digits, and an exponent from 1E+15 on and where more than 15 decimals
// would be needed. Raises 6 for what is no number.
String SignedNumberText(double value);
double ParseNumber(StringView text);  // 13, 6
Date ParseDate(StringView text);      // 13

// A Double rounded, half to even, into the range of Long or Integer. Raises 6.
Long RoundToLong(double value);

// The name of a value's type, as messages show it: "Empty", "Null", "Integer", "Long", "Double", "Date",
// "Boolean", "String", "Byte", "Nothing", the class name, "Variant()", "Byte()".
String TypeName(const Variant& value);

// Fills a date or time pattern such as "M/d/yyyy" or "h:mm:ss tt".
String FormatDatePattern(StringView pattern, const DateParts& parts, StringView am, StringView pm);

}  // namespace varnel
