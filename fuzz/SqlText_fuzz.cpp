// A query and a sort text of any form: the cutters give texts or an error of ours, and lose no word.
#include <cstdlib>

#include "varnel/automation/Error.h"
#include "varnel/recordset/CountTail.h"
#include "varnel/recordset/PageQuery.h"
#include "varnel/recordset/QueryClauses.h"
#include "varnel/recordset/SqlUtilities.h"
#include "varnel/recordset/UnionBranches.h"

namespace {

using namespace varnel;

void CheckClauses(String sql) {
  const QueryClauses clauses = SplitQueryClauses(sql);
  std::size_t words = 0;
  for (const String& token : SplitSqlTokens(sql)) words += token.size();
  const std::size_t kept = clauses.select.size() + clauses.where.size() + clauses.groupBy.size() +
                           clauses.orderBy.size() + clauses.compute.size();
  // Every word has one blank in front; only the keyword WHERE itself is dropped.
  if (kept > words + SplitSqlTokens(sql).size()) std::abort();
  CutCountTail(sql);
}

void CheckReads(const String& sql, const String& sort) {
  for (const Integer navType : {Integer{0}, Integer{1}, Integer{2}, Integer{3}}) {
    PersistedState state;
    state.NavType = navType;
    state.SortFields = sort;
    const std::vector<SortField> fields = ParseSortFields(state, u"id, name");
    state.KeyValues.assign(fields.size(), Variant(u"O'Brien"));
    std::vector<String> branches = SplitUnionBranches(sql);
    BuildReadQuery(branches, state, fields, {10, false, -1});
    BuildReadQuery(branches, state, fields, {10, true, 30});
  }
}

}  // namespace

// The first line of the input is the sort text, the rest the query.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const String text = FromUtf8({reinterpret_cast<const char*>(data), size});
  const auto lineEnd = text.find(u'\n');
  const String sort = text.substr(0, lineEnd);
  const String sql = lineEnd == String::npos ? text : text.substr(lineEnd + 1);
  try {
    CheckReads(sql, sort);
    CheckClauses(sql);
  } catch (const Error& error) {
    if (error.Info().Number != 9) std::abort();
  }
  return 0;
}
