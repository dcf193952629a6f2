// An object from outside as an object of the library: every call goes by name.
#pragma once

#include "varnel/automation/Object.h"
#include "varnel/component/AutomationValues.h"
#include "varnel/component/ComPointer.h"

namespace varnel::com {

class ForeignObject : public Object {
 public:
  // `dispatch` isn't null.
  explicit ForeignObject(ComPointer<IDispatch> dispatch) : m_dispatch(std::move(dispatch)) {}

  // With nothing but a default member, which it may turn out not to have: what it can do only it knows.
  const ClassInfo& Class() const override;

  // What the object answers is raised as it says. 438 for a name that it doesn't know, 13, 6 and 450 for values and
  // counts that it doesn't take; any other failure by its own number. Arguments go by value.
  Variant Call(StringView name, Arguments arguments) override;
  Variant Get(StringView name) override;
  void Put(StringView name, const Variant& value) override;
  Variant CallDefault(Arguments arguments) override;
  std::unique_ptr<Enumeration> Enumerate() override;

  // The same call with arguments as they are given here, the last one first; results by reference stand in them then.
  Variant Invoke(StringView name, std::span<VARIANT> lastFirst);
  // The result as it came.
  void InvokeInto(StringView name, std::span<VARIANT> lastFirst, OwnedVariant& result);
  // Whether it knows the name.
  bool Knows(StringView name) const;

  IDispatch* Dispatch() const { return m_dispatch.Get(); }

 private:
  Variant DefaultValue() { return CallDefault({}); }
  DISPID IdOf(StringView name) const;
  Variant InvokeId(DISPID id, WORD flags, Arguments arguments, StringView name);

  ComPointer<IDispatch> m_dispatch;
};

}  // namespace varnel::com
