#include "varnel/automation/Object.h"

#include <algorithm>

#include "varnel/automation/Members.h"

namespace varnel {

int Member::ParameterNamed(StringView argumentName) const {
  constexpr StringView kSeparator = u", ";
  StringView rest = argumentNames;
  for (int position = 0; !rest.empty(); ++position) {
    const std::size_t end = std::min(rest.find(kSeparator), rest.size());
    if (EqualsNoCase(rest.substr(0, end), argumentName)) return position;
    rest.remove_prefix(std::min(end + kSeparator.size(), rest.size()));
  }
  return -1;
}

namespace members {

namespace {

constexpr std::size_t kShown = 40;  // characters of a text

bool IsOfConversion(Long number) {
  return number == runtime_error::kTypeMismatch || number == runtime_error::kOverflow ||
         number == runtime_error::kInvalidUseOfNull || number == runtime_error::kObjectNotSet;
}

// As a script's author knows the value. No script runs for it.
String Shown(const Variant& value) {
  if (value.IsEmpty() || value.IsMissing()) return u"undefined";
  if (const auto* text = value.As<String>()) {
    return u"'" + text->substr(0, kShown) + (text->size() > kShown ? u"...'" : u"'");
  }
  if (value.Is<double>() || value.Is<Long>() || value.Is<Integer>() || value.Is<Byte>() || value.Is<bool>()) {
    return ToText(value);
  }
  if (value.IsNull() || TypeName(value) == u"Nothing") return u"null";
  return value.Is<ArrayPtr>() || value.Is<BytesPtr>() ? String(u"an array")
                                                      : u"a value of type " + TypeName(value);
}

}  // namespace

void RaiseForArgument(std::size_t position, StringView wanted, const Variant& given) {
  try {
    throw;
  } catch (const ArgumentError&) {
    throw;  // of a call that the conversion made
  } catch (const Error& error) {
    if (!IsOfConversion(error.Info().Number)) throw;
    throw ArgumentError(error.Info(), position, String(wanted), Shown(given));
  }
}

}  // namespace members

const Member* ClassInfo::Find(StringView memberName) const {
  const auto found = std::find_if(members.begin(), members.end(), [&](const Member& member) {
    return EqualsNoCase(member.name, memberName);
  });
  return found == members.end() ? nullptr : &*found;
}

namespace {

const Member* FindDefault(const std::vector<Member>& members) {
  const auto found =
      std::find_if(members.begin(), members.end(), [](const Member& member) { return member.isDefault; });
  return found == members.end() ? nullptr : &*found;
}

}  // namespace

ClassInfo::ClassInfo(String className, std::vector<Member> classMembers)
    : name(std::move(className)), members(std::move(classMembers)), m_default(FindDefault(members)) {}

namespace {

const Member& MemberOf(const ClassInfo& info, StringView name) {
  const Member* member = info.Find(name);
  if (member == nullptr) RaiseRuntimeError(runtime_error::kNoSuchMember, info.name + u"." + String(name));
  return *member;
}

void CheckCount(const Member& member, std::size_t count) {
  const auto given = static_cast<int>(count);
  if (given < member.Required() || (given > member.parameters && !member.takesMore)) {
    RaiseRuntimeError(runtime_error::kWrongArgumentCount, member.name);
  }
}

// The arguments of a call with `given` ones, the left-out ones among them.
std::size_t CountOf(const Member& member, std::size_t given) {
  return std::max(given, static_cast<std::size_t>(member.parameters));
}

bool IsComplete(const Member& member, Arguments arguments) {
  return static_cast<int>(arguments.size()) >= member.parameters &&
         std::none_of(arguments.begin(), arguments.end(),
                      [](const Variant& given) { return given.IsMissing(); });
}

// A left-out argument becomes its default, or Empty where there is none.
Variant Settled(const Member& member, std::size_t position, const Variant& given) {
  if (!given.IsMissing()) return given;
  const auto required = static_cast<std::size_t>(member.Required());
  const std::size_t optional = position - required;
  return position < required || optional >= member.defaults.size() ? Variant() : member.defaults[optional];
}

// Gives the caller what the operation has changed; what was left out and got its default stays left out.
void HandBack(const Member& member, std::vector<Variant>& settled, Arguments arguments) {
  for (std::size_t i = 0; i < arguments.size(); ++i) {
    const bool leftOut = arguments[i].IsMissing() && settled[i] == Settled(member, i, arguments[i]);
    if (!leftOut) arguments[i] = std::move(settled[i]);
  }
}

}  // namespace

namespace {

// The innermost operation is the one whose argument it was.
Variant CallNamed(Object& object, const Member& member, Arguments arguments) {
  try {
    return member.call(object, arguments);
  } catch (ArgumentError& error) {
    if (error.Operation().empty()) error.SetOperation(object.Class().name + u"." + member.name, false);
    throw;
  }
}

}  // namespace

Variant InvokeMember(Object& object, const Member& member, Arguments arguments) {
  CheckCount(member, arguments.size());
  if (IsComplete(member, arguments)) return CallNamed(object, member, arguments);
  std::vector<Variant> settled;
  const std::size_t count = CountOf(member, arguments.size());
  settled.reserve(count);
  for (std::size_t i = 0; i < count; ++i) {
    settled.push_back(Settled(member, i, i < arguments.size() ? arguments[i] : Variant(Missing())));
  }
  try {
    Variant result = CallNamed(object, member, settled);
    HandBack(member, settled, arguments);
    return result;
  } catch (...) {
    HandBack(member, settled, arguments);
    throw;
  }
}

void PutMember(Object& object, const Member& member, const Variant& value) {
  if (member.put == nullptr) {
    RaiseRuntimeError(runtime_error::kNoSuchMember,
                      object.Class().name + u"." + member.name + u" can only be read");
  }
  Variant newValue = value.IsMissing() ? Variant() : value;
  try {
    member.put(object, Arguments(&newValue, 1));
  } catch (ArgumentError& error) {
    if (error.Operation().empty()) error.SetOperation(object.Class().name + u"." + member.name, true);
    throw;
  }
}

Variant Object::Call(StringView name, Arguments arguments) {
  return InvokeMember(*this, MemberOf(Class(), name), arguments);
}

Variant Object::Get(StringView name) { return InvokeMember(*this, MemberOf(Class(), name), {}); }

void Object::Put(StringView name, const Variant& value) { PutMember(*this, MemberOf(Class(), name), value); }

Variant Object::CallDefault(Arguments arguments) {
  const Member* member = Class().Default();
  if (member == nullptr)
    RaiseRuntimeError(runtime_error::kNoSuchMember, Class().name + u" has no default member");
  return InvokeMember(*this, *member, arguments);
}

}  // namespace varnel
