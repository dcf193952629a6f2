#include "varnel/component/Automation.h"

#include <cstring>
#include <limits>

#include "varnel/automation/Error.h"

namespace varnel::com {

static_assert(sizeof(OLECHAR) == sizeof(char16_t));
static_assert(sizeof(Decimal) == 16);

bool SameId(const GUID& left, const GUID& right) { return std::memcmp(&left, &right, sizeof(GUID)) == 0; }

std::size_t SizeOfElement(VARTYPE type) {
  switch (type) {
    case VT_I1:
    case VT_UI1:
      return 1;
    case VT_I2:
    case VT_UI2:
    case VT_BOOL:
      return 2;
    case VT_I4:
    case VT_UI4:
    case VT_INT:
    case VT_UINT:
    case VT_R4:
    case VT_ERROR:
      return 4;
    case VT_I8:
    case VT_UI8:
    case VT_R8:
    case VT_CY:
    case VT_DATE:
      return 8;
    case VT_BSTR:
    case VT_DISPATCH:
    case VT_UNKNOWN:
      return sizeof(void*);
    case VT_DECIMAL:
      return sizeof(Decimal);
    case VT_VARIANT:
      return sizeof(VARIANT);
    default:
      return 0;
  }
}

StringView TextOf(BSTR text) {
  if (text == nullptr) return {};
  return {reinterpret_cast<const char16_t*>(text), SysStringLen(text)};
}

BSTR MakeText(StringView text) {
  if (text.size() > std::numeric_limits<UINT>::max() / sizeof(OLECHAR) - sizeof(OLECHAR))
    RaiseRuntimeError(runtime_error::kOutOfMemory);
  BSTR made =
      SysAllocStringLen(reinterpret_cast<const OLECHAR*>(text.data()), static_cast<UINT>(text.size()));
  if (made == nullptr) RaiseRuntimeError(runtime_error::kOutOfMemory);
  return made;
}

StringView TextUpToNul(const OLECHAR* text) {
  return text == nullptr ? StringView() : StringView(reinterpret_cast<const char16_t*>(text));
}

}  // namespace varnel::com
