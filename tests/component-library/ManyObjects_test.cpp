// Many objects one after the other, and on two threads.
#include <gtest/gtest.h>

#include <array>
#include <cstdlib>
#include <cstring>
#include <string>
#include <thread>

#include "host-linux/component/varnel_component.h"
#include "tests/Sanitizers.h"

#ifdef VARNEL_IS_SANITIZED
// Their own header comes with one compiler only.
extern "C" std::size_t __sanitizer_get_current_allocated_bytes();
#else
#include <malloc.h>
#endif

extern "C" std::int32_t DllCanUnloadNow();

namespace {

std::size_t AllocatedBytes() {
#ifdef VARNEL_IS_SANITIZED
  return __sanitizer_get_current_allocated_bytes();
#else
  const struct mallinfo2 all = ::mallinfo2();
  return all.uordblks + all.hblkhd;
#endif
}

varnel_value Text(const char* text) {
  varnel_value value{};
  value.type = VARNEL_TEXT;
  value.of.text = text;
  value.size = std::strlen(text);
  return value;
}

void MakeAndRelease(const char* name) {
  varnel_object object = 0;
  ASSERT_EQ(varnel_create(name, &object), 0) << name << varnel_last_error()->description;
  varnel_release(object);
}

constexpr std::array kClasses{"Varnel.Utilities", "Varnel.Page",         "Varnel.PageUtil",
                              "Varnel.Table",     "Varnel.DRecordset",   "Varnel.DGrid",
                              "Varnel.Upload",    "Varnel.CatalogQuery", "Varnel.DataFunctions"};

// A request holds what it has activated until its end: each has one object of every class.
void Cycle(int count) {
  for (int i = 0; i < count; i += static_cast<int>(kClasses.size())) {
    ASSERT_EQ(varnel_request_begin("GET", "/shop/list.asp", "", nullptr, 0, nullptr), 0);
    for (const char* name : kClasses) MakeAndRelease(name);
    ASSERT_EQ(varnel_request_end(nullptr), 0);
  }
}

TEST(ManyObjects, LeaveMemoryFlat) {
  // Wrappers are kept for a while before they serve another object.
  Cycle(5000);
  const std::size_t before = AllocatedBytes();
  Cycle(100'000);
  const std::size_t after = AllocatedBytes();
  // One byte of each would be more.
  EXPECT_LT(after, before + 50'000) << "from " << before << " to " << after;
  RecordProperty("bytes_before", std::to_string(before));
  RecordProperty("bytes_after", std::to_string(after));
  EXPECT_EQ(DllCanUnloadNow(), 0);
}

TEST(ManyObjects, OfCallsThatFailLeaveMemoryFlat) {
  varnel_object utilities = 0;
  ASSERT_EQ(varnel_create("Varnel.Utilities", &utilities), 0);
  const auto cycle = [utilities](int count) {
    for (int i = 0; i < count; ++i) {
      varnel_value bad = Text("many");
      varnel_value result{};
      ASSERT_EQ(varnel_call(utilities, "SQLEncodeLng", &bad, 1, &result), 13);
    }
  };
  cycle(2000);
  const std::size_t before = AllocatedBytes();
  cycle(20'000);
  EXPECT_LT(AllocatedBytes(), before + 10'000);
  varnel_release(utilities);
}

// Each thread has its request, its connection and its objects.
void Work() {
  for (int i = 0; i < 40; ++i) {
    ASSERT_EQ(varnel_request_begin("GET", "/shop/list.asp", "", nullptr, 0, nullptr), 0);
    varnel_object page = 0;
    ASSERT_EQ(varnel_create("Varnel.Page", &page), 0);
    varnel_value table{};
    ASSERT_EQ(varnel_call(page, "Table", nullptr, 0, &table), 0);
    varnel_value cell = Text("a cell");
    ASSERT_EQ(varnel_call(table.of.object, "Cell", &cell, 1, nullptr), 0);
    ASSERT_EQ(varnel_call(page, "Add", &table, 1, nullptr), 0);
    varnel_object rs = 0;
    ASSERT_EQ(varnel_create("Varnel.DRecordset", &rs), 0);
    varnel_value connection = Text("Provider=SQLite;Data Source=:memory:");
    ASSERT_EQ(varnel_call(rs, "SetConnection", &connection, 1, nullptr), 0)
        << varnel_last_error()->description;
    varnel_value query[] = {Text("SELECT 1 AS ONE"), Text("ONE")};
    varnel_value found{};
    varnel_call(rs, "OpenRS", query, 2, &found);
    varnel_clear(&found);
    varnel_value many = Text("many");
    varnel_object utilities = 0;
    ASSERT_EQ(varnel_create("Varnel.Utilities", &utilities), 0);
    EXPECT_EQ(varnel_call(utilities, "SQLEncodeLng", &many, 1, &found), 13);
    EXPECT_EQ(std::string(varnel_last_error()->source), "Varnel");
    varnel_release(utilities);
    varnel_release(rs);
    varnel_clear(&table);
    varnel_release(page);
    varnel_value written{};
    ASSERT_EQ(varnel_request_end(&written), 0);
    EXPECT_NE(std::string(written.of.text, written.size).find("a cell"), std::string::npos);
    varnel_clear(&written);
  }
}

TEST(ManyObjects, ServeTwoThreadsWithTheirOwn) {
  std::thread one(Work);
  std::thread two(Work);
  one.join();
  two.join();
  EXPECT_EQ(DllCanUnloadNow(), 0);
}

}  // namespace
