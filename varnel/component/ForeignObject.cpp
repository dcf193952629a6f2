#include "varnel/component/ForeignObject.h"

#include "varnel/automation/Error.h"
#include "varnel/automation/Members.h"
#include "varnel/component/AutomationValues.h"

namespace varnel::com {

namespace {

// Frees the texts of an error that an object filled in.
class ErrorTexts {
 public:
  ~ErrorTexts() {
    SysFreeString(info.bstrSource);
    SysFreeString(info.bstrDescription);
    SysFreeString(info.bstrHelpFile);
  }
  ErrorTexts() = default;
  ErrorTexts(const ErrorTexts&) = delete;
  ErrorTexts& operator=(const ErrorTexts&) = delete;

  EXCEPINFO info{};
};

[[noreturn]] void RaiseTold(EXCEPINFO& info) {
  if (info.pfnDeferredFillIn != nullptr) info.pfnDeferredFillIn(&info);
  ErrInfo error;
  error.Number = info.wCode != 0 ? info.wCode : static_cast<Long>(info.scode);
  if (error.Number == 0) error.Number = static_cast<Long>(E_UNEXPECTED);
  error.Source = TextOf(info.bstrSource);
  error.Description = TextOf(info.bstrDescription);
  error.HelpFile = TextOf(info.bstrHelpFile);
  error.HelpContext = static_cast<Long>(info.dwHelpContext);
  throw Error(std::move(error));
}

[[noreturn]] void RaiseResult(HRESULT result, StringView name) {
  switch (result) {
    case DISP_E_UNKNOWNNAME:
    case DISP_E_MEMBERNOTFOUND:
      RaiseRuntimeError(runtime_error::kNoSuchMember, name);
    case DISP_E_TYPEMISMATCH:
      RaiseRuntimeError(runtime_error::kTypeMismatch, name);
    case DISP_E_OVERFLOW:
      RaiseRuntimeError(runtime_error::kOverflow, name);
    case DISP_E_BADPARAMCOUNT:
    case DISP_E_PARAMNOTOPTIONAL:
      RaiseRuntimeError(runtime_error::kWrongArgumentCount, name);
    case E_OUTOFMEMORY:
      RaiseRuntimeError(runtime_error::kOutOfMemory, name);
    default:
      break;
  }
  ErrInfo error;
  error.Number = static_cast<Long>(result);
  error.Source = u"Varnel";
  error.Description = u"A call of '" + String(name) + u"' failed";
  throw Error(std::move(error));
}

void InvokeOn(IDispatch& object, DISPID id, WORD flags, std::span<VARIANT> lastFirst, StringView name,
              OwnedVariant& result) {
  DISPID newValue = DISPID_PROPERTYPUT;
  const bool puts = (flags & (DISPATCH_PROPERTYPUT | DISPATCH_PROPERTYPUTREF)) != 0;
  DISPPARAMS parameters{lastFirst.data(), puts ? &newValue : nullptr, static_cast<UINT>(lastFirst.size()),
                        puts ? 1U : 0U};
  ErrorTexts error;
  UINT badArgument = 0;
  const HRESULT answer = object.Invoke(id, kNoId, 0, flags, &parameters, puts ? nullptr : &result.Get(),
                                       &error.info, &badArgument);
  if (answer == DISP_E_EXCEPTION) RaiseTold(error.info);
  if (FAILED(answer)) RaiseResult(answer, name);
}

// The elements that an object walks through by itself.
class ForeignEnumeration : public Enumeration {
 public:
  explicit ForeignEnumeration(ComPointer<IEnumVARIANT> elements) : m_elements(std::move(elements)) {}
  bool Next(Variant& value) override {
    OwnedVariant element;
    ULONG fetched = 0;
    if (m_elements->Next(1, &element.Get(), &fetched) != S_OK || fetched != 1) return false;
    value = FromAutomation(element.Get());
    return true;
  }

 private:
  ComPointer<IEnumVARIANT> m_elements;
};

}  // namespace

const ClassInfo& ForeignObject::Class() const {
  static const ClassInfo info{u"Object", {Method<&ForeignObject::DefaultValue>(u"").AsDefault()}};
  return info;
}

DISPID ForeignObject::IdOf(StringView name) const {
  String text(name);
  auto* units = reinterpret_cast<OLECHAR*>(text.data());
  DISPID id = DISPID_UNKNOWN;
  const HRESULT answer = m_dispatch->GetIDsOfNames(kNoId, &units, 1, 0, &id);
  if (FAILED(answer)) RaiseResult(answer, name);
  return id;
}

bool ForeignObject::Knows(StringView name) const {
  try {
    IdOf(name);
    return true;
  } catch (const Error&) {
    return false;
  }
}

Variant ForeignObject::InvokeId(DISPID id, WORD flags, Arguments arguments, StringView name) {
  // What the call releases mustn't be what it goes through.
  const ComPointer<IDispatch> held = m_dispatch;
  std::vector<OwnedVariant> owned(arguments.size());
  std::vector<VARIANT> lastFirst(arguments.size());
  for (std::size_t i = 0; i < arguments.size(); ++i) {
    const std::size_t place = arguments.size() - 1 - i;
    ToAutomation(arguments[i], owned[place].Get());
    lastFirst[place] = owned[place].Get();
  }
  OwnedVariant result;
  InvokeOn(*held.Get(), id, flags, lastFirst, name, result);
  return FromAutomation(result.Get());
}

Variant ForeignObject::Call(StringView name, Arguments arguments) {
  return InvokeId(IdOf(name), DISPATCH_METHOD | DISPATCH_PROPERTYGET, arguments, name);
}

Variant ForeignObject::Get(StringView name) { return InvokeId(IdOf(name), DISPATCH_PROPERTYGET, {}, name); }

void ForeignObject::Put(StringView name, const Variant& value) {
  Variant copy = value.IsMissing() ? Variant() : value;
  const WORD flags = copy.IsObject() ? DISPATCH_PROPERTYPUTREF : DISPATCH_PROPERTYPUT;
  InvokeId(IdOf(name), flags, Arguments(&copy, 1), name);
}

Variant ForeignObject::CallDefault(Arguments arguments) {
  return InvokeId(DISPID_VALUE, DISPATCH_METHOD | DISPATCH_PROPERTYGET, arguments, u"the default member");
}

Variant ForeignObject::Invoke(StringView name, std::span<VARIANT> lastFirst) {
  OwnedVariant result;
  InvokeInto(name, lastFirst, result);
  return FromAutomation(result.Get());
}

void ForeignObject::InvokeInto(StringView name, std::span<VARIANT> lastFirst, OwnedVariant& result) {
  const ComPointer<IDispatch> held = m_dispatch;
  InvokeOn(*held.Get(), IdOf(name), DISPATCH_METHOD | DISPATCH_PROPERTYGET, lastFirst, name, result);
}

std::unique_ptr<Enumeration> ForeignObject::Enumerate() {
  const ComPointer<IDispatch> held = m_dispatch;
  DISPPARAMS none{};
  OwnedVariant result;
  const HRESULT answer = held->Invoke(DISPID_NEWENUM, kNoId, 0, DISPATCH_METHOD | DISPATCH_PROPERTYGET, &none,
                                      &result.Get(), nullptr, nullptr);
  const VARTYPE type = result.Get().vt;
  if (FAILED(answer) || (type != VT_UNKNOWN && type != VT_DISPATCH)) return nullptr;
  auto elements = QueryFor<IEnumVARIANT>(result.Get().punkVal, kEnumVariantId);
  return elements ? std::make_unique<ForeignEnumeration>(std::move(elements)) : nullptr;
}

}  // namespace varnel::com
