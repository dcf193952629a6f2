#include "host-linux/guard/Seal.h"

#include <gtest/gtest.h>

namespace hostlinux {
namespace {

using varnel::String;

constexpr varnel::StringView kState = u"0xz1x1x  00x1x0x0x";
constexpr SealedPlace kPlace{"list.asp", "R_1"};

const SealKey kFirst = *ParseSealKey("000102030405060708090a0b0c0d0e0f");
const SealKey kSecond = *ParseSealKey("ffffffffffffffffffffffffffffffff");

TEST(Seal, KeysAreThirtyTwoDigits) {
  EXPECT_FALSE(ParseSealKey(""));
  EXPECT_FALSE(ParseSealKey("000102030405060708090a0b0c0d0e0"));
  EXPECT_FALSE(ParseSealKey("000102030405060708090a0b0c0d0e0f0"));
  EXPECT_FALSE(ParseSealKey("000102030405060708090a0b0c0d0e0g"));
  EXPECT_FALSE(ParseSealKey("000102030405060708090A0B0C0D0E0F"));
  const std::string key = MakeSealKey();
  EXPECT_TRUE(ParseSealKey(key));
  EXPECT_NE(MakeSealKey(), key);
}

TEST(Seal, StandsBehindTheTextInCharactersThatLinksKeep) {
  const String sealed = *WithSeal(kState, kPlace, kFirst);
  EXPECT_EQ(sealed.substr(0, kState.size()), kState);
  EXPECT_EQ(sealed[kState.size()], u's');
  EXPECT_EQ(sealed.size(), kState.size() + 33);
  EXPECT_EQ(sealed.find_first_not_of(u"0123456789abcdef", kState.size() + 1), String::npos);
}

TEST(Seal, FitsItsPlaceAndAnyValidKey) {
  const String sealed = *WithSeal(kState, kPlace, kFirst);
  EXPECT_TRUE(HasSeal(sealed, kPlace, {kFirst}));
  EXPECT_TRUE(HasSeal(sealed, kPlace, {kSecond, kFirst}));
  EXPECT_FALSE(HasSeal(sealed, kPlace, {kSecond}));
  EXPECT_FALSE(HasSeal(sealed, kPlace, {}));
  EXPECT_FALSE(HasSeal(sealed, {"other.asp", "R_1"}, {kFirst}));
  EXPECT_FALSE(HasSeal(sealed, {"list.asp", "R_2"}, {kFirst}));
  EXPECT_FALSE(HasSeal(sealed, {"list.aspR", "_1"}, {kFirst}));
}

TEST(Seal, EveryChangedCharacterBreaksIt) {
  const String sealed = *WithSeal(kState, kPlace, kFirst);
  for (std::size_t i = 0; i < sealed.size(); ++i) {
    String changed = sealed;
    changed[i] = changed[i] == u'1' ? u'2' : u'1';
    EXPECT_FALSE(HasSeal(changed, kPlace, {kFirst})) << i;
    EXPECT_FALSE(HasSeal(sealed.substr(0, i), kPlace, {kFirst})) << i;
  }
  EXPECT_FALSE(HasSeal(sealed + u"7x", kPlace, {kFirst}));
  EXPECT_FALSE(HasSeal(u" " + sealed, kPlace, {kFirst}));
}

TEST(Seal, TextsThatCannotBeStatesHaveNone) {
  EXPECT_FALSE(WithSeal(u"0x\u0131", kPlace, kFirst));
  String wide = *WithSeal(kState, kPlace, kFirst);
  wide[0] = static_cast<char16_t>(wide[0] + 0x100);  // the same low byte
  EXPECT_FALSE(HasSeal(wide, kPlace, {kFirst}));
  EXPECT_FALSE(HasSeal(u"", kPlace, {kFirst}));
}

}  // namespace
}  // namespace hostlinux
