// Objects that a late-bound caller can use: by the names of their members, in any case of letters.
// A class lists its members once (Members.h); that one table serves scripts, the component server and the
// library's own calls by name.
#pragma once

#include <memory>
#include <span>
#include <vector>

#include "varnel/automation/Variant.h"

namespace varnel {

// The arguments of a call, from left to right. A member that takes an argument by reference writes its
// result into the element.
using Arguments = std::span<Variant>;

struct Member {
  enum class Kind { Method, Property };

  String name;
  Kind kind = Kind::Method;
  int parameters = 0;  // how many there are, the optional ones too
  std::vector<Variant>
      defaults;              // of the last parameters, which are optional; Missing: can be told from a value
  bool takesMore = false;    // any number of further arguments may stand behind the parameters
  bool isDefault = false;    // used when the object itself is called or taken as a value
  StringView argumentNames;  // of the parameters, with ", " between them: a literal
  // Calls the method or reads the property. There are exactly `parameters` arguments, or more where it takes
  // them.
  Variant (*call)(Object&, Arguments) = nullptr;
  // The value of a property that is a Variant kept in the object, to look at without a copy; else null.
  const Variant& (*look)(Object&) = nullptr;
  // Writes the property; the new value is the last of `parameters` + 1 arguments. Null: read-only.
  void (*put)(Object&, Arguments) = nullptr;

  int Required() const { return parameters - static_cast<int>(defaults.size()); }
  // The position, from 0, of the parameter that callers name so, in any case of letters; -1 if there is none.
  int ParameterNamed(StringView argumentName) const;
};

class ClassInfo {
 public:
  ClassInfo(String className, std::vector<Member> classMembers);
  ClassInfo(const ClassInfo&) = delete;
  ClassInfo& operator=(const ClassInfo&) = delete;

  const String name;  // as messages show it, such as "DRecordset"
  const std::vector<Member> members;

  // The member of that name in any case of letters; null if there is none.
  const Member* Find(StringView memberName) const;
  // The default member; null if the class has none.
  const Member* Default() const { return m_default; }

 private:
  const Member* const m_default;
};

// Walks the elements of a collection, once.
class Enumeration {
 public:
  virtual ~Enumeration() = default;
  // Puts the next element into `value`; false, with `value` unchanged, behind the last one.
  virtual bool Next(Variant& value) = 0;
};

class Object : public std::enable_shared_from_this<Object> {
 public:
  Object() = default;
  Object(const Object&) = delete;
  Object& operator=(const Object&) = delete;
  virtual ~Object() = default;

  virtual const ClassInfo& Class() const = 0;

  // Calls the method `name`. Left-out trailing arguments get their defaults, and changed arguments by
  // reference stand in `arguments` afterwards. Raises 438 (no such member), 450 (wrong number of arguments),
  // and what the member raises.
  virtual Variant Call(StringView name, Arguments arguments);
  // Reads the property `name`. Raises as `Call`.
  virtual Variant Get(StringView name);
  // Writes the property `name`. Raises 438 if there is none or if it can only be read.
  virtual void Put(StringView name, const Variant& value);
  // Calls the default member: 438 if there is none.
  virtual Variant CallDefault(Arguments arguments);
  // The object that CallDefault gives for `name` alone, where it is kept already and asking for it does nothing else, so that
  // a caller who asks often needs no Variants; null: CallDefault tells. It is there until this object changes.
  virtual const ObjectPtr* KeptItem(StringView) const { return nullptr; }
  // The elements, for a for-each; null if the object is no collection.
  virtual std::unique_ptr<Enumeration> Enumerate() { return nullptr; }

  // Lets go of the objects that a caller put into it, and of those that it can do without. A host calls this
  // for what a request leaves behind: objects that hold each other would never go by themselves. The object
  // is as empty then as one that was never filled.
  virtual void LetGo() noexcept {}

  // Calls with the arguments given in place.
  template <typename... T>
  Variant CallWith(StringView name, T&&... values) {
    Variant arguments[sizeof...(T) + 1] = {Variant(std::forward<T>(values))...};
    return Call(name, Arguments(arguments, sizeof...(T)));
  }
};

// Calls `member` with `arguments`, filled up with defaults. Raises 450.
Variant InvokeMember(Object& object, const Member& member, Arguments arguments);
// Writes property `member`. Raises 438 if it can only be read.
void PutMember(Object& object, const Member& member, const Variant& value);

// An object as a pointer to one of its classes or interfaces; null if it is Nothing or something else.
template <typename T>
std::shared_ptr<T> CastObject(const ObjectPtr& object) {
  return std::dynamic_pointer_cast<T>(object);
}

// The same for a value that may be no object at all.
template <typename T>
std::shared_ptr<T> CastObject(const Variant& value) {
  const ObjectPtr* object = value.As<ObjectPtr>();
  return object == nullptr ? nullptr : CastObject<T>(*object);
}

// A shared pointer to `object` itself, with its own type.
template <typename T>
std::shared_ptr<T> SharedFrom(T& object) {
  return std::static_pointer_cast<T>(object.shared_from_this());
}

}  // namespace varnel
