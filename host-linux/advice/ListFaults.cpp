#include "host-linux/advice/ListFaults.h"

#include <algorithm>
#include <array>

#include "host-linux/base/NearestName.h"
#include "host-linux/database/dialect/SelectNames.h"
#include "varnel/automation/Error.h"
#include "varnel/recordset/DFields.h"
#include "varnel/recordset/QueryClauses.h"
#include "varnel/recordset/SortFields.h"
#include "varnel/recordset/SqlUtilities.h"
#include "varnel/recordset/StateText.h"
#include "varnel/recordset/UnionBranches.h"

namespace hostlinux {
namespace {

using varnel::String;
using varnel::StringView;

// Characters of a state text's field that its length part can tell.
constexpr std::size_t kLongestField = 999;

constexpr std::array<StringView, 8> kClauseWords = {u"SELECT", u"FROM",  u"WHERE", u"GROUP",
                                                    u"HAVING", u"ORDER", u"UNION", u"COMPUTE"};

bool IsClauseWord(StringView word) {
  return std::any_of(kClauseWords.begin(), kClauseWords.end(),
                     [&](StringView clause) { return varnel::EqualsNoCase(word, clause); });
}

// The keyword that a line break hides, "" where none is. A word of the query reaches to the next blank: one with a
// line break in it isn't the keyword that stands in it.
String HiddenKeyword(String query) {
  for (const String& token : varnel::SplitSqlTokens(query)) {
    if (token.find(u'\'') != String::npos || token.find_first_of(u"\r\n") == String::npos) continue;
    for (String line : varnel::Split(varnel::Replace(token, u"\r", u"\n"), u"\n")) {
      if (IsClauseWord(line)) return line;
    }
  }
  return {};
}

String FirstWord(String query) { return varnel::SplitSqlTokens(query).front(); }

// The text of the query's own ORDER BY, as it is cut off.
String OwnOrder(const String& query) {
  for (String branch : varnel::SplitUnionBranches(query)) {
    const String order = varnel::Trim(varnel::SplitQueryClauses(branch).orderBy);
    if (!order.empty()) return order;
  }
  return {};
}

bool IsAggregate(const std::vector<SqlToken>& tokens, SqlSpan span) {
  static constexpr std::array<StringView, 7> kNames = {u"COUNT", u"SUM",   u"MIN",         u"MAX",
                                                       u"AVG",   u"TOTAL", u"GROUP_CONCAT"};
  for (std::size_t i = span.begin; i + 1 < span.end; ++i) {
    if (tokens[i + 1].kind != SqlTokenKind::Open) continue;
    if (std::any_of(kNames.begin(), kNames.end(), [&](StringView name) { return IsWord(tokens[i], name); }))
      return true;
  }
  return false;
}

// The names under which `query` shows aggregates.
std::vector<String> AggregateNames(const String& query) {
  std::vector<SqlToken> tokens = LexSql(query);
  tokens.resize(tokens.size() + 4);
  const SqlStructure structure = ReadStructure(tokens);
  std::vector<String> names;
  if (structure.scopes.empty()) return names;
  const SqlSpan list = structure.scopes.front().Clause(SqlClause::List);
  std::size_t begin = list.begin;
  for (const SelectItem& item : ReadItems(tokens, structure.partner, list)) {
    const bool hasAlias = item.expression.end < list.end && item.expression.end > begin &&
                          tokens[item.expression.end].kind != SqlTokenKind::Comma;
    if (hasAlias && IsAggregate(tokens, item.expression)) {
      const std::size_t alias =
          IsWord(tokens[item.expression.end], u"AS") ? item.expression.end + 1 : item.expression.end;
      names.push_back(PlainName(tokens[alias]));
    }
    begin = item.expression.end;
  }
  return names;
}

std::vector<String> SortsOf(const ListTexts& list) {
  std::vector<String> sorts = list.declaredSorts;
  sorts.push_back(list.sort);
  std::erase_if(sorts, [](const String& sort) { return varnel::Trim(sort).empty(); });
  std::vector<String> once;
  for (const String& sort : sorts) {
    if (std::find(once.begin(), once.end(), sort) == once.end()) once.push_back(sort);
  }
  return once;
}

bool IsAggregateText(const String& column) {
  const std::vector<SqlToken> tokens = LexSql(column);
  return IsAggregate(tokens, {0, tokens.size()});
}

// Behind an alias stands the column; the alias is what the result has.
String SortedByAggregate(const ListTexts& list) {
  const std::vector<String> names = AggregateNames(list.query);
  for (const String& sort : SortsOf(list)) {
    for (const String& column : varnel::SortColumns(sort)) {
      if (IsAggregateText(column)) return sort;
      const String name = UpperAscii(varnel::Trim(column));
      if (std::find(names.begin(), names.end(), name) != names.end()) return sort;
    }
  }
  return {};
}

String TooLongSort(const ListTexts& list) {
  for (const String& sort : SortsOf(list)) {
    if (varnel::EncodeValue(sort).size() > kLongestField + 3) return sort;
  }
  return {};
}

String Cut(const String& text) { return text.size() <= 60 ? text : text.substr(0, 60) + u"..."; }

std::vector<String> FaultsOf(const ListTexts& list) {
  std::vector<String> faults;
  if (const String word = HiddenKeyword(list.query); !word.empty()) {
    faults.push_back(
        u"A line break stands beside " + UpperAscii(word) +
        u", which isn't seen as a keyword then: only blanks separate the words of a list's query. "
        u"Write it on one line, or join its lines with blanks.");
  }
  if (varnel::EqualsNoCase(FirstWord(list.query), u"WITH")) {
    faults.push_back(u"The query begins with WITH, where a list needs SELECT: its reads" +
                     String(list.counts ? u" and its count" : u"") +
                     u" are cut wrongly. Put it into FROM: SELECT ... FROM (WITH ... SELECT ...) AS T.");
  }
  if (const String order = OwnOrder(list.query); !order.empty()) {
    faults.push_back(u"The query's own " + Cut(order) + u" is ignored. SetDefaultSortFields(\"" +
                     Cut(varnel::Trim(order.substr(8))) +
                     u"\") before OpenRS sorts the list, and so does the first column of a grid.");
  }
  if (const String sort = SortedByAggregate(list); !sort.empty()) {
    faults.push_back(
        u"The sort '" + Cut(sort) +
        u"' is by an aggregate, which the next page's condition can't name. Put the grouped query into "
        u"FROM: SELECT ... FROM (SELECT ... GROUP BY ...) AS T.");
  }
  if (const String sort = TooLongSort(list); !sort.empty()) {
    faults.push_back(
        u"The sort '" + Cut(sort) +
        u"' is too long for a link: about 250 characters fit, and the next page can't read more. Sort by "
        u"fewer columns, or by one with a short name in the select list.");
  }
  return faults;
}

}  // namespace

std::vector<String> FindListFaults(const ListTexts& list) {
  try {
    return FaultsOf(list);
  } catch (const varnel::Error&) {
    return {};  // a text without a word: its read says so
  }
}

std::vector<String> ColumnsNeeded(const ListTexts& list) {
  std::vector<String> needed;
  const auto add = [&](const String& column) {
    const auto alias = varnel::FindNoCase(column, u" AS ");
    const String name = alias == String::npos ? column : column.substr(alias + 4);
    if (varnel::Trim(name).empty()) return;
    const String key(varnel::FieldKey(varnel::Trim(name)));
    const bool isKnown = std::any_of(needed.begin(), needed.end(),
                                     [&](const String& other) { return varnel::EqualsNoCase(other, key); });
    if (!isKnown) needed.push_back(key);
  };
  for (const String& sort : SortsOf(list)) {
    for (const String& column : varnel::SortColumns(sort)) {
      if (!IsAggregateText(column)) add(column);  // that is a fault of its own
    }
  }
  for (const String& key : varnel::Split(list.keys, u",")) add(varnel::Trim(key));
  return needed;
}

String MissingColumns(const std::vector<String>& needed, const std::vector<String>& columns) {
  String missing;
  String meant;
  for (const String& name : needed) {
    const bool isThere = std::any_of(columns.begin(), columns.end(), [&](const String& column) {
      return varnel::EqualsNoCase(column, name);
    });
    if (isThere) continue;
    missing += (missing.empty() ? u"" : u", ") + Cut(name);
    if (meant.empty()) meant = DidYouMean(name, columns);
  }
  if (missing.empty()) return {};
  return u"The select list lacks " + missing +
         u": every sort and key column has to stand in it, for the links carry their values." + meant;
}

}  // namespace hostlinux
