#include <filesystem>

#include "host-linux/component/CValues.h"
#include "host-linux/component/ComponentHost.h"
#include "host-linux/component/Handles.h"
#include "host-linux/component/varnel_component.h"
#include "host-linux/services/MessageManager.h"
#include "varnel/automation/Convert.h"
#include "varnel/automation/Error.h"

namespace hostlinux {

using varnel::ObjectPtr;
using varnel::RaiseRuntimeError;
using varnel::String;
using varnel::Variant;
namespace runtime_error = varnel::runtime_error;

namespace {

constexpr varnel::Long kNoSuchArgument = 448;
constexpr varnel::Long kPageEnded = static_cast<varnel::Long>(0x80004004);
constexpr varnel::Long kPathNotFound = 76;
constexpr std::size_t kMostArguments = 4096;

// The last error of a thread, with the memory of its texts.
struct LastError {
  std::string source;
  std::string description;
  std::string helpFile;
  varnel_error told{0, "", "", "", 0};

  void Set(const varnel::ErrInfo& info) {
    source = varnel::ToUtf8(info.Source);
    description = varnel::ToUtf8(info.Description);
    helpFile = varnel::ToUtf8(info.HelpFile);
    told = {info.Number, source.c_str(), description.c_str(), helpFile.c_str(), info.HelpContext};
  }
};

LastError& LastErrorOfThread() {
  thread_local LastError error;
  return error;
}

// Runs a call; what it raises is kept, and its number given.
template <typename Action>
std::int32_t Answer(Action action) noexcept {
  try {
    RequirePlatform();
    action();
    return 0;
  } catch (...) {
    try {
      LastErrorOfThread().Set(varnel::CurrentError());
    } catch (const varnel::PageEnded&) {
      LastErrorOfThread().Set({kPageEnded, u"Varnel", u"The page was ended", u"", 0});
    } catch (...) {
      LastErrorOfThread().told = {runtime_error::kOutOfMemory, "", "", "", 0};
    }
    const std::int32_t number = LastErrorOfThread().told.number;
    return number == 0 ? runtime_error::kInvalidArgument : number;
  }
}

template <typename T>
T& Required(T* pointer) {
  if (pointer == nullptr) RaiseRuntimeError(runtime_error::kInvalidArgument, u"an argument is missing");
  return *pointer;
}

// The caller's arguments as the library's, and what has become of them.
class CArguments {
 public:
  CArguments(varnel_value* values, std::size_t count) : m_given(values) {
    if (count > kMostArguments || (values == nullptr && count > 0))
      RaiseRuntimeError(runtime_error::kInvalidArgument, u"arguments");
    for (std::size_t i = 0; i < count; ++i) Take(i, i);
  }

  // The last `named` values go to the places that the names stand for.
  CArguments(varnel_value* values, std::size_t count, const char* const* names, std::size_t named,
             const varnel::Member& member)
      : m_given(values) {
    if (count > kMostArguments || named > count || (values == nullptr && count > 0))
      RaiseRuntimeError(runtime_error::kInvalidArgument, u"arguments");
    for (std::size_t i = 0; i < count - named; ++i) Take(i, i);
    for (std::size_t i = 0; i < named; ++i) {
      const String name = TextOfC(Required(names + i));
      const int place = member.ParameterNamed(name);
      if (place < 0 || IsTaken(static_cast<std::size_t>(place)))
        throw varnel::Error(
            {kNoSuchArgument, u"Varnel", u"There is no argument '" + name + u"' to name", u"", 0});
      Take(static_cast<std::size_t>(place), count - named + i);
    }
  }

  varnel::Arguments Values() { return m_values; }

  void HandBack() {
    for (std::size_t place = 0; place < m_values.size(); ++place) {
      if (m_index[place] == kNone || !HasChanged(place)) continue;
      varnel_value made;
      ToC(m_values[place], made);
      varnel_value& target = m_given[m_index[place]];
      ClearC(target);
      target = made;
    }
  }

 private:
  static constexpr std::size_t kNone = static_cast<std::size_t>(-1);

  bool IsTaken(std::size_t place) const { return place < m_index.size() && m_index[place] != kNone; }

  void Take(std::size_t place, std::size_t index) {
    if (m_values.size() <= place) {
      m_values.resize(place + 1, Variant(varnel::Missing()));
      m_before.resize(place + 1);
      m_elements.resize(place + 1);
      m_index.resize(place + 1, kNone);
    }
    m_values[place] = FromC(m_given[index]);
    m_before[place] = m_values[place];
    m_index[place] = index;
    if (const auto* array = m_values[place].As<varnel::ArrayPtr>()) m_elements[place] = (*array)->items;
  }

  bool HasChanged(std::size_t place) const {
    if (!(m_values[place] == m_before[place])) return true;
    const auto* array = m_values[place].As<varnel::ArrayPtr>();
    return array != nullptr && *array != nullptr && (*array)->items != m_elements[place];
  }

  varnel_value* m_given;
  std::vector<Variant> m_values;
  std::vector<Variant> m_before;
  std::vector<std::vector<Variant>> m_elements;  // of arrays, which are changed in place
  std::vector<std::size_t> m_index;
};

void Give(const Variant& value, varnel_value* result) {
  if (result == nullptr) return;
  varnel_value made;
  ToC(value, made);
  *result = made;
}

template <typename Call>
void RunCall(CArguments& arguments, varnel_value* result, Call call) {
  if (result != nullptr) *result = varnel_value{};
  Variant value;
  try {
    value = call(arguments.Values());
  } catch (const varnel::Error&) {
    arguments.HandBack();
    throw;
  }
  arguments.HandBack();
  Give(value, result);
}

const varnel::Member& MemberOf(const varnel::Object& object, const String& name) {
  const varnel::Member* member = object.Class().Find(name);
  if (member == nullptr) RaiseRuntimeError(runtime_error::kNoSuchMember, object.Class().name + u"." + name);
  return *member;
}

// An enumeration under way, held like an object.
class Walk : public varnel::Object {
 public:
  Walk(ObjectPtr collection, std::unique_ptr<varnel::Enumeration> elements)
      : m_collection(std::move(collection)), m_elements(std::move(elements)) {}
  const varnel::ClassInfo& Class() const override {
    static const varnel::ClassInfo info{u"Enumeration", {}};
    return info;
  }
  bool Next(Variant& value) { return m_elements->Next(value); }

 private:
  ObjectPtr m_collection;
  std::unique_ptr<varnel::Enumeration> m_elements;
};

}  // namespace

}  // namespace hostlinux

using namespace hostlinux;

const varnel_error* varnel_last_error(void) { return &LastErrorOfThread().told; }

int32_t varnel_create(const char* class_name, varnel_object* object) {
  return Answer([&] {
    Required(object) = 0;
    *object = Handles::OfThread().Add(MakeComponent(TextOfC(class_name)));
  });
}

int32_t varnel_call(varnel_object object, const char* member, varnel_value* values, size_t count,
                    varnel_value* result) {
  return Answer([&] {
    const ObjectPtr target = Handles::OfThread().Required(object);
    const String name = TextOfC(member);
    CArguments arguments(values, count);
    RunCall(arguments, result, [&](varnel::Arguments given) { return target->Call(name, given); });
  });
}

int32_t varnel_call_named(varnel_object object, const char* member, varnel_value* values, size_t count,
                          const char* const* names, size_t named, varnel_value* result) {
  return Answer([&] {
    const ObjectPtr target = Handles::OfThread().Required(object);
    const varnel::Member& called = MemberOf(*target, TextOfC(member));
    CArguments arguments(values, count, names, named, called);
    RunCall(arguments, result,
            [&](varnel::Arguments given) { return varnel::InvokeMember(*target, called, given); });
  });
}

int32_t varnel_call_default(varnel_object object, varnel_value* values, size_t count, varnel_value* result) {
  return Answer([&] {
    const ObjectPtr target = Handles::OfThread().Required(object);
    CArguments arguments(values, count);
    RunCall(arguments, result, [&](varnel::Arguments given) { return target->CallDefault(given); });
  });
}

int32_t varnel_get(varnel_object object, const char* property, varnel_value* result) {
  return Answer([&] {
    Required(result) = varnel_value{};
    const ObjectPtr target = Handles::OfThread().Required(object);
    Give(target->Get(TextOfC(property)), result);
  });
}

int32_t varnel_put(varnel_object object, const char* property, const varnel_value* value) {
  return Answer([&] {
    const ObjectPtr target = Handles::OfThread().Required(object);
    target->Put(TextOfC(property), FromC(Required(value)));
  });
}

int32_t varnel_elements(varnel_object collection, varnel_object* elements) {
  return Answer([&] {
    Required(elements) = 0;
    const ObjectPtr target = Handles::OfThread().Required(collection);
    auto enumeration = target->Enumerate();
    if (enumeration == nullptr)
      RaiseRuntimeError(runtime_error::kNoSuchMember, target->Class().name + u" is no collection");
    *elements = Handles::OfThread().Add(std::make_shared<Walk>(target, std::move(enumeration)));
  });
}

int32_t varnel_next(varnel_object elements, varnel_value* element, int32_t* found) {
  return Answer([&] {
    Required(element) = varnel_value{};
    Required(found) = 0;
    const auto walk = varnel::CastObject<Walk>(Handles::OfThread().Required(elements));
    if (walk == nullptr) RaiseRuntimeError(runtime_error::kTypeMismatch);
    Variant value;
    if (!walk->Next(value)) return;
    Give(value, element);
    *found = 1;
  });
}

int32_t varnel_class_name(varnel_object object, varnel_value* name) {
  return Answer([&] {
    Required(name) = varnel_value{};
    Give(Handles::OfThread().Required(object)->Class().name, name);
  });
}

void varnel_release(varnel_object object) { Handles::OfThread().Remove(object); }

void varnel_clear(varnel_value* value) {
  if (value != nullptr) ClearC(*value);
}

int32_t varnel_request_begin(const char* method, const char* path, const char* query, const char* body,
                             size_t body_size, const char* content_type) {
  return Answer([&] {
    HttpRequest http;
    http.method = varnel::ToUtf8(TextOfC(method));
    http.path = varnel::ToUtf8(TextOfC(path));
    if (query != nullptr) http.rawQuery = varnel::ToUtf8(TextOfC(query));
    http.target = http.path + (http.rawQuery.empty() ? "" : "?" + http.rawQuery);
    http.version = "HTTP/1.1";
    if (content_type != nullptr) http.headers.Set("Content-Type", varnel::ToUtf8(TextOfC(content_type)));
    if (body == nullptr && body_size > 0)
      RaiseRuntimeError(runtime_error::kInvalidArgument, u"a size without memory");
    if (body != nullptr) http.body.assign(body, body_size);
    BeginRequest(std::move(http));
  });
}

int32_t varnel_request_end(varnel_value* page) {
  return Answer([&] {
    if (page != nullptr) *page = varnel_value{};
    const std::string text = EndRequest();
    Give(varnel::FromUtf8(text), page);
  });
}

int32_t varnel_application_set(const char* key, const varnel_value* value) {
  return Answer([&] {
    const Variant given = FromC(Required(value));
    // Threads share the application, and an object belongs to one of them.
    if (given.IsObject() || given.Is<varnel::ArrayPtr>()) RaiseRuntimeError(runtime_error::kTypeMismatch);
    SetApplicationValue(TextOfC(key), given);
  });
}

int32_t varnel_application_messages(const char* folder) {
  return Answer([&] {
    const auto messages = LoadMessages(std::filesystem::path(varnel::ToUtf8(TextOfC(folder))));
    if (messages == nullptr)
      throw varnel::Error({kPathNotFound, u"Varnel", u"There is no such folder", u"", 0});
    SetApplicationValue(u"I18NMessageManager", Variant(messages));
  });
}
