// Statements for providers that know parameters by their order only.
#include "host-windows/statements/StatementOrder.h"

#include <gmock/gmock.h>

#include "host-fake/ErrorOf.h"

namespace hostwindows {
namespace {

using varnel::Long;
using varnel::String;
using varnel::host::StatementParameters;

StatementParameters Two() { return {{{u"town", u"Rome"}, {u"most", Long{7}}}}; }

String NamesOf(const OrderedStatement& statement) {
  String names;
  for (const auto& value : statement.values) names += value.Name + u" ";
  return names;
}

TEST(StatementOrder, PutsEachNameInItsPlace) {
  const OrderedStatement statement =
      InOrder(u"SELECT * FROM person WHERE town=:town AND id<:MOST OR :town = ''", Two());
  EXPECT_EQ(statement.text, u"SELECT * FROM person WHERE town=? AND id<? OR ? = ''");
  EXPECT_EQ(NamesOf(statement), u"town most town ");
  EXPECT_EQ(statement.values[1].Value, varnel::Variant(Long{7}));
}

TEST(StatementOrder, LetsTextsNamesAndCommentsBe) {
  const String sql =
      u"SELECT ':town''s :town', \":town\", [a:town] -- :town\n, /* :town */ b::town, ':town\" FROM x";
  const OrderedStatement statement = InOrder(sql, Two());
  EXPECT_EQ(statement.text, sql);
  EXPECT_EQ(NamesOf(statement), u"");
}

TEST(StatementOrder, LetsTimesAndLoneColonsBe) {
  EXPECT_EQ(InOrder(u"a : b :", Two()).text, u"a : b :");
  EXPECT_EQ(InOrder(u"{ts '2024-03-05 07:08:09'}:most", Two()).text, u"{ts '2024-03-05 07:08:09'}?");
  EXPECT_EQ(InOrder(u"", Two()).text, u"");
}

TEST(StatementOrder, RefusesANameWithoutAValue) {
  const auto error = hostfake::ErrorOf([] { InOrder(u"SELECT :nothing", Two()); });
  EXPECT_EQ(error.Number, static_cast<Long>(0x80040E10));
  EXPECT_EQ(error.Description, u"Parameter ':nothing' has no value.");
}

}  // namespace
}  // namespace hostwindows
