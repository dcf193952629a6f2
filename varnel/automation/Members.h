// Builds member tables from C++ members: arguments are converted from Variants in order, before the operation
// runs; a parameter of type `T&` goes by reference, and its result is stored back into the argument.
//
//   const ClassInfo& Counter::Class() const {
//     static const ClassInfo info{u"Counter", {
//         // One optional argument, 1 by default, and its name for callers that name arguments.
//         Method<&Counter::Add>(u"Add", {Long{1}}).Taking(u"iStep"),
//         ReadOnly<&Counter::Count>(u"Count").AsDefault(),
//         // Its last parameter is `Arguments`: any number of values.
//         Method<&Counter::AddAll>(u"AddAll"),
//     }};
//     return info;
//   }
#pragma once

#include <tuple>
#include <type_traits>
#include <utility>

#include "varnel/automation/Convert.h"
#include "varnel/automation/Error.h"

namespace varnel {

namespace members {

template <typename T>
struct IsSharedPointer : std::false_type {};
template <typename T>
struct IsSharedPointer<std::shared_ptr<T>> : std::true_type {};

// A value as an object of one class: null for Nothing, 13 for an object of another class.
template <typename T>
std::shared_ptr<T> ToObjectOf(const Variant& value) {
  const ObjectPtr object = ToObject(value);
  if (object == nullptr) return nullptr;
  auto result = std::dynamic_pointer_cast<T>(object);
  if (result == nullptr) RaiseRuntimeError(runtime_error::kTypeMismatch);
  return result;
}

template <typename T>
T ConvertTo(const Variant& value) {
  if constexpr (std::is_same_v<T, Variant>) {
    return value;
  } else if constexpr (std::is_same_v<T, String>) {
    return ToText(value);
  } else if constexpr (std::is_same_v<T, Integer>) {
    return ToInteger(value);
  } else if constexpr (std::is_same_v<T, Long>) {
    return ToLong(value);
  } else if constexpr (std::is_same_v<T, Byte>) {
    return ToByte(value);
  } else if constexpr (std::is_same_v<T, double>) {
    return ToDouble(value);
  } else if constexpr (std::is_same_v<T, bool>) {
    return ToBoolean(value);
  } else if constexpr (std::is_same_v<T, Date>) {
    return ToDate(value);
  } else {
    static_assert(IsSharedPointer<T>::value, "a parameter is a value type of Variant or a shared pointer");
    return ToObjectOf<typename T::element_type>(value);
  }
}

// What an operation takes, for messages.
template <typename T>
constexpr StringView WantedBy() {
  if constexpr (std::is_same_v<T, String>) {
    return u"a text";
  } else if constexpr (std::is_same_v<T, Integer> || std::is_same_v<T, Long> || std::is_same_v<T, Byte>) {
    return u"a whole number";
  } else if constexpr (std::is_same_v<T, double>) {
    return u"a number";
  } else if constexpr (std::is_same_v<T, bool>) {
    return u"a boolean";
  } else if constexpr (std::is_same_v<T, Date>) {
    return u"a date";
  } else {
    return u"an object of another class";
  }
}

// Raises the error in flight again, as an ArgumentError where it is one of a conversion.
[[noreturn]] void RaiseForArgument(std::size_t position, StringView wanted, const Variant& given);

template <typename T>
struct ByValue {
  T value;
  explicit ByValue(Variant& from) : value(ConvertTo<T>(from)) {}
  T&& Pass() { return std::move(value); }
  void Store(Variant&) {}
};

// What is only looked at isn't copied: the argument outlives the call.
struct ByConstVariant {
  const Variant* value;
  explicit ByConstVariant(Variant& from) : value(&from) {}
  const Variant& Pass() { return *value; }
  void Store(Variant&) {}
};

struct ByConstText {
  const String* given;
  String converted;
  explicit ByConstText(Variant& from) : given(from.As<String>()) {
    if (given == nullptr) converted = ToText(from);
  }
  const String& Pass() { return given == nullptr ? converted : *given; }
  void Store(Variant&) {}
};

// An argument that is only read stays what it was: its conversion isn't a result.
template <typename T>
struct ByReference {
  T before;
  T value;
  explicit ByReference(Variant& from) : before(ConvertTo<T>(from)), value(before) {}
  T& Pass() { return value; }
  void Store(Variant& to) {
    if (!(value == before)) to = Variant(value);
  }
};

template <>
struct ByReference<Variant> {
  Variant* value;
  explicit ByReference(Variant& from) : value(&from) {}
  Variant& Pass() { return *value; }
  void Store(Variant&) {}
};

// What stands behind the parameters: the values as they are.
struct Rest {
  Arguments values;
  Arguments Pass() const { return values; }
};

template <typename A>
inline constexpr bool isByReference =
    std::is_lvalue_reference_v<A> && !std::is_const_v<std::remove_reference_t<A>>;

template <typename A>
struct ArgumentFor {
  using Type = std::conditional_t<isByReference<A>, ByReference<std::remove_cvref_t<A>>,
                                  ByValue<std::remove_cvref_t<A>>>;
};
template <>
struct ArgumentFor<const Variant&> {
  using Type = ByConstVariant;
};
template <>
struct ArgumentFor<const String&> {
  using Type = ByConstText;
};
template <typename A>
using ArgumentOf = typename ArgumentFor<A>::Type;

// The argument at position `I` as a parameter of type `A` takes it.
template <typename A, std::size_t I>
auto TakeArgument(Arguments arguments) {
  if constexpr (std::is_same_v<A, Arguments>) {
    return Rest{arguments.subspan(I)};
  } else if constexpr (std::is_same_v<std::remove_cvref_t<A>, Variant>) {
    return ArgumentOf<A>(arguments[I]);
  } else {
    try {
      return ArgumentOf<A>(arguments[I]);
    } catch (const Error&) {
      RaiseForArgument(I, WantedBy<std::remove_cvref_t<A>>(), arguments[I]);
    }
  }
}

template <std::size_t I, typename T>
void StoreArgument(T& converted, Arguments arguments) {
  if constexpr (!std::is_same_v<T, Rest>) converted.Store(arguments[I]);
}

template <typename C>
C& Target(Object& object) {
  if constexpr (std::is_base_of_v<Object, C>) {
    return static_cast<C&>(object);
  } else {
    return dynamic_cast<C&>(object);
  }
}

template <typename F>
struct Signature;

template <typename C, typename R, typename... A>
struct Signature<R (C::*)(A...)> {
  using Class = C;
  static constexpr bool takesMore = (std::is_same_v<A, Arguments> || ...);
  static constexpr int count = static_cast<int>(sizeof...(A)) - (takesMore ? 1 : 0);

  template <auto Function>
  static Variant Call(Object& object, Arguments arguments) {
    return Apply<Function>(object, arguments, std::index_sequence_for<A...>());
  }

 private:
  template <auto Function, std::size_t... I>
  static Variant Apply(Object& object, [[maybe_unused]] Arguments arguments, std::index_sequence<I...>) {
    C& target = Target<C>(object);
    // Braces keep the conversions in the order of the arguments.
    std::tuple converted{TakeArgument<A, I>(arguments)...};
    if constexpr (std::is_void_v<R>) {
      (target.*Function)(std::get<I>(converted).Pass()...);
      (StoreArgument<I>(std::get<I>(converted), arguments), ...);
      return Variant();
    } else {
      Variant result((target.*Function)(std::get<I>(converted).Pass()...));
      (StoreArgument<I>(std::get<I>(converted), arguments), ...);
      return result;
    }
  }
};

template <typename C, typename R, typename... A>
struct Signature<R (C::*)(A...) const> : Signature<R (C::*)(A...)> {};

template <typename F>
struct FieldOf;
template <typename C, typename T>
struct FieldOf<T C::*> {
  using Class = C;
  using Type = T;
};

// A member that can still be marked as the default one, and told the names of its parameters.
struct Builder : Member {
  Builder Taking(StringView names) && {
    argumentNames = names;
    return std::move(*this);
  }
  Builder AsDefault() && {
    isDefault = true;
    return std::move(*this);
  }
};

template <auto Field>
Variant ReadField(Object& object, Arguments) {
  return Variant(Target<typename FieldOf<decltype(Field)>::Class>(object).*Field);
}

template <auto Field>
const Variant& LookAtField(Object& object) {
  return Target<typename FieldOf<decltype(Field)>::Class>(object).*Field;
}

template <auto Field>
void WriteField(Object& object, Arguments arguments) {
  using Traits = FieldOf<decltype(Field)>;
  Target<typename Traits::Class>(object).*Field = ConvertTo<typename Traits::Type>(arguments.back());
}

template <auto Setter>
void CallSetter(Object& object, Arguments arguments) {
  Signature<decltype(Setter)>::template Call<Setter>(object, arguments);
}

}  // namespace members

// A method; `defaults` are those of its last parameters, which are thereby optional.
template <auto Function>
members::Builder Method(StringView name, std::vector<Variant> defaults = {}) {
  using S = members::Signature<decltype(Function)>;
  members::Builder member;
  member.name = name;
  member.kind = Member::Kind::Method;
  member.parameters = S::count;
  member.takesMore = S::takesMore;
  member.defaults = std::move(defaults);
  member.call = &S::template Call<Function>;
  return member;
}

// A property that can only be read. With parameters it is used like a method (`Item(key)`).
template <auto Getter>
members::Builder ReadOnly(StringView name, std::vector<Variant> defaults = {}) {
  members::Builder member = Method<Getter>(name, std::move(defaults));
  member.kind = Member::Kind::Property;
  return member;
}

// A property with a getter without parameters and a setter with one.
template <auto Getter, auto Setter>
members::Builder Property(StringView name) {
  members::Builder member = ReadOnly<Getter>(name);
  member.put = &members::CallSetter<Setter>;
  return member;
}

// A public data member, to read and to write.
template <auto Field>
members::Builder DataMember(StringView name) {
  members::Builder member;
  member.name = name;
  member.kind = Member::Kind::Property;
  member.call = &members::ReadField<Field>;
  if constexpr (std::is_same_v<typename members::FieldOf<decltype(Field)>::Type, Variant>)
    member.look = &members::LookAtField<Field>;
  member.put = &members::WriteField<Field>;
  return member;
}

}  // namespace varnel
