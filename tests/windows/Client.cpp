// A program in C++ that uses the registered DLL by the published binary interface alone: arguments by their names, calls
// that are wrong in every way, locks, threads, and a great many objects. Prints what isn't as it must be.
#include <windows.h>

#include <oaidl.h>
#include <psapi.h>

#include <algorithm>
#include <cstdio>
#include <functional>
#include <string>
#include <thread>
#include <vector>

namespace {

constexpr GUID kUtilities = {0xBF2B8C07, 0x8B2E, 0x457B, {0xB7, 0x95, 0x23, 0x61, 0xFE, 0x5F, 0xA1, 0x21}};
constexpr GUID kTypes = {0x2863548A, 0xC007, 0x4112, {0x87, 0xD9, 0xBF, 0xB1, 0x83, 0xE2, 0x3E, 0xE0}};
constexpr WORD kCall = DISPATCH_METHOD | DISPATCH_PROPERTYGET;

int failures = 0;

void Expect(bool truth, const char* what) {
  if (truth) return;
  ++failures;
  std::printf("FAILED: %s\n", what);
}

void ExpectCode(HRESULT given, HRESULT expected, const char* what) {
  if (given == expected) return;
  ++failures;
  std::printf("FAILED: %s: %08lX in place of %08lX\n", what, static_cast<unsigned long>(given),
              static_cast<unsigned long>(expected));
}

VARIANT Of(LONG number) {
  VARIANT value{};
  value.vt = VT_I4;
  value.lVal = number;
  return value;
}
VARIANT Of(double number) {
  VARIANT value{};
  value.vt = VT_R8;
  value.dblVal = number;
  return value;
}
VARIANT Of(const wchar_t* text) {
  VARIANT value{};
  value.vt = VT_BSTR;
  value.bstrVal = ::SysAllocString(text);
  return value;
}
VARIANT LeftOut() {
  VARIANT value{};
  value.vt = VT_ERROR;
  value.scode = DISP_E_PARAMNOTFOUND;
  return value;
}
VARIANT Reference(VARTYPE type, void* place) {
  VARIANT value{};
  value.vt = static_cast<VARTYPE>(VT_BYREF | type);
  value.byref = place;
  return value;
}

IDispatch* Create(const wchar_t* progID, HRESULT& answer) {
  CLSID id;
  void* made = nullptr;
  answer = ::CLSIDFromProgID(progID, &id);
  if (SUCCEEDED(answer)) answer = ::CoCreateInstance(id, nullptr, CLSCTX_INPROC_SERVER, IID_IDispatch, &made);
  return static_cast<IDispatch*>(made);
}

struct Answer {
  HRESULT result = S_OK;
  std::wstring text;  // of the value that was given
  LONG code = 0;
  std::wstring source;
  std::wstring description;
  UINT badArgument = 99;
};

class Client {
 public:
  explicit Client(const wchar_t* progID) {
    HRESULT answer = S_OK;
    m_object = Create(progID, answer);
    ExpectCode(answer, S_OK, "an object is made");
  }
  ~Client() { m_object->Release(); }
  Client(const Client&) = delete;
  Client& operator=(const Client&) = delete;

  IDispatch* Get() const { return m_object; }

  std::vector<DISPID> Ids(std::vector<std::wstring> names, HRESULT expected = S_OK) const {
    std::vector<OLECHAR*> units;
    for (std::wstring& name : names) units.push_back(name.data());
    std::vector<DISPID> ids(names.size(), 77);
    ExpectCode(
        m_object->GetIDsOfNames(IID_NULL, units.data(), static_cast<UINT>(units.size()), 0, ids.data()),
        expected, "names are found");
    return ids;
  }

  // Arguments from left to right; the last ones have the names `named`.
  Answer Invoke(DISPID id, WORD flags, std::vector<VARIANT> arguments, std::vector<DISPID> named = {}) const {
    std::reverse(arguments.begin(), arguments.end());
    std::reverse(named.begin(), named.end());
    DISPPARAMS parameters{arguments.data(), named.data(), static_cast<UINT>(arguments.size()),
                          static_cast<UINT>(named.size())};
    VARIANT value{};
    EXCEPINFO error{};
    Answer answer;
    answer.result =
        m_object->Invoke(id, IID_NULL, 0, flags, &parameters, &value, &error, &answer.badArgument);
    if (SUCCEEDED(answer.result) &&
        SUCCEEDED(::VariantChangeType(&value, &value, VARIANT_ALPHABOOL, VT_BSTR)))
      answer.text = value.bstrVal == nullptr ? L"" : value.bstrVal;
    ::VariantClear(&value);
    answer.code = error.scode;
    answer.source = error.bstrSource == nullptr ? L"" : error.bstrSource;
    answer.description = error.bstrDescription == nullptr ? L"" : error.bstrDescription;
    ::SysFreeString(error.bstrSource);
    ::SysFreeString(error.bstrDescription);
    ::SysFreeString(error.bstrHelpFile);
    for (VARIANT& argument : arguments) ::VariantClear(&argument);
    return answer;
  }
  Answer Call(const wchar_t* name, std::vector<VARIANT> arguments) const {
    return Invoke(Ids({name})[0], kCall, std::move(arguments));
  }
  // The last arguments by their names.
  Answer CallNamed(const wchar_t* name, std::vector<VARIANT> arguments,
                   std::vector<std::wstring> names) const {
    names.insert(names.begin(), name);
    std::vector<DISPID> ids = Ids(names);
    return Invoke(ids[0], kCall, std::move(arguments), {ids.begin() + 1, ids.end()});
  }

 private:
  IDispatch* m_object = nullptr;
};

void TryNamedArguments() {
  const Client data(L"Varnel.DataFunctions");
  Expect(data.CallNamed(L"FloatEx", {Of(3L), Of(1033L), Of(1234.5)},
                        {L"i_vNumDecimals", L"I_VLOCALEID", L"i_fDoubleValue"})
                 .text == L"1,234.500",
         "all arguments by name, in another order and in capitals");
  Expect(data.CallNamed(L"FloatEx", {Of(1234.5), Of(1033L)}, {L"i_vLocaleID"}).text == L"1,234.50",
         "the second by name, the third left out");
  Expect(data.CallNamed(L"ValidateNumber", {Of(5L), Of(4L)}, {L"i_vMaxLongValue"}).text == L"False",
         "one in the middle left out");
  Expect(data.CallNamed(L"ValidateNumber", {Of(5L), Of(5L)}, {L"i_vMaxLongValue"}).text == L"True",
         "one in the middle left out, within the bounds");
  const Client util(L"Varnel.Utilities");
  VARIANT found{};
  Expect(util.CallNamed(L"RetrieveElementFromRequestFormCollection",
                        {Reference(VT_VARIANT, &found), Of(L"b="), Of(L"a=1&b=2")},
                        {L"o_sPatternValue", L"i_sPattern", L"i_sRequestFormString"})
                     .text == L"True" &&
             found.vt == VT_BSTR && std::wstring(found.bstrVal) == L"2",
         "a result by reference at an argument by name");
  ::VariantClear(&found);

  const DISPID id = data.Ids({L"FloatEx"})[0];
  data.Ids({L"FloatEx", L"i_nothing"}, DISP_E_UNKNOWNNAME);
  ExpectCode(data.Invoke(id, kCall, {Of(1033L)}, {1}).result, DISP_E_PARAMNOTOPTIONAL,
             "a required one is missing");
  ExpectCode(data.Invoke(id, kCall, {Of(1.5), Of(1033L), Of(2.5)}, {0}).result, DISP_E_PARAMNOTFOUND,
             "one comes twice");
  ExpectCode(data.Invoke(id, kCall, {Of(1.5), Of(1033L)}, {9}).result, DISP_E_PARAMNOTFOUND,
             "an argument that isn't there");
  ExpectCode(data.Invoke(id, kCall, {Of(1.5), Of(1033L)}, {-7}).result, DISP_E_PARAMNOTFOUND,
             "an argument of no number");
}

void TryWrongCalls() {
  const Client util(L"Varnel.Utilities");
  const DISPID encode = util.Ids({L"SQLEncodeLng"})[0];
  ExpectCode(util.Invoke(encode, kCall, {}).result, DISP_E_BADPARAMCOUNT, "too few arguments");
  ExpectCode(util.Invoke(encode, kCall, {Of(1L), Of(2L)}).result, DISP_E_BADPARAMCOUNT, "too many arguments");
  ExpectCode(util.Invoke(999, kCall, {}).result, DISP_E_MEMBERNOTFOUND, "an id that isn't there");
  ExpectCode(util.Invoke(DISPID_NEWENUM, kCall, {}).result, DISP_E_MEMBERNOTFOUND,
             "a walk through no collection");
  ExpectCode(util.Invoke(encode, 0, {Of(1L)}).result, E_INVALIDARG, "a call of no kind");
  ExpectCode(util.Invoke(encode, DISPATCH_PROPERTYPUT, {Of(1L)}, {DISPID_PROPERTYPUT}).result,
             DISP_E_MEMBERNOTFOUND, "a method can't be put");

  const Answer type = util.Invoke(encode, kCall, {Of(L"many")});
  ExpectCode(type.result, DISP_E_EXCEPTION, "a text for a number");
  ExpectCode(type.code, static_cast<LONG>(0x800A000D), "its number");
  Expect(type.source == L"Varnel" && type.description == L"Type mismatch", "its source and description");

  VARIANT strange{};
  strange.vt = VT_ERROR;
  strange.scode = E_FAIL;
  const Answer bad = util.Invoke(encode, kCall, {strange});
  ExpectCode(bad.result, DISP_E_TYPEMISMATCH, "an error for a number");
  Expect(bad.badArgument == 0, "the bad argument is named");
  strange.vt = VT_RECORD;
  strange.llVal = 0;
  ExpectCode(util.Invoke(encode, kCall, {strange}).result, DISP_E_TYPEMISMATCH, "a record for a number");
  strange.vt = VT_VARIANT;
  ExpectCode(util.Invoke(encode, kCall, {strange}).result, DISP_E_TYPEMISMATCH, "a type that is none");
  // Nothing in the place of a required one is Empty, as in a page.
  const Answer leftOut = util.Call(L"SQLEncodeLng", {LeftOut()});
  Expect(leftOut.result == S_OK && leftOut.text == L"0", "a required one is left out");
}

void TryWrongReferences() {
  const Client util(L"Varnel.Utilities");
  const DISPID encode = util.Ids({L"SQLEncodeLng"})[0];
  const DISPID sort = util.Ids({L"QuickSort"})[0];
  for (const VARTYPE type : {VT_I4, VT_BSTR, VT_VARIANT, VT_DISPATCH, VT_DECIMAL}) {
    ExpectCode(util.Invoke(encode, kCall, {Reference(static_cast<VARTYPE>(type), nullptr)}).result,
               DISP_E_TYPEMISMATCH, "a reference to nothing");
  }
  ExpectCode(util.Invoke(sort, kCall, {Reference(VT_ARRAY | VT_VARIANT, nullptr)}).result,
             DISP_E_TYPEMISMATCH, "a reference to no array");
  VARIANT inner = Reference(VT_VARIANT, nullptr);
  ExpectCode(util.Invoke(encode, kCall, {Reference(VT_VARIANT, &inner)}).result, DISP_E_TYPEMISMATCH,
             "a reference to a reference to nothing");
  LONG number = 7;
  inner = Reference(VT_I4, &number);
  const Answer through = util.Invoke(encode, kCall, {Reference(VT_VARIANT, &inner)});
  Expect(through.result == DISP_E_TYPEMISMATCH || through.text == L"7", "a reference to a reference");

  SAFEARRAYBOUND bounds[2] = {{2, 0}, {2, 0}};
  VARIANT block{};
  block.vt = VT_ARRAY | VT_VARIANT;
  block.parray = ::SafeArrayCreate(VT_VARIANT, 2, bounds);
  ExpectCode(util.Invoke(sort, kCall, {block}).result, DISP_E_TYPEMISMATCH, "an array of two dimensions");
  VARIANT none{};
  none.vt = VT_ARRAY | VT_VARIANT;
  Expect(FAILED(util.Invoke(sort, kCall, {none}).result), "an array that isn't there");

  // A place that can't hold the result: a form's text where a number would have to go.
  LONG place = 5;
  ExpectCode(util.Call(L"RetrieveElementFromRequestFormCollection",
                       {Of(L"b=text"), Of(L"b="), Reference(VT_I4, &place)})
                 .result,
             DISP_E_TYPEMISMATCH, "a text for a place of a number");
  Expect(place == 5, "the place is as it was");

  DISPPARAMS withoutMemory{nullptr, nullptr, 2, 0};
  ExpectCode(util.Get()->Invoke(encode, IID_NULL, 0, kCall, &withoutMemory, nullptr, nullptr, nullptr),
             E_INVALIDARG, "arguments without memory");
  ExpectCode(util.Get()->Invoke(encode, IID_NULL, 0, kCall, nullptr, nullptr, nullptr, nullptr), E_INVALIDARG,
             "no arguments at all");
  VARIANT argument = Of(1L);
  DISPPARAMS moreNames{&argument, nullptr, 1, 2};
  ExpectCode(util.Get()->Invoke(encode, IID_NULL, 0, kCall, &moreNames, nullptr, nullptr, nullptr),
             E_INVALIDARG, "more names than arguments");
  DISPPARAMS one{&argument, nullptr, 1, 0};
  ExpectCode(util.Get()->Invoke(encode, IID_NULL, 0, kCall, &one, nullptr, nullptr, nullptr), S_OK,
             "nobody wants to know the result");
  ExpectCode(util.Get()->Invoke(encode, IID_IUnknown, 0, kCall, &one, nullptr, nullptr, nullptr),
             DISP_E_UNKNOWNINTERFACE, "the reserved id");
}

void TryReleasedObjects() {
  HRESULT answer = S_OK;
  IDispatch* gone = Create(L"Varnel.Utilities", answer);
  Expect(gone->Release() == 0, "the last one lets go");
  DISPPARAMS none{};
  void* found = nullptr;
  ExpectCode(gone->Invoke(1, IID_NULL, 0, kCall, &none, nullptr, nullptr, nullptr), RPC_E_DISCONNECTED,
             "a call of a released object");
  ExpectCode(gone->QueryInterface(IID_IUnknown, &found), RPC_E_DISCONNECTED,
             "an interface of a released object");
  Expect(gone->Release() == 0, "a second release");
  const Client util(L"Varnel.Utilities");
  VARIANT argument{};
  argument.vt = VT_DISPATCH;
  // Never freed: it holds nothing.
  argument.pdispVal = gone;
  DISPPARAMS one{&argument, nullptr, 1, 0};
  Expect(FAILED(util.Get()->Invoke(util.Ids({L"SQLEncodeLng"})[0], IID_NULL, 0, kCall, &one, nullptr, nullptr,
                                   nullptr)),
         "a released object as an argument");
}

void TryClassesWithoutAContext() {
  for (const wchar_t* name : {L"Varnel.Page", L"Varnel.PageUtil"}) {
    HRESULT answer = S_OK;
    Expect(Create(name, answer) == nullptr, "no page without a request");
    ExpectCode(answer, static_cast<HRESULT>(0x800A005B), "what says so");
  }
  HRESULT answer = S_OK;
  Expect(Create(L"Varnel.Nothing", answer) == nullptr && FAILED(answer), "a class that isn't there");
}

using CanUnload = HRESULT(__stdcall*)();

CanUnload FindCanUnload() {
  const HMODULE library = ::GetModuleHandleA("varnel.dll");
  return reinterpret_cast<CanUnload>(
      reinterpret_cast<void*>(library == nullptr ? nullptr : ::GetProcAddress(library, "DllCanUnloadNow")));
}

void TryUnloading() {
  void* found = nullptr;
  ExpectCode(::CoGetClassObject(kUtilities, CLSCTX_INPROC_SERVER, nullptr, IID_IClassFactory, &found), S_OK,
             "the class object");
  auto* factory = static_cast<IClassFactory*>(found);
  const CanUnload canUnload = FindCanUnload();
  if (canUnload == nullptr) return Expect(false, "the library is loaded");
  ExpectCode(canUnload(), S_FALSE, "a class object lives");
  ExpectCode(factory->LockServer(TRUE), S_OK, "a lock");
  void* object = nullptr;
  ExpectCode(factory->CreateInstance(nullptr, IID_IDispatch, &object), S_OK, "an object of the class object");
  factory->Release();
  ExpectCode(canUnload(), S_FALSE, "an object and a lock");
  static_cast<IDispatch*>(object)->Release();
  ExpectCode(canUnload(), S_FALSE, "a lock alone");
  ::CoGetClassObject(kUtilities, CLSCTX_INPROC_SERVER, nullptr, IID_IClassFactory, &found);
  factory = static_cast<IClassFactory*>(found);
  factory->LockServer(FALSE);
  ExpectCode(canUnload(), S_FALSE, "the class object again");
  ExpectCode(factory->CreateInstance(factory, IID_IDispatch, &object), CLASS_E_NOAGGREGATION,
             "inside of another object");
  factory->Release();
  ExpectCode(canUnload(), S_OK, "neither an object nor a lock");
}

void TryTypeLibrary() {
  ITypeLib* library = nullptr;
  ExpectCode(::LoadRegTypeLib(kTypes, 1, 0, LOCALE_NEUTRAL, &library), S_OK, "the registered type library");
  if (library == nullptr) return;
  UINT enumerations = 0;
  UINT interfaces = 0;
  UINT classes = 0;
  for (UINT i = 0; i < library->GetTypeInfoCount(); ++i) {
    TYPEKIND kind = TKIND_MAX;
    library->GetTypeInfoType(i, &kind);
    enumerations += kind == TKIND_ENUM ? 1 : 0;
    interfaces += kind == TKIND_DISPATCH ? 1 : 0;
    classes += kind == TKIND_COCLASS ? 1 : 0;
  }
  Expect(enumerations == 4 && interfaces == 11 && classes == 9, "what the type library has");
  library->Release();
}

SIZE_T Memory() {
  PROCESS_MEMORY_COUNTERS counters{};
  counters.cb = sizeof counters;
  ::GetProcessMemoryInfo(::GetCurrentProcess(), &counters, sizeof counters);
  return counters.WorkingSetSize;
}

void TryManyObjects() {
  constexpr int kWarmUp = 20000;
  constexpr int kCycles = 100000;
  SIZE_T before = 0;
  for (int i = 0; i < kWarmUp + kCycles; ++i) {
    if (i == kWarmUp) before = Memory();
    HRESULT answer = S_OK;
    static const wchar_t* const kNames[] = {L"Varnel.Utilities", L"Varnel.DataFunctions",
                                            L"Varnel.CatalogQuery", L"Varnel.DRecordset"};
    IDispatch* object = Create(kNames[i % 4], answer);
    if (object == nullptr) return ExpectCode(answer, S_OK, "one of many objects");
    object->Release();
  }
  const SIZE_T after = Memory();
  std::printf("%d objects made and released: %llu KB before, %llu KB after\n", kCycles,
              static_cast<unsigned long long>(before / 1024), static_cast<unsigned long long>(after / 1024));
  // A leak of a wrapper in each would be ten times as much.
  Expect(after < before + 1024 * 1024, "memory is flat");
}

void TryThreads() {
  const auto work = [] {
    ::CoInitialize(nullptr);
    {
      const Client data(L"Varnel.DataFunctions");
      for (int i = 0; i < 2000; ++i) {
        const Client util(L"Varnel.Utilities");
        if (util.Call(L"SQLEncodeLng", {Of(static_cast<LONG>(i))}).text != std::to_wstring(i) ||
            data.Call(L"Number", {Of(1234L), Of(1033L)}).text != L"1,234") {
          Expect(false, "an object of a thread");
          break;
        }
      }
    }
    ::CoUninitialize();
  };
  std::thread one(work);
  std::thread two(work);
  one.join();
  two.join();
}

}  // namespace

int main() {
  ::CoInitialize(nullptr);
  TryNamedArguments();
  TryWrongCalls();
  TryWrongReferences();
  TryReleasedObjects();
  TryClassesWithoutAContext();
  TryUnloading();
  TryTypeLibrary();
  TryManyObjects();
  TryThreads();
  const CanUnload canUnload = FindCanUnload();
  Expect(canUnload != nullptr && canUnload() == S_OK, "nothing is left behind");
  std::printf("%d failures\n", failures);
  std::fflush(stdout);
  return failures == 0 ? 0 : 1;
}
