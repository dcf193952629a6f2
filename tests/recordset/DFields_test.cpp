#include "varnel/recordset/DFields.h"

#include <gtest/gtest.h>

#include "host-fake/ErrorOf.h"
#include "varnel/automation/Convert.h"

namespace varnel {
namespace {

std::shared_ptr<DFields> FieldsOf(const std::vector<String>& names) {
  auto collection = std::make_shared<Collection>();
  for (const String& name : names) {
    auto field = std::make_shared<DField>();
    field->Name = name;
    field->Hidden_Data_Index_ = static_cast<Integer>(collection->Count());
    AddFieldToCollection(*collection, field, name);
  }
  auto fields = std::make_shared<DFields>();
  fields->Initialize(collection);
  return fields;
}

ErrInfo ErrorOf(const std::shared_ptr<DFields>& fields, const Variant& key) {
  return hostfake::ErrorOf([&] { fields->Item(key); });
}

Integer IndexOf(const std::shared_ptr<DFields>& fields, const Variant& key) {
  return fields->Item(key)->Hidden_Data_Index_;
}

TEST(DFields, PositionsCountFromZero) {
  const auto fields = FieldsOf({u"id", u"Price"});
  EXPECT_EQ(fields->Count(), 2);
  EXPECT_EQ(IndexOf(fields, Integer{0}), 0);
  EXPECT_EQ(IndexOf(fields, Long{1}), 1);
  EXPECT_EQ(IndexOf(fields, 0.5), 1);  // 1.5 rounds to the even 2, which counts from 1
}

TEST(DFields, NamesMayBeQualifiedBracketedAndInAnyCase) {
  const auto fields = FieldsOf({u"id", u"Price"});
  for (const StringView key : {u"[Price]", u"p.Price", u"price", u"[p.Price]", u"t.[a].PRICE"}) {
    EXPECT_EQ(IndexOf(fields, key), 1);
  }
}

TEST(DFields, AFieldAsKeyIsItsValue) {
  const auto fields = FieldsOf({u"id", u"Price"});
  const auto key = std::make_shared<DField>();
  key->Value = u"p.Price";
  EXPECT_EQ(IndexOf(fields, key), 1);
  key->Value = Long{0};
  EXPECT_EQ(IndexOf(fields, key), 0);
}

TEST(DFields, BracketsCountOnlyAroundTheWhole) { EXPECT_EQ(ErrorOf(FieldsOf({u"a"}), u"t.[a]").Number, 5); }

TEST(DFields, AMissingKeyIsToldAsItWasGiven) {
  const ErrInfo error = ErrorOf(FieldsOf({u"id"}), u"[p.Gone]");
  EXPECT_EQ(error.Number, 5);
  EXPECT_EQ(error.Source, u"ADODB.Fields");
  EXPECT_TRUE(error.Description.starts_with(
      u"Database field with index or name '[p.Gone]' not found. Underlying error: 5: "));
}

TEST(DFields, TheFirstPositionBehindTheLastIsNotFound) {
  const ErrInfo error = ErrorOf(FieldsOf({u"id", u"name"}), Long{2});
  EXPECT_EQ(error.Number, 9);
  EXPECT_TRUE(error.Description.starts_with(
      u"Database field with index or name '2' not found. Underlying error: 9: "));
  EXPECT_EQ(ErrorOf(FieldsOf({u"id"}), Long{-1}).Number, 9);
}

TEST(DFields, TheUnderlyingErrorIsToldInFull) {
  EXPECT_EQ(ErrorOf(FieldsOf({}), Long{0}).Description,
            u"Database field with index or name '0' not found. Underlying error: 9: Varnel: Subscript out of "
            u"range");
}

TEST(DFields, TheEmptyTextHasNothingBetweenTheQuotes) {
  const ErrInfo error = ErrorOf(FieldsOf({u"id"}), u"");
  EXPECT_EQ(error.Number, 9);
  EXPECT_TRUE(error.Description.starts_with(
      u"Database field with index or name '' not found. Underlying error: 9: "));
}

TEST(DFields, ColumnsOfOneNameAreReachedByPosition) {
  const auto fields = FieldsOf({u"a", u"A", u"a"});
  EXPECT_EQ(fields->Count(), 3);
  EXPECT_EQ(IndexOf(fields, u"a"), 0);
  EXPECT_EQ(IndexOf(fields, Long{1}), 1);
  EXPECT_EQ(IndexOf(fields, u"a_X_X"), 2);
  EXPECT_EQ(fields->Item(Long{1})->Name, u"A");
  EXPECT_EQ(fields->Item(Long{2})->Name, u"a");
}

TEST(DFields, AKeptFieldIsTheOneOfItsName) {
  const auto fields = FieldsOf({u"id", u"Price"});
  for (const StringView name : {u"Price", u"[Price]", u"p.PRICE", u"[p.Price]"}) {
    const ObjectPtr* kept = fields->KeptItem(name);
    ASSERT_NE(kept, nullptr);
    EXPECT_EQ(*kept, fields->Item(name));
  }
}

// The whole call tells then what is wrong.
TEST(DFields, WhatHasNoFieldIsNotKept) {
  for (const StringView name : {u"Gone", u"", u"[]", u"p."})
    EXPECT_EQ(FieldsOf({u"id"})->KeptItem(name), nullptr);
  EXPECT_EQ(std::make_shared<DFields>()->KeptItem(u"id"), nullptr);
}

TEST(DFields, WhatIsNoFieldIsNotKept) {
  auto collection = std::make_shared<Collection>();
  collection->Add(collection, u"it");
  collection->Add(Long{1}, u"number");
  collection->Add(ObjectPtr(), u"nothing");
  DFields fields;
  fields.Initialize(collection);
  for (const StringView name : {u"it", u"number", u"nothing"}) EXPECT_EQ(fields.KeptItem(name), nullptr);
  collection->LetGo();
}

TEST(DFields, AreWalkedInOrder) {
  const auto walk = FieldsOf({u"b", u"a"})->Enumerate();
  Variant item;
  ASSERT_TRUE(walk->Next(item));
  EXPECT_EQ(CastObject<DField>(item)->Name, u"b");
  ASSERT_TRUE(walk->Next(item));
  EXPECT_EQ(CastObject<DField>(item)->Name, u"a");
  EXPECT_FALSE(walk->Next(item));
}

TEST(DFields, TheEnumeratorIsReachedByNameAndBeginsEachWalkAnew) {
  const auto enumerator = ToObject(FieldsOf({u"b", u"a"})->Get(u"newenum"));
  for (int round = 0; round < 2; ++round) {
    const auto walk = enumerator->Enumerate();
    Variant item;
    ASSERT_TRUE(walk->Next(item));
    EXPECT_EQ(CastObject<DField>(item)->Name, u"b");
    ASSERT_TRUE(walk->Next(item));
    EXPECT_EQ(CastObject<DField>(item)->Name, u"a");
    EXPECT_FALSE(walk->Next(item));
  }
}

TEST(DFields, ItemIsTheDefaultMember) {
  const auto fields = FieldsOf({u"a"});
  Variant key = u"A";
  const Variant item = fields->CallDefault(Arguments(&key, 1));
  EXPECT_EQ(CastObject<DField>(item)->Name, u"a");
  EXPECT_EQ(fields->Get(u"count"), Variant(Long{1}));
}

TEST(DField, IsItsValueByDefault) {
  const auto field = std::make_shared<DField>();
  field->Put(u"Value", Long{42});
  EXPECT_EQ(field->CallDefault({}), Variant(Long{42}));
  EXPECT_EQ(ToText(Variant(ObjectPtr(field))), u"42");
  field->Put(u"Value", Null());
  EXPECT_EQ(field->Get(u"value"), Variant(Null()));
  const auto other = std::make_shared<DField>();
  field->Put(u"Value", other);
  EXPECT_EQ(field->Get(u"Value"), Variant(ObjectPtr(other)));
}

}  // namespace
}  // namespace varnel
