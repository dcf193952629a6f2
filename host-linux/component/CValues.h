// Values of the C interface and the library's.
#pragma once

#include "host-linux/component/varnel_component.h"
#include "varnel/automation/Variant.h"

namespace hostlinux {

// Raises 13 for no type and arrays without end, 5 for a size without memory and for what is no UTF-8, 424.
varnel::Variant FromC(const varnel_value& value);
// `target` holds nothing that must be freed.
void ToC(const varnel::Variant& value, varnel_value& target);
// Frees what the library made for it.
void ClearC(varnel_value& value) noexcept;

// A text with a NUL behind it. Raises 5 for null and for what is no UTF-8.
varnel::String TextOfC(const char* text);

}  // namespace hostlinux
