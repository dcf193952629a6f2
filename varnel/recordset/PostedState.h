#pragma once

#include "varnel/automation/Convert.h"
#include "varnel/host/Intrinsics.h"

namespace varnel {

// The state that the image button `iButton` of a posted form asks for; empty if it wasn't clicked. A clicked
// one posts its name with ".x", and the state stands in the hidden field beside it, its name with "d".
inline String PostedState(const host::IRequestCollection& iForm, const String& iButton) {
  return iForm.ValueCount(iButton + u".x") == 0 ? String() : ToText(iForm.Value(iButton + u"d"));
}

}  // namespace varnel
