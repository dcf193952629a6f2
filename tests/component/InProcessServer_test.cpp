// When a program may let go of the library.
#include "varnel/component/InProcessServer.h"

#include "host-fake/FakeHost.h"
#include "tests/component/DispatchClient.h"
#include "varnel/automation/Collection.h"
#include "varnel/component/ClassIds.h"
#include "varnel/component/ObjectWrappers.h"
#include "varnel/recordset/DFields.h"
#include "varnel/utilities/Utilities.h"

namespace componenttest {
namespace {

using varnel::Long;

class InProcessServerTest : public testing::Test {
 protected:
  InProcessServerTest() { EXPECT_TRUE(CanUnload()) << "a test before has left an object behind"; }
  ~InProcessServerTest() override { EXPECT_TRUE(CanUnload()); }

  bool CanUnload() {
    const Long answer = m_server.CanUnloadNow();
    EXPECT_TRUE(answer == S_OK || answer == S_FALSE);
    return answer == S_OK;
  }

  ComPointer<IClassFactory> ClassObject(const char16_t* name) {
    void* found = nullptr;
    EXPECT_EQ(m_server.GetClassObject(&IdsOfClass(name)->classID, &kClassFactoryId, &found), S_OK);
    return ComPointer<IClassFactory>::Taking(static_cast<IClassFactory*>(found));
  }

  const hostfake::FakeHost m_host;
  InProcessServer m_server{nullptr, nullptr};
};

TEST_F(InProcessServerTest, IsKeptByAClassObjectAndByWhatItMade) {
  auto factory = ClassObject(u"Utilities");
  EXPECT_FALSE(CanUnload());
  void* made = nullptr;
  ASSERT_EQ(factory->CreateInstance(nullptr, kDispatchId, &made), S_OK);
  factory = nullptr;
  EXPECT_FALSE(CanUnload());
  auto* object = static_cast<IDispatch*>(made);
  EXPECT_EQ(object->AddRef(), 2U);
  EXPECT_EQ(object->Release(), 1U);
  EXPECT_FALSE(CanUnload());
  EXPECT_EQ(object->Release(), 0U);
  EXPECT_TRUE(CanUnload());
  // Once more than it was held changes nothing.
  EXPECT_EQ(object->Release(), 0U);
  EXPECT_TRUE(CanUnload());
}

TEST_F(InProcessServerTest, IsKeptByLocks) {
  auto factory = ClassObject(u"Table");
  EXPECT_EQ(factory->LockServer(1), S_OK);
  EXPECT_EQ(factory->LockServer(1), S_OK);
  factory = nullptr;
  EXPECT_FALSE(CanUnload());
  factory = ClassObject(u"DGrid");
  EXPECT_EQ(factory->LockServer(0), S_OK);
  factory = nullptr;
  EXPECT_FALSE(CanUnload());
  factory = ClassObject(u"Table");
  EXPECT_EQ(factory->LockServer(0), S_OK);
  // Of one that nobody had locked.
  EXPECT_EQ(factory->LockServer(0), S_OK);
  factory = nullptr;
  EXPECT_TRUE(CanUnload());
}

TEST_F(InProcessServerTest, IsKeptByAWalkAlone) {
  const auto items = std::make_shared<varnel::Collection>();
  items->Add(u"one", varnel::Missing());
  const auto fields = std::make_shared<varnel::DFields>();
  std::shared_ptr<varnel::Collection> bound = items;
  fields->Initialize(bound);
  OwnedVariant walk;
  {
    const ComPointer<IDispatch> wrapped = WrapObject(fields);
    DISPPARAMS none{};
    ASSERT_EQ(
        wrapped->Invoke(DISPID_NEWENUM, kNoId, 0, DISPATCH_PROPERTYGET, &none, &walk.Get(), nullptr, nullptr),
        S_OK);
  }
  EXPECT_FALSE(CanUnload());
  VariantClear(&walk.Get());
  EXPECT_TRUE(CanUnload());
}

TEST_F(InProcessServerTest, IsNotKeptByWhatFailed) {
  const auto factory = ClassObject(u"Utilities");
  const auto before = LiveCount::Now();
  void* made = &made;
  EXPECT_EQ(factory->CreateInstance(factory.Get(), kDispatchId, &made), CLASS_E_NOAGGREGATION);
  EXPECT_EQ(made, nullptr);
  EXPECT_EQ(factory->CreateInstance(nullptr, kEnumVariantId, &made), E_NOINTERFACE);
  EXPECT_EQ(made, nullptr);
  EXPECT_EQ(factory->CreateInstance(nullptr, kDispatchId, nullptr), E_POINTER);
  EXPECT_EQ(LiveCount::Now(), before);
  void* found = &found;
  EXPECT_EQ(m_server.GetClassObject(&kNoId, &kClassFactoryId, &found),
            static_cast<Long>(CLASS_E_CLASSNOTAVAILABLE));
  EXPECT_EQ(found, nullptr);
  EXPECT_EQ(m_server.GetClassObject(&IdsOfClass(u"Table")->classID, &kDispatchId, &found),
            static_cast<Long>(E_NOINTERFACE));
  EXPECT_EQ(found, nullptr);
  EXPECT_EQ(LiveCount::Now(), before);
}

}  // namespace
}  // namespace componenttest
