// One call by IDispatch on an object of the library: ids, arguments by place and by name, results by reference, errors.
#pragma once

#include "varnel/automation/Object.h"
#include "varnel/component/Automation.h"

namespace varnel::com {

// The id of a member, in any case of letters: 0 for the default one, DISPID_NEWENUM for what a for-each asks for, else its
// place in the class's table, from 1. DISPID_UNKNOWN for a name that isn't there.
DISPID IdOfMember(const ClassInfo& info, StringView name);
// The other way around; null for an id that none has.
const Member* MemberOfId(const ClassInfo& info, DISPID id);

// IDispatch::GetIDsOfNames: the member's id, and behind it the places of parameters.
HRESULT FindIds(const ClassInfo& info, OLECHAR** names, UINT count, DISPID* ids);

// IDispatch::Invoke. `result`, `error` and `badArgument` may be null.
HRESULT InvokeById(const ObjectPtr& object, DISPID id, WORD flags, const DISPPARAMS& parameters,
                   VARIANT* result, EXCEPINFO* error, UINT* badArgument);

// What the exception in flight is to a caller: call it inside a catch clause.
HRESULT AnswerOfFailure(EXCEPINFO* error) noexcept;

}  // namespace varnel::com
