#include "varnel/recordset/UnionBranches.h"

namespace varnel {

namespace {

String Unwrapped(StringView text) {
  String branch = Trim(text);
  if (!branch.starts_with(u'(')) return branch;
  branch.erase(0, 1);
  if (branch.ends_with(u')')) branch.pop_back();
  return branch;
}

}  // namespace

std::vector<String> SplitUnionBranches(StringView iQuery) {
  std::vector<String> branches = Split(iQuery, u" UNION ");
  for (String& branch : branches) branch = Unwrapped(branch);
  return branches;
}

}  // namespace varnel
