#include "host-linux/sessions/ValueBytes.h"

#include <gtest/gtest.h>

#include "varnel/automation/Collection.h"

namespace {

using namespace hostlinux;
using varnel::Long;
using varnel::Variant;

std::optional<Variant> Kept(const Variant& value) {
  const auto bytes = BytesOf(KeyedValue{u"Key", 7, value});
  if (!bytes) return std::nullopt;
  const auto read = ValueOf(*bytes);
  EXPECT_TRUE(read);
  EXPECT_EQ(read->key, u"Key");
  EXPECT_EQ(read->order, 7U);
  return read->value;
}

TEST(ValueBytesTest, ValuesKeepTheirTypes) {
  const std::vector<Variant> values = {Variant(),
                                       varnel::Null(),
                                       true,
                                       false,
                                       varnel::Byte{200},
                                       varnel::Integer{-3},
                                       Long{70000},
                                       1.25,
                                       varnel::Date{36894.5},
                                       u"",
                                       u"a\u00e9\u4e2d",
                                       Variant(nullptr)};
  for (const Variant& value : values) EXPECT_EQ(Kept(value), value);
  EXPECT_EQ(Kept(Variant(varnel::Missing())), Variant());
}

TEST(ValueBytesTest, ArraysAndBytesAreCopied) {
  auto inner = std::make_shared<varnel::Array>();
  inner->items = {Variant(Long{1}), Variant(u"b")};
  auto outer = std::make_shared<varnel::Array>();
  outer->items = {Variant(inner), Variant(std::make_shared<const varnel::Bytes>(varnel::Bytes{0, 255}))};
  const auto kept = Kept(Variant(outer));
  const auto& items = (*kept->As<varnel::ArrayPtr>())->items;
  ASSERT_EQ(items.size(), 2U);
  EXPECT_EQ((*items[0].As<varnel::ArrayPtr>())->items, inner->items);
  EXPECT_EQ(**items[1].As<varnel::BytesPtr>(), (varnel::Bytes{0, 255}));
}

TEST(ValueBytesTest, ObjectsAreNot) {
  const auto object = std::make_shared<varnel::Collection>();
  EXPECT_FALSE(Kept(Variant(object)));
  auto array = std::make_shared<varnel::Array>();
  array->items = {Variant(Long{1}), Variant(object)};
  EXPECT_FALSE(Kept(Variant(array)));
  array->items = {Variant(array)};
  EXPECT_FALSE(Kept(Variant(array)));
  array->items.clear();
}

TEST(ValueBytesTest, EachPartOfThemAloneIsRefused) {
  auto array = std::make_shared<varnel::Array>();
  array->items = {Variant(Long{1}), Variant(u"text"), Variant(2.5)};
  const std::string bytes = *BytesOf(KeyedValue{u"a", 0, Variant(array)});
  for (std::size_t size = 0; size < bytes.size(); ++size)
    EXPECT_FALSE(ValueOf(bytes.substr(0, size))) << size;
  EXPECT_FALSE(ValueOf(bytes + "x"));
  EXPECT_TRUE(ValueOf(bytes));
}

}  // namespace
