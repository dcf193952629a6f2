#include "varnel/component/ClassFactory.h"

#include <algorithm>
#include <array>

#include "varnel/page/Page.h"

namespace varnel {

namespace {

struct CreatableClass {
  StringView progID;
  ObjectPtr (*make)();
};

constexpr std::array kClasses{
    CreatableClass{u"Varnel.Page", [] { return ObjectPtr(std::make_shared<Page>()); }},
};

}  // namespace

ObjectPtr CreateComponent(StringView progID) {
  const auto found = std::find_if(kClasses.begin(), kClasses.end(), [&](const CreatableClass& creatable) {
    return EqualsNoCase(creatable.progID, progID);
  });
  return found == kClasses.end() ? nullptr : found->make();
}

}  // namespace varnel
