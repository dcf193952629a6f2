#include "varnel/component/DispatchCall.h"

#include <algorithm>

#include "varnel/automation/Error.h"
#include "varnel/component/AutomationValues.h"
#include "varnel/component/ElementEnumerator.h"

namespace varnel::com {

namespace {

constexpr StringView kNewEnum = u"NewEnum";
// Basic's name for it.
constexpr StringView kHiddenNewEnum = u"_NewEnum";
constexpr UINT kMostArguments = 4096;

constexpr WORD kCalls = DISPATCH_METHOD | DISPATCH_PROPERTYGET;
constexpr WORD kPuts = DISPATCH_PROPERTYPUT | DISPATCH_PROPERTYPUTREF;

// A call that ends with a code of its own, before the object is asked.
struct Refused {
  HRESULT answer;
  UINT argument = 0;
};

// What a conversion of an argument raised, as callers know it.
HRESULT AnswerOfConversion() {
  try {
    throw;
  } catch (const Error& error) {
    switch (error.Info().Number) {
      case runtime_error::kOverflow:
        return DISP_E_OVERFLOW;
      case runtime_error::kOutOfMemory:
        return E_OUTOFMEMORY;
      default:
        return DISP_E_TYPEMISMATCH;
    }
  } catch (const std::bad_alloc&) {
    return E_OUTOFMEMORY;
  }
}

// The arguments of a call, from left to right, and where the caller has each of them.
class CallArguments {
 public:
  explicit CallArguments(const DISPPARAMS& parameters) : m_parameters(parameters) {
    m_values.reserve(parameters.cArgs);
  }

  // Arguments without names, and then those with: they have the places that their names stand for. `skipped`
  // arguments in front in memory, the last ones, aren't looked at.
  void Take(const Member& member, UINT skipped) {
    const UINT named = m_parameters.cNamedArgs - skipped;
    const UINT unnamed = m_parameters.cArgs - m_parameters.cNamedArgs;
    for (UINT i = 0; i < unnamed; ++i) Put(i, m_parameters.cArgs - 1 - i);
    for (UINT i = skipped; i < skipped + named; ++i) {
      const DISPID place = m_parameters.rgdispidNamedArgs[i];
      if (place < 0 || place >= member.parameters) throw Refused{DISP_E_PARAMNOTFOUND, i};
      Put(static_cast<UINT>(place), i);
    }
    CheckGaps(member);
  }

  Arguments Values() { return m_values; }

  // Results, into the places that the caller gave by reference.
  void HandBack() {
    for (const Given& given : m_byReference) {
      const Variant& now = m_values[given.place];
      if (now == given.before && !HasChangedElements(given, now)) continue;
      try {
        StoreByReference(now, m_parameters.rgvarg[given.index]);
      } catch (const std::exception&) {
        throw Refused{AnswerOfConversion(), given.index};
      }
    }
  }

 private:
  struct Given {
    UINT place;
    UINT index;  // in the caller's memory
    Variant before;
    std::vector<Variant> elements;  // of an array, which is changed in place
  };

  void Put(UINT place, UINT index) {
    while (m_values.size() <= place) {
      m_values.emplace_back(Missing());
      m_isGiven.push_back(false);
    }
    if (m_isGiven[place]) throw Refused{DISP_E_PARAMNOTFOUND, index};
    m_isGiven[place] = true;
    try {
      m_values[place] = FromAutomation(m_parameters.rgvarg[index]);
    } catch (const std::exception&) {
      throw Refused{AnswerOfConversion(), index};
    }
    if (!IsByReference(m_parameters.rgvarg[index])) return;
    m_byReference.push_back({place, index, m_values[place], {}});
    if (const auto* array = m_values[place].As<ArrayPtr>()) m_byReference.back().elements = (*array)->items;
  }

  void CheckGaps(const Member& member) const {
    for (std::size_t place = 0; place < m_isGiven.size(); ++place) {
      if (!m_isGiven[place] && static_cast<int>(place) < member.Required())
        throw Refused{DISP_E_PARAMNOTOPTIONAL};
    }
  }

  static bool HasChangedElements(const Given& given, const Variant& now) {
    const auto* array = now.As<ArrayPtr>();
    return array != nullptr && *array != nullptr && (*array)->items != given.elements;
  }

  const DISPPARAMS& m_parameters;
  std::vector<Variant> m_values;
  std::vector<bool> m_isGiven;
  std::vector<Given> m_byReference;
};

bool AreComplete(const DISPPARAMS& parameters) {
  return parameters.cArgs <= kMostArguments && parameters.cNamedArgs <= parameters.cArgs &&
         (parameters.cArgs == 0 || parameters.rgvarg != nullptr) &&
         (parameters.cNamedArgs == 0 || parameters.rgdispidNamedArgs != nullptr);
}

bool FitsCount(const Member& member, std::size_t count) {
  const auto given = static_cast<int>(count);
  return given >= member.Required() && (given <= member.parameters || member.takesMore);
}

// Calls the member. Arguments behind a property that has none are those of what it holds: `rs.Fields("NAME")`.
Variant CallMember(Object& object, const Member& member, Arguments arguments) {
  if (member.kind != Member::Kind::Property || member.parameters != 0 || arguments.empty())
    return InvokeMember(object, member, arguments);
  const Variant held = InvokeMember(object, member, {});
  const ObjectPtr* inner = held.As<ObjectPtr>();
  if (inner == nullptr || *inner == nullptr) throw Refused{DISP_E_BADPARAMCOUNT};
  return (*inner)->CallDefault(arguments);
}

bool HasFurtherArguments(const Member& member, std::size_t count) {
  return member.kind == Member::Kind::Property && member.parameters == 0 && count > 0;
}

Variant Call(Object& object, const Member& member, const DISPPARAMS& parameters) {
  CallArguments arguments(parameters);
  arguments.Take(member, 0);
  const std::size_t count = arguments.Values().size();
  if (!HasFurtherArguments(member, count) && !FitsCount(member, count)) throw Refused{DISP_E_BADPARAMCOUNT};
  Variant result;
  try {
    result = CallMember(object, member, arguments.Values());
  } catch (const Error&) {
    // Results that are there already are the caller's, as in a call without an error.
    arguments.HandBack();
    throw;
  }
  arguments.HandBack();
  return result;
}

void Put(Object& object, const Member& member, const DISPPARAMS& parameters) {
  if (member.put == nullptr) throw Refused{DISP_E_MEMBERNOTFOUND};
  if (parameters.cArgs != 1) throw Refused{DISP_E_BADPARAMCOUNT};
  if (parameters.cNamedArgs == 1 && parameters.rgdispidNamedArgs[0] != DISPID_PROPERTYPUT)
    throw Refused{DISP_E_PARAMNOTFOUND};
  Variant value;
  try {
    value = FromAutomation(parameters.rgvarg[0]);
  } catch (const std::exception&) {
    throw Refused{AnswerOfConversion()};
  }
  PutMember(object, member, value);
}

HRESULT Enumerate(const ObjectPtr& object, VARIANT* result) {
  auto elements = MakeElementEnumerator(object);
  if (!elements) return DISP_E_MEMBERNOTFOUND;
  if (result == nullptr) return S_OK;
  result->punkVal = elements.Detach();
  result->vt = VT_UNKNOWN;
  return S_OK;
}

HRESULT Invoke(const ObjectPtr& object, DISPID id, WORD flags, const DISPPARAMS& parameters,
               VARIANT* result) {
  if (!AreComplete(parameters)) return E_INVALIDARG;
  if (id == DISPID_NEWENUM) {
    if ((flags & kCalls) == 0) return DISP_E_MEMBERNOTFOUND;
    return parameters.cArgs == 0 ? Enumerate(object, result) : DISP_E_BADPARAMCOUNT;
  }
  const Member* member = MemberOfId(object->Class(), id);
  if (member == nullptr) return DISP_E_MEMBERNOTFOUND;
  if ((flags & kPuts) != 0) {
    Put(*object, *member, parameters);
    return S_OK;
  }
  if ((flags & kCalls) == 0) return E_INVALIDARG;
  const Variant value = Call(*object, *member, parameters);
  if (result != nullptr) ToAutomation(value, *result);
  return S_OK;
}

// Run-time errors of scripts have a place among the numbers of Automation; others stand as they are.
std::int32_t CodeOf(Long number) {
  constexpr Long kMostOfScripts = 0xFFFF;
  constexpr std::uint32_t kScriptErrors = 0x800A0000;
  if (number > 0 && number <= kMostOfScripts)
    return static_cast<std::int32_t>(kScriptErrors | static_cast<std::uint32_t>(number));
  return number;
}

HRESULT Tell(const ErrInfo& info, EXCEPINFO* error) {
  if (error == nullptr) return DISP_E_EXCEPTION;
  EXCEPINFO told{};
  told.bstrSource = MakeText(info.Source);
  told.bstrDescription = MakeText(info.Description);
  if (!info.HelpFile.empty()) told.bstrHelpFile = MakeText(info.HelpFile);
  told.dwHelpContext = static_cast<DWORD>(info.HelpContext);
  told.scode = CodeOf(info.Number);
  *error = told;
  return DISP_E_EXCEPTION;
}

}  // namespace

DISPID IdOfMember(const ClassInfo& info, StringView name) {
  const Member* member = info.Find(name);
  if (EqualsNoCase(name, kHiddenNewEnum) || (member != nullptr && EqualsNoCase(name, kNewEnum)))
    return DISPID_NEWENUM;
  if (member == nullptr) return DISPID_UNKNOWN;
  return member->isDefault ? DISPID_VALUE : static_cast<DISPID>(member - info.members.data()) + 1;
}

const Member* MemberOfId(const ClassInfo& info, DISPID id) {
  if (id == DISPID_VALUE) return info.Default();
  if (id == DISPID_NEWENUM) return info.Find(kNewEnum);
  if (id < 1 || static_cast<std::size_t>(id) > info.members.size()) return nullptr;
  const Member& member = info.members[static_cast<std::size_t>(id) - 1];
  // Each has one id.
  return IdOfMember(info, member.name) == id ? &member : nullptr;
}

HRESULT FindIds(const ClassInfo& info, OLECHAR** names, UINT count, DISPID* ids) {
  if (names == nullptr || ids == nullptr || count == 0) return E_INVALIDARG;
  std::fill(ids, ids + count, DISPID_UNKNOWN);
  if (std::any_of(names, names + count, [](const OLECHAR* name) { return name == nullptr; }))
    return E_INVALIDARG;
  ids[0] = IdOfMember(info, TextUpToNul(names[0]));
  if (ids[0] == DISPID_UNKNOWN) return DISP_E_UNKNOWNNAME;
  const Member* member = MemberOfId(info, ids[0]);
  for (UINT i = 1; i < count && member != nullptr; ++i)
    ids[i] = member->ParameterNamed(TextUpToNul(names[i]));
  return std::find(ids, ids + count, DISPID_UNKNOWN) == ids + count ? S_OK : DISP_E_UNKNOWNNAME;
}

HRESULT InvokeById(const ObjectPtr& object, DISPID id, WORD flags, const DISPPARAMS& parameters,
                   VARIANT* result, EXCEPINFO* error, UINT* badArgument) {
  if (result != nullptr) VariantInit(result);
  if (badArgument != nullptr) *badArgument = 0;
  try {
    return Invoke(object, id, flags, parameters, result);
  } catch (const Refused& refused) {
    if (badArgument != nullptr) *badArgument = refused.argument;
    return refused.answer;
  } catch (...) {
    return AnswerOfFailure(error);
  }
}

HRESULT AnswerOfFailure(EXCEPINFO* error) noexcept {
  try {
    return Tell(CurrentError(), error);
  } catch (const PageEnded&) {
    return E_ABORT;
  } catch (const std::exception&) {
    return E_OUTOFMEMORY;
  } catch (...) {
    return E_UNEXPECTED;
  }
}

}  // namespace varnel::com
