// Objects of the platform, seen as what the library asks of a host.
#pragma once

#include "varnel/component/ForeignObject.h"

namespace hostwindows {

using ForeignPtr = std::shared_ptr<varnel::com::ForeignObject>;

// `object` as one from outside. Raises 91 for Nothing, 13 for one of ours.
ForeignPtr RequireForeign(const varnel::ObjectPtr& object);

// How objects from outside come into the library: what can do what a connection or a recordset of ADO can is one for the
// library, too.
varnel::ObjectPtr AdaptForeign(varnel::com::ComPointer<varnel::com::IDispatch> object);

// A new object of that class from the platform. Raises 429.
varnel::com::ComPointer<varnel::com::IDispatch> CreateByName(varnel::StringView progID);

}  // namespace hostwindows
