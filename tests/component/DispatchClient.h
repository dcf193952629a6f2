// A caller of the binary interface, as a program in another language is one.
#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

#include "varnel/automation/Error.h"
#include "varnel/component/Automation.h"
#include "varnel/component/AutomationValues.h"
#include "varnel/component/ComPointer.h"

namespace componenttest {

using namespace varnel::com;
using varnel::String;
using varnel::StringView;
using varnel::Variant;

// Values as callers make them.
inline VARIANT Of(std::int32_t number) {
  VARIANT value{};
  value.vt = VT_I4;
  value.lVal = number;
  return value;
}
inline VARIANT OfText(StringView text) {
  VARIANT value{};
  value.vt = VT_BSTR;
  value.bstrVal = MakeText(text);
  return value;
}
inline VARIANT OfBoolean(bool truth) {
  VARIANT value{};
  value.vt = VT_BOOL;
  value.boolVal = truth ? VARIANT_TRUE : VARIANT_FALSE;
  return value;
}
inline VARIANT OfObject(IDispatch* object) {
  VARIANT value{};
  value.vt = VT_DISPATCH;
  value.pdispVal = object;
  if (object != nullptr) object->AddRef();
  return value;
}
inline VARIANT LeftOut() {
  VARIANT value{};
  value.vt = VT_ERROR;
  value.scode = DISP_E_PARAMNOTFOUND;
  return value;
}
inline VARIANT Reference(VARTYPE type, void* place) {
  VARIANT value{};
  value.vt = static_cast<VARTYPE>(VT_BYREF | type);
  value.byref = place;
  return value;
}

// What a call answered.
struct Answer {
  HRESULT result = S_OK;
  Variant value;
  std::int32_t code = 0;
  String source;
  String description;
  UINT badArgument = 0;
};

class Client {
 public:
  explicit Client(ComPointer<IDispatch> object) : m_object(std::move(object)) {}

  HRESULT Ids(std::vector<String> names, std::vector<DISPID>& ids) const {
    std::vector<OLECHAR*> units;
    units.reserve(names.size());
    for (String& name : names) units.push_back(name.data());
    ids.assign(names.size(), 77);
    return m_object->GetIDsOfNames(kNoId, units.data(), static_cast<UINT>(units.size()), 0, ids.data());
  }
  DISPID Id(const String& name) const {
    std::vector<DISPID> ids;
    EXPECT_EQ(Ids({name}, ids), S_OK);
    return ids[0];
  }

  // Arguments from left to right; those that own something are freed.
  Answer InvokeId(DISPID id, WORD flags, std::vector<VARIANT> arguments,
                  std::vector<DISPID> named = {}) const {
    std::reverse(arguments.begin(), arguments.end());
    DISPPARAMS parameters{arguments.data(), named.data(), static_cast<UINT>(arguments.size()),
                          static_cast<UINT>(named.size())};
    OwnedVariant result;
    EXCEPINFO error{};
    Answer answer;
    answer.badArgument = 77;
    answer.result =
        m_object->Invoke(id, kNoId, 0, flags, &parameters, &result.Get(), &error, &answer.badArgument);
    if (answer.result == S_OK) answer.value = FromAutomation(result.Get());
    answer.code = error.scode;
    answer.source = TextOf(error.bstrSource);
    answer.description = TextOf(error.bstrDescription);
    SysFreeString(error.bstrSource);
    SysFreeString(error.bstrDescription);
    SysFreeString(error.bstrHelpFile);
    for (VARIANT& argument : arguments) VariantClear(&argument);
    return answer;
  }
  Answer Call(const String& name, std::vector<VARIANT> arguments = {}) const {
    return InvokeId(Id(name), DISPATCH_METHOD | DISPATCH_PROPERTYGET, std::move(arguments));
  }
  Answer Put(const String& name, VARIANT value) const {
    return InvokeId(Id(name), DISPATCH_PROPERTYPUT, {value}, {DISPID_PROPERTYPUT});
  }

  IDispatch* Get() const { return m_object.Get(); }

 private:
  ComPointer<IDispatch> m_object;
};

}  // namespace componenttest
