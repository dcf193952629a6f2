// Texts, values and arrays of Automation where the system has none. What a caller hands over by reference is freed and
// made anew with these, so that the shared library exports them.
#ifndef _WIN32

#include <cstdlib>
#include <cstring>
#include <limits>

#include "varnel/component/Automation.h"

namespace varnel::com {

namespace {

// In front of a text: its length in bytes stands in the last four of these.
constexpr std::size_t kTextHead = 8;

// Features of an array: what its elements hold on to.
constexpr std::uint16_t kHoldsTexts = 0x100;
constexpr std::uint16_t kHoldsObjects = 0x200 | 0x400;
constexpr std::uint16_t kHoldsValues = 0x800;

std::uint16_t FeaturesOf(VARTYPE type) {
  switch (type) {
    case VT_BSTR:
      return kHoldsTexts;
    case VT_DISPATCH:
      return 0x400;
    case VT_UNKNOWN:
      return 0x200;
    case VT_VARIANT:
      return kHoldsValues;
    default:
      return 0;
  }
}

std::size_t CountOf(const SAFEARRAY& array) {
  std::size_t count = array.cDims == 0 ? 0 : 1;
  for (std::uint16_t i = 0; i < array.cDims; ++i) count *= array.rgsabound[i].cElements;
  return count;
}

void ClearElements(const SAFEARRAY& array) {
  const std::size_t count = CountOf(array);
  if ((array.fFeatures & kHoldsTexts) != 0) {
    for (std::size_t i = 0; i < count; ++i) SysFreeString(static_cast<BSTR*>(array.pvData)[i]);
  } else if ((array.fFeatures & kHoldsObjects) != 0) {
    for (std::size_t i = 0; i < count; ++i) {
      if (IUnknown* object = static_cast<IUnknown**>(array.pvData)[i]) object->Release();
    }
  } else if ((array.fFeatures & kHoldsValues) != 0) {
    for (std::size_t i = 0; i < count; ++i) VariantClear(static_cast<VARIANT*>(array.pvData) + i);
  }
}

}  // namespace

extern "C" {

BSTR SysAllocStringLen(const OLECHAR* text, UINT length) {
  if (length > (std::numeric_limits<UINT>::max() - 16) / sizeof(OLECHAR)) return nullptr;
  const auto bytes = static_cast<UINT>(length * sizeof(OLECHAR));
  auto* memory = static_cast<char*>(std::malloc(kTextHead + bytes + sizeof(OLECHAR)));
  if (memory == nullptr) return nullptr;
  std::memcpy(memory + kTextHead - sizeof bytes, &bytes, sizeof bytes);
  char* units = memory + kTextHead;
  if (text != nullptr && bytes > 0) std::memcpy(units, text, bytes);
  std::memset(units + bytes, 0, sizeof(OLECHAR));
  return reinterpret_cast<BSTR>(units);
}

void SysFreeString(BSTR text) {
  if (text != nullptr) std::free(reinterpret_cast<char*>(text) - kTextHead);
}

UINT SysStringLen(BSTR text) {
  if (text == nullptr) return 0;
  UINT bytes = 0;
  std::memcpy(&bytes, reinterpret_cast<const char*>(text) - sizeof bytes, sizeof bytes);
  return bytes / static_cast<UINT>(sizeof(OLECHAR));
}

void VariantInit(VARIANT* value) { *value = VARIANT{}; }

HRESULT VariantClear(VARIANT* value) {
  if ((value->vt & VT_BYREF) == 0) {
    if ((value->vt & VT_ARRAY) != 0) {
      if (value->parray != nullptr) SafeArrayDestroy(value->parray);
    } else if (value->vt == VT_BSTR) {
      SysFreeString(value->bstrVal);
    } else if ((value->vt == VT_DISPATCH || value->vt == VT_UNKNOWN) && value->punkVal != nullptr) {
      value->punkVal->Release();
    }
  }
  *value = VARIANT{};
  return S_OK;
}

SAFEARRAY* SafeArrayCreate(VARTYPE type, UINT dimensions, SAFEARRAYBOUND* bounds) {
  const std::size_t size = SizeOfElement(type);
  if (size == 0 || dimensions == 0 || dimensions > 60 || bounds == nullptr) return nullptr;
  std::size_t bytes = size;
  for (UINT i = 0; i < dimensions; ++i) {
    if (__builtin_mul_overflow(bytes, std::size_t{bounds[i].cElements}, &bytes)) return nullptr;
  }
  auto* array =
      static_cast<SAFEARRAY*>(std::calloc(1, sizeof(SAFEARRAY) + (dimensions - 1) * sizeof(SAFEARRAYBOUND)));
  void* data = std::calloc(bytes == 0 ? 1 : bytes, 1);
  if (array == nullptr || data == nullptr) {
    std::free(array);
    std::free(data);
    return nullptr;
  }
  array->cDims = static_cast<std::uint16_t>(dimensions);
  array->fFeatures = FeaturesOf(type);
  array->cbElements = static_cast<ULONG>(size);
  array->pvData = data;
  // The last dimension stands first.
  for (UINT i = 0; i < dimensions; ++i) array->rgsabound[i] = bounds[dimensions - 1 - i];
  return array;
}

HRESULT SafeArrayDestroy(SAFEARRAY* array) {
  if (array == nullptr) return S_OK;
  if (array->cLocks != 0) return E_UNEXPECTED;
  ClearElements(*array);
  std::free(array->pvData);
  std::free(array);
  return S_OK;
}

HRESULT SafeArrayAccessData(SAFEARRAY* array, void** data) {
  if (array == nullptr || data == nullptr) return E_INVALIDARG;
  ++array->cLocks;
  *data = array->pvData;
  return S_OK;
}

HRESULT SafeArrayUnaccessData(SAFEARRAY* array) {
  if (array == nullptr || array->cLocks == 0) return E_UNEXPECTED;
  --array->cLocks;
  return S_OK;
}
}

}  // namespace varnel::com

#endif
