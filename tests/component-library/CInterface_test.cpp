// The shared library as a program sees it that knows its C header only.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <thread>
#include <vector>

#include "host-linux/component/varnel_component.h"

extern "C" {
std::int32_t DllGetClassObject(const void* classID, const void* interfaceID, void** object);
std::int32_t DllCanUnloadNow();
std::int32_t DllRegisterServer();
std::int32_t DllUnregisterServer();
}

namespace {

using testing::HasSubstr;

varnel_value Text(const char* text) {
  varnel_value value{};
  value.type = VARNEL_TEXT;
  value.of.text = text;
  value.size = std::strlen(text);
  return value;
}

varnel_value Number(std::int32_t type, std::int32_t number) {
  varnel_value value{};
  value.type = type;
  value.of.number = number;
  return value;
}

varnel_value OfObject(varnel_object object) {
  varnel_value value{};
  value.type = VARNEL_OBJECT;
  value.of.object = object;
  return value;
}

// A result that is a text.
std::string Taken(varnel_value& value) {
  EXPECT_EQ(value.type, VARNEL_TEXT);
  std::string text(value.of.text, value.size);
  varnel_clear(&value);
  return text;
}

class CInterface : public testing::Test {
 protected:
  ~CInterface() override { EXPECT_EQ(DllCanUnloadNow(), 0) << "a test has left an object behind"; }

  varnel_object Make(const char* name) {
    varnel_object object = 0;
    EXPECT_EQ(varnel_create(name, &object), 0) << varnel_last_error()->description;
    return object;
  }
};

TEST_F(CInterface, MakesObjectsByNameAndCallsThemByName) {
  const varnel_object utilities = Make("varnel.utilities");
  varnel_value argument = Text("O'Hara");
  varnel_value result{};
  ASSERT_EQ(varnel_call(utilities, "sqlencodestr", &argument, 1, &result), 0);
  EXPECT_EQ(Taken(result), "N'O''Hara'");
  varnel_value name{};
  ASSERT_EQ(varnel_class_name(utilities, &name), 0);
  EXPECT_EQ(Taken(name), "Utilities");
  varnel_release(utilities);
}

TEST_F(CInterface, TellsWhatFailed) {
  varnel_object object = 7;
  EXPECT_EQ(varnel_create("Varnel.Nothing", &object), 429);
  EXPECT_EQ(object, 0U);
  EXPECT_EQ(varnel_last_error()->number, 429);
  EXPECT_THAT(varnel_last_error()->description, HasSubstr("Varnel.Nothing"));
  const varnel_object utilities = Make("Varnel.Utilities");
  varnel_value result{};
  EXPECT_EQ(varnel_call(utilities, "Nothing", nullptr, 0, &result), 438);
  EXPECT_EQ(varnel_call(utilities, "SQLEncodeStr", nullptr, 0, &result), 450);
  varnel_value argument = Text("many");
  EXPECT_EQ(varnel_call(utilities, "SQLEncodeLng", &argument, 1, &result), 13);
  EXPECT_EQ(std::string(varnel_last_error()->source), "Varnel");
  varnel_release(utilities);
}

TEST_F(CInterface, RefusesHandlesThatNameNothing) {
  const varnel_object utilities = Make("Varnel.Utilities");
  varnel_release(utilities);
  varnel_release(utilities);
  varnel_release(0);
  varnel_value result{};
  EXPECT_EQ(varnel_call(utilities, "SQLEncodeStr", nullptr, 0, &result), 424);
  EXPECT_EQ(varnel_call(0, "SQLEncodeStr", nullptr, 0, &result), 424);
  EXPECT_EQ(varnel_get(99999999, "Count", &result), 424);
  varnel_value dead = OfObject(utilities);
  const varnel_object other = Make("Varnel.Utilities");
  EXPECT_EQ(varnel_call(other, "SQLEncodeStr", &dead, 1, &result), 424);
  varnel_release(other);
}

TEST_F(CInterface, KeepsObjectsToTheirThread) {
  const varnel_object utilities = Make("Varnel.Utilities");
  std::thread([utilities] {
    varnel_value argument = Text("x");
    varnel_value result{};
    EXPECT_EQ(varnel_call(utilities, "SQLEncodeStr", &argument, 1, &result), 424);
    varnel_release(utilities);
  }).join();
  varnel_value argument = Text("x");
  varnel_value result{};
  EXPECT_EQ(varnel_call(utilities, "SQLEncodeStr", &argument, 1, &result), 0);
  varnel_clear(&result);
  varnel_release(utilities);
}

TEST_F(CInterface, RefusesArgumentsThatAreNone) {
  EXPECT_EQ(varnel_create(nullptr, nullptr), 5);
  EXPECT_EQ(varnel_create("\xff", nullptr), 5);
  varnel_object object = 0;
  EXPECT_EQ(varnel_create("\xff", &object), 5);
  const varnel_object utilities = Make("Varnel.Utilities");
  varnel_value result{};
  varnel_value bad = Number(77, 1);
  EXPECT_EQ(varnel_call(utilities, "SQLEncodeStr", &bad, 1, &result), 13);
  bad = Number(VARNEL_BYTE, 256);
  EXPECT_EQ(varnel_call(utilities, "SQLEncodeByte", &bad, 1, &result), 6);
  bad = Text("\xc3");
  EXPECT_EQ(varnel_call(utilities, "SQLEncodeStr", &bad, 1, &result), 5);
  bad = varnel_value{};
  bad.type = VARNEL_TEXT;
  bad.size = 5;
  EXPECT_EQ(varnel_call(utilities, "SQLEncodeStr", &bad, 1, &result), 5);
  EXPECT_EQ(varnel_call(utilities, "SQLEncodeStr", nullptr, 1, &result), 5);
  EXPECT_EQ(varnel_get(utilities, "Count", nullptr), 5);
  // An array in itself has no end.
  bad = varnel_value{};
  bad.type = VARNEL_ARRAY;
  bad.of.items = &bad;
  bad.size = 1;
  EXPECT_EQ(varnel_call(utilities, "QuickSort", &bad, 1, &result), 13);
  varnel_release(utilities);
}

TEST_F(CInterface, BringsResultsBackIntoTheArguments) {
  const varnel_object utilities = Make("Varnel.Utilities");
  varnel_value arguments[] = {Text("a=1&b=x%20y"), Text("b="), varnel_value{}};
  varnel_value result{};
  ASSERT_EQ(varnel_call(utilities, "RetrieveElementFromRequestFormCollection", arguments, 3, &result), 0);
  EXPECT_EQ(result.type, VARNEL_BOOLEAN);
  EXPECT_EQ(result.of.number, 1);
  EXPECT_EQ(arguments[0].owned, 0);
  EXPECT_EQ(Taken(arguments[2]), "x y");
  varnel_release(utilities);
}

TEST_F(CInterface, SortsAnArrayFromItsOwnFirstPositionOn) {
  const varnel_object utilities = Make("Varnel.Utilities");
  varnel_value items[] = {Text("b"), Text("C"), Text("a")};
  varnel_value arguments[3]{};
  arguments[0].type = VARNEL_ARRAY;
  arguments[0].of.items = items;
  arguments[0].size = 3;
  arguments[0].first = 5;
  arguments[1] = Number(VARNEL_LONG, 6);
  arguments[2] = Number(VARNEL_LONG, 7);
  ASSERT_EQ(varnel_call(utilities, "QuickSortPart", arguments, 3, nullptr), 0);
  ASSERT_EQ(arguments[0].size, 3U);
  EXPECT_EQ(arguments[0].first, 5);
  EXPECT_EQ(std::string(arguments[0].of.items[0].of.text), "b");
  EXPECT_EQ(std::string(arguments[0].of.items[1].of.text), "a");
  EXPECT_EQ(std::string(arguments[0].of.items[2].of.text), "C");
  varnel_clear(&arguments[0]);
  // The caller's own items were only read.
  EXPECT_EQ(std::string(items[0].of.text), "b");
  EXPECT_EQ(std::string(items[2].of.text), "a");
  varnel_release(utilities);
}

TEST_F(CInterface, TakesArgumentsByName) {
  const varnel_object formats = Make("Varnel.DataFunctions");
  const char* names[] = {"I_BWITHTIME", "i_vLocaleID"};
  varnel_value arguments[3] = {varnel_value{}, Number(VARNEL_BOOLEAN, 0), Number(VARNEL_LONG, 1033)};
  arguments[0].type = VARNEL_DATE;
  arguments[0].of.real = 36526;
  varnel_value result{};
  ASSERT_EQ(varnel_call_named(formats, "DateTime", arguments, 3, names, 2, &result), 0);
  EXPECT_EQ(Taken(result), "1/1/2000");
  const char* unknown[] = {"iNothing"};
  EXPECT_EQ(varnel_call_named(formats, "DateTime", arguments, 3, unknown, 1, &result), 448);
  const char* twice[] = {"i_dDateValue"};
  EXPECT_EQ(varnel_call_named(formats, "DateTime", arguments, 2, twice, 1, &result), 448);
  EXPECT_EQ(varnel_call_named(formats, "DateTime", arguments, 1, names, 2, &result), 5);
  varnel_release(formats);
}

TEST_F(CInterface, WritesAPageOfARequest) {
  ASSERT_EQ(varnel_request_begin("GET", "/shop/list.asp", "a=1", nullptr, 0, nullptr), 0);
  EXPECT_EQ(varnel_request_begin("GET", "/x", nullptr, nullptr, 0, nullptr), 5);
  const varnel_object page = Make("Varnel.Page");
  varnel_value table{};
  ASSERT_EQ(varnel_call(page, "Table", nullptr, 0, &table), 0);
  varnel_value cell = Text("\xe2\x82\xac");
  ASSERT_EQ(varnel_call(table.of.object, "Cell", &cell, 1, nullptr), 0);
  varnel_value component = OfObject(table.of.object);
  ASSERT_EQ(varnel_call(page, "Add", &component, 1, nullptr), 0);
  varnel_value link = Text("y.asp");
  varnel_value result{};
  ASSERT_EQ(varnel_call(page, "URL", &link, 1, &result), 0);
  EXPECT_EQ(Taken(result), "/shop/y.asp");
  varnel_clear(&table);
  varnel_value written{};
  ASSERT_EQ(varnel_request_end(&written), 0);
  EXPECT_THAT(Taken(written), HasSubstr(">\xe2\x82\xac<"));
  EXPECT_EQ(varnel_request_end(nullptr), 5);
  // The page has lost its request, not its wits.
  EXPECT_EQ(varnel_call(page, "Add", &component, 1, nullptr), 424);
  varnel_release(page);
}

TEST_F(CInterface, NeedsARequestForAPage) {
  varnel_object page = 0;
  EXPECT_EQ(varnel_create("Varnel.Page", &page), 91);
}

TEST_F(CInterface, ReadsADatabaseAndWalksThroughItsFields) {
  const varnel_object connection = Make("ADODB.Connection");
  varnel_value text = Text("Provider=SQLite;Data Source=:memory:");
  ASSERT_EQ(varnel_call(connection, "Open", &text, 1, nullptr), 0) << varnel_last_error()->description;
  varnel_value query = Text("SELECT 1 AS ONE, 'x' AS TWO");
  varnel_value rows{};
  ASSERT_EQ(varnel_call(connection, "Execute", &query, 1, &rows), 0) << varnel_last_error()->description;
  varnel_value fields{};
  ASSERT_EQ(varnel_get(rows.of.object, "Fields", &fields), 0);
  varnel_object walk = 0;
  ASSERT_EQ(varnel_elements(fields.of.object, &walk), 0);
  std::vector<std::string> names;
  varnel_value field{};
  for (std::int32_t found = 1; varnel_next(walk, &field, &found) == 0 && found != 0; varnel_clear(&field)) {
    varnel_value name{};
    ASSERT_EQ(varnel_get(field.of.object, "Name", &name), 0);
    names.push_back(Taken(name));
  }
  EXPECT_THAT(names, testing::ElementsAre("ONE", "TWO"));
  varnel_object nothing = 0;
  EXPECT_EQ(varnel_elements(connection, &nothing), 438);
  varnel_value unused{};
  std::int32_t found = 0;
  EXPECT_EQ(varnel_next(connection, &unused, &found), 13);
  varnel_release(walk);
  varnel_clear(&fields);
  varnel_clear(&rows);
  varnel_release(connection);
}

TEST_F(CInterface, KeepsObjectsOutOfTheApplication) {
  const varnel_object utilities = Make("Varnel.Utilities");
  varnel_value object = OfObject(utilities);
  EXPECT_EQ(varnel_application_set("Key", &object), 13);
  varnel_value text = Text("value");
  EXPECT_EQ(varnel_application_set("Key", &text), 0);
  EXPECT_EQ(varnel_application_messages("/nowhere/at/all"), 76);
  varnel_release(utilities);
}

TEST_F(CInterface, HasTheExportsOfAComponentServer) {
  // Tables of functions, as C sees them.
  struct Unknown {
    const struct Functions {
      std::int32_t (*queryInterface)(void* self, const void* id, void** object);
      std::uint32_t (*addRef)(void* self);
      std::uint32_t (*release)(void* self);
      std::int32_t (*createInstance)(void* self, void* outer, const void* id, void** object);
    }* functions;
  };
  // {BF2B8C07-8B2E-457B-B795-2361FE5FA121}, IClassFactory and IDispatch, byte by byte.
  const unsigned char utilities[] = {0x07, 0x8C, 0x2B, 0xBF, 0x2E, 0x8B, 0x7B, 0x45,
                                     0xB7, 0x95, 0x23, 0x61, 0xFE, 0x5F, 0xA1, 0x21};
  const unsigned char classFactory[] = {1, 0, 0, 0, 0, 0, 0, 0, 0xC0, 0, 0, 0, 0, 0, 0, 0x46};
  const unsigned char dispatch[] = {0, 4, 2, 0, 0, 0, 0, 0, 0xC0, 0, 0, 0, 0, 0, 0, 0x46};
  void* found = nullptr;
  ASSERT_EQ(DllGetClassObject(utilities, classFactory, &found), 0);
  const auto* factory = static_cast<const Unknown*>(found);
  EXPECT_EQ(DllCanUnloadNow(), 1);
  void* made = nullptr;
  ASSERT_EQ(factory->functions->createInstance(found, nullptr, dispatch, &made), 0);
  EXPECT_EQ(factory->functions->release(found), 0U);
  EXPECT_EQ(DllCanUnloadNow(), 1);
  EXPECT_EQ(static_cast<const Unknown*>(made)->functions->release(made), 0U);
  EXPECT_EQ(DllCanUnloadNow(), 0);
  EXPECT_EQ(DllGetClassObject(dispatch, classFactory, &found), static_cast<std::int32_t>(0x80040111));
  EXPECT_EQ(found, nullptr);
  // There is nothing to register with, and that is no failure.
  EXPECT_EQ(DllRegisterServer(), 1);
  EXPECT_EQ(DllUnregisterServer(), 1);
}

}  // namespace
