// Rows, options, guards and the table of members.
#include "tests/recordset/RecordsetFixture.h"

namespace varnel {
namespace {

using hostfake::ErrorOf;

class DRecordsetRows : public RecordsetTest {
 protected:
  static Variant ValueOf(DRecordset& recordset, Variant key) { return recordset.GetDefault(key)->Value; }

  static ErrInfo Guard(Long number, StringView operation) {
    const StringView text = number == -1 ? u": Operation not allowed when the DRecordset is open."
                                         : u": Operation not allowed when the DRecordset is not open.";
    return {number, u"Varnel.DRecordset", String(operation).append(text), u"", 0};
  }
};

TEST_F(DRecordsetRows, AreWalkedToTheEnd) {
  FillTable(3);
  const auto recordset = OpenAt(u"");
  EXPECT_EQ(Ids(*recordset), Range(1, 3));
  EXPECT_TRUE(recordset->IsEOF());
  recordset->MoveNext();
  EXPECT_TRUE(recordset->IsEOF());
  EXPECT_EQ(ValueOf(*recordset, u"id"), Variant(Long{3}));
}

TEST_F(DRecordsetRows, MoveFirstLoadsNothing) {
  FillTable(3);
  const auto recordset = OpenAt(u"");
  recordset->MoveNext();
  recordset->MoveNext();
  recordset->MoveFirst();
  EXPECT_FALSE(recordset->IsEOF());
  EXPECT_EQ(ValueOf(*recordset, u"id"), Variant(Long{3}));
  recordset->MoveNext();
  EXPECT_EQ(ValueOf(*recordset, u"id"), Variant(Long{2}));
}

TEST_F(DRecordsetRows, FieldsTellNameTypeAndPosition) {
  FillTable(1);
  const auto recordset = OpenAt(u"");
  const auto field = recordset->Fields()->Item(u"NAME");
  EXPECT_EQ(field->Name, u"name");
  EXPECT_EQ(field->Type_, hostfake::kTypeText);
  EXPECT_EQ(field->Hidden_Data_Index_, 1);
  EXPECT_EQ(field->Value, Variant(u"n1"));
}

TEST_F(DRecordsetRows, APageMakesAndNumbersThem) {
  FillTable(3);
  m_host.Application().Set(u"A_ConnectionString", u"fake");
  m_page->OpenDatabaseConnection(u"A");
  const auto first = CastObject<DRecordset>(m_page->DRecordset());
  const auto second = CastObject<DRecordset>(m_page->DRecordset());
  EXPECT_EQ(first->GetRecordsetName(), Variant(u"R_1"));
  EXPECT_EQ(second->GetRecordsetName(), Variant(u"R_2"));
  EXPECT_EQ(second->GetPageSize(), 10);
  second->OpenRS(String(kListQuery), u"id");
  EXPECT_EQ(Ids(*second), Range(1, 3));
}

TEST_F(DRecordsetRows, GuardsOfAClosedRecordset) {
  auto recordset = New();
  Long position = 1;
  EXPECT_EQ(ErrorOf([&] { recordset->GetState(); }), Guard(-2, u"GetState"));
  EXPECT_EQ(ErrorOf([&] { recordset->GetCurrentSortOrder(u""); }), Guard(-2, u"GetCurrentSortOrder"));
  EXPECT_EQ(ErrorOf([&] { recordset->GetStateSorted(u""); }), Guard(-2, u"GetStateSorted"));
  EXPECT_EQ(ErrorOf([&] { recordset->GetStateFirst(); }), Guard(-2, u"GetStateFirst"));
  EXPECT_EQ(ErrorOf([&] { recordset->GetStatePrev(); }), Guard(-2, u"GetStatePrev"));
  EXPECT_EQ(ErrorOf([&] { recordset->GetStateNext(); }), Guard(-2, u"GetStateNext"));
  EXPECT_EQ(ErrorOf([&] { recordset->GetStateLast(); }), Guard(-2, u"GetStateLast"));
  EXPECT_EQ(ErrorOf([&] { recordset->GetUrlSorted(u""); }), Guard(-2, u"GetUrlSorted"));
  EXPECT_EQ(ErrorOf([&] { recordset->GetUrlFirst(); }), Guard(-2, u"GetUrlFirst"));
  EXPECT_EQ(ErrorOf([&] { recordset->GetUrlPrev(); }), Guard(-2, u"GetUrlPrev"));
  EXPECT_EQ(ErrorOf([&] { recordset->GetUrlNext(); }), Guard(-2, u"GetUrlNext"));
  EXPECT_EQ(ErrorOf([&] { recordset->GetUrlLast(); }), Guard(-2, u"GetUrlLast"));
  EXPECT_EQ(ErrorOf([&] { recordset->GetTotalNumberOfRecords(); }), Guard(-2, u"GetTotalNumberOfRecords"));
  EXPECT_EQ(ErrorOf([&] { recordset->GetRecordNumberForFirstRecordOnPage(); }),
            Guard(-2, u"GetRecordNumberForFirstRecordOnPage"));
  EXPECT_EQ(ErrorOf([&] { recordset->GetRecordNumberForLastRecordOnPage(); }),
            Guard(-2, u"GetRecordNumberForLastRecordOnPage"));
  EXPECT_EQ(ErrorOf([&] { recordset->IsEOF(); }), Guard(-2, u"EOF"));
  EXPECT_EQ(ErrorOf([&] { recordset->GetStatePrevPage(); }), Guard(-2, u"GetStatePrevPage"));
  EXPECT_EQ(ErrorOf([&] { recordset->GetStateNextPage(); }), Guard(-2, u"GetStateNextPage"));
  EXPECT_EQ(ErrorOf([&] { recordset->GetUrlForPage(position); }), Guard(-2, u"GetUrlForPage"));
  EXPECT_EQ(ErrorOf([&] { recordset->GetCurrentState(); }), Guard(-2, u"GetStateNextPage"));
}

TEST_F(DRecordsetRows, GuardsOfAnOpenRecordset) {
  const auto recordset = OpenAt(u"");
  EXPECT_EQ(ErrorOf([&] { recordset->SetState(u""); }), Guard(-1, u"SetState"));
  EXPECT_EQ(ErrorOf([&] { recordset->SetPageSize(1); }), Guard(-1, u"SetPageSize"));
  EXPECT_EQ(ErrorOf([&] { recordset->SetDefaultSortFields(u""); }), Guard(-1, u"SetDefaultSortFields"));
  EXPECT_EQ(ErrorOf([&] { recordset->SetPageState(u"", 1); }), Guard(-1, u"SetPageState"));
}

TEST_F(DRecordsetRows, WhatHasNoGuardWorksBoth) {
  auto recordset = New();
  for (int i = 0; i < 2; ++i) {
    recordset->SetRecCountON();
    EXPECT_TRUE(recordset->GetIsRecCountON());
    recordset->SetRecCountOFF();
    EXPECT_FALSE(recordset->GetIsRecCountON());
    recordset->SetDefaultSortReversed(false);
    recordset->MoveNext();
    recordset->MoveFirst();
    EXPECT_EQ(recordset->Fields(), nullptr);
    if (i == 0) recordset->OpenRS(String(kListQuery), u"id");
  }
}

TEST_F(DRecordsetRows, ScriptsFindTheMembersInAnyCase) {
  FillTable(12);
  ObjectPtr recordset = New(5);
  EXPECT_EQ(recordset->CallWith(u"getpagesize"), Variant(Integer{5}));
  recordset->CallWith(u"OpenRS", kListQuery, u"id");
  EXPECT_EQ(recordset->Get(u"EOF"), Variant(false));
  Variant name = u"name";
  const Variant field = recordset->CallDefault(Arguments(&name, 1));
  EXPECT_EQ(ToText(field), u"n1");
  const ObjectPtr fields = ToObject(recordset->Get(u"Fields"));
  EXPECT_EQ(fields->Get(u"Count"), Variant(Long{2}));
  recordset->Put(u"m_lDisplayPage", Long{9});
  EXPECT_EQ(recordset->Get(u"M_LDISPLAYPAGE"), Variant(Long{9}));
  EXPECT_EQ(recordset->CallWith(u"GetRecordsetName"), Variant(u"R_1"));
  EXPECT_EQ(recordset->CallWith(u"IsOpen"), Variant(true));
}

TEST_F(DRecordsetRows, MembersStandInTheOrderOfTheInterface) {
  const char16_t* const names[] = {u"Initialize",
                                   u"SetConnection",
                                   u"SetState",
                                   u"SetDefaultSortReversed",
                                   u"GetState",
                                   u"GetCurrentSortOrder",
                                   u"GetStateSorted",
                                   u"GetStateFirst",
                                   u"GetStatePrev",
                                   u"GetStateNext",
                                   u"GetStateLast",
                                   u"GetUrlSorted",
                                   u"GetUrlFirst",
                                   u"GetUrlPrev",
                                   u"GetUrlNext",
                                   u"GetUrlLast",
                                   u"SetPageSize",
                                   u"GetPageSize",
                                   u"SetRecCountON",
                                   u"SetRecCountOFF",
                                   u"GetIsRecCountON",
                                   u"GetTotalNumberOfRecords",
                                   u"GetRecordNumberForFirstRecordOnPage",
                                   u"GetRecordNumberForLastRecordOnPage",
                                   u"IsOpen",
                                   u"SetDefaultSortFields",
                                   u"GetDefaultSortFields",
                                   u"OpenRS",
                                   u"GetDefault",
                                   u"Fields",
                                   u"EOF",
                                   u"MoveNext",
                                   u"MoveFirst",
                                   u"GetRecordsetName",
                                   u"GetDataAsRecordSet",
                                   u"m_lDisplayPage",
                                   u"m_lTotalPages",
                                   u"m_leftPageNumber",
                                   u"m_rightPageNumber",
                                   u"SetPageJump",
                                   u"GetPageJump",
                                   u"SetPageState",
                                   u"GetStatePrevPage",
                                   u"GetStateNextPage",
                                   u"GetUrlForPage",
                                   u"GetCurrentState",
                                   u"SetParameter"};
  const auto& members = DRecordset().Class().members;
  ASSERT_EQ(members.size(), std::size(names));
  for (std::size_t i = 0; i < members.size(); ++i) EXPECT_EQ(members[i].name, names[i]);
  EXPECT_EQ(DRecordset().Class().Default()->name, u"GetDefault");
}

// A recordset object of the caller's, driven by name; it writes down what it is asked.
class Target : public Object {
 public:
  explicit Target(std::vector<String>& lines) : m_lines(lines) {}
  const ClassInfo& Class() const override {
    static const ClassInfo info{u"Target", {}};
    return info;
  }
  Variant Call(StringView name, Arguments arguments) override {
    String line(name);
    for (const Variant& argument : arguments) line += u" " + ToText(argument);
    m_lines.push_back(line);
    return {};
  }
  Variant Get(StringView name) override {
    return name == u"Fields" ? Variant(shared_from_this()) : Variant();
  }
  Variant CallDefault(Arguments arguments) override {
    m_position = ToText(arguments[0]);
    return shared_from_this();
  }
  void Put(StringView name, const Variant& value) override {
    m_lines.push_back(m_position + u" " + String(name) + u" " + TypeName(value) + u" " + ToText(value));
  }

 private:
  std::vector<String>& m_lines;
  String m_position;
};

TEST_F(DRecordsetRows, AreHandedToACallersRecordset) {
  m_table = ModelTable({{u"id", hostfake::kTypeLong}, {u"name"}}, {{Long{1}, u"a"}, {Long{2}, Null()}});
  const auto recordset = OpenAt(u"");
  std::vector<String> lines;
  Variant target = std::make_shared<Target>(lines);
  recordset->GetDataAsRecordSet(target);
  EXPECT_EQ(lines,
            (std::vector<String>{u"Append id 8", u"Append name 8", u"Open", u"AddNew", u"0 Value Long 1",
                                 u"1 Value String a", u"AddNew", u"0 Value Long 2"}));
}

TEST_F(DRecordsetRows, WithoutARowTheCallersRecordsetBecomesNothing) {
  Variant target = u"anything";
  OpenAt(u"")->GetDataAsRecordSet(target);
  EXPECT_EQ(target, Variant(ObjectPtr()));
}

TEST_F(DRecordsetRows, WhatIsNoObjectCantTakeThem) {
  FillTable(1);
  const auto recordset = OpenAt(u"");
  Variant target = u"text";
  EXPECT_EQ(ErrorOf([&] { recordset->GetDataAsRecordSet(target); }).Number, 13);
  target = nullptr;
  EXPECT_EQ(ErrorOf([&] { recordset->GetDataAsRecordSet(target); }).Number, 91);
}

}  // namespace
}  // namespace varnel
