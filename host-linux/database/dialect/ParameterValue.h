// The values of a page's parameters, as a dialect needs them: what a text literal of that value would be, and the
// value in the form in which the engine gets it. None of them ever becomes a part of a text.
#pragma once

#include "host-linux/database/dialect/EngineStatement.h"
#include "host-linux/database/dialect/KeyLiteral.h"
#include "varnel/host/Ado.h"

namespace hostlinux {

// All that the form of a statement depends on in a parameter's value.
struct ParameterFacts {
  bool isText = false;      // a text or a date: compared with numbers and dates as a text literal is
  LiteralTraits traits;     // of such a one
  bool isFraction = false;  // a number that is handed over as a double
  bool isPattern =
      false;  // a text that only the function REGEXP reads as a pattern: with [ in it, or too long
};
ParameterFacts FactsOf(const varnel::Variant& value);

// True for a value that can stand for a parameter: Null, a number that is one, a date from the year 100 on, a
// boolean, a text, bytes.
bool CanBeBound(const varnel::Variant& value);

// `value`, which can be bound. Forms other than Text are those that its traits allow. `escape`, where it isn't 0, is
// the character that escapes in a pattern: what REGEXP gets then has none.
BoundValue ParameterValue(const varnel::Variant& value, LiteralForm form, char16_t escape);

}  // namespace hostlinux
