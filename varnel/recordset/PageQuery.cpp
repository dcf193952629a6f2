#include "varnel/recordset/PageQuery.h"

#include "varnel/automation/Convert.h"
#include "varnel/automation/Error.h"
#include "varnel/host/Ado.h"
#include "varnel/recordset/QueryClauses.h"
#include "varnel/recordset/SqlUtilities.h"

namespace varnel {

namespace {

constexpr StringView kSelectDistinct = u"SELECT DISTINCT";

bool IsDistinct(StringView query) {
  return EqualsNoCase(query.substr(0, kSelectDistinct.size()), kSelectDistinct);
}

// What follows the first `count` characters: the word or the words and the one blank behind them.
String Behind(const String& query, std::size_t count) {
  return query.size() > count ? query.substr(count) : String();
}

String WithTop(const String& query, Long rows) {
  const String count = DecimalText(rows);
  if (IsDistinct(query)) return u"SELECT DISTINCT TOP " + count + u" " + Behind(query, 16);
  return u"SELECT TOP " + count + u" " + Behind(query, 7);
}

StringView Direction(bool ascending) { return ascending ? u" ASC" : u" DESC"; }

String OrderBy(const std::vector<SortField>& fields) {
  String text;
  for (const SortField& field : fields) {
    text.append(text.empty() ? u" ORDER BY " : u",").append(field.Name).append(Direction(field.Ascending));
  }
  return text;
}

// Of the outer select, which sees bare column names and reads the other way around.
String OuterOrderBy(const std::vector<SortField>& fields) {
  String text;
  for (const SortField& field : fields) {
    const auto dot = field.Name.find(u'.');
    const StringView name =
        dot == String::npos ? StringView(field.Name) : StringView(field.Name).substr(dot + 1);
    text.append(text.empty() ? u" ORDER BY " : u",").append(name).append(Direction(!field.Ascending));
  }
  return text;
}

// The first rows behind the anchor, and of those the last page; two blanks stand where the texts meet.
String Nested(const String& query, const std::vector<SortField>& fields, Integer pageSize) {
  const String head = IsDistinct(query) ? u"SELECT DISTINCT TOP  " : u"SELECT TOP  ";
  return head + DecimalText(pageSize) + u" * FROM (" + query + OrderBy(fields) + u") as OUTPUT " +
         OuterOrderBy(fields);
}

String KeysetCondition(const PersistedState& state, const std::vector<SortField>& fields, bool hasWhere) {
  if (fields.empty()) RaiseRuntimeError(runtime_error::kSubscript);
  return (hasWhere ? u" AND " : u" WHERE ") + BuildKeysetPredicate(state, 0, fields.size() - 1, fields);
}

String Quoted(const Variant& key) { return u"'" + ToText(QuoteSqlText(key)) + u"'"; }

// Behind a NULL come all values, or nothing; behind a value the higher ones, or the lower ones and the NULLs.
String StrictlyBehind(const SortField& field, const Variant& key) {
  const String& compared = field.Compared();
  if (field.Ascending) return compared + (key.IsNull() ? u" is not null" : u" > " + Quoted(key));
  if (key.IsNull()) return u"0=1";
  return u"(" + compared + u" < " + Quoted(key) + u" or " + compared + u" is null)";
}

String SameKey(const SortField& field, const Variant& key) {
  return field.Compared() + (key.IsNull() ? u" is null" : u" = " + Quoted(key));
}

host::PageBranch CutBranch(String& sql) {
  QueryClauses clauses = SplitQueryClauses(sql);
  return {Trim(clauses.select), std::move(clauses.where), clauses.groupBy + clauses.compute};
}

String BranchQuery(const host::PageBranch& branch, const PersistedState& state,
                   const std::vector<SortField>& fields, const PageTop& top) {
  String query = WithTop(branch.select, top.nested ? top.rows : top.pageSize);
  if (!branch.where.empty()) query += u" WHERE (" + branch.where + u")";
  if (state.HasKeys()) query += KeysetCondition(state, fields, !branch.where.empty());
  query += branch.grouping;
  return top.nested ? Nested(query, fields, top.pageSize) : query;
}

// As many keys as there are fields: a text was made of them.
std::vector<host::PageKey> KeysOf(const PersistedState& state, const std::vector<SortField>& fields) {
  std::vector<host::PageKey> keys;
  keys.reserve(fields.size());
  for (std::size_t i = 0; i < fields.size(); ++i) {
    const SortField& field = fields[i];
    keys.push_back(
        {field.Name, field.Compared(), field.Ascending, state.HasKeys() ? state.KeyValues[i] : Variant()});
  }
  return keys;
}

}  // namespace

String BuildPageQuery(String& ioSql, const PersistedState& iState, const std::vector<SortField>& iFields,
                      const PageTop& iTop) {
  return BranchQuery(CutBranch(ioSql), iState, iFields, iTop);
}

String BuildKeysetPredicate(const PersistedState& iState, std::size_t iIndex, std::size_t iLast,
                            const std::vector<SortField>& iFields) {
  if (iIndex >= iState.KeyValues.size() || iIndex >= iFields.size()) {
    RaiseRuntimeError(runtime_error::kSubscript);
  }
  const SortField& field = iFields[iIndex];
  const Variant& key = iState.KeyValues[iIndex];
  const String behind = StrictlyBehind(field, key);
  if (iIndex >= iLast) return behind;
  return u"(" + behind + u" or (" + SameKey(field, key) + u" and " +
         BuildKeysetPredicate(iState, iIndex + 1, iLast, iFields) + u"))";
}

PageQuery BuildRead(std::vector<String>& ioBranches, const PersistedState& iState,
                    const std::vector<SortField>& iFields, const PageTop& iTop) {
  if (ioBranches.empty()) RaiseRuntimeError(runtime_error::kSubscript);
  const bool isUnion = ioBranches.size() > 1;
  PageQuery query;
  for (String& branch : ioBranches) {
    query.page.branches.push_back(CutBranch(branch));
    const String branchQuery = BranchQuery(query.page.branches.back(), iState, iFields, iTop);
    if (!query.text.empty()) query.text += u" UNION ";
    query.text += isUnion ? u"(" + branchQuery + u")" : branchQuery;
  }
  if (isUnion || !iTop.nested) query.text += OrderBy(iFields);
  query.page.keys = KeysOf(iState, iFields);
  query.page.behindAnchor = iState.HasKeys();
  query.page.rows = iTop.pageSize;
  if (iTop.nested) query.page.way = iTop.rows;
  return query;
}

String BuildReadQuery(std::vector<String>& ioBranches, const PersistedState& iState,
                      const std::vector<SortField>& iFields, const PageTop& iTop) {
  return BuildRead(ioBranches, iState, iFields, iTop).text;
}

Variant KeyValueToText(const Variant& iValue, Integer iType) {
  if (iValue.IsNull()) return Null();
  if (iType == host::ado::kTypeTimeStamp) return DateToSqlText(ToDate(iValue));
  return ToText(iValue);
}

Variant QuoteSqlText(const Variant& iValue) { return Replace(ToText(iValue), u"'", u"''"); }

}  // namespace varnel
