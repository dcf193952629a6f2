// The declarations of all classes for editors, as text: host-linux/command/new-site/varnel.d.ts.
#pragma once

#include <string>
#include <string_view>

#include "docs/classes/ClassDocs.h"

namespace classdocs {

// `globals`: what stands in globals.d.ts, written by hand. The lines fit the classes.
std::string WriteTypes(const std::vector<PublicClass>& classes, const Lines& lines, std::string_view globals);

}  // namespace classdocs
