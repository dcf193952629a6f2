// The published binary interface of Automation: objects, values, texts and arrays as other programs hand them over.
// Windows has it in its own headers; elsewhere it is declared here, as it lies in memory there.
//
// Texts are counted, have their length in bytes in front of them and a NUL behind, and hold 16-bit units.
#pragma once

#ifdef _WIN32
// clang-format off
#include <windows.h>
#include <oleauto.h>
// clang-format on
#define VARNEL_COM_CALL STDMETHODCALLTYPE
#else
#define VARNEL_COM_CALL
#endif

#include <cstdint>

#include "varnel/automation/String.h"

namespace varnel::com {

#ifdef _WIN32

using ::BSTR;
using ::CY;
using ::DISPPARAMS;
using ::EXCEPINFO;
using ::GUID;
using ::IClassFactory;
using ::IDispatch;
using ::IEnumVARIANT;
using ::IID;
using ::ITypeInfo;
using ::IUnknown;
using ::OLECHAR;
using ::SAFEARRAY;
using ::SAFEARRAYBOUND;
using ::VARIANT;

#else

using BYTE = std::uint8_t;
using WORD = std::uint16_t;
using DWORD = std::uint32_t;
using LONG = std::int32_t;
using ULONG = std::uint32_t;
using INT = std::int32_t;
using UINT = std::uint32_t;
using LONGLONG = std::int64_t;
using BOOL = std::int32_t;
using HRESULT = std::int32_t;
using LCID = std::uint32_t;
using DISPID = std::int32_t;
using VARTYPE = std::uint16_t;
using VARIANT_BOOL = std::int16_t;
using OLECHAR = char16_t;
using BSTR = OLECHAR*;

struct GUID {
  std::uint32_t Data1;
  std::uint16_t Data2;
  std::uint16_t Data3;
  std::uint8_t Data4[8];
};
using IID = GUID;

struct CY {
  std::int64_t int64;
};

struct SAFEARRAYBOUND {
  ULONG cElements;
  LONG lLbound;
};

struct SAFEARRAY {
  std::uint16_t cDims;
  std::uint16_t fFeatures;
  ULONG cbElements;
  ULONG cLocks;
  void* pvData;
  SAFEARRAYBOUND rgsabound[1];
};

struct IUnknown {
  virtual HRESULT QueryInterface(const IID& interfaceID, void** object) = 0;
  virtual ULONG AddRef() = 0;
  virtual ULONG Release() = 0;

 protected:
  ~IUnknown() = default;
};

struct IDispatch;
struct ITypeInfo;

struct VARIANT {
  // Of a pair of pointers, which nothing here reads: it makes the union as large as it is elsewhere.
  struct Record {
    void* pvRecord;
    void* pRecInfo;
  };
  VARTYPE vt;
  WORD wReserved1;
  WORD wReserved2;
  WORD wReserved3;
  union {
    std::int64_t llVal;
    std::int32_t lVal;
    std::uint8_t bVal;
    std::int16_t iVal;
    float fltVal;
    double dblVal;
    VARIANT_BOOL boolVal;
    std::int32_t scode;
    CY cyVal;
    double date;
    BSTR bstrVal;
    IUnknown* punkVal;
    IDispatch* pdispVal;
    SAFEARRAY* parray;
    char cVal;
    std::uint16_t uiVal;
    std::uint32_t ulVal;
    std::uint64_t ullVal;
    std::int32_t intVal;
    std::uint32_t uintVal;
    void* byref;
    VARIANT* pvarVal;
    Record record;
  };
};
static_assert(sizeof(void*) != 8 || sizeof(VARIANT) == 24);

struct DISPPARAMS {
  VARIANT* rgvarg;  // the last argument first
  DISPID* rgdispidNamedArgs;
  UINT cArgs;
  UINT cNamedArgs;
};

struct EXCEPINFO {
  WORD wCode;
  WORD wReserved;
  BSTR bstrSource;
  BSTR bstrDescription;
  BSTR bstrHelpFile;
  DWORD dwHelpContext;
  void* pvReserved;
  HRESULT (*pfnDeferredFillIn)(EXCEPINFO*);
  std::int32_t scode;
};

struct IDispatch : IUnknown {
  virtual HRESULT GetTypeInfoCount(UINT* count) = 0;
  virtual HRESULT GetTypeInfo(UINT index, LCID locale, ITypeInfo** info) = 0;
  virtual HRESULT GetIDsOfNames(const IID& reserved, OLECHAR** names, UINT count, LCID locale,
                                DISPID* ids) = 0;
  virtual HRESULT Invoke(DISPID id, const IID& reserved, LCID locale, WORD flags, DISPPARAMS* parameters,
                         VARIANT* result, EXCEPINFO* error, UINT* badArgument) = 0;

 protected:
  ~IDispatch() = default;
};

struct IClassFactory : IUnknown {
  virtual HRESULT CreateInstance(IUnknown* outer, const IID& interfaceID, void** object) = 0;
  virtual HRESULT LockServer(BOOL lock) = 0;

 protected:
  ~IClassFactory() = default;
};

struct IEnumVARIANT : IUnknown {
  virtual HRESULT Next(ULONG count, VARIANT* elements, ULONG* fetched) = 0;
  virtual HRESULT Skip(ULONG count) = 0;
  virtual HRESULT Reset() = 0;
  virtual HRESULT Clone(IEnumVARIANT** other) = 0;

 protected:
  ~IEnumVARIANT() = default;
};

// What Windows exports under these names; here the library does (AutomationMemory.cpp).
extern "C" {
BSTR SysAllocStringLen(const OLECHAR* text, UINT length);
void SysFreeString(BSTR text);
UINT SysStringLen(BSTR text);
void VariantInit(VARIANT* value);
HRESULT VariantClear(VARIANT* value);
SAFEARRAY* SafeArrayCreate(VARTYPE type, UINT dimensions, SAFEARRAYBOUND* bounds);
HRESULT SafeArrayDestroy(SAFEARRAY* array);
HRESULT SafeArrayAccessData(SAFEARRAY* array, void** data);
HRESULT SafeArrayUnaccessData(SAFEARRAY* array);
}

// clang-format off
enum VARENUM : VARTYPE {
  VT_EMPTY = 0, VT_NULL = 1, VT_I2 = 2, VT_I4 = 3, VT_R4 = 4, VT_R8 = 5, VT_CY = 6, VT_DATE = 7, VT_BSTR = 8,
  VT_DISPATCH = 9, VT_ERROR = 10, VT_BOOL = 11, VT_VARIANT = 12, VT_UNKNOWN = 13, VT_DECIMAL = 14, VT_I1 = 16,
  VT_UI1 = 17, VT_UI2 = 18, VT_UI4 = 19, VT_I8 = 20, VT_UI8 = 21, VT_INT = 22, VT_UINT = 23,
  VT_ARRAY = 0x2000, VT_BYREF = 0x4000, VT_TYPEMASK = 0xFFF,
};
inline constexpr WORD DISPATCH_METHOD = 1, DISPATCH_PROPERTYGET = 2, DISPATCH_PROPERTYPUT = 4, DISPATCH_PROPERTYPUTREF = 8;
inline constexpr DISPID DISPID_VALUE = 0, DISPID_UNKNOWN = -1, DISPID_PROPERTYPUT = -3, DISPID_NEWENUM = -4;
inline constexpr VARIANT_BOOL VARIANT_TRUE = -1, VARIANT_FALSE = 0;
inline constexpr HRESULT S_OK = 0, S_FALSE = 1;
inline constexpr HRESULT E_NOTIMPL = static_cast<HRESULT>(0x80004001), E_NOINTERFACE = static_cast<HRESULT>(0x80004002),
    E_POINTER = static_cast<HRESULT>(0x80004003), E_ABORT = static_cast<HRESULT>(0x80004004),
    E_UNEXPECTED = static_cast<HRESULT>(0x8000FFFF), E_OUTOFMEMORY = static_cast<HRESULT>(0x8007000E),
    E_INVALIDARG = static_cast<HRESULT>(0x80070057), RPC_E_DISCONNECTED = static_cast<HRESULT>(0x80010108),
    CLASS_E_NOAGGREGATION = static_cast<HRESULT>(0x80040110), CLASS_E_CLASSNOTAVAILABLE = static_cast<HRESULT>(0x80040111),
    DISP_E_UNKNOWNINTERFACE = static_cast<HRESULT>(0x80020001), DISP_E_MEMBERNOTFOUND = static_cast<HRESULT>(0x80020003),
    DISP_E_PARAMNOTFOUND = static_cast<HRESULT>(0x80020004), DISP_E_TYPEMISMATCH = static_cast<HRESULT>(0x80020005),
    DISP_E_UNKNOWNNAME = static_cast<HRESULT>(0x80020006), DISP_E_EXCEPTION = static_cast<HRESULT>(0x80020009),
    DISP_E_OVERFLOW = static_cast<HRESULT>(0x8002000A), DISP_E_BADINDEX = static_cast<HRESULT>(0x8002000B),
    DISP_E_BADPARAMCOUNT = static_cast<HRESULT>(0x8002000E), DISP_E_PARAMNOTOPTIONAL = static_cast<HRESULT>(0x8002000F);
constexpr bool SUCCEEDED(HRESULT result) { return result >= 0; }
constexpr bool FAILED(HRESULT result) { return result < 0; }
// clang-format on

#endif

// A number of 96 bits with up to 28 decimals; it lies over the whole of a VARIANT.
struct Decimal {
  std::uint16_t reserved;
  std::uint8_t scale;
  std::uint8_t sign;  // 0x80: negative
  std::uint32_t high;
  std::uint64_t low;
};

// The context's side of a component that is made in one.
struct ComObjectControl : IUnknown {
  virtual HRESULT VARNEL_COM_CALL Activate() = 0;
  virtual void VARNEL_COM_CALL Deactivate() = 0;
  virtual BOOL VARNEL_COM_CALL CanBePooled() = 0;

 protected:
  ~ComObjectControl() = default;
};

inline constexpr GUID kNoId = {};
inline constexpr GUID kUnknownId = {0x00000000, 0, 0, {0xC0, 0, 0, 0, 0, 0, 0, 0x46}};
inline constexpr GUID kClassFactoryId = {0x00000001, 0, 0, {0xC0, 0, 0, 0, 0, 0, 0, 0x46}};
inline constexpr GUID kDispatchId = {0x00020400, 0, 0, {0xC0, 0, 0, 0, 0, 0, 0, 0x46}};
inline constexpr GUID kEnumVariantId = {0x00020404, 0, 0, {0xC0, 0, 0, 0, 0, 0, 0, 0x46}};
inline constexpr GUID kObjectControlId = {
    0x51372AEC, 0xCAE7, 0x11CF, {0xBE, 0x81, 0x00, 0xAA, 0x00, 0xA2, 0xFA, 0x25}};

// Bytes of one element of an array, or of what a value by reference points to; 0 for a type that neither has.
std::size_t SizeOfElement(VARTYPE type);

bool SameId(const GUID& left, const GUID& right);

// A text as Automation has it; the empty text where there is none. The caller frees what `MakeText` made, which raises
// 7 where there is no memory.
StringView TextOf(BSTR text);
BSTR MakeText(StringView text);
// A text with a NUL behind it.
StringView TextUpToNul(const OLECHAR* text);

}  // namespace varnel::com
