#include "varnel/recordset/StateText.h"

#include <gtest/gtest.h>

#include "host-fake/ErrorOf.h"

namespace varnel {
namespace {

Long ErrorNumber(StringView text, bool withJumpPage = false) {
  return hostfake::NumberOf([&] { ParseState(text, withJumpPage); });
}

PersistedState FirstPage() {
  PersistedState state;
  state.NavType = 0;
  state.TotalRecords = -1;
  state.FirstRecord = 1;
  state.DisplayPage = 1;
  return state;
}

PersistedState NextPage() {
  PersistedState state;
  state.NavType = 1;
  state.TotalRecords = 57;
  state.FirstRecord = 21;
  state.SortFields = u"name";
  state.KeyValues = {u"Smith", u"42"};
  state.DisplayPage = 1;
  return state;
}

PersistedState PreviousPage() {
  PersistedState state;
  state.NavType = 2;
  state.TotalRecords = 57;
  state.FirstRecord = 1;
  state.SortFields = u"name DESC";
  state.SortReversed = true;
  state.KeyValues = {Null(), u"7"};
  state.DisplayPage = 3;
  state.LeftPage = 1;
  state.RightPage = 6;
  return state;
}

constexpr StringView kFirstPageText = u"0xz1x1x  00x1x0x0x";
constexpr StringView kNextPageText = u"1x57x21x 14110+97+109+1010x1x 1883+109+105+116+104  552+501x0x0x";
constexpr StringView kPreviousPageText = u"2x57x1x 29110+97+109+101+32+68+69+83+67z1x1x z1  2553x1x6x";

TEST(StateText, WritesAFirstPageOfWhichNothingIsKnown) {
  EXPECT_EQ(SerializeState(FirstPage()), kFirstPageText);
}

TEST(StateText, WritesANextPageWithItsKeys) { EXPECT_EQ(SerializeState(NextPage()), kNextPageText); }

TEST(StateText, WritesAPreviousPageWithANullKey) {
  EXPECT_EQ(SerializeState(PreviousPage()), kPreviousPageText);
}

TEST(StateText, ReadsBackWhatItWrites) {
  EXPECT_EQ(ParseState(kFirstPageText, false), FirstPage());
  EXPECT_EQ(ParseState(kNextPageText, false), NextPage());
  EXPECT_EQ(ParseState(kPreviousPageText, false), PreviousPage());
}

TEST(StateText, NeverWritesTheJumpPage) {
  PersistedState state = FirstPage();
  state.JumpPage = 7;
  EXPECT_EQ(SerializeState(state), kFirstPageText);
}

TEST(StateText, WritesKeysOnlyForNextAndPreviousPages) {
  PersistedState state = FirstPage();
  state.KeyValues = {u"a"};
  EXPECT_EQ(SerializeState(state), kFirstPageText);
  state.NavType = 3;
  EXPECT_EQ(SerializeState(state), u"3xz1x1x  00x1x0x0x");
}

TEST(StateText, NumberFieldsReplaceEveryMinus) {
  EXPECT_EQ(EncodeNumber(u"57"), u"57x");
  EXPECT_EQ(EncodeNumber(u"0"), u"0x");
  EXPECT_EQ(EncodeNumber(u"-1"), u"z1x");
  EXPECT_EQ(EncodeNumber(u"-1-2"), u"z1z2x");
}

TEST(StateText, TextFieldsTellNullFromEmpty) {
  EXPECT_EQ(EncodeValue(Null()), u" z1");
  EXPECT_EQ(EncodeValue(u""), u"  0");
  EXPECT_EQ(EncodeValue(u"A"), u"  265");
}

TEST(StateText, CodesFrom32768OnAreNegative) {
  const String text{static_cast<char16_t>(40000), u'a'};
  EXPECT_EQ(EncodeValue(text), u"  9-25536+97");
  EXPECT_EQ(DecodeChars(u"-25536+97"), text);
  EXPECT_EQ(DecodeChars(u"-1+32767+-32768"), String({0xFFFF, 0x7FFF, 0x8000}));
}

TEST(StateText, NullAndEmptyKeysSurviveARoundTrip) {
  PersistedState state = NextPage();
  state.KeyValues = {Null(), u"", String{static_cast<char16_t>(40000)}};
  EXPECT_EQ(ParseState(SerializeState(state), false), state);
}

TEST(StateText, ALengthTakesAsManyDigitsAsItNeeds) {
  EXPECT_EQ(EncodeValue(String(50, u'A')).substr(0, 6), u"14965+");
  // 334 characters of two digits each, with "+" between, are 1001 characters.
  EXPECT_EQ(EncodeValue(String(334, u'A')).substr(0, 7), u"100165+");
}

TEST(StateText, ABodyOf1000CharactersCannotBeReadBack) {
  PersistedState state = FirstPage();
  state.SortFields = String(333, u'A');  // 998 characters
  EXPECT_EQ(ParseState(SerializeState(state), false), state);
  state.SortFields = String(334, u'A');
  EXPECT_NE(ErrorNumber(SerializeState(state)), 0);
}

TEST(StateText, AnyNonZeroNumberIsReversed) {
  EXPECT_TRUE(ParseState(u"0x0x0x  0z1x0x0x0x", false).SortReversed);
  EXPECT_TRUE(ParseState(u"0x0x0x  05x0x0x0x", false).SortReversed);
  EXPECT_FALSE(ParseState(u"0x0x0x  00x0x0x0x", false).SortReversed);
}

TEST(StateText, TheJumpPageIsReadOnlyWhenAskedFor) {
  EXPECT_EQ(ParseState(u"0xz1x1x  00x1x0x0x7x", true).JumpPage, 7);
  EXPECT_EQ(ParseState(u"0xz1x1x  00x1x0x0x7x", false).JumpPage, 0);
  EXPECT_EQ(ParseState(u"0xz1x1x  00x1x0x0xz3x", true).JumpPage, -3);
}

TEST(StateText, WithoutAFieldBehindTheLastOneThereIsNoJumpPage) {
  EXPECT_EQ(ParseState(u"0xz1x1x  00x1x0x0x", true).JumpPage, 0);
  EXPECT_EQ(ParseState(u"0xz1x1x  00x1x0x0xx", true).JumpPage, 0);
  EXPECT_EQ(ParseState(u"0xz1x1x  00x1x0x0x  x", true).JumpPage, 0);
  EXPECT_EQ(ParseState(u"0xz1x1x  00x1x0x0x77", true).JumpPage, 0);
  EXPECT_EQ(ErrorNumber(u"0xz1x1x  00x1x0x0xax", true), 13);
}

TEST(StateText, WhatStandsBehindTheLastFieldIsIgnored) {
  EXPECT_EQ(ParseState(u"0xz1x1x  00x1x0x0xrubbish", false), FirstPage());
}

TEST(StateText, AMissingXIsAnInvalidArgument) {
  EXPECT_EQ(ErrorNumber(u"0"), 5);
  EXPECT_EQ(ErrorNumber(u"0xz1x1"), 5);
  EXPECT_EQ(ErrorNumber(u"0xz1x1x  00x1x0x0"), 5);
  EXPECT_EQ(ErrorNumber(u"0xz1x1x 4065+66"), 5);  // the body reaches beyond the end
}

TEST(StateText, AFieldThatIsNoNumberIsAMismatch) {
  EXPECT_EQ(ErrorNumber(u"x"), 13);
  EXPECT_EQ(ErrorNumber(u"ax0x0x"), 13);
  EXPECT_EQ(ErrorNumber(u"0xz1x1xabc"), 13);
  EXPECT_EQ(ErrorNumber(u"0xz1x1x"), 13);  // no length at all
  EXPECT_EQ(ErrorNumber(u"0xz1x1x  365+0x1x0x0x"), 13);
}

TEST(StateText, ANumberOutOfRangeOverflows) {
  EXPECT_EQ(ErrorNumber(u"32768x0x0x"), 6);
  EXPECT_EQ(ErrorNumber(u"0x2147483648x0x"), 6);
  EXPECT_EQ(ErrorNumber(u"0xz1x1x  032768x1x0x0x"), 6);
  EXPECT_EQ(ErrorNumber(u"0xz1x1x  6655360x1x0x0x"), 6);
  EXPECT_EQ(ErrorNumber(u"0xz1x1x  6z327690x1x0x0x"), 13);  // "z" is no minus inside a body
  EXPECT_EQ(ErrorNumber(u"0xz1x1x  6-327690x1x0x0x"), 6);
}

TEST(StateText, ANegativeLengthIsAnInvalidArgument) { EXPECT_EQ(ErrorNumber(u"0xz1x1x z20x1x0x0x"), 5); }

TEST(StateText, ANullSortTextIsRefused) { EXPECT_EQ(ErrorNumber(u"0xz1x1x z10x1x0x0x"), 94); }

TEST(StateText, ANegativeKeyIndexIsOutOfBounds) {
  EXPECT_EQ(ErrorNumber(u"1x57x21x  00xz1x1x0x0x"), 9);
  EXPECT_EQ(ErrorNumber(u"2x57x21x  00xz9x1x0x0x"), 9);
  EXPECT_EQ(ErrorNumber(u"1x57x21x  00x32768x1x0x0x"), 6);
}

TEST(StateText, ALargeKeyIndexWithoutKeysFails) { EXPECT_EQ(ErrorNumber(u"1x57x21x  00x32767x"), 13); }

TEST(StateText, AFieldThatBeginsBehindCharacter32767IsRefused) {
  const StringView rest = u"0x0x0x  00x1x0x0x";
  const auto padded = [&](std::size_t length) { return String(length - rest.size(), u' ').append(rest); };
  EXPECT_EQ(ErrorNumber(padded(40000)), 5);
  EXPECT_EQ(ErrorNumber(padded(32767)), 0);  // the last field ends there, and nothing more is read
  EXPECT_EQ(ErrorNumber(padded(32768)), 0);  // the last field begins there
  EXPECT_EQ(ErrorNumber(padded(32769)), 5);
  EXPECT_EQ(ErrorNumber(padded(32766), true), 0);
  EXPECT_EQ(ErrorNumber(padded(32767), true), 5);  // looking for a page number starts behind it
}

}  // namespace
}  // namespace varnel
