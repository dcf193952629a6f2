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

TEST(ClassFactory, MakesEveryClassThatAPageScriptCreates) {
  hostfake::FakeHost host;
  EXPECT_EQ(CreateComponent(u"Varnel.Page")->Class().name, u"Page");
  EXPECT_EQ(CreateComponent(u"Varnel.PageUtil")->Class().name, u"PageUtil");
  EXPECT_EQ(CreateComponent(u"Varnel.Table")->Class().name, u"Table");
  EXPECT_EQ(CreateComponent(u"Varnel.Upload")->Class().name, u"Upload");
  EXPECT_EQ(CreateComponent(u"Varnel.DRecordset")->Class().name, u"DRecordset");
  EXPECT_EQ(CreateComponent(u"Varnel.DGrid")->Class().name, u"DGrid");
  EXPECT_EQ(CreateComponent(u"Varnel.List")->Class().name, u"List");
  EXPECT_EQ(CreateComponent(u"Varnel.Utilities")->Class().name, u"Utilities");
  EXPECT_EQ(CreateComponent(u"Varnel.DataFunctions")->Class().name, u"DataFunctions");
  EXPECT_EQ(CreateComponent(u"Varnel.CatalogQuery")->Class().name, u"CatalogQuery");
}

// The page knows its components by narrow contracts only: here it makes and binds the real ones.
TEST(ClassFactory, MakesWhatThePageBinds) {
  hostfake::FakeHost host;
  const auto page = host.Create<Page>(u"Varnel.Page");
  page->OpenDatabaseConnection(u"A");
  const ObjectPtr recordset = page->DRecordset();
  const ObjectPtr table = page->Table();
  EXPECT_EQ(recordset->Class().name, u"DRecordset");
  EXPECT_EQ(page->DGrid(CastObject<IDRecordset>(recordset), u"Title", false, table)->Class().name, u"DGrid");
  EXPECT_EQ(page->List(u"Title", u"SELECT a FROM t", u"a")->Class().name, u"List");
  page->Add(table);
  EXPECT_EQ(host.Response().Writes().size(), 1U);
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
