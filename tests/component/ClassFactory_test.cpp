#include "varnel/component/ClassFactory.h"

#include <gtest/gtest.h>

#include "host-fake/FakeHost.h"
#include "varnel/page/Page.h"

namespace varnel {
namespace {

TEST(ClassFactory, MakesAClassInAnyCaseOfLetters) {
  hostfake::FakeHost host;
  EXPECT_NE(CastObject<Page>(CreateComponent(u"Varnel.Page")), nullptr);
  EXPECT_NE(CastObject<Page>(CreateComponent(u"VARNEL.page")), nullptr);
}

TEST(ClassFactory, MakesANewObjectEachTime) {
  hostfake::FakeHost host;
  EXPECT_NE(CreateComponent(u"Varnel.Page"), CreateComponent(u"Varnel.Page"));
}

TEST(ClassFactory, GivesNullForANameThatIsNotOneOfTheLibrarys) {
  hostfake::FakeHost host;
  EXPECT_EQ(CreateComponent(u"Varnel.Pages"), nullptr);
  EXPECT_EQ(CreateComponent(u"Page"), nullptr);
  EXPECT_EQ(CreateComponent(u""), nullptr);
}

TEST(ClassFactory, DoesNotMakeFieldsWhichOnlyTheLibraryMakes) {
  hostfake::FakeHost host;
  EXPECT_EQ(CreateComponent(u"Varnel.DField"), nullptr);
  EXPECT_EQ(CreateComponent(u"Varnel.DFields"), nullptr);
}

}  // namespace
}  // namespace varnel
