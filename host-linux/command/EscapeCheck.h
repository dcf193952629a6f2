// Values that a page writes as HTML although somebody else has written them.
#pragma once

#include <string>
#include <vector>

#include "host-linux/script/PageParser.h"

namespace hostlinux {

struct UnescapedValue {
  int file = 0;  // index into ParsedPage::files
  int line = 1;
  std::string what;  // a sentence with the expression and the cure
};

// The expressions <%= ... %> of `page` whose value is one of the request, or a field of a recordset, or a
// variable that was given such a value before: by reading the page's text, without running it. What a function
// makes of a value isn't told, nor what becomes a number, a comparison or a length.
std::vector<UnescapedValue> FindUnescapedValues(const ParsedPage& page);

}  // namespace hostlinux
