// Components of a program that embeds the host: their life in a request, and arguments that they change.

#include <algorithm>
#include <atomic>
#include <stdexcept>

#include "tests/application/ServedSite.h"
#include "varnel/automation/Members.h"
#include "varnel/host/IObjectControl.h"

namespace {

using varnel::Variant;

// What became of all Witnesses together.
struct Witnessed {
  std::atomic<int> activated = 0;
  std::atomic<int> deactivated = 0;
};

class Witness : public varnel::Object, public varnel::host::IObjectControl {
 public:
  explicit Witness(Witnessed& seen) : m_seen(seen) {}

  const varnel::ClassInfo& Class() const override {
    static const varnel::ClassInfo info{u"Witness",
                                        {
                                            varnel::Method<&Witness::Activate>(u"Activate"),
                                            varnel::Method<&Witness::Reverse>(u"Reverse"),
                                            varnel::ReadOnly<&Witness::Activated>(u"Activated"),
                                        }};
    return info;
  }

  void Activate() override { ++m_seen.activated; }
  void Deactivate() override { ++m_seen.deactivated; }
  varnel::Long Activated() { return m_seen.activated; }

  // Turns the elements of an array around, in the array that the caller holds.
  void Reverse(Variant& values) {
    const varnel::ArrayPtr* array = values.As<varnel::ArrayPtr>();
    if (array == nullptr) varnel::RaiseRuntimeError(varnel::runtime_error::kTypeMismatch);
    std::reverse((*array)->items.begin(), (*array)->items.end());
  }

 private:
  Witnessed& m_seen;
};

class OwnComponentsTest : public hosttest::PageTest {
 protected:
  OwnComponentsTest() {
    ownComponents = [this](varnel::StringView progID) -> varnel::ObjectPtr {
      return varnel::EqualsNoCase(progID, u"Test.Witness") ? std::make_shared<Witness>(seen) : nullptr;
    };
  }
  Witnessed seen;
};

TEST_F(OwnComponentsTest, ComponentIsActivatedRightAfterItIsMadeAndASecondTimeDoesNoHarm) {
  EXPECT_EQ(Output("<% var w = Server.CreateObject('test.witness'); %><%= w.Activated %>"
                   "<% w.Activate(); %><%= w.Activated %>"),
            "12");
}

TEST_F(OwnComponentsTest, ComponentIsDeactivatedWhenItsRequestEnds) {
  Output("<% var a = Server.CreateObject('Test.Witness'), b = Server.CreateObject('Test.Witness'); %>");
  EXPECT_EQ(seen.activated, 2);
  EXPECT_EQ(seen.deactivated, 2);
}

TEST_F(OwnComponentsTest, ComponentOfAFailedPageIsDeactivatedToo) {
  EXPECT_EQ(Ask("<% var w = Server.CreateObject('Test.Witness'); w.Nothing(); %>").status, 500);
  EXPECT_EQ(seen.deactivated, 1);
}

TEST_F(OwnComponentsTest, ArrayPassedByReferenceIsChangedInPlace) {
  EXPECT_EQ(Output("<% var list = ['a', 'b', 'c'], same = list;"
                   " Server.CreateObject('Test.Witness').Reverse(list); %>"
                   "<%= same.join('') %>"),
            "cba");
}

TEST_F(OwnComponentsTest, LibrarysClassesGoBeforeThem) {
  ownComponents = [](varnel::StringView) -> varnel::ObjectPtr { throw std::runtime_error("not asked"); };
  EXPECT_EQ(Value("Server.CreateObject('Varnel.Page').URL('a.asp')"), "/shop/a.asp");
}

}  // namespace
