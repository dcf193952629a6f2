// What is told of a page that failed: to the log, and to whoever develops it.
#pragma once

#include <string>

#include "host-linux/script/PageFiles.h"
#include "host-linux/script/ScriptEngine.h"

namespace hostlinux {

// "list.asp, line 12: ", or nothing where the file isn't known.
std::string PlaceOf(const ScriptFailure& failure);

// One sentence with place, description, number and source. A very long description is cut.
std::string Describe(const ScriptFailure& failure);

// The failure's line with three lines before and behind it, each with its number, the line itself marked by
// ">". Long lines are cut. Empty where the line isn't known, or isn't there any more.
std::string LinesAround(const ScriptFailure& failure, const PageFiles& files);

}  // namespace hostlinux
