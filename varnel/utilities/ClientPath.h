// The parts of a file's path as a client sends it: of any platform, so both "\" and "/" separate components.
#pragma once

#include "varnel/automation/String.h"

namespace varnel {

// The last component without its last "." and what follows: "C:\a\b.tar.gz" gives "b.tar", ".a" nothing.
String BaseName(StringView path);

// What follows the last "." of the last component: "b.tar.gz" gives "gz", ".a" "a", "a" nothing.
String Extension(StringView path);

}  // namespace varnel
