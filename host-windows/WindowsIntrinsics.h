// The page host's own objects as the library's intrinsics.
#pragma once

#include "host-windows/LateBound.h"
#include "varnel/host/Intrinsics.h"

namespace hostwindows {

// The object that the context has under `name`, as the interface of that name. Raises 5 for a name that isn't one.
varnel::ObjectPtr MakeIntrinsic(varnel::StringView name, ForeignPtr object);

}  // namespace hostwindows
