// What scripts call of the library's objects: each goes through a recorder that hands everything on.
#pragma once

#include <string>

#include "varnel/component/ComPointer.h"

namespace scripthost {

// `object`, recorded, if it is one of the library's public classes; so are the objects that its members give. Any other is
// itself.
varnel::com::ComPointer<varnel::com::IDispatch> Recorded(varnel::com::IDispatch* object);

// A line for each member that has answered without an error: "CALLED", class, id, "get" or "put", with tabs between them.
std::string CalledMembers();

}  // namespace scripthost
