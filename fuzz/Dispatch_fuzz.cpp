// Calls by IDispatch as a broken caller makes them: wrong counts, types, ids and flags, references to all kinds of places,
// names for arguments that aren't there, objects that were released. Each answers with a code.
#include <array>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <vector>

#include "host-fake/FakeHost.h"
#include "varnel/automation/Collection.h"
#include "varnel/automation/Error.h"
#include "varnel/component/AutomationValues.h"
#include "varnel/component/ClassFactory.h"
#include "varnel/component/ClassIds.h"
#include "varnel/component/ObjectWrappers.h"
#include "varnel/recordset/DFields.h"

namespace {

using namespace varnel::com;

class Bytes {
 public:
  Bytes(const std::uint8_t* data, std::size_t size) : m_data(data), m_left(size) {}
  bool IsEmpty() const { return m_left == 0; }
  std::uint8_t Next() {
    if (m_left == 0) return 0;
    --m_left;
    return *m_data++;
  }
  std::int32_t Number() {
    std::uint32_t number = 0;
    for (int i = 0; i < 4; ++i) number = number << 8 | Next();
    return static_cast<std::int32_t>(number);
  }

 private:
  const std::uint8_t* m_data;
  std::size_t m_left;
};

constexpr std::array<VARTYPE, 24> kTypes{VT_EMPTY, VT_NULL, VT_I2,       VT_I4,      VT_R4,      VT_R8,
                                         VT_CY,    VT_DATE, VT_BSTR,     VT_I4,      VT_ERROR,   VT_BOOL,
                                         VT_I1,    VT_UI1,  VT_UI2,      VT_UI4,     VT_I8,      VT_UI8,
                                         VT_INT,   VT_UINT, VT_DISPATCH, VT_UNKNOWN, VT_VARIANT, VT_DECIMAL};

// The arguments of a call, and the places that their references point to.
class Arguments {
 public:
  Arguments(Bytes& bytes, IDispatch* object) : m_object(object) {
    const std::size_t count = bytes.Next() % 8;
    m_places.resize(count);
    m_values.resize(count);
    for (std::size_t i = 0; i < count; ++i) Fill(bytes, m_values[i], m_places[i], 0);
    const std::size_t named = bytes.Next() % (count + 2);
    for (std::size_t i = 0; i < named; ++i) m_named.push_back(static_cast<DISPID>(bytes.Next() % 10) - 3);
  }
  ~Arguments() {
    for (VARIANT& value : m_values) VariantClear(&value);
    for (VARIANT& place : m_places) VariantClear(&place);
  }
  Arguments(const Arguments&) = delete;
  Arguments& operator=(const Arguments&) = delete;

  DISPPARAMS Parameters() {
    return {m_values.data(), m_named.data(), static_cast<UINT>(m_values.size()),
            static_cast<UINT>(m_named.size())};
  }

 private:
  void Fill(Bytes& bytes, VARIANT& value, VARIANT& place, int level) {
    const VARTYPE type = kTypes[bytes.Next() % kTypes.size()];
    switch (bytes.Next() % 6) {
      case 0:
        FillArray(bytes, value, type);
        return;
      case 1:  // a reference, to a place of its own or to nothing
        value.vt = static_cast<VARTYPE>(VT_BYREF | type);
        if (bytes.Next() % 8 == 0) return;
        if (type == VT_VARIANT && level == 0) {
          VARIANT inner{};
          Fill(bytes, place, inner, 1);
          if ((place.vt & VT_BYREF) != 0) place = VARIANT{};
          VariantClear(&inner);
        } else {
          FillPlain(bytes, place, type);
        }
        value.byref = type == VT_VARIANT || type == VT_DECIMAL ? static_cast<void*>(&place) : &place.llVal;
        return;
      case 2:  // a type that isn't one
        value.vt = static_cast<VARTYPE>((bytes.Next() << 8 | bytes.Next()) & ~(VT_ARRAY));
        value.llVal = 0;
        return;
      default:
        FillPlain(bytes, value, type);
    }
  }

  void FillPlain(Bytes& bytes, VARIANT& value, VARTYPE type) {
    value = VARIANT{};
    value.vt = type;
    switch (type) {
      case VT_BSTR:
        value.bstrVal = Text(bytes);
        break;
      case VT_DISPATCH:
      case VT_UNKNOWN:
        if (bytes.Next() % 2 == 0 || m_object == nullptr) break;
        value.pdispVal = m_object;
        m_object->AddRef();
        break;
      case VT_VARIANT:
        value.vt = VT_I4;
        value.lVal = bytes.Number();
        break;
      case VT_R4:
      case VT_R8:
      case VT_DATE:
        if (type == VT_R4) {
          value.fltVal = static_cast<float>(bytes.Number()) / 256;
        } else {
          value.dblVal = static_cast<double>(bytes.Number()) / 256;
        }
        break;
      default:
        value.llVal = bytes.Number();
        break;
    }
  }

  static BSTR Text(Bytes& bytes) {
    varnel::String text;
    for (int left = bytes.Next() % 12; left > 0; --left) text += static_cast<char16_t>(bytes.Next());
    return bytes.Next() % 16 == 0 ? nullptr : MakeText(text);
  }

  void FillArray(Bytes& bytes, VARIANT& value, VARTYPE type) {
    SAFEARRAYBOUND bounds[2] = {{bytes.Next() % 5U, bytes.Number()}, {1, 0}};
    SAFEARRAY* array = SafeArrayCreate(type, bytes.Next() % 4 == 0 ? 2 : 1, bounds);
    if (array == nullptr) return;
    const std::size_t size = SizeOfElement(type);
    auto* element = static_cast<char*>(array->pvData);
    for (ULONG i = 0; i < bounds[0].cElements; ++i, element += size) {
      if (type == VT_VARIANT)
        FillPlain(bytes, *reinterpret_cast<VARIANT*>(element), kTypes[bytes.Next() % 9]);
      if (type == VT_BSTR) *reinterpret_cast<BSTR*>(element) = Text(bytes);
    }
    // Now and then the value says something else of the elements than the array.
    value.vt = static_cast<VARTYPE>(VT_ARRAY | (bytes.Next() % 8 == 0 ? static_cast<VARTYPE>(VT_I8) : type));
    value.parray = array;
  }

  IDispatch* m_object;
  std::vector<VARIANT> m_values;
  std::vector<VARIANT> m_places;
  std::vector<DISPID> m_named;
};

std::vector<ComPointer<IDispatch>> MakeObjects() {
  std::vector<ComPointer<IDispatch>> objects;
  for (const ClassIds& ids : AllClassIds()) {
    if (ids.IsCreatable())
      objects.push_back(WrapObject(varnel::CreateComponent(u"Varnel." + varnel::String(ids.name))));
  }
  objects.push_back(WrapObject(std::make_shared<varnel::DFields>()));
  objects.push_back(WrapObject(std::make_shared<varnel::DField>()));
  objects.push_back(WrapObject(std::make_shared<varnel::Collection>()));
  return objects;
}

void Call(Bytes& bytes, IDispatch* object, IDispatch* other) {
  Arguments arguments(bytes, other);
  DISPPARAMS parameters = arguments.Parameters();
  OwnedVariant result;
  EXCEPINFO error{};
  UINT badArgument = 0;
  const auto id = static_cast<DISPID>(bytes.Next() % 64) - 5;
  const auto flags = static_cast<WORD>(bytes.Next() % 4 == 0 ? bytes.Next() : 3);
  const HRESULT answer = object->Invoke(
      id, kNoId, 0, flags, &parameters, bytes.Next() % 4 == 0 ? nullptr : &result.Get(),
      bytes.Next() % 4 == 0 ? nullptr : &error, bytes.Next() % 4 == 0 ? nullptr : &badArgument);
  if (answer == S_FALSE || badArgument > parameters.cArgs) std::abort();
  SysFreeString(error.bstrSource);
  SysFreeString(error.bstrDescription);
  SysFreeString(error.bstrHelpFile);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  hostfake::FakeHost host;
  host.Application().Set(u"A_ConnectionString", u"fake");
  Bytes bytes(data, size);
  {
    auto objects = MakeObjects();
    const std::size_t released = bytes.Next() % 32;
    IDispatch* gone = released < objects.size() ? objects[released].Detach() : nullptr;
    if (gone != nullptr) gone->Release();
    for (int calls = 0; calls < 40 && !bytes.IsEmpty(); ++calls) {
      IDispatch* object = objects[bytes.Next() % objects.size()].Get();
      IDispatch* other = objects[bytes.Next() % objects.size()].Get();
      Call(bytes, object == nullptr ? gone : object, other == nullptr ? objects.back().Get() : other);
    }
  }
  return 0;
}
