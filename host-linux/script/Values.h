// Values between scripts and the library.
#pragma once

#include <v8.h>

#include <vector>

#include "varnel/automation/Variant.h"

namespace hostlinux {

class ScriptCore;

// The longest text that goes into the library or comes out of it, in 16-bit characters. The engine's own
// limit lies higher; but while a call works on a text there are several of it, which no limit of the engine
// sees.
inline constexpr std::size_t kMostTextUnits = 64 * 1024 * 1024;

// A script's array that went into a call, and what it held then: what the callee changed goes back into it.
struct PassedArray {
  v8::Local<v8::Array> array;
  varnel::ArrayPtr copy;
  std::vector<varnel::Variant> before;
};
using PassedArrays = std::vector<PassedArray>;

// undefined is a left-out argument; null is Null; a whole number in 32-bit range Long, any other Double; a
// Date a Date in local time, an invalid one an invalid Date; a Uint8Array a byte array; an array an array;
// what CInt and its like made has its exact type; a ByRef stands for its value; any other object or function
// an object that calls back into the script. Raises 13 for a symbol and a BigInt, 5 for arrays more than 32
// deep, 7 for more than ten million elements or kMostTextUnits characters, all arrays and texts inside it
// together. Where `passed` is given, arrays are noted there, inner ones first.
varnel::Variant ToVariant(ScriptCore& core, v8::Local<v8::Value> value, PassedArrays* passed = nullptr);

// Null and Nothing are null; Empty and a left-out argument undefined; numbers numbers; a byte array a
// Uint8Array of its own. What came from the script comes back as the same object. Raises 7 for a text of more
// than kMostTextUnits characters.
v8::Local<v8::Value> ToScript(ScriptCore& core, const varnel::Variant& value);

}  // namespace hostlinux
