#include "host-linux/guard/ListGuard.h"

#include <gtest/gtest.h>

#include "varnel/automation/Error.h"

namespace hostlinux {
namespace {

using varnel::String;
using Links = SiteConfiguration::Links;

constexpr varnel::StringView kState = u"0xz1x1x  00x1x0x0x";

class ListGuardTest : public testing::Test {
 protected:
  ListGuard Make(Links links, const std::string& file = "list.asp") {
    ListGuard::Options options;
    options.links = links;
    options.keys = &m_keys;
    options.root = "/shop";
    options.defaultPage = "index.asp";
    options.file = file;
    options.endPage = [this] { ++m_ends; };
    return ListGuard(std::move(options));
  }

  // Whether the guard lets `text` through, sorted by `sort`, which is one column.
  static bool Admits(ListGuard& guard, const String& text, const String& sort = u"",
                     const String& recordset = u"R_1", bool declared = false) {
    const std::vector<String> columns{sort};
    const std::vector<String> branches{u"SELECT ID, NAME FROM T"};
    try {
      guard.Admit({text, recordset, sort, columns, branches, declared});
      return true;
    } catch (const varnel::PageEnded&) {
      return false;
    }
  }

  std::vector<SealKey> m_keys{*ParseSealKey("000102030405060708090a0b0c0d0e0f")};
  int m_ends = 0;
};

TEST_F(ListGuardTest, ColumnsLeaveTheTextsAsTheyAre) {
  ListGuard guard = Make(Links::Columns);
  EXPECT_EQ(guard.Leaving(String(kState), u"R_1"), kState);
  EXPECT_EQ(guard.LeavingFor(String(kState), u"other.asp", u"R_1"), kState);
}

TEST_F(ListGuardTest, ColumnsOfTheListAndWhatThePageNamesAreAdmitted) {
  ListGuard guard = Make(Links::Columns);
  EXPECT_TRUE(Admits(guard, String(kState), u"NAME"));
  EXPECT_TRUE(Admits(guard, String(kState), u"UPPER(NAME) AS UN", u"R_1", true));
  guard.AllowSort(u"LOWER(NAME) AS LN");
  EXPECT_TRUE(Admits(guard, String(kState), u"LOWER(NAME) AS LN", u"R_2"));
  EXPECT_EQ(m_ends, 0);
  EXPECT_FALSE(guard.Refusal());
  EXPECT_FALSE(Admits(guard, String(kState), u"LOWER(NAME) AS L"));
  EXPECT_EQ(m_ends, 1);
  EXPECT_EQ(*guard.Refusal(), "R_1: a sort by \"LOWER(NAME) AS L\", which is no column of the list");
}

TEST_F(ListGuardTest, SealedAdmitsOnlyWhatLeftForThisPageAndRecordset) {
  ListGuard guard = Make(Links::Sealed);
  const String sealed = guard.Leaving(String(kState), u"R_1");
  EXPECT_TRUE(Admits(guard, sealed, u"anything at all"));
  EXPECT_FALSE(Admits(guard, String(kState)));
  EXPECT_FALSE(Admits(guard, sealed, u"", u"R_2"));
  ListGuard other = Make(Links::Sealed, "other.asp");
  EXPECT_FALSE(Admits(other, sealed));
  other.AcceptStatesOf(u"list.asp");
  EXPECT_TRUE(Admits(other, sealed));
}

TEST_F(ListGuardTest, DeclaredSortsNeedTheSealToo) {
  ListGuard guard = Make(Links::Sealed);
  guard.AllowSort(u"NAME");
  EXPECT_FALSE(Admits(guard, String(kState), u"NAME", u"R_1", true));
}

TEST_F(ListGuardTest, AStateIsSealedForAnotherPageByAnyOfItsPaths) {
  ListGuard here = Make(Links::Sealed);
  ListGuard index = Make(Links::Sealed, "index.asp");
  for (const char16_t* path :
       {u"index.asp", u"/shop/index.asp", u"/shop/", u"/shop", u"", u"a/../index.asp"}) {
    EXPECT_TRUE(Admits(index, here.LeavingFor(String(kState), path, u"R_1"))) << varnel::ToUtf8(path);
  }
}

TEST_F(ListGuardTest, PathsOutsideAndTextsThatAreNoStatesRaise) {
  ListGuard guard = Make(Links::Sealed);
  EXPECT_THROW(guard.LeavingFor(String(kState), u"/other/list.asp", u"R_1"), varnel::Error);
  EXPECT_THROW(guard.LeavingFor(String(kState), u"../list.asp", u"R_1"), varnel::Error);
  EXPECT_THROW(guard.AcceptStatesOf(u"/shops/list.asp"), varnel::Error);
  EXPECT_THROW(guard.LeavingFor(u"\u0131x", u"list.asp", u"R_1"), varnel::Error);
}

TEST_F(ListGuardTest, LongNamesAreCutInTheReason) {
  ListGuard guard = Make(Links::Columns);
  EXPECT_FALSE(Admits(guard, String(kState), String(5000, u'A')));
  EXPECT_LT(guard.Refusal()->size(), 200U);
}

}  // namespace
}  // namespace hostlinux
