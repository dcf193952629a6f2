#include "varnel/component/ComponentServer.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace varnel {
namespace {

using testing::DoAll;
using testing::Return;
using testing::SetArgPointee;

class MockServer : public host::IComponentServer {
 public:
  MockServer() { SetComponentServer(this); }
  ~MockServer() override { SetComponentServer(nullptr); }
  MOCK_METHOD(Long, GetClassObject, (const void*, const void*, void**), (override));
  MOCK_METHOD(Long, CanUnloadNow, (), (override));
  MOCK_METHOD(Long, RegisterServer, (), (override));
  MOCK_METHOD(Long, UnregisterServer, (), (override));
};

TEST(ComponentServer, HandsOverToThePlatform) {
  MockServer server;
  const int classID = 1;
  const int interfaceID = 2;
  int object = 3;
  void* result = nullptr;
  EXPECT_CALL(server, GetClassObject(&classID, &interfaceID, &result))
      .WillOnce(DoAll(SetArgPointee<2>(static_cast<void*>(&object)), Return(0)));
  EXPECT_CALL(server, CanUnloadNow()).WillOnce(Return(0));
  EXPECT_CALL(server, RegisterServer()).WillOnce(Return(-1));
  EXPECT_CALL(server, UnregisterServer()).WillOnce(Return(-2));

  EXPECT_EQ(DllGetClassObject(&classID, &interfaceID, &result), 0);
  EXPECT_EQ(result, &object);
  EXPECT_EQ(DllCanUnloadNow(), 0);
  EXPECT_EQ(DllRegisterServer(), -1);
  EXPECT_EQ(DllUnregisterServer(), -2);
}

TEST(ComponentServer, WithoutAServerHasNoClassAndStaysLoaded) {
  int object = 3;
  void* result = &object;
  EXPECT_EQ(DllGetClassObject(nullptr, nullptr, &result), static_cast<Long>(0x80040111));
  EXPECT_EQ(result, nullptr);
  EXPECT_EQ(DllCanUnloadNow(), 1);
}

TEST(ComponentServer, WithoutAServerRefusesRegistration) {
  EXPECT_EQ(DllRegisterServer(), static_cast<Long>(0x80040201));
  EXPECT_EQ(DllUnregisterServer(), static_cast<Long>(0x80040201));
}

TEST(ComponentServer, RefusesAMissingPlaceForTheResult) {
  EXPECT_EQ(DllGetClassObject(nullptr, nullptr, nullptr), static_cast<Long>(0x80004003));
}

}  // namespace
}  // namespace varnel
